#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Bands.h"
#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/Clip.h"
#include "drivers/raster/detail/RowBands.h"
#include "drivers/raster/detail/Texture.h"
#include "drivers/raster/detail/View.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>

namespace drivers::raster {

using namespace detail;

namespace {

constexpr float kMaxPointSize = 1 << 20; // far more than covers the largest picture

int PointSize(float size) {
    return size >= 1 ? static_cast<int>(std::lround(std::min(size, kMaxPointSize))) : 1;
}

constexpr std::size_t batchSize = 256;     // points that are transformed before they are drawn
constexpr std::size_t roundSize = 1 << 18; // points that are placed before threads draw them

/// Finds the pixel of a vertex. @return whether it lies in the area
template <class Reader>
bool Place(
    Reader const& reader,
    DepthRange const& range,
    math::Rect2<double> const& area,
    std::size_t vertex,
    PlacedPoint& point) {
    HPoint const p = reader(vertex);
    double const near = Reader::IsAffine ? 1 : 1 / p.w;
    double const x = Reader::IsAffine ? p.x : p.x * near;
    double const y = Reader::IsAffine ? p.y : p.y * near;
    // Every comparison is false for what is not a number.
    bool const seen = (Reader::IsAffine || range.Has(p.w)) && x >= area.left && x < area.right &&
                      y >= area.top && y < area.bottom;
    point.x = FloorPixel(seen ? x : 0);
    point.y = FloorPixel(seen ? y : 0);
    point.nearness = static_cast<float>(near);
    return seen;
}

template <bool Blend>
void PutSeen(Target const& target, int x, int y, float nearness, Colour colour) {
    bool const seen = target.nearness == nullptr || IsSeen(*target.NearnessAt(x, y), nearness);
    PutIf<Blend>(seen, *target.At(x, y), colour);
}

template <bool Blend>
void Square(Target const& target, int x, int y, int size, float nearness, Colour colour) {
    int const left = x - size / 2;
    int const top = y - size / 2;
    math::Rect2<int> const box{left, top, left + size, top + size};
    math::Rect2<int> const visible = Intersect(target.clip, box);
    for (int row = visible.top; row < visible.bottom; ++row) {
        for (int column = visible.left; column < visible.right; ++column) {
            PutSeen<Blend>(target, column, row, nearness, colour);
        }
    }
}

/// Draws points of one size in the colours that the vertices have.
template <class ColourOf>
class PointPen {
public:
    PointPen(DrawState const& state, ColourOf colourOf)
        : m_size(PointSize(state.pointSize)), m_blend(state.blend), m_colourOf(colourOf) {}

    int Size() const { return m_size; }

    /// Calls use(draw) with what draws vertex i of a placed point: draw(target, point, i).
    template <class Use>
    void Select(Target const& target, Use const& use) const {
        auto const with = [&](auto blend) {
            constexpr bool isBlended = decltype(blend)::value;
            if (m_size > 1) {
                use([this, target](PlacedPoint const& p, std::size_t i) {
                    Square<isBlended>(target, p.x, p.y, m_size, p.nearness, m_colourOf(i));
                });
            } else if (target.nearness != nullptr) {
                use([this, target](PlacedPoint const& p, std::size_t i) {
                    bool const seen = IsSeen(*target.NearnessAt(p.x, p.y), p.nearness);
                    PutIf<isBlended>(seen, *target.At(p.x, p.y), m_colourOf(i));
                });
            } else {
                use([this, target](PlacedPoint const& p, std::size_t i) {
                    Put<isBlended>(*target.At(p.x, p.y), m_colourOf(i));
                });
            }
        };
        m_blend ? with(std::true_type()) : with(std::false_type());
    }

private:
    int m_size;
    bool m_blend;
    ColourOf m_colourOf;
};

/// Where a point may lie to be seen.
math::Rect2<double> VisibleArea(math::Rect2<int> const& clip, int size) {
    int const margin = size > 1 ? size : 0;
    return {
        double(clip.left - margin),
        double(clip.top - margin),
        double(clip.right + margin),
        double(clip.bottom + margin)};
}

/// Draws points in their order, in two passes: placing them without a branch, then drawing.
template <class Reader, class Pen>
void DrawInOrder(
    Target const& target,
    Reader const& reader,
    DepthRange const& range,
    std::size_t count,
    Pen const& pen) {
    math::Rect2<double> const area = VisibleArea(target.clip, pen.Size());
    PlacedPoint points[batchSize];
    pen.Select(target, [&](auto const& draw) {
        for (std::size_t from = 0; from < count; from += batchSize) {
            std::size_t const to = std::min(count, from + batchSize);
            std::size_t seen = 0;
            for (std::size_t i = from; i < to; ++i) {
                points[seen].number = static_cast<std::uint32_t>(i - from);
                seen += Place(reader, range, area, i, points[seen]) ? 1 : 0;
            }
            for (std::size_t k = 0; k < seen; ++k) {
                draw(points[k], from + points[k].number);
            }
        }
    });
}

} // namespace

/// The threads place points each, then draw those of bands each: none is placed twice.
template <class Reader, class Pen>
void Canvas::PointsInBands(
    Reader const& reader, DepthRange const& range, std::size_t count, Pen const& pen) {
    Target const whole = MakeTarget();
    math::Rect2<double> const area = VisibleArea(m_clip, pen.Size());
    auto const share = [&](int parts, auto const& work) { Share(parts, work); };
    for (std::size_t first = 0; first < count; first += roundSize) {
        std::size_t const round = std::min(roundSize, count - first);
        m_pointBands.Sort(
            share, m_clip, m_pointBands.FewRows, round, [&](std::size_t i, PlacedPoint& point) {
                bool const seen = Place(reader, range, area, first + i, point);
                point.number = static_cast<std::uint32_t>(i);
                int const top = point.y - pen.Size() / 2;
                return seen ? m_pointBands.OfRows(top, top + pen.Size() - 1)
                            : m_pointBands.Nowhere();
            });
        Share(m_pointBands.Count(), [&](int band) {
            Target part = whole;
            part.clip = m_pointBands.Clip(band);
            pen.Select(part, [&](auto const& draw) {
                m_pointBands.ForParts(band, [&](PlacedPoint const* points, std::size_t here) {
                    for (std::size_t k = 0; k < here; ++k) {
                        draw(points[k], first + points[k].number);
                    }
                });
            });
        });
    }
}

void Canvas::Points(VertexArray const& vertices) {
    if (m_clip.Empty()) {
        return;
    }
    View const view = MakeView();
    Colour const colour = m_state.colour;
    auto const draw = [&](auto const& colourOf) {
        PointPen const pen(m_state, colourOf);
        WithReader(view, vertices, [&](auto const& reader) {
            if (m_workers && m_workers->Threads() > 1 && double(vertices.count) >= m_worthSharing) {
                PointsInBands(reader, view.range, vertices.count, pen);
            } else {
                DrawInOrder(MakeTarget(), reader, view.range, vertices.count, pen);
            }
        });
    };
    if (vertices.texture && !m_state.texture.Empty()) {
        WithSampler(m_state, [&](auto sampler) {
            Texture const& texture = m_state.texture;
            draw([=](std::size_t i) {
                float const* st = VertexTexture(vertices, i);
                double const u = double{st[0]} * texture.width;
                double const v = double{st[1]} * texture.height;
                return Modulate(sampler(u, v), colour);
            });
        });
    } else if (vertices.colour) {
        draw([=](std::size_t i) { return VertexColour(vertices, i); });
    } else {
        draw([=](std::size_t) { return colour; });
    }
}

} // namespace drivers::raster
