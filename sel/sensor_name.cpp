#include "sel/sensor_name.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr char blanks[] = " \t\n\v\f\r";

// Returns the text behind the word; what does not fit is passed over.
const char *cut_word(const char *text, event_word &word) {
    text += strspn(text, blanks);
    const size_t length = strcspn(text, blanks);
    word.length = std::min(length, sizeof word.text - 1);
    memcpy(word.text, text, word.length);
    word.text[word.length] = '\0';
    return text + length;
}

template <size_t Size>
bool begins_with(const event_word &word, const char (&start)[Size]) {
    constexpr size_t length = Size - 1;
    return word.length >= length && memcmp(word.text, start, length) == 0;
}

// Field-replaceable units and power supplies stand before the name of their sensor.
bool is_name_second(const event_word &first) {
    return begins_with(first, "FRU_") || (strstr(first.text, "PSU") != nullptr && !begins_with(first, "LED_PSU"));
}

void drop_last_character(event_word &word) {
    if (word.length > 0) {
        word.text[--word.length] = '\0';
    }
}

} // namespace

event_words cut_words(const char *text) {
    event_words words;
    cut_word(cut_word(text, words.first), words.second);
    return words;
}

void take_sensor_name(event_words &words, char (&name)[FE_SENSOR_NAME_SIZE]) {
    const bool two_words = words.second.length > 0;
    event_word &chosen = is_name_second(words.first) ? words.second : words.first;
    drop_last_character(chosen);
    const size_t length = two_words ? std::min<size_t>(chosen.length, FE_SENSOR_NAME_SIZE - 1) : 0;
    memcpy(name, chosen.text, length);
    name[length] = '\0';
}
