#include "drivers/raster/TextLayout.h"

#include "drivers/raster/FontLibrary.h"

#include <hb.h>

#include <algorithm>

namespace drivers::raster {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr unsigned kTabSpaces = 4;
/// Bytes of a line that are drawn; HarfBuzz counts in int and takes some 50 bytes a character.
constexpr std::size_t kLongestLine = 1u << 24;
/// Marks and invisible characters in a row that are drawn: placing marks takes time that grows with
/// the square of their number, and no script stacks as many.
constexpr unsigned kMostMarks = 32;
/// Bytes of a line above which the working memory is given back after it.
constexpr std::size_t kLineToForget = 1u << 16;

/// What a character does to the direction of the text around it.
enum class Bidi : unsigned char { Left, Right, Number, Neutral };

hb_unicode_general_category_t Category(hb_codepoint_t c) {
    return hb_unicode_general_category(hb_unicode_funcs_get_default(), c);
}

bool IsMark(hb_codepoint_t c) {
    switch (Category(c)) {
    case HB_UNICODE_GENERAL_CATEGORY_NON_SPACING_MARK:
    case HB_UNICODE_GENERAL_CATEGORY_SPACING_MARK:
    case HB_UNICODE_GENERAL_CATEGORY_ENCLOSING_MARK:
        return true;
    default:
        return false;
    }
}

/// Invisible characters that act on their neighbours: joiners, direction marks.
bool IsFormat(hb_codepoint_t c) {
    return Category(c) == HB_UNICODE_GENERAL_CATEGORY_FORMAT;
}

/// Belongs to the character before it.
bool Attaches(hb_codepoint_t c) {
    return c >= 0x80 && (IsMark(c) || IsFormat(c));
}

bool DrawsNothing(hb_codepoint_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029;
}

bool IsRealScript(std::uint32_t script) {
    return script != HB_SCRIPT_COMMON && script != HB_SCRIPT_INHERITED &&
           script != HB_SCRIPT_UNKNOWN;
}

bool IsRightToLeft(std::uint32_t script) {
    return hb_script_get_horizontal_direction(static_cast<hb_script_t>(script)) == HB_DIRECTION_RTL;
}

Bidi BidiOf(hb_codepoint_t c) {
    if (Category(c) == HB_UNICODE_GENERAL_CATEGORY_DECIMAL_NUMBER) {
        return Bidi::Number;
    }
    std::uint32_t const script = hb_unicode_script(hb_unicode_funcs_get_default(), c);
    if (!IsRealScript(script)) {
        return Bidi::Neutral;
    }
    return IsRightToLeft(script) ? Bidi::Right : Bidi::Left;
}

bool SeparatesDigits(hb_codepoint_t c) {
    return c == '.' || c == ',' || c == ':' || c == '/' || c == '+' || c == '-';
}

/// Gives separators within numbers to the number, and numbers after left-to-right text to it.
void ResolveNumbers(
    std::vector<Bidi>& kinds, std::vector<std::uint32_t> const& characters, Bidi base) {
    for (std::size_t i = 1; i + 1 < kinds.size(); ++i) {
        if (SeparatesDigits(characters[i]) && kinds[i - 1] == Bidi::Number &&
            kinds[i + 1] == Bidi::Number) {
            kinds[i] = Bidi::Number;
        }
    }
    Bidi strong = base;
    for (Bidi& kind : kinds) {
        if (kind == Bidi::Number && strong == Bidi::Left) {
            kind = Bidi::Left;
        } else if (kind == Bidi::Left || kind == Bidi::Right) {
            strong = kind;
        }
    }
}

/// Neutrals take the direction that both their neighbours have, else the line's.
void ResolveNeutrals(std::vector<Bidi>& kinds, Bidi base) {
    auto const side = [](Bidi kind) { return kind == Bidi::Left ? Bidi::Left : Bidi::Right; };
    for (std::size_t i = 0; i < kinds.size();) {
        if (kinds[i] != Bidi::Neutral) {
            ++i;
            continue;
        }
        std::size_t end = i;
        while (end < kinds.size() && kinds[end] == Bidi::Neutral) {
            ++end;
        }
        Bidi const before = i > 0 ? side(kinds[i - 1]) : base;
        Bidi const after = end < kinds.size() ? side(kinds[end]) : base;
        std::fill(
            kinds.begin() + static_cast<std::ptrdiff_t>(i),
            kinds.begin() + static_cast<std::ptrdiff_t>(end),
            before == after ? before : base);
        i = end;
    }
}

/// True when a face can show a letter with its marks, as single glyphs or as one for several.
bool Holds(FontFace const& face, hb_codepoint_t const* begin, hb_codepoint_t const* end) {
    if (!face.Has(*begin)) {
        return false;
    }
    hb_codepoint_t letter = *begin;
    for (hb_codepoint_t const* c = begin + 1; c != end; ++c) {
        hb_codepoint_t both = 0;
        bool const composes =
            hb_unicode_compose(hb_unicode_funcs_get_default(), letter, *c, &both) != 0;
        if (composes && face.Has(both)) {
            letter = both;
        } else if (!face.Has(*c) && !IsFormat(*c)) {
            return false;
        }
    }
    return true;
}

} // namespace

