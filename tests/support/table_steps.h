// Steps in the life of a table that is mirrored: updates, clean-up passes and changes of sensors, one after the other.
#pragma once

#include "support/choices.h"
#include "support/mirror.h"

class TableSteps {
public:
    TableSteps(Choices &choices, Mirror &mirror) : choose(choices), mirror_(mirror) {}

    uint32_t instances = 2, clears_every = 10; // records, besides those that draw severity 0
    std::function<void(Model &, const std::function<void()> &)> with_failing_call; // runs the step; unset: none fails

    void step();
    void update_once();

private:
    fe_write_buf record();
    int32_t code() { return choose.of<int32_t>({0, 5, -5, 175, 176, 177, 460, 461, 462, 918, 919, 920, 921}); }
    uint32_t sensor_number() { return choose.of<uint32_t>({0, 255, 256, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF}); }
    void change_a_sensor();
    void pass_over_stale();
    void run(const std::function<void()> &step) const;

    Choices &choose;
    Mirror &mirror_;
};
