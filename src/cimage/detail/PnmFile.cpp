#include "cimage/detail/File.h"
#include "cimage/detail/Formats.h"

#include <boost/property_tree/ptree.hpp>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

namespace cimage {
namespace detail {

namespace {

using std::uint16_t;

[[noreturn]] void ThrowCutOff() {
    throw std::runtime_error("the file is cut off");
}

bool IsSpace(int c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
bool IsDigit(int c) {
    return c >= '0' && c <= '9';
}

/// Reads the text parts: numbers between white space, comments from '#' to the end of the line.
class Scanner {
public:
    Scanner(std::FILE* file, ReadLimits const& limits) : m_file(file), m_limits(limits) {}

    /// The next number; the one character that ends it is taken too.
    unsigned Number() {
        int c = SkipToToken();
        if (c == EOF) {
            ThrowCutOff();
        }
        if (!IsDigit(c)) {
            throw std::runtime_error("a number is expected");
        }
        unsigned value = 0;
        for (; IsDigit(c); c = std::getc(m_file)) {
            if (value > 100000000) {
                throw std::runtime_error("a number is too large");
            }
            value = value * 10 + static_cast<unsigned>(c - '0');
        }
        if (c == '#') {
            TakeComment();
        } else if (c != EOF && !IsSpace(c)) {
            throw std::runtime_error("a number is followed by something else");
        }
        return value;
    }

    /// The lines of all comments so far.
    std::string const& Comments() const { return m_comments; }

private:
    int SkipToToken() {
        int c = std::getc(m_file);
        while (c == '#' || IsSpace(c)) {
            if (c == '#') {
                TakeComment();
            }
            c = std::getc(m_file);
        }
        return c;
    }

    void TakeComment() {
        int c = std::getc(m_file);
        if (c == ' ') {
            c = std::getc(m_file);
        }
        for (; c != '\n' && c != EOF; c = std::getc(m_file)) {
            m_comments += static_cast<char>(c);
        }
        m_comments += '\n';
        m_limits.CheckTexts(m_comments.size());
    }

    std::FILE* m_file;
    ReadLimits const& m_limits;
    std::string m_comments;
};

/// Maps 0 ... maximum onto the whole range of the count that holds it, rounded.
class Range {
public:
    explicit Range(unsigned maximum) : m_full(maximum > 255 ? 65535 : 255) {
        m_scaled.reserve(maximum + 1);
        for (unsigned v = 0; v <= maximum; ++v) {
            m_scaled.push_back(static_cast<uint16_t>((v * m_full + maximum / 2) / maximum));
        }
    }

    bool IsDeep() const { return m_full > 255; }
    bool IsFull() const { return m_scaled.size() == m_full + 1; }

    uint16_t operator()(unsigned value) const {
        if (value >= m_scaled.size()) {
            throw std::runtime_error("a count exceeds the file's maximum");
        }
        return m_scaled[value];
    }

private:
    std::size_t m_full;
    std::vector<uint16_t> m_scaled;
};

template <class T>
void ReadText(Scanner& scanner, Range const& range, unsigned channels, CImage& image) {
    for (unsigned y = 0; y < image.Height(); ++y) {
        T* const row = image.Row<T>(y);
        for (std::size_t i = 0; i < std::size_t{image.Width()} * channels; ++i) {
            row[i] = static_cast<T>(range(scanner.Number()));
        }
    }
}

template <class T>
void ScaleRow(Range const& range, T* row, std::size_t count) {
    auto const* const bytes = reinterpret_cast<unsigned char const*>(row);
    for (std::size_t i = 0; i < count; ++i) {
        // The file's order is the high byte first.
        unsigned const value = sizeof(T) == 1 ? bytes[i] : bytes[2 * i] * 256U + bytes[2 * i + 1];
        row[i] = static_cast<T>(range.IsFull() ? value : range(value));
    }
}

void ReadBinary(std::FILE* file, Range const& range, PixelLayout layout, CImage& image) {
    std::size_t const rowBytes = image.Width() * layout.BytesPerPixel();
    std::size_t const counts = std::size_t{image.Width()} * layout.channels;
    unsigned const rowsAtOnce = rowBytes == image.Stride() ? image.Height() : 1;
    for (unsigned y = 0; y < image.Height(); y += rowsAtOnce) {
        if (std::fread(image.Bytes(y), rowBytes, rowsAtOnce, file) != rowsAtOnce) {
            ThrowCutOff();
        }
    }
    if (!layout.deep && range.IsFull()) {
        return;
    }
    for (unsigned y = 0; y < image.Height(); ++y) {
        if (layout.deep) {
            ScaleRow(range, image.Row<uint16_t>(y), counts);
        } else {
            ScaleRow(range, image.Row<unsigned char>(y), counts);
        }
    }
}

} // namespace

boost::shared_ptr<CImage> ReadPnm(std::FILE* file, ReadLimits const& limits) {
    std::getc(file); // the 'P' by which the format was recognised
    int const variety = std::getc(file) - '0';
    if (variety != 2 && variety != 3 && variety != 5 && variety != 6) {
        throw std::runtime_error("bitmaps and PAM files are not supported");
    }
    Scanner scanner(file, limits);
    unsigned const width = scanner.Number();
    unsigned const height = scanner.Number();
    unsigned const maximum = scanner.Number();
    limits.Check(width, height);
    if (maximum == 0 || maximum > 65535) {
        throw std::runtime_error("the maximum of a count must lie in 1 ... 65535");
    }
    Range const range(maximum);
    bool const isText = variety < 4;
    PixelLayout const layout{variety == 2 || variety == 5 ? 1U : 3U, range.IsDeep()};
    // A count takes at least two characters of text, the last one possibly one.
    std::uint64_t const counts = std::uint64_t{width} * height * layout.channels;
    if (BytesLeft(file) < (isText ? 2 * counts - 1 : counts * (layout.deep ? 2 : 1))) {
        ThrowCutOff();
    }
    boost::shared_ptr<CImage> image = MakeImage(layout, width, height);
    if (!isText) {
        ReadBinary(file, range, layout, *image);
    } else if (layout.deep) {
        ReadText<uint16_t>(scanner, range, layout.channels, *image);
    } else {
        ReadText<unsigned char>(scanner, range, layout.channels, *image);
    }
    TextReader texts(*image, limits);
    for (TextEntry const& entry : FromLines(scanner.Comments(), "Comment")) {
        texts.Add(entry);
    }
    return image;
}

void WritePnm(std::FILE* file, StoredImage const& stored, TextEntries const& texts) {
    CImage const& image = stored.image;
    std::string header = stored.layout.channels == 1 ? "P5\n" : "P6\n";
    std::string const lines = ToLines(texts);
    for (std::size_t start = 0; start < lines.size(); start = lines.find('\n', start) + 1) {
        header += "# " + lines.substr(start, lines.find('\n', start) + 1 - start);
    }
    header += std::to_string(image.Width()) + " " + std::to_string(image.Height()) +
              (stored.layout.deep ? "\n65535\n" : "\n255\n");
    WriteBytes(file, header.data(), header.size());

    std::size_t const rowBytes = stored.RowBytes();
    if (!stored.layout.deep && rowBytes == image.Stride()) {
        WriteBytes(file, image.Bytes(), rowBytes * image.Height());
        return;
    }
    std::vector<unsigned char> packed(stored.layout.deep ? rowBytes : 0);
    for (unsigned y = 0; y < image.Height(); ++y) {
        unsigned char const* bytes = image.Bytes(y);
        if (stored.layout.deep) {
            uint16_t const* const counts = image.Row<uint16_t>(y);
            for (std::size_t i = 0; i < rowBytes / 2; ++i) {
                packed[2 * i] = static_cast<unsigned char>(counts[i] >> 8);
                packed[2 * i + 1] = static_cast<unsigned char>(counts[i] & 255);
            }
            bytes = packed.data();
        }
        WriteBytes(file, bytes, rowBytes);
    }
}

} // namespace detail
} // namespace cimage
