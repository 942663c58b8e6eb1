// SEL records on both roads, the start-up walk and the clean-up passes, between neighbours that answer from the input.
#include "fuzz/input.h"
#include "platform/ipmi_access/ipmi_access.h"
#include "support/neighbours.h"

namespace {

class Engine {
public:
    explicit Engine(Input &bytes) : input(bytes) {
        reset_world();
        world().keep_log = false;
        world().dispatch = [this](const std::string &, fe_read_buf &request, fe_write_buf_struct &wbuf) {
            return filter(request, *wbuf.fe_write_buf);
        };
        world().decode = [this](uint8_t *area, uint16_t, uint16_t, uint32_t *decoded) {
            return decode(*static_cast<sel_decode_area *>(static_cast<void *>(area)), *decoded);
        };
        world().entry_to_str = [this](char *timestamp, uint16_t *length, char *event, auto...) {
            memcpy(timestamp, input.text(32).data(), 32);
            *length = input.number<uint16_t>();
            memcpy(event, world().event_text.data(), world().event_text.size());
            return input.result();
        };
    }
    ~Engine() { reset_world(); }

    void step() {
        const uint8_t choice = input.number();
        switch (choice % 8) {
        case 0: set_state(); break;
        case 1: set_sensor(); break;
        case 2: set_text(); break;
        case 3: set_fault(); break;
        case 4: take_record<sel_record>(process_sel_data); break;
        case 5: take_record<super_sel_rec>(process_super_sel_data); break;
        case 6: cleanup_duplicate_events(); break;
        case 7: choice == 0xFF ? walk() : cleanup_deasserted_events(); break; // a walk seldom, for it takes long
        }
        check();
    }

private:
    void set_state() {
        const unsigned flags = input.number();
        sel_init_complete = (flags & 1) != 0;
        fe_write_buf_struct_ptr = (flags & 2) != 0 ? nullptr : &buffer.block;
        std::fill(std::begin(fe_sdr_instance_array), std::end(fe_sdr_instance_array), (flags & 4) == 0);
    }

    // Words are small numbers but for the top bit of the choice.
    void set_sensor() {
        const uint8_t number = input.number(), choice = input.number();
        sensor_data_record sensor{};
        for (uint32_t *word : {&sensor.sensor_number, &sensor.entity_id, &sensor.entity_instance, &sensor.sensor_type,
                               &sensor.event_type}) {
            *word = (choice & 0x80) != 0 ? input.number<uint32_t>() : input.number();
        }
        world().sensors[number] = sensor;
        world().readings[number] = input.number<uint16_t>();
        if ((choice & 1) != 0) {
            world().sensors.erase(number);
        }
        if ((choice & 2) != 0) {
            world().readings.erase(number);
        }
    }

    void set_text() {
        world().event_text = input.text(sizeof sel_text_rec::event);
        world().date_text = input.text(sizeof sel_text_rec::date);
        world().attach_result = input.result();
        world().text_result = input.result();
        world().detach_result = input.result();
    }

    // What the filter adds to the request; texts may lack their NUL.
    void set_fault() {
        memset(static_cast<void *>(&fault), input.number(), sizeof fault);
        fault.vemoFaultCode = input.number<uint16_t>();
        const unsigned related = input.number();
        for (unsigned i = 1; i < FE_RELATED_CODES; ++i) {
            fault.related_FaultCode.related_fc[i] = static_cast<int32_t>((related >> i & 1) * i);
        }
        filter_choice = input.number();
    }

    int32_t filter(fe_read_buf &request, fe_write_buf &record) const {
        record = fault;
        memcpy(static_cast<void *>(&record), &request, sizeof request);
        if ((filter_choice & 0x80) != 0) {
            request.vemoFaultSeverity = filter_choice - 0xC0;
        }
        constexpr int32_t results[] = {0, 0, 2, -1};
        return results[filter_choice & 3];
    }

    void walk() {
        world().sel.resize(input.number<uint16_t>() % 1100);
        world().total_result = input.result();
        populate_all_sel_events();
    }

    int32_t decode(sel_decode_area &area, uint32_t &decoded) {
        sel_list_entry passed_over{};
        passed_over.record.sensor_type = 0x10;
        std::ranges::fill(area.entries, passed_over);
        const std::string bytes = input.bytes(sizeof area.entries[0] * (input.number() % 4));
        memcpy(static_cast<void *>(area.entries), bytes.data(), bytes.size());
        decoded = input.number<uint32_t>();
        area.next_record_id = input.number<uint16_t>();
        return input.result();
    }

    template <class Record>
    void take_record(int32_t (*process)(const uint8_t *)) {
        const auto record = input.number<Record>();
        const int32_t result = process(reinterpret_cast<const uint8_t *>(&record));
        require(std::ranges::count(std::array{0, -1, -2, -102, -105, -108}, result) == 1, "the result is one of these");
    }

    void check() {
        static const fe_write_buf zero{};
        require(is_free(fe_table_mutex) && is_free(buffer.block.fe_write_buf_mutex), "all is unlocked");
        require(memcmp(&buffer.record, &zero, sizeof zero) == 0, "the working record is zero");
        const std::string wrong = broken_invariant();
        require(wrong.empty(), wrong.c_str());
    }

    Input &input;
    WriteBuffer buffer;
    fe_write_buf fault{};
    uint8_t filter_choice = 0;
};

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    Engine engine(input);
    while (!input.at_end()) {
        engine.step();
    }
    return 0;
}
