// Where sensors, records and readings come from: files that were captured on a server.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/ipmi_access/ipmi_access_host.h"

namespace CLI {
class App;
}

// The files of one server; "-" is standard input, .gz and .xz are unpacked.
struct CaptureFiles {
    std::string name; // for people
    std::string sdr;
    std::string sel;
    std::string readings; // state words as the engine takes them
    std::string sensors;  // what ipmitool or ipmi-sensors prints of present states
    bool order_by_time = false;

    std::vector<std::string> paths() const; // of those that are given
};

struct LoadedCapture {
    ipmi_access::Capture capture;
    std::vector<std::string> warnings; // a line each, naming file and place
};

// Reads and checks them. Without a SEL there are no records, without readings no sensor can be read. Throws
// CaptureError.
LoadedCapture load_capture(const CaptureFiles &files);

// From now on the engine meets the capture, of which the last `live` records, or all there are, stay out of the start-up
// walk; returns how many these are. `log` is the file that the engine's log will go to. Whatever is wrong with the input
// is thrown here, as Refusal or CaptureError, before the engine touches anything. `live` is empty where live
// records come from elsewhere: then all are walked.
size_t serve_capture(const CaptureFiles &files, const std::string &log, std::optional<size_t> live);

// The records of a SEL alone; what is passed over is said.
std::vector<sel_record> load_records(const std::string &path);

// As given on a command line.
struct CaptureOptions {
    CaptureFiles files;
    std::vector<std::string> operands; // files and folders

    // Of the options and the operands: NAME.sdr and NAME.sel belong together, with NAME.readings and NAME.sensors if
    // they are there. Empty when nothing is given; throws Refusal for a file that belongs to none.
    std::vector<CaptureFiles> captures() const;
};
void add_capture_options(CLI::App &app, CaptureOptions &options);
void add_capture_operands(CLI::App &app, CaptureOptions &options);
