#include "platform/ipmi_access/utf8.h"

#include <cstdint>

namespace ipmi_access {
namespace {

constexpr uint32_t invalid = UINT32_MAX;

// Takes one character off the text; `invalid` for bytes that are none, overlong forms and surrogates among them.
uint32_t take_character(std::string_view &text) {
    const auto first = static_cast<uint8_t>(text[0]);
    const size_t length = first < 0x80         ? 1
                          : first >> 5 == 0x06 ? 2
                          : first >> 4 == 0x0E ? 3
                          : first >> 3 == 0x1E ? 4
                                               : 0;
    if (length == 0 || text.size() < length) {
        return invalid;
    }
    constexpr uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    uint32_t value = length == 1 ? first : first & (0x7FU >> length);
    for (const char next : text.substr(1, length - 1)) {
        if ((static_cast<uint8_t>(next) & 0xC0) != 0x80) {
            return invalid;
        }
        value = value << 6 | (static_cast<uint8_t>(next) & 0x3FU);
    }
    text.remove_prefix(length);
    return value < least[length] || value > 0x10FFFF || (value >= 0xD800 && value < 0xE000) ? invalid : value;
}

bool is_utf8(std::string_view text) {
    while (!text.empty()) {
        if (take_character(text) == invalid) {
            return false;
        }
    }
    return true;
}

void append_latin_1(std::string &text, uint8_t byte) {
    if (byte < 0x80) {
        text += static_cast<char>(byte);
        return;
    }
    text += static_cast<char>(0xC0 | byte >> 6);
    text += static_cast<char>(0x80 | (byte & 0x3F));
}

bool is_control(uint32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

} // namespace

std::string utf8_text(std::string_view text) {
    const bool utf8 = is_utf8(text);
    std::string clean;
    while (!text.empty()) {
        const std::string_view rest = text;
        const auto byte = static_cast<uint8_t>(text[0]);
        const uint32_t character = utf8 ? take_character(text) : byte;
        if (!utf8) {
            text.remove_prefix(1);
        }
        if (is_control(character)) {
            clean += '?';
        } else if (utf8) {
            clean += rest.substr(0, rest.size() - text.size());
        } else {
            append_latin_1(clean, byte);
        }
    }
    return clean;
}

} // namespace ipmi_access
