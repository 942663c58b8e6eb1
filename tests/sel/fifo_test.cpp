// The reader of the SEL FIFO. The test thread is the SEL thread; the FIFO is real, the ends of its waits are scripted.
#include "sel_road.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/interpose_live.h"

namespace {

// How select() ends.
struct Outcome {
    int result, error;
    bool readable, exceptional;
};
constexpr Outcome activity = {1, 0, true, false}, exception = {1, 0, false, true}, both = {2, 0, true, true},
                  neither = {1, 0, false, false}, time_out = {0, 0, false, false},
                  interrupted = {-1, EINTR, true, true}, try_again = {-1, EAGAIN, true, true},
                  bad_descriptor = {-1, EBADF, true, true};

struct Wait {
    Outcome outcome;
    std::function<void()> meanwhile = [] {};
};

constexpr uint8_t unknown = 99; // a record whose sensor nobody knows

class Fifo : public SelRoad {
protected:
    Fifo() {
        alarm(100);
        sel_init_complete = 1;
        process_sel_data(event().data()); // has the sweep of the first record behind it
    }
    ~Fifo() override { alarm(0); }

    void create() const { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }
    void remove() const { ASSERT_EQ(unlink(path.c_str()), 0); }

    // Bytes stay in a pipe only while somebody has it open, which the reader does.
    void put(std::initializer_list<uint8_t> ids, size_t torn = 0) const {
        const int writer = open(path.c_str(), O_RDWR | O_NONBLOCK);
        for (const uint8_t id : ids) {
            Record record = event();
            record[0] = id;
            record[11] = id == unknown ? unknown : road_sensor;
            EXPECT_EQ(write(writer, record.data(), record.size()), 16);
        }
        EXPECT_EQ(write(writer, "torn off", torn), static_cast<ssize_t>(torn));
        close(writer);
    }

    // Runs the reader over these waits; when it goes on after the last one, the engine stops. Tells what it did, a word
    // each: open, close, sleep, wait, the id of a record, sweep, stop.
    std::string run(const std::vector<Wait> &waits) {
        const auto tell = [](const char *word) { world().log.push_back(word); };
        size_t next = 0, told = 0, sleeps = 0;
        const CallTrace trace;
        const auto tell_calls = [&] {
            const Lines calls = trace.calls();
            for (; told < calls.size(); ++told)
                if (calls[told].find("SA_vSEL_FIFO") != std::string::npos)
                    tell(calls[told] == "open SA_vSEL_FIFO RDWR|NONBLOCK" ? "open" : calls[told].substr(0, 5).c_str());
        };
        ScriptedWait script([&](int limit, fd_set *readable, fd_set *writable, fd_set *exceptional, timeval *timeout) {
            const Disarmed disarmed;
            tell_calls();
            descriptor = limit - 1;
            expect_fresh(readable, writable, exceptional, timeout);
            const bool stops = next == waits.size();
            tell(stops ? "stop" : "wait");
            const Wait wait = stops ? Wait{activity, [] { fe_not_running = 1; }} : waits[next++];
            wait.meanwhile();
            if (!wait.outcome.readable)
                FD_ZERO(readable);
            if (!wait.outcome.exceptional)
                FD_ZERO(exceptional);
            *timeout = {0, 0}; // the time that is left
            errno = wait.outcome.error;
            script.errno_of_fstat = errno == EINTR || errno == EAGAIN ? EBADF : EINTR;
            return wait.outcome.result;
        });
        world().on_sleep = [&](int32_t seconds) {
            tell_calls();
            tell(seconds == 5 ? "sleep" : "sleeps otherwise");
            if (++sleeps == 3) // the first is that of the start-up
                create();
        };
        const OnSweep sweeps([&] { tell_calls(), tell("sweep"); });
        EXPECT_EQ(init_database(), 0);
        EXPECT_EQ(next, waits.size());
        tell_calls();
        return story();
    }

    void expect_fresh(const fd_set *readable, const fd_set *writable, const fd_set *exceptional,
                      const timeval *timeout) const {
        fd_set alone;
        FD_ZERO(&alone);
        FD_SET(descriptor, &alone);
        EXPECT_EQ(std::memcmp(readable, &alone, sizeof alone), 0);
        EXPECT_EQ(std::memcmp(exceptional, &alone, sizeof alone), 0);
        EXPECT_TRUE(writable == nullptr && timeout->tv_sec == 2 && timeout->tv_usec == 0);
    }

