#pragma once

#include "drivers/raster/FontCatalogue.h"
#include "drivers/raster/TextCache.h"
#include "math/Rect2.h"

#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

struct FT_FaceRec_;
struct FT_LibraryRec_;
struct hb_font_t;

namespace drivers::raster {

/// A failure of FreeType in its own words, with the call that failed.
class FontError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Throws FontError unless a FreeType call answered 0.
void CheckFreeType(int error, char const* call);

/// An opened font: FreeType renders its glyphs, HarfBuzz shapes with it in font units, so that one
/// shaping serves every size. Lengths are fractions of the em, y up.
class FontFace {
public:
    /// Throws FontError when the file cannot be read or is no scalable SFNT font.
    FontFace(FT_LibraryRec_* library, FontFile const& file, std::uint32_t id);
    ~FontFace();
    FontFace(FontFace const&) = delete;
    FontFace& operator=(FontFace const&) = delete;

    FT_FaceRec_* FreeType() const { return m_face; }
    hb_font_t* HarfBuzz() const { return m_font; }
    /// Unlike that of any other face of the same library, also of faces long gone.
    std::uint32_t Id() const { return m_id; }
    double UnitsPerEm() const { return m_unitsPerEm; }
    double Ascender() const { return m_ascender; }
    double Descender() const { return m_descender; } ///< below the baseline: negative
    /// A box that holds every glyph; bottom < top.
    math::Rect2<double> const& Box() const { return m_box; }
    bool Has(char32_t character) const;

private:
    FT_FaceRec_* m_face = nullptr;
    hb_font_t* m_font = nullptr;
    std::uint32_t m_id;
    double m_unitsPerEm = 1;
    double m_ascender = 0;
    double m_descender = 0;
    math::Rect2<double> m_box;
};

/// A font as asked for by name: its face, and where characters come from that the face lacks.
struct Font {
    std::string name;
    FontFace* face;   ///< never null
    std::uint32_t id; ///< unlike that of any other font of the same library
    TextCache<char32_t, FontFace*> substitutes{8192};
};

/// The fonts of one renderer, opened when they are first needed and kept. One thread at a time;
/// only the catalogue is shared. Faces live as long as the library.
class FontLibrary {
public:
    /// Throws FontError when FreeType cannot start.
    explicit FontLibrary(std::shared_ptr<FontCatalogue> catalogue);
    ~FontLibrary();
    FontLibrary(FontLibrary const&) = delete;
    FontLibrary& operator=(FontLibrary const&) = delete;

    /// The font of a name or the nearest that can be opened; null when there is none at all.
    /// Good until the next call.
    Font* Find(std::string_view name);

    /// A face that holds a character; the font's own where no other does.
    FontFace* Substitute(Font& font, char32_t character);

    /// What could not be opened, a line told once; empty when there is nothing new.
    std::string TakeWarning() { return std::exchange(m_warning, {}); }

private:
    FontFace* Open(FontFile const& file);

    std::shared_ptr<FontCatalogue> m_catalogue;
    FT_LibraryRec_* m_library = nullptr;
    /// By path and index; null for a file that could not be opened.
    std::map<std::pair<std::string, int>, std::unique_ptr<FontFace>> m_faces;
    /// By name; null for one that found nothing.
    TextCache<std::string, std::unique_ptr<Font>> m_fonts{64};
    Font* m_last = nullptr; ///< the last one found: texts come in series of one font
    std::uint32_t m_nextFace = 0;
    std::uint32_t m_nextFont = 0;
    std::string m_warning;
};

} // namespace drivers::raster
