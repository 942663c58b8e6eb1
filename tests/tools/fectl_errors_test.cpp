// What fectl says of input that is wrong: one line, exit code 2, and the table files as they were.
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "run_fectl.h"

namespace {

struct WrongInput {
    const char *arguments; // {x} is the path of file x
    const char *error;
};
constexpr WrongInput wrong_inputs[] = {
    {"", "a command is missing"},
    {"reply", "unknown command or option 'reply'"},
    {"replay", "both --sdr FILE and --sel FILE are needed"},
    {"replay --sdr {sdr}", "both --sdr FILE and --sel FILE are needed"},
    {"replay --sdr {sdr} --sel", "'--sel' needs an argument"},
    {"replay --sdr {sdr} --sel {sel} --fast", "unknown or ambiguous option '--fast'"},
    {"replay --sdr {sdr} --sel {sel} -x", "unknown or ambiguous option '-x'"},
    {"replay --sdr {sdr} --sel {sel} more", "unexpected argument 'more'"},
    {"replay --sdr {none} --sel {sel}", "{none}: cannot open: No such file"},
    {"replay --sdr {sdr} --sel {none}", "{none}: cannot open: No such file"},
    {"replay --sdr {table} --sel {sel}", "{table}: cannot read: Is a directory"},
    {"replay --sdr {empty} --sel {sel}", "{empty}: the file is empty"},
    {"replay --sdr {sdr} --sel {empty}", "{empty}: the file is empty"},
    {"replay --sdr {cut_sdr} --sel {sel}", "{cut_sdr}: offset 49: the record is cut short"},
    {"replay --sdr {sel} --sel {sel}", "{sel}: offset 0: version 0x02"},
    {"replay --sdr {sdr} --sel {cut_sel}", "{cut_sel}: offset 16: the record is cut short"},
    {"replay --sdr {sdr} --sel {torn_sel}", "{torn_sel}: offset 16: the record is cut short"},
    {"replay --sdr {sdr} --sel {sel} --live 3", "--live 3: {sel} holds 2 records"},
    {"replay --sdr {sdr} --sel {sel} --live 1x", "--live: '1x' is not a number"},
    {"replay --sdr {sdr} --sel {sel} --live -1", "--live: '-1' is not a number"},
    {"replay --sdr {sdr} --sel {sel} --live 99999999999999999999", "is not a number"},
    {"replay --sdr {sdr} --sel {long} --live 1", "{long}: 65537 records, but the start-up walk takes 65535; --live 2"},
    {"replay --sdr {sdr} --sel {sel} --readings {none}", "{none}: cannot open: No such file"},
    {"replay --sdr {sdr} --sel {sel} --readings {bad_readings}", "{bad_readings}: line 2: the sensor number"},
    {"replay --sdr {sdr} --sel {sel} --log {none}/log", "{none}/log: cannot write: "},
    {"replay --sdr {sdr} --sel {sel} --file-dir {sel}", "{sel}: not a directory"},
    {"table --file-dir {none}", "{none}: not a directory"},
    {"table now", "unexpected argument 'now'"},
    {"serve --sel {sel}", "--sdr FILE is needed"},
    {"serve --sdr {sdr} --sel {long}", "{long}: 65537 records, but the start-up walk takes 65535"},
    {"serve --sdr {sdr} --file-dir {table}", "{table}/SA_vSEL_FIFO: there is no FIFO; --fifo-create makes one"},
    {"serve --sdr {sdr} --file-dir {no_fifo} --fifo-create", "{no_fifo}/SA_vSEL_FIFO: not a FIFO"},
    {"serve --sdr {sdr} --file-dir /proc --socket {socket} --fifo-create", "SA_vSEL_FIFO: cannot create the FIFO: "},
    {"serve --sdr {sdr} --socket /proc/x", "/proc/x: cannot create the socket: "},
    {"serve --sdr {sdr} --socket {sel}", "{sel}: exists and is not a socket"},
    {"serve --sdr {sdr} --socket {long_name}", "a socket's path has 1 to 107 characters"},
    {"request --socket {socket} --entity 29 --instance 1 --severity 5", "{socket}: cannot connect: No such file"},
    {"request --socket {sel} --entity 29 --instance 1 --severity 5", "{sel}: nobody takes requests there"},
    {"request --socket {long_name} --entity 29 --instance 1 --severity 5", "a socket's path has 1 to 107 characters"},
    {"request --entity 29 --instance 1 --severity 5", "--socket is needed"},
    {"request --socket {socket} --entity 29 --severity 5", "--instance is needed"},
    {"request --severity grave", "'grave' is no severity"},
    {"request --severity 2147483648", "'2147483648' is not a number from -2147483648 to 2147483647"},
    {"request --entity 256", "--entity: '256' is not a number from 0 to 255"},
    {"request --entity -1", "--entity: '-1' is not a number"},
    {"request --entity 0x", "--entity: '0x' is not a number"},
    {"request --entity 0x-1", "--entity: '0x-1' is not a number"},
    {"request --type 0x100", "--type: '0x100' is not a number from 0 to 255"},
    {"request --event-type 128", "--event-type: '128' is not a number from 0 to 127"},
    {"request --sensor-number 4294967296", "is not a number from 0 to 4294967295"},
    {"request --sensor ABCDEFGHIJKLMNOPQRST", "'ABCDEFGHIJKLMNOPQRST' is longer than 19 characters"},
    {"event {sel}", "--fifo PATH and at least one FILE are needed"},
    {"event --fifo {fifo}", "--fifo PATH and at least one FILE are needed"},
    {"event --fifo {fifo} {sel}", "{fifo}: nobody reads the FIFO"},
    {"event --fifo {none} {sel}", "{none}: cannot open the FIFO: No such file"},
    {"event --fifo {long} {sel}", "{long}: not a FIFO"},
    {"event --fifo {fifo} {sel} {cut_sel}", "{cut_sel}: offset 16: the record is cut short"},
};

std::string with_paths(std::string text, const Folder &folder) {
    for (size_t at; (at = text.find('{')) != text.npos;) {
        const size_t end = text.find('}');
        const std::string name = text.substr(at + 1, end - at - 1);
        text.replace(at, end - at + 1, folder.path(name == "long_name" ? std::string(100, 'x') : name));
    }
    return text;
}

TEST(Fectl, RefusesWrongInput) {
    const Folder folder;
    const Bytes record = sel_event(1, 1, 1, 0x57);
    const Bytes sensor = sdr_record({1, 1, 3, 1, 1, 1, name_8_bit("A")});
    ASSERT_EQ(sensor.size(), 49U);
    folder.write("sdr", sensor);
    folder.write("cut_sdr", sensor + Bytes(sensor.begin(), sensor.begin() + 20));
    folder.write("sel", record + record);
    folder.write("cut_sel", record + Bytes(record.begin(), record.begin() + 3));
    folder.write("torn_sel", record + Bytes(record.begin(), record.begin() + 5) + record + record);
    folder.write("empty", {});
    Bytes many(size_t{65537} * record.size());
    for (size_t i = 0; i < many.size(); i++)
        many[i] = record[i % record.size()];
    folder.write("long", many);
    folder.write("bad_readings", {'1', ' ', '1', '\n', 'x', '\n'});
    ASSERT_EQ(mkfifo(folder.path("fifo").c_str(), 0600), 0);
    std::filesystem::create_directory(folder.path("no_fifo"));
    folder.write("no_fifo/SA_vSEL_FIFO", {});
    folder.write("table/fe_table.entry", {'E'});
    folder.write("table/fe_table.sz", {'S'});
    for (const WrongInput &input : wrong_inputs) {
        const Outcome run = run_fectl(folder, with_paths(input.arguments, folder));
        EXPECT_EQ(run.exit_code, 2) << input.arguments;
        EXPECT_EQ(run.out, "") << input.arguments;
        EXPECT_TRUE(run.err.starts_with("fectl: ")) << run.err;
        EXPECT_NE(run.err.find(with_paths(input.error, folder)), run.err.npos) << run.err;
        EXPECT_EQ(std::ranges::count(run.err, '\n'), 1) << run.err;
        EXPECT_EQ(folder.read("table/fe_table.entry") + folder.read("table/fe_table.sz"), "ES") << input.arguments;
        EXPECT_FALSE(std::filesystem::exists(folder.path("socket"))) << input.arguments;
    }
}

TEST(Fectl, HelpAndVersion) {
    const Folder folder;
    for (const char *arguments :
         {"--help", "--version", "replay --help", "serve --help", "request --help", "event --help", "table --help"}) {
        const Outcome run = run_fectl(folder, arguments);
        EXPECT_EQ(run.exit_code, 0) << arguments;
        EXPECT_NE(run.out.find("fectl "), run.out.npos) << arguments;
        EXPECT_EQ(run.err, "");
    }
    EXPECT_EQ(folder.read("table/fe_table.sz"), "<missing>");
}

} // namespace
