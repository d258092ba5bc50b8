// Draws everything that the canvas draws into one picture.
//
//     gallery <output folder>      leaves gallery.png there

#include "math/Point2.h"
#include "math/Point3.h"
#include "ui/win/CWidget.h"
#include "ui/win/CWindow.h"
#include "ui/win/CWindowCore.h"
#include "ui/win/camera/CWindowCamera.h"
#include "ui/win/camera/CWindowCamera2D.h"

#include <boost/make_shared.hpp>

#include <Eigen/Geometry>

#include <cmath>
#include <exception>
#include <iostream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace ui::win;
using Colour = CWindow::Colour;
using P2 = math::Point2<float>;
using P3 = math::Point3<float>;

constexpr double pi = 3.14159265358979323846;
constexpr int panelWidth = 240;
constexpr int panelHeight = 200;
constexpr int columns = 4;
constexpr Colour paper(28, 32, 40, 255);
constexpr Colour ink(230, 232, 236, 255);
constexpr Colour orange(255, 150, 50, 255);
constexpr Colour sky(90, 180, 255, 255);
constexpr Colour leaf(110, 220, 120, 255);

float F(double v) {
    return static_cast<float>(v);
}

/// A colour of the wheel, `turn` from 0 to 1.
Colour Hue(double turn, unsigned char alpha = 255) {
    auto const channel = [&](double offset) {
        return static_cast<unsigned char>(127.5 + 127.4 * std::cos(2 * pi * (turn + offset)));
    };
    return {channel(0), channel(-1.0 / 3), channel(1.0 / 3), alpha};
}

void DrawPoints(CWindow& window) {
    std::vector<C4UB_V3F_t> spiral;
    for (int i = 0; i < 4000; ++i) {
        double const a = i * 2.399963; // the golden angle
        double const r = 85 * std::sqrt(i / 4000.0);
        Colour const c = Hue(r / 85);
        spiral.push_back(
            {c.r, c.g, c.b, 255, F(120 + r * std::cos(a)), F(100 + r * std::sin(a)), 0});
    }
    window._DrawPixels(spiral);
    for (int size = 1; size <= 8; ++size) {
        window.SetPointSize(size);
        window._DrawPixel(P2(F(8 + size * 12), 190));
    }
}

void DrawStars(CWindow& window, bool smooth) {
    window.SetLineSmoothing(smooth);
    for (int star = 0; star < 4; ++star) {
        double const x = 62 + star % 2 * 116;
        double const y = 52 + star / 2 * 98;
        window.SetLineWidth(star == 0 ? 1 : star == 1 ? 2 : star == 2 ? 3.5 : 7);
        for (int i = 0; i < 16; ++i) {
            double const a = 2 * pi * i / 16;
            window.SetColor(Hue(i / 16.0));
            window.DrawLine(
                x + 10 * std::cos(a),
                y + 10 * std::sin(a),
                x + 45 * std::cos(a),
                y + 45 * std::sin(a));
        }
    }
}

void DrawPolylines(CWindow& window) {
    window.SetBlend(BlendAlpha);
    for (int i = 0; i < 4; ++i) {
        window.SetLineSmoothing(i % 2 == 1);
        window.SetLineWidth(i < 2 ? 1 : 9);
        Colour const c = Hue(0.1 + i * 0.2, 150);
        window.SetColor(c);
        float const y = F(14 + 46 * i);
        window.DrawPolygon(
            std::vector<P2>{{14, y}, {90, y}, {30, y + 12}, {110, y + 26}, {20, y + 32}}, false);
        window.DrawPolygon(
            std::vector<P2>{{140, y}, {220, y + 6}, {180, y + 16}, {205, y + 34}}, true);
    }
}

void DrawShapes(CWindow& window, bool smooth) {
    window.SetLineSmoothing(smooth);
    window.SetBlend(BlendAlpha);
    window.SetColor(Colour(90, 180, 255, 160));
    window.DrawEllipse(10, 12, 110, 82, true);
    window.SetColor(Colour(255, 150, 50, 160));
    window.DrawBox(70.5, 40.5, 130.5, 100.5, true);
    window.SetColor(ink);
    window.DrawEllipse(10, 12, 110, 82, false);
    window.DrawRectangle(70.5, 40.5, 130.5, 100.5);
    for (int i = 0; i < 5; ++i) {
        window.SetColor(Hue(i / 5.0));
        double const gap = 0.08;
        window.DrawSlicedCircle(
            185, 55, 40, i * 2 * pi / 5 + gap, (i + 1) * 2 * pi / 5 - gap, i % 2 == 0);
        window.SetLineWidth(i + 1);
        window.DrawCircle(22 + i * 27, 150, 18 - 2 * i, false);
    }
    window.SetLineWidth(6);
    window.SetColor(sky);
    window.DrawSlicedEllipse(155, 115, 230, 190, 0.4, 5, false);
}

