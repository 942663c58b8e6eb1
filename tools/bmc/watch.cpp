// fectl watch: the engine, running, on the event log and the sensors of a BMC.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <thread>
#include <utility>

#include "platform/fe_core/fe_core.h"
#include "tools/bmc/bmc_options.h"
#include "tools/bmc/place_file.h"
#include "tools/bmc/server_reader.h"
#include "tools/bmc/stop_thread.h"
#include "tools/cli.h"
#include "tools/engine_files.h"
#include "tools/engine_session.h"
#include "tools/engine_watch.h"
#include "tools/fectl.h"
#include "tools/live_engine.h"
#include "tools/private_folder.h"
#include "tools/request_socket.h"
#include "tools/sel_fifo.h"
#include "tools/view.h"

namespace {

using namespace bmc;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr milliseconds short_pause{10};
constexpr seconds longest_pause_between_attempts{60};
constexpr seconds longest_drain{1};

struct WatchOptions {
    BmcOptions bmc;
    EngineOptions engine;
    ViewOptions view;
    std::string state_file;
    unsigned interval_s = 5;
    bool once = false;
};

// Passes on to the view what is news, and counts the records that came down the live road.
class NewsListener : public story::Listener {
public:
    // Without the walk: what it has to tell was told by a watch before.
    NewsListener(View &view, bool with_walk) : view_(view), with_walk_(with_walk) {}

    void change(const story::Change &change) override {
        if (change.live || with_walk_) {
            view_.change(change);
        }
    }
    void refused(const story::Refused &refused) override {
        if (is_live() || with_walk_) {
            view_.refused(refused);
        }
    }
    void record_done() override { records_ += is_live(); }

    size_t records() const { return records_; }

private:
    static bool is_live() { return fe_flag(&sel_init_complete) != 0; }

    View &view_;
    bool with_walk_;
    std::atomic<size_t> records_ = 0;
};

bool same(const sel_record &a, const sel_record &b) {
    return memcmp(&a, &b, sizeof a) == 0;
}

// The road from the BMC's log into the engine's FIFO, and the place in the log up to which the engine has come.
class Road {
public:
    Road(const std::string &fifo, const NewsListener &listener) : writer_(fifo), listener_(listener) {}

    void send(const std::vector<sel_record> &records) {
        for (const sel_record &record : records) {
            waiting_.push_back(record);
            if (!writer_.write_record(record)) {
                throw Failure(std::string("cannot hand a record to the engine: ") + strerror(errno));
            }
        }
    }

    bool all_done() {
        for (; done_ < listener_.records() && !waiting_.empty(); ++done_) {
            waiting_.pop_front();
        }
        return waiting_.empty();
    }

    // Without the records that the engine has not come to: they are news to the next watch.
    SelPlace place_of(SelPlace place) {
        if (!all_done()) {
            std::erase_if(place.log, [this](const sel_record &record) {
                return std::ranges::any_of(waiting_, [&](const auto &waiting) { return same(waiting, record); });
            });
        }
        return place;
    }

private:
    SelWriter writer_;
    const NewsListener &listener_;
    std::deque<sel_record> waiting_; // for the engine, as far as is known
    size_t done_ = 0;
};

class Watch {
public:
    Watch(const WatchOptions &chosen, BmcClient &client, StopThread &stop)
        : chosen_(chosen), client_(client), stop_(stop) {}

    int run();

private:
    void read_start();
    void serve_start();
    static int32_t read_for_engine(int32_t number, uint32_t *reading, uint32_t *status, uint32_t *state);
    std::optional<uint16_t> read_sensor(const ipmi_access::Sensor &sensor);
    void follow(Road &road, const LiveEngine &engine);
    milliseconds look(Road &road);
    void connect_again();
    void check_sdr();
    void drain(Road &road, milliseconds longest);
    void keep_place(Road &road);
    void say(const std::string &text) const;

    static Watch *running_; // whom the engine's SEL thread asks for readings

