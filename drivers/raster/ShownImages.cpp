#include "drivers/raster/ShownImages.h"

namespace drivers::raster {

void ShownImages::Clear() {
    m_views.clear();
    m_shapes.clear();
    m_vertices.clear();
}

void ShownImages::SetView(
    math::TMatrix<double, 3, 4> const& worldToPixel,
    math::Rect2<int> const& clip,
    DrawState const& state) {
    bool const used = !m_shapes.empty() && m_shapes.back().view + 1 == m_views.size();
    if (!used && !m_views.empty()) {
        m_views.pop_back();
    }
    m_views.push_back({worldToPixel, clip, state.depthNear, state.depthFar});
}

void ShownImages::Add(
    boost::weak_ptr<cimage::CImage const> const& image,
    ui::win::T2F_V3F_t const* vertices,
    std::size_t count,
    std::size_t corners,
    DrawState const& state) {
    if (count == 0 || m_views.empty() || image.expired()) {
        return;
    }
    std::size_t const first = m_vertices.size();
    m_vertices.insert(m_vertices.end(), vertices, vertices + count * corners);
    m_shapes.push_back(
        {image, m_views.size() - 1, corners, first, count * corners, state.depthTest});
}

bool ShownImages::Find(
    Canvas& canvas, int x, int y, SPImage& image, math::Point2<double>& texel) const {
    for (auto shapes = m_shapes.rbegin(); shapes != m_shapes.rend(); ++shapes) {
        SPImage const candidate = shapes->image.lock();
        View const& view = m_views[shapes->view];
        bool const inside = x >= view.clip.left && x < view.clip.right && y >= view.clip.top &&
                            y < view.clip.bottom;
        if (!candidate || candidate->Empty() || !inside) {
            continue;
        }
        DrawState const kept = canvas.State();
        canvas.State().depthTest = shapes->depthTest;
        canvas.State().depthNear = view.depthNear;
        canvas.State().depthFar = view.depthFar;
        canvas.SetView(view.worldToPixel, view.clip);
        ui::win::T2F_V3F_t const* const vertices = m_vertices.data() + shapes->first;
        VertexArray array;
        array.position = &vertices->x;
        array.dimension = 3;
        array.texture = &vertices->s;
        array.strideBytes = sizeof *vertices;
        array.count = shapes->count;
        math::Point2<double> texture;
        bool const found = canvas.FindTexture(array, shapes->corners, x, y, texture);
        canvas.State() = kept;
        if (found) {
            image = candidate;
            texel = {texture.x * candidate->Width(), texture.y * candidate->Height()};
            return true;
        }
    }
    return false;
}

} // namespace drivers::raster