/// Triangles around a centre, as many as there are hues.
void DrawWheel(CWindow& window, double x, double y) {
    std::vector<C4UB_V3F_t> wheel;
    auto const rim = [&](int i) {
        Colour const c = Hue(i / 24.0);
        double const a = 2 * pi * i / 24;
        return C4UB_V3F_t{c.r, c.g, c.b, 255, F(x + 38 * std::cos(a)), F(y + 38 * std::sin(a)), 0};
    };
    for (int i = 0; i < 24; ++i) {
        wheel.insert(wheel.end(), {{255, 255, 255, 255, F(x), F(y), 0}, rim(i), rim(i + 1)});
    }
    window._DrawTriangles(wheel);
}

void DrawMeshes(CWindow& window) {
    for (bool const smooth : {false, true}) {
        window.SetLineSmoothing(smooth);
        window.SetBlend(BlendOpaque);
        DrawWheel(window, smooth ? 128 : 46, 70);
        window.SetBlend(BlendAlpha);
        std::vector<P2> flat; // shared edges are not seen
        for (int i = 0; i < 6; ++i) {
            float const x = F((smooth ? 126 : 16) + i * 17);
            float const up = i % 2 ? 0 : 8;
            flat.insert(
                flat.end(), {{x, 136 + up}, {x + 17, 144 - up}, {x + 17, 176 + up}, {x, 184 - up}});
        }
        window.SetColor(Colour(110, 220, 120, 140));
        window._DrawQuads(flat);
    }
    std::vector<C4UB_V3F_t> fade = {
        {255, 150, 50, 255, 176, 26, 0},
        {255, 150, 50, 0, 232, 26, 0},
        {90, 180, 255, 0, 232, 112, 0},
        {90, 180, 255, 255, 176, 112, 0}};
    window._DrawQuads(fade);
}

/// A camera at a point that looks at another one, with z upwards; half the view is half as wide as
/// far away.
class LookingCamera : public CCamera {
public:
    LookingCamera(Eigen::Vector3d const& eye, Eigen::Vector3d const& target) {
        Eigen::Vector3d const forward = (target - eye).normalized();
        Eigen::Vector3d const right = forward.cross(Eigen::Vector3d(0, 0, 1)).normalized();
        math::TMatrix<double, 3, 3> frame;
        frame.row(0) = 2 * right.transpose();
        frame.row(1) = 2 * panelWidth / double(panelHeight) * right.cross(forward).transpose();
        frame.row(2) = forward.transpose();
        m_matrix << frame, -frame * eye;
    }
    void GetMatrix(CWindowCore*, math::TMatrix<double, 3, 4>& matrix) override {
        matrix = m_matrix;
    }
    void GetRestInverseUVWMatrix(CWindowCore*, math::TMatrix<double, 3, 4>& matrix) override {
        matrix.setZero();
    }
    bool Interact(CWindowCoreManager*, Event const&) override { return false; }
    void Draw(CWindowCore*) override {}

private:
    math::TMatrix<double, 3, 4> m_matrix;
};

/// A lit surface: triangles with normals, in a material.
class LitSurface : public CWidget {
public:
    LitSurface(Colour colour, std::vector<P3> vertices)
        : m_colour(colour), m_vertices(std::move(vertices)) {}
    int Draw(CWindowCore* core) override {
        core->SetColorEx(m_colour, {255, 255, 255, 255}, {0, 0, 0, 255}, 40);
        return core->DrawTrianglesV3FN3F(m_vertices.data(), unsigned(m_vertices.size() / 6)) ? 1
                                                                                             : 0;
    }

private:
    Colour m_colour;
    std::vector<P3> m_vertices; // position and normal in turn
};

