#include "run_fectl.h"

#include <sys/wait.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

Folder::Folder() {
    std::string name = testing::TempDir() + "fectl_XXXXXX";
    path_ = mkdtemp(name.data());
    std::filesystem::create_directory(path("table"));
}

Folder::~Folder() {
    std::filesystem::remove_all(path_);
}

std::string Folder::write(const std::string &name, const Bytes &content) const {
    std::ofstream(path(name), std::ios::binary)
        .write(reinterpret_cast<const char *>(content.data()), static_cast<std::streamsize>(content.size()));
    return path(name);
}

std::string Folder::read(const std::string &name) const {
    std::ifstream file(path(name), std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "<missing>";
}

Outcome run_fectl(const Folder &folder, const std::string &arguments) {
    std::string command = FECTL_COMMAND " " + arguments + " >" + folder.path("out") + " 2>" + folder.path("err");
    if (arguments.starts_with("replay"))
        command.insert(command.find(" replay") + strlen(" replay"), " --file-dir " + folder.path("table"));
    const int status = std::system(command.c_str()); // NOLINT(cert-env33-c): the shell redirects
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, folder.read("out"), folder.read("err")};
}

Bytes operator+(Bytes a, const Bytes &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Bytes sdr_other_record(uint8_t type, const Bytes &body) {
    return Bytes{1, 0, 0x51, type, static_cast<uint8_t>(body.size())} + body;
}

Bytes sdr_record(const SdrSensor &sensor) {
    Bytes body(sensor.type == 1 ? 42 : sensor.type == 2 ? 26 : 11);
    const size_t sensor_type_at = sensor.type == 3 ? 5 : 7;
    body[0] = 0x20;
    body[2] = sensor.number;
    body[3] = sensor.entity_id;
    body[4] = sensor.instance;
    body[sensor_type_at] = sensor.sensor_type;
    body[sensor_type_at + 1] = sensor.event_type;
    if (sensor.type != 1)
        std::copy(sensor.sharing.begin(), sensor.sharing.end(), body.begin() + (sensor.type == 2 ? 18 : 7));
    return sdr_other_record(sensor.type, body + sensor.name);
}

Bytes name_8_bit(const std::string &text) {
    return Bytes{static_cast<uint8_t>(0xC0 | text.size())} + Bytes(text.begin(), text.end());
}

Bytes name_6_bit(const std::string &text) {
    Bytes packed((text.size() * 6 + 7) / 8);
    for (size_t bit = 0; bit < text.size() * 6; bit++)
        packed[bit / 8] |= static_cast<uint8_t>(((text[bit / 6] - ' ') >> bit % 6 & 1) << bit % 8);
    return Bytes{static_cast<uint8_t>(0x80 | packed.size())} + packed;
}

// All with the same id: a log's ids may repeat.
Bytes sel_event(uint8_t sensor_type, uint8_t number, uint8_t event_dir_type, uint8_t data_1, uint32_t time) {
    const auto byte = [time](int shift) { return static_cast<uint8_t>(time >> shift); };
    return {7, 0, 2,           byte(0), byte(8),        byte(16), byte(24), 0x20,
            0, 4, sensor_type, number,  event_dir_type, data_1,   0xFF,     0xFF};
}
