#include "tools/engine_options.h"

#include "platform/ipmi_access/ipmi_access_host.h"

bool EngineOptions::take(int found, const char *argument) {
    switch (found) {
    case 's': sdr = argument; break;
    case 'e': sel = argument; break;
    case 'r': readings = argument; break;
    case 'o': log = argument; break;
    case 't': real_time = true; break;
    case 'd': file_directory = checked_directory(argument); break;
    default: return false;
    }
    return true;
}

void EngineOptions::load_captures() const {
    ipmi_access::load_sdr(sdr);
    if (!sel.empty())
        ipmi_access::load_sel(sel);
    if (!readings.empty())
        ipmi_access::load_readings(readings);
}

std::vector<option> with_engine_options(std::initializer_list<option> own) {
    std::vector<option> all = {
        {"sdr", required_argument, nullptr, 's'},      {"sel", required_argument, nullptr, 'e'},
        {"readings", required_argument, nullptr, 'r'}, {"log", required_argument, nullptr, 'o'},
        {"real-time", no_argument, nullptr, 't'},      {"file-dir", required_argument, nullptr, 'd'},
        {"help", no_argument, nullptr, 'h'},
    };
    all.insert(all.end(), own);
    all.push_back({});
    return all;
}
