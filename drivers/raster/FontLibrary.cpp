#include "drivers/raster/FontLibrary.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include <hb-ft.h>
#include <hb-ot.h>

namespace drivers::raster {

namespace {

/// FreeType's words for an error. Its own look-up function is often compiled out, so the list is
/// taken from its header, which is made for being included like this.
char const* ErrorWords(int error) {
    struct Entry {
        int code;
        char const* words;
    };
#undef FTERRORS_H_
#define FT_ERRORDEF(name, code, words) {code, words},
#define FT_ERROR_START_LIST static constexpr Entry kErrors[] = {
#define FT_ERROR_END_LIST                                                                          \
    { 0, nullptr }                                                                                 \
    }                                                                                              \
    ;
#include FT_ERRORS_H
    for (Entry const& entry : kErrors) {
        if (entry.code == error && entry.words != nullptr) {
            return entry.words;
        }
    }
    return "unknown error";
}

} // namespace

void CheckFreeType(int error, char const* call) {
    if (error != 0) {
        throw FontError(std::string(call) + ": " + ErrorWords(error));
    }
}

FontFace::FontFace(FT_LibraryRec_* library, FontFile const& file, std::uint32_t id) : m_id(id) {
    CheckFreeType(FT_New_Face(library, file.path.c_str(), file.index, &m_face), "FT_New_Face");
    if (!FT_IS_SCALABLE(m_face) || !FT_IS_SFNT(m_face) || m_face->units_per_EM == 0) {
        FT_Done_Face(m_face);
        throw FontError("FT_New_Face: not a scalable SFNT font");
    }
    hb_face_t* const tables = hb_ft_face_create_referenced(m_face);
    m_font = hb_font_create(tables);
    hb_face_destroy(tables);
    hb_font_set_scale(m_font, m_face->units_per_EM, m_face->units_per_EM);
    hb_ot_font_set_funcs(m_font);
    if (int const instance = file.index >> 16; instance > 0) {
        hb_font_set_var_named_instance(m_font, static_cast<unsigned>(instance - 1));
    }
    m_unitsPerEm = m_face->units_per_EM;
    m_ascender = m_face->ascender / m_unitsPerEm;
    m_descender = m_face->descender / m_unitsPerEm;
    m_box = {
        static_cast<double>(m_face->bbox.xMin) / m_unitsPerEm,
        static_cast<double>(m_face->bbox.yMax) / m_unitsPerEm,
        static_cast<double>(m_face->bbox.xMax) / m_unitsPerEm,
        static_cast<double>(m_face->bbox.yMin) / m_unitsPerEm};
}

FontFace::~FontFace() {
    hb_font_destroy(m_font);
    FT_Done_Face(m_face);
}

bool FontFace::Has(char32_t character) const {
    hb_codepoint_t glyph = 0;
    return hb_font_get_nominal_glyph(m_font, character, &glyph) != 0;
}

FontLibrary::FontLibrary(std::shared_ptr<FontCatalogue> catalogue)
    : m_catalogue(std::move(catalogue)) {
    CheckFreeType(FT_Init_FreeType(&m_library), "FT_Init_FreeType");
}

FontLibrary::~FontLibrary() {
    m_faces.clear();
    FT_Done_FreeType(m_library);
}

Font* FontLibrary::Find(std::string_view name) {
    if (m_last != nullptr && m_last->name == name) {
        return m_last;
    }
    std::string const key(name);
    if (std::unique_ptr<Font>* const known = m_fonts.Find(key)) {
        return m_last = known->get();
    }
    FontFace* face = nullptr;
    for (FontFile const& file : m_catalogue->Candidates(key)) {
        face = Open(file);
        if (face != nullptr) {
            break;
        }
    }
    std::unique_ptr<Font> font;
    if (face != nullptr) {
        font.reset(new Font{key, face, m_nextFont++});
    } else {
        m_warning = "no usable font found for \"" + key + "\", its text is not drawn";
    }
    m_last = nullptr; // may be forgotten by what follows
    return m_last = m_fonts.Insert(key, std::move(font), 1).get();
}

FontFace* FontLibrary::Substitute(Font& font, char32_t character) {
    if (FontFace** const known = font.substitutes.Find(character)) {
        return *known;
    }
    FontFace* face = nullptr;
    for (FontFile const& file : m_catalogue->Candidates(font.name, character)) {
        face = Open(file);
        if (face != nullptr && face->Has(character)) {
            break;
        }
        face = nullptr;
    }
    return font.substitutes.Insert(character, face != nullptr ? face : font.face, 1);
}

FontFace* FontLibrary::Open(FontFile const& file) {
    auto const [place, isNew] = m_faces.try_emplace({file.path, file.index});
    if (isNew) {
        try {
            place->second = std::make_unique<FontFace>(m_library, file, m_nextFace);
            ++m_nextFace;
        } catch (FontError const& e) {
            m_warning = "cannot use font " + file.path + ": " + e.what();
        }
    }
    return place->second.get();
}

} // namespace drivers::raster
