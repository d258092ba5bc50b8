#include "drivers/raster/TextRenderer.h"

#include "drivers/raster/FontLibrary.h"
#include "drivers/raster/GlyphCache.h"
#include "drivers/raster/TextLayout.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace drivers::raster {

namespace {

constexpr double kUnit = 64; // FreeType counts in 64ths of a pixel
/// Letters and marks are not taller than this many em, whatever their font: a line further than
/// that outside the clip needs no shaping.
constexpr double kTallest = 4;

/// Characters that shaping may win back over the sum of their advances when a text is shortened.
constexpr int kMostTries = 4;

/// Sizes and directions of a text, in pixels and text units.
struct Frame {
    double width = 0;        ///< of the em, in text units, within bounds
    double height = 0;       ///< the same
    double pixelWidth = 0;   ///< of the em
    double pixelHeight = 0;  ///< of the em
    double lineAdvance = 0;  ///< in text units
    double pixelAdvance = 0; ///< of a line, a whole number
    TextTransform em;        ///< em to pixels, y down

    /// Nothing can be seen of letters below a pixel.
    bool Visible() const { return pixelWidth >= 1 && pixelHeight >= 1; }
};

/// False when a size or the transform is no positive number.
bool MakeFrame(TextStyle const& style, TextTransform const& t, Frame& frame) {
    double const scaleX = std::hypot(t.xx, t.yx);
    double const scaleY = std::hypot(t.xy, t.yy);
    bool const valid = style.width > 0 && style.height > 0 && scaleX > 0 && scaleY > 0 &&
                       std::isfinite(scaleX) && std::isfinite(scaleY);
    if (!valid) {
        return false;
    }
    frame.width = std::min(style.width, TextRenderer::kMaxSize / scaleX);
    frame.height = std::min(style.height, TextRenderer::kMaxSize / scaleY);
    frame.pixelWidth = frame.width * scaleX;
    frame.pixelHeight = frame.height * scaleY;
    // What a scale of the view adds by rounding must not cost a pixel.
    frame.pixelAdvance = std::ceil(frame.pixelHeight - 1e-6);
    frame.lineAdvance = frame.pixelAdvance / scaleY;
    frame.em = {t.xx * frame.width, t.xy * frame.height, t.yx * frame.width, t.yy * frame.height};
    return std::isfinite(frame.lineAdvance);
}

GlyphScale ScaleOf(TextTransform const& em) {
    auto const fixed = [](double v) { return static_cast<std::int32_t>(std::lround(v * kUnit)); };
    return {fixed(em.xx), fixed(em.xy), fixed(em.yx), fixed(em.yy)};
}

math::Rect2<double> ToDouble(math::Rect2<int> const& r) {
    return {double(r.left), double(r.top), double(r.right), double(r.bottom)};
}

double LineCount(std::string_view text) {
    return static_cast<double>(std::count(text.begin(), text.end(), '\n')) + 1;
}

/// Where a line of a width begins, from the anchor.
double AlignedLeft(TextAlignX align, double width) {
    switch (align) {
    case TextAlignX::Centre:
        return -width / 2;
    case TextAlignX::Right:
        return -width;
    default:
        return 0;
    }
}

/// Where the box of a text begins, from the anchor.
double AlignedTop(TextAlignY align, double ascender, double height) {
    switch (align) {
    case TextAlignY::Centre:
        return -height / 2;
    case TextAlignY::Baseline:
        return -ascender;
    default:
        return 0;
    }
}

/// Pixels around a glyph's origin outside of which nothing of any glyph of a face lies. An em is
/// added all around, because fonts are not always right about themselves.
math::Rect2<double> Reach(FontFace const& face, TextTransform const& em) {
    math::Rect2<double> const& box = face.Box();
    math::Rect2<double> reach;
    for (double const x : {box.left - 1, box.right + 1}) {
        for (double const y : {-box.top - 1, -box.bottom + 1}) {
            reach.left = std::min(reach.left, em.xx * x + em.xy * y);
            reach.right = std::max(reach.right, em.xx * x + em.xy * y);
            reach.top = std::min(reach.top, em.yx * x + em.yy * y);
            reach.bottom = std::max(reach.bottom, em.yx * x + em.yy * y);
        }
    }
    return reach;
}

/// The advance of each character of a line in the order of the text, the glyphs of one (a letter
/// and its accents, a ligature) taken together: byte it begins at, em.
std::vector<std::pair<std::size_t, double>> ClusterAdvances(ShapedLine const& line) {
    std::vector<std::pair<std::size_t, double>> clusters;
    clusters.reserve(line.glyphs.size());
    for (ShapedGlyph const& glyph : line.glyphs) {
        clusters.emplace_back(glyph.cluster, glyph.advance);
    }
    std::stable_sort(clusters.begin(), clusters.end(), [](auto const& a, auto const& b) {
        return a.first < b.first;
    });
    std::size_t kept = 0;
    for (std::size_t i = 1; i < clusters.size(); ++i) {
        if (clusters[i].first == clusters[kept].first) {
            clusters[kept].second += clusters[i].second;
        } else {
            clusters[++kept] = clusters[i];
        }
    }
    clusters.resize(clusters.empty() ? 0 : kept + 1);
    return clusters;
}

} // namespace

