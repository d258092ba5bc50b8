#include "cimage/ImageIO.h"

#include "cimage/detail/File.h"
#include "cimage/detail/Formats.h"

#include <boost/property_tree/ptree.hpp>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <new>
#include <stdexcept>

namespace cimage {

namespace {

using boost::property_tree::ptree;
using detail::PixelLayout;

// ---- reading

using Head = std::string; // the first bytes of a file

bool StartsWith(Head const& head, std::string const& magic) {
    return head.compare(0, magic.size(), magic) == 0;
}

bool IsPnm(Head const& head) {
    return head.size() > 2 && head[0] == 'P' && head[1] >= '1' && head[1] <= '7' &&
           (std::isspace(static_cast<unsigned char>(head[2])) != 0 || head[2] == '#');
}
bool IsPng(Head const& head) {
    return StartsWith(head, "\x89PNG\r\n\x1A\n");
}
bool IsJpeg(Head const& head) {
    return StartsWith(head, "\xFF\xD8\xFF");
}
bool IsTiff(Head const& head) {
    return StartsWith(head, std::string("II*\0", 4)) || StartsWith(head, std::string("MM\0*", 4)) ||
           StartsWith(head, std::string("II+\0", 4)) || StartsWith(head, std::string("MM\0+", 4));
}

struct ReadableFormat {
    bool (*recognises)(Head const& head);
    boost::shared_ptr<CImage> (*read)(std::FILE* file, detail::ReadLimits const& limits);
};

constexpr ReadableFormat ReadableFormats[] = {
    {IsPnm, detail::ReadPnm},
    {IsPng, detail::ReadPng},
    {IsJpeg, detail::ReadJpeg},
    {IsTiff, detail::ReadTiff},
};

boost::shared_ptr<CImage> Read(std::string const& path, detail::ReadLimits const& limits) {
    detail::FilePtr const file = detail::OpenForReading(path);
    char bytes[8];
    Head const head(bytes, std::fread(bytes, 1, sizeof(bytes), file.get()));
    if (head.empty()) {
        throw std::runtime_error("the file is empty");
    }
    std::rewind(file.get());
    for (ReadableFormat const& format : ReadableFormats) {
        if (format.recognises(head)) {
            return format.read(file.get(), limits);
        }
    }
    throw std::runtime_error("the image format is unknown");
}

// ---- writing

struct WritableFormat {
    char const* extension;
    void (*write)(
        std::FILE* file, detail::StoredImage const& stored, detail::TextEntries const& texts);
    unsigned fewestChannels;
    unsigned mostChannels;
    bool deep;
};

constexpr WritableFormat WritableFormats[] = {
    {"pgm", detail::WritePnm, 1, 1, true},
    {"ppm", detail::WritePnm, 3, 3, true},
    {"pnm", detail::WritePnm, 1, 3, true},
    {"png", detail::WritePng, 1, 4, true},
    {"jpg", detail::WriteJpeg, 1, 3, false},
    {"jpeg", detail::WriteJpeg, 1, 3, false},
    {"tif", detail::WriteTiff, 1, 4, true},
    {"tiff", detail::WriteTiff, 1, 4, true},
};

WritableFormat const& FindWritableFormat(std::string const& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    extension.erase(0, 1); // the dot
    std::transform(extension.begin(), extension.end(), extension.begin(), [](unsigned char c) {
        return static_cast<char>(std::tolower(c));
    });
    for (WritableFormat const& format : WritableFormats) {
        if (extension == format.extension) {
            return format;
        }
    }
    throw std::runtime_error("no image format has the extension '" + extension + "'");
}

/// The plain type of a layout: channels 1, 3, 4.
unsigned PlainType(PixelLayout layout) {
    switch (layout.channels) {
    case 1:
        return layout.deep ? TImage<unsigned short>::StaticType : TImage<unsigned char>::StaticType;
    case 3:
        return layout.deep ? TImage<TRGB<unsigned short>>::StaticType
                           : TImage<TRGB<unsigned char>>::StaticType;
    default:
        return layout.deep ? TImage<TRGBA<unsigned short>>::StaticType
                           : TImage<TRGBA<unsigned char>>::StaticType;
    }
}

bool IsMosaic(unsigned type) {
    return type >= PixelTypeNumber<Bayer<TBGGR<unsigned char>>>::value &&
           type <= PixelTypeNumber<Bayer<TGBRG<unsigned short>>>::value;
}

/// The layout of a pixel type, alpha and order of channels as in RGBA.
PixelLayout LayoutOf(CImage const& image) {
    std::size_t const bytes = image.BytesPerPixel();
    switch (bytes) {
    case 3:
    case 4:
        return {static_cast<unsigned>(bytes), false};
    case 6:
    case 8:
        return {static_cast<unsigned>(bytes / 2), true};
    default:
        return {1, bytes == 2};
    }
}

void Write(std::string const& path, CImage const& image, ptree const& metadata) {
    WritableFormat const& format = FindWritableFormat(path);
    if (image.Empty()) {
        throw std::runtime_error("the image has no pixels");
    }
    PixelLayout layout = LayoutOf(image);
    // A mosaic is viewed as the counts that it consists of.
    unsigned const viewedType = IsMosaic(image.Type()) ? PlainType(layout) : image.Type();
    layout.channels =
        std::min(std::max(layout.channels, format.fewestChannels), format.mostChannels);
    layout.deep = layout.deep && format.deep;

    boost::shared_ptr<CImage> converted;
    if (viewedType != PlainType(layout)) {
        converted = detail::MakeImage(layout, 0, 0);
        ConvertAs(viewedType, image, *converted);
    }
    detail::ReplacementFile file(path);
    format.write(
        file.Handle(), {converted ? *converted : image, layout}, detail::FromTree(metadata));
    file.Commit();
}

// ---- both

/// Runs action; what it throws becomes a std::runtime_error that names the file.
template <class Action>
auto NamingFile(char const* what, std::string const& path, Action const& action) {
    std::string const start = std::string("cannot ") + what + " image file '" + path + "': ";
    try {
        return action();
    } catch (std::bad_alloc const&) {
        throw std::runtime_error(start + "not enough memory");
    } catch (std::exception const& failure) {
        throw std::runtime_error(start + failure.what());
    }
}

} // namespace

namespace detail {

void ReadLimits::Check(std::uint64_t width, std::uint64_t height) const {
    std::string const size = std::to_string(width) + " x " + std::to_string(height);
    if (width == 0 || height == 0) {
        throw std::runtime_error("it has no pixels (" + size + ")");
    }
    if (width > maxPixels / height) {
        throw std::runtime_error(
            "it has " + size + " pixels, more than the limit of " + std::to_string(maxPixels));
    }
}

void ReadLimits::CheckTexts(std::uint64_t bytes) const {
    if (bytes > maxTextBytes) {
        throw std::runtime_error(TextRefusal());
    }
}

std::string ReadLimits::TextRefusal() const {
    return "its texts take more than the limit of " + std::to_string(maxTextBytes) + " bytes";
}

void TextReader::Add(TextEntry const& entry) {
    constexpr std::size_t node = 64; // as little as a node of the tree takes besides
    m_bytes += entry.first.size() + entry.second.size() + node;
    m_limits.CheckTexts(m_bytes);
    AddToTree(m_image.Metadata(), entry);
}

boost::shared_ptr<CImage> MakeImage(PixelLayout layout, unsigned width, unsigned height) {
    switch (layout.channels) {
    case 1:
        if (layout.deep) {
            return boost::make_shared<TImage<unsigned short>>(width, height);
        }
        return boost::make_shared<TImage<unsigned char>>(width, height);
    case 3:
        if (layout.deep) {
            return boost::make_shared<TImage<TRGB<unsigned short>>>(width, height);
        }
        return boost::make_shared<TImage<TRGB<unsigned char>>>(width, height);
    default:
        if (layout.deep) {
            return boost::make_shared<TImage<TRGBA<unsigned short>>>(width, height);
        }
        return boost::make_shared<TImage<TRGBA<unsigned char>>>(width, height);
    }
}

} // namespace detail

boost::shared_ptr<CImage> CreateFromFile(std::string const& path, ptree const& options) {
    return NamingFile("read", path, [&] {
        return Read(
            path,
            {options.get("max pixels", std::uint64_t{1} << 28),
             options.get("max text bytes", std::uint64_t{1} << 24)});
    });
}

boost::shared_ptr<CImage> Load(std::string const& path, ptree& metadata) {
    boost::shared_ptr<CImage> image = CreateFromFile(path, ptree());
    metadata = image->Metadata();
    return image;
}

void Load(std::string const& path, CImage& image, ptree& metadata) {
    Convert(*Load(path, metadata), image);
}

void Save(std::string const& path, CImage const& image, ptree const& metadata) {
    NamingFile("write", path, [&] { Write(path, image, metadata); });
}

} // namespace cimage
