#include "drivers/raster/PixelValues.h"

#include "drivers/raster/CountMapping.h"
#include "drivers/raster/detail/Blend.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace drivers::raster {

namespace {

using ui::win::T2F_V3F_t;
using Vector = math::Point2<double>;

/// In a picture that is opaque otherwise: a pixel that a value lies on.
constexpr unsigned char markAlpha = 254;

constexpr double tolerance = 1e-3; // pixels by which a parallelogram may miss its fourth corner
constexpr double margin = 2;       // pixels between a value and the edge of its pixel
constexpr double largestText = 16;
constexpr double digitWidth = 0.556; // em, in the font used

/// Where the pixels of an image lie: pixel (u, v) has its corner at origin + u * across + v * down.
struct Grid {
    Vector origin;
    Vector across;
    Vector down;

    Vector At(double u, double v) const { return origin + across * u + down * v; }
};

bool IsAffine(math::TMatrix<double, 3, 4> const& m) {
    return m(2, 0) == 0 && m(2, 1) == 0 && m(2, 2) == 0 && m(2, 3) != 0;
}

Vector ToPixel(math::TMatrix<double, 3, 4> const& m, T2F_V3F_t const& p) {
    auto const row = [&](int i) { return m(i, 0) * p.x + m(i, 1) * p.y + m(i, 2) * p.z + m(i, 3); };
    return {row(0) / m(2, 3), row(1) / m(2, 3)};
}

/// @return false for what is no parallelogram, in the picture or in the image
bool MakeGrid(
    T2F_V3F_t const (&corners)[4],
    math::TMatrix<double, 3, 4> const& worldToPixel,
    cimage::CImage const& image,
    Grid& grid) {
    Vector p[4];
    for (int i = 0; i < 4; ++i) {
        p[i] = ToPixel(worldToPixel, corners[i]);
    }
    T2F_V3F_t const& a = corners[0];
    T2F_V3F_t const& b = corners[1];
    T2F_V3F_t const& c = corners[2];
    double const s1 = double{b.s} - a.s;
    double const t1 = double{b.t} - a.t;
    double const s2 = double{c.s} - a.s;
    double const t2 = double{c.t} - a.t;
    double const area = s1 * t2 - s2 * t1;
    Vector const p1 = p[1] - p[0];
    Vector const p2 = p[2] - p[0];
    Vector const perS = (p1 * t2 - p2 * t1) * (1 / area);
    Vector const perT = (p2 * s1 - p1 * s2) * (1 / area);
    grid.across = perS * (1.0 / image.Width());
    grid.down = perT * (1.0 / image.Height());
    grid.origin = p[0] - perS * double{a.s} - perT * double{a.t};
    Vector const fourth =
        grid.origin + perS * double{corners[3].s} + perT * double{corners[3].t} - p[3];
    return std::hypot(fourth.x, fourth.y) < tolerance; // false for what is not finite
}

/// Pixels of the image that may be seen in a rectangle of the picture, at least in part.
math::Rect2<int>
VisiblePixels(Grid const& grid, math::Rect2<int> const& clip, cimage::CImage const& image) {
    double const area = grid.across.x * grid.down.y - grid.across.y * grid.down.x;
    double lowU = image.Width();
    double highU = 0;
    double lowV = image.Height();
    double highV = 0;
    for (int const x : {clip.left, clip.right}) {
        for (int const y : {clip.top, clip.bottom}) {
            Vector const d = Vector(x, y) - grid.origin;
            double const u = (d.x * grid.down.y - d.y * grid.down.x) / area;
            double const v = (d.y * grid.across.x - d.x * grid.across.y) / area;
            lowU = std::min(lowU, u);
            highU = std::max(highU, u);
            lowV = std::min(lowV, v);
            highV = std::max(highV, v);
        }
    }
    auto const pixel = [](double value, unsigned count) {
        return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(count)));
    };
    return {
        pixel(std::floor(lowU), image.Width()),
        pixel(std::floor(lowV), image.Height()),
        pixel(std::ceil(highU), image.Width()),
        pixel(std::ceil(highV), image.Height())};
}

/// The part of an image that a quad shows, in whole pixels.
math::Rect2<int> QuadPixels(T2F_V3F_t const (&corners)[4], cimage::CImage const& image) {
    auto const [left, right] = std::minmax({corners[0].s, corners[1].s, corners[2].s});
    auto const [top, bottom] = std::minmax({corners[0].t, corners[1].t, corners[2].t});
    auto const at = [](float share, unsigned count) {
        return static_cast<int>(
            std::lround(std::clamp(double{share}, 0.0, 1.0) * static_cast<double>(count)));
    };
    return {
        at(left, image.Width()),
        at(top, image.Height()),
        at(right, image.Width()),
        at(bottom, image.Height())};
}

std::string Text(ui::win::ImageCounts const& counts) {
    std::string text;
    for (std::size_t i = 0; i < counts.channels; ++i) {
        text += (i == 0 ? "" : "\n") + std::to_string(counts.values[i]);
    }
    return text;
}

