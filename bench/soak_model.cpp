#include "bench/soak_model.h"

#include <algorithm>

#include "fault_engine/fault_table.h"

namespace {

size_t band(int32_t severity) {
    return severity >= 5 ? 3 : severity >= 3 ? 2 : 0;
}

bool is_of(const ModelFault &fault, const Event &event) {
    if (fault.entity != event.entity || fault.instance != event.instance) {
        return false;
    }
    return fault.code == event.code || std::any_of(std::begin(event.related), std::end(event.related),
                                                   [&](int32_t code) { return code != 0 && code == fault.code; });
}

} // namespace

Outcome Model::apply(const Event &event, int32_t time) {
    const Place fault = find(event);
    if (fault == faults_.end()) {
        return event.severity == 0 ? Outcome{} : create(event, time);
    }
    return event.severity == 0 ? clear(fault, event, time) : repeat(fault, event, time);
}

// Of several that fit, the one that came first.
Model::Place Model::find(const Event &event) {
    Place oldest = faults_.end();
    for (Place fault = faults_.begin(); fault != faults_.end(); ++fault) {
        if (is_of(*fault, event) && (oldest == faults_.end() || fault->created < oldest->created)) {
            oldest = fault;
        }
    }
    return oldest;
}

Outcome Model::create(const Event &event, int32_t time) {
    if (is_storage(event.entity)) {
        ++storage_counts_[band(event.severity)];
    }
    faults_.push_front({event.entity, event.instance, event.code, event.severity, 1, time, time, created_++});
    if (faults_.size() > FE_TABLE_MAX_FAULTS) {
        faults_.pop_back();
        ++evicted_;
    }
    return {Change::created, faults_.front()};
}

Outcome Model::repeat(Place fault, const Event &event, int32_t time) {
    fault->code = event.code;
    fault->severity = event.severity;
    fault->occurrences = static_cast<uint8_t>(fault->occurrences + 1);
    fault->previous_time = fault->time;
    fault->time = time;
    faults_.splice(faults_.begin(), faults_, fault);
    return {Change::repeated, *fault};
}

Outcome Model::clear(Place fault, const Event &event, int32_t time) {
    unsigned &count = storage_counts_[band(fault->severity)];
    if (is_storage(event.entity) && count > 0) {
        --count;
    }
    ModelFault last = *fault;
    last.code = event.code;
    last.severity = 0;
    last.occurrences = static_cast<uint8_t>(last.occurrences + 1);
    last.previous_time = last.time;
    last.time = time;
    faults_.erase(fault);
    return {Change::cleared, last};
}

void Model::sweep_twins(uint8_t entity, int32_t instance) {
    const auto older_twin = std::find_if(faults_.begin(), faults_.end(), [&](const ModelFault &fault) {
        return fault.entity == entity && fault.instance == instance &&
               std::any_of(faults_.begin(), faults_.end(), [&](const ModelFault &other) {
                   return other.entity == entity && other.instance == instance && other.code == fault.code &&
                          other.created > fault.created;
               });
    });
    if (older_twin != faults_.end()) {
        faults_.erase(older_twin);
    }
}

uint8_t Model::storage_status() const {
    uint8_t status = 0;
    for (size_t slot = 0; slot < storage_counts_.size(); ++slot) {
        status = static_cast<uint8_t>(status | (storage_counts_[slot] > 0 ? 1U << slot : 0));
    }
    return status;
}