/// A ring around the z axis, shifted; `turned` makes it stand upright.
std::vector<P3> Torus(P3 const& centre, bool turned) {
    constexpr int steps = 48;
    auto const add = [&](std::vector<P3>& out, int i, int j) {
        double const u = 2 * pi * i / steps;
        double const v = 2 * pi * j / steps;
        P3 normal(F(std::cos(u) * std::cos(v)), F(std::sin(u) * std::cos(v)), F(std::sin(v)));
        P3 place(F(std::cos(u)), F(std::sin(u)), 0);
        if (turned) {
            normal = {normal.x, normal.z, normal.y};
            place = {place.x, place.z, place.y};
        }
        out.push_back(centre + place + normal * 0.35F);
        out.push_back(normal);
    };
    std::vector<P3> out;
    for (int i = 0; i < steps; ++i) {
        for (int j = 0; j < steps; ++j) {
            for (auto const& [di, dj] : {std::pair(0, 0), {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}}) {
                add(out, i + di, j + dj);
            }
        }
    }
    return out;
}

/// A floor of squares from below the camera to far away.
boost::shared_ptr<cimage::CImage const> Chessboard() {
    auto image = boost::make_shared<cimage::TImage<unsigned char>>(16, 16);
    for (unsigned y = 0; y < 16; ++y) {
        for (unsigned x = 0; x < 16; ++x) {
            (*image)(x, y) = (x + y) % 2 ? 150 : 60;
        }
    }
    return image;
}

void DrawSpace(CWindow& window) {
    window.SetCamera(boost::make_shared<LookingCamera>(
        Eigen::Vector3d(-3.2, -4.2, 2.6), Eigen::Vector3d(0.2, 0, -0.1)));
    window.EnableZBuffer(0.05, 100);
    P3 const floor[4] = {{16, 16, -1.4F}, {-16, 16, -1.4F}, {-16, -16, -1.4F}, {16, -16, -1.4F}};
    window.DrawImage(floor, Chessboard());
    window.EnableLight(
        0, {-4, -6, 8}, {40, 40, 50, 255}, {220, 220, 210, 255}, {255, 255, 255, 255});
    window.push(boost::make_shared<LitSurface>(orange, Torus({0, 0, 0}, false)));
    window.push(boost::make_shared<LitSurface>(sky, Torus({1, 0, 0}, true)));
    window.SetColor(leaf);
    window.SetLineWidth(3);
    window.SetLineSmoothing(true);
    std::vector<P3> helix;
    for (int i = 0; i <= 200; ++i) {
        double const a = i * 0.15;
        helix.emplace_back(F(1.9 * std::cos(a)), F(1.9 * std::sin(a)), F(-1.4 + i * 0.014));
    }
    window.DrawPolygon(helix, false);
    window.SetPointSize(3);
    for (int i = 0; i < 60; ++i) {
        double const a = i * 0.105;
        window._DrawPixel(P3(F(2.6 * std::cos(a)), F(2.6 * std::sin(a)), 0));
    }
    window.SetColor(ink);
    window.DrawText(-0.6, 1.9, 0.75, "behind the rings");
    window.DrawText(-1.4, -1.5, 0.3, "before them");
}

/// Asks the driver for something by name.
class Extension : public CWidget {
public:
    explicit Extension(char const* name) : m_name(name) {}
    int Draw(CWindowCore* core) override {
        core->RunExtension(m_name);
        return 1;
    }

private:
    char const* m_name;
};

using RGBA = cimage::TRGBA<unsigned char>;

/// A few large pixels in all hues, less opaque from top to bottom.
boost::shared_ptr<cimage::CImage const> Wheel() {
    auto image = boost::make_shared<cimage::TImage<RGBA>>(9, 9);
    for (unsigned y = 0; y < 9; ++y) {
        for (unsigned x = 0; x < 9; ++x) {
            double const turn = std::atan2(y - 4.0, x - 4.0) / (2 * pi);
            bool const mid = x == 4 && y == 4;
            auto const alpha = static_cast<unsigned char>(255 - y * 25);
            (*image)(x, y) = mid ? RGBA(255, 255, 255, alpha) : Hue(turn, alpha);
        }
    }
    return image;
}

void DrawImages(CWindow& window) {
    auto const wheel = Wheel();
    for (bool const soft : {false, true}) {
        double const y = soft ? 110 : 22;
        window.push(new Extension(soft ? "soft-image" : "no-soft-image"));
        window.SetBlend(BlendOpaque);
        window.DrawImage(8, y, 72, 81, wheel);
        window.SetBlend(BlendAlpha);
        window.DrawImage(152, y, -66, 81, wheel); // mirrored, and its alpha counts
        P3 const turned[4] = {
            {232, F(y + 40), 0}, {192, F(y), 0}, {158, F(y + 40), 0}, {198, F(y + 81), 0}};
        window.DrawImage(turned, wheel);
    }
    window.push(new Extension("no-soft-image"));
}

