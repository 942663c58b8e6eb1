// Passes on to the view what is news, and counts the records that came down the live road.
#pragma once

#include <atomic>

#include "platform/fe_core/fe_core.h"
#include "tools/story.h"

namespace bmc {

class NewsListener : public story::Listener {
public:
    // `with_walk` is false when a watch of before has told what the start-up walk would tell.
    NewsListener(story::Listener &view, bool with_walk) : view_(view), with_walk_(with_walk) {}

    void change(const story::Change &change) override {
        if (change.live || with_walk_) {
            view_.change(change);
        }
    }
    void refused(const story::Refused &refused) override {
        if (is_live() || with_walk_) {
            view_.refused(refused);
        }
    }
    void record_done() override { records_ += is_live(); }

    const std::atomic<size_t> &records() const { return records_; }

private:
    static bool is_live() { return fe_flag(&sel_init_complete) != 0; }

    story::Listener &view_;
    bool with_walk_;
    std::atomic<size_t> records_ = 0;
};

} // namespace bmc
