#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct hb_buffer_t;

namespace drivers::raster {

struct Font;
class FontFace;
class FontLibrary;

/// The next character of a UTF-8 text from byte `at` on, which moves behind it. Each longest piece
/// that begins like a character and does not end like one gives one U+FFFD (Unicode 15, section
/// 3.9, "Substitution of Maximal Subparts"). Requires at < text.size().
char32_t NextCharacter(std::string_view text, std::size_t& at);

/// Cuts the next line off a text: up to '\n', which is dropped, or to the end.
std::string_view NextLine(std::string_view& text);

struct ShapedGlyph {
    std::uint32_t glyph;   ///< index in the face
    std::uint32_t cluster; ///< byte of the line at which its character begins
    double x;              ///< from the line's start, in em
    float y;               ///< above the baseline, in em
    float advance;         ///< what it adds to the line's width, in em
};

/// Glyphs of one face that follow each other, from left to right.
struct ShapedRun {
    FontFace const* face;
    std::size_t begin;
    std::size_t end;
};

/// One line of text as glyphs in the order they stand from left to right, for any size.
struct ShapedLine {
    std::string text;
    std::vector<ShapedRun> runs;
    std::vector<ShapedGlyph> glyphs;
    double width = 0; ///< in em

    /// Memory that it takes.
    std::size_t Bytes() const;
};

/// Turns a line into glyphs: decodes it, finds the direction of each part, finds a face for each
/// character and has HarfBuzz shape what has one direction, script and face. One thread at a time.
///
/// Directions follow the implicit rules of Unicode's bidirectional algorithm in a short form:
/// letters, numbers with a separator between digits, and the neutrals between them. Embedding
/// controls have no effect.
class TextShaper {
public:
    TextShaper();
    ~TextShaper();
    TextShaper(TextShaper const&) = delete;
    TextShaper& operator=(TextShaper const&) = delete;

    /// @throw FontError when memory runs out in HarfBuzz
    ShapedLine Shape(FontLibrary& fonts, Font& font, std::string_view line);

private:
    /// Part of m_characters shaped at once; an odd level runs from right to left.
    struct Segment {
        std::size_t begin;
        std::size_t end;
        unsigned level;
    };

    void Forget();
    void Decode(std::string_view line);
    void FindScripts();
    void FindLevels();
    void FindFaces(FontLibrary& fonts, Font& font);
    std::vector<Segment> Segments() const;
    void ShapeSegment(Segment const& segment, ShapedLine& line);

    hb_buffer_t* m_buffer;
    // One entry a character. Kept between calls for their memory.
    std::vector<std::uint32_t> m_characters;
    std::vector<std::uint32_t> m_bytes; ///< where it begins in the line
    std::vector<std::uint32_t> m_scripts;
    std::vector<unsigned char> m_levels;
    std::vector<FontFace const*> m_faces;
    bool m_hasRightToLeft = false;
};

} // namespace drivers::raster
