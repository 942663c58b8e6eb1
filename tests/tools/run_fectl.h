// fectl as a process, and files for it in a folder of the test's own.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    std::string path(const std::string &name) const { return path_ + "/" + name; }
    std::string write(const std::string &name, const Bytes &content) const; // returns the path
    std::string read(const std::string &name) const;                        // "<missing>" when there is none

private:
    std::string path_;
};

struct Outcome {
    int exit_code;
    std::string out;
    std::string err;
};

// Table files go to the folder "table" in `folder` in every replay.
Outcome run_fectl(const Folder &folder, const std::string &arguments);

// One record of an SDR dump. `name` is the type/length byte and what follows it; `sharing` two bytes, for types 2
// and 3.
struct SdrSensor {
    uint8_t type, number, entity_id, instance, sensor_type, event_type;
    Bytes name;
    Bytes sharing = {0, 0};
};
Bytes sdr_record(const SdrSensor &sensor);
Bytes sdr_other_record(uint8_t type, const Bytes &body);
Bytes name_8_bit(const std::string &text);
Bytes name_6_bit(const std::string &text);

Bytes sel_event(uint8_t sensor_type, uint8_t number, uint8_t event_dir_type, uint8_t data_1,
                uint32_t time = 1'000'000'000);

Bytes operator+(Bytes a, const Bytes &b);
