#include "raster/CanvasHelpers.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <random>

namespace tests {

namespace {

using Points3 = std::vector<math::Point3<float>>;

constexpr Colour kRed(255, 0, 0, 255);
constexpr Colour kGreen(0, 255, 0, 255);
constexpr Colour kBlue(0, 0, 255, 255);

/// A camera at the origin that looks along z, 64 pixels to the unit at distance 1, x right, y down.
Canvas MakeSpace() {
    Canvas canvas = MakeCanvas();
    canvas.SetView(Matrix({64, 0, 32, 0, 0, 64, 32, 0, 0, 0, 1, 0}), {0, 0, 64, 64});
    canvas.State().depthTest = true;
    canvas.State().depthNear = 0.5;
    canvas.State().depthFar = 100;
    return canvas;
}

/// A square facing the camera that would fill the picture at distance 1.
Points3 Square(float z, float half = 0.5F) {
    return {{-half, -half, z}, {half, -half, z}, {half, half, z}, {-half, half, z}};
}

void Draw(Canvas& canvas, Colour colour, Points3 const& quads) {
    canvas.State().colour = colour;
    canvas.Quads(Vertices(quads));
}

TEST(CanvasDepth, ManyTrianglesAreDrawnAsOneByOne) {
    std::minstd_rand random(5);
    auto const next = [&](double lo, double hi) {
        return static_cast<float>(lo + (hi - lo) * static_cast<double>(random() % 1000) / 1000);
    };
    std::vector<ColourVertex> corners;
    for (int i = 0; i < 5000; ++i) {
        float const z = next(-1, 10); // some behind the camera
        for (int k = 0; k < 3; ++k) {
            auto const channel = static_cast<unsigned char>(random() % 256);
            corners.push_back(
                {{channel, 255, 99, 128}, z * next(-1, 1), z * next(-2, 2), z + next(-1, 1)});
        }
    }
    std::vector<unsigned char> const texels = {0, 50, 100, 150, 200, 250};
    enum Kind { Coloured, Textured, Lit };
    auto const from = [&](Kind kind, std::size_t first, std::size_t count) {
        VertexArray array = Vertices(corners);
        array.position = &corners[first].x;
        array.colour = &corners[first].colour.r;
        array.texture = kind == Textured ? array.position : nullptr; // any numbers will do
        array.normal = kind == Lit ? array.position : nullptr;
        array.count = count;
        return array;
    };
    for (Kind const kind : {Coloured, Textured, Lit}) {
        for (unsigned const threads : {1U, 2U, 5U}) {
            Canvas all;
            all.Resize(64, 200);
            all.SetView(Matrix({64, 0, 32, 0, 0, 64, 100, 0, 0, 0, 1, 0}), {3, 7, 60, 190});
            auto& state = all.State();
            state.depthTest = state.blend = true;
            state.depthNear = 0.5;
            state.depthFar = 9;
            state.colour = {255, 200, 100, 128};
            state.texture = {texels.data(), 3, 2, 3, Texture::Format::Grey8};
            state.lights[0] = {true, {3, 4, 20}, kBlack, kWhite, kWhite};
            state.material = {kWhite, kBlack, 2.5F};
            Canvas single = all;
            all.SetWorkers(std::make_shared<drivers::raster::Workers>(threads));
            all.Triangles(from(kind, 0, corners.size()));
            for (std::size_t i = 0; i < corners.size(); i += 3) {
                single.Triangles(from(kind, i, 3));
            }
            ExpectSame(all, single, 0, std::to_string(kind) + ", " + std::to_string(threads));
        }
    }
}

TEST(CanvasDepth, NearerSurfacesHideFartherOnesInWhateverOrderTheyAreDrawn) {
    Points3 const front = Square(2);
    Points3 const back = Square(4, 2);
    // Leans from distance 1 at the left to 5 at the right: through the front one at distance 2.
    Points3 const leaning = {{-0.5F, -0.4F, 1}, {2.5F, -2, 5}, {2.5F, 2, 5}, {-0.5F, 0.4F, 1}};
    struct Surface {
        Colour colour;
        Points3 const& quad;
    };
    std::vector<Surface> const surfaces = {{kRed, front}, {kGreen, back}, {kBlue, leaning}};
    for (int order = 0; order < 6; ++order) {
        Canvas canvas = MakeSpace();
        for (std::size_t i = 0; i < 3; ++i) {
            Surface const& s = surfaces[(i * (order < 3 ? 1U : 2U) + unsigned(order)) % 3];
            Draw(canvas, s.colour, s.quad);
        }
        EXPECT_EQ(canvas.Read(32, 2), kGreen) << order;
        EXPECT_EQ(canvas.Read(20, 32), kBlue) << order << ": left of x = 0.25 at distance 2";
        EXPECT_EQ(canvas.Read(42, 32), kRed) << order;
        EXPECT_EQ(canvas.Read(50, 32), kBlue) << order << ": beside the front one";
        EXPECT_EQ(canvas.Read(62, 32), kGreen) << order << ": behind the back one";
    }
    Canvas canvas = MakeSpace();
    Draw(canvas, kRed, front);
    canvas.State().depthTest = false;
    Draw(canvas, kGreen, back);
    EXPECT_EQ(canvas.Read(32, 32), kGreen) << "without the test the last one wins";
    canvas.State().depthTest = true;
    Draw(canvas, kBlue, Square(3));
    EXPECT_EQ(canvas.Read(32, 32), kGreen) << "depths outlast the time without a test";
    canvas.ClearDepth({0, 0, 32, 64});
    Draw(canvas, kBlue, Square(3));
    EXPECT_EQ(canvas.Read(31, 32), kBlue);
    EXPECT_EQ(canvas.Read(32, 32), kGreen);
}

TEST(CanvasDepth, EveryOperationIsTestedAndLeavesItsDepth) {
    unsigned char const grey = 255;
    std::vector<unsigned char> const mask(64 * 64, 255);
    Points3 const point = {{0, 0, 2}};
    Points3 const line = {{-2, 0, 2}, {2, 0, 2}};
    std::vector<ColourVertex> const gradient = {{kWhite, -2, 0, 2}, {kWhite, 2, 0, 2}};
    std::vector<TextureVertex> const textured = {
        {0, 0, -2, -1, 2}, {1, 0, 2, -1, 2}, {1, 1, 2, 1, 2}, {0, 1, -2, 1, 2}};
    std::vector<ColourVertex> coloured;
    for (TextureVertex const& v : textured) {
        coloured.push_back({kWhite, v.x, v.y, v.z});
    }
    struct Case {
        char const* what;
        std::function<void(Canvas&)> draw;
    };
    std::vector<Case> const cases = {
        {"points", [&](Canvas& c) { c.Points(Vertices(point)); }},
        {"lines", [&](Canvas& c) { c.Lines(Vertices(line)); }},
        {"gradient", [&](Canvas& c) { c.Lines(Vertices(gradient)); }},
        {"polyline", [&](Canvas& c) { c.Polyline(Vertices(line), true); }},
        {"flat quad", [&](Canvas& c) { c.Quads(Vertices(Square(2))); }},
        {"coloured quad", [&](Canvas& c) { c.Quads(Vertices(coloured)); }},
        {"textured quad", [&](Canvas& c) { c.Quads(Vertices(textured)); }},
        {"mask", [&](Canvas& c) { c.BlendMask(0, 0, mask.data(), 64, 64, 64); }}};
    std::vector<Case> const onGround = {
        {"box", [](Canvas& c) { c.Box(-1, -1, 1, 1, true); }},
        {"box outline", [](Canvas& c) { c.Box(-1, 0, 1, 1, false); }},
        {"line", [](Canvas& c) { c.Line(-1, 0, 1, 0); }},
        {"ellipse", [](Canvas& c) { c.Ellipse(-1, -1, 1, 1, 0, 7, true); }},
        {"ellipse outline", [](Canvas& c) { c.Ellipse(-2, 0, 2, 4, 0, 7, false); }}};
    auto const check = [&](Case const& c, math::TMatrix<double, 3, 4> const& view) {
        for (bool const smooth : {false, true}) {
            for (float const width : {1.0F, 4.0F}) {
                for (int const layer : {1, 3}) {
                    Canvas canvas = MakeSpace();
                    auto const space = Matrix({64, 0, 32, 0, 0, 64, 32, 0, 0, 0, 1, 0});
                    canvas.State().lineSmooth = smooth;
                    canvas.State().lineWidth = canvas.State().pointSize = width;
                    canvas.State().texture = {&grey, 1, 1, 1, Texture::Format::Grey8};
                    canvas.State().maskDistance = 2;
                    Draw(canvas, kRed, Square(static_cast<float>(layer), 4));
                    canvas.State().colour = kWhite;
                    canvas.SetView(view, canvas.Clip());
                    c.draw(canvas);
                    bool const seen = canvas.Read(32, 32) != kRed;
                    EXPECT_EQ(seen, layer == 3) << c.what << ", " << smooth << ", " << width;
                    canvas.SetView(space, canvas.Clip());
                    Draw(canvas, kGreen, Square(2.5F, 4));
                    EXPECT_NE(canvas.Read(32, 32), kGreen) << c.what << " leaves its depth";
                }
            }
        }
    };
    for (Case const& c : cases) {
        check(c, Matrix({64, 0, 32, 0, 0, 64, 32, 0, 0, 0, 1, 0}));
    }
    for (Case const& c : onGround) { // two units further back: the plane z = 0 lies at distance 2
        check(c, Matrix({64, 0, 32, 64, 0, 64, 32, 64, 0, 0, 1, 2}));
    }
}

TEST(CanvasDepth, TheRangeCutsAndAViewWithoutPerspectiveDrawsOverEverything) {
    Canvas canvas = MakeSpace();
    canvas.State().depthNear = 2;
    canvas.State().depthFar = 4;
    // The road y = 1 from the camera to the horizon, cut at the rows of distance 4 and 2.
    Draw(canvas, kWhite, {{-9, 1, -3}, {9, 1, -3}, {90, 1, 90}, {-90, 1, 90}});
    EXPECT_EQ(LitPixels(canvas), 16 * 64);
    EXPECT_EQ(canvas.Read(5, 48), kWhite);
    EXPECT_EQ(canvas.Read(5, 63), kWhite);
    EXPECT_EQ(canvas.Read(5, 47), kBlack);
    canvas.Clear(kBlack);
    canvas.Polyline(Vertices(Points3{{0.02F, 1.01F, -5}, {0.02F, 1.01F, 50}}), false);
    EXPECT_EQ(canvas.Read(32, 48), kWhite);
    EXPECT_EQ(canvas.Read(32, 46), kBlack);
    canvas.Clear(kBlack);
    canvas.Points(Vertices(Points3{{0, 0, 1.99F}, {0.1F, 0, 2}, {0.3F, 0, 4}, {0.5F, 0, 4.01F}}));
    EXPECT_EQ(LitPixels(canvas), 2) << "the limits belong to it";
    EXPECT_TRUE(canvas.IsDrawnAt(2) && canvas.IsDrawnAt(4) && !canvas.IsDrawnAt(4.1));
    canvas.SetPixelView();
    EXPECT_TRUE(canvas.IsDrawnAt(1));
    canvas.Box(0, 0, 64, 64, true);
    EXPECT_EQ(LitPixels(canvas), 64 * 64);
    for (double const bad : {std::nan(""), -1.0, 0.0, 1e300}) {
        Canvas open = MakeSpace();
        open.State().depthNear = bad;
        open.State().depthFar = -bad;
        Draw(open, kWhite, Square(1));
        EXPECT_EQ(LitPixels(open), 64 * 64) << bad << " is no range";
    }
}

TEST(CanvasDepth, MeshesInSpaceCoverEachPixelOnceAlsoWhereTheyAreCut) {
    // A fan around the camera's foot: every triangle reaches behind the camera.
    Canvas canvas = MakeSpace();
    canvas.State().blend = true;
    canvas.State().colour = {255, 255, 255, 100};
    for (bool const depth : {false, true}) {
        Canvas space = MakeSpace();
        space.State() = canvas.State();
        space.State().depthTest = depth;
        Points3 fan;
        for (int i = 0; i < 24; ++i) {
            auto const rim = [](int k) {
                double const a = 0.2618 * (k % 24);
                return math::Point3<float>(
                    static_cast<float>(40 * std::cos(a)),
                    0.3F,
                    static_cast<float>(40 * std::sin(a)));
            };
            fan.insert(fan.end(), {{0.013F, 0.3F, 0.1F}, rim(i), rim(i + 1)});
        }
        space.Triangles(Vertices(fan));
        // The range begins at distance 0.5: row 32 + 64 * 0.3 / 0.5.
        ForPixels(space, [&](int x, int y, Colour c) {
            ASSERT_TRUE(y < 34 || c.r == 100) << x << ", " << y << ", " << depth;
        });
    }
}

TEST(CanvasDepth, TranslucentLinesInSpaceBlendNoPixelTwice) {
    for (float const width : {1.0F, 5.0F}) {
        for (bool const smooth : {false, true}) {
            Canvas canvas = MakeSpace();
            canvas.State().blend = true;
            canvas.State().lineWidth = width;
            canvas.State().lineSmooth = smooth;
            canvas.State().colour = {255, 255, 255, 128};
            canvas.Polyline(
                Vertices(Points3{{-0.5F, -0.5F, 2}, {1, -0.4F, 3}, {0, 1.5F, 5}, {0, -1.5F, 4}}),
                true);
            int most = 0;
            ForPixels(canvas, [&](int, int, Colour c) { most = std::max<int>(most, c.r); });
            EXPECT_EQ(most, 128) << width << ", " << smooth;
        }
    }
}

TEST(CanvasDepth, ColoursOfLinesFollowThePerspective) {
    for (float const width : {1.0F, 3.0F}) {
        Canvas canvas = MakeSpace();
        canvas.State().lineWidth = width;
        // From distance 1 to 3; its middle at distance 2 is seen three quarters of the way.
        canvas.Lines(Vertices(
            std::vector<ColourVertex>{{kBlack, -0.5F, 0, 1}, {{200, 0, 0, 255}, 1.5F, 0, 3}}));
        EXPECT_NEAR(canvas.Read(48, 32).r, 100, 4) << width;
        EXPECT_NEAR(canvas.Read(32, 32).r, 50, 3) << width;
    }
}

struct LitVertex {
    math::Point3<float> position;
    math::Point3<float> normal;
};

VertexArray Vertices(std::vector<LitVertex> const& points) {
    VertexArray v;
    v.position = &points.data()->position.x;
    v.dimension = 3;
    v.strideBytes = sizeof points[0];
    v.normal = &points.data()->normal.x;
    v.count = points.size();
    return v;
}

/// The colour in the middle of a large triangle at distance 2 with this normal.
Colour LitColour(Canvas& canvas, math::Point3<float> const& normal) {
    canvas.Clear(kBlack);
    std::vector<LitVertex> const triangle = {
        {{-90, -60, 2}, normal}, {{90, -60, 2}, normal}, {{0, 120, 2}, normal}};
    canvas.Triangles(Vertices(triangle));
    return canvas.Read(32, 32);
}

TEST(CanvasDepth, LightsShadeSurfacesByTheirNormals) {
    Canvas canvas = MakeSpace();
    math::Point3<float> const towards(0, 0, -3); // of any length
    canvas.State().colour = {200, 100, 50, 255};
    EXPECT_EQ(LitColour(canvas, towards), Colour(200, 100, 50, 255)) << "no light";
    auto& state = canvas.State();
    // So far behind the camera that it shines evenly.
    state.lights[3] = {true, {0, 0, -1e9F}, kBlack, {255, 255, 0, 255}, kBlack};
    EXPECT_EQ(LitColour(canvas, towards), Colour(200, 100, 0, 255));
    EXPECT_EQ(LitColour(canvas, {0, 1, -1}), Colour(141, 71, 0, 255)) << "cosine of 45 degrees";
    EXPECT_EQ(LitColour(canvas, {0, 0, 1}), kBlack) << "from behind";
    EXPECT_EQ(LitColour(canvas, {0, 0, 0}), kBlack);
    state.lights[0] = {true, {}, {51, 51, 51, 255}, kBlack, kBlack};
    state.material.emission = {0, 0, 30, 255};
    EXPECT_EQ(LitColour(canvas, {0, 0, 1}), Colour(40, 20, 40, 255)) << "ambient and emission";
    state.lights[7] = state.lights[3];
    EXPECT_EQ(LitColour(canvas, towards), Colour(255, 220, 40, 255)) << "a sum, cut at full";
    state.lights = {};
    state.material = {{255, 255, 255, 255}, kBlack, 2.5F};
    state.lights[1] = {true, {0, 0, -1e9F}, kBlack, kBlack, {100, 200, 50, 255}};
    Colour const glossy = LitColour(canvas, {0, 1, -1});
    // Corners far out see the light and the eye apart; the middle one is what they give together.
    EXPECT_GT(glossy.g, glossy.r);
    EXPECT_GT(glossy.r, 0);
}

TEST(CanvasDepth, HighlightsFollowThePowerOfTheShininess) {
    Canvas canvas = MakeSpace();
    auto& state = canvas.State();
    state.lights[0] = {true, {0, 0, -1e9F}, kBlack, kBlack, kWhite};
    state.material.specular = kWhite;
    for (float const shininess : {0.0F, 1.0F, 2.5F, 10.25F, 1024.0F, 1e30F, -5.0F}) {
        state.material.shininess = shininess;
        // One pixel in the middle: eye and light in one direction, the halfway vector too.
        std::vector<LitVertex> const triangle = {
            {{-0.01F, -0.01F, 1}, {0, 0.2F, -1}},
            {{0.03F, -0.01F, 1}, {0, 0.2F, -1}},
            {{-0.01F, 0.03F, 1}, {0, 0.2F, -1}}};
        canvas.Clear(kBlack);
        canvas.Triangles(Vertices(triangle));
        double const power = std::clamp<double>(double{shininess}, 0, 1024);
        double const expected = 255 * std::pow(1 / std::hypot(1, 0.2), power);
        EXPECT_NEAR(canvas.Read(32, 32).r, expected, 6) << shininess;
    }
    float const nan = std::numeric_limits<float>::quiet_NaN();
    state.material.shininess = nan;
    state.lights[1] = {true, {nan, 0, 1e30F}, kBlack, kWhite, kWhite};
    LitColour(canvas, {nan, 1, 0});
    canvas.SetPixelView();
    LitColour(canvas, {0, 0, -1});
}

} // namespace

} // namespace tests
