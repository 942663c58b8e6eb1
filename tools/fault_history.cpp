#include "tools/fault_history.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace story {
namespace {

uint64_t key_of(const fe_write_buf &record) {
    return uint64_t{record.entity_id} << 32 | static_cast<uint32_t>(record.entity_instance);
}

class TableLock {
public:
    TableLock() { pthread_mutex_lock(&fe_table_mutex); }
    ~TableLock() { pthread_mutex_unlock(&fe_table_mutex); }
    TableLock(const TableLock &) = delete;
    TableLock &operator=(const TableLock &) = delete;
};

// The faults of the record's entity instance; null for none. With the table locked.
const fault_node *faults_beside(const fe_write_buf &record) {
    const entity_id_node *entity = entity_id_list_head_ptr;
    while (entity != nullptr && entity->entity_id != record.entity_id) {
        entity = entity->next;
    }
    const entity_instance_node *instance = entity == nullptr ? nullptr : entity->instance_list;
    while (instance != nullptr && instance->entity_instance != record.entity_instance) {
        instance = instance->next;
    }
    return instance == nullptr ? nullptr : instance->fault_list;
}

bool is_among(const fault_node *faults, const fe_table_entry *entry) {
    while (faults != nullptr && faults->entry != entry) {
        faults = faults->next;
    }
    return faults != nullptr;
}

const fe_table_entry *last_entry() {
    const fe_table_entry *entry = fe_table_head_ptr;
    while (entry != nullptr && entry->next != nullptr) {
        entry = entry->next;
    }
    return entry;
}

// What the event makes of a fault: the new record, on the history of the old one.
Fault follow(const Fault *before, const fe_write_buf &record, const std::optional<ipmi_access::Event> &event,
             std::optional<uint32_t> time) {
    Fault fault = read_fault(record);
    fault.event = event;
    fault.raised_by = before != nullptr ? before->raised_by : event;
    fault.count = before != nullptr ? before->count + 1 : 1;
    fault.last_time = time;
    fault.first_time = before != nullptr ? before->first_time : time;
    return fault;
}

} // namespace

const fe_table_entry *FaultHistory::next_to_be_evicted() {
    const TableLock lock;
    return fe_fault_count == FE_TABLE_MAX_FAULTS ? last_entry() : nullptr;
}

std::optional<Fault> FaultHistory::take(Groups::iterator group, Faults::iterator at) {
    std::optional<Fault> fault = std::move(at->fault);
    group->second.erase(at);
    if (group->second.empty()) {
        by_instance_.erase(group);
    }
    return fault;
}

// The fault of the record's entity instance that is no longer in the table.
std::optional<Fault> FaultHistory::take_cleared(const fe_write_buf &record) {
    const auto group = by_instance_.find(key_of(record));
    if (group == by_instance_.end()) {
        return std::nullopt;
    }
    const fault_node *left = faults_beside(record);
    const auto gone = std::ranges::find_if(group->second, [&](const Tracked &t) { return !is_among(left, t.entry); });
    return gone == group->second.end() ? std::nullopt : take(group, gone);
}

std::optional<Fault> FaultHistory::take_evicted(const fe_table_entry *entry) {
    for (auto group = by_instance_.begin(); group != by_instance_.end(); ++group) {
        const auto found = std::ranges::find(group->second, entry, &Tracked::entry);
        if (found != group->second.end()) {
            return take(group, found);
        }
    }
    return std::nullopt;
}

FaultHistory::Update FaultHistory::update(const fe_write_buf &record, const fe_table_entry *oldest,
                                          const std::optional<ipmi_access::Event> &event,
                                          std::optional<uint32_t> time) {
    const TableLock lock;
    if (record.vemoFaultSeverity == FE_SEVERITY_CLEARED) {
        std::optional<Fault> before = take_cleared(record);
        Fault after = follow(before ? &*before : nullptr, record, event, time);
        return {ChangeKind::cleared, std::move(before), std::move(after), {}};
    }
    Faults &faults = by_instance_[key_of(record)];
    const auto known = std::ranges::find(faults, fe_table_head_ptr, &Tracked::entry);
    if (known != faults.end()) {
        Fault before = std::exchange(known->fault, follow(&known->fault, record, event, time));
        return {ChangeKind::repeated, std::move(before), known->fault, {}};
    }
    Fault after = follow(nullptr, record, event, time);
    std::optional<Fault> evicted = oldest != nullptr ? take_evicted(oldest) : std::nullopt;
    by_instance_[key_of(record)].push_back({fe_table_head_ptr, after});
    return {ChangeKind::created, {}, std::move(after), std::move(evicted)};
}

std::vector<Fault> FaultHistory::remove_missing() {
    const TableLock lock;
    std::unordered_set<const fe_table_entry *> present;
    for (const fe_table_entry *entry = fe_table_head_ptr; entry != nullptr; entry = entry->next) {
        present.insert(entry);
    }
    std::vector<Fault> gone;
    for (auto &[key, faults] : by_instance_) {
        std::erase_if(faults, [&](Tracked &tracked) {
            const bool missing = !present.contains(tracked.entry);
            if (missing) {
                gone.push_back(std::move(tracked.fault));
            }
            return missing;
        });
    }
    std::erase_if(by_instance_, [](const auto &group) { return group.second.empty(); });
    return gone;
}

const Fault *FaultHistory::find(const fe_table_entry *entry) const {
    const auto faults = by_instance_.find(key_of(entry->record));
    if (faults == by_instance_.end()) {
        return nullptr;
    }
    const auto found = std::ranges::find(faults->second, entry, &Tracked::entry);
    return found == faults->second.end() ? nullptr : &found->fault;
}

std::vector<Fault> FaultHistory::active() const {
    const TableLock lock;
    std::vector<Fault> faults;
    for (const fe_table_entry *entry = fe_table_head_ptr; entry != nullptr; entry = entry->next) {
        const Fault *known = find(entry);
        faults.push_back(known != nullptr ? *known : read_fault(entry->record));
    }
    return faults;
}

} // namespace story
