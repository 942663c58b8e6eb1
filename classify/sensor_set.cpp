// Which sensors raise faults: all but those on a list, which is empty on this system.
#include <span>

#include "fault_engine/classify.h"

namespace {

constexpr std::span<const uint8_t> excluded_sensors = {}; // sensor numbers, ascending

} // namespace

int32_t is_fault_sensor(uint32_t sensor_number) {
    const auto last = static_cast<int32_t>(excluded_sensors.size()) - 1;
    return search(excluded_sensors.data(), sensor_number & 0xFF, 0, last) == -1 ? 1 : 0;
}

int32_t sensor_indexing(void) {
    return 0;
}

int32_t search(const uint8_t *array, uint32_t key, int32_t low, int32_t high) {
    const auto wanted = static_cast<uint8_t>(key);
    if (high < low) {
        return -1;
    }
    if (array[low] == wanted) {
        return low;
    }
    if (array[high] == wanted) {
        return high;
    }
    if (high <= low) {
        return -1;
    }
    const int32_t middle = (low + high) / 2;
    if (array[middle] == wanted) {
        return middle;
    }
    return array[middle] > wanted ? search(array, wanted, low, middle - 1) : search(array, wanted, middle + 1, high);
}
