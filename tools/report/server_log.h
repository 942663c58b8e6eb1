// What became of a server's log, gathered from the lines that fectl's JSON view prints of it.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "tools/report/clock.h"

namespace report {

// In rising order; the number is the height of a bar, too.
enum class Severity : uint8_t { cleared, info, warning, minor, major, critical };
constexpr size_t severities = 6;
constexpr const char *severity_words[] = {"cleared", "info", "warning", "minor", "major", "critical"};
constexpr const char *severity_letters[] = {"-", "I", "W", "m", "M", "C"};
Severity severity_of(const std::string &word); // info for a word that it does not know

// Each text once; its number stands for it.
class Words {
public:
    size_t number(const std::string &text);
    const std::string &text(size_t number) const { return *texts_[number]; }
    const std::vector<const std::string *> &all() const { return texts_; }

private:
    std::unordered_map<std::string, size_t> numbers_;
    std::vector<const std::string *> texts_;
};

// A record of the log, in what it did to one fault, or as a refused one.
struct Entry {
    size_t line;                   // of the log: its place on the axis is clock.places[line]
    std::optional<int64_t> record; // its id; a clean-up pass has none
    Severity severity;
    size_t event; // words
};

enum class LifeEnd { active, cleared, evicted };

// A fault from its raise on: the entry that raised it, those that repeated it and, unless it is active, the one that
// ended it.
struct Life {
    size_t name;  // words
    size_t track; // faults of a lane that are there at the same time have tracks of their own
    LifeEnd end;
    std::vector<Entry> entries;
};

struct Lane {
    std::string sensor;
    std::vector<Life> lives;
    std::map<int64_t, size_t> open; // active lives, by the table's code
    size_t tracks = 1;
};
Severity worst_active(const Lane &lane); // cleared if none is

struct Part {
    std::string name;
    std::vector<Lane> lanes; // the worst first
};
Severity worst_active(const Part &part);

struct RefusedGroup {
    bool serious;
    std::string reason; // the word of the lines
    std::string source; // sensor, or who else sent it
    std::string event;
    std::vector<Entry> entries;
};

struct ActiveFault {
    std::string part, sensor, name, event;
    Severity severity;
    int64_t code, count;
    std::optional<int64_t> first, last;
};

struct ServerLog {
    std::string name;
    std::vector<std::string> warnings;
    std::string failure;                       // why there is no more than the name
    std::vector<Part> parts;                   // the worst first
    std::vector<RefusedGroup> refused;         // the serious first
    std::vector<ActiveFault> faults;           // the worst first, the newest first among those
    std::vector<std::optional<int64_t>> times; // of each line of the log
    Clock clock;
    nlohmann::json summary = nlohmann::json::object();
};

// Takes the lines one by one; all that is about the whole is there after finish().
class LogReader {
public:
    LogReader(Words &words, std::string name);
    void take(const nlohmann::json &line); // throws nlohmann::json::exception for one that is none of fectl's
    ServerLog finish();

private:
    void take_change(const nlohmann::json &line);
    void take_refused(const nlohmann::json &line);
    void take_fault(const nlohmann::json &line);
    void show_faults_alone();
    Entry next_entry(const nlohmann::json &line);
    Lane &lane_of(const nlohmann::json &line);

    Words &words_;
    ServerLog log_;
    std::vector<nlohmann::json> fault_lines_;
    std::map<std::pair<int64_t, int64_t>, size_t> parts_;                        // by entity id and instance
    std::map<std::tuple<int64_t, int64_t, int64_t, std::string>, size_t> lanes_; // in its part
    std::map<std::tuple<bool, std::string, std::string, std::string>, size_t> groups_;
};

} // namespace report
