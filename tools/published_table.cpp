#include "tools/published_table.h"

#include <algorithm>
#include <iterator>

#include "tools/table_files.h"

std::vector<story::Fault> read_published_table(const std::string &directory) {
    std::vector<story::Fault> faults;
    std::ranges::transform(read_table_files(directory), std::back_inserter(faults), story::read_fault);
    return faults;
}
