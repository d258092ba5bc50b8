#include "drivers/raster/GlyphCache.h"

#include "drivers/raster/FontLibrary.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace drivers::raster {

namespace {

constexpr FT_Pos kQuarter = 16; // of 64ths of a pixel

/// Loads a glyph's outline in 64ths of a pixel, y up.
///
/// Upright glyphs are hinted "light", vertically only: horizontal edges become crisp while widths
/// and so the spacing stay exact, the same on every machine. Others are not hinted, because there
/// is no pixel grid along their edges.
void LoadOutline(FT_Face face, GlyphScale const& scale, std::uint32_t glyph) {
    if (scale.Upright()) {
        CheckFreeType(FT_Set_Char_Size(face, scale.xx, scale.yy, 72, 72), "FT_Set_Char_Size");
        CheckFreeType(
            FT_Load_Glyph(face, glyph, FT_LOAD_TARGET_LIGHT | FT_LOAD_NO_BITMAP), "FT_Load_Glyph");
        return;
    }
    FT_F26Dot6 const size = std::max(
        {std::abs(scale.xx), std::abs(scale.xy), std::abs(scale.yx), std::abs(scale.yy), 64});
    CheckFreeType(FT_Set_Char_Size(face, size, size, 72, 72), "FT_Set_Char_Size");
    CheckFreeType(
        FT_Load_Glyph(face, glyph, FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP), "FT_Load_Glyph");
    // FreeType's y axis points up: what mixes the axes changes its sign.
    FT_Matrix const matrix{
        FT_DivFix(scale.xx, size),
        FT_DivFix(-scale.xy, size),
        FT_DivFix(-scale.yx, size),
        FT_DivFix(scale.yy, size)};
    FT_Outline_Transform(&face->glyph->outline, &matrix);
}

GlyphBitmap Render(
    FT_Face face,
    GlyphScale const& scale,
    std::uint32_t glyph,
    unsigned quarterX,
    unsigned quarterY) {
    LoadOutline(face, scale, glyph);
    FT_GlyphSlot const slot = face->glyph;
    GlyphBitmap result;
    if (slot->format != FT_GLYPH_FORMAT_OUTLINE || slot->outline.n_points == 0) {
        return result;
    }
    FT_Outline_Translate(&slot->outline, quarterX * kQuarter, -(quarterY * kQuarter));
    CheckFreeType(FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL), "FT_Render_Glyph");
    FT_Bitmap const& bitmap = slot->bitmap;
    result.left = slot->bitmap_left;
    result.top = -slot->bitmap_top;
    result.width = static_cast<int>(bitmap.width);
    result.height = static_cast<int>(bitmap.rows);
    result.coverage.resize(std::size_t(bitmap.width) * bitmap.rows);
    for (unsigned y = 0; y < bitmap.rows && bitmap.width > 0; ++y) {
        std::memcpy(
            result.coverage.data() + std::size_t(y) * bitmap.width,
            bitmap.buffer + std::ptrdiff_t(y) * bitmap.pitch,
            bitmap.width);
    }
    return result;
}

} // namespace

std::size_t GlyphCache::StrikeHash::operator()(StrikeKey const& key) const {
    std::uint64_t hash = key.face;
    for (std::int32_t const part : {key.scale.xx, key.scale.xy, key.scale.yx, key.scale.yy}) {
        hash = (hash ^ static_cast<std::uint32_t>(part)) * 0x9E3779B97F4A7C15u;
        hash ^= hash >> 29;
    }
    return static_cast<std::size_t>(hash);
}

std::uint32_t GlyphCache::Strike(FontFace const& face, GlyphScale const& scale) {
    StrikeKey const key{face.Id(), scale};
    if (std::uint32_t const* const known = m_strikes.Find(key)) {
        return *known;
    }
    return m_strikes.Insert(key, m_nextStrike++, 1);
}

GlyphBitmap const& GlyphCache::Find(
    std::uint32_t strike,
    FontFace const& face,
    GlyphScale const& scale,
    std::uint32_t glyph,
    unsigned quarterX,
    unsigned quarterY) {
    GlyphKey const key{strike, glyph << 4 | quarterY << 2 | quarterX};
    if (GlyphBitmap const* const known = m_glyphs.Find(key)) {
        return *known;
    }
    GlyphBitmap bitmap;
    try {
        bitmap = Render(face.FreeType(), scale, glyph, quarterX, quarterY);
    } catch (FontError const&) {
        // One damaged glyph must not take the rest of the text with it.
    }
    // What a map's node takes beside the value counts too: most glyphs are small.
    std::size_t const cost = bitmap.coverage.size() + sizeof bitmap + 64;
    if (!m_glyphs.Fits(cost)) {
        m_large = std::move(bitmap);
        ++m_largeEpoch;
        return m_large;
    }
    return m_glyphs.Insert(key, std::move(bitmap), cost);
}

} // namespace drivers::raster
