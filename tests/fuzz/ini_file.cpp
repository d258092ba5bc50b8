// INI files of any bytes come back byte for byte; what is set in them is read back, and changes
// nothing else.

#include "kiv/ini/INIFile.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using kiv::ini::INIFile;

std::string Read(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// A file of this process, in memory where the system has such a folder.
struct File {
    File() {
        std::filesystem::path const memory = "/dev/shm";
        auto const parent = is_directory(memory) ? memory : std::filesystem::temp_directory_path();
        path = (parent / ("fuzz_ini_file." + std::to_string(::getpid()))).string();
    }
    ~File() { std::filesystem::remove(path); }
    std::string path;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static File const file;
    // Up to the first zero a value, the rest is the file.
    std::string const bytes(reinterpret_cast<char const*>(data), size);
    std::string const value = bytes.substr(0, bytes.find('\0'));
    std::string const content = bytes.substr(std::min(size, value.size() + 1));
    std::ofstream(file.path, std::ios::binary) << content;
    INIFile ini(file.path);
    ini.Save();
    Require(Read(file.path) == content);
    std::size_t const keys = ini.Keys().size();
    bool const known = ini.Find("KEY").has_value();
    ini.Set("KEY", value);
    ini.Save();
    INIFile again(file.path);
    Require(again.Find("KEY") == value);
    Require(again.Keys().size() == keys + (known ? 0 : 1));
    again.Erase("KEY");
    Require(!again.Find("KEY").has_value());
    return 0;
}
