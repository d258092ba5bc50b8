#include "raster/CanvasHelpers.h"

#include <cmath>

namespace tests {

namespace {

using Points2 = std::vector<math::Point2<float>>;

constexpr double kPi = 3.14159265358979323846;

/// Lines from a centre in all directions.
void DrawStar(Canvas& canvas, double x, double y, double radius, int rays) {
    for (int i = 0; i < rays; ++i) {
        double const angle = 2 * kPi * i / rays;
        // Eighths of a pixel: what the last digit of a cosine is must not matter.
        auto const end = [&](double v) { return std::round(radius * v * 8) / 8; };
        canvas.Line(x, y, x + end(std::cos(angle)), y + end(std::sin(angle)));
    }
}

void DrawZigzag(Canvas& canvas, float x, float y, bool closed) {
    canvas.Polyline(
        Vertices(Points2{{x, y}, {x + 22, y}, {x + 4, y + 9}, {x + 22, y + 14}, {x, y + 20}}),
        closed);
}

/// A chessboard of 4 x 4 texels with one red corner at (0, 0).
std::vector<Colour> Chessboard() {
    std::vector<Colour> texels;
    for (int i = 0; i < 16; ++i) {
        bool const light = (i % 4 + i / 4) % 2 != 0;
        texels.push_back(light ? Colour(230, 230, 200, 255) : Colour(40, 60, 120, 160));
    }
    texels[0] = {255, 0, 0, 255};
    return texels;
}

Texture TextureOf(std::vector<Colour> const& texels) {
    return {&texels[0].r, 4, 4, 16, Texture::Format::RGBA8};
}

TEST(CanvasPicture, Lines) {
    Canvas canvas = MakeCanvas();
    canvas.Clear({30, 40, 50, 255});
    canvas.State().blend = true;
    canvas.State().colour = {255, 220, 120, 160};
    DrawStar(canvas, 16, 16, 14, 20);
    DrawZigzag(canvas, 36, 4, true);
    canvas.State().lineWidth = 4;
    DrawZigzag(canvas, 36, 32, false);
    canvas.State().lineWidth = 3;
    DrawStar(canvas, 16, 48, 12, 6);
    EXPECT_TRUE(MatchesGolden(PictureOf(canvas), "raster/lines"));
}

TEST(CanvasPicture, SmoothLines) {
    Canvas canvas = MakeCanvas();
    canvas.Clear({30, 40, 50, 255});
    canvas.State().blend = true;
    canvas.State().lineSmooth = true;
    canvas.State().colour = {255, 220, 120, 160};
    DrawStar(canvas, 16.5, 16.5, 14, 20);
    canvas.State().lineWidth = 3;
    DrawZigzag(canvas, 37, 5, true);
    canvas.State().lineWidth = 1.5F;
    canvas.Ellipse(4.5, 36, 30, 60, 0, 7, false);
    canvas.Ellipse(9.5, 41, 25, 55, 0.5, 4, false);
    canvas.State().blend = false;
    std::vector<ColourVertex> const gradient = {
        {{255, 0, 0, 255}, 36, 34, 0},
        {{0, 255, 0, 255}, 60, 44, 0},
        {{0, 0, 255, 0}, 36, 60, 0},
        {{255, 255, 255, 255}, 60, 50, 0}};
    canvas.State().lineWidth = 5;
    canvas.Lines(Vertices(gradient));
    EXPECT_TRUE(MatchesGolden(PictureOf(canvas), "raster/smooth_lines"));
}

TEST(CanvasPicture, Ellipses) {
    Canvas canvas = MakeCanvas();
    canvas.State().blend = true;
    for (int i = 0; i < 6; ++i) { // circles of all small sizes, outlined and filled
        double const x = 1 + i * (i + 3) / 1.0;
        canvas.State().colour = {120, 200, 255, 255};
        canvas.Ellipse(x, 1, x + 2 * i + 1, 2 + 2 * i, 0, 2 * kPi, false);
        canvas.State().colour = {255, 160, 60, 255};
        canvas.Ellipse(x, 15, x + 2 * i + 1, 16 + 2 * i, 0, 2 * kPi, true);
    }
    canvas.Ellipse(2, 30, 30, 60, 0.4, 5, true);
    canvas.State().colour = {255, 255, 255, 120};
    canvas.Ellipse(2, 30, 30, 60, 0.4, 5, false);
    canvas.State().lineWidth = 4;
    canvas.Ellipse(36, 32, 60, 44, kPi, 2.5 * kPi, false);
    canvas.State().lineWidth = 1;
    double const c = std::sqrt(0.5);
    canvas.SetView(Matrix({c, -c, 0, 48, c, c, 0, 54, 0, 0, 0, 1}), {32, 44, 64, 64});
    canvas.Ellipse(-13, -6, 13, 6, 0, 7, true);
    canvas.Ellipse(-13, -6, 13, 6, 0, 7, false);
    canvas.Box(-7, -3, 7, 3, false);
    EXPECT_TRUE(MatchesGolden(PictureOf(canvas), "raster/ellipses"));
}

TEST(CanvasPicture, Meshes) {
    Canvas canvas = MakeCanvas();
    canvas.Clear({60, 60, 60, 255});
    canvas.State().blend = true;
    std::vector<ColourVertex> const corners = {
        {{255, 0, 0, 255}, 3, 3, 0},
        {{0, 255, 0, 255}, 30, 8, 0},
        {{0, 0, 255, 40}, 10, 30, 0},
        {{255, 255, 0, 255}, 36, 4, 0},
        {{0, 255, 255, 255}, 60, 10, 0},
        {{255, 0, 255, 255}, 55, 28, 0},
        {{255, 255, 255, 0}, 40, 20, 0}};
    VertexArray vertices = Vertices(corners);
    vertices.count = 3;
    canvas.Triangles(vertices);
    std::vector<ColourVertex> const quad(corners.begin() + 3, corners.end());
    canvas.Quads(Vertices(quad));
    // A chessboard lying on the floor, partly behind the camera.
    std::vector<Colour> const texels = Chessboard();
    canvas.State().texture = TextureOf(texels);
    canvas.SetView(Matrix({40, 0, 32, 32, 0, 30, 30, 30, 0, 0, 1, 1}), {0, 0, 64, 64});
    canvas.Quads(Vertices(std::vector<TextureVertex>{
        {0, 0, -3, 1, 4}, {1, 0, 2, 1, 4}, {1, 1, 2, 1, -2}, {0, 1, -3, 1, -2}}));
    EXPECT_TRUE(MatchesGolden(PictureOf(canvas), "raster/meshes"));
}

TEST(CanvasPicture, Images) {
    Canvas canvas = MakeCanvas();
    canvas.Clear({60, 60, 60, 255});
    std::vector<Colour> const texels = Chessboard();
    canvas.State().texture = TextureOf(texels);
    canvas.Quads(Vertices(ImageQuad(1, 1, 5, 5)));
    canvas.Quads(Vertices(ImageQuad(7, 1, 29, 23)));
    canvas.State().bilinear = true;
    canvas.Quads(Vertices(ImageQuad(62, 24, 33, 1))); // both axes turned round
    canvas.State().blend = true;
    canvas.State().colour = {255, 200, 150, 200};
    canvas.Quads(Vertices(ImageQuad(1, 36, 29, 62)));
    double const c = std::cos(0.5);
    double const s = std::sin(0.5);
    canvas.SetView(Matrix({c, -s, 0, 47, s, c, 0, 45, 0, 0, 0, 1}), {0, 0, 64, 64});
    canvas.State().colour = kWhite;
    canvas.State().bilinear = false;
    canvas.Quads(Vertices(ImageQuad(-12, -12, 12, 12)));
    EXPECT_TRUE(MatchesGolden(PictureOf(canvas), "raster/images"));
}

} // namespace

} // namespace tests
