// SEL records on both roads, the start-up walk and the clean-up passes, between neighbours that answer from the input.
#include "fuzz/target.h"
#include "platform/ipmi_access/ipmi_access.h"
#include "support/table_steps.h"

namespace {

class Engine {
public:
    explicit Engine(Choices &choices) : choose(choices) {
        reset_world();
        world().dispatch = [this](fe_read_buf &request, fe_write_buf_struct &wbuf) { return filter(request, wbuf); };
        world().decode = [this](uint8_t *area, uint32_t *decoded) { return decode(area, *decoded); };
    }
    ~Engine() { reset_world(); }

    void step() {
        switch (choose.below(8)) {
        case 0: set_state(); break;
        case 1: set_sensor(); break;
        case 2: set_text(); break;
        case 3: choose.one_in(8) ? walk() : cleanup_duplicate_events(); break;
        case 4: cleanup_deasserted_events(); break;
        case 5: take_record<super_sel_rec>(process_super_sel_data); break;
        default: take_record<sel_record>(process_sel_data);
        }
        static const fe_write_buf zero{};
        require(is_free(fe_table_mutex) && is_free(buffer.block.fe_write_buf_mutex), "all is unlocked");
        require(buffer.record == zero, "the working record is zero");
        require(broken_invariant().empty(), "the table is sound");
        world().log.clear();
    }

private:
    int32_t result() { return choose.one_in(32) ? -1 : 0; } // of the neighbours
    template <typename Number>
    Number number() {
        Number value{};
        for (size_t i = 0; i < sizeof value; ++i) {
            reinterpret_cast<uint8_t *>(&value)[i] = choose.byte();
        }
        return value;
    }
    // Some bytes of text, then one and the same to the end of the field: often not NUL.
    std::string text(size_t size) {
        std::string field(size, static_cast<char>(choose.byte()));
        std::generate_n(field.begin(), choose.below(static_cast<uint32_t>(size)),
                        [this] { return static_cast<char>(choose.byte()); });
        return field;
    }

    void set_state() {
        sel_init_complete = choose.of({0, 1});
        fe_write_buf_struct_ptr = choose.one_in(4) ? nullptr : &buffer.block;
        std::fill(std::begin(fe_sdr_instance_array), std::end(fe_sdr_instance_array), choose.of({0, 1}));
    }
    void set_sensor() {
        const uint8_t sensor_number = choose.byte();
        const bool has_wide_words = choose.one_in(4);
        const auto word = [&] { return has_wide_words ? number<uint32_t>() : choose.byte(); };
        world().sensors[sensor_number] = sensor(word(), word(), word(), word(), word());
        world().readings[sensor_number] = number<uint16_t>();
        choose.one_in(8)   ? world().sensors.erase(sensor_number)
        : choose.one_in(8) ? world().readings.erase(sensor_number)
                           : 0;
    }
    void set_text() {
        world().event_text = text(sizeof sel_text_rec::event);
        world().date_text = text(sizeof sel_text_rec::date);
        world().time_stamp = text(32);
        world().time_stamp_length = number<uint16_t>();
        world().attach_result = result();
        world().text_result = result();
        world().detach_result = result();
    }

    int32_t filter(fe_read_buf &request, fe_write_buf_struct &wbuf) {
        fe_write_buf &record = *wbuf.fe_write_buf;
        choose.fill(&record, sizeof record); // texts may lack their NUL
        memcpy(static_cast<void *>(&record), &request, sizeof request);
        record.vemoFaultCode = choose.byte();
        for (int32_t &related : record.related_FaultCode.related_fc) {
            related = choose.of({0, 1, 2, 3, 4, 5, 6, 7});
        }
        request.vemoFaultSeverity = choose.one_in(8) ? number<int32_t>() : request.vemoFaultSeverity;
        return choose.of({0, 0, 2, -1});
    }
    void walk() {
        world().sel.resize(number<uint16_t>() % 1100);
        world().total_result = result();
        populate_all_sel_events();
    }
    int32_t decode(uint8_t *bytes, uint32_t &decoded) {
        auto &area = *static_cast<sel_decode_area *>(static_cast<void *>(bytes));
        sel_list_entry passed_over{};
        passed_over.record.sensor_type = 0x10;
        std::ranges::fill(area.entries, passed_over);
        std::generate_n(area.entries, choose.below(4), [this] { return number<sel_list_entry>(); });
        decoded = number<uint32_t>();
        area.next_record_id = number<uint16_t>();
        return result();
    }
    template <class AnyRecord>
    void take_record(int32_t (*process)(const uint8_t *)) {
        const auto record = number<AnyRecord>();
        const int32_t got = process(reinterpret_cast<const uint8_t *>(&record));
        require(std::ranges::count(std::array{0, -1, -2, -102, -105, -108}, got) == 1, "the result is one of these");
    }

    Choices &choose;
    WriteBuffer buffer;
};

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const Sandbox sandbox;
    Choices choices(std::span(data, size));
    Engine engine(choices);
    const Mirror mirror(sandbox);
    while (!choices.at_end()) {
        engine.step();
    }
    return 0;
}
