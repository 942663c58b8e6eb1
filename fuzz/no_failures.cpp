// No call fails but those whose result the input gives; what is not as it must be ends the target.
#include "fuzz/target.h"
#include "support/calls.h"
#include "support/mirror.h"

bool is_to_fail(Call) {
    return false;
}

void report_difference(const std::string &what) {
    require(false, what.c_str());
}
