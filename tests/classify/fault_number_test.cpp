#include <gtest/gtest.h>

#include "classify/event_oracle.h"

namespace {

// Every event with every entity once; which of the two directions it has alternates.
TEST(FaultNumber, IsChosenByTheEntityOfTheRequest) {
    for_entities(all_types(), 2, fault_num_agrees);
}

// Called by itself a family knows the sensor's entity alone. The two directions share the values of event data 3.
TEST(FaultNumber, OfEachFamilyFollowsItsTable) {
    for (size_t family = 0; family < families.size(); family++) {
        for_events(all_types(), [&](const Event &event) { return family_agrees(family, event); });
        for_events(named_types, [&](Event event) {
            for (unsigned word : {8U, 25U, 32U, 3U, 0x108U, 0xFFFFFF19U})
                for (int turn = 0; turn < 8; turn++) {
                    event.entity_word = word;
                    event.instance = instances[turn];
                    event.data3 = static_cast<uint8_t>((event.data3 & 0xF0) | event.direction << 3 | turn);
                    if (!family_agrees(family, event))
                        return false;
                }
            return true;
        });
    }
}

} // namespace
