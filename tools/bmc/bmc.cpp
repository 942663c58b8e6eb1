#include "tools/bmc/bmc.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace bmc {
namespace {

// Network functions and commands (IPMI v2.0, appendix G).
constexpr uint8_t sensor_event = 0x04, storage = 0x0A;
constexpr uint8_t get_sensor_reading = 0x2D, get_sdr_repository_info = 0x20, get_sel_info = 0x40, get_sel_entry = 0x43;
constexpr uint8_t whole_record = 0xFF;

constexpr uint8_t done = 0x00, not_present = 0xCB;
struct CodeWords {
    uint8_t code;
    BmcError::Kind kind;
    const char *words;
};
using enum BmcError::Kind;
constexpr CodeWords code_words[] = {
    {0x81, busy, "the SEL is being erased"},
    {0xC0, busy, "the BMC is busy"},
    {0xC3, busy, "the BMC took too long"},
    {0xCE, busy, "the BMC cannot answer for now"},
    {0xCF, busy, "the BMC is busy with the same question"},
    {0xD0, busy, "the sensor data records are being updated"},
    {0xD1, busy, "the BMC is updating its firmware"},
    {0xD2, busy, "the BMC is starting"},
    {not_present, absent, "there is no such record"},
    {0xC1, refused, "the BMC does not know this command"},
    {0xD4, refused, "the privilege level is too low; -L chooses another"},
};

uint16_t u16(const Bytes &bytes, size_t offset) {
    return static_cast<uint16_t>(bytes[offset] | bytes[offset + 1] << 8);
}

uint32_t u32(const Bytes &bytes, size_t offset) {
    return u16(bytes, offset) | static_cast<uint32_t>(u16(bytes, offset + 2)) << 16;
}

std::string code_text(uint8_t code) {
    const auto *known = std::ranges::find(code_words, code, &CodeWords::code);
    if (known != std::end(code_words)) {
        return known->words;
    }
    char text[40];
    snprintf(text, sizeof text, "completion code 0x%02x", code);
    return text;
}

BmcError::Kind code_kind(uint8_t code) {
    const auto *known = std::ranges::find(code_words, code, &CodeWords::code);
    return known != std::end(code_words) ? known->kind : busy;
}

} // namespace

// A lost session answers no more, so whoever asks next need not wait for that again.
Answer Bmc::ask(uint8_t lun, uint8_t net_function, std::initializer_list<uint8_t> request) {
    if (!lost_.empty()) {
        throw BmcError(network, lost_);
    }
    try {
        return session_->command(lun, net_function, request);
    } catch (const BmcError &error) {
        if (error.kind == network) {
            lost_ = error.what();
        }
        throw;
    }
}

Bytes Bmc::ask_storage(const std::string &what, size_t least, std::initializer_list<uint8_t> request) {
    Answer answer = ask(0, storage, request);
    if (answer.completion_code != done) {
        throw BmcError(code_kind(answer.completion_code), what + ": " + code_text(answer.completion_code));
    }
    if (answer.data.size() < least) {
        throw BmcError(network,
                       what + ": the answer is cut short after " + std::to_string(answer.data.size()) + " bytes");
    }
    return std::move(answer.data);
}

SelInfo Bmc::sel_info() {
    const Bytes data = ask_storage("Get SEL Info", 14, {get_sel_info});
    return {.entries = u16(data, 1),
            .last_addition = u32(data, 5),
            .last_erase = u32(data, 9),
            .free_bytes = u16(data, 3),
            .overflow = (data[13] & 0x80) != 0};
}

std::optional<SelEntry> Bmc::sel_entry(uint16_t id) {
    char what[40];
    snprintf(what, sizeof what, "SEL record 0x%04x", id);
    SelEntry entry;
    try {
        const Bytes data = ask_storage(
            what, 2 + sizeof entry.record,
            {get_sel_entry, 0, 0, static_cast<uint8_t>(id), static_cast<uint8_t>(id >> 8), 0, whole_record});
        entry.next_id = u16(data, 0);
        memcpy(&entry.record, data.data() + 2, sizeof entry.record);
    } catch (const BmcError &error) {
        if (error.kind == absent) {
            return std::nullopt;
        }
        throw;
    }
    return entry;
}

Bytes Bmc::sdr(const SdrProgress &progress) {
    return session_->read_sdr(progress);
}

SdrTimes Bmc::sdr_times() {
    const Bytes data = ask_storage("Get SDR Repository Info", 14, {get_sdr_repository_info});
    return {u32(data, 5), u32(data, 9)};
}

std::optional<States> Bmc::states(SensorAddress sensor, std::string &why) {
    constexpr uint8_t unavailable = 0x20, scanning = 0x40;
    const Answer answer = ask(sensor.lun, sensor_event, {get_sensor_reading, sensor.number});
    if (answer.completion_code != done) {
        why = answer.completion_code == not_present ? "the BMC has no such sensor" : code_text(answer.completion_code);
    } else if (answer.data.size() < 3) {
        why = "no states in the answer";
    } else if ((answer.data[1] & scanning) == 0) {
        why = "not scanned";
    } else if ((answer.data[1] & unavailable) != 0) {
        why = "no reading";
    } else {
        return ipmi_access::states_of(answer.data[2], answer.data.size() > 3 ? answer.data[3] : 0U);
    }
    return std::nullopt;
}

} // namespace bmc
