// A stream of events of a few parts with related codes, up to a full table and past it, with the clean-up passes between
// them.
#include "fuzz/input.h"
#include "support/neighbours.h"

namespace {

int32_t update(fe_write_buf &record) {
    fe_write_buf_struct block{};
    block.fe_write_buf = &record;
    return update_fe_database(&block);
}

bool is_known(const fe_write_buf &record) {
    const auto &codes = record.related_FaultCode.related_fc;
    for (const fe_table_entry *entry = fe_table_head_ptr; entry != nullptr; entry = entry->next) {
        const fe_write_buf &fault = entry->record;
        const bool is_related =
            fault.vemoFaultCode != 0 && std::count(codes + 1, std::end(codes), fault.vemoFaultCode) != 0;
        if (fault.entity_id == record.entity_id && fault.entity_instance == record.entity_instance &&
            (fault.vemoFaultCode == record.vemoFaultCode || is_related)) {
            return true;
        }
    }
    return false;
}

void take_event(Input &input) {
    constexpr uint8_t entities[] = {3, 29, 207, 208, 215, 216};
    fe_write_buf record;
    memset(static_cast<void *>(&record), input.number(), sizeof record); // texts often lack their NUL
    const uint8_t part = input.number(), codes = input.number(), related = input.number();
    record.entity_id = entities[part % std::size(entities)];
    record.entity_instance = part >> 6;
    record.vemoFaultCode = codes & 7;
    record.vemoFaultSeverity = (codes >> 3 & 7) - (codes >> 6 == 3 ? 8 : 0);
    record.sens_num = static_cast<uint32_t>(record.vemoFaultCode);
    for (int i = 1; i < FE_RELATED_CODES; ++i) {
        record.related_FaultCode.related_fc[i] = (related >> i & 1) * i;
    }
    const bool clears = record.vemoFaultSeverity == 0, known = is_known(record);
    const bool repeats_storage = known && record.entity_id >= 208 && record.entity_id <= 215;
    const uint32_t count = fe_fault_count, created = known ? 0 : 1;
    const int32_t result = update(record);
    require(fe_fault_count == (clears ? count + created - 1 : std::min<uint32_t>(count + created, FE_TABLE_MAX_FAULTS)),
            "a fault came, went or stayed");
    require(result == (clears ? (known ? 0 : -1) : repeats_storage ? 2 : 0), "the result says what was done");
    require(clears || memcmp(&fe_table_head_ptr->record, &record, sizeof record) == 0, "the record is the newest");
}

void fill_table(int32_t first) {
    for (int32_t i = 0; fe_fault_count < FE_TABLE_MAX_FAULTS; ++i) {
        fe_write_buf record{};
        record.entity_id = 4;
        record.entity_instance = first + i / 4;
        record.vemoFaultCode = i % 4;
        record.vemoFaultSeverity = FE_SEVERITY_MAJOR;
        update(record);
    }
}

} // namespace

// The input: for each of eight sensors type and state, then events and passes.
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    reset_world();
    world().keep_log = false;
    for (int32_t number = 0; number < 8; ++number) {
        world().sensors[number] = sensor(0, 0, 0, 8, input.number());
        world().readings[number] = input.number<uint16_t>();
    }
    for (int step = 0; !input.at_end(); ++step) {
        const uint8_t choice = input.number() % 32;
        sel_init_complete = choice == 5; // seldom, for files take long
        switch (choice) {
        case 0:
        case 1: cleanup_duplicate_events(); break;
        case 2:
        case 3: cleanup_deasserted_events(); break;
        case 4: fill_table(input.number()); break;
        default: take_event(input);
        }
        if (step % 16 != 0 && !input.at_end()) { // a full table takes long to look through
            continue;
        }
        const std::string wrong = broken_invariant();
        require(wrong.empty(), wrong.c_str());
    }
    return 0;
}
