// The pair of files that an engine publishes, as fectl reads and prints it.
#include "tools/table_files.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "fault_engine/fault_table.h"
#include "fuzz/target.h"
#include "support/choices.h"
#include "support/sandbox.h"
#include "tools/fault_list.h"
#include "tools/fectl.h"

// The reader pauses between its attempts.
extern "C" int nanosleep(const timespec *, timespec *) {
    return 0;
}

// The input: the length of the count file, its bytes, how much longer or shorter than the counted records the entry file
// is, the byte that fills it, its first bytes.
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const Sandbox sandbox;
    static FILE *const nowhere = fopen("/dev/null", "w");
    Choices input(std::span(data, size));
    const std::string count_file = input.bytes(input.byte() % 8);
    uint32_t count = 0;
    memcpy(&count, count_file.data(), std::min(count_file.size(), sizeof count));
    size_t length = (count <= FE_TABLE_MAX_FAULTS + 1 ? count : 1) * sizeof(fe_write_buf) + input.byte();
    length -= std::min<size_t>(length, input.byte());
    std::string entry_file(length, static_cast<char>(input.byte()));
    const std::string start = input.bytes(entry_file.size());
    entry_file.replace(0, start.size(), start);
    std::ofstream(sandbox.path("fe_table.sz"), std::ios::binary) << count_file;
    std::ofstream(sandbox.path("fe_table.entry"), std::ios::binary) << entry_file;

    const bool is_pair =
        count_file.size() == 4 && count <= FE_TABLE_MAX_FAULTS && entry_file.size() == count * sizeof(fe_write_buf);
    try {
        const std::vector<fe_write_buf> faults = read_table_files(sandbox.path(""));
        require(is_pair && faults.size() == count, "only a pair that agrees is a table");
        require(count == 0 || memcmp(faults.data(), entry_file.data(), entry_file.size()) == 0,
                "it is that of the file");
        std::vector<story::Fault> read;
        std::ranges::transform(faults, std::back_inserter(read), story::read_fault);
        print_fault_list(nowhere, read, count % 200);
    } catch (const Refusal &) {
        require(!is_pair, "a pair that agrees is a table");
    }
    return 0;
}
