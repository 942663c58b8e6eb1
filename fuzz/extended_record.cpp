// Extended SEL records, on whichever road they take.
#include "fuzz/engine.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const Engine engine(input);
    while (!input.at_end()) {
        const auto record = input.number<super_sel_rec>();
        const int32_t result = process_super_sel_data(reinterpret_cast<const uint8_t *>(&record));
        require(std::ranges::count(std::array{0, -1, -2, -102, -105, -108}, result) == 1, "the result is one of these");
        engine.check();
    }
    return 0;
}
