#include "engine/thread_start.h"
#include "fault_engine/engine.h"
#include "platform/fe_core/fe_core.h"

pthread_t fe_broadcaster_thread_id;
pthread_attr_t fe_broadcaster_thread_attr;

namespace {

void *broadcaster(void *) {
    fe_init_broadcaster();
    return nullptr;
}

} // namespace

int32_t init_broadcaster(void) {
    return start_thread(&fe_broadcaster_thread_attr, &fe_broadcaster_thread_id, broadcaster);
}
