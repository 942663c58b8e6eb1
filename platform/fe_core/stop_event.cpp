#include "platform/fe_core/stop_event.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace fe_core {

StopEvent engine_stop;
StopEvent pauses_end;

void StopEvent::arm() {
    const int armed = eventfd(0, EFD_CLOEXEC);
    if (armed < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
    if (fd_ >= 0) {
        close(fd_);
    }
    fd_ = armed;
}

void StopEvent::give() const {
    const int saved_errno = errno; // of the code that a signal interrupted
    [[maybe_unused]] const int result = eventfd_write(fd_, 1);
    errno = saved_errno;
}

Woken StopEvent::await(int timeout_ms, int input) const {
    pollfd events[] = {{fd_, POLLIN, 0}, {input, POLLIN, 0}};
    int ready;
    do {
        ready = poll(events, 2, timeout_ms);
    } while (ready < 0 && errno == EINTR);
    if (events[0].revents != 0) {
        return Woken::by_event;
    }
    return ready == 0 ? Woken::by_time : Woken::by_input;
}

} // namespace fe_core
