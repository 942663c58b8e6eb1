#include <cstdio>

#include "tools/fault_list.h"
#include "tools/refused_list.h"
#include "tools/story_words.h"
#include "tools/view.h"

namespace {

void print_records(const story::Totals &totals) {
    printf("\nrecords    %6zu read: %zu processed, %zu ignored, %zu refused\n", totals.records, totals.processed,
           totals.ignored, totals.refused_in_all());
    if (totals.left_out != 0) {
        printf("           %6zu left out because of the stop\n", totals.left_out);
    }
}

void print_records_left(size_t records) {
    if (records != 0) {
        printf("           %6zu records left in the FIFO\n", records);
    }
}

void print_requests(const story::Totals &totals, const RequestsSeen &requests) {
    printf("requests   %6zu taken: %zu processed, %zu refused\n", requests.counts.taken, totals.requests_processed,
           totals.requests - totals.requests_processed);
    if (requests.counts.wrong_size != 0) {
        printf("           %6zu dropped: not 52 bytes\n", requests.counts.wrong_size);
    }
    if (requests.not_taken() != 0) {
        printf("           %6zu not taken before the stop\n", requests.not_taken());
    }
}

void print_faults(const story::Totals &totals, size_t active) {
    if (totals.nothing_to_clear + totals.not_stored != 0) {
        printf("           %6zu processed with nothing to clear, %zu not dispatched or not stored\n",
               totals.nothing_to_clear, totals.not_stored);
    }
    printf("faults     %6zu created, %zu repeated, %zu cleared, %zu evicted, %zu active\n", totals.created,
           totals.repeated, totals.cleared, totals.evicted, active);
    if (totals.recovered != 0) {
        printf("           %6zu of the cleared ones dropped because their sensors have recovered\n", totals.recovered);
    }
}

// What the stale pass took away.
void print_recovered(const std::vector<story::Fault> &faults, size_t line_width) {
    if (faults.empty()) {
        return;
    }
    printf("\ndropped, because their sensors have recovered:\n");
    print_fault_list(stdout, faults, line_width);
}

class TextView : public View {
public:
    explicit TextView(const ViewOptions &options)
        : options_(options), changes_(options.line_width()), refused_(options.refused == "all") {}

    void change(const story::Change &change) override {
        if (!options_.filter.passes(change)) {
            return;
        }
        if (change.live) {
            changes_.print(change);
            any_change_ = true;
        } else if (change.origin == story::Origin::stale_pass) {
            recovered_.push_back(*change.before);
        }
    }
    void refused(const story::Refused &refused) override {
        if (options_.refused != "none" && options_.filter.passes(refused)) {
            refused_.add(refused);
        }
    }
    void end(const story::Ending &ending, const RequestsSeen *requests) override {
        const size_t width = options_.line_width();
        if (any_change_) {
            putchar('\n');
        }
        print_fault_list(stdout, options_.filter.select(ending.active), width);
        print_recovered(recovered_, width);
        refused_.print(width);
        print_records(ending.totals);
        if (requests != nullptr) {
            print_records_left(requests->records_left);
            print_requests(ending.totals, *requests);
        }
        print_faults(ending.totals, ending.active.size());
    }
    void table(const std::vector<story::Fault> &faults) override {
        const std::vector<story::Fault> chosen = options_.filter.select(faults);
        print_fault_list(stdout, chosen, options_.line_width());
        printf("%zu active fault%s\n", chosen.size(), chosen.size() == 1 ? "" : "s");
    }

private:
    ViewOptions options_;
    ChangeList changes_;
    RefusedList refused_;
    std::vector<story::Fault> recovered_;
    bool any_change_ = false;
};

} // namespace

std::unique_ptr<View> make_text_view(const ViewOptions &options) {
    return std::make_unique<TextView>(options);
}
