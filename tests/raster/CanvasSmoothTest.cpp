// Anti-aliased edges: what is covered adds up to the area of the shape.

#include "raster/CanvasHelpers.h"

#include <cmath>
#include <functional>

namespace tests {

namespace {

using Points2 = std::vector<math::Point2<float>>;

constexpr double kPi = 3.14159265358979323846;

/// How many pixels a white shape on black covers.
double CoveredArea(Canvas const& canvas) {
    double sum = 0;
    for (int i = 0; i < canvas.Width() * canvas.Height(); ++i) {
        sum += canvas.Read(i % canvas.Width(), i / canvas.Width()).g;
    }
    return sum / 255;
}

struct Shape {
    char const* what;
    float width;
    double area;
    std::function<void(Canvas&)> draw;
};

std::function<void(Canvas&)> Chain(Points2 const& points, bool closed) {
    return [=](Canvas& canvas) { canvas.Polyline(Vertices(points), closed); };
}

std::function<void(Canvas&)>
Oval(double x0, double y0, double x1, double y1, double start, double end, bool filled) {
    return [=](Canvas& canvas) { canvas.Ellipse(x0, y0, x1, y1, start, end, filled); };
}

TEST(CanvasSmooth, ShapesCoverTheirArea) {
    // A bend by an angle t with a mitre adds outside what overlaps inside, h * h * tan(t / 2) for
    // half the width h; rounded it adds h * h * t / 2.
    double const rise = 14;
    double const turn = kPi - std::atan2(rise, 40);
    double const rounded =
        3 * (40 + std::hypot(40, rise)) + 1.5 * 1.5 * (turn / 2 - std::tan(turn / 2));
    double const bow = 1.25;
    Shape const shapes[] = {
        {"one bend", 3, 3 * 62, Chain({{10.3F, 8}, {40.3F, 8}, {40.3F, 40}}, false)},
        {"both ways", 5, 5 * 66, Chain({{8, 8}, {30, 8}, {30, 30}, {52, 30}}, false)},
        {"closed",
         4,
         4 * 120,
         Chain({{12.5F, 12.5F}, {42.5F, 12.5F}, {42.5F, 42.5F}, {12.5F, 42.5F}}, true)},
        {"rounded bend", 3, rounded, Chain({{12, 20}, {52, 20}, {12, 34}}, false)},
        {"short pieces", 2, 2 * 48, Chain({{8, 9}, {8.5F, 9}, {9, 9}, {56, 9}}, false)},
        {"box", 4, 4 * 120, [](Canvas& c) { c.Box(12.5, 12.5, 42.5, 42.5, false); }},
        {"circle", 4, 2 * kPi * 20 * 4, Oval(12.2, 12, 52.2, 52, 0, 7, false)},
        {"thin circle", 1, 2 * kPi * 9, Oval(12.2, 12, 30.2, 30, 0, 7, false)},
        {"thick ring", 18, 2 * kPi * 18 * 18, Oval(14, 14, 50, 50, 0, 7, false)},
        {"filled box", 1, 30.4 * 20.7, [](Canvas& c) { c.Box(8.3, 9.9, 38.7, 30.6, true); }},
        {"filled ellipse", 1, kPi * 24 * 11, Oval(8.4, 12, 56.4, 34, 0, 7, true)},
        {"filled slice", 1, bow / 2 * 24 * 24, Oval(8, 8, 56, 56, 0.5, 0.5 + bow, true)},
    };
    for (Shape const& shape : shapes) {
        Canvas canvas = MakeCanvas();
        canvas.State().lineSmooth = true;
        canvas.State().lineWidth = shape.width;
        shape.draw(canvas);
        EXPECT_NEAR(CoveredArea(canvas), shape.area, 0.1 + shape.area * 0.003) << shape.what;
    }
}

} // namespace

} // namespace tests
