// The faults that an engine has published in its table files.
#pragma once

#include <string>
#include <vector>

#include "tools/story.h"

// Newest first, without a history. Throws Refusal as read_table_files() does.
std::vector<story::Fault> read_published_table(const std::string &directory);
