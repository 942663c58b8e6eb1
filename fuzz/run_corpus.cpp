// Stands in for the fuzzer: runs a target over the files of the given folders.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/input.h"

int main(int argc, char **argv) {
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto &entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes(std::istreambuf_iterator<char>(file), {});
            printf("%s, %zu bytes\n", entry.path().filename().c_str(), bytes.size());
            fflush(stdout); // the last one named is the one that fails
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
            ++inputs;
        }
    }
    return inputs == 0;
}
