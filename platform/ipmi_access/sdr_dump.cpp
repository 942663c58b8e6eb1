#include "platform/ipmi_access/sdr_dump.h"

#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

#include "platform/ipmi_access/byte_cursor.h"
#include "platform/ipmi_access/capture_file.h"
#include "platform/ipmi_access/utf8.h"

namespace ipmi_access {
namespace {

// Where the fields of a sensor's record lie that differ from type to type. Only a full record is never shared.
struct Layout {
    uint8_t record_type;
    uint8_t sensor_type;
    uint8_t event_type;
    uint8_t sharing; // 0: not shared
    uint8_t name;    // the type/length byte; the name follows it
};
constexpr Layout layouts[] = {{1, 7, 8, 0, 42}, {2, 7, 8, 18, 26}, {3, 5, 6, 7, 11}};

constexpr size_t owner_offset = 0;
constexpr size_t lun_offset = 1;
constexpr uint8_t lun_mask = 0x03; // the channel is in the upper half
constexpr size_t number_offset = 2;
constexpr size_t entity_id_offset = 3;
constexpr size_t entity_instance_offset = 4;
constexpr uint8_t instance_mask = 0x7F; // bit 7 says that the entity is a logical one

struct Record {
    size_t offset;
    uint8_t version;
    uint8_t type;
    std::span<const uint8_t> body;
};

Record take_record(ByteCursor &dump, const std::string &path) {
    Record record{dump.offset(), 0, 0, {}};
    dump.u16(); // record id
    record.version = dump.u8();
    record.type = dump.u8();
    const uint8_t length = dump.u8();
    if (dump.ran_out()) {
        fail_at(path, record.offset, "the record is cut short in its header");
    }
    record.body = dump.take(length);
    if (dump.ran_out()) {
        fail_at(path, record.offset,
                "the record is cut short: it has " + std::to_string(record.body.size()) + " of " +
                    std::to_string(length) + " bytes");
    }
    return record;
}

std::string decode_bcd_plus(std::span<const uint8_t> bytes) {
    constexpr char digits[] = "0123456789 -.:,_";
    std::string text;
    for (const uint8_t byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

std::string decode_6_bit(std::span<const uint8_t> bytes) {
    std::string text;
    uint32_t bits = 0;
    unsigned count = 0;
    for (const uint8_t byte : bytes) {
        bits |= static_cast<uint32_t>(byte) << count;
        for (count += 8; count >= 6; count -= 6, bits >>= 6) {
            text += static_cast<char>(' ' + (bits & 0x3F));
        }
    }
    return text;
}

std::string decode_name(uint8_t type_length, std::span<const uint8_t> bytes) {
    enum Encoding { bcd_plus = 1, packed_6_bit = 2 };
    const auto text = bytes.first(std::min<size_t>(type_length & 0x1F, bytes.size()));
    switch (type_length >> 6) {
    case bcd_plus: return decode_bcd_plus(text);
    case packed_6_bit: return decode_6_bit(text);
    default: return {text.begin(), text.end()};
    }
}

// Names are padded with blanks or zeros.
std::string trimmed(std::string name) {
    const size_t last = name.find_last_not_of(std::string_view(" \0", 2));
    name.resize(last == std::string::npos ? 0 : last + 1);
    return name;
}

// Inside it there is nothing that would end a word of the event text.
std::string one_word(std::string name) {
    std::ranges::transform(name, name.begin(), [](char c) { return c > ' ' && c <= '~' ? c : '_'; });
    return name;
}

// What is added to the name of one of the sensors that share a record: a number, or A to Z, AA, AB, ...
std::string name_modifier(bool alphabetic, unsigned value) {
    if (!alphabetic) {
        return std::to_string(value);
    }
    std::string letters;
    for (unsigned rest = value + 1; rest != 0; rest = (rest - 1) / 26) {
        letters.insert(letters.begin(), static_cast<char>('A' + (rest - 1) % 26));
    }
    return letters;
}

struct Sharing {
    unsigned count = 1;
    bool steps_instance = false;
    bool alphabetic = false;
    unsigned modifier_offset = 0;
};

Sharing read_sharing(const Layout &layout, std::span<const uint8_t> body) {
    if (layout.sharing == 0) {
        return {};
    }
    const uint8_t first = body[layout.sharing];
    const uint8_t second = body[layout.sharing + size_t{1}];
    return {std::max(first & 0x0FU, 1U), (second & 0x80) != 0, (first & 0x30) == 0x10, second & 0x7FU};
}

void add_sensors(Sensors &sensors, const Layout &layout, std::span<const uint8_t> body) {
    const Sharing sharing = read_sharing(layout, body);
    const std::string label = trimmed(decode_name(body[layout.name], body.subspan(layout.name + size_t{1})));
    for (unsigned i = 0; i < sharing.count && body[number_offset] + i < sensors.size(); ++i) {
        const unsigned number = body[number_offset] + i;
        if (sensors[number]) {
            continue;
        }
        const unsigned instance = body[entity_instance_offset] + (sharing.steps_instance ? i : 0);
        std::string own = label;
        if (label.empty()) {
            own = unnamed_sensor(number);
        } else if (sharing.count > 1) {
            own += name_modifier(sharing.alphabetic, sharing.modifier_offset + i);
        }
        sensors[number] = Sensor{layout.record_type,
                                 body[owner_offset],
                                 static_cast<uint8_t>(body[lun_offset] & lun_mask),
                                 static_cast<uint8_t>(number),
                                 body[entity_id_offset],
                                 static_cast<uint8_t>(instance & instance_mask),
                                 body[layout.sensor_type],
                                 body[layout.event_type],
                                 one_word(own),
                                 utf8_text(own)};
    }
}

// What is wrong with it, or nothing.
std::string fault_of(const Record &record, const Layout *layout) {
    char what[80];
    if (record.version != sdr_version) {
        snprintf(what, sizeof what, "version 0x%02x is not that of a sensor data record", record.version);
        return what;
    }
    if (layout == nullptr || record.body.size() > layout->name) {
        return "";
    }
    return std::to_string(record.body.size()) + " bytes are too few for a sensor's record of type " +
           std::to_string(record.type);
}

} // namespace

Sensors parse_sdr_dump(std::span<const uint8_t> dump, const std::string &path, Warnings &warnings) {
    Sensors sensors;
    ByteCursor cursor(dump);
    size_t right = 0;
    std::vector<std::pair<size_t, std::string>> wrong;
    // Ends early: a dump that is out of step ends in a record that is cut short, and its first wrong record says more than that.
    while (!cursor.at_end() && wrong.size() <= right + 1) {
        const Record record = take_record(cursor, path);
        const auto *found = std::ranges::find(layouts, record.type, &Layout::record_type);
        const Layout *layout = found == std::end(layouts) ? nullptr : found;
        if (const std::string what = fault_of(record, layout); !what.empty()) {
            wrong.emplace_back(record.offset, what);
        } else if (++right; layout != nullptr) {
            add_sensors(sensors, *layout, record.body);
        }
    }
    if (wrong.size() > right) {
        fail_at(path, wrong.front().first, wrong.front().second);
    }
    for (const auto &[offset, what] : wrong) {
        warn_at(warnings, path, offset, what + "; the record is passed over");
    }
    return sensors;
}

std::string unnamed_sensor(uint32_t sensor_number) {
    char name[16];
    snprintf(name, sizeof name, "#0x%02x", sensor_number);
    return name;
}

} // namespace ipmi_access
