// The values of a story as lines of JSON; docs/output.md names the keys.
#pragma once

#include <string>
#include <unordered_map>

#include "tools/story.h"
#include "tools/view.h"

namespace story {

// What differs from line to line is little, so the rest is made once and kept.
class JsonLines {
public:
    // Each is one object, without its end of line. `capture`, unless empty, names the capture of all lines.
    explicit JsonLines(const std::string &capture = "");

    std::string change(const Change &change);
    std::string fault(const Fault &fault); // an active one
    std::string refused(const Refused &refused);
    std::string summary(const Ending &ending, const RequestsSeen *requests); // null: nothing was counted

private:
    std::string head(const char *type) const;
    const std::string &identity(const Fault &fault);
    const std::string &time(std::optional<uint32_t> time);
    void add_fault(std::string &line, const Fault &fault);
    void add_record(std::string &line, const Record *record);

    std::string capture_;
    std::unordered_map<std::string, std::string> identities_;
    std::unordered_map<uint32_t, std::string> times_;
};

} // namespace story
