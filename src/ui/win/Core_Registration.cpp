#include "ui/win/Core_Registration.h"

#include "kiv/Diagnostics.h"

#include <boost/current_function.hpp>
#include <boost/dll/runtime_symbol_info.hpp>
#include <boost/dll/shared_library.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <sstream>
#include <vector>

template class kiv::Singleton<ui::win::DriverFactory>;

namespace ui::win {

namespace {

// Serialises look-ups with the registrations of modules that they load.
boost::mutex g_loading;

bool CanNameAModule(std::string const& driver) {
    return !driver.empty() && std::all_of(driver.begin(), driver.end(), [](unsigned char c) {
        return c < 0x80 && (std::isalnum(c) != 0 || c == '_');
    });
}

std::string ModuleName(std::string driver) {
    std::transform(driver.begin(), driver.end(), driver.begin(), [](unsigned char c) {
        return static_cast<char>(std::tolower(c));
    });
    return "quarn_driver_" + driver + ".so";
}

/// QUARN_DRIVER_PATH's folders in their order, then the library's own.
std::vector<boost::filesystem::path> DriverFolders() {
    std::vector<boost::filesystem::path> folders;
    if (char const* const path = std::getenv("QUARN_DRIVER_PATH")) {
        std::istringstream list(path);
        for (std::string folder; std::getline(list, folder, ':');) {
            if (!folder.empty()) {
                folders.emplace_back(folder);
            }
        }
    }
    folders.push_back(boost::dll::this_line_location().parent_path() / QUARN_DRIVER_SUBDIR);
    return folders;
}

} // namespace

/// @return whether the module was there and could be loaded
static bool LoadModule(boost::filesystem::path const& file) {
    boost::system::error_code error;
    if (!boost::filesystem::exists(file, error)) {
        return false;
    }
    // Never unloaded: windows and registered creators run code of the module until the end.
    static auto* const modules = new std::vector<boost::dll::shared_library>;
    try {
        modules->emplace_back(file, boost::dll::load_mode::rtld_now);
        return true;
    } catch (std::exception const& failure) {
        kiv::Diagnose(
            "[EE]",
            BOOST_CURRENT_FUNCTION,
            "Driver module " + file.string() + " cannot be loaded: " + failure.what());
        return false;
    }
}

DriverCreator FindDriver(std::string const& name) {
    boost::lock_guard<boost::mutex> const lock(g_loading);
    DriverFactory& factory = *kiv::Singleton<DriverFactory>::Instance();
    DriverCreator creator = factory.GetAllocator(name);
    if (creator || !CanNameAModule(name)) {
        return creator;
    }
    for (boost::filesystem::path const& folder : DriverFolders()) {
        if (LoadModule(folder / ModuleName(name))) {
            creator = factory.GetAllocator(name);
            if (creator) {
                break;
            }
        }
    }
    return creator;
}

std::vector<std::string> DriverNames() {
    boost::lock_guard<boost::mutex> const lock(g_loading);
    return kiv::Singleton<DriverFactory>::Instance()->Names();
}

} // namespace ui::win
