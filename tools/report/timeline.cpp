#include "tools/report/timeline.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace report {

namespace {

constexpr int64_t width = 1000; // of a picture, in its own units; what the eye tells apart on a page

int64_t grain(const Clock &clock) {
    return std::max<int64_t>(1, clock.end / width);
}

// So many records that a shape for each fault would make a slow page.
bool is_crowded(const Clock &clock) {
    return clock.places.size() > 10000;
}

double units(int64_t place, const Clock &clock) {
    return static_cast<double>(width * place) / static_cast<double>(clock.end);
}

struct Level {
    int64_t from, to;
    Severity severity;
};

// What is too short to be seen takes a grain, and of several such within one grain the worst stays.
void add_level(std::vector<Level> &levels, Level level, int64_t least) {
    const int64_t free = levels.empty() ? level.from : std::max(level.from, levels.back().from + least);
    if (!levels.empty() && level.from < free && level.to <= free) {
        levels.back().severity = std::max(levels.back().severity, level.severity);
        return;
    }
    if (!levels.empty() && levels.back().severity == level.severity && levels.back().to >= level.from) {
        levels.back().to = std::max(levels.back().to, level.to);
        return;
    }
    if (!levels.empty()) {
        levels.back().to = std::min(levels.back().to, free);
    }
    levels.push_back({free, std::max(level.to, free + least), level.severity});
}

int64_t life_end(const Life &life, const Clock &clock) {
    return life.end == LifeEnd::active ? clock.end : clock.places[life.entries.back().line];
}

std::vector<Level> levels_of(const Life &life, const Clock &clock) {
    std::vector<Level> levels;
    const size_t last = life.entries.size() - (life.end == LifeEnd::active ? 0 : 1);
    for (size_t at = 0; at < last; ++at) {
        const int64_t to =
            at + 1 < life.entries.size() ? clock.places[life.entries[at + 1].line] : life_end(life, clock);
        add_level(levels, {clock.places[life.entries[at].line], to, life.entries[at].severity}, grain(clock) * 5 / 2);
    }
    return levels;
}

// Where a record repeated the fault and changed nothing else.
std::vector<int64_t> ticks_of(const Life &life, const Clock &clock) {
    std::vector<int64_t> ticks;
    const size_t last = life.entries.size() - (life.end == LifeEnd::active ? 0 : 1);
    for (size_t at = 1; at < last; ++at) {
        const int64_t place = clock.places[life.entries[at].line];
        if (life.entries[at].severity == life.entries[at - 1].severity &&
            (ticks.empty() || place >= ticks.back() + 3 * grain(clock))) {
            ticks.push_back(place);
        }
    }
    return ticks;
}

Severity worst_of(const Life &life) {
    return std::ranges::max_element(life.entries, {}, &Entry::severity)->severity;
}

const char *end_word(LifeEnd end) {
    constexpr const char *words[] = {"active", "cleared", "evicted"};
    return words[static_cast<size_t>(end)];
}

std::string life_title(const Life &life, const ServerLog &log, const Words &words) {
    std::string title = words.text(life.name) + ", " + severity_words[static_cast<size_t>(worst_of(life))] +
                        ", raised " + time_text(log.times[life.entries.front().line]) + ", " + end_word(life.end);
    if (life.end != LifeEnd::active) {
        title += " " + time_text(log.times[life.entries.back().line]);
    }
    return title + ", " + std::to_string(life.entries.size()) + (life.entries.size() == 1 ? " record" : " records");
}

// A rectangle as a piece of a path.
std::string box(int64_t from, double wide, size_t track, int height, const Clock &clock) {
    const size_t top = track * track_pitch + static_cast<size_t>(track_height - height);
    char text[64];
    snprintf(text, sizeof text, "M%.4g %zuh%.4gv%dh-%.4gz", units(from, clock), top, wide, height, wide);
    return text;
}

// The last path is that of the ticks.
using Paths = std::array<std::string, severities + 1>;

void add_paths(Paths &paths, const Life &life, const Clock &clock) {
    for (const Level &level : levels_of(life, clock)) {
        paths[static_cast<size_t>(level.severity)] +=
            box(level.from, units(level.to - level.from, clock), life.track, bar_height(level.severity), clock);
    }
    for (const int64_t tick : ticks_of(life, clock)) {
        paths[severities] += box(tick, 1.2, life.track, track_height, clock);
    }
}

std::string shapes_of(const Paths &paths) {
    std::string shapes;
    for (size_t at = 0; at < paths.size(); ++at) {
        if (!paths[at].empty()) {
            shapes += "<path class=\"" + std::string(at < severities ? severity_words[at] : "tick") + "\" d=\"" +
                      paths[at] + "\"/>";
        }
    }
    return shapes;
}

struct Drawing {
    size_t faults;
    const Life *first;
    Paths paths;
};

std::string drawing_title(const Drawing &drawing, const ServerLog &log, const Words &words) {
    const std::string title = life_title(*drawing.first, log, words);
    return drawing.faults == 1 ? title : std::to_string(drawing.faults) + " faults, the first: " + title;
}

} // namespace

