// A model of the fault table and its clean-up passes: the records in the order of the chain, and places in it in the order
// of the index, without the index's levels.
#pragma once

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <list>
#include <utility>

#include "support/faults.h"

struct Model {
    using Place = std::list<fe_write_buf>::iterator;
    std::list<fe_write_buf> chain; // newest first
    std::vector<Place> index;      // in the order of entities, their instances, their faults
    std::map<std::string, std::string> files = {
        {"fe_table.entry", "<missing>"}, {"fe_table.sz", "<missing>"}, {"stor_stat", ""}};
    int failing_allocation = 0;   // of the next operation, from 1; 0: none
    std::array<int, 4> storage{}; // faults by the bit of the status byte
    int evictions = 0, duplicates = 0, stale = 0, judged_again = 0, freed = 0;
    Lines said; // what the engine logs of it

    int32_t update(fe_write_buf &r) {
        if (r.Previous_Fault_time == 0) {
            keep_time(r, r);
        }
        const auto of_entity = [&r](Place f) { return f->entity_id == r.entity_id; };
        const auto of_instance = [&](Place f) { return of_entity(f) && f->entity_instance == r.entity_instance; };
        const auto of_fault = [&](Place f) {
            const auto &codes = r.related_FaultCode.related_fc;
            const int32_t code = f->vemoFaultCode;
            return of_instance(f) &&
                   (code == r.vemoFaultCode || (code != 0 && std::count(codes + 1, codes + 7, code) > 0));
        };
        const bool entity = std::ranges::any_of(index, of_entity), instance = std::ranges::any_of(index, of_instance);
        const auto fault = std::ranges::find_if(index, of_fault);
        line(index.empty() ? "List NULL, NO entity id found" : entity ? "Entity id found" : "Entity id NOT found", r);
        if (entity) {
            line(instance ? "Entity instance found" : "Entity instance NOT found", r);
        }
        if (instance) {
            fault != index.end() ? line("Fault node found", **fault) : line("Fault node NOT found", r);
        }
        if (fault != index.end()) {
            return replace(*fault, r);
        }
        if (r.vemoFaultSeverity == 0 || is_out_of_memory(instance ? 2 : entity ? 3 : 4)) {
            return -1;
        }
        const auto last = std::find_if(index.rbegin(), index.rend(),
                                       [&](Place f) { return instance ? of_instance(f) : !entity || of_entity(f); });
        r.vemoFaultOccur = 1;
        chain.push_front(r);
        index.insert(last.base(), chain.begin());
        count_storage(r, +1);
        line(instance ? "Fault node created"
             : entity ? "Fault node hierarchy created from instance"
                      : "Fault node hierarchy created from entity id",
             r);
        if (chain.size() > FE_TABLE_MAX_FAULTS) {
            ++evictions;
            drop(std::prev(chain.end()));
        }
        write_files();
        return 0;
    }

    void cleanup_duplicates() {
        if (is_out_of_memory(2)) {
            return;
        }
        for (auto at = index.begin(); at != index.end();) {
            const fe_write_buf fault = **at;
            const auto of_instance = [&](Place f) {
                return f->entity_id == fault.entity_id && f->entity_instance == fault.entity_instance;
            };
            const auto is_duplicate = [&](Place f) {
                return of_instance(f) && f->vemoFaultCode == fault.vemoFaultCode;
            };
            if (std::none_of(at + 1, index.end(), is_duplicate)) {
                ++at;
                continue;
            }
            ++duplicates;
            const Place first = *std::ranges::find_if(index, of_instance), next = at[1];
            say("Inside cleanup_duplicate_events...\n");
            say("Clean up fault node (%u/%u/curr:%u-prev:%u)\n", unsigned{fault.entity_id}, fault.entity_instance,
                fault.vemoFaultCode, fault.prev_vemoFaultCode);
            clear(fault);
            at = std::ranges::find(index, next);
            if (at == index.end() || *std::ranges::find_if(index, of_instance) != first) {
                at = std::ranges::find_if(index, of_instance);
            }
        }
    }

    // What happens while a sensor is read may change the table.
    void cleanup_deasserted(const std::function<void(int32_t)> &on_reading) {
        say("Inside cleanup_deasserted_events...\n");
        if (is_out_of_memory(2)) {
            return;
        }
        gone.clear();
        const fe_write_buf *start = head();
        for (Place at = chain.begin(); at != chain.end();) {
            const Next next = examine(at, on_reading);
            if (next == start_again || (next == go_on_if_head_stays && head() != start)) {
                at = chain.begin(), start = head();
            } else {
                ++at;
            }
        }
    }

    // The clearing of a stale pass, by the keys of the fault.
    void clear_stale(uint8_t entity, int32_t instance, int32_t code) {
        const auto found = std::ranges::find_if(index, [=](Place f) {
            return f->entity_id == entity && f->entity_instance == instance && f->vemoFaultCode == code;
        });
        if (found != index.end()) {
            clear(**found);
        }
    }

