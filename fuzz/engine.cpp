// SEL records on both roads, the start-up walk and the clean-up passes, between neighbours that answer from the input.
#include "fuzz/target.h"
#include "support/table_steps.h"

namespace {

std::optional<Choices> input;

template <typename Number>
Number number() {
    Number value{};
    std::generate_n(reinterpret_cast<uint8_t *>(&value), sizeof value, [] { return input->byte(); });
    return value;
}

// Some bytes of text, then one and the same to the end of the field: often not NUL.
std::string text(size_t size) {
    std::string field(size, static_cast<char>(input->byte()));
    const std::string start = input->bytes(input->below(static_cast<uint32_t>(size)));
    return field.replace(0, start.size(), start);
}

int32_t filter(fe_read_buf &request, fe_write_buf_struct &wbuf) {
    fe_write_buf &record = *wbuf.fe_write_buf;
    input->fill(&record, sizeof record); // texts may lack their NUL
    memcpy(static_cast<void *>(&record), &request, sizeof request);
    record.vemoFaultCode = input->byte();
    request.vemoFaultSeverity = input->one_in(8) ? number<int32_t>() : request.vemoFaultSeverity;
    return input->of({0, 0, 2, -1});
}

int32_t decode(sel_decode_area &area) {
    std::generate_n(area.entries, input->below(4), number<sel_list_entry>);
    area.decoded_last = number<uint32_t>();
    area.next_record_id = number<uint16_t>();
    return input->of({0, 0, 0, -1});
}

void change_the_world() {
    sel_init_complete = input->of({0, 1});
    const uint8_t sensor_number = input->byte();
    const auto word = [wide = input->one_in(4)] { return wide ? number<uint32_t>() : input->byte(); };
    world().sensors[sensor_number] = sensor_data_record{{}, word(), word(), word(), word(), word(), {}};
    world().readings[sensor_number] = number<uint16_t>();
    std::fill(std::begin(fe_sdr_instance_array), std::end(fe_sdr_instance_array), input->of({0, 1}));
    world().event_text = text(sizeof sel_text_rec::event);
    world().date_text = text(sizeof sel_text_rec::date);
    world().time_stamp = text(32);
    world().time_stamp_length = number<uint16_t>();
    world().text_result = input->of({0, 0, 0, -1});
    world().sel.resize(number<uint16_t>() % 1100);
}

void step() {
    switch (input->below(8)) {
    case 0: change_the_world(); break;
    case 1: cleanup_duplicate_events(); break;
    case 2: cleanup_deasserted_events(); break;
    case 3: process_super_sel_data(reinterpret_cast<const uint8_t *>(input->bytes(24).append(24, '\1').data())); break;
    case 4: populate_all_sel_events(); break;
    default: process_sel_data(reinterpret_cast<const uint8_t *>(input->bytes(16).append(16, '\2').data()));
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const Sandbox sandbox;
    input.emplace(std::span(data, size));
    reset_world();
    WriteBuffer buffer;
    world().dispatch = filter;
    world().decode = decode;
    Mirror mirror(sandbox);
    while (!input->at_end()) {
        step();
        require(is_free(fe_table_mutex) && is_free(buffer.block.fe_write_buf_mutex), "all is unlocked");
        require(buffer.record == fe_write_buf{} && broken_invariant().empty(),
                "the record is zero and the table is sound");
        world().log.clear();
    }
    mirror.compare();
    reset_world();
    return 0;
}
