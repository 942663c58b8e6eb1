// A folder of its own for one test, removed with its contents at the end: while it lives, the engine's fixed paths lead
// into it. Without one, opens of these paths fail: no test touches the real ones.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/scoped.h"
#include "tools/engine_files.h"

class Sandbox : Scoped {
public:
    Sandbox() : dir_(std::filesystem::temp_directory_path() / "fault_engine_XXXXXX") {
        if (mkdtemp(dir_.data()) == nullptr) {
            abort();
        }
        redirect_engine_files(dir_);
        std::ofstream(path("stor_stat")).flush(); // the engine opens it, but does not create it
    }
    ~Sandbox() {
        redirect_engine_files(no_folder);
        std::error_code ignored;
        std::filesystem::remove_all(dir_, ignored);
    }
    std::string path(const std::string &base_name) const { return dir_ + "/" + base_name; } // as path("fe_table.sz")

    // Content; "<missing>" when there is no such file.
    std::string bytes(const std::string &base_name) const {
        std::ifstream file(path(base_name), std::ios::binary);
        return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "<missing>";
    }

private:
    static constexpr char no_folder[] = "/dev/null"; // in which there is no file
    std::string dir_;
    static inline const bool starts_without = (redirect_engine_files(no_folder), true);
};