/// Text height at which every value of a type fits into a pixel: its longest, and its lines.
double TextHeight(Grid const& grid, cimage::CImage const& image, unsigned channels) {
    bool const isSigned = image.Type() == cimage::PixelTypeNumber<signed char>::value ||
                          image.Type() == cimage::PixelTypeNumber<short>::value;
    unsigned const digits = image.BytesPerPixel() / channels == 1 ? 3 : 5;
    double const room =
        std::min(std::hypot(grid.across.x, grid.across.y), std::hypot(grid.down.x, grid.down.y)) -
        2 * margin;
    double const byWidth = room / (digitWidth * (digits + (isSigned ? 1 : 0)));
    return std::floor(std::min({byWidth, room / channels, largestText}));
}

bool IsLight(Colour c) {
    return 299 * c.r + 587 * c.g + 114 * c.b > 127500;
}

} // namespace

/// Collects the pixels of values and marks them in the picture.
class PixelValues::Pen : public GlyphSink {
public:
    Pen(Canvas& picture, std::vector<Mark>& marks) : m_picture(picture), m_marks(marks) {}

    void Take(Colour ink, int shiftX, int shiftY) {
        m_ink = ink;
        m_shiftX = shiftX;
        m_shiftY = shiftY;
    }
    void BlendMask(
        int left,
        int top,
        unsigned char const* coverage,
        int width,
        int height,
        std::ptrdiff_t stride) override {
        math::Rect2<int> const& clip = m_picture.Clip();
        for (int row = 0; row < height; ++row) {
            for (int column = 0; column < width; ++column) {
                int const x = left + column + m_shiftX;
                int const y = top + row + m_shiftY;
                unsigned char const covered = coverage[row * stride + column];
                bool const inside =
                    x >= clip.left && x < clip.right && y >= clip.top && y < clip.bottom;
                if (covered != 0 && inside) {
                    m_picture.Row(y)[x].a = markAlpha;
                    m_marks.push_back(
                        {static_cast<std::uint16_t>(x),
                         static_cast<std::uint16_t>(y),
                         {m_ink.r, m_ink.g, m_ink.b, covered}});
                }
            }
        }
    }

private:
    Canvas& m_picture;
    std::vector<Mark>& m_marks;
    Colour m_ink;
    int m_shiftX = 0;
    int m_shiftY = 0;
};

void PixelValues::Clear() {
    m_marks.clear();
}

void PixelValues::Add(
    Canvas& picture,
    TextRenderer& text,
    cimage::CImage const& image,
    T2F_V3F_t const (&corners)[4],
    math::TMatrix<double, 3, 4> const& worldToPixel) {
    Grid grid;
    ui::win::ImageCounts counts;
    if (image.Empty() || !IsAffine(worldToPixel) || !MakeGrid(corners, worldToPixel, image, grid) ||
        !ReadCounts(image, 0, 0, counts)) {
        return;
    }
    double const edge =
        std::min(std::hypot(grid.across.x, grid.across.y), std::hypot(grid.down.x, grid.down.y));
    if (edge < kSmallestEdge - tolerance) {
        return;
    }
    TextStyle style;
    style.width = style.height = TextHeight(grid, image, counts.channels);
    style.alignX = TextAlignX::Centre;
    style.alignY = TextAlignY::Centre;
    math::Rect2<int> const pixels =
        Intersect(VisiblePixels(grid, picture.Clip(), image), QuadPixels(corners, image));
    Pen pen(picture, m_marks);
    for (int y = pixels.top; y < pixels.bottom; ++y) {
        for (int x = pixels.left; x < pixels.right; ++x) {
            ReadCounts(image, x, y, counts);
            std::string const value = Text(counts);
            Vector const centre = grid.At(x + 0.5, y + 0.5);
            Colour const ground = picture.Read(
                std::clamp(static_cast<int>(centre.x), 0, picture.Width() - 1),
                std::clamp(static_cast<int>(centre.y), 0, picture.Height() - 1));
            Colour const dark(0, 0, 0, 255);
            Colour const light(255, 255, 255, 255);
            auto const write = [&](Colour ink, int shiftX, int shiftY) {
                pen.Take(ink, shiftX, shiftY);
                text.DrawTo(pen, centre, style, value, {}, picture.Clip());
            };
            if (picture.State().bilinear) { // then a pixel is not of one colour
                for (auto const& [dx, dy] : {std::pair(-1, 0), {1, 0}, {0, -1}, {0, 1}}) {
                    write(IsLight(ground) ? light : dark, dx, dy);
                }
            }
            write(IsLight(ground) ? dark : light, 0, 0);
        }
    }
}

void PixelValues::Finish(Canvas& picture) {
    auto const isGone = [&](Mark const& mark) {
        return picture.Row(mark.y)[mark.x].a != markAlpha;
    };
    m_marks.erase(std::remove_if(m_marks.begin(), m_marks.end(), isGone), m_marks.end());
    for (Mark const& mark : m_marks) {
        picture.Row(mark.y)[mark.x].a = 255;
    }
}

void PixelValues::Write(Canvas& copy) const {
    for (Mark const& mark : m_marks) {
        detail::BlendPixel(copy.Row(mark.y)[mark.x], mark.ink, mark.ink.a);
    }
}

} // namespace drivers::raster
