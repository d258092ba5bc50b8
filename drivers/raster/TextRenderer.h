#pragma once

#include "math/Point2.h"
#include "math/Rect2.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace drivers::raster {

class FontCatalogue;

/// Where a text lies beside its anchor. The values are those of the system's alignment pair;
/// any other value counts as 0.
enum class TextAlignX { Left = 0, Centre = 1, Right = 2 };
/// Top: the ascender of the first line touches the anchor. Centre: the middle of the block of all
/// lines. Baseline: the baseline of the first line runs through the anchor.
enum class TextAlignY { Top = 0, Centre = 1, Baseline = 2 };

/// How a text looks. Borrows the font name; width and height are the em size in text units, which
/// are pixels unless a transform says otherwise. A width unlike the height stretches the letters.
struct TextStyle {
    std::string_view font = "Liberation Sans";
    double width = 12;
    double height = 12;
    TextAlignX alignX = TextAlignX::Left;
    TextAlignY alignY = TextAlignY::Top;
};

/// Text units (x right, y down) to pixels: pixel = (xx * x + xy * y, yx * x + yy * y).
struct TextTransform {
    double xx = 1;
    double xy = 0;
    double yx = 0;
    double yy = 1;
};

/// Takes the pixels of a text: 8-bit coverage, row by row, `stride` bytes apart, top row first.
class GlyphSink {
public:
    virtual ~GlyphSink() = default;
    virtual void BlendMask(
        int x,
        int y,
        unsigned char const* coverage,
        int width,
        int height,
        std::ptrdiff_t stride) = 0;
};

/// Draws and measures UTF-8 text. Belongs to one thread at a time: one renderer a window, so that
/// windows never wait for each other's text. Costs nothing until its first call, which starts the
/// font libraries; renderers share the list of installed fonts.
///
///     TextRenderer text;
///     text.Draw(canvas, {20, 35}, {"Liberation Sans", 14, 14}, "Frame 17");
///
/// A text is any bytes: wrong UTF-8 becomes U+FFFD, '\n' starts a line, '\t' stands for four
/// spaces, other control characters draw nothing. Lines advance by the em height rounded up to
/// whole pixels, and each is aligned by itself. Characters that the font lacks come from another
/// installed font. The em size is drawn up to kMaxSize pixels, larger ones as kMaxSize; below one
/// pixel, or when it is not a number, nothing is drawn.
class TextRenderer {
public:
    static constexpr double kMaxSize = 2000;
    /// A clip that leaves room for every canvas, and in which pixel positions fit an int.
    static constexpr math::Rect2<int> kNoClip{-(1 << 22), -(1 << 22), 1 << 22, 1 << 22};

    /// Uses the fonts installed on this machine.
    TextRenderer();
    /// Uses the fonts of a catalogue, with the bounds of the two caches in bytes.
    explicit TextRenderer(
        std::shared_ptr<FontCatalogue> fonts,
        std::size_t glyphBytes = 16u << 20,
        std::size_t lineBytes = 8u << 20);
    ~TextRenderer();
    TextRenderer(TextRenderer&&) noexcept;
    TextRenderer& operator=(TextRenderer&&) noexcept;

    /// Draws in the canvas's present colour through Canvas::BlendMask (see GlyphSink).
    ///
    /// @param anchor    in pixels, (0, 0) the outer corner of the top left pixel
    /// @param transform turns and scales the text around the anchor
    /// @param clip      pixels outside need not be drawn: saves work, does not cut glyphs
    /// @return false when there is no font at all; TakeWarning() says why
    template <class Canvas>
    bool Draw(
        Canvas& canvas,
        math::Point2<double> const& anchor,
        TextStyle const& style,
        std::string_view text,
        TextTransform const& transform = {},
        math::Rect2<int> const& clip = kNoClip) {
        struct Sink final : GlyphSink {
            explicit Sink(Canvas& c) : canvas(c) {}
            void BlendMask(
                int x,
                int y,
                unsigned char const* coverage,
                int width,
                int height,
                std::ptrdiff_t stride) override {
                canvas.BlendMask(x, y, coverage, width, height, stride);
            }
            Canvas& canvas;
        } sink(canvas);
        return DrawTo(sink, anchor, style, text, transform, clip);
    }

    /// The same, into a sink.
    bool DrawTo(
        GlyphSink& sink,
        math::Point2<double> const& anchor,
        TextStyle const& style,
        std::string_view text,
        TextTransform const& transform = {},
        math::Rect2<int> const& clip = kNoClip);

    /// The box of a text relative to its anchor, in text units: as wide as the widest line's
    /// advance, as high as ascender and descender of the font plus the advance of each further
    /// line. All zero when there is no font, or when a size is not a number above zero.
    /// @param transform only its scale counts: it decides what a line advance is in pixels
    math::Rect2<double>
    Measure(TextStyle const& style, std::string_view text, TextTransform const& transform = {});

    /// Shortens a text to a width in text units: the text itself when all its lines fit, else the
    /// longest beginning that fits with the ellipsis behind it, cut between characters (an accent
    /// stays with its letter) in the first line that is too wide. Empty when not even the ellipsis
    /// fits, the text itself when there is no font.
    std::string Ellipsize(
        TextStyle const& style,
        std::string_view text,
        double width,
        std::string_view ellipsis = "\xE2\x80\xA6");

    /// Why text is missing or looks different, one line without a tag; empty when there is
    /// nothing new to say. Each cause is told once.
    std::string TakeWarning();

    /// Bytes that the glyph bitmaps and the shaped lines kept for redrawing take now.
    std::size_t CachedBytes() const;

private:
    struct Engine;

    Engine& Start();
    template <class Result, class Work>
    Result Guarded(Result failed, Work const& work);

    std::shared_ptr<FontCatalogue> m_fonts; ///< null: the system's, looked up by Start()
    std::size_t m_glyphBytes;
    std::size_t m_lineBytes;
    std::unique_ptr<Engine> m_engine;
    std::string m_warning; ///< not yet taken
};

} // namespace drivers::raster
