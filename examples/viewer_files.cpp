#include "examples/viewer_files.h"

#include "cimage/PixelTypes.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <cctype>
#include <iterator>

namespace {

namespace fs = boost::filesystem;

bool IsImageName(fs::path const& path) {
    constexpr char const* extensions[] = {
        ".png", ".jpg", ".jpeg", ".tif", ".tiff", ".pgm", ".ppm", ".pnm"};
    std::string const extension = boost::algorithm::to_lower_copy(path.extension().string());
    return std::count(std::begin(extensions), std::end(extensions), extension) != 0;
}

bool IsDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

/// The number at a place of a text without its leading zeros; moves behind it.
std::string TakeNumber(std::string const& text, std::size_t& at) {
    while (at < text.size() && text[at] == '0') {
        ++at;
    }
    std::size_t const begin = at;
    while (at < text.size() && IsDigit(text[at])) {
        ++at;
    }
    return text.substr(begin, at - begin);
}

/// Numbers in names count as numbers.
bool ComesBefore(std::string const& a, std::string const& b) {
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < a.size() && j < b.size()) {
        if (IsDigit(a[i]) && IsDigit(b[j])) {
            std::string const m = TakeNumber(a, i);
            std::string const n = TakeNumber(b, j);
            if (m != n) {
                return m.size() != n.size() ? m.size() < n.size() : m < n;
            }
        } else if (a[i] != b[j]) {
            return a[i] < b[j];
        } else {
            ++i;
            ++j;
        }
    }
    return a.size() - i < b.size() - j || (i == a.size() && j == b.size() && a < b);
}

void AddFolder(fs::path const& folder, std::vector<std::string>& files) {
    auto const first = static_cast<std::ptrdiff_t>(files.size());
    for (fs::directory_entry const& entry : fs::directory_iterator(folder)) {
        if (IsImageName(entry.path()) && fs::is_regular_file(entry.status())) {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin() + first, files.end(), ComesBefore);
}

} // namespace

std::vector<std::string> FindImageFiles(std::vector<std::string> const& paths) {
    std::vector<std::string> files;
    if (paths.empty()) {
        AddFolder(".", files);
    }
    for (std::string const& path : paths) {
        if (fs::is_directory(path)) {
            AddFolder(path, files);
        } else {
            files.push_back(path);
        }
    }
    return files;
}

std::string PixelTypeName(cimage::CImage const& image) {
    using namespace cimage;
    constexpr unsigned firstMosaic = PixelTypeNumber<Bayer<TBGGR<unsigned char>>>::value;
    constexpr unsigned lastMosaic = PixelTypeNumber<Bayer<TGBRG<unsigned short>>>::value;
    unsigned const type = image.Type();
    std::string name = "grey";
    std::size_t channels = 1;
    if (type >= firstMosaic && type <= lastMosaic) {
        name = "mosaic";
    } else if (
        type == PixelTypeNumber<TRGB<unsigned char>>::value ||
        type == PixelTypeNumber<TRGB<unsigned short>>::value) {
        name = "RGB";
        channels = 3;
    } else if (type >= PixelTypeNumber<TRGBA<unsigned char>>::value) {
        name = "RGBA";
        channels = 4;
    }
    return name + ", " + std::to_string(8 * image.BytesPerPixel() / channels) + " bit";
}
