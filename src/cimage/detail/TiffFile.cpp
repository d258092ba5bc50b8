#include "cimage/Conversion.h"
#include "cimage/detail/Formats.h"

#include <boost/property_tree/ptree.hpp>

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

namespace cimage {
namespace detail {

namespace {

using std::uint16_t;
using std::uint32_t;
using std::uint64_t;

/// Text tags that are metadata entries of their own; the description holds all others.
struct TextTag {
    uint32_t tag;
    char const* key;
};
constexpr TextTag TextTags[] = {
    {TIFFTAG_ARTIST, "Artist"},
    {TIFFTAG_COPYRIGHT, "Copyright"},
    {TIFFTAG_DOCUMENTNAME, "DocumentName"},
    {TIFFTAG_HOSTCOMPUTER, "HostComputer"},
    {TIFFTAG_MAKE, "Make"},
    {TIFFTAG_MODEL, "Model"},
    {TIFFTAG_SOFTWARE, "Software"},
};
constexpr char const* DescriptionKey = "Description";

// ---- the library's access to the file, and what it says

/// What the library hands back to the callbacks.
struct Client {
    std::FILE* file;
    bool readPastEnd;
    std::string reason; ///< the first thing that went wrong; later ones follow from it
};

std::FILE* FileOf(thandle_t client) {
    return static_cast<Client*>(client)->file;
}

tmsize_t ReadProc(thandle_t client, void* bytes, tmsize_t size) {
    auto const got =
        static_cast<tmsize_t>(std::fread(bytes, 1, static_cast<std::size_t>(size), FileOf(client)));
    if (got != size) {
        static_cast<Client*>(client)->readPastEnd = true;
    }
    return got;
}

tmsize_t WriteProc(thandle_t client, void* bytes, tmsize_t size) {
    return static_cast<tmsize_t>(
        std::fwrite(bytes, 1, static_cast<std::size_t>(size), FileOf(client)));
}

toff_t SeekProc(thandle_t client, toff_t offset, int whence) {
    if (::fseeko(FileOf(client), static_cast<off_t>(offset), whence) != 0) {
        return static_cast<toff_t>(-1);
    }
    return static_cast<toff_t>(::ftello(FileOf(client)));
}

int CloseProc(thandle_t /*client*/) {
    return 0; // whoever opened the file closes it
}

toff_t SizeProc(thandle_t client) {
    std::FILE* const file = FileOf(client);
    off_t const position = ::ftello(file);
    ::fseeko(file, 0, SEEK_END);
    off_t const size = ::ftello(file);
    ::fseeko(file, position, SEEK_SET);
    return static_cast<toff_t>(size);
}

int OnError(TIFF*, void* client, char const* /*module*/, char const* format, va_list args) {
    std::string& reason = static_cast<Client*>(client)->reason;
    if (reason.empty()) {
        char line[256];
        std::vsnprintf(line, sizeof(line), format, args);
        reason = line;
    }
    return 1; // handled: nothing is printed
}

int OnWarning(TIFF*, void*, char const*, char const*, va_list) {
    return 1;
}

/// An open TIFF file. Calls that answer failure go through Check.
class Tiff {
public:
    Tiff(std::FILE* file, char const* mode, uint64_t maxAllocation) : m_client{file, false, ""} {
        std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> const options(
            TIFFOpenOptionsAlloc(), TIFFOpenOptionsFree);
        if (!options) {
            throw std::bad_alloc();
        }
        TIFFOpenOptionsSetErrorHandlerExtR(options.get(), OnError, &m_client);
        TIFFOpenOptionsSetWarningHandlerExtR(options.get(), OnWarning, nullptr);
        TIFFOpenOptionsSetMaxSingleMemAlloc(
            options.get(),
            static_cast<tmsize_t>(
                std::min<uint64_t>(maxAllocation, std::numeric_limits<tmsize_t>::max())));
        m_tiff.reset(TIFFClientOpenExt(
            "image",
            mode,
            &m_client,
            ReadProc,
            WriteProc,
            SeekProc,
            CloseProc,
            SizeProc,
            nullptr,
            nullptr,
            options.get()));
        Check(m_tiff != nullptr);
    }

    Tiff(Tiff const&) = delete; // the library keeps a pointer to m_client
    Tiff& operator=(Tiff const&) = delete;

    operator TIFF*() const { return m_tiff.get(); }

    void Check(bool success) const {
        if (!success) {
            throw std::runtime_error(
                m_client.reason.empty() ? "the TIFF file is broken" : m_client.reason);
        }
    }

