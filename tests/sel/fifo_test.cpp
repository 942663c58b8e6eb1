// The reader of the SEL FIFO, as told in fifo.txt. The test thread is the SEL thread; the FIFO is real, the ends of its
// waits are scripted.
#include "sel_road.h"

#include <cerrno>
#include <map>
#include <sstream>

#include <fcntl.h>
#include <sys/stat.h>

#include "expected_text.h"

namespace {

// How select() ends: its result, errno, whether the FIFO is readable and whether it is exceptional.
const std::map<std::string, std::array<int, 4>> outcomes = {
    // clang-format off
    {"activity", {1, 0, 1, 0}}, {"exception", {1, 0, 0, 1}}, {"both", {2, 0, 1, 1}}, {"neither", {1, 0, 0, 0}},
    {"idle", {0, 0, 0, 0}}, {"interrupted", {-1, EINTR, 1, 1}}, {"try-again", {-1, EAGAIN, 1, 1}},
    {"bad-descriptor", {-1, EBADF, 1, 1}},
    // clang-format on
};

class Fifo : public SelRoad {
protected:
    Fifo() {
        sel_init_complete = 1;
        process(event()); // has the sweep of the first record behind it
    }

    void create() const { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }

    // A record, or with "/7" that many bytes of it. They stay in a pipe only while somebody has it open: the reader.
    void put(const std::string &id) const {
        Record record = event();
        record[0] = static_cast<uint8_t>(std::stoi(id, nullptr, 16));
        record[11] = id == "99" ? 99 : road_sensor; // a sensor that nobody knows
        const size_t size = id.ends_with("/7") ? 7 : record.size();
        const int writer = open(path.c_str(), O_RDWR | O_NONBLOCK);
        EXPECT_EQ(write(writer, record.data(), size), static_cast<ssize_t>(size));
        close(writer);
    }

    void happen(const std::string &what) const {
        if (what == "create")
            create();
        else if (what == "remove")
            ASSERT_EQ(unlink(path.c_str()), 0);
        else if (what == "date-2040") { // past what 32 bits of seconds can tell
            const timespec times[2] = {{2'208'988'800, 0}, {2'208'988'800, 0}};
            ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
        } else if (what == "starting")
            sel_init_complete = 0;
        else if (what == "stop")
            fe_not_running = 1;
        else if (what == "stop-in-1")
            filter([](auto &, auto &) { return fe_not_running = 1; });
        else
            put(what);
    }

    // Runs the reader over the waits; when it goes on after the last one, the engine stops. Tells what it did.
    std::string run(const std::string &waits) {
        std::istringstream words(waits);
        size_t told = 0;
        int sleeps = 0;
        const CallTrace trace;
        const auto tell_calls = [&] {
            const Lines calls = trace.lines;
            for (; told < calls.size(); ++told)
                if (calls[told].find("SA_vSEL_FIFO") != std::string::npos)
                    tell(calls[told] == "open SA_vSEL_FIFO RDWR|NONBLOCK" ? "> open" : "> " + calls[told].substr(0, 5));
        };
        ScriptedWait script([&](int limit, fd_set *readable, fd_set *writable, fd_set *exceptional, timeval *timeout) {
            const Disarmed disarmed;
            tell_calls();
            descriptor = limit - 1;
            fd_set alone;
            FD_ZERO(&alone);
            FD_SET(descriptor, &alone);
            EXPECT_EQ(std::memcmp(readable, &alone, sizeof alone), 0);
            EXPECT_EQ(std::memcmp(exceptional, &alone, sizeof alone), 0);
            EXPECT_TRUE(writable == nullptr && timeout->tv_sec == 2 && timeout->tv_usec == 0);
            std::string word;
            while (words >> word && !outcomes.contains(word))
                happen(word);
            tell(words ? "> wait" : "> stop");
            fe_not_running |= words ? 0 : 1;
            const auto &[result, error, is_readable, is_exceptional] = outcomes.at(words ? word : "activity");
            if (is_readable == 0)
                FD_ZERO(readable);
            if (is_exceptional == 0)
                FD_ZERO(exceptional);
            *timeout = {0, 0}; // the time that is left
            errno = error;
            script.errno_of_fstat = error == EINTR || error == EAGAIN ? EBADF : EINTR;
            return result;
        });
        world().on_sleep = [&](int32_t seconds) {
            tell_calls();
            tell(seconds == 5 ? "> sleep" : "> sleep-otherwise");
            if (++sleeps == 3) // the first is that of the start-up
                create();
        };
        const OnSweep sweeps([&] { tell_calls(), tell("> sweep"); });
        EXPECT_EQ(init_database(), 0);
        tell_calls();
        if (fcntl(descriptor, F_GETFD) != -1)
            close(descriptor); // the reader has left it as it is
        return story() + (fe_not_running != 0 ? " stopped" : " running");
    }

    static std::string story() {
        std::istringstream words(log_text());
        std::string result;
        for (std::string word; words >> word;)
            if ((word == ">" || word == "decode_sel_entry:") && words >> word)
                result += " " + word;
        return result;
    }

    const std::string path = sandbox.path("SA_vSEL_FIFO");
    int descriptor = -1; // the reader's
};

TEST_F(Fifo, ReaderGoesThroughEveryScenario) {
    const std::string expected = expected_text("sel/fifo.txt"), start_up = " sleep sweep open";
    std::istringstream lines(expected);
    std::string told;
    for (std::string line; std::getline(lines, line);) {
        const size_t end = line.find('|');
        if (end != std::string::npos) {
            arrange();
            filter([](auto &, auto &) { return 1; });
            unlink(path.c_str());
            create();
            line.resize(end);
            const std::string story = run(line);
            line += story.starts_with(start_up) ? "|" + story.substr(start_up.size()) : story;
        }
        told += line + "\n";
    }
    EXPECT_EQ(told, expected);
}

TEST_F(Fifo, IsOpenedUntilThatSucceedsWhateverTheStartUpSaid) {
    arrange();
    world().total_result = -1; // the SEL cannot be walked
    EXPECT_EQ(run("1 activity"), " sleep sweep open open sleep open sleep open wait 1 sweep stop close stopped");
}

} // namespace
