// The fault table as the tests believe in it: copies in two orders, no levels. And the fixture that runs both side by
// side.
#pragma once

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <list>

#include <gtest/gtest.h>

#include "support/interpose.h"
#include "support/neighbours.h"

inline fe_write_buf make_fault(int entity, int32_t instance, int32_t code, int32_t severity, int32_t related = 0,
                               uint32_t sens_num = 0) {
    fe_write_buf record{};
    record.entity_id = static_cast<uint8_t>(entity);
    record.entity_instance = instance;
    record.vemoFaultCode = code;
    record.vemoFaultSeverity = severity;
    record.related_FaultCode.related_fc[1] = related;
    record.sens_num = sens_num;
    return record;
}

// As the clean-up passes make it from a stored one.
inline fe_write_buf clearing(fe_write_buf record) {
    record.vemoFaultSeverity = record.prev_vemoFaultCode = record.PreviousSeverity = 0;
    return record;
}

inline int32_t update_in_place(fe_write_buf &record) {
    fe_write_buf_struct block{};
    block.fe_write_buf = &record;
    return update_fe_database(&block);
}

inline void update(fe_write_buf record) {
    update_in_place(record);
}

struct Model {
    std::list<fe_write_buf> chain;                        // newest first
    std::vector<std::list<fe_write_buf>::iterator> index; // in the order of entities, their instances, their faults
    std::vector<std::string> log;
    std::array<int, 4> storage{}; // by the bit of the status byte
    std::string entry_file = "<missing>", count_file = "<missing>", status_file = "<missing>";
    int evictions = 0;

