#pragma once

#include "cimage/CImage.h"
#include "drivers/raster/DrawState.h"
#include "ui/win/DrawingTypes.h"

#include <boost/shared_ptr.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace drivers::raster {

/// Reads what an image of any pixel type stores at pixel (x, y), without converting anything.
/// @return false, changing nothing, outside of the image and for types of no known layout
bool ReadCounts(cimage::CImage const& image, int x, int y, ui::win::ImageCounts& counts);

/// Makes pictures of the counts of one-channel images: those between a low and a high one are
/// spread evenly over 256 steps, rounded to nearest, and shown in the colours of a map.
///
/// The low count is the first step and the high one the last, whichever is greater. Between equal
/// ones, smaller counts are the first step, greater ones the last, and their own the middle one. A
/// range that is not a number, and one that is off, is the whole range of the pixel type. The
/// percentile p of an image is the smallest of its counts that p % of its pixels do not exceed.
///
/// Belongs to one thread; keeps the table of the last range it was asked for.
class CountMapping {
public:
    using SPImage = boost::shared_ptr<cimage::CImage const>;

    /// What is to be shown instead of an image: grey of 8 bits, a mosaic of 8 bits with the same
    /// arrangement where no map is set, RGBA for the maps with colours.
    /// @return the image itself where both are off, and for images of several channels
    SPImage Map(SPImage const& image, ui::win::ImageRange const& range, ui::win::ColorMap map);

    /// The colour of a step; a map that is off or unknown is grey.
    static Colour ColourOf(ui::win::ColorMap map, unsigned char step);

private:
    struct Limits {
        double low;
        double high;
    };
    struct Key {
        Limits limits;
        unsigned values;
        bool isSigned;
    };

    Limits FindLimits(cimage::CImage const& image, ui::win::ImageRange const& range);
    void Prepare(Key const& key);

    Key m_key{{0, 0}, 0, false};
    std::vector<unsigned char> m_steps; // by the bits of a count
    std::vector<std::uint32_t> m_histogram;
};

} // namespace drivers::raster
