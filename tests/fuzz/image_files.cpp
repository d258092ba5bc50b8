// Image files of any bytes are read or refused, and what was read can be written and read again.

#include "cimage/ImageIO.h"

#include <boost/property_tree/ptree.hpp>

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace {

using boost::property_tree::ptree;

/// Files of this process, in memory where the system has such a folder.
struct Files {
    Files() {
        std::filesystem::path const memory = "/dev/shm";
        std::filesystem::path const parent =
            is_directory(memory) ? memory : std::filesystem::temp_directory_path();
        folder = parent / ("fuzz_image_files." + std::to_string(::getpid()));
        create_directories(folder);
    }
    ~Files() { remove_all(folder); }
    std::filesystem::path folder;
};

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

bool SamePixels(cimage::CImage const& a, cimage::CImage const& b) {
    bool same = a.Type() == b.Type() && a.Width() == b.Width() && a.Height() == b.Height();
    for (unsigned y = 0; same && y < a.Height(); ++y) {
        same = std::memcmp(a.Bytes(y), b.Bytes(y), a.Width() * a.BytesPerPixel()) == 0;
    }
    return same;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static Files const files;
    static std::string const path = (files.folder / "in").string();
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<char const*>(data), static_cast<std::streamsize>(size));
    ptree options;
    options.put("max pixels", 1 << 18);
    options.put("max text bytes", 1 << 16);
    boost::shared_ptr<cimage::CImage> image;
    try {
        image = cimage::CreateFromFile(path, options);
    } catch (std::runtime_error const&) {
        return 0; // nothing else is thrown
    }
    Require(!image->Empty());
    // Signed counts are the one thing that PNG cannot tell; TIFF keeps those as unsigned too.
    bool const isSigned = image->Type() == cimage::TImage<signed char>::StaticType ||
                          image->Type() == cimage::TImage<short>::StaticType;
    for (char const* const name : {"out.png", "out.tif"}) {
        std::string const copy = (files.folder / name).string();
        cimage::Save(copy, *image, image->Metadata());
        Require(isSigned || SamePixels(*image, *cimage::CreateFromFile(copy, ptree())));
    }
    return 0;
}
