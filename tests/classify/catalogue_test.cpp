// The names of fault codes and probable causes and the related codes, against catalogue.txt.
#include <cstring>
#include <map>
#include <sstream>

#include "fault_engine/classify.h"
#include "support/expected_text.h"

namespace {

std::map<std::string, std::map<uint32_t, std::string>> read_catalogue() {
    std::map<std::string, std::map<uint32_t, std::string>> all;
    std::istringstream lines(expected_text("classify/catalogue.txt"));
    for (std::string line, kind, start, name; std::getline(lines, line);) {
        std::istringstream words(line);
        words >> kind;
        if (kind == "code" || kind == "cause") {
            words >> start;
            for (uint32_t code = 0; words >> code >> name;) {
                all[kind][code] = (start == "." ? "" : start) + name;
            }
            continue;
        }
        const std::vector<uint32_t> group(std::istream_iterator<uint32_t>(words), {});
        for (const uint32_t member : group) {
            for (const uint32_t code : group) {
                all["related"][member] += code == member ? "" : " " + std::to_string(code);
            }
        }
    }
    return all;
}

// The codes related to the code of a record, without the zeros at the end; empty if it is left alone.
std::string related_to(uint32_t code) {
    fe_write_buf record;
    std::memset(&record, 0xA5, sizeof record);
    record.vemoFaultCode = static_cast<int32_t>(code);
    fe_write_buf before = record;
    lookup_fill_related_threshold_fault_code(&record);
    const bool is_left_alone = std::memcmp(&record, &before, sizeof record) == 0;
    before.related_FaultCode = record.related_FaultCode;
    EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0) << code; // nothing else is touched
    std::string row;
    for (int i = 1; i < FE_RELATED_CODES && !is_left_alone; ++i) {
        row += " " + std::to_string(record.related_FaultCode.related_fc[i]);
    }
    while (row.ends_with(" 0")) {
        row.resize(row.size() - 2);
    }
    EXPECT_TRUE(is_left_alone || record.related_FaultCode.related_fc[0] == record.vemoFaultCode) << code;
    return row;
}

// Codes far past the tables and past 16 bits, and codes that are negative when read as signed.
TEST(Catalogue, NamesCodesAndCausesAndRelatesCodes) {
    auto known = read_catalogue();
    const auto name = [](const std::map<uint32_t, std::string> &names, uint32_t code) {
        const auto found = names.find(code);
        return found != names.end() ? found->second : "Unknown";
    };
    for (uint32_t i = 0; i <= 70000; ++i) {
        for (const uint32_t code : {i, ~i, i ^ 0x80000000}) {
            ASSERT_EQ(get_fault_code_string(code), name(known["code"], code));
            ASSERT_EQ(get_probable_cause_string(code), name(known["cause"], code));
            const std::string related = related_to(code);
            ASSERT_EQ(related.empty() ? "Unknown" : related, name(known["related"], code)) << code;
        }
    }
    lookup_fill_related_threshold_fault_code(nullptr);
}

} // namespace