/// Rings that come closer and closer to each other.
boost::shared_ptr<cimage::CImage const> Rings() {
    constexpr unsigned size = 800;
    auto image = boost::make_shared<cimage::TImage<unsigned char>>(size, size);
    for (unsigned y = 0; y < size; ++y) {
        for (unsigned x = 0; x < size; ++x) {
            double const dx = x - size / 2.0;
            double const dy = y - size / 2.0;
            double const wave = std::cos((dx * dx + dy * dy) * pi / (2 * size));
            (*image)(x, y) = static_cast<unsigned char>(128 + 120 * wave);
        }
    }
    return image;
}

void DrawReduced(CWindow& window) {
    auto const rings = Rings();
    window.DrawImage(8, 24, 100, 100, rings);
    P3 const turned[4] = {{232, 84, 0}, {172, 24, 0}, {112, 84, 0}, {172, 144, 0}};
    window.DrawImage(turned, rings);
    P3 const slanted[4] = {{100, 134, 0}, {20, 134, 0}, {60, 194, 0}, {150, 194, 0}};
    window.DrawImage(slanted, rings);
    window.DrawImage(176, 150, 40, 40, rings);
}

/// Hills of about 300 counts on a ground of 20,000.
boost::shared_ptr<cimage::CImage const> Hills() {
    auto image = boost::make_shared<cimage::TImage<unsigned short>>(144, 128);
    for (unsigned y = 0; y < image->Height(); ++y) {
        for (unsigned x = 0; x < image->Width(); ++x) {
            auto const hill = [&](double cx, double cy, double r) {
                double const d = std::hypot(x - cx, y - cy) / r;
                return 300 * std::exp(-d * d);
            };
            double const count = hill(40, 40, 30) + hill(105, 60, 24) + hill(60, 100, 14);
            (*image)(x, y) = static_cast<unsigned short>(20000 + count);
        }
    }
    return image;
}

void DrawCounts(CWindow& window) {
    auto const hills = Hills();
    window.SetFontSize(10, false);
    int cell = 0;
    auto const draw = [&](char const* what) {
        double const x = 6 + cell % 3 * 78;
        double const y = 24 + cell / 3 * 88;
        window.DrawImage(x, y, 72, 64, hills);
        window.DrawText(x, y + 68, what);
        ++cell;
    };
    draw("as stored");
    window.SetImageRange(20000, 20150);
    draw("20000 to 20150");
    window.SetAutoImageRange(1, 99);
    draw("1 % to 99 %");
    std::pair<ColorMap, char const*> const maps[] = {
        {ColorMapInverted, "inverted"}, {ColorMapJet, "jet"}, {ColorMapViridis, "viridis"}};
    for (auto const& [map, name] : maps) {
        window.SetColorMap(map);
        draw(name);
    }
    window.ResetImageRange();
    window.SetColorMap(ColorMapOff);
}

/// Shortens a text to a width and draws it between the two edges of that width.
class ShortenedText : public CWidget {
public:
    ShortenedText(P2 const& place, float width, char const* text)
        : m_place(place), m_width(width), m_text(text) {}
    int Draw(CWindowCore* core) override {
        math::Point3<double> const at(double{m_place.x}, double{m_place.y}, 0);
        std::string text;
        core->EllipseText(at, text, m_text, "", double{m_width});
        core->DrawText(at, text.c_str());
        for (float const x : {m_place.x - 2, m_place.x + m_width + 1}) {
            core->DrawLine(double{x}, at.y, double{x}, at.y + 11);
        }
        return 1;
    }

private:
    P2 m_place;
    float m_width;
    char const* m_text;
};

/// Text in units of a view that is turned about its centre.
class TurnedText : public CWidget {
public:
    int Draw(CWindowCore* core) override {
        Eigen::Vector2d const centre(panelWidth / 2.0, panelHeight / 2.0);
        Eigen::Vector2d const place(184, 150);
        for (int i = 0; i < 12; ++i) {
            double const angle = i * pi / 6;
            core->SetViewPort(
                ViewPortCamera,
                nullptr,
                boost::make_shared<CCamera2D>(0, 0, panelWidth, panelHeight, angle));
            core->SetFontSizeEx(10, 10, true);
            core->SetColor(Hue(i / 12.0));
            Eigen::Vector2d const shown = Eigen::Rotation2Dd(angle) * (place - centre);
            Eigen::Vector2d const at = centre + shown;
            core->DrawText({at.x() + 14, at.y() - 6, 0}, "turned");
        }
        return 1;
    }
};

