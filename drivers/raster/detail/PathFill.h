#pragma once

#include "drivers/raster/detail/Clip.h"
#include "math/Rect2.h"

#include <vector>

namespace drivers::raster::detail {

/// Takes convex polygons that together make up a shape, corners within the guard band.
class ConvexSink {
public:
    virtual ~ConvexSink() = default;
    virtual void AddConvex(Point const* points, std::size_t count) = 0;
};

/// Fills what a set of closed outlines winds around (non-zero rule), pieces that overlap once.
///
/// Start() with a clip, add outlines, then take the rows with Spans() or Coverage(). Keeps its
/// storage between uses. Every row is computed from the edges alone, so a picture drawn in bands of
/// rows is the same as one drawn whole.
class PathFill : public ConvexSink {
public:
    /// Coverage is counted in whole numbers, whose sum is the same in any order: shapes that share
    /// an edge cover together what they cover as one.
    static constexpr int Whole = 1 << 16;

    void Start(math::Rect2<int> const& clip);

    /// A closed outline in pixels, all points within the guard band.
    void AddPolygon(Point const* points, std::size_t count);
    /// A convex outline, turned to the common direction first, so that overlapping pieces add up.
    void AddConvex(Point const* points, std::size_t count) override;

    std::size_t EdgeCount() const { return m_edges.size(); }

    /// Calls span(y, x0, x1) for the pixels whose centre is inside, top to bottom, left to right.
    template <class Span>
    void Spans(Span&& span) {
        ForEachRow([&](int y) {
            FindCrossings(y);
            int winding = 0;
            double start = 0;
            for (Crossing const& crossing : m_crossings) {
                if (winding == 0) {
                    start = crossing.x;
                }
                winding += crossing.direction;
                if (winding == 0) {
                    int const x0 = FirstCentre(start, m_clip.left, m_clip.right);
                    int const x1 = FirstCentre(crossing.x, m_clip.left, m_clip.right);
                    if (x0 < x1) {
                        span(y, x0, x1);
                    }
                }
            }
        });
    }

    /// Calls cover(y, x0, count, shares) with the share of each pixel that lies inside, 0 to Whole.
    template <class Cover>
    void Shares(Cover&& cover) {
        ForEachRow([&](int y) {
            int x0 = 0;
            if (int const count = SumShares(y, x0)) {
                cover(y, x0, count, m_shares.data());
            }
        });
    }

    /// The same with shares from 0 to 255.
    template <class Cover>
    void Coverage(Cover&& cover) {
        Shares([&](int y, int x0, int count, int const* shares) {
            for (int i = 0; i < count; ++i) {
                m_coverage[static_cast<std::size_t>(i)] =
                    static_cast<unsigned char>((shares[i] * 255 + Whole / 2) / Whole);
            }
            cover(y, x0, count, m_coverage.data());
        });
    }

private:
    /// Runs downwards from (x, top) to bottom, whatever its direction was.
    struct Edge {
        double x;
        double top;
        double bottom;
        double slope;
        int direction; ///< +1 where it was given downwards
        int next;      ///< next edge that starts in the same row, -1 none

        double At(double y) const { return x + (y - top) * slope; }
    };
    struct Crossing {
        double x;
        int direction;
    };

    template <class DrawRow>
    void ForEachRow(DrawRow&& draw) {
        m_active.clear();
        for (int y = m_firstRow; y < m_endRow; ++y) {
            EnterRow(y);
            draw(y);
        }
    }
    void AddEdge(Point a, Point b);
    void EnterRow(int y);
    void FindCrossings(int y);
    int SumShares(int y, int& x0);
    void Accumulate(double x0, double x1, int height);
    void AccumulateInside(double x0, double x1, int height);

    math::Rect2<int> m_clip;
    int m_firstRow = 0;
    int m_endRow = 0;
    std::vector<Edge> m_edges;
    std::vector<int> m_starts; ///< per clip row, the first edge that starts there; else all -1
    std::vector<int> m_active;
    std::vector<Crossing> m_crossings;
    std::vector<int> m_sums; ///< change of coverage from pixel to pixel; all 0 between rows
    std::vector<int> m_shares;
    std::vector<unsigned char> m_coverage;
    int m_touchedFrom = 0;
    int m_touchedTo = 0;
};

} // namespace drivers::raster::detail
