// The names of fault codes and probable causes and the related codes, against catalogue.txt.
#include <cstring>

#include "fault_engine/classify.h"
#include "support/expected_text.h"

namespace {

// The related codes that a record of the code gets, without the zeros at the end; empty if it is left alone.
std::string related_to(uint32_t code) {
    fe_write_buf record;
    std::memset(&record, 0xA5, sizeof record);
    record.vemoFaultCode = static_cast<int32_t>(code);
    fe_write_buf before = record;
    lookup_fill_related_threshold_fault_code(&record);
    if (std::memcmp(&record, &before, sizeof record) == 0)
        return "";
    before.related_FaultCode = record.related_FaultCode;
    EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0) << code; // nothing else is touched
    std::string row = "related:";
    for (int32_t related : record.related_FaultCode.related_fc)
        row += " " + std::to_string(related);
    while (row.ends_with(" 0"))
        row.resize(row.size() - 2);
    return row + "\n";
}

std::string entry(const char *kind, uint32_t code, const std::string &name) {
    return name == "Unknown" ? "" : kind + std::to_string(code) + " " + name + "\n";
}

// Of the codes that there is a chance to meet: far past the tables and 16 bits, and what is negative if it is signed.
TEST(Catalogue, NamesCodesAndCausesAndRelatesCodes) {
    std::string codes, causes, related;
    for (uint32_t i = 0; i <= 70000; i++)
        for (const uint32_t code : {i, 0 - i - 1, i ^ 0x80000000}) {
            codes += entry("code ", code, get_fault_code_string(code));
            causes += entry("cause ", code, get_probable_cause_string(code));
            related += related_to(code);
        }
    EXPECT_EQ(codes + causes + related, expected_text("classify/catalogue.txt"));
    lookup_fill_related_threshold_fault_code(nullptr);
}

} // namespace
