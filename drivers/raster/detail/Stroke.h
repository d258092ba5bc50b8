#pragma once

#include "drivers/raster/detail/Clip.h"
#include "drivers/raster/detail/PathFill.h"

namespace drivers::raster::detail {

/// Turns a chain of segments into the shape of a line of some width: one rectangle a segment and
/// one wedge a join.
class Stroker {
public:
    /// @param width     pixels, above 0
    /// @param extension pixels by which free ends reach past their point; a chain of no length is
    ///                  seen only when it is above 0
    Stroker(ConvexSink& pieces, double width, double extension)
        : m_pieces(pieces), m_half(width / 2), m_extension(extension) {}

    /// Adds a segment. @param joined it goes on from the end of the last one
    /// @param opens it begins a closed chain, so that its start is no free end
    void Add(Point const& a, Point const& b, bool joined, bool opens = false);
    /// Ends the chain: freely, or joined to the start of the segment that opened it.
    void Finish(bool closed = false);

private:
    struct Piece {
        Point a;
        Point b;
        Point direction; ///< of length 1
        bool freeStart = false;
    };
    enum class Chain { None, Dot, Line };

    void EndPiece(bool freeEnd);
    void AddRectangle(Piece const& piece, double before, double after);
    void AddJoin(Point const& at, Point const& from, Point const& to);

    ConvexSink& m_pieces;
    double m_half;
    double m_extension;
    Chain m_chain = Chain::None;
    Piece m_piece{}; ///< the last segment, added when it is known what follows
    Point m_opening; ///< direction of the segment that opened a closed chain
    bool m_opened = false;
};

} // namespace drivers::raster::detail
