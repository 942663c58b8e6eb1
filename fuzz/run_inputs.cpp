// Stands in for the fuzzer: runs a target over the files of a folder, and over inputs made of random bytes.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "fuzz/target.h"

static void run(const std::string &name, const std::string &bytes) {
    printf("%s, %zu bytes\n", name.c_str(), bytes.size());
    fflush(stdout); // the last one named is the one that fails
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
}

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    std::error_code none; // of the folder, which a target need not have
    for (const auto &entry : std::filesystem::directory_iterator(argv[1], none)) {
        std::ifstream file(entry.path(), std::ios::binary);
        run(entry.path().filename(), {std::istreambuf_iterator<char>(file), {}});
    }
    std::mt19937 random(1);
    for (int i = 0; i < 50; ++i) {
        std::string bytes(random() % 4000, '\0');
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
        run(std::to_string(i), bytes);
    }
}