char32_t NextCharacter(std::string_view text, std::size_t& at) {
    auto const byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    unsigned const lead = byte(at++);
    if (lead < 0x80) {
        return lead;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return kReplacement;
    }
    unsigned const more = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    char32_t character = lead & (0x3Fu >> more);
    for (unsigned i = 0; i < more; ++i) {
        // The second byte's range excludes overlong forms, surrogates and what is above U+10FFFF.
        bool const second = i == 0;
        unsigned const low = second && lead == 0xE0 ? 0xA0 : second && lead == 0xF0 ? 0x90 : 0x80;
        unsigned const high = second && lead == 0xED ? 0x9F : second && lead == 0xF4 ? 0x8F : 0xBF;
        if (at >= text.size() || byte(at) < low || byte(at) > high) {
            return kReplacement;
        }
        character = character << 6 | (byte(at++) & 0x3Fu);
    }
    return character;
}

std::string_view NextLine(std::string_view& text) {
    std::size_t const end = text.find('\n');
    std::string_view const line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

std::size_t ShapedLine::Bytes() const {
    return sizeof *this + text.capacity() + runs.capacity() * sizeof(ShapedRun) +
           glyphs.capacity() * sizeof(ShapedGlyph);
}

TextShaper::TextShaper() : m_buffer(hb_buffer_create()) {}

TextShaper::~TextShaper() {
    hb_buffer_destroy(m_buffer);
}

ShapedLine TextShaper::Shape(FontLibrary& fonts, Font& font, std::string_view text) {
    ShapedLine line;
    line.text = text;
    Decode(text.substr(0, kLongestLine));
    FindScripts();
    FindLevels();
    FindFaces(fonts, font);
    for (Segment const& segment : Segments()) {
        ShapeSegment(segment, line);
    }
    line.glyphs.shrink_to_fit();
    if (text.size() > kLineToForget) {
        Forget();
    }
    return line;
}

void TextShaper::Forget() {
    hb_buffer_destroy(m_buffer);
    m_buffer = hb_buffer_create();
    m_characters = {};
    m_bytes = {};
    m_scripts = {};
    m_levels = {};
    m_faces = {};
}

void TextShaper::Decode(std::string_view line) {
    m_characters.clear();
    m_bytes.clear();
    unsigned attached = 0;
    for (std::size_t at = 0; at < line.size();) {
        auto const begin = static_cast<std::uint32_t>(at);
        char32_t const c = NextCharacter(line, at);
        if (c == '\t') {
            m_characters.insert(m_characters.end(), kTabSpaces, ' ');
            m_bytes.insert(m_bytes.end(), kTabSpaces, begin);
            attached = 0;
        } else if (!DrawsNothing(c)) {
            attached = Attaches(c) ? attached + 1 : 0;
            if (attached <= kMostMarks) {
                m_characters.push_back(c);
                m_bytes.push_back(begin);
            }
        }
    }
}

/// Characters that belong to no script of their own join the one before them, at the start of a
/// line the first that follows.
void TextShaper::FindScripts() {
    m_scripts.resize(m_characters.size());
    m_hasRightToLeft = false;
    std::uint32_t current = HB_SCRIPT_COMMON;
    std::size_t undecided = 0;
    for (std::size_t i = 0; i < m_characters.size(); ++i) {
        std::uint32_t const own =
            hb_unicode_script(hb_unicode_funcs_get_default(), m_characters[i]);
        if (IsRealScript(own)) {
            m_hasRightToLeft = m_hasRightToLeft || IsRightToLeft(own);
            current = own;
            std::fill_n(m_scripts.begin(), undecided, own);
            undecided = 0;
        } else if (current == HB_SCRIPT_COMMON) {
            ++undecided;
        }
        m_scripts[i] = current;
    }
}

void TextShaper::FindLevels() {
    m_levels.assign(m_characters.size(), 0);
    if (!m_hasRightToLeft) {
        return;
    }
    std::vector<Bidi> kinds(m_characters.size());
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        kinds[i] = i > 0 && IsMark(m_characters[i]) ? kinds[i - 1] : BidiOf(m_characters[i]);
    }
    auto const strong = std::find_if(kinds.begin(), kinds.end(), [](Bidi kind) {
        return kind == Bidi::Left || kind == Bidi::Right;
    });
    Bidi const base = strong != kinds.end() ? *strong : Bidi::Left;
    ResolveNumbers(kinds, m_characters, base);
    ResolveNeutrals(kinds, base);
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        if (kinds[i] == Bidi::Right) {
            m_levels[i] = 1;
        } else if (kinds[i] == Bidi::Number || base == Bidi::Right) {
            m_levels[i] = 2;
        }
    }
}

