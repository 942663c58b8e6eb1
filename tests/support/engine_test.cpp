#include "support/engine_test.h"

#include "support/mirror.h"

void report_difference(const std::string &what) {
    ADD_FAILURE() << what;
}
