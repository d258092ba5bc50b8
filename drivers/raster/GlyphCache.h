#pragma once

#include "drivers/raster/TextCache.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace drivers::raster {

class FontFace;

/// The coverage of one glyph, 8 bits a pixel, rows without gaps. Empty for a blank.
struct GlyphBitmap {
    int left = 0; ///< from the pixel of the glyph's origin to the first column
    int top = 0;  ///< from the pixel of the origin to the first row; negative above the baseline
    int width = 0;
    int height = 0;
    std::vector<unsigned char> coverage;
};

/// One em square in pixels, y down, in 64ths of a pixel: the em vector to the right becomes
/// (xx, yx), the one down becomes (xy, yy).
struct GlyphScale {
    std::int32_t xx = 0;
    std::int32_t xy = 0;
    std::int32_t yx = 0;
    std::int32_t yy = 0;

    /// Neither turned nor mirrored: glyphs are hinted vertically, so that their horizontal edges
    /// fall on pixel edges.
    bool Upright() const { return xy == 0 && yx == 0 && xx > 0 && yy > 0; }

    friend bool operator==(GlyphScale const& a, GlyphScale const& b) {
        return a.xx == b.xx && a.xy == b.xy && a.yx == b.yx && a.yy == b.yy;
    }
};

/// Renders glyphs with FreeType and keeps the bitmaps, within a bound in bytes. One thread at a
/// time. Positions within a pixel count in quarters.
class GlyphCache {
public:
    explicit GlyphCache(std::size_t bytes) : m_strikes(kMaxStrikes), m_glyphs(bytes) {}

    /// One face at one scale, as a number to be used in Find until the next call.
    std::uint32_t Strike(FontFace const& face, GlyphScale const& scale);

    /// A glyph whose origin lies quarterX and quarterY (0 to 3) quarters of a pixel right of and
    /// below its pixel's corner. Good as long as Epoch() stays the same. A glyph that cannot be
    /// rendered (damaged or far too large) is blank.
    GlyphBitmap const& Find(
        std::uint32_t strike,
        FontFace const& face,
        GlyphScale const& scale,
        std::uint32_t glyph,
        unsigned quarterX,
        unsigned quarterY);

    /// Changes whenever bitmaps are dropped.
    unsigned Epoch() const { return m_glyphs.Epoch() + m_largeEpoch; }
    std::size_t Bytes() const { return m_glyphs.Cost(); }

private:
    static constexpr std::size_t kMaxStrikes = 1024;

    struct StrikeKey {
        std::uint32_t face;
        GlyphScale scale;

        friend bool operator==(StrikeKey const& a, StrikeKey const& b) {
            return a.face == b.face && a.scale == b.scale;
        }
    };
    struct StrikeHash {
        std::size_t operator()(StrikeKey const& key) const;
    };
    struct GlyphKey {
        std::uint32_t strike;
        std::uint32_t glyphAndQuarters;

        friend bool operator==(GlyphKey const& a, GlyphKey const& b) {
            return a.strike == b.strike && a.glyphAndQuarters == b.glyphAndQuarters;
        }
    };
    struct GlyphHash {
        std::size_t operator()(GlyphKey const& key) const {
            std::uint64_t const both = std::uint64_t(key.strike) << 32 | key.glyphAndQuarters;
            return static_cast<std::size_t>((both * 0x9E3779B97F4A7C15u) >> 20);
        }
    };

    TextCache<StrikeKey, std::uint32_t, StrikeHash> m_strikes;
    /// Glyphs of a strike that was forgotten are asked for no more and so are forgotten as well.
    TextCache<GlyphKey, GlyphBitmap, GlyphHash> m_glyphs;
    std::uint32_t m_nextStrike = 0;
    GlyphBitmap m_large; ///< the last one that the cache has no room for
    unsigned m_largeEpoch = 0;
};

} // namespace drivers::raster
