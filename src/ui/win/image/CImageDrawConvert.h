#pragma once

#include "cimage/Conversion.h"
#include "cimage/TImage.h"

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

namespace ui::win {

// Converters for CImageConvertPool. S, M and D are cimage::TImage<P>.

/// Answers the same image, to be read as D: no pixel is copied.
template <class S, class D>
struct StaticCastConvert {
    static_assert(
        sizeof(typename S::pixel_type) == sizeof(typename D::pixel_type),
        "the two types have the same layout");

    static boost::shared_ptr<cimage::CImage const>
    CreateObject(boost::shared_ptr<cimage::CImage const> const& image) {
        return image;
    }
};

/// Views the source as M without copying, then converts M to D.
template <class S, class M, class D>
struct DrawCastAndConvert {
    static_assert(
        sizeof(typename S::pixel_type) == sizeof(typename M::pixel_type),
        "the two types have the same layout");

    static boost::shared_ptr<cimage::CImage const>
    ConvertObject(boost::shared_ptr<cimage::CImage const> const& image) {
        auto const converted = boost::make_shared<D>();
        // What operator>> does from M, without pretending that the object is an M.
        cimage::ConvertAs(M::StaticType, *image, *converted);
        return converted;
    }
};

/// Makes a new image by the image library's conversion from S to D.
template <class S, class D>
using DrawConvert = DrawCastAndConvert<S, S, D>;

} // namespace ui::win
