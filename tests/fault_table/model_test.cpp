// Random faults, clean-up passes and failing allocations, each for the library and for the model.
#include <random>

#include "fault_engine/classify.h"
#include "fault_table/table_model.h"

namespace {

class FaultTableModel : public FaultTable {
protected:
    template <typename T>
    T pick(std::initializer_list<T> from) {
        return from.begin()[random() % from.size()];
    }
    int32_t code() { return pick<int32_t>({0, 5, -5, 175, 176, 177, 460, 461, 462, 918, 919, 920, 921}); }
    uint32_t sensor_number() { return pick<uint32_t>({0, 255, 256, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF}); }

    // Every byte is random but for the keys, which come from few values, the severity and the sensor.
    fe_write_buf record() {
        fe_write_buf r;
        std::generate_n(reinterpret_cast<uint8_t *>(&r), sizeof r, [this] { return static_cast<uint8_t>(random()); });
        r.entity_id = pick<uint8_t>({3, 207, 208, 215, 216});
        r.entity_instance = static_cast<int32_t>(random() % instances) - 1;
        r.vemoFaultCode = code();
        r.vemoFaultSeverity = random() % clears_every == 0 ? 0 : pick<int32_t>({0, 1, 2, 3, 4, 5, 6, 7, -1});
        r.sens_num = sensor_number();
        for (int32_t &related : r.related_FaultCode.related_fc) {
            related = pick<int32_t>({0, 1}) * code();
        }
        if (random() % 2 == 0) {
            lookup_fill_related_threshold_fault_code(&r);
        }
        r.Fault_time = pick<int32_t>({0, 1, -1, r.Fault_time});
        r.Previous_Fault_time = pick<int32_t>({0, r.Previous_Fault_time});
        for (char *const text : {r.TimeOfEvent, r.PreviousTimeOfEvent}) { // one in three has hardly a NUL
            if (random() % 3 != 0) {
                text[pick({0, 1, 17, 30, 31})] = '\0';
            }
        }
        return r;
    }

    void change_a_sensor() {
        const auto number = static_cast<int32_t>(sensor_number());
        world().sensors[number] = sensor(9, 3, 1, pick<uint32_t>({7, 8, 0x108}), pick<uint32_t>({1, 4, 10, 111, 112}));
        world().readings[number] = pick<uint32_t>({0, 1, 3, 0x100, 0x200, 0x400, 0xFE00, 0x80000200});
        if (random() % 3 == 0) {
            world().readings.erase(number);
        } else if (random() % 6 == 0) {
            world().sensors.erase(number);
        }
    }

    // The one and then the other, which has to log the same. One of the allocations may fail.
    void both(const std::function<void()> &library, const std::function<void()> &ours) {
        model.failing_allocation = pick({0, 0, 0, 0, 0, 0, 1, 2, 3, 4});
        {
            const FailCall allocation(Call::allocate, model.failing_allocation,
                                      pick({Way::alone, Way::with_all_behind_it}));
            library();
        }
        const auto log = std::exchange(world().log, {});
        ours();
        EXPECT_EQ(log, world().log);
        world().log.clear();
    }

    void update_both() {
        fe_write_buf theirs = record(), ours = theirs;
        int32_t result = 0;
        both([&] { result = update(theirs); }, [&] { EXPECT_EQ(result, model.update(ours)); });
        EXPECT_TRUE(theirs == ours) << "record";
    }

    // While a sensor is read, another thread clears some faults, or updates one.
    void cleanup_both_deasserted() {
        std::vector<fe_write_buf> meanwhile;
        for (const fe_write_buf &fault : model.chain) {
            meanwhile.push_back(fault);
            meanwhile.back().vemoFaultSeverity = 0;
        }
        std::ranges::shuffle(meanwhile, random);
        meanwhile.resize(std::min(meanwhile.size(), size_t{random() % 3}));
        if (meanwhile.empty()) {
            meanwhile = {record()};
        }
        const size_t moment = random() % 6;
        std::vector<int32_t> theirs, ours; // sensors read
        const auto reading = [&](std::vector<int32_t> &examined, auto change) {
            return [&, change](int32_t number) {
                examined.push_back(number);
                for (size_t i = 0; examined.size() == moment && i < meanwhile.size(); ++i) {
                    fe_write_buf record = meanwhile[i];
                    change(record);
                }
            };
        };
        world().on_reading = reading(theirs, update);
        both(cleanup_deasserted_events,
             [&] { model.cleanup_deasserted(reading(ours, [this](fe_write_buf &r) { model.update(r); })); });
        EXPECT_EQ(theirs, ours);
    }

    // The library's storage counters live as long as the process; they are known only where no other test ran before.
    void compare() {
        EXPECT_EQ(broken_invariant(), "");
        EXPECT_TRUE(std::ranges::equal(chain(), model.chain)) << "chain";
        const auto is_at = [](const fe_table_entry *entry, Model::Place place) { return entry->record == *place; };
        EXPECT_TRUE(std::ranges::equal(table_index().entries, model.index, is_at)) << "index";
        for (const auto &[name, content] : model.files) {
            EXPECT_TRUE(sandbox.bytes(name) == content || (name == "stor_stat" && !counters_known)) << name;
        }
        EXPECT_TRUE(world().broadcasts.empty());
    }

    const bool counters_known = testing::UnitTest::GetInstance()->test_to_run_count() == 1;
    std::mt19937 random{7};
    uint32_t instances = 0, clears_every = 0; // besides the clearing records that come as any other severity
    Model model;
};

TEST_F(FaultTableModel, AgreesBeyondTheCap) {
    instances = 300, clears_every = 50;
    for (int i = 0; i < 4000 && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        sel_init_complete = i % 100 == 0 ? 1 : 0;
        update_both();
        sel_init_complete != 0 ? compare() : void();
    }
    EXPECT_GT(model.evictions, 500);
}

TEST_F(FaultTableModel, AgreesAfterEveryUpdateAndPass) {
    std::ofstream(sandbox.path("stor_stat")).flush();
    model.files["stor_stat"] = "";
    instances = 2, clears_every = 10;
    for (int i = 0; i < 12000 && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        sel_init_complete = i < 1000 ? 0 : 1;
        change_a_sensor();
        switch (random() % 24) {
        case 0: both(cleanup_duplicate_events, [this] { model.cleanup_duplicates(); }); break;
        case 1:
        case 2: cleanup_both_deasserted(); break;
        default: update_both();
        }
        compare();
    }
    EXPECT_GT(model.twins, 100);
    EXPECT_GT(model.stale_cleared, 300);
    EXPECT_GT(model.judged_again, 30);
}

} // namespace
