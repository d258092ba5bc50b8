#pragma once

#include "cimage/CImage.h"
#include "cimage/PixelTypes.h"

#include <boost/make_shared.hpp>

#include <cstring>

namespace cimage {

/// An image of pixels of type P; all data lives in CImage.
template <class P>
class TImage : public CImage {
public:
    using pixel_type = P;
    static constexpr unsigned StaticType = PixelTypeNumber<P>::value;

    TImage() : TImage(0, 0) {}
    /// width x height zeroed pixels.
    TImage(unsigned width, unsigned height) : CImage(StaticType, sizeof(P), width, height) {}
    /// Copies width x height pixels whose rows are strideBytes apart (0: tightly packed).
    TImage(P const* pixels, unsigned width, unsigned height, std::size_t strideBytes = 0)
        : TImage(width, height) {
        std::size_t const rowBytes = width * sizeof(P);
        std::size_t const step = strideBytes == 0 ? rowBytes : strideBytes;
        auto const* source = reinterpret_cast<unsigned char const*>(pixels);
        for (unsigned y = 0; y < height && rowBytes != 0; ++y) {
            std::memcpy(Bytes(y), source + y * step, rowBytes);
        }
    }

    boost::shared_ptr<CImage> Clone() const override { return boost::make_shared<TImage>(*this); }

    P* operator[](unsigned y) { return Row<P>(y); }
    P const* operator[](unsigned y) const { return Row<P>(y); }
    P& operator()(unsigned x, unsigned y) { return Row<P>(y)[x]; }
    P const& operator()(unsigned x, unsigned y) const { return Row<P>(y)[x]; }
};

} // namespace cimage
