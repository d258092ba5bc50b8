#include "drivers/raster/detail/Stroke.h"

#include <cmath>

namespace drivers::raster::detail {

namespace {

/// Left of a direction on the screen.
Point Normal(Point const& d) {
    return {d.y, -d.x};
}

double Dot(Point const& p, Point const& q) {
    return p.x * q.x + p.y * q.y;
}

double Length(Point const& p) {
    return std::sqrt(Dot(p, p));
}

} // namespace

void Stroker::Add(Point const& a, Point const& b, bool joined, bool opens) {
    if (!joined) {
        EndChain(false);
    }
    Point const d = b - a;
    double const length = Length(d);
    if (!(length > 0)) {
        if (m_chain == Chain::None) {
            m_chain = Chain::Dot;
            m_piece = {a, a, {1, 0}, 0, opens, FreeEnd()};
        }
        return;
    }
    Piece piece{a, b, d * (1 / length), length, false, {}};
    if (m_chain == Chain::Line) {
        End end;
        Join(m_piece, piece, end, piece.start);
        EndPiece(end);
    } else {
        piece.opens = m_chain == Chain::Dot ? m_piece.opens : opens;
        piece.start = piece.opens ? End() : FreeEnd();
        m_opened = m_opened || piece.opens;
    }
    m_chain = Chain::Line;
    m_piece = piece;
}

void Stroker::Finish(bool closed) {
    EndChain(closed);
    if (m_opened) {
        AddPiece(m_opening, m_openingEnd);
    }
    m_opened = false;
}

void Stroker::EndChain(bool closed) {
    if (m_chain == Chain::Dot && m_extension > 0) {
        AddPiece(m_piece, FreeEnd());
    } else if (m_chain == Chain::Line) {
        End end = FreeEnd();
        if (closed && m_opened && !m_piece.opens) {
            end = End();
            Join(m_piece, m_opening, end, m_opening.start);
        }
        EndPiece(end);
    }
    m_chain = Chain::None;
}

void Stroker::EndPiece(End const& end) {
    if (m_piece.opens) {
        m_opening = m_piece;
        m_openingEnd = end;
    } else {
        AddPiece(m_piece, end);
    }
}

void Stroker::AddPiece(Piece const& piece, End const& end) {
    Point const side = Normal(piece.direction) * m_half;
    auto const at = [&](Point const& p, double along) { return p + piece.direction * along; };
    End const& start = piece.start;
    Point corners[6];
    std::size_t count = 0;
    corners[count++] = at(piece.a, start.cutLeft - start.extension) + side;
    corners[count++] = at(piece.b, end.extension - end.cutLeft) + side;
    if (end.cutLeft > 0 || end.cutRight > 0) {
        corners[count++] = piece.b;
    }
    corners[count++] = at(piece.b, end.extension - end.cutRight) - side;
    corners[count++] = at(piece.a, start.cutRight - start.extension) - side;
    if (start.cutLeft > 0 || start.cutRight > 0) {
        corners[count++] = piece.a;
    }
    m_pieces.AddConvex(corners, count);
}

/// Fills the gap on the outer side of a bend, and parts the pieces on the inner side.
void Stroker::Join(Piece const& from, Piece const& to, End& end, End& start) {
    // Ratio of mitre length to line width 4: 2 / (1 + cos of the bend) <= 16.
    constexpr double sharpest = 2.0 / 16;
    double const bend = from.direction.x * to.direction.y - from.direction.y * to.direction.x;
    double const outer = bend > 0 ? m_half : -m_half;
    double const spread = 1 + Dot(from.direction, to.direction);
    Point const u = Normal(from.direction) * outer;
    Point const v = Normal(to.direction) * outer;
    Point const at = to.a;
    if (spread >= sharpest) {
        Point const corners[4] = {at, at + u, at + (u + v) * (1 / spread), at + v};
        m_pieces.AddConvex(corners, 4);
    } else {
        Point const tip = from.direction - to.direction;
        Point const w = tip * (m_half / Length(tip));
        AddArc(at, u, w, 0);
        AddArc(at, w, v, 0);
    }
    double const reach = m_half * std::abs(bend) / spread; // of the inner sides' overlap
    if (m_apart && 2 * reach <= std::min(from.length, to.length)) {
        (bend > 0 ? end.cutRight : end.cutLeft) = reach;
        (bend > 0 ? start.cutRight : start.cutLeft) = reach;
    }
}

/// Fills from the centre to the arc from u to v, at most a quarter turn, to a hundredth of a pixel.
void Stroker::AddArc(Point const& at, Point const& u, Point const& v, int depth) {
    constexpr int deepest = 12;
    Point const sum = u + v;
    double const length = Length(sum);
    if (depth == deepest || m_half - length / 2 <= 0.01) {
        Point const corners[3] = {at, at + u, at + v};
        m_pieces.AddConvex(corners, 3);
        return;
    }
    Point const half = sum * (m_half / length);
    AddArc(at, u, half, depth + 1);
    AddArc(at, half, v, depth + 1);
}

} // namespace drivers::raster::detail