void DrawTexts(CWindow& window) {
    double y = 22;
    for (double const size : {6.0, 8.0, 10.0, 14.0, 20.0, 26.0}) {
        window.SetFontSize(size, false);
        window.DrawText(8, y, "Sizes 01");
        y += size + 3;
    }
    window.SetFontSize(20, false);
    window.SetColor(orange);
    window.DrawText(130, 22, "AVA To Wa"); // letters that move together
    window.SetColor(leaf);
    window.DrawText(130, 46, "e\u0301 x\u0308 o\u0302\u0323 \u00e5"); // letters with marks
    window.SetColor(sky);
    window.SetFontSize(14, false);
    window.DrawText(130, 72, "ab \u05e9\u05dc\u05d5\u05dd 12 \u0633\u0644\u0627\u0645");
    window.DrawText(130, 92, "\u2192 \u222e \u2605  \u2602 \u2264");
    window.SetColor(ink);
    window.SetFontSize(10, false);
    float width = 96;
    for (int i = 0; i < 3; ++i, width *= 0.62F) {
        window.push(new ShortenedText({10, F(130 + i * 15)}, width, "calibration board"));
    }
    window.push(new TurnedText);
}

struct Panel {
    char const* title;
    void (*draw)(CWindow&);
};

constexpr Panel panels[] = {
    {"points", DrawPoints},
    {"aliased lines", [](CWindow& w) { DrawStars(w, false); }},
    {"anti-aliased lines", [](CWindow& w) { DrawStars(w, true); }},
    {"translucent polylines", DrawPolylines},
    {"shapes", [](CWindow& w) { DrawShapes(w, false); }},
    {"anti-aliased shapes", [](CWindow& w) { DrawShapes(w, true); }},
    {"meshes", DrawMeshes},
    {"depth, light, perspective", DrawSpace},
    {"images, nearest and soft", DrawImages},
    {"reduced images", DrawReduced},
    {"16-bit counts", DrawCounts},
    {"texts", DrawTexts},
};

constexpr int panelCount = int(std::size(panels));
constexpr int rows = (panelCount + columns - 1) / columns;

void DrawPanel(CWindow& window, int index) {
    float const x = F(index % columns * panelWidth);
    float const y = F(index / columns * panelHeight);
    auto const view = CWindowViewPort::Pixels(x, y, x + panelWidth, y + panelHeight);
    window.SetLayer(index * 2);
    window.SetViewport(view);
    window.SetCamera(boost::make_shared<CCamera2D>(0, 0, panelWidth, panelHeight, 0.0));
    // What is drawn later starts from the state that what is before it left.
    window.DisableZBuffer();
    window.SetBlend(BlendOpaque);
    window.SetLineSmoothing(false);
    window.SetLineWidth(1);
    window.SetPointSize(1);
    window.SetColor(ink);
    panels[index].draw(window);
    window.SetLayer(index * 2 + 1);
    window.SetViewport(CWindowViewPort());
    window.SetViewportMode(ViewPortPixels);
    window.SetBlend(BlendAlpha);
    window.SetLineWidth(1);
    window.SetLineSmoothing(false);
    window.SetColor(Colour(90, 96, 110, 255));
    window.DrawRectangle(
        double{x}, double{y}, double{x} + panelWidth - 1, double{y} + panelHeight - 1);
    window.SetColor(ink);
    window.SetFontSize(12, false);
    window.DrawShadowText(double{x} + 6, double{y} + 4, panels[index].title);
}

} // namespace

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " <output folder>\n";
        return 2;
    }
    CWindow::setDriver("Offscreen");
    CWindow::setOutputPath(argv[1]);
    CWindow window("Gallery", columns * panelWidth, rows * panelHeight, StateVisible);
    window.SetBackgroundColor(paper);
    for (int i = 0; i < panelCount; ++i) {
        DrawPanel(window, i);
    }
    window.Refresh(true);
    window.Dump("gallery.png");
    return 0;
} catch (std::exception const& error) {
    std::cerr << "gallery: " << error.what() << '\n';
    return 1;
}
