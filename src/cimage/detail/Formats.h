#pragma once

#include "cimage/CImage.h"
#include "cimage/detail/TextEntries.h"

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <cstdio>

namespace cimage {
namespace detail {

/// How pixels lie in a file: counts of 8 or 16 bits, unsigned, in the order of TRGBA.
struct PixelLayout {
    unsigned channels; ///< 1 grey, 3 red green blue, 4 red green blue alpha
    bool deep;         ///< 16 bits a count

    std::size_t BytesPerPixel() const {
        return channels * (deep ? std::size_t{2} : std::size_t{1});
    }
};

/// What a reader will not exceed, whatever a file says of itself.
struct ReadLimits {
    std::uint64_t maxPixels;
    std::uint64_t maxTextBytes; ///< of all texts together

    /// Throws std::runtime_error for an image that is empty or too large.
    void Check(std::uint64_t width, std::uint64_t height) const;
    /// The same for texts that take so many bytes.
    void CheckTexts(std::uint64_t bytes) const;
    /// What it says then.
    std::string TextRefusal() const;
};

/// Puts the texts of a file into an image's metadata, within the limit.
class TextReader {
public:
    TextReader(CImage& image, ReadLimits const& limits) : m_image(image), m_limits(limits) {}

    /// Throws std::runtime_error when it is more than the file's texts may take.
    void Add(TextEntry const& entry);

private:
    CImage& m_image;
    ReadLimits const& m_limits;
    std::uint64_t m_bytes = 0;
};

/// An image of the plain type that has the layout.
boost::shared_ptr<CImage> MakeImage(PixelLayout layout, unsigned width, unsigned height);

/// An image to be written: rows that have the layout, whatever pixel type the image claims.
struct StoredImage {
    CImage const& image;
    PixelLayout layout;

    std::size_t RowBytes() const { return image.Width() * layout.BytesPerPixel(); }
};

// A reader starts at the file's first byte; a writer at the beginning of an empty file that may be
// read back. All throw std::runtime_error with the reason, without the file's name.

boost::shared_ptr<CImage> ReadPnm(std::FILE* file, ReadLimits const& limits);
boost::shared_ptr<CImage> ReadPng(std::FILE* file, ReadLimits const& limits);
boost::shared_ptr<CImage> ReadJpeg(std::FILE* file, ReadLimits const& limits);
boost::shared_ptr<CImage> ReadTiff(std::FILE* file, ReadLimits const& limits);

void WritePnm(std::FILE* file, StoredImage const& stored, TextEntries const& texts);
void WritePng(std::FILE* file, StoredImage const& stored, TextEntries const& texts);
void WriteJpeg(std::FILE* file, StoredImage const& stored, TextEntries const& texts);
void WriteTiff(std::FILE* file, StoredImage const& stored, TextEntries const& texts);

} // namespace detail
} // namespace cimage
