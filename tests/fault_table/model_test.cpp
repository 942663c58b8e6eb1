// Random faults, clean-up passes and failing allocations, which the model has to follow.
#include "support/engine_test.h"
#include "support/table_steps.h"

namespace {

class FaultTableModel : public EngineTest {
protected:
    FaultTableModel() {
        steps.with_failing_call = [this](Model &model, const std::function<void()> &step) {
            model.failing_allocation = choices.of({0, 0, 0, 0, 0, 0, 1, 2, 3, 4});
            const FailCall allocation(Call::allocate, model.failing_allocation,
                                      choices.of({Way::alone, Way::with_all_behind_it}));
            step();
        };
    }

    Choices choices{7U};
    Mirror mirror{sandbox};
    TableSteps steps{choices, mirror};
};

TEST_F(FaultTableModel, IsFollowedBeyondTheCap) {
    steps.instances = 300, steps.clears_every = 50;
    for (int i = 0; i < 4000 && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        sel_init_complete = i % 100 == 0 ? 1 : 0;
        steps.update_once();
        sel_init_complete != 0 ? mirror.compare() : void();
    }
    EXPECT_GT(mirror.model.evictions, 500);
}

TEST_F(FaultTableModel, IsFollowedByEveryUpdateAndPass) {
    for (int i = 0; i < 12000 && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        sel_init_complete = i < 1000 ? 0 : 1;
        steps.step();
        mirror.compare();
    }
    EXPECT_GT(mirror.model.duplicates, 100);
    EXPECT_GT(mirror.model.stale, 300);
    EXPECT_GT(mirror.model.judged_again, 10);
}

} // namespace
