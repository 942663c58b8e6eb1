#include <cstdio>

#include "tools/fault_list.h"
#include "tools/refused_list.h"
#include "tools/story_words.h"
#include "tools/view.h"

namespace {

void print_records(const story::Totals &totals) {
    printf("\nrecords    %6zu read: %zu processed, %zu ignored, %zu refused\n", totals.records, totals.processed,
           totals.ignored, totals.refused_in_all());
    if (totals.left_out != 0)
        printf("           %6zu left out because of the stop\n", totals.left_out);
}

void print_requests(const story::Totals &totals, const RequestsSeen &requests) {
    printf("requests   %6zu taken: %zu processed, %zu refused\n", requests.counts.taken, totals.requests_processed,
           totals.requests - totals.requests_processed);
    if (requests.counts.wrong_size != 0)
        printf("           %6zu dropped: not 52 bytes\n", requests.counts.wrong_size);
    if (const size_t left = requests.left + requests.counts.not_taken; left != 0)
        printf("           %6zu not taken before the stop\n", left);
}

void print_faults(const story::Totals &totals, size_t active) {
    if (totals.nothing_to_clear + totals.not_stored != 0)
        printf("           %6zu processed with nothing to clear, %zu not dispatched or not stored\n",
               totals.nothing_to_clear, totals.not_stored);
    printf("faults     %6zu created, %zu repeated, %zu cleared, %zu evicted, %zu active\n", totals.created,
           totals.repeated, totals.cleared, totals.evicted, active);
    if (totals.recovered != 0)
        printf("           %6zu of the cleared ones dropped because their sensors have recovered\n", totals.recovered);
}

class TextView : public View {
public:
    explicit TextView(const ViewOptions &) : changes_(terminal_width()) {}

    void change(const story::Change &change) override {
        if (!change.live)
            return;
        changes_.print(change);
        any_change_ = true;
    }
    void refused(const story::Refused &refused) override { refused_.add(refused); }
    void end(const story::Ending &ending, const RequestsSeen *requests) override {
        if (any_change_)
            putchar('\n');
        print_fault_list(ending.active, terminal_width());
        refused_.print(terminal_width());
        print_records(ending.totals);
        if (requests != nullptr)
            print_requests(ending.totals, *requests);
        print_faults(ending.totals, ending.active.size());
    }
    void table(const std::vector<story::Fault> &faults) override {
        print_fault_list(faults, terminal_width());
        printf("%zu active fault%s\n", faults.size(), faults.size() == 1 ? "" : "s");
    }

private:
    ChangeList changes_;
    RefusedList refused_;
    bool any_change_ = false;
};

} // namespace

std::unique_ptr<View> make_text_view(const ViewOptions &options) {
    return std::make_unique<TextView>(options);
}
