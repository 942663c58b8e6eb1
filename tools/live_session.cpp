#include "tools/live_session.h"

#include <cstdio>

#include "platform/fe_core/fe_core.h"
#include "tools/engine_files.h"
#include "tools/engine_watch.h"
#include "tools/fectl.h"

// The engine's waits for a FIFO that cannot be opened are pauses, too.
constexpr std::chrono::milliseconds short_pause{10};

LiveSession::LiveSession(const EngineOptions &options, const Roads &roads, story::Listener &listener)
    : requests_(roads.socket), session_(options, short_pause, listener),
      records_(engine_file(sel_fifo_path), roads.create_fifo), engine_(requests_, records_) {
    setvbuf(stdout, nullptr, _IOLBF, 0);
    engine_.start();
}

void LiveSession::stop() {
    gave_up_ = engine_.has_given_up();
    if (gave_up_) {
        const std::string &road = fe_core::request_counts().failed ? requests_.path() : records_.path();
        fprintf(stderr, "fectl: the engine has stopped: %s is gone or fails\n", road.c_str());
    }
    engine_.stop();
}

int LiveSession::end(View &view, const ViewOptions &options, bool with_requests) {
    const story::Ending ending = engine_ending();
    if (with_requests) {
        const RequestsSeen seen = {fe_core::request_counts(), requests_.drain(), records_.drain()};
        view.end(ending, &seen);
    } else {
        view.end(ending, nullptr);
    }
    return session_.files_are_good() && !gave_up_ ? exit_code(options, ending.active) : exit_failed;
}
