#include "drivers/raster/detail/Nearness.h"

#include "drivers/raster/detail/TriangleWalk.h"

#include <algorithm>

namespace drivers::raster::detail {

NearPlane NearPlane::OfGround(View const& view) {
    // H takes (x, y, 1) to w * (X, Y, 1); so 1 / w is the last row of its inverse by (X, Y, 1).
    double const* m = view.m;
    double const x = m[4] * m[9] - m[8] * m[5];
    double const y = m[8] * m[1] - m[0] * m[9];
    double const z = m[0] * m[5] - m[4] * m[1];
    double const determinant = x * m[3] + y * m[7] + z * m[11];
    return {z / determinant, x / determinant, y / determinant};
}

NearPlane NearPlane::Along(Segment const& segment) {
    Point const d = segment.b - segment.a;
    double const square = d.x * d.x + d.y * d.y;
    double const slope = square > 0 ? (segment.nearB - segment.nearA) / square : 0;
    NearPlane plane;
    plane.perX = d.x * slope;
    plane.perY = d.y * slope;
    plane.atOrigin = segment.nearA - segment.a.x * plane.perX - segment.a.y * plane.perY;
    plane.least = std::min(segment.nearA, segment.nearB);
    plane.most = std::max(segment.nearA, segment.nearB);
    return plane;
}

void NearMap::Start(math::Rect2<int> const& clip) {
    m_clip = clip;
    m_touched = {clip.right, clip.bottom, clip.left, clip.top};
    auto const size =
        static_cast<std::size_t>(clip.Width()) * static_cast<std::size_t>(clip.Height());
    if (m_map.size() < size) {
        m_map.resize(size, 0);
    }
}

void NearMap::Add(Segment const& segment, double width) {
    double const reach = width / 2 + 1;
    Point d = segment.b - segment.a;
    double const length = std::sqrt(d.x * d.x + d.y * d.y);
    d = length > 0 ? d * (reach / length) : Point(reach, 0);
    Point const side{d.y, -d.x};
    Point const corners[4] = {
        segment.a - d + side, segment.b + d + side, segment.b + d - side, segment.a - d - side};
    NearPlane const plane = NearPlane::Along(segment);
    for (int i = 2; i < 4; ++i) {
        double const area = TwiceArea(corners[0], corners[i - 1], corners[i]);
        if (area == 0) {
            continue;
        }
        auto const stamp = [&](int y, int x0, int x1) {
            float* map = At(x0, y);
            for (int x = x0; x < x1; ++x, ++map) {
                *map = std::max(*map, plane.At(x, y));
            }
            m_touched.left = std::min(m_touched.left, x0);
            m_touched.top = std::min(m_touched.top, y);
            m_touched.right = std::max(m_touched.right, x1);
            m_touched.bottom = std::max(m_touched.bottom, y + 1);
        };
        WalkTriangle(m_clip, corners[0], corners[i - 1], corners[i], area, stamp);
    }
}

void NearMap::Row(int y, int x, int count, float* out) const {
    float const* map =
        m_map.data() + (y - m_clip.top) * std::ptrdiff_t{m_clip.Width()} + (x - m_clip.left);
    float last = 0;
    for (int i = 0; i < count && last == 0; ++i) {
        last = map[i];
    }
    for (int i = 0; i < count; ++i) {
        last = map[i] > 0 ? map[i] : last;
        out[i] = last;
    }
}

void NearMap::Clear() {
    for (int y = m_touched.top; y < m_touched.bottom && m_touched.left < m_touched.right; ++y) {
        std::fill(At(m_touched.left, y), At(m_touched.right - 1, y) + 1, 0.0F);
    }
    m_touched = {m_clip.right, m_clip.bottom, m_clip.left, m_clip.top};
}

} // namespace drivers::raster::detail
