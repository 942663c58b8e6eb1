// Files that are written at once.
#pragma once

#include <string>
#include <string_view>

// Writes a file beside it and renames that, so that whoever looks for the file finds it whole, or the one of before. What is
// no regular file, as a device, is written where it is. Throws Failure.
void write_whole_file(const std::string &path, std::string_view content);
