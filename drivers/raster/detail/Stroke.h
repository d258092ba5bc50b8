#pragma once

#include "drivers/raster/detail/Clip.h"
#include "drivers/raster/detail/PathFill.h"

namespace drivers::raster::detail {

/// Turns a chain of segments into the shape of a line of some width: one rectangle a segment and
/// one wedge a join, mitred, or rounded where the mitre would be long.
class Stroker {
public:
    /// @param width     pixels, above 0
    /// @param extension pixels by which free ends reach past their point; a chain of no length is
    ///                  seen only when it is above 0
    /// @param apart     the pieces are not to overlap, wherever the segments are long enough: their
    ///                  areas can be added up
    Stroker(ConvexSink& pieces, double width, double extension, bool apart)
        : m_pieces(pieces), m_half(width / 2), m_extension(extension), m_apart(apart) {}

    /// Adds a segment. @param joined it goes on from the end of the last one
    /// @param opens it begins a closed chain, so that its start is no free end
    void Add(Point const& a, Point const& b, bool joined, bool opens = false);
    /// Ends all chains: freely, or the last one joined to the start of the segment that opened it.
    void Finish(bool closed = false);

private:
    /// What an end of a piece is like.
    struct End {
        double extension = 0;
        double cutLeft = 0; ///< the end of the left side is taken back by so much
        double cutRight = 0;
    };
    struct Piece {
        Point a;
        Point b;
        Point direction; ///< of length 1
        double length = 0;
        bool opens = false; ///< a closed chain begins with it
        End start;
    };
    enum class Chain { None, Dot, Line };

    void EndChain(bool closed);
    void EndPiece(End const& end);
    void AddPiece(Piece const& piece, End const& end);
    void Join(Piece const& from, Piece const& to, End& end, End& start);
    void AddArc(Point const& at, Point const& u, Point const& v, int depth);
    End FreeEnd() const { return {m_extension, 0, 0}; }

    ConvexSink& m_pieces;
    double m_half;
    double m_extension;
    bool m_apart;
    Chain m_chain = Chain::None;
    Piece m_piece{};   ///< the last segment, added when it is known what follows
    Piece m_opening{}; ///< the segment that opened a closed chain, added when that is finished
    End m_openingEnd;
    bool m_opened = false;
};

} // namespace drivers::raster::detail
