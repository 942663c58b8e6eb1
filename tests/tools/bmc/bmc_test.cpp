// A BMC's answers, right and wrong.

#include <gtest/gtest.h>

#include "tools/bmc/bmc.h"

namespace bmc {
namespace {

using ErrorKind = BmcError::Kind;

// Gives one answer to all questions; without one the session is lost.
class ScriptedSession : public IpmiSession {
public:
    explicit ScriptedSession(std::optional<Answer> answer) : answer_(std::move(answer)) {}
    Answer command(uint8_t, uint8_t, std::initializer_list<uint8_t>) override {
        if (!answer_) {
            throw BmcError(ErrorKind::network, questions_++ == 0 ? "no answer" : "asked again");
        }
        return *answer_;
    }
    Bytes read_sdr(const SdrProgress &) override { return {}; }

private:
    std::optional<Answer> answer_;
    int questions_ = 0;
};

Bmc bmc_with(std::optional<Answer> answer) {
    return Bmc(std::make_unique<ScriptedSession>(std::move(answer)));
}

TEST(Bmc, ReadsTheLog) {
    const SelInfo info = bmc_with(Answer{0, {0x51, 0x34, 0x12, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 0x80}}).sel_info();
    EXPECT_EQ(info.entries, 0x1234);
    EXPECT_EQ(info.free_bytes, 0);
    EXPECT_EQ(info.last_addition, 0x04030201U);
    EXPECT_EQ(info.last_erase, 0x08070605U);
    EXPECT_TRUE(info.overflow);
    const auto entry = bmc_with(Answer{0, {2, 0, 1, 0, 0xC1, 9, 9, 9, 9, 1, 2, 3, 4, 5, 6, 7, 8, 9}}).sel_entry(1);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->next_id, 2);
    EXPECT_EQ(id_of(entry->record), 1);
    EXPECT_EQ(entry->record.event_data[2], 9);
    EXPECT_FALSE(bmc_with(Answer{0xCB, {}}).sel_entry(1));
}

TEST(Bmc, SaysWhatIsWrong) {
    struct Case {
        std::optional<Answer> answer;
        ErrorKind kind;
        const char *words;
    };
    const Case cases[] = {
        {std::nullopt, ErrorKind::network, "no answer"},
        {Answer{0, Bytes(17)}, ErrorKind::network, "SEL record 0x0001: the answer is cut short after 17 bytes"},
        {Answer{0x81, {}}, ErrorKind::busy, "SEL record 0x0001: the SEL is being erased"},
        {Answer{0xD2, {}}, ErrorKind::busy, "SEL record 0x0001: the BMC is starting"},
        {Answer{0xD4, {}}, ErrorKind::refused, "SEL record 0x0001: the privilege level is too low; -L chooses another"},
        {Answer{0xE5, {}}, ErrorKind::busy, "SEL record 0x0001: completion code 0xe5"},
    };
    for (const Case &each : cases) {
        Bmc bmc = bmc_with(each.answer);
        for (int question = 0; question < 2; ++question) { // a lost session is not asked again
            try {
                bmc.sel_entry(1);
                ADD_FAILURE() << each.words;
            } catch (const BmcError &error) {
                EXPECT_EQ(error.kind, each.kind) << each.words;
                EXPECT_STREQ(error.what(), each.words);
            }
        }
    }
}

TEST(Bmc, KnowsASensorWithoutAReading) {
    struct Case {
        Answer answer;
        std::optional<States> states;
        const char *why;
    };
    const Case cases[] = {
        {{0, {0x10, 0xC0, 0x02, 0x81}}, 0x0102, ""},
        {{0, {0x10, 0xC0, 0x18}}, 0x0018, ""},
        {{0, {0x10, 0xC0}}, std::nullopt, "no states in the answer"},
        {{0, {0, 0xE0, 0, 0}}, std::nullopt, "no reading"},
        {{0, {0, 0x80, 0, 0}}, std::nullopt, "not scanned"},
        {{0xCB, {}}, std::nullopt, "the BMC has no such sensor"},
        {{0xC0, {}}, std::nullopt, "the BMC is busy"},
    };
    for (const Case &each : cases) {
        std::string why;
        EXPECT_EQ(bmc_with(each.answer).states({1, 0}, why), each.states) << each.why;
        EXPECT_EQ(why, each.why);
    }
}

} // namespace
} // namespace bmc
