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

std::optional<Fault> FaultHistory::remove(Faults &faults, const fe_table_entry *entry) {
    const auto found = std::ranges::find(faults, entry, &Tracked::entry);
    if (found == faults.end()) {
        return std::nullopt;
    }
    std::optional<Fault> gone = std::move(found->fault);
    faults.erase(found);
    return gone;
}

FaultHistory::Update FaultHistory::update(const fe_write_buf &record, const fe_table_entry *oldest,
                                          const std::optional<ipmi_access::Event> &event,
                                          std::optional<uint32_t> time) {
    const TableLock lock;
    Faults &faults = by_instance_[key_of(record)];
    if (record.vemoFaultSeverity == FE_SEVERITY_CLEARED) {
        const fault_node *left = faults_beside(record);
        const auto gone = std::ranges::find_if(faults, [&](const Tracked &t) { return !is_among(left, t.entry); });
        std::optional<Fault> before = gone == faults.end() ? std::nullopt : remove(faults, gone->entry);
        Fault after = follow(before ? &*before : nullptr, record, event, time);
        return {ChangeKind::cleared, std::move(before), std::move(after), {}};
    }
    const auto known = std::ranges::find(faults, fe_table_head_ptr, &Tracked::entry);
    if (known != faults.end()) {
        Fault before = std::exchange(known->fault, follow(&known->fault, record, event, time));
        return {ChangeKind::repeated, std::move(before), known->fault, {}};
    }
    faults.push_back({fe_table_head_ptr, follow(nullptr, record, event, time)});
    Fault after = faults.back().fault;
    std::optional<Fault> evicted;
    for (auto &[key, others] : by_instance_) {
        if (oldest != nullptr && !evicted) {
            evicted = remove(others, oldest);
        }
    }
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
