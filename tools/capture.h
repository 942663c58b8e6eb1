// Where sensors, records and readings come from: files that were captured on a server.
#pragma once

#include <string>
#include <vector>

#include "platform/ipmi_access/ipmi_access_host.h"

namespace CLI {
class App;
}

// The files of one server.
struct CaptureFiles {
    std::string name; // for people
    std::string sdr;
    std::string sel;
    std::string readings;
};

struct LoadedCapture {
    ipmi_access::Capture capture;
    std::vector<std::string> warnings; // a line each, naming file and place
};

// Reads and checks them. Without a SEL there are no records, without readings no sensor can be read. Throws
// CaptureError.
LoadedCapture load_capture(const CaptureFiles &files);

// The records of a SEL alone.
std::vector<sel_record> load_records(const std::string &path);

// As given on a command line.
struct CaptureOptions {
    CaptureFiles files;
};
void add_capture_options(CLI::App &app, CaptureOptions &options);
