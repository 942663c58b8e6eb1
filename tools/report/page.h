// The page: one HTML file with everything in it.
#pragma once

#include <string>
#include <vector>

#include "tools/report/server_log.h"

namespace report {

std::string make_page(std::vector<ServerLog> logs, const Words &words); // the worst first

// What the script draws from: all records, without the keys.
std::string page_data(const std::vector<ServerLog> &logs, const Words &words);

} // namespace report
