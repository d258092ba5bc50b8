#include "ui/win/drawables/CWidgets.h"

#include "math/TMatrix.h"

#include <boost/assert.hpp>

namespace ui::win {

namespace {

constexpr double fullCircle = 6.283185307179586;

/// @return the image, which must be there
SPImage Required(SPImage image) {
    BOOST_ASSERT(image);
    return image;
}

/// The camera's whole view at rest, in the corner order of CWindowCore::DrawImage.
std::array<math::Point3<float>, 4> RestCorners(CWindowCore* core) {
    math::TMatrix<double, 3, 4> m;
    core->GetRestInverseUVWMatrix(m);
    std::array<math::Point3<float>, 4> corners;
    constexpr double device[4][2] = {{1, 1}, {-1, 1}, {-1, -1}, {1, -1}};
    for (std::size_t i = 0; i < corners.size(); ++i) {
        double const u = device[i][0];
        double const v = device[i][1];
        // Depth 1: in the view of a camera in space. A planar camera's matrix ignores the depth,
        // and its third row is zero, which puts the image into the plane.
        auto const coordinate = [&m, u, v](int row) {
            return static_cast<float>(m(row, 0) * u + m(row, 1) * v + m(row, 2) + m(row, 3));
        };
        corners[i] = {coordinate(0), coordinate(1), coordinate(2)};
    }
    return corners;
}

} // namespace

template class Pixels<math::Point2<float>>;
template class Pixels<math::Point3<float>>;
template class Pixels<C4UB_V3F_t>;
template class Pixels<T2F_V3F_t>;
template class LineStream<math::Point2<float>>;
template class LineStream<math::Point3<float>>;
template class LineStream<C4UB_V3F_t>;
template class Triangles<math::Point2<float>>;
template class Triangles<math::Point3<float>>;
template class Triangles<C4UB_V3F_t>;
template class Triangles<T2F_V3F_t>;
template class Boxes<math::Point2<float>>;
template class Boxes<math::Point3<float>>;
template class Boxes<C4UB_V3F_t>;
template class Boxes<T2F_V3F_t>;
template class PolyLine<math::Point2<float>>;
template class PolyLine<math::Point3<float>>;

int SetFontName::Draw(CWindowCore* core) {
    core->SetFontName(m_name.c_str());
    return 1;
}

Ellipse::Ellipse(double x0, double y0, double x1, double y1, bool filled)
    : Ellipse(x0, y0, x1, y1, 0, fullCircle, filled) {}

Ellipse::Ellipse(double x0, double y0, double x1, double y1, double start, double end, bool filled)
    : m_edges(x0, y0, x1, y1), m_start(start), m_end(end), m_filled(filled) {}

int Ellipse::Draw(CWindowCore* core) {
    core->DrawEllipse(
        m_edges.left, m_edges.top, m_edges.right, m_edges.bottom, m_start, m_end, m_filled);
    return 1;
}

Cross::Cross(double x, double y, double size) {
    double const half = size / 2;
    double const ends[][2] = {{x, y - half}, {x, y + half}, {x - half, y}, {x + half, y}};
    for (auto const& end : ends) {
        Vertices().emplace_back(static_cast<float>(end[0]), static_cast<float>(end[1]));
    }
}

int Text::Draw(CWindowCore* core) {
    DrawShifted(core, 0);
    return 1;
}

void Text::DrawShifted(CWindowCore* core, double shift) const {
    core->DrawText(m_position + math::Point3<double>(shift, shift, shift), m_text.c_str());
}

int ShadowText::Draw(CWindowCore* core) {
    CWindowCore::Colour colour(255, 255, 255, 255); // what a core draws on with that cannot tell
    core->GetColor(&colour);
    core->SetColor({0, 0, 0, 127});
    DrawShifted(core, 1);
    core->SetColor(colour);
    DrawShifted(core, 0);
    return 1;
}

BindImage::BindImage(SPImage image) : m_image(Required(std::move(image))) {}

int BindImage::Draw(CWindowCore* core) {
    core->BindImage(m_image);
    return 1;
}

Image::Image(SPImage image) : m_freePlacement(true), m_image(Required(std::move(image))) {}

Image::Image(
    math::Point2<float> const& topLeft, math::Point2<float> const& bottomRight, SPImage image)
    : m_topLeft(topLeft), m_bottomRight(bottomRight), m_freePlacement(false),
      m_image(Required(std::move(image))) {}

int Image::Draw(CWindowCore* core) {
    core->setLastDrawnImageMetadata(&m_image->Metadata());
    if (m_freePlacement) {
        core->DrawImage(RestCorners(core).data(), m_image);
    } else {
        core->DrawImage(m_topLeft, m_bottomRight, m_image);
    }
    return 1;
}

ImageTexture::ImageTexture(math::Point3<float> const* corners, SPImage image)
    : m_corners{corners[0], corners[1], corners[2], corners[3]},
      m_image(Required(std::move(image))) {}

int ImageTexture::Draw(CWindowCore* core) {
    core->DrawImage(m_corners.data(), m_image);
    return 1;
}

ActiveRegion::ActiveRegion(
    double x0,
    double y0,
    double x1,
    double y1,
    CWindowEvents_ID kind,
    boost::function<void()> callback)
    : m_edges(x0, y0, x1, y1), m_kind(kind), m_callback(std::move(callback)) {}

int ActiveRegion::Draw(CWindowCore*) {
    return 0;
}

bool ActiveRegion::Interact(CWindowCoreManager*, Event const& event) {
    double const x = event.worldX;
    double const y = event.worldY;
    bool const inside =
        m_edges.left <= x && x <= m_edges.right && m_edges.top <= y && y <= m_edges.bottom;
    if (event.type != m_kind || !inside) {
        return false;
    }
    m_callback();
    return true;
}

} // namespace ui::win
