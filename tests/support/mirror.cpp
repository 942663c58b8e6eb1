#include "support/mirror.h"

#include <atomic>
#include <optional>

#include <dlfcn.h>

namespace {

Mirror *mirror;
Threads mirrored_threads;
std::atomic<bool> counts_are_known; // until a change comes that no mirror follows
std::array<int, 4> storage_counts;

// What a thread does to the table: the lines that it has logged, and what is to happen at the first.
struct InHand : OfThread<InHand> {
    explicit InHand(std::function<void()> function) : at_first_line(std::move(function)) {}
    const std::function<void()> at_first_line;
    Lines lines;
};

// The updates that came while a stale pass read its sensors, for the model to make at the same point of its own pass.
struct Pass : OfThread<Pass> {
    struct Update {
        int reading;
        fe_write_buf given, left;
        int32_t result;
    };
    std::vector<Update> updates;
    int readings = 0;
    Lines lines;
};

// The library's own. A call of it without a mirror leaves its counters unknown.
template <auto *function>
auto library_function(const char *name) {
    const Disarmed disarmed;
    if (mirror == nullptr) {
        counts_are_known = false;
    }
    static const auto found = reinterpret_cast<decltype(function)>(dlsym(RTLD_NEXT, name));
    return found;
}

void expect(bool holds, const std::string &what) {
    if (!holds) {
        report_difference(what);
    }
}

void expect_lines(const Lines &logged, const Lines &said) {
    for (size_t i = 0; i < std::max(logged.size(), said.size()); ++i) {
        const std::string one = i < logged.size() ? logged[i] : "nothing\n",
                          other = i < said.size() ? said[i] : "nothing\n";
        expect(one == other, std::string("logged is ").append(one).append("instead of ").append(other));
    }
}

// Runs the library's change, and the model's at the first line of it. With one thread, a change that logs none is followed
// behind it.
template <typename Library, typename Change>
void run_mirrored(const Library &library, const Change &change) {
    std::optional<Disarmed> disarmed(std::in_place);
    Lines said;
    InHand in_hand([&] {
        mirror->model.said.clear();
        change(mirror->model);
        said = mirror->model.said;
    });
    disarmed.reset();
    library();
    disarmed.emplace();
    if (in_hand.lines.empty() && mirrored_threads == Threads::one) {
        in_hand.at_first_line();
    }
    expect_lines(in_hand.lines, said);
}

int32_t mirrored_update(fe_write_buf_struct *wbuf, decltype(&update_fe_database) library_update) {
    fe_write_buf &record = *wbuf->fe_write_buf, expected = record;
    int32_t result = 0, expected_result = 0;
    run_mirrored([&] { result = library_update(wbuf); },
                 [&](Model &model) { expected_result = model.update(expected); });
    const Disarmed disarmed;
    expect(result == expected_result && record == expected, "an update leaves another record or result");
    return result;
}

// An update that the test makes inside a stale pass; the model makes it when it follows the pass.
int32_t update_inside(Pass &pass, fe_write_buf_struct *wbuf, decltype(&update_fe_database) library_update) {
    const fe_write_buf given = *wbuf->fe_write_buf;
    const int32_t result = library_update(wbuf);
    pass.updates.push_back({pass.readings, given, *wbuf->fe_write_buf, result});
    return result;
}

// After the library's pass the model makes its own, with the updates at the readings at which they came.
void follow_stale_pass(const Pass &pass) {
    Model &model = mirror->model;
    model.said.clear();
    int reading = 0;
    model.cleanup_deasserted([&](int32_t) {
        ++reading;
        for (const auto &[moment, given, left, result] : pass.updates) {
            fe_write_buf record = given;
            if (moment == reading) {
                expect(model.update(record) == result && record == left, "an update inside a stale pass");
            }
        }
    });
    expect(reading == pass.readings, "a stale pass reads " + std::to_string(pass.readings) + " sensors");
    expect_lines(pass.lines, model.said);
}

void follow_clearing(const char *line) {
    unsigned entity = 0, instance = 0, code = 0;
    if (sscanf(line, "Clear the fault found (%u/%u/curr:%u-", &entity, &instance, &code) == 3) {
        mirror->model.clear_stale(static_cast<uint8_t>(entity), static_cast<int32_t>(instance),
                                  static_cast<int32_t>(code));
    }
}

void pass_over_stale(decltype(&cleanup_deasserted_events) library_pass) {
    std::optional<Disarmed> disarmed(std::in_place);
    Pass pass;
    disarmed.reset();
    library_pass();
    disarmed.emplace();
    if (mirrored_threads == Threads::one) {
        follow_stale_pass(pass);
    }
}

} // namespace

