#pragma once

#include "drivers/raster/Canvas.h"
#include "math/Point2.h"
#include "math/Rect2.h"
#include "math/TMatrix.h"
#include "ui/win/DrawingTypes.h"

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include <cstddef>
#include <vector>

namespace drivers::raster {

/// Where the images of a picture are, to be asked for afterwards: each textured triangle and quad
/// with the view that it was drawn through. Images are not kept alive; one that is gone is passed
/// over.
class ShownImages {
public:
    using SPImage = boost::shared_ptr<cimage::CImage const>;

    void Clear();
    /// The view of what is added from now on.
    void SetView(
        math::TMatrix<double, 3, 4> const& worldToPixel,
        math::Rect2<int> const& clip,
        DrawState const& state);
    /// @param corners of a shape, 3 or 4
    void
    Add(boost::weak_ptr<cimage::CImage const> const& image,
        ui::win::T2F_V3F_t const* vertices,
        std::size_t count,
        std::size_t corners,
        DrawState const& state);
    /// The image drawn last that is seen at a pixel, and the position in it, in texels. Leaves the
    /// canvas with another view.
    bool Find(Canvas& canvas, int x, int y, SPImage& image, math::Point2<double>& texel) const;

private:
    struct View {
        math::TMatrix<double, 3, 4> worldToPixel;
        math::Rect2<int> clip;
        double depthNear;
        double depthFar;
    };
    struct Shapes {
        boost::weak_ptr<cimage::CImage const> image;
        std::size_t view;
        std::size_t corners;
        std::size_t first;
        std::size_t count; ///< of vertices
        bool depthTest;
    };

    std::vector<View> m_views;
    std::vector<Shapes> m_shapes;
    std::vector<ui::win::T2F_V3F_t> m_vertices;
};

} // namespace drivers::raster
