// What the HTML template shows of a server, under the template's names.
#pragma once

#include <initializer_list>
#include <kainjow/mustache.hpp>
#include <utility>

#include "tools/report/server_log.h"

namespace report {

using kainjow::mustache::data;

data object(std::initializer_list<std::pair<const char *, data>> members);

template <class Range, class View>
data list(const Range &range, View view) {
    data shown = data::type::list;
    for (const auto &one : range) {
        shown.push_back(view(one));
    }
    return shown;
}

const char *word_of(Severity severity);
const char *letter_of(Severity severity);

data counts_view(const ServerLog &log); // active faults by severity, the worst first
data server_view(const ServerLog &log, const Words &words, size_t number);

} // namespace report
