#include "sel/sensor_name.h"

#include <algorithm>
#include <cstring>

#include "fault_table/text_field.h"

namespace {

constexpr char blanks[] = " \t\n\v\f\r";

// Cuts the next word into `word`; what does not fit is passed over. Returns the text behind the word.
const char *cut_word(const char *text, event_word &word) {
    text += strspn(text, blanks);
    const size_t length = strcspn(text, blanks);
    const size_t kept = std::min(length, sizeof word - 1);
    memcpy(word, text, kept);
    word[kept] = '\0';
    return text + length;
}

bool begins_with(const char *word, const char *start) {
    return strncmp(word, start, strlen(start)) == 0;
}

// Field-replaceable units and power supplies stand before the name of their sensor.
bool is_name_second(const char *first_word) {
    return begins_with(first_word, "FRU_") ||
           (strstr(first_word, "PSU") != nullptr && !begins_with(first_word, "LED_PSU"));
}

} // namespace

void cut_sensor_name(const char *text, char (&name)[FE_SENSOR_NAME_SIZE], event_word &first_word) {
    event_word second_word;
    cut_word(cut_word(text, first_word), second_word);
    const bool two_words = second_word[0] != '\0';
    event_word &chosen = is_name_second(first_word) ? second_word : first_word;
    if (chosen[0] != '\0') {
        chosen[strlen(chosen) - 1] = '\0'; // the colon
    }
    name[0] = '\0';
    if (two_words) {
        copy_text(name, chosen);
    }
}