int bar_height(Severity severity) {
    return 1 + 3 * static_cast<int>(severity);
}

std::string percent(int64_t place, const Clock &clock) {
    char text[32];
    snprintf(text, sizeof text, "%.2f", 100 * units(place, clock) / static_cast<double>(width));
    return text;
}

std::vector<Bar> lane_bars(const Lane &lane, const ServerLog &log, const Words &words) {
    const bool crowded = is_crowded(log.clock);
    std::vector<Drawing> drawings;
    std::vector<std::pair<int64_t, size_t>> drawn(lane.tracks, {-1, 0}); // where the last one of a track ends, and it
    for (const Life &life : lane.lives) {
        auto &[reaches, last] = drawn[life.track];
        const bool hidden = life_end(life, log.clock) <= reaches;
        if (!hidden && (drawings.empty() || !crowded)) {
            drawings.push_back({0, &life, {}});
        }
        if (!hidden) {
            last = drawings.size() - 1;
            reaches = log.clock.places[life.entries.front().line] + grain(log.clock);
            add_paths(drawings[last].paths, life, log.clock);
        }
        ++drawings[last].faults;
    }
    std::vector<Bar> bars;
    bars.reserve(drawings.size());
    for (const Drawing &drawing : drawings) {
        bars.push_back({drawing.faults, drawing_title(drawing, log, words), shapes_of(drawing.paths)});
    }
    return bars;
}

std::vector<Gap> clock_gaps(const Clock &clock) {
    std::vector<Gap> gaps;
    for (size_t at = 1; at < clock.eras.size(); ++at) {
        const Era &before = clock.eras[at - 1];
        const Era &era = clock.eras[at];
        const std::string between = time_text(before.last) + " to " + time_text(era.first);
        const bool dates = is_date(before.last) == is_date(era.first);
        const std::string by = dates ? " by " + duration_text(std::abs(era.first - before.last)) : "";
        const char *what = era.jump == Jump::back    ? "Clock set back"
                           : era.jump == Jump::ahead ? "Clock set ahead"
                                                     : "Clock counts from a start";
        const std::string words = std::string(what).append(by).append(": ").append(between);
        gaps.push_back({before.place + (before.last - before.first + 1) * per_second, era.place, words});
    }
    return gaps;
}

std::vector<Flag> serious_flags(const ServerLog &log) {
    std::vector<std::pair<int64_t, const RefusedGroup *>> events;
    for (const RefusedGroup &group : log.refused) {
        for (const Entry &entry : group.entries) {
            if (group.serious) {
                events.emplace_back(log.clock.places[entry.line], &group);
            }
        }
    }
    std::ranges::sort(events);
    std::vector<Flag> flags;
    for (const auto &[place, group] : events) {
        if (!flags.empty() && place < flags.back().place + 8 * grain(log.clock)) {
            ++flags.back().events;
        } else {
            flags.push_back({place, 1, group->source + ": " + group->event});
        }
    }
    for (Flag &flag : flags) {
        if (flag.events > 1) {
            flag.title += " and " + std::to_string(flag.events - 1) + " more";
        }
    }
    return flags;
}

} // namespace report
