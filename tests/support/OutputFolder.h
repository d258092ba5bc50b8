#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace tests {

/// An empty folder named after the running test, since tests run beside each other in processes of
/// their own. What a test wrote stays until its next run.
class OutputFolder {
public:
    OutputFolder() : path(std::filesystem::path(QUARN_TEST_OUTPUT) / Name()) {
        std::filesystem::remove_all(path);
        std::filesystem::create_directories(path);
    }

    std::string Path(std::string const& name) const { return (path / name).string(); }
    /// Writes a file of these bytes. @return its path
    std::string Write(std::string const& name, std::string const& bytes) const {
        std::ofstream(path / name, std::ios::binary) << bytes;
        return Path(name);
    }
    std::string Read(std::string const& name) const {
        std::ifstream file(path / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// @return names of what is in the folder, in alphabetical order
    std::vector<std::string> Files() const {
        std::vector<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(path)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    std::filesystem::path const path;

private:
    static std::string Name() {
        auto const& test = *testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string(test.test_suite_name()) + '.' + test.name();
        std::replace(name.begin(), name.end(), '/', '_');
        return name;
    }
};

} // namespace tests
