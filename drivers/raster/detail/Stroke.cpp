#include "drivers/raster/detail/Stroke.h"

namespace drivers::raster::detail {

namespace {

/// Left of a direction on the screen.
Point Normal(Point const& d) {
    return {d.y, -d.x};
}

double Dot(Point const& p, Point const& q) {
    return p.x * q.x + p.y * q.y;
}

} // namespace

void Stroker::Add(Point const& a, Point const& b, bool joined, bool opens) {
    if (!joined) {
        Finish();
        m_opened = false;
    }
    Point const d = b - a;
    double const length = std::sqrt(d.x * d.x + d.y * d.y);
    if (!(length > 0)) {
        if (m_chain == Chain::None) {
            m_chain = Chain::Dot;
            m_piece = {a, a, {1, 0}, !opens};
        }
        return;
    }
    Point const direction = d * (1 / length);
    bool freeStart = !opens;
    if (m_chain == Chain::Line) {
        AddJoin(m_piece.b, m_piece.direction, direction);
        EndPiece(false);
        freeStart = false;
    } else if (m_chain == Chain::Dot) {
        freeStart = m_piece.freeStart;
    }
    if (m_chain != Chain::Line && !freeStart) {
        m_opening = direction;
        m_opened = true;
    }
    m_chain = Chain::Line;
    m_piece = {a, b, direction, freeStart};
}

void Stroker::Finish(bool closed) {
    if (m_chain == Chain::Dot && m_extension > 0) {
        AddRectangle(m_piece, m_extension, m_extension);
    } else if (m_chain == Chain::Line) {
        bool const joins = closed && m_opened;
        if (joins) {
            AddJoin(m_piece.b, m_piece.direction, m_opening);
        }
        EndPiece(!joins);
    }
    m_chain = Chain::None;
}

void Stroker::EndPiece(bool freeEnd) {
    AddRectangle(m_piece, m_piece.freeStart ? m_extension : 0, freeEnd ? m_extension : 0);
}

void Stroker::AddRectangle(Piece const& piece, double before, double after) {
    Point const side = Normal(piece.direction) * m_half;
    Point const a = piece.a - piece.direction * before;
    Point const b = piece.b + piece.direction * after;
    Point const corners[4] = {a + side, b + side, b - side, a - side};
    m_pieces.AddConvex(corners, 4);
}

/// Fills the gap on the outer side of a bend.
void Stroker::AddJoin(Point const& at, Point const& from, Point const& to) {
    // Ratio of mitre length to line width 4: 2 / (1 + cos of the bend) <= 16.
    constexpr double sharpest = 2.0 / 16;
    double const bend = from.x * to.y - from.y * to.x;
    double const outer = bend > 0 ? m_half : -m_half;
    Point const u = Normal(from) * outer;
    Point const v = Normal(to) * outer;
    double const spread = 1 + Dot(from, to);
    if (spread >= sharpest) {
        Point const corners[4] = {at, at + u, at + (u + v) * (1 / spread), at + v};
        m_pieces.AddConvex(corners, 4);
    } else {
        Point const corners[3] = {at, at + u, at + v};
        m_pieces.AddConvex(corners, 3);
    }
}

} // namespace drivers::raster::detail
