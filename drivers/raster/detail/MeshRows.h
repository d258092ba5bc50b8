#pragma once

#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/TriangleShares.h"
#include "math/Rect2.h"

#include <vector>

namespace drivers::raster::detail {

/// Some rows of a picture in which triangles of one colour meet, each pixel covered in part.
///
/// What they cover of a pixel adds up, so that nothing shows through along the edges they share.
/// What is more than the whole pixel lies above it once more.
class EvenRows {
public:
    /// Begins with nothing covered.
    void Start(math::Rect2<int> const& area);
    /// Adds a triangle. @param area TwiceArea() of its corners, not 0
    void Add(Point const (&corners)[3], double area);
    /// Draws it.
    void Finish(Target const& target, Ink const& ink);

private:
    // Sums of so many, and of what has been settled, fit an int.
    static constexpr int MostAtOnce = 1 << 14;
    static constexpr int MostSettled = 1 << 29;

    ShareRow RowAt(int y);
    void Touch(double left, double right);
    void Settle();
    int TakeSums(int y);

    math::Rect2<int> m_area;
    std::vector<int> m_changes; ///< all 0 before Start()
    int m_count = 0;            ///< triangles since the last Settle()
    int m_from = 0;             ///< columns that they touched
    int m_to = 0;
    std::vector<int> m_sums; ///< of one row
    std::vector<unsigned char> m_alphas;
};

/// Some rows of a picture in which triangles of many colours meet, each pixel covered in part.
///
/// What they cover of a pixel adds up as in EvenRows. Where that would be more than the whole pixel
/// they overlap, and the later one lies above.
class MeshRows {
public:
    /// Begins with nothing covered.
    void Start(Target const& part);
    /// Adds what a triangle covers of a pixel. @param share 1 to PathFill::Whole
    void Add(int x, int y, int share, Colour colour);
    /// The same for whole pixels side by side.
    void AddWhole(int x, int y, Colour const* colours, int count);
    /// Draws what is still to be drawn.
    void Finish();

private:
    using Channels = float __attribute__((vector_size(16)));
    struct Touched {
        int from;
        int to;
    };

    std::size_t At(int x, int y) const {
        return static_cast<std::size_t>(y - m_part.clip.top) *
                   static_cast<std::size_t>(m_part.clip.Width()) +
               static_cast<std::size_t>(x - m_part.clip.left);
    }
    void Touch(int x, int y);
    void Settle(std::size_t at, Colour& pixel);

    Target m_part;
    // Of each pixel how much is covered, and the mean of the colours there times their alpha, with
    // the mean alpha behind them. All 0 before Start().
    std::vector<float> m_shares;
    std::vector<float> m_colours;
    std::vector<Touched> m_touched; ///< columns of each row
};

/// Working storage of smooth meshes, kept between uses.
struct MeshScratch {
    EvenRows even;
    MeshRows mixed;
    TriangleShares shares;
};

} // namespace drivers::raster::detail
