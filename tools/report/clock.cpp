#include "tools/report/clock.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "platform/time_text.h"

namespace report {

namespace {

constexpr int64_t minute = 60;
constexpr int64_t hour = 60 * minute;
constexpr int64_t day = 24 * hour;
constexpr int64_t jitter = 2 * minute; // clocks that are kept in step differ by less
constexpr int64_t silence = 400 * day; // nobody waits that long for a record: the clock was set ahead
constexpr int64_t gap_share = 50;      // a gap is this part of the axis, or all gaps together a quarter of it

Jump jump_between(int64_t before, int64_t after) {
    if (is_date(before) != is_date(after)) {
        return is_date(after) ? Jump::ahead : Jump::start;
    }
    if (after < before - jitter) {
        return is_date(after) ? Jump::back : Jump::start;
    }
    return after > before + silence ? Jump::ahead : Jump::none;
}

struct Stay {
    size_t era;
    int64_t second; // never less than that of the record before in the same era
};

Stay stay_at(std::vector<Era> &eras, const std::optional<int64_t> &time) {
    const int64_t second = time.value_or(eras.back().last);
    if (const Jump jump = jump_between(eras.back().last, second); jump != Jump::none) {
        eras.push_back({0, second, second, jump});
    }
    Era &era = eras.back();
    era.last = std::max(era.last, second);
    return {eras.size() - 1, era.last};
}

// Puts the eras one behind the other and returns where the last one ends.
int64_t line_up(std::vector<Era> &eras) {
    int64_t running = 0;
    for (const Era &era : eras) {
        running += era.last - era.first + 1;
    }
    const int64_t shares = std::max(gap_share, 4 * static_cast<int64_t>(eras.size()));
    const int64_t gap = std::max<int64_t>(per_second, running * per_second / shares);
    int64_t place = 0;
    for (Era &era : eras) {
        era.place = place;
        place += (era.last - era.first + 1) * per_second + gap;
    }
    return place - gap + running * per_second / 100; // what began last is seen, too
}

bool same_second(const Stay &one, const Stay &other) {
    return one.era == other.era && one.second == other.second;
}

std::vector<int64_t> places_of(const std::vector<Stay> &stays, const std::vector<Era> &eras) {
    std::vector<int64_t> places;
    for (size_t first = 0, next; first < stays.size(); first = next) {
        next = first + 1;
        while (next < stays.size() && same_second(stays[first], stays[next])) {
            ++next;
        }
        const Era &era = eras[stays[first].era];
        for (size_t at = first; at < next; ++at) {
            places.push_back(era.place + (stays[first].second - era.first) * per_second +
                             static_cast<int64_t>((at - first) * per_second / (next - first)));
        }
    }
    return places;
}

constexpr int64_t steps[] = {1,         2,         5,         15,        30,       60,       300,
                             900,       1800,      3600,      10800,     21600,    43200,    day,
                             2 * day,   4 * day,   7 * day,   14 * day,  30 * day, 60 * day, 91 * day,
                             182 * day, 365 * day, 730 * day, 3650 * day};

int64_t step_for(int64_t places, size_t at_most) {
    for (const int64_t step : steps) {
        if (places <= step * per_second * static_cast<int64_t>(at_most)) {
            return step;
        }
    }
    return std::end(steps)[-1];
}

std::string mark_text(int64_t time, int64_t step, int64_t before) {
    std::string text = time_text(time);
    if (!is_date(time)) {
        return text;
    }
    if (step >= day) {
        return text.substr(0, 10);
    }
    const std::string clock = text.substr(11, step < 60 ? 8 : 5);
    return time / day == before / day ? clock : text.substr(5, 6) + clock;
}

} // namespace

Clock make_clock(std::span<const std::optional<int64_t>> times) {
    Clock clock{{}, std::vector<int64_t>(times.size()), per_second};
    const auto known = std::ranges::find_if(times, [](const auto &time) { return time.has_value(); });
    if (known == times.end()) {
        return clock;
    }
    clock.eras.push_back({0, **known, **known, Jump::none});
    std::vector<Stay> stays;
    for (const auto &time : times) {
        stays.push_back(stay_at(clock.eras, time));
    }
    clock.end = line_up(clock.eras);
    clock.places = places_of(stays, clock.eras);
    return clock;
}

bool is_date(int64_t time) {
    return time >= sel_time_first_date;
}

std::string time_text(int64_t time) {
    if (!is_date(time)) {
        return "start+" + std::to_string(time) + "s";
    }
    const time_t seconds = time;
    tm date{};
    char text[32] = "";
    gmtime_r(&seconds, &date);
    strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &date);
    return text;
}

std::string time_text(std::optional<int64_t> time) {
    return time ? time_text(*time) : "time unknown";
}

std::string duration_text(int64_t seconds) {
    constexpr int64_t units[] = {day, hour, minute, 1};
    constexpr const char *words[] = {"d", "h", "min", "s"};
    size_t unit = 0;
    while (unit + 1 < std::size(units) && seconds < units[unit]) {
        ++unit;
    }
    const std::string text = std::to_string(seconds / units[unit]) + ' ' + words[unit];
    const int64_t rest = unit < 2 ? seconds % units[unit] / units[unit + 1] : 0;
    return rest == 0 ? text : text + ' ' + std::to_string(rest) + ' ' + words[unit + 1];
}

std::optional<int64_t> parse_time(const std::string &text) {
    tm date{};
    const char *end = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%SZ", &date);
    if (end == nullptr || *end != '\0') {
        return std::nullopt;
    }
    return timegm(&date);
}

std::span<const int64_t> axis_steps() {
    return steps;
}

std::vector<Mark> axis_marks(const Clock &clock, size_t at_most) {
    const int64_t step = step_for(clock.end, at_most);
    const int64_t apart = clock.end / static_cast<int64_t>(at_most) / 2;
    std::vector<Mark> marks;
    int64_t before = 0;
    for (const Era &era : clock.eras) {
        for (int64_t time = (era.first + step - 1) / step * step; time <= era.last; time += step) {
            const int64_t place = era.place + (time - era.first) * per_second;
            if (!marks.empty() && place < marks.back().place + apart) {
                continue;
            }
            marks.push_back({place, mark_text(time, step, before)});
            before = time;
        }
    }
    return marks;
}

} // namespace report
