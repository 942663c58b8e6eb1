// fectl as its user meets it.
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

#include "sdr_record.h"

namespace {

std::string read(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class Folder {
public:
    Folder() { path_ = mkdtemp(path_.data()); }
    ~Folder() { std::filesystem::remove_all(path_); }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    std::string path(const std::string &name) const { return path_ + "/" + name; }
    void write(const std::string &name, const std::string &content) const {
        std::ofstream(path(name), std::ios::binary) << content;
    }

    // What a shell in this folder prints, cut off if it hangs.
    std::string print(const std::string &commands) const {
        const Folder outside;
        outside.write("commands", "fectl='" FECTL "' send='" SEND_DATAGRAMS "' captures='" CAPTURES
                                  "' check_json='" CHECK_JSON "'\n"
                                  ". " TRANSCRIPTS "/functions.sh\n" +
                                      commands);
        const std::string command = "cd " + path_ + " && timeout -s KILL 250 sh " + outside.path("commands") + " >" +
                                    outside.path("out") + " 2>&1";
        [[maybe_unused]] const int status = std::system(command.c_str()); // NOLINT(cert-env33-c): the shell redirects
        return read(outside.path("out"));
    }

private:
    std::string path_ = testing::TempDir() + "fectl_XXXXXX";
};

// Names in 6-bit packing, in BCD, with blanks and without one; shared records; several sensors of one kind on one
// entity; the same sensor number twice; records that describe no sensor.
std::string sdr_with_traps() {
    return sdr_other_record(0x12, std::string(18, '\0')) + sdr_other_record(0xC0, "OEM") +
           sdr_record({1, 0x01, 7, 0x81, 1, 1, "\x89\x73\x3E\xD3\x65\x0B\xD0\x65\x0B\x03"}) + // "SYSTEM TEMP"
           sdr_record({1, 0x02, 7, 1, 2, 1, "\x43\x12\xC5\xAA"}) +                            // "12.5  "
           sdr_record({1, 0x03, 7, 1, 2, 1, name_8_bit("P5V")}) +
           sdr_record({2, 0x10, 29, 0, 4, 4, name_8_bit("Fan "), {0x03, 0x81}}) +
           sdr_record({2, 0x20, 10, 1, 8, 0x6F, name_8_bit("PSU "), {0x12, 0x00}}) +
           sdr_record({2, 0x30, 23, 1, 5, 3, "\xC0"}) + sdr_record({3, 0x01, 34, 1, 0x0F, 0x6F, name_8_bit("AGAIN")});
}

class Transcript : public testing::TestWithParam<const char *> {};

// Lines that start with "# " are remarks, those with "$ " commands; below a command stands what it prints, with its
// exit code in brackets unless that is 0.
TEST_P(Transcript, IsWhatHappens) {
    const Folder folder;
    folder.write("traps.sdr", sdr_with_traps());
    const std::string transcript = read(std::string(TRANSCRIPTS "/") + GetParam() + ".txt");
    ASSERT_NE(transcript, "");
    std::string commands;
    std::istringstream lines(transcript);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("# ") || line.starts_with("$ ")) {
            commands += "cat <<'LINE'\n" + line + "\nLINE\n";
        }
        if (line.starts_with("$ ")) {
            commands += line.substr(2) + "\nprint_failure $?\n";
        }
    }
    EXPECT_EQ(folder.print(commands), transcript);
}

constexpr const char *transcripts[] = {
    "captures", "errors", "output", "replay", "report", "serve", "table",
#if defined(FE_ZLIB) && defined(FE_LZMA)
    "packed",
#endif
#ifdef HAVE_JSONSCHEMA
    "json",
#endif
};
INSTANTIATE_TEST_SUITE_P(Fectl, Transcript, testing::ValuesIn(transcripts),
                         [](const auto &name) { return std::string(name.param); });

// The files disagree until the lock is given back, which is later than fectl would try again without it.
TEST(FectlTable, WaitsForTheLocks) {
    for (const char *locked : {"fe_table.entry", "fe_table.sz"}) {
        const Folder folder;
        folder.write("fe_table.entry", "");
        folder.write("fe_table.sz", "");
        const int file = open(folder.path(locked).c_str(), O_RDWR);
        ASSERT_EQ(lockf(file, F_LOCK, 0), 0);
        auto printed = std::async(std::launch::async, [&] { return folder.print("fectl table --file-dir ."); });
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        folder.write("fe_table.sz", std::string(4, '\0'));
        close(file);
        EXPECT_TRUE(printed.get().ends_with("\n0 active faults\n")) << locked;
    }
}

} // namespace
