// The engine, running, from its sockets and files to what it leaves.
#pragma once

#include <string>

#include "tools/engine_session.h"
#include "tools/live_engine.h"
#include "tools/request_socket.h"
#include "tools/sel_fifo.h"
#include "tools/view.h"

class LiveSession {
public:
    struct Roads {
        std::string socket; // of requests
        bool create_fifo;   // for SEL records, if it is missing
    };

    // Starts the engine. Throws Refusal when it cannot have its files or the socket, std::runtime_error when it cannot start.
    LiveSession(const EngineOptions &options, const Roads &roads, story::Listener &listener);

    const std::string &fifo_path() const { return records_.path(); }

    // True when the engine has stopped, or will, without being told to.
    bool has_given_up() const { return engine_.has_given_up(); }

    // Returns when the engine has stopped; the start-up walk is cut short.
    void stop();

    // After stop(): shows what is left and says what has failed. Returns the exit code.
    int end(View &view, const ViewOptions &options, bool with_requests);

private:
    RequestSocket requests_;
    EngineSession session_;
    SelFifo records_;
    LiveEngine engine_;
    bool gave_up_ = false;
};
