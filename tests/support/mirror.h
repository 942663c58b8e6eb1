// The tests stand in front of update_fe_database() and of the two clean-up passes. While there is a mirror, every change
// of the table is made in a model of it, too, and what the library returns, writes and logs is held against the model's.
#pragma once

#include "support/sandbox.h"
#include "support/table_model.h"

enum class Threads { one, many };

// With many threads the model follows at the moment of the first line that the library logs of a change, which comes
// with fe_table_mutex held: that mutex is all that guards the model. What a stale pass reads is then not followed.
class Mirror : Scoped {
public:
    explicit Mirror(const Sandbox &sandbox, Threads threads = Threads::one);
    ~Mirror();

    // Holds table, index and files against the model. Takes fe_table_mutex.
    void compare();

    Model model;

private:
    void learn_storage_counts();

    const Sandbox &sandbox_;
};

// Told of a difference; each program defines it: a test fails, a fuzz target ends.
void report_difference(const std::string &what);

// For the neighbours: a line was logged, a sensor is read.
void mirror_line(const char *line);
void mirror_reading();
