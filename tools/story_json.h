// The values of a story as JSON; docs/output.md names the keys.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "tools/story.h"

namespace story {

nlohmann::ordered_json to_json(const Change &change);
nlohmann::ordered_json to_json(const Fault &fault); // an active one
nlohmann::ordered_json to_json(const Refused &refused);
nlohmann::ordered_json to_json(const Ending &ending); // the summary

// ISO 8601 in UTC; null for none and for times since start.
nlohmann::ordered_json time_to_json(std::optional<uint32_t> time);

} // namespace story
