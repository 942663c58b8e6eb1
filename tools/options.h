// Options of a subcommand.
#pragma once

#include <getopt.h>

#include <cstdint>
#include <functional>
#include <span>
#include <string>

// Calls `take` with the `val` of each option of `options` (ended by an entry of zeros) and its argument, or null.
// Throws Refusal for anything that is no option of the list, has an argument too many or one too few. Options come
// first; returns what follows them.
std::span<char *> parse_options_and_operands(int argc, char **argv, const option *options,
                                             const std::function<void(int, const char *)> &take);

// The same for a subcommand that takes no operands.
void parse_options(int argc, char **argv, const option *options, const std::function<void(int, const char *)> &take);

// Throws Refusal, naming the option, for anything but a number in that range; hexadecimal with 0x in front.
int64_t parse_number(const std::string &option_name, const char *text, int64_t least, int64_t most);

// Throws Refusal unless files can be opened in that directory.
std::string checked_directory(const char *path);