struct TextRenderer::Engine {
    Engine(std::shared_ptr<FontCatalogue> catalogue, std::size_t glyphBytes, std::size_t lineBytes)
        : fonts(std::move(catalogue)), lines(lineBytes), glyphs(glyphBytes) {}

    /// A line in the shape of a font; good until the next call.
    ShapedLine const& Line(Font& font, std::string_view text);
    void DrawLine(
        GlyphSink& sink,
        ShapedLine const& line,
        math::Point2<double> const& origin,
        Frame const& frame,
        math::Rect2<double> const& clip);
    std::string Shorten(
        Font& font,
        Frame const& frame,
        std::string_view line,
        std::string_view ellipsis,
        double width);

    struct LineKey {
        std::uint32_t font;
        std::string_view text; ///< of the ShapedLine itself

        friend bool operator==(LineKey const& a, LineKey const& b) {
            return a.font == b.font && a.text == b.text;
        }
    };
    struct LineHash {
        std::size_t operator()(LineKey const& key) const {
            return std::hash<std::string_view>()(key.text) + key.font;
        }
    };

    FontLibrary fonts;
    TextShaper shaper;
    TextCache<LineKey, std::unique_ptr<ShapedLine>, LineHash> lines;
    std::unique_ptr<ShapedLine> large; ///< the last line that the cache has no room for
    GlyphCache glyphs;
};

ShapedLine const& TextRenderer::Engine::Line(Font& font, std::string_view text) {
    large.reset();
    if (std::unique_ptr<ShapedLine> const* const known = lines.Find({font.id, text})) {
        return **known;
    }
    auto line = std::make_unique<ShapedLine>(shaper.Shape(fonts, font, text));
    std::size_t const cost = line->Bytes() + 96; // and what the map takes beside it
    if (!lines.Fits(cost)) {
        large = std::move(line);
        return *large;
    }
    LineKey const key{font.id, line->text};
    return *lines.Insert(key, std::move(line), cost);
}