    int32_t update(fe_write_buf &r) {
        if (r.Previous_Fault_time == 0) {
            keep_time(r, r);
        }
        const auto of_entity = [&r](const auto &f) { return f->entity_id == r.entity_id; };
        const auto of_instance = [&](const auto &f) { return of_entity(f) && f->entity_instance == r.entity_instance; };
        const bool entity = std::ranges::any_of(index, of_entity), instance = std::ranges::any_of(index, of_instance);
        const auto fault = std::ranges::find_if(index, [&](const auto &f) {
            const auto &codes = r.related_FaultCode.related_fc;
            const int32_t code = f->vemoFaultCode;
            return of_instance(f) &&
                   (code == r.vemoFaultCode || (code != 0 && std::count(codes + 1, codes + 7, code) > 0));
        });
        line(index.empty() ? "List NULL, NO entity id found" : entity ? "Entity id found" : "Entity id NOT found", r);
        if (entity) {
            line(instance ? "Entity instance found" : "Entity instance NOT found", r);
        }
        const bool found = fault != index.end();
        if (instance) {
            line(found ? "Fault node found" : "Fault node NOT found", found ? **fault : r);
        }
        if (found || r.vemoFaultSeverity == 0) {
            return found ? replace(*fault, r) : -1;
        }
        const auto last = std::find_if(index.rbegin(), index.rend(), [&](const auto &f) {
            return instance ? of_instance(f) : !entity || of_entity(f);
        });
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

    void write_files() {
        if (sel_init_complete != 0) {
            const auto count = static_cast<uint32_t>(chain.size());
            count_file.assign(reinterpret_cast<const char *>(&count), sizeof count);
            entry_file.clear();
            for (const fe_write_buf &record : chain) {
                entry_file.append(reinterpret_cast<const char *>(&record), sizeof record);
            }
        }
    }

private:
    static bool is_storage(const fe_write_buf &r) { return r.entity_id >= 208 && r.entity_id <= 215; }
    static void keep_time(fe_write_buf &r, const fe_write_buf &from) {
        r.Previous_Fault_time = from.Fault_time;
        snprintf(r.PreviousTimeOfEvent, FE_TIME_TEXT_SIZE, "%.*s", FE_TIME_TEXT_SIZE - 1, from.TimeOfEvent);
    }

    void line(const char *text, const fe_write_buf &r) {
        char line[200];
        snprintf(line, sizeof line, "%s (%u/%u/curr:%u-prev:%u) - sev: %u\n", text, unsigned{r.entity_id},
                 static_cast<unsigned>(r.entity_instance), static_cast<unsigned>(r.vemoFaultCode),
                 static_cast<unsigned>(r.prev_vemoFaultCode), static_cast<unsigned>(r.vemoFaultSeverity));
        log.emplace_back(line);
    }

    int32_t replace(std::list<fe_write_buf>::iterator stored, fe_write_buf &r) {
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

    void drop(std::list<fe_write_buf>::iterator stored) {
        std::erase(index, stored);
        chain.erase(stored);
    }

    void count_storage(const fe_write_buf &r, int step) {
        const auto severity = static_cast<uint32_t>(r.vemoFaultSeverity);
        int &count = storage[severity >= 5 ? 3 : severity >= 3 ? 2 : 0];
        count = std::max(0, count + (is_storage(r) ? step : 0));
        if (is_storage(r) && status_file != "<missing>") {
            const int byte = (storage[0] ? 0x01 : 0) | (storage[2] ? 0x04 : 0) | (storage[3] ? 0x08 : 0);
            status_file = std::string(1, static_cast<char>(byte));
        }
    }
};

inline std::vector<const fe_table_entry *> chain() {
    std::vector<const fe_table_entry *> entries;
    for (const fe_table_entry *entry = fe_table_head_ptr; entry; entry = entry->next) {
        entries.push_back(entry);
    }
    return entries;
}

// Entity, instance and code of every fault in the order of the index, and its place on the chain.
using Index = std::vector<std::array<std::ptrdiff_t, 4>>;

inline Index index() {
    Index nodes;
    const auto entries = chain();
    for (const entity_id_node *entity = entity_id_list_head_ptr; entity; entity = entity->next) {
        for (const entity_instance_node *instance = entity->instance_list; instance; instance = instance->next) {
            for (const fault_node *fault = instance->fault_list; fault; fault = fault->next) {
                nodes.push_back({entity->entity_id, instance->entity_instance, fault->fault_code,
                                 std::ranges::find(entries, fault->entry) - entries.begin()});
            }
        }
    }
    return nodes;
}

class TableTest : public testing::Test {
protected:
    TableTest() { reset_world(); }
    ~TableTest() override { reset_world(); }

    // An empty table; the files and the storage counters stay, in the library as in the model.
    void start_afresh() {
        model.chain.clear();
        model.index.clear();
        model.log.clear();
        reset_world();
    }

    static void set_sensor(int32_t number, uint32_t type, uint32_t state, uint32_t sensor_type = 1) {
        world().sensors[number] = sensor(9, 3, 1, sensor_type, type);
        world().readings[number] = state;
    }

    // Gives the record to both and compares result and record.
    void update_both(const fe_write_buf &record) {
        fe_write_buf ours = record, theirs = record;
        EXPECT_EQ(update_in_place(theirs), model.update(ours));
        EXPECT_EQ(memcmp(&ours, &theirs, sizeof ours), 0) << "record";
    }

    // Compares table, files and the log since the last comparison. The library's storage counters live as long as the
    // process; they are known only where no other test ran before.
    void compare() {
        Index expected;
        for (const auto &f : model.index) {
            const auto place = std::distance(model.chain.begin(), f);
            expected.push_back({f->entity_id, f->entity_instance, f->vemoFaultCode, place});
        }
        EXPECT_EQ(index(), expected);
        EXPECT_EQ(broken_invariant(), "");
        EXPECT_TRUE(
            std::ranges::equal(chain(), model.chain, [](const fe_table_entry *entry, const fe_write_buf &record) {
                return memcmp(&entry->record, &record, sizeof record) == 0;
            }));
        EXPECT_TRUE(sandbox.bytes("fe_table.entry") == model.entry_file) << "entry file";
        EXPECT_EQ(sandbox.bytes("fe_table.sz"), model.count_file);
        if (testing::UnitTest::GetInstance()->test_to_run_count() == 1) {
            EXPECT_EQ(sandbox.bytes("stor_stat"), model.status_file);
        }
        EXPECT_EQ(world().log, model.log);
        world().log.clear();
        model.log.clear();
    }

    SandboxPaths sandbox;
    Model model;
};
