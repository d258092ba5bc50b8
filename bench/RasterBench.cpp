#include "bench/Compare.h"
#include "drivers/raster/Canvas.h"
#include "ui/win/CWindow.h"

#ifdef QUARN_BENCH_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

#include <boost/make_shared.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <random>
#include <vector>

namespace bench {

namespace {

using drivers::raster::Canvas;
using drivers::raster::Colour;
using drivers::raster::Texture;
using drivers::raster::VertexArray;
using P2 = math::Point2<float>;
using P3 = math::Point3<float>;
using Matrix = math::TMatrix<double, 3, 4>;

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

/// The same numbers in every run.
class Random {
public:
    /// From lo to hi, in steps of a 64th.
    double operator()(double lo, double hi) {
        auto const steps = static_cast<unsigned long>((hi - lo) * 64);
        return lo + static_cast<double>(m_engine() % steps) / 64;
    }

private:
    std::minstd_rand m_engine{7};
};

template <class P>
VertexArray ArrayOf(std::vector<P> const& points) {
    VertexArray array;
    array.position = &points[0].x;
    array.dimension = sizeof(P) / sizeof(float);
    array.strideBytes = sizeof(P);
    array.count = points.size();
    return array;
}

/// A picture that the bare loops draw into.
struct Frame {
    std::vector<std::uint32_t> pixels = std::vector<std::uint32_t>(kWidth * kHeight);
    std::uint32_t* Row(int y) {
        return pixels.data() + std::size_t{kWidth} * static_cast<unsigned>(y);
    }
};

Canvas MakeCanvas() {
    Canvas canvas;
    canvas.Resize(kWidth, kHeight);
    return canvas;
}

constexpr std::uint32_t kInk = 0xffffffff;

// Points

Matrix Zoomed() {
    Matrix m;
    m << 2.5, 0.1, 0, -1400, -0.1, 2.5, 0, -700, 0, 0, 0, 1;
    return m;
}

/// Points of which most are seen through the zoomed camera.
std::vector<P2> const& ScatteredPoints() {
    static std::vector<P2> const points = [] {
        Random random;
        std::vector<P2> made;
        for (int i = 0; i < 1000000; ++i) {
            made.emplace_back(float(random(500, 1340)), float(random(280, 780)));
        }
        return made;
    }();
    return points;
}

void Points(benchmark::State& state) {
    Canvas canvas = MakeCanvas();
    canvas.SetView(Zoomed(), {0, 0, kWidth, kHeight});
    for (auto _ : state) {
        canvas.Points(ArrayOf(ScatteredPoints()));
    }
}

void BarePoints(benchmark::State& state) {
    Frame frame;
    Matrix const m = Zoomed();
    double const a = m(0, 0), b = m(0, 1), c = m(0, 3), d = m(1, 0), e = m(1, 1), f = m(1, 3);
    for (auto _ : state) {
        for (P2 const& p : ScatteredPoints()) {
            double const x = a * double{p.x} + b * double{p.y} + c;
            double const y = d * double{p.x} + e * double{p.y} + f;
            if (x >= 0 && y >= 0 && x < kWidth && y < kHeight) {
                frame.Row(static_cast<int>(y))[static_cast<int>(x)] = kInk;
            }
        }
        benchmark::ClobberMemory();
    }
}

Matrix Space() {
    Matrix m;
    m << 1000, 0, 960, 0, 0, 1000, 540, 0, 0, 0, 1, 0;
    return m;
}

std::vector<P3> const& ScatteredInSpace() {
    static std::vector<P3> const points = [] {
        Random random;
        std::vector<P3> made;
        for (int i = 0; i < 1000000; ++i) {
            float const z = float(random(1, 20));
            made.emplace_back(z * float(random(-1, 1)), z * float(random(-0.6, 0.6)), z);
        }
        return made;
    }();
    return points;
}

void UseDepth(Canvas& canvas) {
    canvas.SetView(Space(), {0, 0, kWidth, kHeight});
    canvas.State().depthTest = true;
    canvas.State().depthNear = 0.1;
    canvas.State().depthFar = 100;
}

void PointsInSpace(benchmark::State& state) {
    Canvas canvas = MakeCanvas();
    UseDepth(canvas);
    for (auto _ : state) {
        canvas.ClearDepth(canvas.Clip());
        canvas.Points(ArrayOf(ScatteredInSpace()));
    }
}

void BarePointsInSpace(benchmark::State& state) {
    Frame frame;
    std::vector<float> depth(frame.pixels.size());
    Matrix const m = Space();
    for (auto _ : state) {
        std::fill(depth.begin(), depth.end(), 0.0F);
        for (P3 const& p : ScatteredInSpace()) {
            double const px = double{p.x}, py = double{p.y}, pz = double{p.z};
            double const w = m(2, 0) * px + m(2, 1) * py + m(2, 2) * pz + m(2, 3);
            if (w < 0.1) {
                continue;
            }
            double const near = 1 / w;
            double const x = (m(0, 0) * px + m(0, 1) * py + m(0, 2) * pz + m(0, 3)) * near;
            double const y = (m(1, 0) * px + m(1, 1) * py + m(1, 2) * pz + m(1, 3)) * near;
            if (x >= 0 && y >= 0 && x < kWidth && y < kHeight) {
                auto const at =
                    static_cast<std::size_t>(static_cast<int>(y) * kWidth + static_cast<int>(x));
                if (float(near) >= depth[at]) {
                    depth[at] = float(near);
                    frame.pixels[at] = kInk;
                }
            }
        }
        benchmark::ClobberMemory();
    }
}

// Lines

/// Ends of `count` lines of about that length, inside the picture, in whole pixels.
std::vector<P2> MakeLines(int count, double length) {
    Random random;
    std::vector<P2> made;
    for (int i = 0; i < count; ++i) {
        double const angle = random(0, 6.28);
        double const x = random(210, kWidth - 210);
        double const y = random(210, kHeight - 210);
        made.emplace_back(float(std::floor(x)), float(std::floor(y)));
        made.emplace_back(
            float(std::floor(x + length * std::cos(angle))),
            float(std::floor(y + length * std::sin(angle))));
    }
    return made;
}

std::vector<P2> const& Lines(int length) {
    static std::vector<P2> const brief = MakeLines(100000, 20);
    static std::vector<P2> const lengthy = MakeLines(100000, 200);
    return length == 20 ? brief : lengthy;
}

template <int Length, int Width, bool Smooth>
void DrawLines(benchmark::State& state) {
    Canvas canvas = MakeCanvas();
    canvas.State().lineWidth = Width;
    canvas.State().lineSmooth = Smooth;
    for (auto _ : state) {
        canvas.Lines(ArrayOf(Lines(Length)));
    }
}

template <int Length>
void BareLines(benchmark::State& state) {
    Frame frame;
    for (auto _ : state) {
        std::vector<P2> const& ends = Lines(Length);
        for (std::size_t i = 0; i < ends.size(); i += 2) {
            int x = static_cast<int>(ends[i].x), y = static_cast<int>(ends[i].y);
            int const x1 = static_cast<int>(ends[i + 1].x), y1 = static_cast<int>(ends[i + 1].y);
            int const dx = std::abs(x1 - x), dy = std::abs(y1 - y);
            int const sx = x < x1 ? 1 : -1, sy = y < y1 ? kWidth : -kWidth;
            std::uint32_t* pixel = frame.Row(y) + x;
            int const length = std::max(dx, dy), rise2 = 2 * std::min(dx, dy);
            int const major = dx > dy ? sx : sy, minor = dx > dy ? sy : sx;
            int error = length;
            for (int k = 0; k <= length; ++k) {
                *pixel = kInk;
                pixel += major;
                error += rise2;
                if (error >= 2 * length) {
                    error -= 2 * length;
                    pixel += minor;
                }
            }
        }
        benchmark::ClobberMemory();
    }
}

// Triangles

/// Corners of triangles of about 100 pixels inside the picture, clockwise on the screen.
std::vector<P2> const& SmallTriangles() {
    static std::vector<P2> const corners = [] {
        Random random;
        std::vector<P2> made;
        for (int i = 0; i < 100000; ++i) {
            double const x = random(20, kWidth - 20);
            double const y = random(20, kHeight - 20);
            double const a = random(0, 6.28);
            for (int k = 0; k < 3; ++k) {
                made.emplace_back(
                    float(x + 8.8 * std::cos(a + k * 2.094)),
                    float(y + 8.8 * std::sin(a + k * 2.094)));
            }
        }
        return made;
    }();
    return corners;
}

template <bool Smooth>
void Triangles(benchmark::State& state) {
    Canvas canvas = MakeCanvas();
    canvas.State().lineSmooth = Smooth;
    for (auto _ : state) {
        canvas.Triangles(ArrayOf(SmallTriangles()));
    }
}

/// An edge function and what it grows by to the right and downwards.
struct EdgeFunction {
    float value, perX, perY;
    EdgeFunction(P2 const& p, P2 const& q, float x, float y)
        : value((q.x - p.x) * (y - p.y) - (q.y - p.y) * (x - p.x)), perX(p.y - q.y),
          perY(q.x - p.x) {}
};

/// Calls row(y, x0, x1, a, b, c) with the edge functions at (x0, y) for each row of a triangle's
/// box.
template <class Row>
void ForRows(P2 const* p, Row&& row) {
    int const left = static_cast<int>(std::min({p[0].x, p[1].x, p[2].x}));
    int const right = static_cast<int>(std::max({p[0].x, p[1].x, p[2].x})) + 1;
    int const top = static_cast<int>(std::min({p[0].y, p[1].y, p[2].y}));
    int const bottom = static_cast<int>(std::max({p[0].y, p[1].y, p[2].y})) + 1;
    float const x = float(left) + 0.5F, y = float(top) + 0.5F;
    EdgeFunction a(p[0], p[1], x, y), b(p[1], p[2], x, y), c(p[2], p[0], x, y);
    for (int line = top; line < bottom; ++line) {
        row(line, left, right, a, b, c);
        a.value += a.perY;
        b.value += b.perY;
        c.value += c.perY;
    }
}

void BareTriangles(benchmark::State& state) {
    Frame frame;
    for (auto _ : state) {
        std::vector<P2> const& corners = SmallTriangles();
        for (std::size_t i = 0; i < corners.size(); i += 3) {
            ForRows(
                &corners[i],
                [&](int y, int x0, int x1, auto const& a, auto const& b, auto const& c) {
                    std::uint32_t* pixels = frame.Row(y) + x0;
                    for (int k = 0; k < x1 - x0; ++k) {
                        float const s = float(k);
                        bool const inside = a.value + s * a.perX >= 0 &&
                                            b.value + s * b.perX >= 0 && c.value + s * c.perX >= 0;
                        pixels[k] = inside ? kInk : pixels[k];
                    }
                });
        }
        benchmark::ClobberMemory();
    }
}

#ifdef QUARN_BENCH_OPENCV
template <int Length, int Width>
void PeerLines(benchmark::State& state) {
    cv::setNumThreads(1);
    cv::Mat picture(kHeight, kWidth, CV_8UC4);
    for (auto _ : state) {
        std::vector<P2> const& ends = Lines(Length);
        for (std::size_t i = 0; i < ends.size(); i += 2) {
            cv::line(
                picture,
                cv::Point(int(ends[i].x), int(ends[i].y)),
                cv::Point(int(ends[i + 1].x), int(ends[i + 1].y)),
                cv::Scalar::all(255),
                Width,
                cv::LINE_AA);
        }
    }
}

template <int Kind>
void PeerTriangles(benchmark::State& state) {
    cv::setNumThreads(1);
    cv::Mat picture(kHeight, kWidth, CV_8UC4);
    for (auto _ : state) {
        std::vector<P2> const& corners = SmallTriangles();
        for (std::size_t i = 0; i < corners.size(); i += 3) {
            cv::Point p[3];
            for (std::size_t k = 0; k < 3; ++k) {
                p[k] = {int(corners[i + k].x), int(corners[i + k].y)};
            }
            cv::fillConvexPoly(picture, p, 3, cv::Scalar::all(255), Kind);
        }
    }
}
#endif

// Meshes in space

struct LitVertex {
    P3 position;
    P3 normal;
};

/// Small lit triangles at many distances.
std::vector<LitVertex> const& LitTriangles() {
    static std::vector<LitVertex> const vertices = [] {
        Random random;
        std::vector<LitVertex> made;
        for (int i = 0; i < 300000; ++i) {
            float const z = float(random(2, 20));
            P3 const centre(z * float(random(-0.9, 0.9)), z * float(random(-0.5, 0.5)), z);
            float const a = float(random(0, 6.28));
            for (int k = 0; k < 3; ++k) {
                float const b = a + float(k) * 2.094F;
                P3 const corner(std::cos(b) * 0.005F * z, std::sin(b) * 0.005F * z, 0);
                made.push_back({centre + corner, P3(std::cos(b), std::sin(b), -1.5F)});
            }
        }
        return made;
    }();
    return vertices;
}

void Lit(benchmark::State& state) {
    Canvas canvas = MakeCanvas();
    UseDepth(canvas);
    canvas.State().lights[0] = {
        true, {3, -5, -2}, {40, 40, 40, 255}, {220, 220, 220, 255}, {255, 255, 255, 255}};
    canvas.State().material = {{255, 255, 255, 255}, {0, 0, 0, 255}, 16};
    std::vector<LitVertex> const& vertices = LitTriangles();
    VertexArray array;
    array.position = &vertices[0].position.x;
    array.dimension = 3;
    array.normal = &vertices[0].normal.x;
    array.strideBytes = sizeof vertices[0];
    array.count = vertices.size();
    for (auto _ : state) {
        canvas.ClearDepth(canvas.Clip());
        canvas.Triangles(array);
    }
}

P3 Unit(P3 const& v) {
    return v * (1 / std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z));
}

float Along(P3 const& p, P3 const& q) {
    return p.x * q.x + p.y * q.y + p.z * q.z;
}

/// One value for the three channels, as a lamp of one colour gives.
float Brightness(LitVertex const& v) {
    P3 const normal = Unit(v.normal);
    P3 const lamp = Unit(P3(3, -5, -2) - v.position);
    P3 const half = Unit(lamp + Unit(v.position * -1));
    float shine = std::max(0.0F, Along(normal, half));
    for (int i = 0; i < 4; ++i) {
        shine *= shine;
    }
    return std::min(255.0F, 40 + 220 * std::max(0.0F, Along(normal, lamp)) + 255 * shine);
}

void BareLit(benchmark::State& state) {
    Frame frame;
    std::vector<float> depth(frame.pixels.size());
    for (auto _ : state) {
        std::fill(depth.begin(), depth.end(), 0.0F);
        std::vector<LitVertex> const& vertices = LitTriangles();
        for (std::size_t i = 0; i < vertices.size(); i += 3) {
            std::array<P2, 3> p;
            std::array<float, 3> near{}, shade{};
            for (std::size_t k = 0; k < 3; ++k) {
                P3 const& at = vertices[i + k].position;
                near[k] = 1 / at.z;
                p[k] = {960 + 1000 * at.x * near[k], 540 + 1000 * at.y * near[k]};
                shade[k] = Brightness(vertices[i + k]);
            }
            ForRows(
                p.data(), [&](int y, int x0, int x1, auto const& a, auto const& b, auto const& c) {
                    float const scale = 1 / (a.value + b.value + c.value);
                    auto const at = static_cast<std::size_t>(y * kWidth + x0);
                    for (std::size_t k = 0; k < static_cast<std::size_t>(x1 - x0); ++k) {
                        float const s = float(k);
                        float const u = a.value + s * a.perX, v = b.value + s * b.perX,
                                    w = c.value + s * c.perX;
                        float const z = (u * near[2] + v * near[0] + w * near[1]) * scale;
                        bool const seen = u >= 0 && v >= 0 && w >= 0 && z >= depth[at + k];
                        auto const grey = static_cast<std::uint32_t>(
                            (u * shade[2] + v * shade[0] + w * shade[1]) * scale);
                        depth[at + k] = seen ? z : depth[at + k];
                        frame.pixels[at + k] =
                            seen ? 0xff000000 | grey * 0x10101 : frame.pixels[at + k];
                    }
                });
        }
        benchmark::ClobberMemory();
    }
}

constexpr int kTextureSize = 512;

std::vector<std::uint32_t> const& Texels() {
    static std::vector<std::uint32_t> const texels = [] {
        std::minstd_rand random(3);
        std::vector<std::uint32_t> made(kTextureSize * kTextureSize);
        std::generate(
            made.begin(), made.end(), [&] { return std::uint32_t(random()) | 0xff000000U; });
        return made;
    }();
    return texels;
}

struct TextureVertex {
    float s, t;
    P3 position;
};

/// Triangles that cover half the window each, leaning away from the camera.
std::vector<TextureVertex> const& WindowTriangles() {
    static std::vector<TextureVertex> const vertices = [] {
        std::vector<TextureVertex> made;
        for (int i = 0; i < 100; ++i) {
            float const far = 2 + float(i % 10) * 0.1F;
            made.push_back({0, 0, {-0.96F, -0.54F, 1}});
            made.push_back({1, 0, {0.96F * far, -0.54F * far, far}});
            made.push_back({0, 1, {-0.96F * far, 0.54F * far, far}});
        }
        return made;
    }();
    return vertices;
}

void Textured(benchmark::State& state) {
    Canvas canvas = MakeCanvas();
    canvas.SetView(Space(), {0, 0, kWidth, kHeight});
    canvas.State().texture = {
        reinterpret_cast<unsigned char const*>(Texels().data()),
        kTextureSize,
        kTextureSize,
        kTextureSize * 4,
        Texture::Format::RGBA8};
    std::vector<TextureVertex> const& vertices = WindowTriangles();
    VertexArray array;
    array.position = &vertices[0].position.x;
    array.dimension = 3;
    array.texture = &vertices[0].s;
    array.strideBytes = sizeof vertices[0];
    array.count = vertices.size();
    for (auto _ : state) {
        canvas.Triangles(array);
    }
}

void BareTextured(benchmark::State& state) {
    Frame frame;
    for (auto _ : state) {
        std::vector<TextureVertex> const& vertices = WindowTriangles();
        for (std::size_t i = 0; i < vertices.size(); i += 3) {
            std::array<P2, 3> p;
            std::array<float, 3> near{}, s{}, t{};
            for (std::size_t k = 0; k < 3; ++k) {
                P3 const& at = vertices[i + k].position;
                near[k] = 1 / at.z;
                p[k] = {
                    std::clamp(960 + 1000 * at.x * near[k], 0.0F, kWidth - 1.0F),
                    std::clamp(540 + 1000 * at.y * near[k], 0.0F, kHeight - 1.0F)};
                s[k] = vertices[i + k].s * kTextureSize * near[k];
                t[k] = vertices[i + k].t * kTextureSize * near[k];
            }
            ForRows(
                p.data(), [&](int y, int x0, int x1, auto const& a, auto const& b, auto const& c) {
                    std::uint32_t* pixels = frame.Row(y) + x0;
                    for (int k = 0; k < x1 - x0; ++k) {
                        float const f = float(k);
                        float const u = a.value + f * a.perX, v = b.value + f * b.perX,
                                    w = c.value + f * c.perX;
                        if (u >= 0 && v >= 0 && w >= 0) {
                            float const scale = 1 / (u * near[2] + v * near[0] + w * near[1]);
                            int const tx =
                                static_cast<int>((u * s[2] + v * s[0] + w * s[1]) * scale);
                            int const ty =
                                static_cast<int>((u * t[2] + v * t[0] + w * t[1]) * scale);
                            pixels[k] = Texels()[static_cast<std::size_t>(
                                std::clamp(ty, 0, kTextureSize - 1) * kTextureSize +
                                std::clamp(tx, 0, kTextureSize - 1))];
                        }
                    }
                });
        }
        benchmark::ClobberMemory();
    }
}

// Threads

/// Something of everything: an image behind triangles, points, lines and texts.
class MixedScene : public ui::win::CWidget {
public:
    int Draw(ui::win::CWindowCore* core) override {
        core->RunExtension("soft-image");
        core->DrawImage({0, 0}, {kWidth, kHeight}, m_image);
        core->SetColor({200, 60, 20, 255});
        core->DrawTriangles(SmallTriangles().data(), 20000);
        core->SetColor({20, 200, 60, 255});
        core->DrawPixels(ScatteredPoints().data(), 300000);
        core->DrawLineStream(Lines(20).data(), 20000);
        core->SetLineSmooth(true);
        core->SetColor({20, 60, 200, 128});
        core->SetBlend(ui::win::BlendAlpha);
        core->DrawTriangles(SmallTriangles().data() + 60000, 10000);
        core->DrawLineStream(Lines(200).data(), 2000);
        for (int i = 0; i < 100; ++i) {
            core->DrawText({100.0 + i % 4 * 400, 20.0 + i / 4 * 40, 0}, "some twenty glyphs...");
        }
        return 1;
    }

private:
    ui::win::CWindow::SPImage m_image =
        boost::make_shared<cimage::TImage<cimage::TRGB<unsigned char>>>(640, 480);
};

template <int Threads>
void Mixed(benchmark::State& state) {
    ::setenv("QUARN_DRAW_THREADS", std::to_string(Threads).c_str(), 1);
    ui::win::CreationParams params;
    params.driver = "Offscreen";
    params.width = kWidth;
    params.height = kHeight;
    ui::win::CWindow window(params);
    ::unsetenv("QUARN_DRAW_THREADS");
    window.Layer(0).Push(boost::make_shared<MixedScene>());
    for (auto _ : state) {
        window.Refresh(true);
    }
}

// Growth

/// What this thread has computed for; unlike the clock, it does not run while others do.
double ThreadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double SecondsOf(
    Canvas& canvas, void (Canvas::*operation)(VertexArray const&), VertexArray const& vertices) {
    double best = std::numeric_limits<double>::infinity();
    for (int i = 0; i < 15; ++i) {
        double const start = ThreadSeconds();
        (canvas.*operation)(vertices);
        best = std::min(best, ThreadSeconds() - start);
    }
    return best;
}

/// How many times the time of a hundredth of the vertices all of them take, over a hundred.
template <class P>
double
Growth(void (Canvas::*operation)(VertexArray const&), std::vector<P> const& points, double share) {
    Canvas canvas = MakeCanvas();
    VertexArray few = ArrayOf(points);
    few.count = static_cast<std::size_t>(double(few.count) * share) / 6 * 6;
    double const all = SecondsOf(canvas, operation, ArrayOf(points));
    return all / SecondsOf(canvas, operation, few) * double(few.count) / double(points.size());
}

} // namespace

