// What a test expects, where it is too long to stand in the code: a file beside the test.
#pragma once

#include <fstream>
#include <iterator>
#include <string>

inline std::string expected_text(const std::string &file) {
    std::ifstream stream(TEST_FOLDER "/" + file);
    return {std::istreambuf_iterator<char>(stream), {}};
}
