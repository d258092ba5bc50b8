#pragma once

#include "cimage/CImage.h"
#include "drivers/raster/Canvas.h"
#include "drivers/raster/TextRenderer.h"
#include "math/Rect2.h"
#include "math/TMatrix.h"
#include "ui/win/DrawingTypes.h"

#include <cstdint>
#include <vector>

namespace drivers::raster {

/// Writes what an image stores into those of its pixels that are shown large, one line a channel,
/// black on light ones and white on dark ones.
///
/// The values lie over the picture that they were written for and are no part of it. What is drawn
/// over an image covers its values as well: Add() marks their pixels in the picture, drawing wipes
/// the marks out, and Finish() looks for those that are left. Belongs to one thread.
class PixelValues {
public:
    /// Edge of an image's pixel, in pixels of the picture, from which on its value is written.
    static constexpr double kSmallestEdge = 32;

    void Clear();
    /// Values for an image that was just drawn as one quad.
    ///
    /// @param corners       in the order of a quad, with the image's corners as textures; quads
    /// that
    ///                      are no parallelograms on the screen get no values
    /// @param worldToPixel  as Canvas::SetView takes it; views with perspective get no values
    void
    Add(Canvas& picture,
        TextRenderer& text,
        cimage::CImage const& image,
        ui::win::T2F_V3F_t const (&corners)[4],
        math::TMatrix<double, 3, 4> const& worldToPixel);
    /// Forgets the values that were drawn over, and makes the picture opaque again.
    void Finish(Canvas& picture);

    bool Empty() const { return m_marks.empty(); }
    /// Writes the values onto a copy of the picture.
    void Write(Canvas& copy) const;

private:
    /// A pixel of a value.
    struct Mark {
        std::uint16_t x = 0;
        std::uint16_t y = 0;
        Colour ink; ///< with its coverage as alpha
    };
    class Pen;

    std::vector<Mark> m_marks;
};

} // namespace drivers::raster