    /// The library passes over texts that it cannot read whole.
    void CheckWhole() const {
        if (m_client.readPastEnd) {
            throw std::runtime_error("the file is cut off");
        }
    }

    template <class T>
    T Get(uint32_t tag, T fallback) const {
        T value{};
        return TIFFGetFieldDefaulted(m_tiff.get(), tag, &value) == 1 ? value : fallback;
    }

private:
    struct Close {
        void operator()(TIFF* tiff) const { TIFFClose(tiff); }
    };

    Client m_client; // lives longer than the file, whose closing may report
    std::unique_ptr<TIFF, Close> m_tiff;
};

// ---- reading

struct TiffHeader {
    explicit TiffHeader(Tiff const& tiff)
        : width(tiff.Get<uint32_t>(TIFFTAG_IMAGEWIDTH, 0)),
          height(tiff.Get<uint32_t>(TIFFTAG_IMAGELENGTH, 0)),
          bits(tiff.Get<uint16_t>(TIFFTAG_BITSPERSAMPLE, 1)),
          samples(tiff.Get<uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1)),
          sampleFormat(tiff.Get<uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT)),
          photometric(tiff.Get<uint16_t>(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK)),
          isPlanar(tiff.Get<uint16_t>(TIFFTAG_PLANARCONFIG, 0) == PLANARCONFIG_SEPARATE) {}

    bool IsGrey() const {
        return photometric == PHOTOMETRIC_MINISBLACK || photometric == PHOTOMETRIC_MINISWHITE;
    }
    bool IsSigned() const { return sampleFormat == SAMPLEFORMAT_INT; }

    /// Whether the samples are ours as they stand.
    bool IsPlain() const {
        bool const depth = bits == 8 || bits == 16;
        bool const grey = IsGrey() && samples == 1;
        bool const colour =
            photometric == PHOTOMETRIC_RGB && (samples == 3 || samples == 4) && !IsSigned();
        return depth && (sampleFormat == SAMPLEFORMAT_UINT || IsSigned()) && (grey || colour);
    }
    PixelLayout Layout() const { return {samples, bits == 16}; }

