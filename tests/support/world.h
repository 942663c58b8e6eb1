// The library's neighbours as the tests want them: every call is answered from `world()` and told there.
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
#include "platform/fe_core/fe_core.h"
#include "platform/fe_core/fe_core_host.h"
#include "platform/ipmi_access/ipmi_access.h"
#include "support/scoped.h"

using Lines = std::vector<std::string>;

struct WorldState {
    // What happened: the lines of the log, and in their order, behind "> ", what the neighbours and the exported
    // functions of the table were called for, with "*" while the write buffer is locked and "#" while the table is.
    Lines log;
    std::vector<fe_write_buf> broadcasts;               // the working record at each broadcast
    enum { all, log_alone, nothing } keeps = log_alone; // `nothing` is for many threads: then no lock is taken

    // Entity filter. Unset: every handler copies the request's identity fields, sensor name and number into the record
    // and returns 0.
    std::function<int32_t(fe_read_buf &, fe_write_buf_struct &)> dispatch;

    // Sensors: a number without an entry fails.
    std::map<int32_t, sensor_data_record> sensors;
    std::map<int32_t, uint32_t> readings;
    std::function<void(int32_t sensor_number)> on_reading; // runs before a reading is answered or refused

    // Text of a SEL record.
    int32_t attach_result = 0, text_result = 0, detach_result = 0;
    std::string event_text; // copied into the 256 bytes of the event text; NUL-terminated only where it is shorter

    // The SEL as SELTotalSEL and DecodeSel serve it. Unset `decode`: chunks of `sel` as asked for, record ids from 1.
    // A size or request word other than the agreed ones fails.
    int32_t total_result = 0;
    std::vector<sel_list_entry> sel;
    std::function<int32_t(sel_decode_area &area)> decode;

    // Extended records: the text of the time stamp, with its length, and what becomes of the date.
    std::string time_stamp = "1700000000";
    int time_stamp_length = 11;
    std::string date_text; // copied into the 32 bytes of the date; NUL-terminated only where it is shorter

    // Core library; unset: fe_init_interface returns at once.
    std::function<void(fe_read_buf_struct *)> listen;
    std::function<void(fe_write_buf_struct *)> on_broadcast;
    std::function<void(int32_t seconds)> on_pause;
    std::function<void(const std::string &line)> on_log;
};

// The functions above are called without the lock. Calls that they and the neighbours make count neither for FailCall nor
// for CallTrace.
struct World : WorldState {
    std::recursive_mutex lock; // guards all of the above while threads of the engine run, but for `nothing`
};

World &world();

// A fresh world, all flags of the core library 0, the instance floor all 1, an empty fault table (its entries freed).
void reset_world();

// Tells a word, and what belongs to it, if the world keeps all.
void tell(std::string_view word, std::string_view rest = "");

// The words told, with a blank before each.
std::string story();
std::string log_text();

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

inline bool is_free(pthread_mutex_t &mutex) {
    return pthread_mutex_trylock(&mutex) == 0 && pthread_mutex_unlock(&mutex) == 0;
}
