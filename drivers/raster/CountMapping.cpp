#include "drivers/raster/CountMapping.h"

#include "cimage/TImage.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace drivers::raster {

using cimage::CImage;
using ui::win::ColorMap;
using ui::win::ImageRange;

namespace {

using Palette = std::array<Colour, 256>;

/// How a pixel type lies in memory.
struct CountLayout {
    unsigned channels;
    unsigned bytes; ///< of a count
    bool isSigned;
    bool blueFirst;
};

constexpr CountLayout kLayouts[] = {
    {0, 0, false, false}, // no type
    {1, 1, false, false}, // grey
    {1, 1, true, false},
    {1, 2, false, false},
    {1, 2, true, false},
    {1, 1, false, false}, // mosaics of 8 bits
    {1, 1, false, false},
    {1, 1, false, false},
    {1, 1, false, false},
    {1, 2, false, false}, // mosaics of 16 bits
    {1, 2, false, false},
    {1, 2, false, false},
    {1, 2, false, false},
    {3, 1, false, false}, // colours
    {4, 1, false, false},
    {4, 1, false, true},
    {3, 2, false, false},
    {4, 2, false, false},
};

CountLayout const& LayoutOf(CImage const& image) {
    return kLayouts[image.Type() < std::size(kLayouts) ? image.Type() : 0];
}

std::int32_t CountAt(unsigned char const* bytes, CountLayout const& layout) {
    std::uint16_t word = *bytes;
    if (layout.bytes == 2) {
        std::memcpy(&word, bytes, sizeof word);
        return layout.isSigned ? static_cast<std::int16_t>(word) : word;
    }
    return layout.isSigned ? static_cast<signed char>(word) : word;
}

/// The count whose bits, read as a number without sign, are `bits`.
double CountOf(unsigned bits, unsigned values, bool isSigned) {
    return bits < values / 2 || !isSigned ? double(bits) : double(bits) - double(values);
}

Palette MakePalette(ColorMap map) {
    // Even steps of lightness (L* 14 to 90) and hue (312 to 96 degrees) in CIE L*C*h.
    constexpr int path[9][3] = {
        {49, 19, 82},
        {1, 54, 116},
        {3, 83, 121},
        {2, 110, 134},
        {7, 138, 144},
        {6, 167, 143},
        {24, 199, 106},
        {157, 218, 71},
        {252, 228, 57}};
    Palette palette;
    for (int i = 0; i < 256; ++i) {
        // Triangles a quarter apart, cut off at the top.
        auto const peak = [i](int centre) {
            return static_cast<unsigned char>(
                std::clamp((765 - std::abs(8 * i - centre)) / 2, 0, 255));
        };
        auto const between = [&](int channel) {
            int const from = std::min(i * 8 / 255, 7);
            int const part = i * 8 - from * 255;
            int const sum = path[from][channel] * (255 - part) + path[from + 1][channel] * part;
            return static_cast<unsigned char>((sum + 127) / 255);
        };
        auto const step = static_cast<unsigned char>(i);
        auto const rest = static_cast<unsigned char>(255 - i);
        Colour& colour = palette[static_cast<std::size_t>(i)];
        switch (map) {
        case ui::win::ColorMapInverted:
            colour = {rest, rest, rest, 255};
            break;
        case ui::win::ColorMapJet:
            colour = {peak(1530), peak(1020), peak(510), 255};
            break;
        case ui::win::ColorMapViridis:
            colour = {between(0), between(1), between(2), 255};
            break;
        default:
            colour = {step, step, step, 255};
        }
    }
    return palette;
}

Palette const& PaletteOf(ColorMap map) {
    static Palette const palettes[] = {
        MakePalette(ui::win::ColorMapOff),
        MakePalette(ui::win::ColorMapGrey),
        MakePalette(ui::win::ColorMapInverted),
        MakePalette(ui::win::ColorMapJet),
        MakePalette(ui::win::ColorMapViridis)};
    auto const index = static_cast<std::size_t>(map);
    return palettes[index < std::size(palettes) ? index : 0];
}

bool HasColours(ColorMap map) {
    return map == ui::win::ColorMapJet || map == ui::win::ColorMapViridis;
}
bool IsMap(ColorMap map) {
    return map == ui::win::ColorMapGrey || map == ui::win::ColorMapInverted || HasColours(map);
}
bool IsRange(ImageRange const& range) {
    bool const known = range.kind == ImageRange::Counts || range.kind == ImageRange::Percentiles;
    return known && !std::isnan(range.low) && !std::isnan(range.high);
}

template <class T>
void Count(CImage const& image, std::uint32_t* histogram) {
    for (unsigned y = 0; y < image.Height(); ++y) {
        T const* const row = image.Row<T>(y);
        for (unsigned x = 0; x < image.Width(); ++x) {
            ++histogram[row[x]];
        }
    }
}

template <class T, class Out>
void Look(CImage const& image, Out const* table, CImage& shown) {
    for (unsigned y = 0; y < image.Height(); ++y) {
        T const* const from = image.Row<T>(y);
        Out* const to = shown.Row<Out>(y);
        for (unsigned x = 0; x < image.Width(); ++x) {
            to[x] = table[from[x]];
        }
    }
}

/// Takes counts through a table of steps, and these through a palette.
template <class T>
void Colours(
    CImage const& image, unsigned char const* steps, Palette const& palette, CImage& shown) {
    for (unsigned y = 0; y < image.Height(); ++y) {
        T const* const from = image.Row<T>(y);
        Colour* const to = shown.Row<Colour>(y);
        for (unsigned x = 0; x < image.Width(); ++x) {
            to[x] = palette[steps[from[x]]];
        }
    }
}

template <class P>
boost::shared_ptr<CImage> Make(CImage const& size) {
    auto const image = boost::make_shared<cimage::TImage<P>>();
    image->ResizeToOverwrite(size.Width(), size.Height());
    return image;
}

/// An image of 8-bit counts: a mosaic where the image is one.
boost::shared_ptr<CImage> MakeCounts(CImage const& image) {
    using namespace cimage;
    using Byte = unsigned char;
    switch (image.Type()) {
    case PixelTypeNumber<Bayer<TBGGR<Byte>>>::value:
    case PixelTypeNumber<Bayer<TBGGR<unsigned short>>>::value:
        return Make<Bayer<TBGGR<Byte>>>(image);
    case PixelTypeNumber<Bayer<TGRBG<Byte>>>::value:
    case PixelTypeNumber<Bayer<TGRBG<unsigned short>>>::value:
        return Make<Bayer<TGRBG<Byte>>>(image);
    case PixelTypeNumber<Bayer<TRGGB<Byte>>>::value:
    case PixelTypeNumber<Bayer<TRGGB<unsigned short>>>::value:
        return Make<Bayer<TRGGB<Byte>>>(image);
    case PixelTypeNumber<Bayer<TGBRG<Byte>>>::value:
    case PixelTypeNumber<Bayer<TGBRG<unsigned short>>>::value:
        return Make<Bayer<TGBRG<Byte>>>(image);
    default:
        return Make<Byte>(image);
    }
}

} // namespace