Mirror::Mirror(const Sandbox &sandbox, Threads threads) : sandbox_(sandbox) {
    if (!counts_are_known) {
        learn_storage_counts();
    } else {
        model.storage = storage_counts;
    }
    for (auto &[name, content] : model.files) {
        content = sandbox_.bytes(name);
    }
    mirrored_threads = threads;
    mirror = this;
}

// The library's counters live as long as the process, and only whether they are 0 is seen: moves one fault after the
// other, created in one band and cleared in another, until all are 0 but the last, and that one is known.
void Mirror::learn_storage_counts() {
    const auto move = [](int32_t from, int32_t to) { // counted in the band of `to`, uncounted in that of `from`
        for (const int32_t step : {to, from, 0}) {
            put({208, 1, 1, step});
        }
    };
    const auto is_set = [this](int bit) { return (sandbox_.bytes("stor_stat")[0] & bit) != 0; };
    for (move(3, 1); is_set(0x04);) {
        move(3, 1);
    }
    while (is_set(0x08)) {
        move(5, 1);
    }
    for (; is_set(0x01); ++model.storage[3]) {
        move(1, 5);
    }
}

Mirror::~Mirror() {
    storage_counts = model.storage;
    counts_are_known = true;
    mirror = nullptr;
}

void Mirror::compare() {
    pthread_mutex_lock(&fe_table_mutex);
    const std::string broken = broken_table();
    const auto is_at = [](const fe_table_entry *entry, Model::Place place) { return entry->record == *place; };
    expect(broken.empty(), broken);
    expect(std::ranges::equal(chain(), model.chain), "the chain is another");
    expect(std::ranges::equal(table_index().entries, model.index, is_at), "the index is another");
    for (const auto &[name, content] : model.files) {
        expect(sandbox_.bytes(name) == content, name + " is another");
    }
    pthread_mutex_unlock(&fe_table_mutex);
}

void mirror_line(const char *line) {
    if (InHand::current != nullptr) {
        if (InHand::current->lines.empty()) {
            InHand::current->at_first_line();
        }
        expect(mirrored_threads == Threads::many || !is_free(fe_table_mutex), "a change is logged outside the lock");
        InHand::current->lines.emplace_back(line);
    } else if (Pass::current != nullptr) {
        Pass::current->lines.emplace_back(line);
        if (mirrored_threads == Threads::many) {
            follow_clearing(line);
        }
    }
}

void mirror_reading() {
    if (Pass::current != nullptr) {
        ++Pass::current->readings;
    }
}

// Exports of the library, which calls them as anybody else would.
int32_t update_fe_database(fe_write_buf_struct *wbuf) {
    const auto library = library_function<&update_fe_database>("update_fe_database");
    const int32_t result = mirror == nullptr          ? library(wbuf)
                           : Pass::current == nullptr ? mirrored_update(wbuf, library)
                                                      : update_inside(*Pass::current, wbuf, library);
    tell("update", result == 0 ? "=0" : result == 2 ? "=2" : result == -1 ? "=-1" : "=?");
    return result;
}

void cleanup_duplicate_events() {
    const auto library = library_function<&cleanup_duplicate_events>("cleanup_duplicate_events");
    tell("duplicates", fe_flag(&sel_init_complete) != 0 ? "" : "=early");
    mirror == nullptr ? library() : run_mirrored(library, [](Model &model) { model.cleanup_duplicates(); });
}

void cleanup_deasserted_events() {
    const auto library = library_function<&cleanup_deasserted_events>("cleanup_deasserted_events");
    tell("stale");
    mirror == nullptr ? library() : pass_over_stale(library);
}
