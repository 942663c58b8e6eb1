// Where a watch keeps its place in a BMC's SEL from one run to the next.
#pragma once

#include <optional>
#include <string>

#include "tools/bmc/sel_follower.h"

namespace bmc {

class PlaceFile {
public:
    // `host` is noted in the file, and another's file is refused.
    PlaceFile(std::string path, std::string host) : path_(std::move(path)), host_(std::move(host)) {}

    // Nothing when there is no file yet. Throws Refusal for a file that is not such a place.
    std::optional<SelPlace> read() const;

    // What is there is always whole. Throws Failure.
    void write(const SelPlace &place) const;

private:
    std::string path_;
    std::string host_;
};

} // namespace bmc
