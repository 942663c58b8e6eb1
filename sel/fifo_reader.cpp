// The SEL thread: start-up, then one SEL record after the other from the FIFO.
#include <cerrno>
#include <fcntl.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <unistd.h>

#include "fault_engine/fault_table.h"
#include "fault_engine/sel.h"
#include "platform/fe_core/fe_core.h"

namespace {

// The SEL thread's own.
int sel_fifo_fd = -1;
fd_set read_set;
fd_set exception_set;

void open_fifo() {
    sel_fifo_fd = open("/var/SA_vSEL_FIFO", O_RDWR | O_NONBLOCK);
    if (sel_fifo_fd >= FD_SETSIZE) { // select() cannot wait for it: as good as not opened
        close(sel_fifo_fd);
        sel_fifo_fd = -1;
    }
}

void close_fifo() {
    close(sel_fifo_fd);
    sel_fifo_fd = -1;
}

bool is_stopping() {
    return fe_flag(&fe_not_running) != 0;
}

// Waits for activity, 2 seconds at most. Returns what select() does.
int await_activity() {
    FD_ZERO(&read_set);
    FD_ZERO(&exception_set);
    FD_SET(sel_fifo_fd, &read_set);
    FD_SET(sel_fifo_fd, &exception_set);
    timeval timeout = {.tv_sec = 2, .tv_usec = 0};
    return select(sel_fifo_fd + 1, &read_set, nullptr, &exception_set, &timeout);
}

// Opens the FIFO again if somebody has removed it; when there is none to be opened, the engine stops.
void reopen_if_removed() {
    struct stat status = {};
    if (fstat(sel_fifo_fd, &status) != 0 || status.st_nlink != 0) {
        return;
    }
    close_fifo();
    open_fifo();
    if (sel_fifo_fd < 0) {
        fe_set_flag(&fe_not_running, 1);
    }
}

// Processes records until fewer than 16 bytes are left or the engine stops; a torn record, and one read after the stop,
// are dropped.
void read_batch() {
    uint8_t record[sizeof(sel_record)];
    while (read(sel_fifo_fd, record, sizeof record) == static_cast<ssize_t>(sizeof record) && !is_stopping()) {
        process_sel_data(record);
    }
}

// loop_again: to the top of the loop, which opens the FIFO if it is closed. run_pass: the duplicate pass first.
enum class next_step { loop_again, run_pass, leave };

next_step after_activity() {
    if (is_stopping() || sel_fifo_fd < 0) { // without a FIFO the engine stops, even if the daemon has set the flag back
        close_fifo();
        return next_step::leave;
    }
    if (FD_ISSET(sel_fifo_fd, &read_set)) {
        read_batch();
        if (is_stopping()) {
            close_fifo();
            return next_step::leave;
        }
    } else if (FD_ISSET(sel_fifo_fd, &exception_set)) {
        FD_CLR(sel_fifo_fd, &read_set);
        FD_CLR(sel_fifo_fd, &exception_set);
        close_fifo();
        return next_step::leave;
    }
    return next_step::run_pass;
}

next_step after_wait(int ready, int wait_error) {
    if (ready < 0) {
        return wait_error == EINTR || wait_error == EAGAIN ? next_step::loop_again : next_step::leave;
    }
    if (ready > 0) {
        return after_activity();
    }
    return sel_fifo_fd == -1 ? next_step::loop_again : next_step::run_pass; // -1: removed, and not reopened
}

} // namespace

int32_t init_database(void) {
    init_event_thread();
    open_fifo();
    for (;;) {
        if (sel_fifo_fd <= 0) {
            open_fifo();
            if (sel_fifo_fd < 0) {
                FEthreadSleep(5, 0);
                continue;
            }
        }
        const int ready = await_activity();
        const int wait_error = errno;
        reopen_if_removed();
        const next_step next = after_wait(ready, wait_error);
        if (next == next_step::leave) {
            return 0;
        }
        if (next == next_step::run_pass && fe_flag(&sel_init_complete) != 0) {
            cleanup_duplicate_events();
        }
    }
}