    uint32_t width;
    uint32_t height;
    uint16_t bits;
    uint16_t samples;
    uint16_t sampleFormat;
    uint16_t photometric;
    bool isPlanar;
};

/// A rectangle of samples as the file stores them: a strip or a tile of one plane.
struct Block {
    uint32_t x;
    uint32_t y;
    uint32_t width;    ///< pixels of the stored row; a tile may reach beyond the image
    uint32_t height;   ///< rows inside the image
    uint16_t plane;    ///< first channel that it holds
    uint16_t channels; ///< channels that it holds
};

void CopyBlock(Block const& block, unsigned char const* bytes, PixelLayout layout, CImage& image) {
    std::size_t const count = layout.deep ? 2 : 1;
    std::size_t const from = block.channels * count;
    std::size_t const to = layout.BytesPerPixel();
    std::size_t const width = std::min(block.width, image.Width() - block.x);
    for (uint32_t y = 0; y < block.height; ++y) {
        unsigned char const* source = bytes + y * (block.width * from);
        unsigned char* target = image.Bytes(block.y + y) + block.x * to + block.plane * count;
        if (from == to) {
            std::copy_n(source, width * to, target);
            continue;
        }
        for (std::size_t x = 0; x < width; ++x, source += from, target += to) {
            std::copy_n(source, from, target);
        }
    }
}

void ReadBlocks(
    Tiff const& tiff, TiffHeader const& header, ReadLimits const& limits, CImage& image) {
    bool const tiled = TIFFIsTiled(tiff) != 0;
    uint32_t const blockWidth = tiled ? tiff.Get<uint32_t>(TIFFTAG_TILEWIDTH, 0) : header.width;
    uint32_t const blockHeight =
        tiled ? tiff.Get<uint32_t>(TIFFTAG_TILELENGTH, 0)
              : std::min(tiff.Get<uint32_t>(TIFFTAG_ROWSPERSTRIP, header.height), header.height);
    limits.Check(blockWidth, blockHeight);
    uint16_t const planes = header.isPlanar ? header.samples : uint16_t{1};
    uint16_t const channels = header.isPlanar ? uint16_t{1} : header.samples;
    std::size_t const rowBytes = std::size_t{blockWidth} * channels * (header.bits / 8U);
    // Not initialised: a file that lies about its size must not cost the memory it claims.
    std::unique_ptr<unsigned char[]> const bytes(new unsigned char[rowBytes * blockHeight]);

    auto const read = [&](Block const& block) {
        // Edge tiles are stored whole, the last strip is not.
        std::size_t const size = rowBytes * (tiled ? blockHeight : block.height);
        auto const wanted = static_cast<tmsize_t>(size);
        tmsize_t const got =
            tiled ? TIFFReadEncodedTile(
                        tiff,
                        TIFFComputeTile(tiff, block.x, block.y, 0, block.plane),
                        bytes.get(),
                        wanted)
                  : TIFFReadEncodedStrip(
                        tiff, TIFFComputeStrip(tiff, block.y, block.plane), bytes.get(), wanted);
        tiff.Check(got == wanted);
        CopyBlock(block, bytes.get(), header.Layout(), image);
    };
    for (uint16_t plane = 0; plane < planes; ++plane) {
        for (uint64_t y = 0; y < header.height; y += blockHeight) {
            for (uint64_t x = 0; x < header.width; x += blockWidth) {
                auto const left = static_cast<uint32_t>(x);
                auto const top = static_cast<uint32_t>(y);
                read(
                    {left,
                     top,
                     blockWidth,
                     std::min(blockHeight, header.height - top),
                     plane,
                     channels});
            }
        }
    }
}

template <class T>
void Invert(CImage& image) {
    for (unsigned y = 0; y < image.Height(); ++y) {
        T* const row = image.Row<T>(y);
        std::transform(row, row + image.Width(), row, [](T v) { return static_cast<T>(~v); });
    }
}

/// Colours stored multiplied by their alpha, as they were before.
template <class T>
void DivideByAlpha(CImage& image) {
    uint64_t const opaque = std::numeric_limits<T>::max();
    for (unsigned y = 0; y < image.Height(); ++y) {
        TRGBA<T>* const row = image.Row<TRGBA<T>>(y);
        for (unsigned x = 0; x < image.Width(); ++x) {
            uint64_t const a = row[x].a;
            auto const divide = [&](T c) {
                return static_cast<T>(
                    a == 0 ? 0 : std::min<uint64_t>((c * opaque + a / 2) / a, opaque));
            };
            row[x] = {divide(row[x].r), divide(row[x].g), divide(row[x].b), row[x].a};
        }
    }
}

/// What the channel after the colours is (EXTRASAMPLE_...), -1 when there is none.
int ExtraSample(Tiff const& tiff) {
    uint16_t count = 0;
    uint16_t* kinds = nullptr;
    bool const found = TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds) == 1 && count > 0;
    return found ? kinds[0] : -1;
}

boost::shared_ptr<CImage>
ReadPlain(Tiff const& tiff, TiffHeader const& header, ReadLimits const& limits) {
    boost::shared_ptr<CImage> image;
    if (!header.IsSigned()) {
        image = MakeImage(header.Layout(), header.width, header.height);
    } else if (header.bits == 8) {
        image = boost::make_shared<TImage<signed char>>(header.width, header.height);
    } else {
        image = boost::make_shared<TImage<short>>(header.width, header.height);
    }
    ReadBlocks(tiff, header, limits, *image);
    if (header.photometric == PHOTOMETRIC_MINISWHITE) {
        header.bits == 8 ? Invert<unsigned char>(*image) : Invert<uint16_t>(*image);
    }
    if (header.samples == 4 && ExtraSample(tiff) == EXTRASAMPLE_ASSOCALPHA) {
        header.bits == 8 ? DivideByAlpha<unsigned char>(*image) : DivideByAlpha<uint16_t>(*image);
    }
    return image;
}

