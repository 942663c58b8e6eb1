#include "tools/bmc/place_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <utility>

#include "tools/fectl.h"
#include "tools/whole_file.h"

namespace bmc {
namespace {

// A line of what it is, a line each of the host, the log's figures and how it is followed, then a record a line.
constexpr char first_line[] = "fectl watch, place 1";

std::string hexadecimal(const sel_record &record) {
    std::string text;
    for (const char byte : std::string_view(reinterpret_cast<const char *>(&record), sizeof record)) {
        char digits[3];
        snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(byte));
        text += digits;
    }
    return text;
}

bool parse_record(const std::string &text, sel_record &record) {
    if (text.size() != 2 * sizeof record || text.find_first_not_of("0123456789abcdef") != text.npos) {
        return false;
    }
    auto *bytes = reinterpret_cast<uint8_t *>(&record);
    for (size_t i = 0; i < sizeof record; ++i) {
        bytes[i] = static_cast<uint8_t>(std::stoul(text.substr(2 * i, 2), nullptr, 16));
    }
    return true;
}

std::string format_place(const SelPlace &place, const std::string &host) {
    std::ostringstream text;
    const SelInfo &info = place.info;
    text << first_line << '\n'
         << host << '\n'
         << info.entries << ' ' << info.last_addition << ' ' << info.last_erase << ' ' << info.free_bytes << ' '
         << info.overflow << '\n'
         << place.settled << ' ' << place.wrapped << ' ' << place.newest_id << ' ' << place.log.size() << '\n';
    for (const sel_record &record : place.log) {
        text << hexadecimal(record) << '\n';
    }
    return text.str();
}

// False when it is no place.
bool parse_place(std::istream &text, SelPlace &place) {
    size_t records = 0;
    SelInfo &info = place.info;
    text >> info.entries >> info.last_addition >> info.last_erase >> info.free_bytes >> info.overflow;
    if (!(text >> place.settled >> place.wrapped >> place.newest_id >> records)) {
        return false;
    }
    std::string line;
    for (sel_record record; text >> line && parse_record(line, record);) {
        place.log.push_back(record);
    }
    place.started = true;
    return text.eof() && place.log.size() == records;
}

} // namespace

std::optional<SelPlace> PlaceFile::read() const {
    std::ifstream file(path_);
    if (!file) {
        if (errno != ENOENT) {
            throw Refusal(path_ + ": cannot open: " + strerror(errno));
        }
        return std::nullopt;
    }
    std::string what, host;
    SelPlace place;
    if (!std::getline(file, what) || what != first_line || !std::getline(file, host)) {
        throw Refusal(path_ + ": not a place that fectl watch has kept");
    }
    if (host != host_) {
        throw Refusal(path_ + ": a place in the SEL of " + host + ", not of " + host_);
    }
    if (!parse_place(file, place)) {
        throw Refusal(path_ + ": cut short or damaged; without the file, watch starts anew");
    }
    return place;
}

void PlaceFile::write(const SelPlace &place) const {
    write_whole_file(path_, format_place(place, host_));
}

} // namespace bmc
