#pragma once

#include <cstdint>

// Of update_fe_database(), for the roads that act on it.
inline constexpr int32_t repeated_storage_fault = 2;
