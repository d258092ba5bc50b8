#pragma once

#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/RunLoops.h"
#include "math/Rect2.h"

#include <cstdint>
#include <vector>

namespace drivers::raster::detail {

/// Colours of some pixels side by side: red, green and blue from 0 to 255, alpha from 0 to 1.
struct ColourRun {
    float channels[4][RunLength];
};

/// Some rows of a picture in which the triangles of a mesh meet, each pixel covered in part.
///
/// What they cover of a pixel adds up, so that nothing shows through along the edges they share.
/// Where that would be more than the whole pixel they overlap, and the later one lies above.
class MeshRows {
public:
    static constexpr int Most = 32; ///< rows that fit into a processor's own cache

    /// Begins with nothing covered. @param area at most so many rows high
    void Start(math::Rect2<int> const& area);
    /// Adds what a triangle covers of `count` pixels, RunLength at most.
    /// @param shares 0 to PathFill::Whole
    void Add(int y, int x, int count, int const* shares, ColourRun const& colours);
    /// Draws it.
    void Finish(Target const& target);

private:
    /// Of each pixel how much is covered, and the mean colour there times its mean alpha, and that.
    enum Plane { Share, Red, Green, Blue, Alpha, Planes };
    struct Touched {
        int from;
        int to;
    };

    float* At(Plane plane, int y, int x);

    math::Rect2<int> m_area;
    std::vector<float> m_planes[Planes]; ///< all 0 before Start()
    std::vector<Touched> m_touched;      ///< columns of each row
};

/// The rows that a triangle reaches into.
struct MeshReach {
    std::uint32_t number;
    std::int16_t first;
    std::int16_t last;

    bool Meets(int top, int bottom) const { return first < bottom && last >= top; }
};

/// Working storage of smooth meshes, kept between uses.
struct MeshScratch {
    MeshRows rows;
    std::vector<MeshReach> reach;
};

} // namespace drivers::raster::detail
