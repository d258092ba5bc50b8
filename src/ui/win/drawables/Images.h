#pragma once

#include "cimage/CImage.h"
#include "cimage/TImage.h"
#include "math/Point2.h"
#include "math/Point3.h"
#include "ui/win/CWidget.h"
#include "ui/win/CWindowCore.h"
#include "ui/win/image/ConstantImage.h"

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include <algorithm>
#include <array>
#include <cstddef>

namespace ui::win {

using SPImage = boost::shared_ptr<cimage::CImage const>;

/// An image of its own over a picture whose rows are `stride` bytes apart; the stride is negative
/// for pictures that are stored from the bottom up. `pixels` is the top row's first pixel.
template <class P>
SPImage CopyPixels(P const* pixels, std::ptrdiff_t stride, unsigned width, unsigned height) {
    auto const image = boost::make_shared<cimage::TImage<P>>(width, height);
    auto const* const bytes = reinterpret_cast<unsigned char const*>(pixels);
    for (unsigned y = 0; y < height; ++y) {
        auto const* const row = reinterpret_cast<P const*>(bytes + std::ptrdiff_t{y} * stride);
        std::copy_n(row, width, (*image)[y]);
    }
    return MakeConstant(image);
}

/// The same of rows tightly packed.
template <class P>
SPImage CopyPixels(P const* pixels, unsigned width, unsigned height) {
    return MakeConstant(boost::make_shared<cimage::TImage<P>>(pixels, width, height));
}

/// An image of its own over what another one holds.
inline SPImage CopyOf(cimage::CImage const& image) {
    return MakeConstant(image.Clone());
}

/// Makes an image the core's texture for later textured vertices.
class BindImage : public CWidget {
public:
    explicit BindImage(SPImage image);
    char const* getName() const override { return "BindImage"; }
    /// @return 1
    int Draw(CWindowCore* core) override;

private:
    SPImage const m_image;
};

/// A shared image over an axis-aligned rectangle, or over the camera's view at rest. What its
/// owner changes in it shows at the next redraw.
class Image : public CWidget {
public:
    /// Free placement: over the whole view of the core's camera before the user moved it; at
    /// distance 1 of a camera in space.
    explicit Image(SPImage image);
    Image(
        math::Point2<float> const& topLeft, math::Point2<float> const& bottomRight, SPImage image);
    char const* getName() const override { return "Image"; }
    /// @return 1
    int Draw(CWindowCore* core) override;

private:
    math::Point2<float> const m_topLeft;
    math::Point2<float> const m_bottomRight;
    bool const m_freePlacement;
    SPImage const m_image;
};

/// An Image over pixels of its own. P is unsigned char, TRGB<unsigned char> or
/// TRGBA<unsigned char>, rows tightly packed.
class CopyImage : public Image {
public:
    explicit CopyImage(cimage::CImage const& image) : Image(CopyOf(image)) {}
    CopyImage(
        math::Point2<float> const& topLeft,
        math::Point2<float> const& bottomRight,
        cimage::CImage const& image)
        : Image(topLeft, bottomRight, CopyOf(image)) {}
    template <class P>
    CopyImage(P const* pixels, unsigned width, unsigned height)
        : Image(CopyPixels(pixels, width, height)) {}
    template <class P>
    CopyImage(
        math::Point2<float> const& topLeft,
        math::Point2<float> const& bottomRight,
        P const* pixels,
        unsigned width,
        unsigned height)
        : Image(topLeft, bottomRight, CopyPixels(pixels, width, height)) {}
};

/// A shared image over any quadrilateral. Corners: top right, top left, bottom left, bottom right
/// of the image.
class ImageTexture : public CWidget {
public:
    /// @param corners four of them, copied
    ImageTexture(math::Point3<float> const* corners, SPImage image);
    char const* getName() const override { return "ImageTexture"; }
    /// @return 1
    int Draw(CWindowCore* core) override;

private:
    std::array<math::Point3<float>, 4> const m_corners;
    SPImage const m_image;
};

/// An ImageTexture over pixels of its own.
class CopyImageTexture : public ImageTexture {
public:
    CopyImageTexture(math::Point3<float> const* corners, cimage::CImage const& image)
        : ImageTexture(corners, CopyOf(image)) {}
    /// @param stride bytes from row to row
    template <class P>
    CopyImageTexture(
        math::Point3<float> const* corners,
        P const* pixels,
        std::ptrdiff_t stride,
        unsigned width,
        unsigned height)
        : ImageTexture(corners, CopyPixels(pixels, stride, width, height)) {}
};

} // namespace ui::win
