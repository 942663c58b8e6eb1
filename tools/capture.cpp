#include "tools/capture.h"

#include <algorithm>
#include <filesystem>

#include "platform/ipmi_access/capture_file.h"
#include "platform/ipmi_access/readings.h"
#include "platform/ipmi_access/sdr_dump.h"
#include "platform/ipmi_access/sel_dump.h"
#include "platform/time_text.h"
#include "tools/fectl.h"
#include "tools/story.h"
#include "tools/unpack.h"
#include "tools/view.h"

namespace {

using namespace ipmi_access;
using Bytes = std::vector<uint8_t>;

Bytes read_file(const std::string &path) {
    return unpacked(read_capture(path), path);
}

Sensors load_sensors(const std::string &path, Warnings &warnings) {
    const Bytes bytes = read_file(path);
    if (bytes.empty()) {
        throw CaptureError(path + ": the file is empty");
    }
    if (looks_like_sel(bytes)) {
        throw CaptureError(path + ": this is an event log (SEL), not sensor data records (SDR); are they swapped?");
    }
    if (looks_like_text(bytes)) {
        throw CaptureError(path + ": this is text; what \"ipmitool sdr dump\" writes belongs here");
    }
    return parse_sdr_dump(bytes, path, warnings);
}

std::vector<sel_record> load_log(const std::string &path, Warnings &warnings) {
    const Bytes bytes = read_file(path);
    if (looks_like_sdr(bytes)) {
        throw CaptureError(path + ": these are sensor data records (SDR), not an event log (SEL); are they swapped?");
    }
    if (looks_like_text(bytes)) {
        throw CaptureError(path + ": this is text; what \"ipmitool sel writeraw\" writes belongs here");
    }
    return parse_sel_dump(bytes, path, warnings);
}

bool is_dated(const story::Record &record) {
    return record.time && *record.time >= sel_time_first_date;
}

std::string named(const story::Record &record) {
    char id[24];
    snprintf(id, sizeof id, "record 0x%x", record.id);
    return id;
}

// A ring that has wrapped, or a clock that was set.
void warn_of_times(const std::vector<sel_record> &records, const std::string &path, Warnings &warnings) {
    constexpr size_t said = 3;
    uint32_t last = 0;
    size_t falls = 0;
    for (const sel_record &bytes : records) {
        const story::Record record = story::read_record(bytes);
        if (!is_dated(record)) {
            continue;
        }
        if (*record.time < last && falls++ < said) {
            warnings.push_back(path + ": " + named(record) + ": the time falls back by " +
                               std::to_string(last - *record.time) + " s; --order time sorts");
        }
        last = *record.time;
    }
    if (falls > said) {
        warnings.push_back(path + ": the time falls back " + std::to_string(falls - said) + " times more");
    }
}

// Records without a date keep their place.
void sort_by_time(std::vector<sel_record> &records) {
    std::vector<size_t> places;
    std::vector<sel_record> dated;
    for (size_t place = 0; place < records.size(); ++place) {
        if (is_dated(story::read_record(records[place]))) {
            places.push_back(place);
            dated.push_back(records[place]);
        }
    }
    std::ranges::stable_sort(dated, {}, [](const sel_record &record) { return *story::read_record(record).time; });
    for (size_t i = 0; i < places.size(); ++i) {
        records[places[i]] = dated[i];
    }
}

// Sensors of another machine.
void warn_of_strangers(const Capture &capture, const CaptureFiles &files, Warnings &warnings) {
    size_t events = 0, strange = 0;
    for (const sel_record &bytes : capture.records) {
        const story::Record record = story::read_record(bytes);
        const auto &sensor = capture.sensors[record.sensor_number];
        events += story::has_sensor(record);
        strange += story::has_sensor(record) && (!sensor || sensor->sensor_type != record.event.sensor_type);
    }
    if (strange * 2 > events) {
        warnings.push_back(files.sdr + ": most records of " + files.sel + " (" + std::to_string(strange) + " of " +
                           std::to_string(events) + ") are of sensors that it does not describe; is it this server's?");
    }
}

void check_log(const CaptureFiles &files, const std::string &log) {
    std::error_code ignored;
    for (const std::string &input : files.paths()) {
        if (!log.empty() && std::filesystem::equivalent(input, log, ignored)) {
            throw Refusal("--log " + log + ": that is an input, too");
        }
    }
}

std::string text_of(const std::string &path) {
    const Bytes bytes = read_file(path);
    return {bytes.begin(), bytes.end()};
}

} // namespace

std::vector<std::string> CaptureFiles::paths() const {
    std::vector<std::string> given = {sdr, sel, readings, sensors};
    std::erase(given, "");
    return given;
}

LoadedCapture load_capture(const CaptureFiles &files) {
    if (std::ranges::count(files.paths(), "-") > 1) {
        throw CaptureError("-: standard input can be read only once");
    }
    LoadedCapture loaded;
    Capture &capture = loaded.capture;
    capture.sensors = load_sensors(files.sdr, loaded.warnings);
    if (!files.sel.empty()) {
        capture.records = load_log(files.sel, loaded.warnings);
        if (files.order_by_time) {
            sort_by_time(capture.records);
        } else {
            warn_of_times(capture.records, files.sel, loaded.warnings);
        }
        warn_of_strangers(capture, files, loaded.warnings);
    }
    if (!files.sensors.empty()) {
        capture.readings = parse_sensor_list(text_of(files.sensors), files.sensors, capture.sensors, loaded.warnings);
    }
    if (!files.readings.empty() && !files.sensors.empty()) {
        loaded.warnings.push_back(files.sensors + ": not used, since there is " + files.readings);
    }
    if (!files.readings.empty()) {
        capture.readings = parse_readings(text_of(files.readings), files.readings);
    }
    return loaded;
}

size_t serve_capture(const CaptureFiles &files, const std::string &log, std::optional<size_t> live) {
    check_log(files, log);
    LoadedCapture loaded = load_capture(files);
    const size_t records = loaded.capture.records.size();
    const size_t left = std::min(live.value_or(0), records);
    if (records - left > max_walk_records) {
        throw Refusal(
            files.sel + ": " + std::to_string(records) + " records, but the start-up walk takes " +
            std::to_string(max_walk_records) +
            (live ? "; --live " + std::to_string(records - max_walk_records) + " keeps the rest for afterwards" : ""));
    }
    std::ranges::for_each(loaded.warnings, warn);
    serve(std::move(loaded.capture));
    return left;
}

std::vector<sel_record> load_records(const std::string &path) {
    Warnings warnings;
    std::vector<sel_record> records = load_log(path, warnings);
    std::ranges::for_each(warnings, warn);
    return records;
}
