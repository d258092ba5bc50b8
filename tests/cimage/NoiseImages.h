#pragma once

#include "cimage/TImage.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <random>
#include <vector>

namespace cimage {

/// Any pixels, the same at every call.
template <class P>
boost::shared_ptr<CImage> MakeNoise(unsigned width, unsigned height) {
    auto image = boost::make_shared<TImage<P>>(width, height);
    std::mt19937 random(width + 1000 * height);
    for (unsigned y = 0; y < height; ++y) {
        std::generate_n(image->Bytes(y), width * sizeof(P), [&] {
            return static_cast<unsigned char>(random());
        });
    }
    return image;
}

/// One image of every pixel type, by type number.
inline std::vector<boost::shared_ptr<CImage>> MakeOneOfEach(unsigned width, unsigned height) {
    return {
        nullptr,
        MakeNoise<unsigned char>(width, height),
        MakeNoise<signed char>(width, height),
        MakeNoise<unsigned short>(width, height),
        MakeNoise<short>(width, height),
        MakeNoise<Bayer<TBGGR<unsigned char>>>(width, height),
        MakeNoise<Bayer<TGRBG<unsigned char>>>(width, height),
        MakeNoise<Bayer<TRGGB<unsigned char>>>(width, height),
        MakeNoise<Bayer<TGBRG<unsigned char>>>(width, height),
        MakeNoise<Bayer<TBGGR<unsigned short>>>(width, height),
        MakeNoise<Bayer<TGRBG<unsigned short>>>(width, height),
        MakeNoise<Bayer<TRGGB<unsigned short>>>(width, height),
        MakeNoise<Bayer<TGBRG<unsigned short>>>(width, height),
        MakeNoise<TRGB<unsigned char>>(width, height),
        MakeNoise<TRGBA<unsigned char>>(width, height),
        MakeNoise<TBGRA<unsigned char>>(width, height),
        MakeNoise<TRGB<unsigned short>>(width, height),
        MakeNoise<TRGBA<unsigned short>>(width, height)};
}

} // namespace cimage
