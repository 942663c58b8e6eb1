#include "tools/csv.h"

namespace {

std::string quoted(const std::string &text) {
    if (text.find_first_of(",\"\r\n") == text.npos) {
        return text;
    }
    std::string inside;
    for (const char c : text) {
        inside += c == '"' ? std::string("\"\"") : std::string(1, c);
    }
    return '"' + inside + '"';
}

} // namespace

std::string csv_line(const std::vector<std::string> &values) {
    std::string line;
    for (const std::string &value : values) {
        line += (&value == values.data() ? "" : ",") + quoted(value);
    }
    return line;
}
