// The producer of fault requests: from a Unix datagram socket into the read buffer.
#include <sys/socket.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "fault_engine/fault_request.h"
#include "platform/fe_core/fe_core.h"
#include "platform/fe_core/fe_core_host.h"
#include "platform/fe_core/stop_event.h"

namespace fe_core {
namespace {

int request_socket = -1;
std::atomic<size_t> taken;
std::atomic<size_t> not_taken;
std::atomic<size_t> wrong_size;
std::atomic<bool> failed;

enum class Received { request, nothing, failure };

void drop(ssize_t size) {
    if (wrong_size++ == 0) {
        fprintf(stderr, "a datagram of %zd bytes dropped: a fault request has %zu (said once, the rest is counted)\n",
                size, sizeof(fe_read_buf));
    }
}

Received receive(fe_read_buf &request) {
    const ssize_t size = recv(request_socket, &request, sizeof request, MSG_DONTWAIT | MSG_TRUNC);
    if (size == static_cast<ssize_t>(sizeof request)) {
        return Received::request;
    }
    if (size >= 0) {
        drop(size);
        return Received::nothing;
    }
    if (errno == EAGAIN || errno == EINTR) {
        return Received::nothing;
    }
    fprintf(stderr, "the socket of fault requests fails: %s\n", strerror(errno));
    return Received::failure;
}

// A request leaves the socket only when the one before it was taken: a stop finds at most one outside, in the read buffer.
void run_interface(fe_read_buf_struct *read_buffer) {
    fe_read_buf request;
    while (engine_stop.await(-1, request_socket) != Woken::by_event && fe_flag(&fe_not_running) == 0) {
        const Received received = receive(request);
        if (received == Received::failure) {
            failed = true;
            return;
        }
        if (received == Received::nothing) {
            continue;
        }
        place_request(*read_buffer, request);
        if (!await_taken(*read_buffer)) {
            ++not_taken;
            return;
        }
        ++taken;
    }
}

void run_broadcaster() {
    engine_stop.await(-1);
}

} // namespace

void place_request(fe_read_buf_struct &buffer, const fe_read_buf &request) {
    pthread_mutex_lock(&buffer.fe_read_buf_mutex);
    *buffer.fe_read_buf = request;
    fe_set_flag(&fe_read_complete, 1);
    pthread_cond_signal(&buffer.fe_read_buf_cond);
    pthread_mutex_unlock(&buffer.fe_read_buf_mutex);
}

// Goes on waiting after a stop(): only an engine that has stopped does not take the request.
bool await_taken(fe_read_buf_struct &buffer) {
    pthread_mutex_lock(&buffer.fe_read_wait_mutex);
    while (fe_flag(&fe_read_complete) != 0 && fe_flag(&fe_not_running) == 0) {
        pthread_cond_wait(&buffer.fe_read_wait_cond, &buffer.fe_read_wait_mutex);
    }
    const bool was_taken = fe_flag(&fe_read_complete) == 0;
    pthread_mutex_unlock(&buffer.fe_read_wait_mutex);
    return was_taken;
}

void take_requests_from(int socket) {
    engine_stop.arm();
    pauses_end.arm();
    request_socket = socket;
    hooks.interface = run_interface;
    hooks.broadcaster = run_broadcaster;
}

RequestCounts request_counts() {
    return {taken, not_taken, wrong_size, failed};
}

} // namespace fe_core