    static std::string story() {
        const std::string record = "decode_sel_entry: ";
        std::string result;
        for (const std::string &line : world().log)
            if (line.starts_with(record))
                result += std::to_string(std::stoi(line.substr(record.size()), nullptr, 16)) + " ";
            else if (line.find_first_of(" _\n") == std::string::npos)
                result += line + " ";
        return result;
    }

    const std::string path = sandbox.path("SA_vSEL_FIFO");
    int descriptor = -1; // the reader's
};

struct Scenario {
    const char *what;
    std::vector<Wait> waits;
    std::string story; // behind the start-up and the opening
    int32_t not_running = 1;
};

TEST_F(Fifo, ReaderGoesThroughEveryScenario) {
    const auto stop = [] { fe_not_running = 1; };
    const auto put_1 = [&] { put({1}); };
    const auto put_3 = [&] { put({1, 2, 3}); };
    const auto stop_in_batch = [&] {
        put_3();
        filter([=](auto &, auto &) { return stop(), 1; });
    };
    const auto taken_away = [&] { remove(); };
    const auto put_and_recreate = [&] { put_1(), remove(), create(); };
    const Scenario scenarios[] = {
        {"one batch", {{activity, put_3}}, "wait 1 2 3 sweep stop close "},
        {"error of a record",
         {{activity,
           [&] {
               put({unknown, 2});
           }}},
         "wait 99 2 sweep stop close "},
        {"torn", {{activity, [&] { put({1}, 7); }}, {activity, put_1}}, "wait 1 sweep wait 1 sweep stop close "},
        {"idle", {{time_out}, {time_out}, {time_out}}, "wait sweep wait sweep wait sweep stop close "},
        {"idle before start-up", {{time_out, [] { sel_init_complete = 0; }}}, "wait stop close "},
        {"stop while idle", {{time_out, stop}}, "wait sweep stop close "},
        {"stop before a batch", {{activity, [&] { put_3(), stop(); }}}, "wait close "},
        {"stop in a batch", {{activity, stop_in_batch}}, "wait 1 close "},
        {"exception", {{exception, put_1}}, "wait close ", 0},
        {"exception beside a record", {{both, put_1}}, "wait 1 sweep stop close "},
        {"neither", {{neither, put_1}}, "wait sweep stop close "},
        {"retried", {{interrupted, put_1}, {try_again}}, "wait wait stop close "},
        {"select fails", {{bad_descriptor, put_1}}, "wait ", 0},
        {"recreated",
         {{time_out, put_and_recreate}, {activity, [&] { put({2}); }}},
         "wait close open sweep wait 2 sweep stop close "},
        {"recreated, activity", {{activity, put_and_recreate}}, "wait close open sweep stop close "},
        {"removed, activity", {{activity, taken_away}}, "wait close open "},
        {"removed, time-out",
         {{time_out, taken_away}, {time_out}, {activity, put_1}},
         "wait close open open sleep open sleep open wait sweep wait close "},
        {"removed, interrupted",
         {{interrupted, taken_away}, {activity, put_1}},
         "wait close open open sleep open sleep open wait close "},
    };
    for (const Scenario &row : scenarios) {
        SCOPED_TRACE(row.what);
        arrange();
        filter([](auto &, auto &) { return 1; });
        unlink(path.c_str());
        create();
        EXPECT_EQ(run(row.waits), "sleep sweep open " + row.story);
        EXPECT_EQ(fe_not_running, row.not_running);
        if (!row.story.ends_with("close ") && row.not_running == 0)
            close(descriptor); // left as it is
    }
}

TEST_F(Fifo, IsOpenedUntilThatSucceedsWhateverTheStartUpSaid) {
    arrange();
    world().total_result = -1; // the SEL cannot be walked
    EXPECT_EQ(run({{activity, [this] { put({1}); }}}),
              "sleep sweep open open sleep open sleep open wait 1 sweep stop close ");
}

} // namespace
