// A captured log through the engine.
#pragma once

#include <cstddef>
#include <optional>

#include "tools/capture.h"
#include "tools/engine_options.h"
#include "tools/view.h"

// The last `live` records go down the live road, the others through the start-up walk; without a number, those that the
// walk cannot take. Once in a process. Returns an exit code; throws Refusal, Failure and CaptureError.
int replay_capture(const CaptureFiles &files, EngineOptions engine, std::optional<size_t> live, View &view);
