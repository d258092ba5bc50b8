#include "cimage/ImageIO.h"
#include "kiv/Diagnostics.h"
#include "kiv/ini/INIFile.h"
#include "ui/win/CWindowCoreManager.h"

#include <boost/current_function.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/format.hpp>
#include <boost/property_tree/ptree.hpp>

#include <cctype>
#include <locale>
#include <sstream>
#include <stdexcept>

namespace ui::win {

std::string CWindowCoreManager::WindowKey() const {
    std::string key;
    for (char const c : m_title) {
        auto const byte = static_cast<unsigned char>(c);
        if (std::isalpha(byte) != 0) {
            key += static_cast<char>(std::toupper(byte));
        }
    }
    return key;
}

bool CWindowCoreManager::SaveStatusOnDisk() {
    boost::unique_lock<boost::recursive_mutex> lock(m_iniLock);
    if (m_ini == nullptr) {
        kiv::Diagnose("[EE]", BOOST_CURRENT_FUNCTION, "INI File not available");
        return false;
    }
    std::ostringstream value;
    value.imbue(std::locale::classic()); // no grouping of digits, whatever the locale
    value << m_x << ',' << m_y << ',' << m_width << ',' << m_height;
    if ((m_flags & StateFullScreen) != 0) {
        value << ",fullscreen";
    }
    m_ini->Set(WindowKey(), value.str());
    lock.unlock();
    kiv::Diagnose("[II]", BOOST_CURRENT_FUNCTION, " Window status saved on disk : " + value.str());
    return true;
}

bool CWindowCoreManager::LoadStatusFromDisk(
    int& x, int& y, unsigned& width, unsigned& height, bool& fullScreen) {
    fullScreen = false;
    std::string value;
    {
        boost::lock_guard<boost::recursive_mutex> const lock(m_iniLock);
        if (m_ini == nullptr || !m_ini->Lookup(WindowKey(), value)) {
            return false;
        }
    }
    // The numbers are whatever the stream extracts; SetSize decides what a window can have.
    std::istringstream stream(value);
    stream.imbue(std::locale::classic());
    char separator = 0;
    stream >> x >> separator >> y >> separator >> width >> separator >> height >> separator;
    if (stream.good()) {
        std::string word;
        stream >> word;
        fullScreen = word == "fullscreen";
    }
    std::ostringstream message;
    message.imbue(std::locale::classic());
    message << "Status of window '" << m_title << "' loaded from disk : (" << x << ',' << y << ") "
            << width << 'x' << height;
    kiv::Diagnose("[II]", BOOST_CURRENT_FUNCTION, message.str());
    return true;
}

bool CWindowCoreManager::LoadAndApplyStatusFromDisk() {
    int x = m_x;
    int y = m_y;
    unsigned width = m_width;
    unsigned height = m_height;
    bool fullScreen = false;
    return LoadStatusFromDisk(x, y, width, height, fullScreen) &&
           ApplyStatus(x, y, width, height, fullScreen);
}

std::string CWindowCoreManager::NextDumpName() {
    std::int64_t const number = m_dumpCount++;
    try {
        // Like printf, but a pattern of another shape cannot read what was not passed.
        boost::format name(m_outputFileFormat, std::locale::classic());
        name.exceptions(
            boost::io::all_error_bits ^ boost::io::too_many_args_bit ^ boost::io::too_few_args_bit);
        return (name % WindowKey() % number).str();
    } catch (boost::io::format_error const& error) {
        throw std::runtime_error(
            "WIN OUTPUT FILE FORMAT '" + m_outputFileFormat +
            "' is not a file name pattern: " + error.what());
    }
}

template <class Image>
bool CWindowCoreManager::SaveImageOnDisk(Image const& image, std::string const& name) {
    if (!g_outputPath.empty()) {
        boost::filesystem::create_directory(g_outputPath); // one level only
    }
    WriteOnDisk(g_outputPath + "/" + (name.empty() ? NextDumpName() : name), image, m_ini);
    return true;
}

template bool
CWindowCoreManager::SaveImageOnDisk<CImageRGB>(CImageRGB const& image, std::string const& name);

bool CWindowCoreManager::Export(std::string const& path) {
    boost::shared_ptr<CImageRGB> const image = GrabFrame();
    if (!image) {
        return false;
    }
    WriteOnDisk(path, *image, m_ini);
    return true;
}

void WriteOnDisk(std::string const& path, CImageRGB const& image, kiv::ini::INIFile*) {
    kiv::Diagnose("[II]", BOOST_CURRENT_FUNCTION, "Creating video writer for CWindow " + path);
    kiv::Diagnose("[II]", BOOST_CURRENT_FUNCTION, "Write image on disk: " + path + "...");
    cimage::Save(path, image, boost::property_tree::ptree());
}

} // namespace ui::win