void RegisterRasterFigures() {
    Compare("1,000,000 points through a zoomed camera", "a bare loop", 1.5, Points, BarePoints);
    Compare(
        "1,000,000 points in space, depth-tested",
        "a bare loop",
        2,
        PointsInSpace,
        BarePointsInSpace);
    Compare(
        "100,000 lines of 20 pixels",
        "a bare Bresenham loop",
        1.3,
        DrawLines<20, 1, false>,
        BareLines<20>);
    Compare(
        "100,000 lines of 200 pixels",
        "a bare Bresenham loop",
        1.3,
        DrawLines<200, 1, false>,
        BareLines<200>);
    Compare(
        "100,000 triangles of 100 pixels",
        "a bare edge-function loop",
        1.3,
        Triangles<false>,
        BareTriangles);
    Compare(
        "100,000 smooth triangles of 100 pixels",
        "the same with hard edges",
        2.5,
        Triangles<true>,
        Triangles<false>);
#ifdef QUARN_BENCH_OPENCV
    Compare(
        "100,000 smooth lines of 20 pixels, width 1",
        "OpenCV",
        0.7,
        DrawLines<20, 1, true>,
        PeerLines<20, 1>);
    Compare(
        "100,000 smooth lines of 20 pixels, width 3",
        "OpenCV",
        0.7,
        DrawLines<20, 3, true>,
        PeerLines<20, 3>);
    Compare(
        "100,000 smooth lines of 200 pixels, width 1",
        "OpenCV",
        0.7,
        DrawLines<200, 1, true>,
        PeerLines<200, 1>);
    Compare(
        "100,000 smooth lines of 200 pixels, width 3",
        "OpenCV",
        0.7,
        DrawLines<200, 3, true>,
        PeerLines<200, 3>);
    Compare(
        "100,000 triangles of 100 pixels, peer",
        "OpenCV fillConvexPoly",
        0.5,
        Triangles<false>,
        PeerTriangles<cv::LINE_8>);
    Compare(
        "100,000 smooth triangles of 100 pixels, peer",
        "OpenCV fillConvexPoly",
        0.5,
        Triangles<true>,
        PeerTriangles<cv::LINE_AA>);
#endif
    Compare("300,000 small lit triangles in space", "a bare loop", 1.5, Lit, BareLit);
    Compare(
        "100 window-sized textured triangles in space", "a bare loop", 1.5, Textured, BareTextured);
    Compare("the frame time of a mixed scene on two threads", "on one", 0.65, Mixed<2>, Mixed<1>);
    for (double const share : {0.1, 0.01}) {
        char const* const times = share > 0.05 ? "10 times as many " : "100 times as many ";
        Report(std::string(times) + "lines", "10 or 100 times the time", 1.3, [=] {
            return Growth(&Canvas::Lines, Lines(20), share);
        });
        Report(std::string(times) + "triangles", "10 or 100 times the time", 1.3, [=] {
            return Growth(&Canvas::Triangles, SmallTriangles(), share);
        });
        Report(std::string(times) + "points", "10 or 100 times the time", 1.3, [=] {
            return Growth(&Canvas::Points, ScatteredPoints(), share);
        });
    }
}

} // namespace bench