/// Upright text has its baseline on a pixel edge, so that the hinted edges of the glyphs are
/// crisp; along the line glyphs stand on quarters of a pixel, so that their spacing is even.
void TextRenderer::Engine::DrawLine(
    GlyphSink& sink,
    ShapedLine const& line,
    math::Point2<double> const& origin,
    Frame const& frame,
    math::Rect2<double> const& clip) {
    GlyphScale const scale = ScaleOf(frame.em);
    bool const upright = scale.Upright();
    double const yGrid = upright ? 1 : 4;
    int const yShift = upright ? 0 : 2;
    for (ShapedRun const& run : line.runs) {
        math::Rect2<double> const reach = Reach(*run.face, frame.em);
        math::Rect2<double> const inside{
            clip.left - reach.right,
            clip.top - reach.bottom,
            clip.right - reach.left,
            clip.bottom - reach.top};
        std::uint32_t const strike = glyphs.Strike(*run.face, scale);
        for (std::size_t i = run.begin; i < run.end; ++i) {
            ShapedGlyph const& glyph = line.glyphs[i];
            double const x = origin.x + frame.em.xx * glyph.x - frame.em.xy * double(glyph.y);
            double const y = origin.y + frame.em.yx * glyph.x - frame.em.yy * double(glyph.y);
            if (!(x > inside.left && x < inside.right && y > inside.top && y < inside.bottom)) {
                continue;
            }
            int const xSteps = static_cast<int>(std::floor(x * 4 + 0.5));
            int const ySteps = static_cast<int>(std::floor(y * yGrid + 0.5));
            GlyphBitmap const& bitmap = glyphs.Find(
                strike,
                *run.face,
                scale,
                glyph.glyph,
                static_cast<unsigned>(xSteps & 3),
                upright ? 0 : static_cast<unsigned>(ySteps & 3));
            if (bitmap.width > 0 && bitmap.height > 0) {
                sink.BlendMask(
                    (xSteps >> 2) + bitmap.left,
                    (ySteps >> yShift) + bitmap.top,
                    bitmap.coverage.data(),
                    bitmap.width,
                    bitmap.height,
                    bitmap.width);
            }
        }
    }
}

std::string TextRenderer::Engine::Shorten(
    Font& font,
    Frame const& frame,
    std::string_view line,
    std::string_view ellipsis,
    double width) {
    auto const joined = [&](std::size_t bytes) {
        return std::string(line.substr(0, bytes)).append(ellipsis);
    };
    auto const fits = [&](std::size_t bytes) {
        return Line(font, joined(bytes)).width * frame.width <= width;
    };
    auto const clusters = ClusterAdvances(Line(font, line));
    double end = Line(font, ellipsis).width * frame.width;
    std::size_t count = 0;
    while (count < clusters.size() && end + clusters[count].second * frame.width <= width) {
        end += clusters[count++].second * frame.width;
    }
    // The sum is a guess: letters change shape and spacing with what follows. Only the shaped
    // whole tells.
    auto const bytes = [&](std::size_t n) {
        return n < clusters.size() ? clusters[n].first : line.size();
    };
    for (int i = 0; i < kMostTries && count + 1 < clusters.size() && fits(bytes(count + 1)); ++i) {
        ++count;
    }
    while (count > 0 && !fits(bytes(count))) {
        --count;
    }
    return fits(bytes(count)) ? joined(bytes(count)) : std::string();
}

TextRenderer::TextRenderer() : TextRenderer(nullptr) {}

TextRenderer::TextRenderer(
    std::shared_ptr<FontCatalogue> fonts, std::size_t glyphBytes, std::size_t lineBytes)
    : m_fonts(std::move(fonts)), m_glyphBytes(glyphBytes), m_lineBytes(lineBytes) {}

TextRenderer::~TextRenderer() = default;
TextRenderer::TextRenderer(TextRenderer&&) noexcept = default;
TextRenderer& TextRenderer::operator=(TextRenderer&&) noexcept = default;

TextRenderer::Engine& TextRenderer::Start() {
    if (!m_engine) {
        if (!m_fonts) {
            m_fonts = FontCatalogue::System();
        }
        m_engine = std::make_unique<Engine>(m_fonts, m_glyphBytes, m_lineBytes);
    }
    return *m_engine;
}

/// Runs work(engine); what the font libraries complain about becomes a warning.
template <class Result, class Work>
Result TextRenderer::Guarded(Result failed, Work const& work) {
    try {
        return work(Start());
    } catch (FontError const& e) {
        m_warning = e.what();
        return failed;
    }
}

