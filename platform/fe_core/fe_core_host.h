// What the host program tells the core library's stand-in. Everything here is set before the engine starts and stays;
// only end_pauses(), stop() and request_counts() may be called while its threads run.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdio>

struct fe_write_buf;

namespace fe_core {

// Where log lines go; null (the start value): nowhere, and no line is formatted.
void log_to(FILE *stream);

// Called with the bare format of every log line, in the thread that logs it; null: nobody. A format is constant text,
// so it tells what the engine is doing without being formatted.
void observe_log(void (*observer)(const char *format));

// Called with the working record at every broadcast; null: nobody. The engine holds fe_write_buf_mutex.
void on_broadcast(void (*receiver)(const fe_write_buf &record));

// How long a pause of the engine may be; longer ones are cut to it. 0 (the start value): none.
void limit_pauses(std::chrono::milliseconds longest);

// The bound Unix datagram socket from which fe_init_interface() takes fault requests, 52 bytes each. It stays the
// caller's, who closes it after fe_init_interface() has returned. Takes back what the two calls below did before. Throws
// std::system_error.
void take_requests_from(int socket);

// Both are async-signal-safe and need take_requests_from().
void end_pauses(); // all pauses return at once, from now on
void stop(); // so does fe_init_broadcaster(), and fe_init_interface() once the engine has taken the request in hand

struct RequestCounts {
    size_t taken;      // by the engine
    size_t not_taken;  // 1 if the engine stopped of itself with a request in the read buffer
    size_t wrong_size; // datagrams that were dropped
};
RequestCounts request_counts();

} // namespace fe_core
