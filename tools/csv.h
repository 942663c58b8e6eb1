// Lines of comma-separated values (RFC 4180).
#pragma once

#include <string>
#include <vector>

// Quoted where a value needs that; without the end of line.
std::string csv_line(const std::vector<std::string> &values);
