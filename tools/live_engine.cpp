#include "tools/live_engine.h"

#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

#include "fault_engine/engine.h"
#include "fault_engine/sel.h"
#include "platform/fe_core/fe_core.h"
#include "platform/fe_core/fe_core_host.h"
#include "tools/engine_watch.h"
#include "tools/request_socket.h"
#include "tools/sel_fifo.h"

namespace {

[[noreturn]] void fail(const std::string &what) {
    throw std::runtime_error("the engine cannot start: " + what);
}

template <class Buffer>
bool is_published(Buffer *const &pointer) {
    return __atomic_load_n(&pointer, __ATOMIC_ACQUIRE) != nullptr;
}

} // namespace

void *LiveEngine::run_sel_side(void *engine) {
    watch_fifo_reader();
    init_database();
    static_cast<LiveEngine *>(engine)->sel_side_ended_ = true;
    return nullptr;
}

void LiveEngine::start_thread(StartFunction start_function, const pthread_t &id, const char *name) {
    if (start_function() != 0) {
        fail(std::string("no thread for the ") + name);
    }
    threads_.push_back(id);
}

void LiveEngine::start_sel_side() {
    if (const int error = pthread_create(&sel_thread_, nullptr, run_sel_side, this); error != 0) {
        fail(std::string("no thread for the SEL: ") + strerror(error));
    }
    sel_thread_runs_ = true;
}

void LiveEngine::start() {
    fe_core::take_requests_from(requests_.fd());
    init_sdr_lookup();
    start_thread(init_listener, fe_listener_thread_id, "listener");
    if (!is_published(fe_read_buf_struct_ptr)) {
        fail("no memory for the read buffer");
    }
    start_thread(init_broadcaster, fe_broadcaster_thread_id, "broadcaster");
    start_thread(init_fault_processor, fe_fault_processor_thread_id, "fault processor");
    if (!is_published(fe_write_buf_struct_ptr)) {
        fail("no memory for the write buffer");
    }
    start_sel_side();
}

bool LiveEngine::has_given_up() const {
    return sel_side_ended_ || fe_flag(&fe_not_running) != 0;
}

void LiveEngine::stop() {
    requests_.withdraw();
    fe_core::end_pauses();
    finish_record_in_hand();
    fe_core::stop();
    for (const pthread_t thread : threads_) {
        pthread_join(thread, nullptr);
    }
    threads_.clear();
    // The listener has set fe_not_running, which the SEL side sees at the next activity of its FIFO.
    if (std::exchange(sel_thread_runs_, false)) {
        records_.wake_reader();
        pthread_join(sel_thread_, nullptr);
    }
}
