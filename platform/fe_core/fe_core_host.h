// What the host program tells the core library's stand-in. Everything here is set before the engine starts and stays;
// only end_pauses(), stop() and request_counts(), and by an interface place_request() and await_taken(), may be called while
// its threads run.
#pragma once

#include <chrono>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>

struct fe_read_buf;
struct fe_read_buf_struct;
struct fe_write_buf_struct;

namespace fe_core {

// What answers the library's functions, each in its place; what is null does nothing and returns at once. The calls
// below set them for a host program.
struct Hooks {
    void (*interface)(fe_read_buf_struct *read_buffer) = nullptr;
    void (*broadcaster)() = nullptr;
    void (*broadcast)(fe_write_buf_struct *write_buffer) = nullptr; // the engine holds fe_write_buf_mutex
    void (*log)(const char *format, va_list arguments) = nullptr;
    void (*pause)(int32_t seconds, int32_t nanoseconds) = nullptr;
};
extern Hooks hooks;

// Where log lines go; null (the start value): nowhere, and no line is formatted.
void log_to(FILE *stream);

// How long a pause of the engine may be; longer ones are cut to it.
void limit_pauses(std::chrono::milliseconds longest);

// The bound Unix datagram socket from which fe_init_interface() takes fault requests, 52 bytes each. It stays the
// caller's, who closes it after fe_init_interface() has returned. Undoes an end_pauses() and a stop() of before. Throws
// std::system_error.
void take_requests_from(int socket);

// Both are async-signal-safe and need take_requests_from().
void end_pauses(); // all pauses return at once, from now on
void stop(); // so does fe_init_broadcaster(), and fe_init_interface() once the engine has taken the request in hand

struct RequestCounts {
    size_t taken;      // by the engine
    size_t not_taken;  // 1 if the engine stopped of itself with a request in the read buffer
    size_t wrong_size; // datagrams that were dropped
    bool failed;       // the socket did, which was said and ended fe_init_interface()
};
RequestCounts request_counts();

// The producer's side of the read buffer, for an interface. One request at a time: place_request()
// comes again once await_taken() was true.
void place_request(fe_read_buf_struct &read_buffer, const fe_read_buf &request);
bool await_taken(fe_read_buf_struct &read_buffer); // false when the engine has stopped and nobody will take it

} // namespace fe_core
