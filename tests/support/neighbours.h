// The library's neighbours as the tests want them: every call is answered from `world()` and recorded there. They are
// compiled into the test program, which thereby stands in for the three closed libraries.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "fault_engine/engine.h"
#include "fault_engine/fault_table.h"
#include "fault_engine/sel.h"
#include "platform/entity_filter/entity_filter.h"
#include "platform/fe_core/fe_core.h"
#include "platform/ipmi_access/ipmi_access.h"
#include "support/scoped.h"

struct WorldState {
    // What happened. Calls of fe_logger are in `log` alone; every other call of a neighbour also puts its name into
    // `calls`, so that the order of steps can be compared.
    std::vector<std::string> log;
    std::vector<std::string> calls;
    std::vector<fe_write_buf> broadcasts; // the working record at each broadcast
    std::vector<int32_t> sleeps;          // seconds; nobody really sleeps
    bool keep_log = true;
    std::function<void(const std::string &line)> on_log;

    // Entity filter. Unset: every handler copies the request's identity fields, sensor name and number into the record
    // and returns 0.
    std::function<int32_t(const std::string &handler, fe_read_buf &, fe_write_buf_struct &)> dispatch;

    // Sensors: a number without an entry fails.
    std::map<int32_t, sensor_data_record> sensors;
    std::map<int32_t, uint32_t> readings;
    std::function<void(int32_t sensor_number)> on_reading; // runs before a reading is answered or refused

    // Text of a SEL record.
    int32_t attach_result = 0, text_result = 0, detach_result = 0;
    std::string event_text; // copied into the 256 bytes of the event text; NUL-terminated only where it is shorter
    std::vector<sel_entry_fields> fields; // as given to IPMI_SELGetHVDBSELData

    // The SEL as SELTotalSEL and DecodeSel serve it. Unset `decode`: chunks of `sel` as asked for, record ids from 1.
    // A size or request word other than the agreed ones fails.
    int32_t total_result = 0;
    std::vector<sel_list_entry> sel;
    std::function<int32_t(uint8_t *area, uint16_t start, uint16_t count, uint32_t *decoded)> decode;
    std::vector<std::pair<uint16_t, uint16_t>> chunk_requests; // start record id, count

    // Extended records. Unset: the text of a time stamp, and `event_text` as above.
    std::function<int32_t(char *timestamp, uint16_t *length, char *event, uint8_t *flag_1, uint8_t *flag_2,
                          int32_t sensor_number)>
        entry_to_str;
    std::string date_text; // copied into the 32 bytes of the date; NUL-terminated only where it is shorter

    // Core library loops and broadcast; unset: fe_init_interface returns at once.
    std::function<void(fe_read_buf_struct *)> listen;
    std::function<void(fe_write_buf_struct *)> on_broadcast; // runs after the broadcast is recorded
    std::function<void(int32_t seconds)> on_sleep;           // runs after the sleep is recorded
};

// The functions above are called without the lock, and neighbours' calls never count for FailCall and CallTrace.
struct World : WorldState {
    std::recursive_mutex lock; // guards all of the above while threads of the engine run
};

World &world();

// A fresh world, all flags of the core library 0, the instance floor all 1, an empty fault table (its entries freed).
void reset_world();

// A sensor data record as the sensor library would fill it.
sensor_data_record sensor(uint32_t number, uint32_t entity_id, uint32_t entity_instance, uint32_t sensor_type,
                          uint32_t event_type);

// A write buffer of the test's own, published in fe_write_buf_struct_ptr for as long as it lives.
struct WriteBuffer : Scoped {
    WriteBuffer() { fe_write_buf_struct_ptr = &block; }
    ~WriteBuffer() { fe_write_buf_struct_ptr = nullptr; }
    fe_write_buf record{};
    fe_write_buf_struct block{&record, PTHREAD_MUTEX_INITIALIZER, {}};
};

// The index: its entries in order, the number of its entities and instances, and whether none of those is empty or there
// twice and each entry is under its own keys. The caller keeps others from the table.
struct TableIndex {
    std::vector<const fe_table_entry *> entries;
    size_t levels = 0;
    bool is_sound = true;
};
TableIndex table_index();

inline bool is_free(pthread_mutex_t &mutex) {
    return pthread_mutex_trylock(&mutex) == 0 && pthread_mutex_unlock(&mutex) == 0;
}

// Empty when the fault table keeps its invariants (index and chain agree, no empty level, count right), else what is
// wrong. Takes fe_table_mutex.
std::string broken_invariant();