    static bool is_stale(uint32_t type, uint32_t state, uint32_t sensor_type) {
        static const std::map<uint32_t, uint32_t> stale_when_set = {{2, 0x200},  {3, 0x200}, {8, 0x200}, {9, 0x200},
                                                                    {4, 0x100},  {5, 0x100}, {6, 0x100}, {7, 0x100},
                                                                    {11, 0x100}, {10, 0x600}};
        const auto bits = stale_when_set.find(type);
        return bits != stale_when_set.end() ? (state & bits->second) != 0 || (state == 1 && (type == 4 || type == 5))
               : type == 1                  ? (state & 0x3F) == 0
               : type == 111                ? sensor_type == 8 && __builtin_popcount(state & 0x1FF) <= 1
                                            : type == 112 && (state & 0xFE00) != 0xFE00;
    }

    void write_files() {
        if (fe_flag(&sel_init_complete) == 0) {
            return;
        }
        const auto count = static_cast<uint32_t>(chain.size());
        files["fe_table.entry"] = bytes_of(chain);
        files["fe_table.sz"] = {reinterpret_cast<const char *>(&count), sizeof count};
    }

private:
    std::list<fe_write_buf> gone; // kept until the next stale pass, so that no place comes again during one

    enum Next { go_on, go_on_if_head_stays, start_again };

    Next examine(Place at, const std::function<void(int32_t)> &on_reading) {
        const fe_write_buf fault = *at, *const address = &*at;
        const auto number = static_cast<int32_t>(fault.sens_num);
        if (fault.entity_id > 207 || number > 255) {
            return go_on_if_head_stays;
        }
        const auto sensor = world().sensors.find(number);
        if (sensor == world().sensors.end()) {
            return go_on;
        }
        on_reading(number);
        const auto reading = world().readings.find(number);
        const bool is_readable = reading != world().readings.end();
        const auto [type, sensor_type] = std::pair{sensor->second.event_type, sensor->second.sensor_type};
        if (is_readable) {
            say("sensr_name: %.19s iCurrentstatus:%d type_code: %u iSensorType: %d\n", fault.sensor_name,
                reading->second, type, sensor_type);
        }
        if (std::ranges::none_of(chain, [=](const auto &other) { return &other == address; })) {
            return start_again;
        }
        if (!is_readable || !is_stale(type, reading->second, sensor_type)) {
            return is_readable ? go_on_if_head_stays : go_on;
        }
        if (!(*at == fault)) {
            ++judged_again;
            return start_again;
        }
        ++stale;
        say("Clearing stale fault - %.223s (severity: %u)\n", fault.FaultDescription, fault.vemoFaultSeverity);
        return clear(fault) == 0 ? start_again : go_on_if_head_stays;
    }

    int32_t clear(fe_write_buf fault) {
        fault.vemoFaultSeverity = fault.prev_vemoFaultCode = fault.PreviousSeverity = 0;
        return update(fault);
    }

    int32_t replace(Place stored, fe_write_buf &r) {
        const bool clears = r.vemoFaultSeverity == 0;
        line(clears ? "Clear the fault found" : "Update the fault found", r);
        keep_time(r, *stored);
        r.vemoFaultOccur = static_cast<uint8_t>(stored->vemoFaultOccur + 1);
        if (clears) {
            count_storage(*stored, -1);
            drop(stored);
        } else {
            *stored = r;
            chain.splice(chain.begin(), chain, stored);
        }
        write_files();
        return !clears && is_storage(r) ? 2 : 0;
    }

    const fe_write_buf *head() const { return chain.empty() ? nullptr : &chain.front(); }
    static bool is_storage(const fe_write_buf &r) { return r.entity_id >= 208 && r.entity_id <= 215; }
    bool is_out_of_memory(int allocations) {
        const int failing = std::exchange(failing_allocation, 0);
        return failing > 0 && failing <= allocations;
    }
    static void keep_time(fe_write_buf &r, const fe_write_buf &from) {
        r.Previous_Fault_time = from.Fault_time;
        snprintf(r.PreviousTimeOfEvent, FE_TIME_TEXT_SIZE, "%.*s", FE_TIME_TEXT_SIZE - 1, from.TimeOfEvent);
    }
    void drop(Place stored) {
        ++freed;
        std::erase(index, stored);
        gone.splice(gone.end(), chain, stored);
    }

    __attribute__((format(printf, 2, 3))) void say(const char *format, ...) {
        char line[512];
        va_list arguments;
        va_start(arguments, format);
        vsnprintf(line, sizeof line, format, arguments);
        va_end(arguments);
        said.emplace_back(line);
    }
    void line(const char *text, const fe_write_buf &r) {
        say("%s (%u/%u/curr:%u-prev:%u) - sev: %u\n", text, unsigned{r.entity_id}, r.entity_instance, r.vemoFaultCode,
            r.prev_vemoFaultCode, r.vemoFaultSeverity);
    }

    void count_storage(const fe_write_buf &r, int step) {
        const auto severity = static_cast<uint32_t>(r.vemoFaultSeverity);
        int &count = storage[severity >= 5 ? 3 : severity >= 3 ? 2 : 0];
        count = std::max(0, count + (is_storage(r) ? step : 0));
        if (is_storage(r)) {
            const int byte = (storage[0] ? 0x01 : 0) | (storage[2] ? 0x04 : 0) | (storage[3] ? 0x08 : 0);
            files["stor_stat"] = std::string(1, static_cast<char>(byte));
        }
    }
};