bool ReadCounts(CImage const& image, int x, int y, ui::win::ImageCounts& counts) {
    CountLayout const& layout = LayoutOf(image);
    auto const column = static_cast<unsigned>(x);
    auto const row = static_cast<unsigned>(y);
    if (layout.channels == 0 || column >= image.Width() || row >= image.Height()) {
        return false; // below zero as well
    }
    counts = {column, row, layout.channels, {}};
    unsigned char const* from = image.Bytes(row) + column * image.BytesPerPixel();
    for (unsigned i = 0; i < layout.channels; ++i, from += layout.bytes) {
        counts.values[layout.blueFirst && i < 3 ? 2 - i : i] = CountAt(from, layout);
    }
    return true;
}

Colour CountMapping::ColourOf(ColorMap map, unsigned char step) {
    return PaletteOf(map)[step];
}

CountMapping::Limits CountMapping::FindLimits(CImage const& image, ImageRange const& range) {
    CountLayout const& layout = LayoutOf(image);
    unsigned const values = layout.bytes == 1 ? 256 : 65536;
    unsigned const first = layout.isSigned ? values / 2 : 0; // the bits of the smallest count
    if (!IsRange(range)) {
        double const low = CountOf(first, values, layout.isSigned);
        return {low, low + values - 1};
    }
    if (range.kind == ImageRange::Counts) {
        constexpr double most = 1e9; // far beyond any count, and still a number to divide by
        return {std::clamp(range.low, -most, most), std::clamp(range.high, -most, most)};
    }
    m_histogram.assign(values, 0);
    if (layout.bytes == 1) {
        Count<std::uint8_t>(image, m_histogram.data());
    } else {
        Count<std::uint16_t>(image, m_histogram.data());
    }
    auto const percentile = [&](double percent) {
        double const pixels = double(image.Width()) * image.Height();
        double const wanted = std::max(1.0, std::clamp(percent, 0.0, 100.0) / 100 * pixels);
        double passed = 0;
        unsigned bits = first;
        for (unsigned i = 0; i < values && passed < wanted; ++i) {
            bits = (first + i) % values;
            passed += m_histogram[bits];
        }
        return CountOf(bits, values, layout.isSigned);
    };
    return {percentile(range.low), percentile(range.high)};
}

void CountMapping::Prepare(Key const& key) {
    if (key.values == m_key.values && key.isSigned == m_key.isSigned &&
        key.limits.low == m_key.limits.low && key.limits.high == m_key.limits.high) {
        return;
    }
    m_key = key;
    m_steps.resize(key.values);
    double const low = key.limits.low;
    double const width = key.limits.high - low;
    for (unsigned bits = 0; bits < key.values; ++bits) {
        double const above = CountOf(bits, key.values, key.isSigned) - low;
        double const part = width != 0 ? above / width : above < 0 ? 0 : above > 0 ? 1 : 0.5;
        m_steps[bits] = static_cast<unsigned char>(std::clamp(part, 0.0, 1.0) * 255 + 0.5);
    }
}

CountMapping::SPImage
CountMapping::Map(SPImage const& image, ImageRange const& range, ColorMap map) {
    CountLayout const& layout = LayoutOf(*image);
    if (layout.channels != 1 || image->Empty() || (!IsRange(range) && !IsMap(map))) {
        return image;
    }
    bool const deep = layout.bytes == 2;
    Prepare({FindLimits(*image, range), deep ? 65536U : 256U, layout.isSigned});
    if (HasColours(map)) {
        boost::shared_ptr<CImage> const shown = Make<Colour>(*image);
        (deep ? Colours<std::uint16_t>
              : Colours<std::uint8_t>)(*image, m_steps.data(), PaletteOf(map), *shown);
        return shown;
    }
    std::vector<unsigned char> inverted;
    unsigned char const* steps = m_steps.data();
    if (map == ui::win::ColorMapInverted) {
        inverted = m_steps;
        for (unsigned char& step : inverted) {
            step = static_cast<unsigned char>(255 - step);
        }
        steps = inverted.data();
    }
    boost::shared_ptr<CImage> const shown =
        IsMap(map) ? Make<unsigned char>(*image) : MakeCounts(*image);
    (deep ? Look<std::uint16_t, unsigned char>
          : Look<std::uint8_t, unsigned char>)(*image, steps, *shown);
    return shown;
}

} // namespace drivers::raster
