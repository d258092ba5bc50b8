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

/// Glyphs of a line whose places are kept; longer lines reach out of the window and are clipped.
constexpr std::size_t kMostPlaced = 512;
/// Quarters of a pixel from the canvas to a line's origin up to which its places are kept as int.
constexpr double kFarthest = 1 << 28;
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
    double const scaleX = std::sqrt(t.xx * t.xx + t.yx * t.yx);
    double const scaleY = std::sqrt(t.xy * t.xy + t.yy * t.yy);
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

int Nearest(double v) {
    return static_cast<int>(std::floor(v + 0.5));
}

GlyphScale ScaleOf(TextTransform const& em) {
    return {
        Nearest(em.xx * kUnit),
        Nearest(em.xy * kUnit),
        Nearest(em.yx * kUnit),
        Nearest(em.yy * kUnit)};
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

/// What decides on the pixels of a line, but for whole pixels of its origin.
struct Placement {
    GlyphScale scale;
    int quarterX = 0;
    int quarterY = 0;
    unsigned epoch = 0; ///< of the glyph cache

    friend bool operator==(Placement const& a, Placement const& b) {
        return a.scale == b.scale && a.quarterX == b.quarterX && a.quarterY == b.quarterY &&
               a.epoch == b.epoch;
    }
};

struct PlacedGlyph {
    GlyphBitmap const* bitmap;
    int x; ///< pixels from the line's origin
    int y;
};

/// A line kept for the next time, with the glyphs as they were placed the last time.
struct Line {
    ShapedLine shape;
    Placement placement;
    std::vector<PlacedGlyph> placed; ///< empty when there is no placement to go by
};

void Blend(GlyphSink& sink, GlyphBitmap const& bitmap, int x, int y) {
    if (bitmap.width > 0 && bitmap.height > 0) {
        sink.BlendMask(
            x + bitmap.left,
            y + bitmap.top,
            bitmap.coverage.data(),
            bitmap.width,
            bitmap.height,
            bitmap.width);
    }
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
    Line& Shaped(Font& font, std::string_view text);
    void DrawLine(
        GlyphSink& sink,
        Line& line,
        math::Point2<double> const& origin,
        TextTransform const& em,
        math::Rect2<double> const& clip);
    bool Redraw(GlyphSink& sink, Line const& line, Placement const& wanted, int x, int y) const;
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
    TextCache<LineKey, std::unique_ptr<Line>, LineHash> lines;
    std::unique_ptr<Line> large; ///< the last line that the cache has no room for
    GlyphCache glyphs;
};

Line& TextRenderer::Engine::Shaped(Font& font, std::string_view text) {
    large.reset();
    if (std::unique_ptr<Line> const* const known = lines.Find({font.id, text})) {
        return **known;
    }
    auto line = std::make_unique<Line>();
    line->shape = shaper.Shape(fonts, font, text);
    std::size_t cost = line->shape.Bytes() + sizeof(Line) + 96; // and what the map takes beside it
    if (line->shape.glyphs.size() <= kMostPlaced) {
        line->placed.reserve(line->shape.glyphs.size());
        cost += line->placed.capacity() * sizeof(PlacedGlyph);
    }
    if (!lines.Fits(cost)) {
        large = std::move(line);
        return *large;
    }
    LineKey const key{font.id, line->shape.text};
    return *lines.Insert(key, std::move(line), cost);
}

/// Draws a line from its last placement, if that is the wanted one: the path of every text that is
/// drawn again as it was, which is most of what a window draws.
bool TextRenderer::Engine::Redraw(
    GlyphSink& sink, Line const& line, Placement const& wanted, int x, int y) const {
    if (line.placed.empty() || !(line.placement == wanted)) {
        return false;
    }
    for (PlacedGlyph const& glyph : line.placed) {
        Blend(sink, *glyph.bitmap, x + glyph.x, y + glyph.y);
    }
    return true;
}

/// Glyphs stand on quarters of a pixel along the line, so that their spacing is even. The origin of
/// upright text is on a pixel edge vertically, so that the hinted edges of its glyphs are crisp.
void TextRenderer::Engine::DrawLine(
    GlyphSink& sink,
    Line& line,
    math::Point2<double> const& origin,
    TextTransform const& em,
    math::Rect2<double> const& clip) {
    GlyphScale const scale = ScaleOf(em);
    double const yGrid = scale.Upright() ? 1 : 4;
    double const yStep = scale.Upright() ? 4 : 1;
    double const x0 = std::floor(origin.x * 4 + 0.5);
    double const y0 = std::floor(origin.y * yGrid + 0.5) * yStep;
    bool const isNear = std::abs(x0) < kFarthest && std::abs(y0) < kFarthest;
    int const nearX = isNear ? static_cast<int>(x0) : 0;
    int const nearY = isNear ? static_cast<int>(y0) : 0;
    Placement const placement{scale, nearX & 3, nearY & 3, glyphs.Epoch()};
    if (isNear && Redraw(sink, line, placement, nearX >> 2, nearY >> 2)) {
        return;
    }
    line.placement = placement;
    line.placed.clear();
    ShapedLine const& shape = line.shape;
    for (ShapedRun const& run : shape.runs) {
        math::Rect2<double> const reach = Reach(*run.face, em);
        math::Rect2<double> const inside{
            clip.left - reach.right - origin.x,
            clip.top - reach.bottom - origin.y,
            clip.right - reach.left - origin.x,
            clip.bottom - reach.top - origin.y};
        std::uint32_t const strike = glyphs.Strike(*run.face, scale);
        for (std::size_t i = run.begin; i < run.end; ++i) {
            ShapedGlyph const& glyph = shape.glyphs[i];
            double const x = em.xx * glyph.x - em.xy * double(glyph.y);
            double const y = em.yx * glyph.x - em.yy * double(glyph.y);
            if (!(x > inside.left && x < inside.right && y > inside.top && y < inside.bottom)) {
                continue;
            }
            // Inside the clip, so both fit an int.
            int const xSteps = static_cast<int>(x0 + std::floor(x * 4 + 0.5));
            int const ySteps = static_cast<int>(y0 + std::floor(y * yGrid + 0.5) * yStep);
            GlyphBitmap const& bitmap = glyphs.Find(
                strike,
                *run.face,
                scale,
                glyph.glyph,
                static_cast<unsigned>(xSteps & 3),
                static_cast<unsigned>(ySteps & 3));
            Blend(sink, bitmap, xSteps >> 2, ySteps >> 2);
            if (isNear && line.placed.size() < line.placed.capacity()) {
                line.placed.push_back(
                    {&bitmap, (xSteps >> 2) - (nearX >> 2), (ySteps >> 2) - (nearY >> 2)});
            }
        }
    }
    // Good for another time only when it is whole and no bitmap of it was dropped meanwhile.
    if (line.placed.size() != shape.glyphs.size() || glyphs.Epoch() != placement.epoch) {
        line.placed.clear();
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
        return Shaped(font, joined(bytes)).shape.width * frame.width <= width;
    };
    auto const clusters = ClusterAdvances(Shaped(font, line).shape);
    double end = Shaped(font, ellipsis).shape.width * frame.width;
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
            Line& line = engine.Shaped(*font, piece);
            double const x = AlignedLeft(style.alignX, line.shape.width * frame.width);
            double const y = baseline + i * frame.lineAdvance;
            engine.DrawLine(
                sink,
                line,
                {anchor.x + transform.xx * x + transform.xy * y,
                 upright ? uprightY : anchor.y + transform.yx * x + transform.yy * y},
                frame.em,
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
            width = std::max(width, engine.Shaped(*font, NextLine(text)).shape.width * frame.width);
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
            if (!(engine.Shaped(*font, line).shape.width * frame.width <= width)) {
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
