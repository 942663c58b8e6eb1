// Updates, clean-up passes and changes of sensors, mirrored in the tests' model of the table.
#include "fuzz/target.h"
#include "support/table_steps.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const Sandbox sandbox;
    reset_world();
    Choices choices(std::span(data, size));
    Mirror mirror(sandbox);
    TableSteps steps(choices, mirror);
    steps.instances = 1 + choices.below(256);
    for (int step = 0; !choices.at_end(); ++step) {
        sel_init_complete = step % 64 == 0 ? 1 : 0; // seldom, for files take long
        steps.step();
        sel_init_complete != 0 ? mirror.compare() : void();
    }
    reset_world();
    return 0;
}
