#include "drivers/raster/Canvas.h"

#include "cimage/Conversion.h"
#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/Cover.h"
#include "drivers/raster/detail/View.h"

#include <algorithm>
#include <stdexcept>

namespace drivers::raster {

using namespace detail;

void Canvas::Resize(int width, int height) {
    if (width < 0 || height < 0 || width > MaxSize || height > MaxSize) {
        throw std::length_error("the size of the canvas is out of range");
    }
    auto const w = static_cast<std::size_t>(width);
    m_pixels.assign(w * static_cast<std::size_t>(height), Colour(0, 0, 0, 255));
    m_clearing = false;
    m_nearness = {};
    m_width = width;
    m_height = height;
    SetPixelView();
}

void Canvas::Clear(Colour colour) {
    m_clearing = true;
    m_clearColour = Opaque(colour);
    std::fill(m_nearness.begin(), m_nearness.end(), 0.0F);
    m_levels.Forget();
}

/// Clears now if that is to be done, but for whole rows that are about to be written over.
void Canvas::ClearExcept(math::Rect2<int> const& overwritten) const {
    if (!m_clearing) {
        return;
    }
    m_clearing = false;
    bool const rows = overwritten.left == 0 && overwritten.right == m_width;
    std::size_t const from = rows ? RowStart(overwritten.top) : 0;
    std::size_t const to = rows ? std::max(from, RowStart(overwritten.bottom)) : 0;
    FillRow(m_pixels.data(), static_cast<std::ptrdiff_t>(from), m_clearColour);
    FillRow(m_pixels.data() + to, static_cast<std::ptrdiff_t>(m_pixels.size() - to), m_clearColour);
}

void Canvas::ClearDepth(math::Rect2<int> const& area) {
    math::Rect2<int> const r = Intersect(area, {0, 0, m_width, m_height});
    for (int y = r.top; y < r.bottom && r.left < r.right && !m_nearness.empty(); ++y) {
        std::fill_n(m_nearness.data() + RowStart(y) + r.left, r.right - r.left, 0.0F);
    }
}

void Canvas::SetView(
    math::TMatrix<double, 3, 4> const& worldToPixel, math::Rect2<int> const& clip) {
    m_worldToPixel = worldToPixel;
    m_affine = worldToPixel(2, 0) == 0 && worldToPixel(2, 1) == 0 && worldToPixel(2, 2) == 0 &&
               worldToPixel(2, 3) == 1;
    m_clip = Intersect(clip, {0, 0, m_width, m_height});
    if (m_clip.Empty()) {
        m_clip = {};
    }
}

void Canvas::SetPixelView() {
    math::TMatrix<double, 3, 4> identity;
    identity << 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1;
    SetView(identity, {0, 0, m_width, m_height});
}

Target Canvas::MakeTarget() {
    ClearExcept({});
    if (TestsDepth() && m_nearness.empty()) {
        m_nearness.assign(m_pixels.size(), 0.0F);
    }
    return {m_pixels.data(), m_width, m_clip, TestsDepth() ? m_nearness.data() : nullptr};
}

View Canvas::MakeView() const {
    View view{m_worldToPixel.data(), m_affine, {}};
    double const nearest = std::max(NearDistance, m_state.depthNear);
    if (TestsDepth() && nearest < m_state.depthFar) {
        view.range = {nearest, m_state.depthFar};
    }
    return view;
}

/// About how many pixels a shape has: those of its box inside the clip. Of a line, those along it.
double Canvas::PixelsWithin(Point const* corners, std::size_t count) const {
    math::Rect2<double> box(m_clip.right, m_clip.bottom, m_clip.left, m_clip.top);
    for (std::size_t i = 0; i < count; ++i) {
        box.left = std::min(box.left, corners[i].x);
        box.top = std::min(box.top, corners[i].y);
        box.right = std::max(box.right, corners[i].x);
        box.bottom = std::max(box.bottom, corners[i].y);
    }
    double const width =
        std::min<double>(box.right, m_clip.right) - std::max<double>(box.left, m_clip.left);
    double const height =
        std::min<double>(box.bottom, m_clip.bottom) - std::max<double>(box.top, m_clip.top);
    if (!(width >= 0 && height >= 0)) {
        return 0;
    }
    return count == 2 ? std::max(width, height) * m_state.lineWidth : width * height;
}

/// The same of primitives of so many corners each, 4 at most.
double Canvas::PixelsOf(VertexArray const& vertices, std::size_t corners) const {
    constexpr std::size_t many = 4096;
    double const all = double(m_clip.Width()) * m_clip.Height();
    if (vertices.count >= many) {
        return all; // such a number is worth sharing however small they are
    }
    double sum = 0;
    WithReader(MakeView(), vertices, [&](auto const& reader) {
        for (std::size_t i = 0; m_workers && i + corners <= vertices.count; i += corners) {
            bool whole = true;
            Point shape[4];
            for (std::size_t k = 0; k < corners; ++k) {
                HPoint const p = reader(i + k);
                whole = whole && p.w >= NearDistance;
                shape[k] = {p.x / p.w, p.y / p.w};
            }
            sum += whole ? PixelsWithin(shape, corners) : all;
        }
    });
    return sum;
}

bool Canvas::IsDrawnAt(double distance) const {
    return MakeView().range.Has(distance);
}

Colour Canvas::Read(int x, int y) const {
    return x >= 0 && y >= 0 && x < m_width && y < m_height ? Row(y)[x] : Colour(0, 0, 0, 0);
}

void Canvas::CopyTo(cimage::TRGBA<unsigned char>* out, std::size_t strideBytes) const {
    auto* bytes = reinterpret_cast<unsigned char*>(out);
    for (int y = 0; y < m_height && m_width > 0; ++y, bytes += strideBytes) {
        std::memcpy(bytes, Row(y), static_cast<std::size_t>(m_width) * sizeof(Colour));
    }
}

void Canvas::CopyTo(cimage::TRGB<unsigned char>* out, std::size_t strideBytes) const {
    auto* bytes = reinterpret_cast<unsigned char*>(out);
    cimage::RowConverter const convert = cimage::FindRowConverter(
        cimage::PixelTypeNumber<Colour>::value,
        cimage::PixelTypeNumber<cimage::TRGB<unsigned char>>::value);
    for (int y = 0; y < m_height; ++y, bytes += strideBytes) {
        convert(Row(y), bytes, static_cast<unsigned>(m_width));
    }
}

void Canvas::BlendMask(
    int x, int y, unsigned char const* coverage, int width, int height, std::ptrdiff_t stride) {
    // In 64 bits: a position near the end of int plus a size must not wrap.
    auto const right = std::min<long long>(m_clip.right, static_cast<long long>(x) + width);
    auto const bottom = std::min<long long>(m_clip.bottom, static_cast<long long>(y) + height);
    int const left = std::max(m_clip.left, x);
    int const top = std::max(m_clip.top, y);
    if (left >= right || top >= bottom) {
        return;
    }
    int const columns = static_cast<int>(right - left);
    int const rows = static_cast<int>(bottom - top);
    // left and top are inside both the clip and the mask, so the differences fit.
    coverage += (static_cast<std::ptrdiff_t>(top) - y) * stride + left - x;
    Ink const ink(m_state);
    Target const target = MakeTarget();
    if (target.nearness == nullptr) {
        CoverRows(target, left, top, coverage, stride, columns, rows, ink);
        return;
    }
    std::vector<float>& nearness = m_scratch[0].outline.nearRow;
    nearness.assign(
        static_cast<std::size_t>(columns), static_cast<float>(1 / m_state.maskDistance));
    for (int row = top; row < bottom; ++row, coverage += stride) {
        float* there = target.NearnessAt(left, row);
        CoverSeenRow(target.At(left, row), coverage, columns, nearness.data(), there, ink);
    }
}

} // namespace drivers::raster