bool TextRenderer::DrawTo(
    GlyphSink& sink,
    math::Point2<double> const& anchor,
    TextStyle const& style,
    std::string_view text,
    TextTransform const& transform,
    math::Rect2<int> const& clip) {
    Frame frame;
    if (text.empty() || !MakeFrame(style, transform, frame) || !frame.Visible()) {
        return true;
    }
    return Guarded(false, [&](Engine& engine) {
        Font* const font = engine.fonts.Find(style.font);
        if (font == nullptr) {
            return false;
        }
        FontFace const& face = *font->face;
        double const ascender = face.Ascender() * frame.height;
        double const height = (face.Ascender() - face.Descender()) * frame.height +
                              (LineCount(text) - 1) * frame.lineAdvance;
        double const baseline = AlignedTop(style.alignY, ascender, height) + ascender;
        math::Rect2<double> const visible = ToDouble(Intersect(clip, kNoClip));
        bool const upright = ScaleOf(frame.em).Upright();
        double const first = std::floor(anchor.y + transform.yy * baseline + 0.5);
        double const tallest = kTallest * frame.pixelHeight;
        for (double i = 0; !text.empty(); ++i) {
            std::string_view const piece = NextLine(text);
            double const uprightY = first + i * frame.pixelAdvance;
            if (upright &&
                !(uprightY + tallest > visible.top && uprightY - tallest < visible.bottom)) {
                continue;
            }
            ShapedLine const& line = engine.Line(*font, piece);
            double const x = AlignedLeft(style.alignX, line.width * frame.width);
            double const y = baseline + i * frame.lineAdvance;
            engine.DrawLine(
                sink,
                line,
                {anchor.x + transform.xx * x + transform.xy * y,
                 upright ? uprightY : anchor.y + transform.yx * x + transform.yy * y},
                frame,
                visible);
        }
        return true;
    });
}

math::Rect2<double> TextRenderer::Measure(
    TextStyle const& style, std::string_view text, TextTransform const& transform) {
    Frame frame;
    if (!MakeFrame(style, transform, frame)) {
        return {};
    }
    return Guarded(math::Rect2<double>(), [&](Engine& engine) -> math::Rect2<double> {
        Font* const font = engine.fonts.Find(style.font);
        if (font == nullptr) {
            return {};
        }
        FontFace const& face = *font->face;
        double const height = (face.Ascender() - face.Descender()) * frame.height +
                              (LineCount(text) - 1) * frame.lineAdvance;
        double width = 0;
        while (!text.empty()) {
            width = std::max(width, engine.Line(*font, NextLine(text)).width * frame.width);
        }
        double const left = AlignedLeft(style.alignX, width);
        double const top = AlignedTop(style.alignY, face.Ascender() * frame.height, height);
        return {left, top, left + width, top + height};
    });
}

std::string TextRenderer::Ellipsize(
    TextStyle const& style, std::string_view text, double width, std::string_view ellipsis) {
    Frame frame;
    if (!MakeFrame(style, {}, frame)) {
        return std::string(text);
    }
    return Guarded(std::string(text), [&](Engine& engine) {
        Font* const font = engine.fonts.Find(style.font);
        for (std::string_view rest = text; font != nullptr && !rest.empty();) {
            std::size_t const begin = text.size() - rest.size();
            std::string_view const line = NextLine(rest);
            if (!(engine.Line(*font, line).width * frame.width <= width)) {
                return std::string(text.substr(0, begin)) +
                       engine.Shorten(*font, frame, line, ellipsis, width);
            }
        }
        return std::string(text);
    });
}

std::string TextRenderer::TakeWarning() {
    std::string warning = std::exchange(m_warning, {});
    if (warning.empty() && m_engine) {
        warning = m_engine->fonts.TakeWarning();
    }
    return warning;
}

std::size_t TextRenderer::CachedBytes() const {
    return m_engine ? m_engine->glyphs.Bytes() + m_engine->lines.Cost() : 0;
}

} // namespace drivers::raster
