// SEL records down the whole road, one by one or as the start-up walk finds them.
#include "fuzz/engine.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const Engine engine(input);
    while (!input.at_end()) {
        const auto record = input.number<sel_record>();
        const int32_t result = process_sel_data(reinterpret_cast<const uint8_t *>(&record));
        require(std::ranges::count(std::array{0, -1, -102, -105, -108}, result) == 1, "the result is one of these");
        engine.check();
        if (input.number() == 0xFF) {
            populate_all_sel_events();
            engine.check();
        }
    }
    return 0;
}