/// A character and its marks come from one face where one has them all, because marks are placed
/// by the face of their letter.
void TextShaper::FindFaces(FontLibrary& fonts, Font& font) {
    m_faces.resize(m_characters.size());
    for (std::size_t i = 0; i < m_characters.size();) {
        std::size_t end = i + 1;
        while (end < m_characters.size() && Attaches(m_characters[end])) {
            ++end;
        }
        auto const holdsAll = [this, i, end](FontFace const& face) {
            return Holds(face, m_characters.data() + i, m_characters.data() + end);
        };
        FontFace const* face = font.face;
        for (std::size_t k = i; k < end && !holdsAll(*face); ++k) {
            if (!font.face->Has(m_characters[k]) && !IsFormat(m_characters[k])) {
                face = fonts.Substitute(font, m_characters[k]);
            }
        }
        if (!holdsAll(*face)) {
            face = font.face->Has(m_characters[i]) ? font.face
                                                   : fonts.Substitute(font, m_characters[i]);
        }
        std::fill(
            m_faces.begin() + static_cast<std::ptrdiff_t>(i),
            m_faces.begin() + static_cast<std::ptrdiff_t>(end),
            face);
        i = end;
    }
}

/// Segments in the order they stand from left to right: from the highest level down, what has at
/// least that level is turned around (rule L2 of the bidirectional algorithm).
std::vector<TextShaper::Segment> TextShaper::Segments() const {
    std::vector<Segment> segments;
    unsigned highest = 0;
    for (std::size_t i = 0; i < m_characters.size(); ++i) {
        bool const joins = i > 0 && m_levels[i] == m_levels[i - 1] &&
                           m_scripts[i] == m_scripts[i - 1] && m_faces[i] == m_faces[i - 1];
        if (joins) {
            segments.back().end = i + 1;
        } else {
            segments.push_back({i, i + 1, m_levels[i]});
            highest = std::max<unsigned>(highest, m_levels[i]);
        }
    }
    for (unsigned level = highest; level > 0; --level) {
        auto const inside = [level](Segment const& s) { return s.level >= level; };
        for (auto from = segments.begin(); from != segments.end();) {
            from = std::find_if(from, segments.end(), inside);
            auto const to = std::find_if_not(from, segments.end(), inside);
            std::reverse(from, to);
            from = to;
        }
    }
    return segments;
}

void TextShaper::ShapeSegment(Segment const& segment, ShapedLine& line) {
    FontFace const& face = *m_faces[segment.begin];
    hb_buffer_clear_contents(m_buffer);
    hb_buffer_add_codepoints(
        m_buffer,
        m_characters.data(),
        static_cast<int>(m_characters.size()),
        static_cast<unsigned>(segment.begin),
        static_cast<int>(segment.end - segment.begin));
    hb_buffer_set_direction(m_buffer, segment.level % 2 != 0 ? HB_DIRECTION_RTL : HB_DIRECTION_LTR);
    hb_buffer_set_script(m_buffer, static_cast<hb_script_t>(m_scripts[segment.begin]));
    // No language: the same text has the same shape under every locale.
    hb_shape(face.HarfBuzz(), m_buffer, nullptr, 0);
    if (!hb_buffer_allocation_successful(m_buffer)) {
        throw FontError("hb_shape: out of memory");
    }
    unsigned count = 0;
    hb_glyph_info_t const* const infos = hb_buffer_get_glyph_infos(m_buffer, &count);
    hb_glyph_position_t const* const places = hb_buffer_get_glyph_positions(m_buffer, &count);
    std::size_t const first = line.glyphs.size();
    double const em = 1 / face.UnitsPerEm();
    for (unsigned i = 0; i < count; ++i) {
        double const advance = places[i].x_advance * em;
        line.glyphs.push_back(
            {infos[i].codepoint,
             m_bytes[infos[i].cluster],
             line.width + places[i].x_offset * em,
             static_cast<float>(places[i].y_offset * em),
             static_cast<float>(advance)});
        line.width += advance;
    }
    line.runs.push_back({&face, first, line.glyphs.size()});
}

} // namespace drivers::raster
