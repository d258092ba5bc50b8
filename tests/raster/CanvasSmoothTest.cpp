// Anti-aliased edges: what is covered adds up to the area of the shape.

#include "raster/CanvasHelpers.h"

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <tuple>

namespace tests {

namespace {

using Points2 = std::vector<math::Point2<float>>;

constexpr double kPi = 3.14159265358979323846;

/// How many pixels a white shape on black covers.
double CoveredArea(Canvas const& canvas) {
    double sum = 0;
    ForPixels(canvas, [&](int, int, Colour c) { sum += c.g; });
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

/// A white texture over four corners, drawn as two triangles or as a quad.
std::function<void(Canvas&)> White(Points2 const& corners, bool quad) {
    return [=](Canvas& canvas) {
        static unsigned char const texel = 255;
        canvas.State().texture = {&texel, 1, 1, 1, Texture::Format::Grey8};
        auto const& [a, b, c, d] = std::tie(corners[0], corners[1], corners[2], corners[3]);
        Points2 const points = quad ? corners : Points2{a, b, c, c, d, a};
        VertexArray vertices = Vertices(points);
        vertices.texture = vertices.position;
        quad ? canvas.Quads(vertices) : canvas.Triangles(vertices);
    };
}

/// The same in a view that leans away.
std::function<void(Canvas&)> Leaning(std::function<void(Canvas&)> const& draw) {
    return [=](Canvas& canvas) {
        canvas.SetView(Matrix({1, 0, 0, 0, 0, 1, 0, 0, 0.002, 0.001, 0, 1}), {0, 0, 64, 64});
        draw(canvas);
    };
}

TEST(CanvasSmooth, ShapesCoverTheirArea) {
    // A bend by an angle t with a mitre adds outside what overlaps inside, h * h * tan(t / 2) for
    // half the width h; rounded it adds h * h * t / 2.
    double const rise = 14;
    double const turn = kPi - std::atan2(rise, 40);
    double const rounded =
        3 * (40 + std::hypot(40, rise)) + 1.5 * 1.5 * (turn / 2 - std::tan(turn / 2));
    double const bow = 1.25;
    Points2 const turned = {{30.3F, 6.1F}, {54.3F, 24.1F}, {36.3F, 48.1F}, {12.3F, 30.1F}};
    // In the view that leans away, a corner (x, y) is seen at (x, y) / (1 + x / 500 + y / 1000).
    double leaning = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        auto const seen = [](math::Point2<float> const& p) {
            double const w = 1 + p.x * 0.002 + p.y * 0.001;
            return math::Point2<double>(p.x / w, p.y / w);
        };
        auto const p = seen(turned[i]), q = seen(turned[(i + 1) % 4]);
        leaning += (p.x * q.y - q.x * p.y) / 2;
    }
    float const infinite = std::numeric_limits<float>::infinity();
    Shape const shapes[] = {
        {"level line", 1, 40, Chain({{10, 10}, {50, 10}}, false)},
        {"leaning line", 1, std::hypot(41, 32), Chain({{10.25F, 8.75F}, {51.25F, 40.75F}}, false)},
        {"steep line", 2.5F, 2.5 * std::hypot(0.75, 55), Chain({{30.5F, 5}, {31.25F, 60}}, false)},
        {"wide line", 7, 7 * std::hypot(32, 32), Chain({{12, 50}, {44, 18}}, false)},
        {"short line", 0.5F, std::hypot(0.5, 0.25) / 2, Chain({{20, 20}, {20.5F, 20.25F}}, false)},
        {"one bend", 3, 3 * 62, Chain({{10.3F, 8}, {40.3F, 8}, {40.3F, 40}}, false)},
        {"both ways", 5, 5 * 66, Chain({{8, 8}, {30, 8}, {30, 30}, {52, 30}}, false)},
        {"closed",
         4,
         4 * 120,
         Chain({{12.5F, 12.5F}, {42.5F, 12.5F}, {42.5F, 42.5F}, {12.5F, 42.5F}}, true)},
        {"far line", 3, 3 * 64, Chain({{-1e30F, 20.25F}, {1e30F, 20.25F}}, false)},
        {"far bend", 4, 4 * 86, Chain({{-1e30F, 10}, {32, 10}, {32, 1e30F}}, false)},
        {"endless width", infinite, 40 * 64, Chain({{10, 20}, {50, 20}}, false)},
        {"no width", 1e-40F, 0, Chain({{10, 20}, {50, 20}}, false)},
        {"not a width", std::nanf(""), 40, Chain({{10, 20}, {50, 20}}, false)},
        {"denormal length", 9, 0, Chain({{10, 1e-40F}, {10, 0}}, false)},
        {"rounded bend", 3, rounded, Chain({{12, 20}, {52, 20}, {12, 34}}, false)},
        {"short pieces", 2, 2 * 48, Chain({{8, 9}, {8.5F, 9}, {9, 9}, {56, 9}}, false)},
        {"box", 4, 4 * 120, [](Canvas& c) { c.Box(12.5, 12.5, 42.5, 42.5, false); }},
        {"circle", 4, 2 * kPi * 20 * 4, Oval(12.2, 12, 52.2, 52, 0, 7, false)},
        {"thin circle", 1, 2 * kPi * 9, Oval(12.2, 12, 30.2, 30, 0, 7, false)},
        {"thick ring", 18, 2 * kPi * 18 * 18, Oval(14, 14, 50, 50, 0, 7, false)},
        {"filled box", 1, 30.4 * 20.7, [](Canvas& c) { c.Box(8.3, 9.9, 38.7, 30.6, true); }},
        {"filled ellipse", 1, kPi * 24 * 11, Oval(8.4, 12, 56.4, 34, 0, 7, true)},
        {"triangle",
         1,
         929.105,
         [](Canvas& c) {
             c.Triangles(Vertices(Points2{{8.3F, 9.1F}, {50.2F, 14.7F}, {22.9F, 55.4F}}));
         }},
        {"far triangle",
         1,
         64 * 64 - 64 * 10.25,
         [](Canvas& c) {
             c.Triangles(Vertices(Points2{{10.25F, -1e30F}, {1e30F, 20}, {10.25F, 1e30F}}));
         }},
        {"thin triangle",
         1,
         0.5 * 40 * 0.3,
         [](Canvas& c) {
             c.Triangles(Vertices(Points2{{8, 20.1F}, {48, 30.1F}, {48, 30.4F}}));
         }},
        {"turned texture", 1, 30 * 30, White(turned, true)},
        {"leaning texture", 1, leaning, Leaning(White(turned, false))},
        {"far texture",
         1,
         64 * 64,
         White({{-1e30F, -1e30F}, {1e30F, -1e29F}, {1e30F, 1e30F}, {-1e30F, 1e30F}}, true)},
        {"tiny texture",
         1,
         0.2 * 0.2,
         White({{9.9F, 9.9F}, {10.1F, 9.901F}, {10.1F, 10.1F}, {9.9F, 10.1F}}, true)},
        {"texture without area", 1, 0, White({{9, 9}, {30, 30}, {50, 50}, {20, 20}}, true)},
        {"texture at no number", 1, 0, White({{9, 9}, {NAN, 9}, {50, 50}, {NAN, 20}}, true)},
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

/// A wavy net of quads from 5.3 to 58.6 each way, and the same as triangles that turn both ways.
struct Net {
    std::vector<ColourVertex> quads;
    std::vector<ColourVertex> triangles;

    explicit Net(Colour colour) {
        auto const at = [&](int i, int j) {
            bool const inner = i > 0 && i < 13 && j > 0 && j < 13;
            auto const x = 5.3 + 4.1 * i + (inner ? 0.9 * std::sin(i * 2.0 + j * 5.0) : 0);
            auto const y = 5.3 + 4.1 * j + (inner ? 0.9 * std::cos(i * 3.0 + j) : 0);
            return ColourVertex{colour, static_cast<float>(x), static_cast<float>(y), 0};
        };
        for (int k = 0; k < 13 * 13; ++k) {
            int const i = k % 13;
            int const j = k / 13;
            auto const a = at(i, j), b = at(i + 1, j), c = at(i + 1, j + 1), d = at(i, j + 1);
            quads.insert(quads.end(), {a, b, c, d});
            triangles.insert(triangles.end(), {a, b, c, d, c, a});
        }
    }
};

enum class Look { Even, Coloured, Textured, Lit };

/// Makes the net's triangles have the net's colour in some way.
void SetLook(Canvas& canvas, VertexArray& vertices, Look look) {
    static unsigned char const texel[] = {255, 255, 255, 100};
    auto& state = canvas.State();
    vertices.colour = look == Look::Coloured ? vertices.colour : nullptr;
    if (look == Look::Textured) {
        vertices.texture = vertices.position;
        state.texture = {texel, 1, 1, 4, Texture::Format::RGBA8};
    }
    if (look == Look::Lit) {
        vertices.normal = vertices.position;
        state.lights[0] = {true, {}, kWhite, kBlack, kBlack};
    }
    state.colour.a = look == Look::Textured ? 255 : 100;
    state.lineSmooth = state.blend = true;
}

TEST(CanvasSmooth, MeshesShowNoSeams) {
    Net const net({255, 255, 255, 100});
    for (Look const look : {Look::Even, Look::Coloured, Look::Textured, Look::Lit}) {
        for (bool const quads : {false, true}) {
            Canvas canvas = MakeCanvas();
            VertexArray vertices = Vertices(quads ? net.quads : net.triangles);
            SetLook(canvas, vertices, look);
            quads ? canvas.Quads(vertices) : canvas.Triangles(vertices);
            for (int i = 6 * 64; i < 58 * 64; ++i) {
                if (i % 64 >= 6 && i % 64 < 58) {
                    ASSERT_EQ(canvas.Read(i % 64, i / 64).g, 100)
                        << static_cast<int>(look) << ": " << i % 64 << ", " << i / 64;
                }
            }
            EXPECT_NEAR(CoveredArea(canvas) * 2.55, 53.3 * 53.3, 3);
            EXPECT_EQ(canvas.Read(5, 30).g, 70) << "the edge is covered by 0.7";
        }
    }
}

TEST(CanvasSmooth, NoPixelOfAMeshDependsOnTheClip) {
    Net const net({210, 255, 90, 150});
    for (Look const look : {Look::Even, Look::Coloured, Look::Textured, Look::Lit}) {
        Canvas whole = MakeCanvas();
        VertexArray vertices = Vertices(net.triangles);
        SetLook(whole, vertices, look);
        Canvas parts = whole;
        auto const view = Matrix({1.3, -0.4, 0, 3, 0.3, 1.2, 0, -8, 0.003, 0.001, 0, 1});
        whole.SetView(view, {0, 0, 64, 64});
        whole.Triangles(vertices);
        for (int i = 0; i < 4; ++i) {
            int const x = i % 2 * 37;
            int const y = i / 2 * 29;
            parts.SetView(view, {x, y, i % 2 != 0 ? 64 : 37, i / 2 != 0 ? 64 : 29});
            parts.Triangles(vertices);
        }
        ExpectSame(whole, parts, 0, std::to_string(static_cast<int>(look)));
    }
}

TEST(CanvasSmooth, UprightImagesKeepTheirPixelsAndTheirPlace) {
    std::vector<unsigned char> texels(7 * 5 * 3);
    for (std::size_t i = 0; i < texels.size(); ++i) {
        texels[i] = static_cast<unsigned char>(40 + i * 2);
    }
    Canvas hard = MakeCanvas();
    hard.State().texture = {texels.data(), 7, 5, 21, Texture::Format::RGB8};
    Canvas smooth = hard;
    smooth.State().lineSmooth = true;
    auto const upright = ImageQuad(10.3F, 9.7F, 50.1F, 40.6F);
    hard.Quads(Vertices(upright));
    smooth.Quads(Vertices(upright));
    ExpectSame(hard, smooth, 0, "alone");
    // Between two turned ones of the same call.
    std::vector<TextureVertex> quads = {
        {0, 0, 4, 20, 0}, {1, 0, 20, 4, 0}, {1, 1, 36, 20, 0}, {0, 1, 20, 36, 0}};
    quads.insert(quads.end(), upright.begin(), upright.end());
    for (int i = 0; i < 4; ++i) {
        TextureVertex const& v = quads[static_cast<std::size_t>(i)];
        quads.push_back({v.s, v.t, v.x + 24, v.y + 24, 0});
    }
    hard.Clear(kBlack);
    smooth.Clear(kBlack);
    hard.Quads(Vertices(quads));
    smooth.Quads(Vertices(quads));
    int same = 0;
    ForPixels(hard, [&](int x, int y, Colour c) { same += c == smooth.Read(x, y); });
    EXPECT_GE(same, 64 * 64 - 150) << "but at the edges of the turned ones";
    EXPECT_LT(same, 64 * 64 - 60);
}

TEST(CanvasSmooth, RimsTakeTheirTexelsFromInside) {
    // The coordinates stay within the left half, which is grey.
    unsigned char texels[16 * 3];
    for (int i = 0; i < 16; ++i) {
        unsigned char const grey = static_cast<unsigned char>(i < 8 ? 90 + 10 * i : 255);
        std::fill_n(texels + 3 * i, 3, grey);
        texels[3 * i + 1] = i < 8 ? grey : 0;
    }
    Canvas canvas = MakeCanvas();
    canvas.State().lineSmooth = true;
    canvas.State().texture = {texels, 16, 1, 48, Texture::Format::RGB8};
    canvas.SetView(Matrix({1, 0, 0, 0, 0, 1, 0, 0, 0.0133, 0, 0, 0.2}), {0, 0, 64, 64});
    for (int i = 0; i < 60; i += 4) {
        auto const y = static_cast<float>(i);
        std::vector<TextureVertex> const triangle = {
            {0.4999F, 0, 0.3F, 0.2F * y, 0},
            {0.4999F, 1, 0.5F, 0.2F * y + 0.4F, 0},
            {0, 0, 60, y + 0.01F * y * y, 0}};
        canvas.Triangles(Vertices(triangle));
    }
    EXPECT_GT(LitPixels(canvas), 100);
    ForPixels(canvas, [](int x, int y, Colour c) { ASSERT_EQ(c.r, c.g) << x << ", " << y; });
}

TEST(CanvasSmooth, ManyLayersOfOneColourAreCounted) {
    Points2 triangles;
    for (int i = 0; i < 40000; ++i) {
        triangles.insert(triangles.end(), {{-9, -9}, {30, -9}, {-9, 30}});
    }
    for (std::size_t const layers : {1U, 2U, 40000U}) {
        Canvas canvas = MakeCanvas(8, 8);
        canvas.State().lineSmooth = canvas.State().blend = true;
        canvas.State().colour.a = 51;
        VertexArray vertices = Vertices(triangles);
        vertices.count = 3 * layers;
        canvas.Triangles(vertices);
        ForPixels(canvas, [&](int, int, Colour c) {
            ASSERT_EQ(c.g, layers == 1 ? 51 : layers == 2 ? 92 : 255);
        });
    }
}

TEST(CanvasSmooth, AClosedChainThatIsCutKeepsItsClosingJoin) {
    struct Case {
        math::TMatrix<double, 3, 4> view;
        Points2 chain;
    };
    Case const cases[] = {
        {Matrix({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1}), {{25, 25}, {1e9F, 25}, {25, 1e9F}}},
        // The last corner lies behind the camera.
        {Matrix({1, 0, 0, 0, 0, 1, 0, 0, 0, -0.01, 0, 1}), {{20, 20}, {60, 20}, {20, 200}}}};
    for (Case const& c : cases) {
        for (bool const smooth : {false, true}) {
            Canvas canvas = MakeCanvas();
            canvas.SetView(c.view, {0, 0, 64, 64});
            canvas.State().lineSmooth = smooth;
            canvas.State().lineWidth = 8;
            canvas.Polyline(Vertices(c.chain), true);
            EXPECT_EQ(canvas.Read(22, 22), kWhite) << smooth << ", " << c.chain[2].x;
            canvas.Clear(kBlack);
            canvas.Polyline(Vertices(c.chain), false);
            EXPECT_EQ(canvas.Read(22, 22), kBlack) << "an open one has no join there";
        }
    }
}

TEST(CanvasSmooth, TrianglesOfAMeshThatOverlapLieAboveEachOther) {
    std::vector<ColourVertex> mesh;
    for (Colour const& colour : {Colour(255, 0, 0, 255), Colour(0, 0, 255, 128)}) {
        float const x = colour.r > 0 ? 0.0F : 16.0F;
        mesh.insert(mesh.end(), {{colour, x, 0, 0}, {colour, x + 40, 0, 0}, {colour, x, 90, 0}});
    }
    for (bool const blend : {false, true}) {
        Canvas smooth = MakeCanvas(32, 32);
        smooth.State().blend = blend;
        Canvas hard = smooth;
        smooth.State().lineSmooth = true;
        smooth.Triangles(Vertices(mesh));
        hard.Triangles(Vertices(mesh));
        for (int const x : {3, 15, 16, 20}) {
            EXPECT_EQ(smooth.Read(x, 5), hard.Read(x, 5)) << x;
        }
    }
}

TEST(CanvasSmooth, InsideOfAMeshItIsAsWithHardEdges) {
    std::vector<ColourVertex> const mesh = {
        {{250, 10, 90, 255}, -9, -5, 0},
        {{20, 240, 0, 30}, 90, 4, 0},
        {{70, 80, 255, 200}, 3, 99, 0}};
    Canvas smooth = MakeCanvas(32, 32);
    smooth.SetView(Matrix({1, 0, 0, 0, 0, 1, 0, 0, 0.002, 0.001, 0, 1}), {0, 0, 32, 32});
    smooth.State().blend = true;
    Canvas hard = smooth;
    smooth.State().lineSmooth = true;
    smooth.Triangles(Vertices(mesh));
    hard.Triangles(Vertices(mesh));
    for (int i = 0; i < 32 * 32; ++i) {
        ASSERT_EQ(smooth.Read(i % 32, i / 32), hard.Read(i % 32, i / 32)) << i;
    }
}

} // namespace

} // namespace tests
