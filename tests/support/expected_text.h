// What a test expects, where it is too long to stand in the code: a file beside the test.
#pragma once

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

inline std::string expected_text(const std::string &file) {
    std::ifstream stream(TEST_FOLDER "/" + file);
    std::string text(std::istreambuf_iterator<char>(stream), {});
    EXPECT_NE(text, "") << file;
    return text;
}
