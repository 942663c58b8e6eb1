#include "support/table_steps.h"

#include "fault_engine/classify.h"

// Every byte is junk but for the keys, which come from few values, the severity and the sensor.
fe_write_buf TableSteps::record() {
    fe_write_buf r;
    choose.fill(&r, sizeof r);
    r.entity_id = choose.of<uint8_t>({3, 207, 208, 215, 216});
    r.entity_instance = static_cast<int32_t>(choose.below(instances)) - 1;
    r.vemoFaultCode = code();
    r.vemoFaultSeverity = choose.one_in(clears_every) ? 0 : choose.of<int32_t>({0, 1, 2, 3, 4, 5, 6, 7, -1});
    r.sens_num = sensor_number();
    for (int32_t &related : r.related_FaultCode.related_fc) {
        related = choose.one_in(2) ? code() : 0;
    }
    if (choose.one_in(2)) {
        lookup_fill_related_threshold_fault_code(&r);
    }
    r.Fault_time = choose.of<int32_t>({0, 1, -1, r.Fault_time});
    r.Previous_Fault_time = choose.of<int32_t>({0, r.Previous_Fault_time});
    for (char *const text : {r.TimeOfEvent, r.PreviousTimeOfEvent}) { // one in three stays junk, mostly without a NUL
        if (!choose.one_in(3)) {
            text[choose.of({0, 1, 17, 30, 31})] = '\0';
        }
    }
    return r;
}

void TableSteps::change_a_sensor() {
    const auto number = static_cast<int32_t>(sensor_number());
    world().sensors[number] =
        sensor(9, 3, 1, choose.of<uint32_t>({7, 8, 0x108}), choose.of<uint32_t>({1, 4, 10, 111, 112, 0x80000001}));
    world().readings[number] = choose.of<uint32_t>({0, 1, 3, 0x100, 0x200, 0x400, 0xFE00, 0x80000200});
    if (choose.one_in(3)) {
        world().readings.erase(number);
    } else if (choose.one_in(6)) {
        world().sensors.erase(number);
    }
}

void TableSteps::run(const std::function<void()> &step) const {
    if (with_failing_call) {
        with_failing_call(mirror_.model, step);
    } else {
        step();
    }
}

void TableSteps::update_once() {
    fe_write_buf r = record();
    run([&r] { update(r); });
}

// While a sensor is read, some faults are cleared, or one is updated, or one of the sensor's is raised again.
void TableSteps::pass_over_stale() {
    std::vector<fe_write_buf> meanwhile;
    for (uint32_t n = choose.below(3); n > 0 && !mirror_.model.chain.empty(); --n) {
        const auto size = static_cast<uint32_t>(mirror_.model.chain.size());
        meanwhile.push_back(*std::next(mirror_.model.chain.begin(), static_cast<std::ptrdiff_t>(choose.below(size))));
        meanwhile.back().vemoFaultSeverity = 0;
    }
    if (meanwhile.empty()) {
        meanwhile = {record()};
    }
    int readings = 0;
    const int moment = static_cast<int>(choose.below(6));
    const bool raises_again = choose.one_in(2);
    world().on_reading = [&](int32_t number) {
        if (readings++ == moment) {
            const auto fault =
                std::ranges::find(mirror_.model.chain, static_cast<uint32_t>(number), &fe_write_buf::sens_num);
            if (raises_again && fault != mirror_.model.chain.end()) {
                meanwhile = {*fault};
            }
            std::ranges::for_each(meanwhile, update);
        }
    };
    run(cleanup_deasserted_events);
    world().on_reading = nullptr;
}

void TableSteps::step() {
    change_a_sensor();
    switch (choose.below(24)) {
    case 0: run(cleanup_duplicate_events); break;
    case 1:
    case 2: pass_over_stale(); break;
    default: update_once();
    }
    world().log.clear();
}