/// Palettes, bitmaps, YCbCr and the like, by way of the library's own conversion to RGBA.
boost::shared_ptr<CImage> ReadOther(Tiff const& tiff, TiffHeader const& header) {
    char why[1024] = "";
    if (TIFFRGBAImageOK(tiff, why) == 0) {
        throw std::runtime_error(why);
    }
    std::unique_ptr<uint32_t[]> const raster(
        new uint32_t[std::size_t{header.width} * header.height]);
    // Rows as they are stored, whatever side of them is said to be up.
    auto const orientation = tiff.Get<uint16_t>(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    tiff.Check(
        TIFFReadRGBAImageOriented(
            tiff, header.width, header.height, raster.get(), orientation, 1) == 1);
    TImage<TRGBA<unsigned char>> rgba(header.width, header.height);
    for (unsigned y = 0; y < rgba.Height(); ++y) {
        uint32_t const* const row = raster.get() + std::size_t{y} * header.width;
        std::transform(row, row + rgba.Width(), rgba[y], [](uint32_t p) {
            return TRGBA<unsigned char>(
                static_cast<unsigned char>(TIFFGetR(p)),
                static_cast<unsigned char>(TIFFGetG(p)),
                static_cast<unsigned char>(TIFFGetB(p)),
                static_cast<unsigned char>(TIFFGetA(p)));
        });
    }
    bool const hasAlpha = ExtraSample(tiff) >= 0;
    if (hasAlpha) {
        DivideByAlpha<unsigned char>(rgba); // the library multiplies
    }
    unsigned const channels = hasAlpha ? 4 : header.IsGrey() ? 1 : 3;
    boost::shared_ptr<CImage> image = MakeImage({channels, false}, header.width, header.height);
    Convert(rgba, *image);
    return image;
}

void ReadTexts(Tiff const& tiff, ReadLimits const& limits, CImage& image) {
    TextReader texts(image, limits);
    char const* text = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_IMAGEDESCRIPTION, &text) == 1) {
        for (TextEntry const& entry : FromLines(text, DescriptionKey)) {
            texts.Add(entry);
        }
    }
    for (TextTag const& known : TextTags) {
        if (TIFFGetField(tiff, known.tag, &text) == 1) {
            texts.Add({known.key, text});
        }
    }
}

// ---- writing

void SetTexts(Tiff const& tiff, TextEntries const& texts) {
    TextEntries others;
    for (TextEntry const& entry : texts) {
        auto const* const known =
            std::find_if(std::begin(TextTags), std::end(TextTags), [&](TextTag const& candidate) {
                return entry.first == candidate.key;
            });
        if (known == std::end(TextTags)) {
            others.push_back(entry);
        } else {
            tiff.Check(TIFFSetField(tiff, known->tag, entry.second.c_str()) == 1);
        }
    }
    std::string const lines = ToLines(others);
    if (!lines.empty()) {
        tiff.Check(TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, lines.c_str()) == 1);
    }
}

void SetLayout(Tiff const& tiff, StoredImage const& stored) {
    unsigned const channels = stored.layout.channels;
    auto const set = [&](uint32_t tag, uint32_t value) {
        tiff.Check(TIFFSetField(tiff, tag, value) == 1);
    };
    set(TIFFTAG_IMAGEWIDTH, stored.image.Width());
    set(TIFFTAG_IMAGELENGTH, stored.image.Height());
    set(TIFFTAG_BITSPERSAMPLE, stored.layout.deep ? 16 : 8);
    set(TIFFTAG_SAMPLESPERPIXEL, channels);
    set(TIFFTAG_PHOTOMETRIC, channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    set(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    constexpr std::size_t stripBytes = std::size_t{64} * 1024;
    set(TIFFTAG_ROWSPERSTRIP,
        static_cast<uint32_t>(std::max<std::size_t>(1, stripBytes / stored.RowBytes())));
    if (channels == 4) {
        uint16_t const kind = EXTRASAMPLE_UNASSALPHA;
        tiff.Check(TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind) == 1);
    }
}

} // namespace

boost::shared_ptr<CImage> ReadTiff(std::FILE* file, ReadLimits const& limits) {
    constexpr uint64_t widest = 8;
    Tiff const tiff(file, "rm", limits.maxPixels * widest + (1U << 20));
    TiffHeader const header(tiff);
    limits.Check(header.width, header.height);
    boost::shared_ptr<CImage> image =
        header.IsPlain() ? ReadPlain(tiff, header, limits) : ReadOther(tiff, header);
    ReadTexts(tiff, limits, *image);
    tiff.CheckWhole();
    return image;
}

void WriteTiff(std::FILE* file, StoredImage const& stored, TextEntries const& texts) {
    // Offsets of the classic format end at 4 GiB.
    bool const isBig = uint64_t{stored.RowBytes()} * stored.image.Height() > 0xF0000000U;
    Tiff const tiff(file, isBig ? "w8" : "w", std::numeric_limits<uint64_t>::max());
    SetLayout(tiff, stored);
    SetTexts(tiff, texts);
    for (unsigned y = 0; y < stored.image.Height(); ++y) {
        tiff.Check(
            TIFFWriteScanline(tiff, const_cast<unsigned char*>(stored.image.Bytes(y)), y, 0) == 1);
    }
    tiff.Check(TIFFFlush(tiff) == 1);
}

} // namespace detail
} // namespace cimage
