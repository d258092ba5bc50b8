#include "raster/CanvasHelpers.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <stdexcept>

namespace tests {

namespace {

using Points2 = std::vector<math::Point2<float>>;
using Points3 = std::vector<math::Point3<float>>;

/// Whole numbers from 0 to just below n, the same on every machine.
class Random {
public:
    explicit Random(unsigned seed) : m_engine(seed) {}
    int operator()(int n) { return static_cast<int>(m_engine() % static_cast<unsigned long>(n)); }
    bool Coin() { return (*this)(2) != 0; }
    unsigned char Byte() { return static_cast<unsigned char>((*this)(256)); }

private:
    std::minstd_rand m_engine;
};

/// Draws one operation of every kind at random places; the same for the same seed.
void DrawAnything(Canvas& canvas, unsigned seed) {
    Random random(seed);
    auto const coordinate = [&] { return static_cast<float>(random(9600)) / 100 - 16; };
    auto const channel = [&] { return random.Byte(); };
    std::vector<unsigned char> texels(60);
    std::generate(texels.begin(), texels.end(), channel);
    std::vector<ColourVertex> coloured(12);
    std::vector<TextureVertex> textured(12);
    Points2 plain(12);
    for (std::size_t i = 0; i < 12; ++i) {
        float const x = coordinate();
        float const y = coordinate();
        plain[i] = {x, y};
        coloured[i] = {{channel(), channel(), channel(), channel()}, x, y, 0};
        textured[i] = {coordinate() / 32, coordinate() / 32, x, y, 0};
    }
    auto& state = canvas.State();
    state.colour = {channel(), channel(), channel(), channel()};
    state.blend = random.Coin();
    state.lineSmooth = random.Coin();
    state.bilinear = random.Coin();
    state.lineWidth = 1 + static_cast<float>(random(3)) * 1.5F;
    state.pointSize = 1 + static_cast<float>(random(3));
    state.texture = {texels.data(), 5, 4, 15, Texture::Format::RGB8};
    canvas.Triangles(Vertices(textured));
    canvas.Quads(Vertices(coloured));
    canvas.Quads(Vertices(ImageQuad(coordinate(), coordinate(), coordinate(), coordinate())));
    canvas.Ellipse(coordinate(), coordinate(), coordinate(), coordinate(), 0, coordinate(), true);
    canvas.Ellipse(coordinate(), coordinate(), coordinate(), coordinate(), 1, coordinate(), false);
    canvas.Box(coordinate(), coordinate(), coordinate(), coordinate(), random.Coin());
    canvas.Lines(Vertices(coloured));
    canvas.Lines(Vertices(plain));
    canvas.Polyline(Vertices(plain), random.Coin());
    canvas.Points(Vertices(textured));
    state.texture = {};
}

TEST(Canvas, HasNoPixelsUntilResizedAndRefusesSizesItCannotHold) {
    Canvas canvas;
    DrawAnything(canvas, 1);
    canvas.Resize(0, 5);
    DrawAnything(canvas, 2);
    EXPECT_EQ(canvas.Read(0, 0), Colour(0, 0, 0, 0));
    EXPECT_THROW(canvas.Resize(Canvas::MaxSize + 1, 1), std::length_error);
    EXPECT_THROW(canvas.Resize(1, -1), std::length_error);
}

TEST(Canvas, ThePictureIsTheSameForAnyNumberOfThreads) {
    Points2 scattered;
    for (int i = 0; i < 70000; ++i) {
        scattered.emplace_back(float(i % 331), float(i % 317));
    }
    Points2 fan; // of lines of every slope, across all bands
    for (int i = 0; i < 300; ++i) {
        double const angle = i * 0.021;
        fan.emplace_back(165.3F, float(100 + i % 100));
        fan.emplace_back(
            float(165 + i % 240 * std::cos(angle)), float(158 + 190 * std::sin(angle)));
    }
    auto const draw = [&](unsigned threads, unsigned seed) {
        Canvas canvas = MakeCanvas(331, 317);
        canvas.SetWorkers(std::make_shared<drivers::raster::Workers>(threads));
        canvas.Points(Vertices(scattered));
        canvas.SetWorthSharing(1);
        canvas.State().lineSmooth = true;
        canvas.State().lineWidth = 0.6F + static_cast<float>(seed % 5);
        canvas.State().colour = {0, 90, 180, 255};
        canvas.Lines(Vertices(fan));
        if (seed % 2 != 0) { // leaning away, with depths
            canvas.SetView(
                Matrix({5, 0, 60, 90, 0, 5, 60, 90, 0.005, 0.007, 0, 1}), {3, 5, 330, 300});
            canvas.State().depthTest = true;
        } else {
            canvas.SetView(Matrix({5, 0.5, 0, 0, -0.5, 5, 0, 0, 0, 0, 0, 1}), {3, 5, 330, 300});
        }
        canvas.State().pointSize = static_cast<float>(1 + seed % 4);
        canvas.State().colour = {200, 100, 50, 128};
        canvas.State().blend = true;
        canvas.Points(Vertices(scattered));
        for (unsigned i = 0; i < 4; ++i) {
            DrawAnything(canvas, seed * 4 + i);
        }
        return canvas;
    };
    for (unsigned seed = 0; seed < 30; ++seed) {
        Canvas const one = draw(1, seed);
        for (unsigned const threads : {2U, 5U}) {
            ExpectSame(one, draw(threads, seed), 0, "seed " + std::to_string(seed));
        }
    }
}

TEST(Canvas, WhatAThreadThrowsIsThrownWhereTheWorkWasAskedFor) {
    drivers::raster::Workers workers(3);
    std::atomic<int> done{0};
    auto const work = [&](int part) {
        ++done;
        if (part == 4) {
            throw std::runtime_error("part 4");
        }
    };
    EXPECT_THROW(workers.Run(9, work), std::runtime_error);
    EXPECT_EQ(done, 9);
    EXPECT_NO_THROW(workers.Run(2, work));
}

TEST(Canvas, CopiesRowsToAnyStride) {
    Canvas canvas = MakeCanvas(3, 2);
    canvas.Clear({1, 2, 3, 4});
    *(canvas.Row(1) + 2) = {7, 8, 9, 255};
    std::vector<unsigned char> rgb(22, 77);
    canvas.CopyTo(reinterpret_cast<cimage::TRGB<unsigned char>*>(rgb.data()), 11);
    EXPECT_THAT(rgb, testing::ElementsAreArray({1, 2, 3, 1, 2, 3, 1, 2, 3, 77, 77,
                                                1, 2, 3, 1, 2, 3, 7, 8, 9, 77, 77}));
    EXPECT_EQ(canvas.Read(0, 0), Colour(1, 2, 3, 255)) << "the picture stays opaque";
}

TEST(Canvas, BlendsEveryChannelToTheNearestValue) {
    Canvas canvas = MakeCanvas(256, 1);
    canvas.State().blend = true;
    for (unsigned alpha = 0; alpha < 256; ++alpha) {
        for (int x = 0; x < 256; ++x) {
            canvas.Row(0)[x] = {static_cast<unsigned char>(x), 0, 255, 255};
        }
        canvas.State().colour = {200, 255, 0, static_cast<unsigned char>(alpha)};
        canvas.Box(0, 0, 256, 1, true);
        for (int x = 0; x < 256; ++x) {
            auto const mixed = [&](double over, double under) {
                return static_cast<int>(std::lround((over * alpha + under * (255 - alpha)) / 255));
            };
            Colour const c = canvas.Read(x, 0);
            ASSERT_EQ(c.r, mixed(200, x)) << alpha << " over " << x;
            ASSERT_EQ(c.g, mixed(255, 0));
            ASSERT_EQ(c.b, mixed(0, 255));
            ASSERT_EQ(c.a, 255);
        }
    }
}

TEST(Canvas, PointsLightTheFloorOfTheirPosition) {
    Canvas canvas = MakeCanvas(6, 3);
    canvas.Points(Vertices(Points2{{0, 0}, {2.99F, 0.5F}, {4, 2}, {-0.5F, 1}, {6, 1}, {1, 3}}));
    EXPECT_EQ(Map(canvas), "#.#...\n......\n....#.\n");
}

TEST(Canvas, PointSizesCoverSquaresAroundThePixel) {
    Canvas canvas = MakeCanvas(8, 4);
    canvas.State().pointSize = 2;
    canvas.Points(Vertices(Points3{{1.5F, 1, 9}}));
    canvas.State().pointSize = 2.6F;
    canvas.Points(Vertices(Points3{{5, 0, 9}, {8, 3, 0}}));
    EXPECT_EQ(Map(canvas), "##..###.\n##..###.\n.......#\n.......#\n");
}

TEST(Canvas, VerticesBringTheirColoursAndTexels) {
    Canvas canvas = MakeCanvas(3, 1);
    canvas.Points(Vertices(std::vector<ColourVertex>{{{9, 8, 7, 0}, 0, 0, 0}}));
    EXPECT_EQ(canvas.Read(0, 0), Colour(9, 8, 7, 255));
    unsigned char const grey[2] = {100, 200};
    canvas.State().texture = {grey, 2, 1, 2, Texture::Format::Grey8};
    canvas.State().colour = {255, 51, 255, 255};
    canvas.Points(Vertices(std::vector<TextureVertex>{{0.75F, 0, 1, 0, 0}, {-3, 5, 2, 0, 0}}));
    EXPECT_EQ(canvas.Read(1, 0), Colour(200, 40, 200, 255)) << "texel times colour";
    EXPECT_EQ(canvas.Read(2, 0), Colour(100, 20, 100, 255)) << "edge texels go on";
}

TEST(Canvas, LinesDrawBothEndPixelsAndTheSamePixelsBackwards) {
    Canvas canvas = MakeCanvas(6, 3);
    canvas.Line(0.9, 0.2, 5.1, 2.9);
    EXPECT_EQ(Map(canvas), "##....\n..##..\n....##\n");
    Random random(7);
    for (int i = 0; i < 200; ++i) {
        double const x0 = random(64);
        double const y0 = random(64);
        double const x1 = random(64);
        double const y1 = random(64);
        Canvas there = MakeCanvas();
        Canvas back = MakeCanvas();
        there.Line(x0, y0, x1, y1);
        back.Line(x1, y1, x0, y0);
        ASSERT_EQ(Map(there), Map(back)) << x0 << " " << y0 << " " << x1 << " " << y1;
        ASSERT_EQ(LitPixels(there), std::max(std::abs(x1 - x0), std::abs(y1 - y0)) + 1);
    }
}

TEST(Canvas, LinesOfAStreamAreThoseOfOpenPolylines) {
    Random random(11);
    for (bool const solid : {true, false}) {
        Canvas stream = MakeCanvas(1500, 400);
        stream.State().blend = true;
        stream.State().colour = {90, 160, 250, solid ? kWhite.a : std::uint8_t{70}};
        Canvas chains = stream;
        Points2 ends;
        for (int i = 0; i < 3000; ++i) { // many even slopes, so that halves are rounded
            auto const x = static_cast<float>(random(1900)) / 2 * (i % 3 == 0 ? 2.0F : 0.5F) - 50;
            auto const y = static_cast<float>(random(500)) - 50;
            ends.emplace_back(x, y);
        }
        stream.Lines(Vertices(ends));
        for (std::size_t i = 0; i < ends.size(); i += 2) {
            // The middle vertex makes it a chain, on the same pixels as it starts where it ends.
            chains.Polyline(Vertices(Points2{ends[i], ends[i], ends[i + 1]}), false);
        }
        for (int y = 0; y < 400; ++y) {
            ASSERT_TRUE(std::equal(stream.Row(y), stream.Row(y) + 1500, chains.Row(y))) << y;
        }
    }
}

TEST(Canvas, WideLinesCoverTheirWidthAndBothEndPixels) {
    Canvas canvas = MakeCanvas(8, 5);
    canvas.State().lineWidth = 3;
    canvas.Line(2, 2, 5, 2);
    EXPECT_EQ(Map(canvas), "........\n..####..\n..####..\n..####..\n........\n");
    Canvas corner = MakeCanvas(7, 6);
    corner.State().lineWidth = 2.8F;
    corner.Polyline(Vertices(Points2{{1, 5}, {1, 1}, {6, 1}}), false);
    EXPECT_EQ(Map(corner), "#######\n#######\n#######\n###....\n###....\n###....\n");
}

TEST(Canvas, ClippingChangesNoPixelInside) {
    for (unsigned seed = 1; seed <= 300; ++seed) {
        Canvas whole = MakeCanvas();
        DrawAnything(whole, seed);
        Canvas parts = MakeCanvas();
        auto const view = Matrix({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1});
        for (math::Rect2<int> const part :
             {math::Rect2<int>{0, 0, 64, 13},
              {0, 13, 20, 40},
              {20, 13, 99, 40},
              {-9, 40, 64, 64}}) {
            parts.SetView(view, part);
            DrawAnything(parts, seed);
        }
        ExpectSame(whole, parts, 0, "seed " + std::to_string(seed));
    }
}

TEST(Canvas, FarEndsLoseNothingThatIsVisible) {
    struct Case {
        Points2 line;
        std::function<bool(int, int)> lit;
    };
    auto const diagonal = [](int x, int y) { return x == y; };
    auto const row5 = [](int, int y) { return y == 5; };
    for (Case const& c : {
             Case{{{-1e30F, -1e30F}, {1e30F, 1e30F}}, diagonal},
             Case{{{3e38F, 3e38F}, {-3e38F, -3e38F}}, diagonal},
             Case{{{0, 0}, {1e30F, 1e30F}}, diagonal},
             Case{{{-1e30F, 5}, {1e30F, 5}}, row5},
             Case{{{1e12F, 5}, {0, 5}}, row5},
         }) {
        for (bool const wide : {false, true}) {
            Canvas canvas = MakeCanvas();
            canvas.State().lineWidth = wide ? 3.0F : 1.0F;
            canvas.Polyline(Vertices(c.line), false);
            ForPixels(canvas, [&](int x, int y, Colour seen) {
                bool const expected = c.lit(x, y);
                if (expected || !wide) {
                    ASSERT_EQ(seen == kWhite, expected) << c.line[0].x << ": " << x << ", " << y;
                }
            });
        }
    }
    Canvas canvas = MakeCanvas(32, 32);
    canvas.Triangles(Vertices(Points2{{10, -1e30F}, {1e30F, 20}, {10, 1e30F}}));
    EXPECT_EQ(LitPixels(canvas), 22 * 32);
    canvas.Clear(kBlack);
    canvas.Box(-1e300, 4, 1e300, 1e300, true);
    EXPECT_EQ(LitPixels(canvas), 28 * 32);
}

TEST(Canvas, NumbersThatAreNoneDrawNothingAndHarmNothing) {
    float const inf = std::numeric_limits<float>::infinity();
    float const nan = std::numeric_limits<float>::quiet_NaN();
    for (float const bad : {inf, -inf, nan}) {
        Canvas canvas = MakeCanvas();
        unsigned char const texel = 255;
        canvas.State().texture = {&texel, 1, 1, 1, Texture::Format::Grey8};
        for (bool const smooth : {false, true}) {
            canvas.State().lineSmooth = smooth;
            canvas.Points(Vertices(Points2{{bad, 1}, {1, bad}}));
            canvas.Polyline(Vertices(Points2{{bad, 1}, {1, bad}, {bad, bad}}), true);
            canvas.Line(1, 1, 9, static_cast<double>(bad));
            canvas.Triangles(Vertices(Points3{{1, 1, 0}, {9, 1, 0}, {bad, 9, 0}}));
            canvas.Quads(Vertices(ImageQuad(1, 1, 20, bad)));
            for (bool const filled : {false, true}) {
                canvas.Box(1, 1, 20, static_cast<double>(bad), filled);
                canvas.Ellipse(1, 1, static_cast<double>(bad), 9, 0, 9, filled);
                canvas.Ellipse(1, 1, 9, 9, static_cast<double>(bad), 1, filled);
            }
        }
        EXPECT_EQ(LitPixels(canvas), 0) << bad;
        canvas.State().lineWidth = bad;
        canvas.State().pointSize = bad;
        canvas.Line(1, 1, 9, 9);
        canvas.Points(Vertices(Points2{{9, 9}}));
        canvas.State().bilinear = true;
        canvas.Quads(Vertices(
            std::vector<TextureVertex>{{bad, 0, 1, 1, 0}, {1, 0, 9, 1, 0}, {1, bad, 9, 9, 0}}));
        EXPECT_EQ(canvas.Read(9, 9), kWhite) << bad;
        canvas.SetView(Matrix({9, 0, 9, 9, 0, 9, 9, 9, 0, 0, 1, 0}), {0, 0, 64, 64});
        canvas.Quads(Vertices(std::vector<TextureVertex>{
            {bad, 0, -9, -9, -1}, {1, bad, 9, -9, -1}, {1, 1, 9, 9, 5}, {0, 1, -9, 9, 5}}));
    }
}

TEST(Canvas, HugeShapesEndSoonAndKeepTheirVisiblePart) {
    double const quarter = 1.5707963267948966;
    for (double const size : {1e5, 1e9, 1e12, 1e30, 1e300}) {
        for (bool const smooth : {false, true}) {
            Canvas canvas = MakeCanvas(32, 32);
            canvas.State().lineSmooth = smooth;
            canvas.Ellipse(5.5, -size, size, size, 0, 7, false);
            canvas.Ellipse(-size, -size, 20.5, size, -1, 1, false);
            canvas.Ellipse(-size, -size, size, 9.5, 1, 2, false);
            ForPixels(canvas, [&](int x, int y, Colour seen) {
                ASSERT_NEAR(seen.r, x == 5 || x == 20 || y == 9 ? 255 : 0, 9) << size << ": " << x;
            });
            canvas.Clear(kBlack);
            canvas.Ellipse(-size, -size, size, size, 0, quarter, true);
            EXPECT_EQ(LitPixels(canvas), 32 * 32) << size;
            canvas.State().lineWidth = 1e30F;
            canvas.Ellipse(-size, -size, size, size, 0.5, 2, false);
            for (double const turn : {0.0, 0.2, 1.4}) {
                // On the ground, up to 10 in front of the camera and else behind it.
                double const c = std::cos(turn);
                double const s = std::sin(turn);
                double const w = 10 - size;
                auto const view =
                    Matrix({32 * c, -32 * s, 0, 0, 16 * s, 16 * c, 0, 16 + 16 * w, s, c, 0, w});
                canvas.SetView(view, canvas.Clip());
                canvas.Clear(kBlack);
                canvas.Ellipse(-size, -size, size, size, 0, 7, true);
                int const lit = LitPixels(canvas);
                EXPECT_EQ(lit, size > 1e15 ? lit : 32 * (smooth ? 15 : 14)) << size << ", " << turn;
            }
        }
    }
    Canvas canvas = MakeCanvas();
    canvas.Ellipse(-2000, 5, 100, 2105, 0, 7, false);
    EXPECT_EQ(LitPixels(canvas), 0) << "all of it is further down";
}

TEST(Canvas, TranslucentPolylinesBlendNoPixelTwice) {
    struct Case {
        float width;
        bool smooth;
    };
    for (Case const c : {Case{1, false}, Case{5, false}, Case{5, true}}) {
        Canvas canvas = MakeCanvas();
        canvas.State().colour = {255, 255, 255, 128};
        canvas.State().blend = true;
        canvas.State().lineWidth = c.width;
        canvas.State().lineSmooth = c.smooth;
        canvas.Polyline(
            Vertices(Points2{{10, 10}, {50, 12}, {50, 12}, {52, 50}, {30, 30}, {8, 48}}), true);
        canvas.State().lineWidth = 1;
        canvas.Ellipse(20, 14, 40, 24, 0, 7, false);
        ForPixels(canvas, [&](int x, int y, Colour seen) {
            ASSERT_LE(seen.r, 128) << c.width << ": " << x << ", " << y;
        });
        EXPECT_EQ(canvas.Read(10, 10).r, 128) << "the closing vertex is drawn";
    }
}

TEST(Canvas, SmoothLinesAreTheSameInOnePieceAndInTwo) {
    Random random(5);
    auto const coordinate = [&] { return static_cast<float>(random(9000)) / 100 - 13; };
    for (int i = 0; i < 300; ++i) {
        Canvas one = MakeCanvas();
        one.Clear({30, 60, 90, 255});
        one.State().lineSmooth = true;
        one.State().blend = true;
        one.State().lineWidth = 0.3F + static_cast<float>(random(90)) / 10;
        one.State().colour = {250, 220, 200, random.Coin() ? random.Byte() : kWhite.a};
        Canvas two = one;
        math::Point2<float> const a{coordinate(), coordinate()};
        math::Point2<float> const b = i % 9 != 0 ? math::Point2<float>{coordinate(), coordinate()}
                                                 : math::Point2<float>{a.x, coordinate()};
        one.Line(a.x, a.y, b.x, b.y);
        two.Polyline(Vertices(Points2{a, (a + b) * 0.5F, b}), false);
        ExpectSame(one, two, 2, "line " + std::to_string(i));
    }
}

TEST(Canvas, BoxesWithWholeCornersCoverExactlyTheirArea) {
    Canvas canvas = MakeCanvas(8, 5);
    canvas.Box(6, 1, 2, 4, true); // any two opposite corners
    EXPECT_EQ(Map(canvas), "........\n..####..\n..####..\n..####..\n........\n");
    canvas.Clear(kBlack);
    canvas.Box(1.5, 0.5, 3.5, 2.5, true); // centres on the left and upper edge belong to it
    EXPECT_EQ(Map(canvas), ".##.....\n.##.....\n........\n........\n........\n");
    canvas.Clear(kBlack);
    canvas.Box(1, 1, 6, 3, false);
    EXPECT_EQ(Map(canvas), "........\n.######.\n.#....#.\n.######.\n........\n");
}

TEST(Canvas, ShapesWithoutAreaAreNotFilledAndOutlinedAsWhatIsLeft) {
    unsigned char const texel = 255;
    Points2 const corners[] = {
        {{5, 5}, {5, 5}, {5, 5}, {5, 5}},
        {{5.5F, 5.5F}, {20.5F, 5.5F}, {20.5F, 5.5F}, {5.5F, 5.5F}},
        {{5.5F, 5.5F}, {5.5F, 20.5F}, {5.5F, 9.5F}, {5.5F, 30.5F}},
        {{5.5F, 5.5F}, {9.5F, 9.5F}, {30.5F, 30.5F}, {20.5F, 20.5F}}};
    for (bool const smooth : {false, true}) {
        Canvas canvas = MakeCanvas();
        canvas.State().lineSmooth = smooth;
        canvas.State().texture = {&texel, 1, 1, 1, Texture::Format::Grey8};
        for (Points2 const& c : corners) {
            std::vector<ColourVertex> coloured;
            std::vector<TextureVertex> textured;
            for (math::Point2<float> const& p : c) {
                coloured.push_back({kWhite, p.x, p.y, 0});
                textured.push_back({p.x, p.y, p.x, p.y, 0});
            }
            for (VertexArray v : {Vertices(c), Vertices(coloured), Vertices(textured)}) {
                canvas.Quads(v);
                v.count = 3;
                canvas.Triangles(v);
            }
        }
        canvas.Box(5, 5, 5, 40, true);
        canvas.Box(5, 5, 40, 5, true);
        canvas.Ellipse(5.5, 5, 5.5, 40, 0, 7, true);
        canvas.Ellipse(5, 5.5, 40, 5.5, 0, 7, true);
        canvas.Ellipse(9, 9, 40, 40, 1, 1, true);
        EXPECT_EQ(LitPixels(canvas), 0) << smooth;
    }
    for (bool const ellipse : {false, true}) {
        Canvas canvas = MakeCanvas(8, 4);
        auto const outline = [&](double x0, double y0, double x1, double y1) {
            ellipse ? canvas.Ellipse(x0, y0, x1, y1, 0, 7, false)
                    : canvas.Box(x0, y0, x1, y1, false);
        };
        outline(0, 3, 0, 3);
        outline(2, 1, 6, 1);
        outline(7, 3, 7, 0);
        EXPECT_EQ(Map(canvas), ".......#\n..######\n.......#\n#......#\n") << ellipse;
    }
}

TEST(Canvas, OutlinesOfBoxAndEllipseTouchTheSamePixels) {
    for (double const offset : {0.0, 0.3, 0.9}) {
        Canvas canvas = MakeCanvas(24, 24);
        canvas.Ellipse(5 + offset, 5 + offset, 15 + offset, 18 + offset, 0, 6.2831855, false);
        EXPECT_EQ(canvas.Read(5, 11), kWhite);
        EXPECT_EQ(canvas.Read(15, 11), kWhite);
        EXPECT_EQ(canvas.Read(10, 5), kWhite);
        EXPECT_EQ(canvas.Read(10, 18), kWhite);
        canvas.State().colour = kBlack;
        canvas.Ellipse(5, 5, 15, 18, 0, 7, false);
        EXPECT_EQ(LitPixels(canvas), 0);
    }
}

TEST(Canvas, FilledEllipsesCoverTheCentresInside) {
    for (double const radius : {0.6, 3.0, 7.25, 30.0}) {
        Canvas canvas = MakeCanvas();
        canvas.Ellipse(32 - radius, 31 - radius / 2, 32 + radius, 31 + radius / 2, -9, 9, true);
        ForPixels(canvas, [&](int x, int y, Colour seen) {
            double const square =
                (std::pow(x + 0.5 - 32, 2) + 4 * std::pow(y + 0.5 - 31, 2)) / (radius * radius);
            if (std::abs(square - 1) > 0.02 / radius) {
                ASSERT_EQ(seen == kWhite, square < 1) << radius << ": " << x << ", " << y;
            }
        });
    }
}

TEST(Canvas, SlicesSpanTheirAngles) {
    struct Case {
        double start, end;
        std::array<bool, 4> quadrants; // 45, 135, 225, 315 degrees
    };
    double const quarter = 1.5707963267948966;
    for (Case const& c :
         {Case{0, quarter, {true, false, false, false}},
          Case{-quarter, quarter, {true, false, false, true}},
          Case{2.6 * quarter, 0.4 * quarter, {true, true, true, false}}, // either order
          Case{4 * quarter + 0.1, 5 * quarter, {true, false, false, false}},
          Case{0, 4 * quarter, {true, true, true, true}},
          Case{1e12, 1e30, {true, true, true, true}},
          Case{1e308, -1e308, {true, true, true, true}},
          Case{1e12 - std::fmod(1e12, 4 * quarter), 1e12 - 4, {true, false, false, false}},
          Case{1e30, 1e30, {false, false, false, false}}}) {
        Canvas canvas = MakeCanvas();
        canvas.Ellipse(2, 2, 62, 62, c.start, c.end, true);
        std::array<bool, 4> const lit = {
            canvas.Read(46, 48) == kWhite,
            canvas.Read(18, 48) == kWhite,
            canvas.Read(18, 16) == kWhite,
            canvas.Read(48, 18) == kWhite};
        EXPECT_EQ(lit, c.quadrants) << c.start << " to " << c.end;
    }
}

/// The corners of a jittered grid over the canvas, outer ones in place.
std::vector<math::Point2<float>> JitteredGrid(int cells, float size, unsigned seed) {
    Random random(seed);
    Points2 grid;
    for (int y = 0; y <= cells; ++y) {
        for (int x = 0; x <= cells; ++x) {
            // Multiples of a half: many corners and edges run through pixel centres.
            auto const jitter = [&](int i) {
                return i == 0 || i == cells ? 0 : static_cast<float>(random(9)) / 2 - 2;
            };
            float const px = size * static_cast<float>(x) / static_cast<float>(cells) + jitter(x);
            float const py = size * static_cast<float>(y) / static_cast<float>(cells) + jitter(y);
            grid.emplace_back(px, py);
        }
    }
    return grid;
}

TEST(Canvas, MeshesCoverEachPixelOnceInWhateverDirectionTheirTrianglesTurn) {
    for (unsigned seed = 1; seed < 20; ++seed) {
        Points2 const grid = JitteredGrid(8, 64, seed);
        Points2 triangles;
        Points2 quads;
        for (std::size_t i = 0; i < 64; ++i) {
            std::size_t const at = i / 8 * 9 + i % 8;
            math::Point2<float> const a = grid[at];
            math::Point2<float> const b = grid[at + 1];
            math::Point2<float> const c = grid[at + 10];
            math::Point2<float> const d = grid[at + 9];
            triangles.insert(triangles.end(), {a, b, c, d, c, a});
            quads.insert(quads.end(), {b, c, d, a});
        }
        Canvas canvas = MakeCanvas();
        canvas.State().blend = true;
        canvas.State().colour = {255, 255, 255, 100};
        canvas.Triangles(Vertices(triangles));
        Canvas other = MakeCanvas();
        other.State() = canvas.State();
        other.Quads(Vertices(quads));
        ForPixels(canvas, [&](int x, int y, Colour seen) {
            ASSERT_EQ(seen.r, 100) << seed << ": " << x << ", " << y;
        });
        ExpectSame(canvas, other, 0, "seed " + std::to_string(seed));
    }
}

TEST(Canvas, ColoursRunLinearlyBetweenVertices) {
    Canvas canvas = MakeCanvas();
    auto const at = [](float x, float y) {
        auto const red = static_cast<unsigned char>(x * 3 + 10);
        auto const green = static_cast<unsigned char>(y * 2 + x);
        return ColourVertex{{red, green, 77, 200}, x, y, 5};
    };
    std::vector<ColourVertex> const quad = {at(0, 0), at(64, 0), at(64, 64), at(0, 64)};
    canvas.Quads(Vertices(quad));
    ForPixels(canvas, [&](int x, int y, Colour c) {
        ASSERT_EQ(c.r, std::floor((x + 0.5) * 3 + 10 + 0.5));
        ASSERT_EQ(c.g, std::floor((y + 0.5) * 2 + x + 0.5 + 0.5));
        ASSERT_EQ(c.b, 77);
    });
    canvas.Clear(kBlack);
    canvas.Lines(
        Vertices(std::vector<ColourVertex>{{{0, 200, 0, 0}, 40, 3, 0}, {{80, 0, 5, 0}, 0, 3, 0}}));
    EXPECT_EQ(canvas.Read(40, 3), Colour(0, 200, 0, 255));
    EXPECT_EQ(canvas.Read(30, 3), Colour(20, 150, 1, 255));
    EXPECT_EQ(canvas.Read(0, 3), Colour(80, 0, 5, 255));
}

TEST(Canvas, ImagesDrawnOneToOneAreCopiesInEveryFormat) {
    struct Case {
        Texture::Format format;
        int bytes;
        std::array<int, 3> channels;
    };
    Random random(3);
    std::vector<unsigned char> texels(1280);
    std::generate(texels.begin(), texels.end(), [&] { return random.Byte(); });
    for (Case const& c :
         {Case{Texture::Format::Grey8, 1, {0, 0, 0}},
          Case{Texture::Format::RGB8, 3, {0, 1, 2}},
          Case{Texture::Format::RGBA8, 4, {0, 1, 2}},
          Case{Texture::Format::BGRA8, 4, {2, 1, 0}}}) {
        for (int const flip : {0, 1, 2, 3}) {
            Canvas canvas = MakeCanvas(32, 32);
            canvas.State().texture = {texels.data(), 17, 15, 80, c.format};
            canvas.State().bilinear = flip % 2 == 0;
            float const x0 = flip & 1 ? 20.0F : 3.0F;
            float const y0 = flip & 2 ? 17.0F : 2.0F;
            canvas.Quads(Vertices(ImageQuad(x0, y0, 23 - x0, 19 - y0)));
            for (int y = 0; y < 15; ++y) {
                for (int x = 0; x < 17; ++x) {
                    auto const at =
                        static_cast<std::size_t>(y) * 80 + static_cast<std::size_t>(x * c.bytes);
                    unsigned char const* texel = &texels[at];
                    Colour const expected(
                        texel[c.channels[0]], texel[c.channels[1]], texel[c.channels[2]], 255);
                    int const px = flip & 1 ? 19 - x : 3 + x;
                    int const py = flip & 2 ? 16 - y : 2 + y;
                    ASSERT_EQ(canvas.Read(px, py), expected) << c.bytes << ", " << flip;
                }
            }
            EXPECT_EQ(canvas.Read(2, 2), kBlack);
            EXPECT_EQ(canvas.Read(20, 16), kBlack);
        }
    }
}

TEST(Canvas, StretchedImagesAgreeWithTheSameImageDrawnAsTriangles) {
    std::vector<unsigned char> texels(140);
    for (std::size_t i = 0; i < texels.size(); ++i) {
        texels[i] = static_cast<unsigned char>(i * 29);
    }
    for (bool const bilinear : {false, true}) {
        Canvas rows = MakeCanvas();
        rows.State().texture = {texels.data(), 7, 5, 28, Texture::Format::RGBA8};
        rows.State().bilinear = bilinear;
        rows.State().blend = true;
        rows.State().colour = {255, 200, 255, 200};
        Canvas triangles = MakeCanvas();
        triangles.State() = rows.State();
        auto const quad = ImageQuad(3.3F, 60.2F, 58.1F, 4.9F);
        rows.Quads(Vertices(quad));
        triangles.Triangles(Vertices(
            std::vector<TextureVertex>{quad[0], quad[1], quad[2], quad[0], quad[2], quad[3]}));
        ExpectSame(rows, triangles, 1, bilinear ? "bilinear" : "nearest");
    }
}

TEST(Canvas, ImagesDrawnAtHalfSizeOrLessBecomeTheMeanOfWhatAPixelCovers) {
    // Columns of one texel, black and white in turn: picking texels out would show one of the two.
    std::vector<unsigned char> texels(64 * 64);
    for (std::size_t i = 0; i < texels.size(); ++i) {
        texels[i] = i % 2 == 0 ? 0 : 255;
    }
    for (float const size : {32.0F, 16.0F, 1.0F}) {
        for (bool const bilinear : {false, true}) {
            for (bool const mirrored : {false, true}) {
                Canvas canvas = MakeCanvas();
                canvas.State().texture = {texels.data(), 64, 64, 64, Texture::Format::Grey8};
                canvas.State().bilinear = bilinear;
                canvas.Quads(
                    Vertices(mirrored ? ImageQuad(size, size, 0, 0) : ImageQuad(0, 0, size, size)));
                EXPECT_EQ(canvas.Read(0, 0), Colour(128, 128, 128, 255)) << size;
                int const pixels = static_cast<int>(size * size);
                EXPECT_EQ(LitPixels(canvas), pixels) << size;
            }
        }
    }
    // Two texels and a half a pixel: 2 * 100 + 0.5 * 200 over 2.5.
    std::vector<unsigned char> const row{100, 100, 200, 200, 200};
    Canvas canvas = MakeCanvas();
    canvas.State().texture = {row.data(), 5, 1, 5, Texture::Format::Grey8};
    canvas.Quads(Vertices(ImageQuad(0, 0, 2, 1)));
    EXPECT_EQ(canvas.Read(0, 0).r, 120);
    EXPECT_EQ(canvas.Read(1, 0).r, 200);
}

TEST(Canvas, TurnedAndDistantImagesAtHalfSizeOrLessAreMeansToo) {
    std::vector<unsigned char> noise(36 * 36);
    unsigned seed = 7;
    for (unsigned char& texel : noise) {
        seed = seed * 1664525 + 1013904223;
        texel = static_cast<unsigned char>(seed >> 24);
    }
    for (int const size : {18, 12}) {
        Canvas upright = MakeCanvas(size, size);
        Canvas turned = MakeCanvas(size, size);
        upright.State().texture = {noise.data(), 36, 36, 36, Texture::Format::Grey8};
        turned.State() = upright.State();
        auto const edge = static_cast<float>(size);
        std::vector<TextureVertex> quad = ImageQuad(0, 0, edge, edge);
        upright.Quads(Vertices(quad));
        for (TextureVertex& corner : quad) {
            corner = {corner.s, corner.t, edge - corner.y, corner.x, 0};
        }
        turned.Quads(Vertices(quad));
        for (int i = 0; i < size * size; ++i) {
            int const x = i % size;
            int const y = i / size;
            EXPECT_NEAR(upright.Read(x, y).r, turned.Read(size - 1 - y, x).r, 1) << x << ' ' << y;
        }
    }
    std::vector<unsigned char> stripes(512 * 512);
    for (std::size_t i = 0; i < stripes.size(); ++i) {
        stripes[i] = i / 512 % 2 == 0 ? 0 : 255;
    }
    auto const spread = [&](math::TMatrix<double, 3, 4> const& view, int top, int bottom) {
        Canvas canvas = MakeCanvas();
        canvas.SetView(view, {0, 0, 64, 64});
        canvas.State().texture = {stripes.data(), 512, 512, 512, Texture::Format::Grey8};
        canvas.Quads(Vertices(ImageQuad(-90, -90, 90, 90)));
        int most = 0;
        for (int y = top; y < bottom; ++y) {
            for (int x = 8; x < 56; ++x) {
                most = std::max(most, std::abs(canvas.Read(x, y).g - 127));
            }
        }
        return most;
    };
    auto const turned = Matrix({0.6, -0.8, 0, 32, 0.8, 0.6, 0, 32, 0, 0, 0, 1});
    EXPECT_LT(spread(turned, 8, 56), 50) << "2.8 texels a pixel";
    auto const distant = Matrix({32, 32, 0, 32 * 91, 0, 0, 0, 60, 0, 1, 0, 91});
    EXPECT_LT(spread(distant, 3, 8), 50) << "3 to 19 texels a pixel";
}

TEST(Canvas, AMaskChangesWhatItCoversAndNothingBesideIt) {
    constexpr int size = 13;
    constexpr int left = 2; // of the clip
    std::vector<unsigned char> mask;
    for (int i = 0; i < size * 2; ++i) {
        mask.push_back(static_cast<unsigned char>(i % 5 == 0 ? 0 : i * 37));
    }
    auto const under = [](int x, int y) { return 20 + 11 * x + 30 * y; };
    for (int width = 1; width <= size; ++width) {
        for (int at = -1; at < size; ++at) {
            Canvas canvas = MakeCanvas(size, 3);
            for (int i = 0; i < size * 3; ++i) {
                auto const value = static_cast<unsigned char>(under(i % size, i / size));
                canvas.Row(i / size)[i % size] = {value, value, value, 255};
            }
            canvas.SetView(Matrix({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1}), {left, 0, size - 1, 3});
            canvas.State().colour = {250, 250, 250, 200};
            canvas.State().blend = true;
            canvas.BlendMask(at, 0, mask.data(), width, 2, size);
            for (int i = 0; i < size * 3; ++i) {
                int const x = i % size;
                int const y = i / size;
                bool const covered =
                    x >= std::max(left, at) && x < std::min(size - 1, at + width) && y < 2;
                int const cover = covered ? mask[static_cast<std::size_t>(y * size + x - at)] : 0;
                int const alpha = (cover * 200 + 127) / 255;
                int const expected = (250 * alpha + under(x, y) * (255 - alpha) + 127) / 255;
                EXPECT_EQ(int{canvas.Read(x, y).g}, expected) << width << " at " << at << ": " << x;
            }
        }
    }
}

TEST(Canvas, BilinearSamplingMeetsTheTexelsAtTheirCentres) {
    unsigned char const grey[2] = {0, 200};
    Canvas canvas = MakeCanvas(16, 1);
    canvas.State().texture = {grey, 2, 1, 2, Texture::Format::Grey8};
    canvas.State().bilinear = true;
    canvas.Quads(Vertices(ImageQuad(-0.5F, 0, 15.5F, 1))); // 8 pixels a texel, centres at 3.5, 11.5
    EXPECT_EQ(canvas.Read(3, 0).r, 0);
    EXPECT_EQ(canvas.Read(7, 0).r, 100);
    EXPECT_EQ(canvas.Read(9, 0).r, 150);
    EXPECT_EQ(canvas.Read(11, 0).r, 200);
    EXPECT_EQ(canvas.Read(14, 0).r, 200);
}

TEST(Canvas, ViewsZoomTurnAndProject) {
    Canvas canvas = MakeCanvas();
    canvas.SetView(Matrix({0, 2, 1, 10, -2, 0, 0, 40, 0, 0, 0, 1}), {0, 0, 64, 64});
    canvas.Points(Vertices(Points3{{5, 3, 4}}));
    EXPECT_EQ(canvas.Read(20, 30), kWhite);
    canvas.Clear(kBlack);
    canvas.Box(0, 0, 5, 10, true);
    EXPECT_EQ(LitPixels(canvas), 200) << "a quarter turn keeps a box whole";
    EXPECT_EQ(canvas.Read(10, 30), kWhite);
    EXPECT_EQ(canvas.Read(29, 39), kWhite);
    // A camera 2 in front of the plane z = 0, focal length 32 pixels.
    auto const camera = Matrix({32, 0, 32, 64, 0, 32, 32, 64, 0, 0, 1, 2});
    canvas.SetView(camera, {0, 0, 64, 64});
    canvas.Clear(kBlack);
    canvas.Points(Vertices(Points3{{1, 0, 0}, {0, 0, -2}, {0, 0, -3}}));
    EXPECT_EQ(canvas.Read(48, 32), kWhite);
    EXPECT_EQ(LitPixels(canvas), 1) << "nothing at or behind the camera";
}

TEST(Canvas, LinesAndPolygonsEndAtTheCamera) {
    Canvas canvas = MakeCanvas();
    auto const camera = Matrix({32, 0, 32, 64, 0, 32, 32, 64, 0, 0, 1, 2});
    canvas.SetView(camera, {0, 0, 64, 64});
    // The road y = 1 from far in front to far behind covers what is below the horizon.
    canvas.Quads(Vertices(Points3{{-900, 1, -5}, {900, 1, -5}, {900, 1, 900}, {-900, 1, 900}}));
    EXPECT_EQ(LitPixels(canvas), 64 * 32) << "rows from just below the horizon on";
    EXPECT_EQ(canvas.Read(0, 31), kBlack);
    EXPECT_EQ(canvas.Read(0, 32), kWhite);
    canvas.Clear(kBlack);
    canvas.Polyline(Vertices(Points3{{0, 0.5F, 6}, {0, 0.5F, -9}}), false);
    EXPECT_EQ(canvas.Read(32, 33), kBlack);
    EXPECT_EQ(canvas.Read(32, 34), kWhite) << "where it begins";
    EXPECT_EQ(canvas.Read(32, 63), kWhite) << "it leaves at the lower edge only";
    EXPECT_EQ(LitPixels(canvas), 30);
    // From behind the camera to whatever distance: near it all of these look the same.
    std::vector<unsigned char> const grey = {40, 80, 120, 160, 200, 240};
    auto const draw = [&](float far, bool turned) {
        auto const order = [&](auto corners) {
            if (turned) {
                std::reverse(corners.begin(), corners.end());
            }
            return corners;
        };
        Canvas picture = MakeCanvas();
        picture.SetView(camera, {0, 0, 64, 64});
        picture.State().texture = {grey.data(), 6, 1, 6, Texture::Format::Grey8};
        picture.Quads(Vertices(order(std::vector<TextureVertex>{
            {0, 0, -9.1F, 1, -5},
            {1, 0, 8.9F, 1, -5},
            {1, 1, 8.9F, 1, far},
            {0, 1, -9.1F, 1, far}})));
        picture.Quads(Vertices(order(std::vector<ColourVertex>{
            {{0, 90, 9, 255}, -far, -1, -5},
            {{200, 90, 9, 255}, 3 * far, -1, -5},
            {{200, 9, 90, 255}, 3 * far, -1, far},
            {{0, 9, 90, 255}, -far, -1, far}})));
        picture.Lines(Vertices(order(std::vector<ColourVertex>{
            {{255, 255, 0, 255}, 0.1F, 0.5F, -9}, {{255, 0, 0, 255}, 0.1F, 0.5F, far}})));
        for (float const width : {1.0F, 3.0F}) {
            picture.State().lineWidth = width;
            picture.State().lineSmooth = width == 3;
            picture.Polyline(
                Vertices(order(Points3{{-width, 1, -5}, {width, 1, -5}, {width, 1, far}})), true);
        }
        return picture;
    };
    Canvas const near = draw(1e6F, false);
    for (float const far : {1e6F, 1e12F, 1e18F, 1e30F}) {
        for (bool const turned : {false, true}) {
            ExpectSame(near, draw(far, turned), 1, "to " + std::to_string(far));
        }
    }
}

TEST(Canvas, TexturesFollowThePerspective) {
    Canvas canvas = MakeCanvas();
    canvas.SetView(Matrix({32, 0, 32, 64, 0, 32, 32, 64, 0, 0, 1, 2}), {0, 0, 64, 64});
    unsigned char const grey[2] = {50, 200};
    canvas.State().texture = {grey, 1, 2, 1, Texture::Format::Grey8};
    // A floor at y = 1 from distance 2 to 6: its middle, distance 4, is seen at 32 + 32 / 4.
    canvas.Quads(Vertices(std::vector<TextureVertex>{
        {0, 0, -9, 1, 0}, {1, 0, 9, 1, 0}, {1, 1, 9, 1, 4}, {0, 1, -9, 1, 4}}));
    EXPECT_EQ(canvas.Read(32, 47).r, 50);
    EXPECT_EQ(canvas.Read(32, 40).r, 50);
    EXPECT_EQ(canvas.Read(32, 39).r, 200);
    EXPECT_EQ(canvas.Read(32, 38).r, 200);
}

TEST(Canvas, MasksAreClippedAndBlendedByCoverage) {
    std::vector<unsigned char> const mask = {0, 51, 255, 9, 255, 255, 255, 9};
    Canvas canvas = MakeCanvas(4, 3);
    canvas.State().colour = {200, 100, 0, 51};
    canvas.BlendMask(1, 0, mask.data(), 3, 2, 4);
    EXPECT_EQ(canvas.Read(1, 0), kBlack);
    EXPECT_EQ(canvas.Read(2, 0), Colour(40, 20, 0, 255)) << "without blending, coverage alone";
    EXPECT_EQ(canvas.Read(3, 1), Colour(200, 100, 0, 255));
    canvas.Clear(kBlack);
    canvas.State().blend = true;
    canvas.BlendMask(-2, -1, mask.data(), 3, 2, 4);
    EXPECT_EQ(canvas.Read(0, 0), Colour(40, 20, 0, 255)) << "coverage times alpha";
    EXPECT_EQ(LitPixels(canvas), 1);
    int const most = std::numeric_limits<int>::max();
    for (int const far : {most, -most}) {
        canvas.BlendMask(far, 0, mask.data(), 3, 2, 4);
        canvas.BlendMask(0, far, mask.data(), 3, 2, 4);
    }
    EXPECT_EQ(LitPixels(canvas), 1);
}

} // namespace

} // namespace tests