    const WatchOptions &chosen_;
    BmcClient &client_;
    StopThread &stop_;
    std::optional<PlaceFile> place_file_;
    std::optional<SelPlace> place_before_; // of a watch before
    SelFollower follower_;
    Server server_;
    std::map<uint8_t, std::string> unreadable_; // sensors, and what was said of them; the engine's SEL thread's
    bool place_is_kept_ = false;
    bool connected_ = true;
    bool sdr_change_said_ = false;
    seconds pause_after_failure_{1};
};

void Watch::say(const std::string &text) const {
    fprintf(stderr, "fectl: %s: %s\n", chosen_.bmc.access.host.c_str(), text.c_str());
}

void Watch::read_start() {
    if (!chosen_.state_file.empty()) {
        place_file_.emplace(chosen_.state_file, chosen_.bmc.access.host);
        place_before_ = place_file_->read();
        follower_ = SelFollower(place_before_.value_or(SelPlace()));
    }
    try {
        server_ = read_server(client_, follower_);
    } catch (const BmcError &error) {
        fail(chosen_.bmc.access.host, error);
    }
    for (const std::string &remark : server_.sel.remarks) {
        say(remark);
    }
}

// What was told before goes through the walk again; what is new since then goes down the live road.
void Watch::serve_start() {
    ipmi_access::Capture capture;
    ipmi_access::Warnings warnings;
    capture.sensors = ipmi_access::parse_sdr_dump(server_.sdr, "sensor data records", warnings);
    for (const std::string &warning : warnings) {
        say(warning);
    }
    capture.records = follower_.place().log;
    if (place_before_) {
        std::erase_if(capture.records, [this](const sel_record &record) {
            return std::ranges::any_of(server_.sel.records, [&](const auto &news) { return same(news, record); });
        });
    } else {
        server_.sel.records.clear();
    }
    ipmi_access::serve(std::move(capture));
    running_ = this;
    ipmi_access::hooks.sensor_reading = read_for_engine;
}

Watch *Watch::running_ = nullptr;

int32_t Watch::read_for_engine(int32_t number, uint32_t *reading, uint32_t *status, uint32_t *state) {
    const ipmi_access::Sensor *sensor = ipmi_access::find_sensor(static_cast<uint32_t>(number));
    const std::optional<uint16_t> states = sensor != nullptr ? running_->read_sensor(*sensor) : std::nullopt;
    if (!states) {
        return -1;
    }
    *reading = 0;
    *status = 0;
    *state = ipmi_access::state_word(*sensor, *states);
    return 0;
}

std::optional<uint16_t> Watch::read_sensor(const ipmi_access::Sensor &sensor) {
    std::string why;
    try {
        if (const std::optional<uint16_t> states = read_states(client_, sensor, why)) {
            unreadable_.erase(sensor.number);
            return states;
        }
    } catch (const BmcError &error) {
        why = error.what();
    } catch (const CalledOff &) {
        return std::nullopt;
    }
    if (std::exchange(unreadable_[sensor.number], why) != why) {
        say("sensor " + sensor.label + " cannot be read: " + why);
    }
    return std::nullopt;
}

void Watch::check_sdr() {
    if (!sdr_change_said_ && client_.sdr_times() != server_.sdr_times) {
        say("the sensor data records have changed; a new start of watch takes them");
        sdr_change_said_ = true;
    }
}

void Watch::connect_again() {
    client_.connect();
    connected_ = true;
    say("connected again");
    check_sdr();
}

// Returns when to look next.
milliseconds Watch::look(Road &road) {
    try {
        if (!connected_) {
            connect_again();
        }
        const SelNews news = follower_.look(client_);
        for (const std::string &remark : news.remarks) {
            say(remark);
        }
        if (!news.records.empty()) {
            road.send(news.records);
            drain(road, seconds(chosen_.interval_s));
            check_sdr();
        }
        place_is_kept_ = place_is_kept_ && news.records.empty() && news.remarks.empty();
        keep_place(road);
        pause_after_failure_ = seconds(1);
        return seconds(chosen_.interval_s);
    } catch (const BmcError &error) {
        connected_ = connected_ && error.kind != BmcError::Kind::network;
        const seconds pause = pause_after_failure_;
        pause_after_failure_ = std::min(2 * pause, longest_pause_between_attempts);
        say(error.what() + ("; next attempt in " + std::to_string(pause.count()) + " s"));
        return pause;
    } catch (const CalledOff &) {
        return milliseconds(0);
    }
}

void Watch::follow(Road &road, const LiveEngine &engine) {
    milliseconds pause = seconds(chosen_.interval_s);
    while (!stop_.sleep(pause) && !engine.has_given_up()) {
        pause = look(road);
    }
}

// Until the engine has processed what was sent.
void Watch::drain(Road &road, milliseconds longest) {
    const auto end = std::chrono::steady_clock::now() + longest;
    while (!road.all_done() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(milliseconds(5));
    }
}

void Watch::keep_place(Road &road) {
    if (place_file_ && !place_is_kept_) {
        place_file_->write(road.place_of(follower_.place()));
        place_is_kept_ = road.all_done();
    }
}

int Watch::run() {
    read_start();
    serve_start();
    const PrivateFolder folder;
    EngineOptions options = chosen_.engine;
    if (options.file_directory.empty()) {
        options.file_directory = folder.path();
    }
    RequestSocket requests(folder.path() + "/requests");
    const std::unique_ptr<View> view = make_view(chosen_.view);
    NewsListener listener(*view, !place_before_);
    const EngineSession session(options, short_pause, listener);
    SelFifo records(engine_file(sel_fifo_path), true);
    setvbuf(stdout, nullptr, _IOLBF, 0);
    LiveEngine engine(requests, records);
    engine.start();
    Road road(records.path(), listener);
    road.send(server_.sel.records);

    while (fe_flag(&sel_init_complete) == 0 && !engine.has_given_up() && !stop_.sleep(milliseconds(10))) {
    }
    if (!chosen_.once) {
        fprintf(stderr, "ready: %s, %zu SEL records\n", chosen_.bmc.access.host.c_str(), follower_.place().log.size());
        follow(road, engine);
    }
    const bool gave_up = engine.has_given_up();
    drain(road, longest_drain);
    engine.stop();
    keep_place(road);
    const story::Ending ending = engine_ending();
    view->end(ending, nullptr);
    return session.files_are_good() && !gave_up ? exit_code(chosen_.view, ending.active) : exit_failed;
}

int watch(const WatchOptions &chosen) {
    BmcClient client(resolve_access(chosen.bmc));
    const StopSignals signals;
    int code = exit_ok;
    {
        StopThread stop(signals, [&client] { client.call_off(); });
        try {
            code = Watch(chosen, client, stop).run();
        } catch (const CalledOff &) { // told to stop before the engine ran
            code = chosen.once ? exit_failed : exit_ok;
        }
    }
    client.call_off();
    if (!client.leave()) {
        fflush(stdout);
        _exit(code);
    }
    return code;
}

} // namespace

Run prepare_watch(CLI::App &app) {
    const auto chosen = std::make_shared<WatchOptions>();
    cli::describe(
        app,
        "Runs the engine on a server's BMC: its event log goes through the start-up walk, new records follow as they\n"
        "appear, and faults whose sensors have recovered are dropped. Prints what happens to the faults until\n"
        "SIGINT, SIGTERM or SIGHUP; then the active faults.");
    add_bmc_options(app, chosen->bmc);
    cli::add_number(app, "--interval", chosen->interval_s, 1, 50,
                    "seconds from one look at the log to the next (default: 5)");
    const cli::Option once =
        cli::add_flag(app, "--once", chosen->once, "end after the start-up walk, with the active faults");
    cli::add_text(app, "--state", "FILE", chosen->state_file,
                  "keep the place in the log there: what one watch has told, the next does not tell again")
        .excludes(once);
    add_engine_options(app, chosen->engine,
                       "keep the engine's files there (default: in a folder that goes at the end)");
    add_view_options(app, chosen->view);
    add_refused_option(app, chosen->view);
    return [chosen] { return watch(*chosen); };
}
