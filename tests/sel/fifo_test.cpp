// The reader of the SEL FIFO, as told in fifo.txt. The test thread is the SEL thread; the FIFO is real, the ends of its
// waits are scripted.
#include "support/engine_test.h"

#include <cerrno>
#include <map>
#include <set>
#include <sstream>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "support/expected_text.h"

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
    static void arrange() {
        SelRoad::arrange();
        world().dispatch = [](auto &, auto &) { return 1; };
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

    void happen(const std::string &what) {
        if (what == "create") {
            create();
        } else if (what == "remove") {
            ASSERT_EQ(unlink(path.c_str()), 0);
        } else if (what == "date-2040") { // past what 32 bits of seconds can tell
            const timespec times[2] = {{2'208'988'800, 0}, {2'208'988'800, 0}};
            ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
        } else if (what == "starting") {
            sel_init_complete = 0;
        } else if (what == "stop") {
            fe_not_running = 1;
        } else if (what == "stop-in-1") {
            world().dispatch = [](auto &, auto &) { return fe_not_running = 1; };
        } else {
            put(what);
        }
    }

    static void tell_of_fifo(const std::string &call) {
        if (call.find("SA_vSEL_FIFO") != std::string::npos) {
            tell(call == "open SA_vSEL_FIFO RDWR|NONBLOCK" ? "open" : call.substr(0, 5));
        }
    }

    // The ends of the waits as the words say; when the reader goes on after the last one, the engine stops.
    int end_wait(int limit, fd_set *readable, fd_set *writable, fd_set *exceptional, timeval *timeout) {
        descriptor = limit - 1;
        fd_set alone;
        FD_ZERO(&alone);
        FD_SET(descriptor, &alone);
        EXPECT_TRUE(std::memcmp(readable, &alone, sizeof alone) == 0 &&
                    std::memcmp(exceptional, &alone, sizeof alone) == 0);
        EXPECT_TRUE(writable == nullptr && timeout->tv_sec == 2 && timeout->tv_usec == 0);
        std::string word;
        while (words >> word && !outcomes.contains(word)) {
            happen(word);
        }
        tell(words ? "wait" : "stop");
        fe_not_running |= words ? 0 : 1;
        const auto &[result, error, is_readable, is_exceptional] = outcomes.at(words ? word : "activity");
        if (is_readable == 0) {
            FD_ZERO(readable);
        }
        if (is_exceptional == 0) {
            FD_ZERO(exceptional);
        }
        *timeout = {0, 0}; // the time that is left
        ScriptedWait::current->errno_of_fstat =
            error == EINTR || error == EAGAIN ? EBADF : EINTR; // shows who takes it for the wait's
        errno = error;
        return result;
    }

    // Runs the reader over the waits and says what it did.
    std::string run(const std::string &waits) {
        words = std::istringstream(waits);
        int pauses = 0;
        const CallTrace trace(tell_of_fifo);
        const ScriptedWait script([&](auto... arguments) {
            const Disarmed disarmed;
            return end_wait(arguments...);
        });
        world().on_pause = [&](int32_t) {
            at_pause(++pauses); // the first is that of the start-up
        };
        EXPECT_EQ(init_database(), 0);
        if (fcntl(descriptor, F_GETFD) != -1) {
            const Disarmed disarmed;
            close(descriptor); // the reader has left it as it is
        }
        return short_story() + (fe_not_running != 0 ? " stopped" : " running");
    }

    // The calls on the FIFO, passes, pauses and the ids of the records.
    static std::string short_story() {
        std::string result;
        for (const std::string &line : world().log) {
            std::istringstream parts(line);
            std::string first, second;
            parts >> first >> second;
            static const std::set<std::string> told = {"open",      "close",           "wait", "stop", "duplicates",
                                                       "pause=5.0", "duplicates=early"};
            if (first == "decode_sel_entry:" || (first == ">" && told.contains(second))) {
                result += " " + second;
            }
        }
        return result;
    }

    const std::string path = sandbox.path("SA_vSEL_FIFO");
    std::istringstream words;
    int descriptor = -1; // the reader's
    std::function<void(int)> at_pause = [this](int number) { number == 3 ? create() : void(); };
};

TEST_F(Fifo, ReaderGoesThroughEveryScenario) {
    const std::string expected = expected_text("sel/fifo.txt"), start_up = " pause=5.0 duplicates=early open";
    std::istringstream lines(expected);
    std::string all;
    for (std::string line; std::getline(lines, line);) {
        const size_t end = line.find('|');
        if (end != std::string::npos) {
            arrange();
            unlink(path.c_str());
            create();
            line.resize(end);
            const std::string story = run(line);
            line += story.starts_with(start_up) ? "|" + story.substr(start_up.size()) : story;
        }
        all += line + "\n";
    }
    EXPECT_EQ(all, expected);
}

TEST_F(Fifo, IsOpenedUntilThatSucceedsWhateverTheStartUpSaid) {
    arrange();
    world().total_result = -1; // the SEL cannot be walked
    EXPECT_EQ(
        run("1 activity"),
        " pause=5.0 duplicates=early open open pause=5.0 open pause=5.0 open wait 1 duplicates stop close stopped");
}

// select() cannot wait for such a one: it is closed, and tried again.
TEST_F(Fifo, IsNotReadThroughADescriptorPastTheSetsSize) {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    ASSERT_GT(limit.rlim_max, rlim_t{FD_SETSIZE}) << "the machine allows too few descriptors to test this";
    limit.rlim_cur = limit.rlim_max;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    std::vector<int> taken;
    at_pause = [&](int number) {
        while (number == 1 && (taken.empty() || taken.back() < FD_SETSIZE - 1)) {
            taken.push_back(dup(STDERR_FILENO));
        }
        if (number == 2) {
            std::ranges::for_each(taken, close);
        }
    };
    arrange();
    create();
    EXPECT_EQ(run("1 activity"),
              " pause=5.0 duplicates=early open close open close pause=5.0 open wait 1 duplicates stop close stopped");
}

} // namespace
