#include <random>

#include "fault_engine/classify.h"
#include "fault_table/table_model.h"

namespace {

struct RandomFaults {
    uint32_t instances, clear_in;
    std::mt19937 random{7};

    template <typename T>
    T pick(std::initializer_list<T> from) {
        return from.begin()[random() % from.size()];
    }
    int32_t code() { return pick<int32_t>({0, 5, -5, 175, 176, 177, 460, 461, 462, 918, 919, 920, 921}); }

    // Every byte is random but for the keys, which come from few values, and the severity.
    fe_write_buf next() {
        fe_write_buf r;
        std::generate_n(reinterpret_cast<uint8_t *>(&r), sizeof r, [this] { return static_cast<uint8_t>(random()); });
        r.entity_id = pick<uint8_t>({3, 207, 208, 215, 216});
        r.entity_instance = static_cast<int32_t>(random() % instances) - 1;
        r.vemoFaultCode = code();
        r.vemoFaultSeverity = random() % clear_in == 0 ? 0 : pick<int32_t>({0, 1, 2, 3, 4, 5, 6, 7, -1});
        for (int32_t &related : r.related_FaultCode.related_fc) {
            related = pick<int32_t>({0, 0, 0, 1}) * code();
        }
        if (random() % 2 == 0) {
            lookup_fill_related_threshold_fault_code(&r);
        }
        r.Fault_time = pick<int32_t>({0, 1, -1, r.Fault_time});
        r.Previous_Fault_time = pick<int32_t>({0, r.Previous_Fault_time});
        for (char *const text : {r.TimeOfEvent, r.PreviousTimeOfEvent}) { // one in three has no NUL
            std::generate_n(text, FE_TIME_TEXT_SIZE, [this] { return static_cast<char>('a' + random() % 26); });
            if (random() % 3 != 0) {
                text[pick({0, 1, 17, 30, 31})] = '\0';
            }
        }
        return r;
    }
};

} // namespace

TEST_F(TableTest, AgreesBeyondTheCap) {
    RandomFaults faults{300, 50};
    for (int i = 0; i < 3500 && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        sel_init_complete = i % 100 == 0 ? 1 : 0;
        update_both(faults.next());
        sel_init_complete != 0 ? compare() : void();
    }
    EXPECT_GT(model.evictions, 500);
}

TEST_F(TableTest, AgreesAfterEveryUpdate) {
    sandbox.create("stor_stat");
    model.status_file = "";
    RandomFaults faults{3, 2};
    for (int i = 0; i < 3000 && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        i == 1500 ? start_afresh() : void();
        sel_init_complete = i < 1500 ? 0 : 1;
        update_both(faults.next());
        compare();
    }
}

TEST_F(TableTest, OccurrencesWrapFrom255To0) {
    for (int i = 0; i < 257; ++i) {
        update_both(make_fault(3, 1, 5, 4));
    }
    EXPECT_EQ(fe_table_head_ptr->record.vemoFaultOccur, 1);
}
