// fectl watch: the engine, running, on the event log and the sensors of a BMC.
#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <thread>
#include <utility>

#include "platform/fe_core/fe_core.h"
#include "tools/bmc/log_watch.h"
#include "tools/bmc/news_listener.h"
#include "tools/bmc/server_reader.h"
#include "tools/bmc/talk.h"
#include "tools/cli.h"
#include "tools/fectl.h"
#include "tools/live_session.h"
#include "tools/private_folder.h"

namespace {

using namespace bmc;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr milliseconds short_pause{10};

struct WatchOptions {
    BmcOptions bmc;
    EngineOptions engine;
    ViewOptions view;
    std::string state_file;
    unsigned interval_s = 5;
    bool once = false;
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
    std::optional<States> read_sensor(const ipmi_access::Sensor &sensor);
    LogWatch::Start log_start();
    void await_walk(const LiveSession &live);
    void follow(LogWatch &log, const LiveSession &live);
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
    server_ = read_server(client_, follower_);
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
    const std::optional<States> states = sensor != nullptr ? running_->read_sensor(*sensor) : std::nullopt;
    if (!states) {
        return -1;
    }
    *reading = 0;
    *status = 0;
    *state = ipmi_access::state_word(*sensor, *states);
    return 0;
}

std::optional<States> Watch::read_sensor(const ipmi_access::Sensor &sensor) {
    std::string why;
    try {
        if (const std::optional<States> states = read_states(client_, sensor, why)) {
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

LogWatch::Start Watch::log_start() {
    return {.follower = std::move(follower_),
            .sdr_times = server_.sdr_times,
            .place_file = place_file_ ? &*place_file_ : nullptr,
            .interval = seconds(chosen_.interval_s),
            .say = [this](const std::string &text) { say(text); },
            .sleep = [this](milliseconds time) { return stop_.sleep(time); }};
}

void Watch::await_walk(const LiveSession &live) {
    while (fe_flag(&sel_init_complete) == 0 && !live.has_given_up() && !stop_.sleep(short_pause)) {
    }
}

void Watch::follow(LogWatch &log, const LiveSession &live) {
    log.keep_place();
    fprintf(stderr, "ready: %s, %zu SEL records\n", chosen_.bmc.access.host.c_str(), log.place().log.size());
    milliseconds pause = seconds(chosen_.interval_s);
    while (!stop_.sleep(pause) && !live.has_given_up()) {
        pause = log.look();
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
    const std::unique_ptr<View> view = make_view(chosen_.view);
    NewsListener listener(*view, !place_before_);
    LiveSession live(options, {.socket = folder.path() + "/requests", .create_fifo = true}, listener);
    const SelWriter writer(live.fifo_path());
    Road road([&writer](const sel_record &record) { return writer.write_record(record); }, listener.records());
    LogWatch log(client_, road, log_start());
    road.send(server_.sel.records);

    await_walk(live);
    const bool walk_is_over = fe_flag(&sel_init_complete) != 0; // a stop leaves out what is left of it
    if (walk_is_over && !chosen_.once) {
        road.drain([this](milliseconds time) { return stop_.sleep(time); });
        follow(log, live);
    }
    road.drain([](milliseconds time) {
        std::this_thread::sleep_for(time);
        return false;
    });
    live.stop();
    if (walk_is_over) {
        log.keep_place();
    }
    const int code = live.end(*view, chosen_.view, false);
    return chosen_.once && !walk_is_over ? exit_failed : code;
}

int watch(const WatchOptions &chosen) {
    return talk(chosen.bmc, chosen.once ? exit_failed : exit_ok,
                [&chosen](BmcClient &client, StopThread &stop) { return Watch(chosen, client, stop).run(); });
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
