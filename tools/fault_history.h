// The histories of the faults in the engine's table, kept beside it: whether an update created or repeated a fault, which
// one it cleared, and which one had to go for it.
#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include "fault_engine/fault_table.h"
#include "tools/story.h"

namespace story {

// All calls under one lock of the caller's, which is also held over the engine's change of the table. Takes
// fe_table_mutex.
class FaultHistory {
public:
    // The entry that a new fault would evict, or null. Before an update.
    static const fe_table_entry *next_to_be_evicted();

    struct Update {
        ChangeKind kind;
        std::optional<Fault> before;
        Fault after;
        std::optional<Fault> evicted;
    };
    // After an update that changed the table. `record` is the one that was given to it, `oldest` what
    // next_to_be_evicted() said, `event` and `time` those of the SEL record, if it was one.
    Update update(const fe_write_buf &record, const fe_table_entry *oldest,
                  const std::optional<ipmi_access::Event> &event, std::optional<uint32_t> time);

    // After a clean-up pass: the faults that are gone.
    std::vector<Fault> remove_missing();

    // Newest first.
    std::vector<Fault> active() const;

private:
    struct Tracked {
        const fe_table_entry *entry;
        Fault fault;
    };
    using Faults = std::vector<Tracked>;

    using Groups = std::unordered_map<uint64_t, Faults>; // by key_of(); none is empty

    std::optional<Fault> take(Groups::iterator group, Faults::iterator at);
    std::optional<Fault> take_cleared(const fe_write_buf &record);
    std::optional<Fault> take_evicted(const fe_table_entry *entry);
    const Fault *find(const fe_table_entry *entry) const;

    Groups by_instance_;
};

} // namespace story
