#pragma once

#include "drivers/raster/detail/Texture.h"
#include "drivers/raster/detail/TextureLevels.h"
#include "drivers/raster/detail/Triangle.h"
#include "math/Point2.h"

#include <cmath>

namespace drivers::raster::detail {

inline double SquaredLength(double x, double y) {
    return x * x + y * y;
}

/// Drawn at half size or less along either axis of the picture, as ImageAxis has it.
/// @param slack 0, or the part by which less counts too
inline bool IsReduced(Footprint const& footprint, double slack = 0) {
    double const least = ReducedFrom * ReducedFrom * (1 - slack);
    return SquaredLength(footprint.acrossX, footprint.acrossY) >= least ||
           SquaredLength(footprint.downX, footprint.downY) >= least;
}

/// Where under a pixel texels are looked at.
struct MeanSteps {
    int columns;
    int rows;
    int level; ///< times the texture is halved
};

/// No more than a texel apart, from the finest level that has not too many of them.
inline MeanSteps StepsOf(Footprint const& footprint) {
    constexpr double most = 64;
    auto const steps = [](double length) { return std::floor(length * (1 - SizeSlack)) + 1; };
    double across = std::sqrt(SquaredLength(footprint.acrossX, footprint.acrossY));
    double down = std::sqrt(SquaredLength(footprint.downX, footprint.downY));
    int level = 0;
    for (; !(steps(across) * steps(down) <= most); ++level) { // as it is for what is not a number
        if (level == TextureLevels::Most) {
            return {1, 1, level};
        }
        across /= 2;
        down /= 2;
    }
    return {static_cast<int>(steps(across)), static_cast<int>(steps(down)), level};
}

/// The mean of some texels under a pixel, of those that are in the texture where it ends there.
/// @param scale how many of them, in a row, are a texel of the whole texture
template <class Texel>
ColourMean<Texel::HasAlpha> MeanOf(
    Sampler<Texel, false> const& texels,
    double scale,
    Texture const& whole,
    MeanSteps const& steps,
    math::Point2<double> const& at,
    Footprint const& f) {
    ColourMean<Texel::HasAlpha> mean;
    auto const visit = [&](auto const& add) {
        for (int row = 0; row < steps.rows; ++row) {
            double const down = (row + 0.5) / steps.rows - 0.5;
            for (int column = 0; column < steps.columns; ++column) {
                double const across = (column + 0.5) / steps.columns - 0.5;
                add(at.x + across * f.acrossX + down * f.downX,
                    at.y + across * f.acrossY + down * f.downY);
            }
        }
    };
    auto const add = [&](double x, double y) {
        mean.Add(texels.At(static_cast<int>(x * scale), static_cast<int>(y * scale)));
    };
    double const reachX = (std::abs(f.acrossX) + std::abs(f.downX)) / 2;
    double const reachY = (std::abs(f.acrossY) + std::abs(f.downY)) / 2;
    if (at.x >= reachX && at.x + reachX < whole.width && at.y >= reachY &&
        at.y + reachY < whole.height) {
        visit(add);
    } else {
        visit([&](double x, double y) {
            if (x >= 0 && x < whole.width && y >= 0 && y < whole.height) {
                add(x, y);
            }
        });
    }
    return mean;
}

/// The mean of the texels under a pixel.
template <class Texel, bool Linear>
Colour MeanTexel(
    Sampler<Texel, Linear> const& sampler,
    Texture const& texture,
    TextureLevels& levels,
    math::Point2<double> const& at,
    Footprint const& footprint) {
    MeanSteps const steps = StepsOf(footprint);
    Texture const* from = &texture;
    double scale = 1;
    if (steps.level > 0) {
        TextureLevels::Level const& level = levels.At(steps.level);
        from = &level.texture;
        scale = level.scale;
    }
    auto const mean = MeanOf(Sampler<Texel, false>(*from), scale, texture, steps, at, footprint);
    return mean.Empty() ? sampler.Nearest(at.x, at.y) : mean.Mean();
}

} // namespace drivers::raster::detail
