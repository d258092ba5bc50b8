#include "bench/Compare.h"
#include "ui/win/CWindow.h"
#include "ui/win/CWindowNullCore.h"
#include "ui/win/camera/NavigationPlayer.h"

#ifdef QUARN_BENCH_GLES
#include "bench/BareGles.h"
#endif

#include <boost/make_shared.hpp>

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace bench {

namespace {

using namespace ui::win;
using P3 = math::Point3<float>;

constexpr unsigned kWidth = 1920;
constexpr unsigned kHeight = 1080;
constexpr double kNear = 0.1;
constexpr double kFar = 100;
constexpr unsigned kTextureEdge = 512;

/// The same numbers in every run, from lo to hi.
class Random {
public:
    float operator()(float lo, float hi) {
        return lo + (hi - lo) * static_cast<float>(m_engine() % 4096) / 4096;
    }

private:
    std::minstd_rand m_engine{7};
};

/// At the origin, looking along x; z is up, y to the left. Pixels are square in the big window.
boost::shared_ptr<CCamera3D> MakeCamera() {
    auto camera = boost::make_shared<CCamera3D>(false);
    camera->SetKCamera(0, 1.0, double{kWidth} / kHeight, 0, 0, 0, 0, 0, 0, 0, 0);
    return camera;
}

CreationParams OfSize(unsigned width, unsigned height) {
    CreationParams params;
    params.driver = "Offscreen";
    params.width = width;
    params.height = height;
    return params;
}

/// A place that the camera sees, at a distance.
P3 Seen(Random& random, float distance) {
    float const left = distance * random(-0.95F, 0.95F);
    return {distance, left, distance * random(-0.5F, 0.5F)};
}

std::vector<P3> const& ScatteredPoints() {
    static std::vector<P3> const points = [] {
        Random random;
        std::vector<P3> made;
        for (int i = 0; i < 1000000; ++i) {
            made.push_back(Seen(random, random(1, 20)));
        }
        return made;
    }();
    return points;
}

/// Triangles of position and normal at each corner, about ten pixels wide and facing the camera.
std::vector<P3> const& LitTriangles() {
    static std::vector<P3> const vertices = [] {
        Random random;
        std::vector<P3> made;
        for (int i = 0; i < 300000; ++i) {
            float const distance = random(2, 20);
            P3 const centre = Seen(random, distance);
            float const turned = random(0, 6.28F);
            for (int k = 0; k < 3; ++k) {
                float const angle = turned - 2.0944F * static_cast<float>(k);
                P3 const out(0, std::cos(angle), std::sin(angle));
                made.push_back(centre + out * (0.005F * distance));
                made.push_back(out + P3(-1.5F, 0, 0));
            }
        }
        return made;
    }();
    return vertices;
}

/// Triangles that cover half the window each, leaning away from the camera.
std::vector<T2F_V3F_t> const& WindowTriangles() {
    static std::vector<T2F_V3F_t> const vertices = [] {
        std::vector<T2F_V3F_t> made;
        for (int i = 0; i < 100; ++i) {
            float const near = 1.1F - 0.001F * static_cast<float>(i); // each before the last one
            float const far = near * (2 + 0.1F * static_cast<float>(i % 10));
            constexpr float half = 9.0F / 16;
            made.push_back({0, 0, near, near, near * half});
            made.push_back({1, 0, far, -far, far * half});
            made.push_back({0, 1, far, far, -far * half});
        }
        return made;
    }();
    return vertices;
}

std::vector<std::uint32_t> const& Texels() {
    static std::vector<std::uint32_t> const texels = [] {
        std::minstd_rand random(3);
        std::vector<std::uint32_t> made(std::size_t{kTextureEdge} * kTextureEdge);
        std::generate(made.begin(), made.end(), [&] {
            return static_cast<std::uint32_t>(random()) | 0xff000000U;
        });
        return made;
    }();
    return texels;
}

class Points : public CWidget {
public:
    int Draw(CWindowCore* core) override {
        std::vector<P3> const& points = ScatteredPoints();
        return core->DrawPixels(points.data(), static_cast<unsigned>(points.size())) ? 1 : 0;
    }
};

/// A part of the lit triangles.
class Lit : public CWidget {
public:
    explicit Lit(unsigned count) : m_count(count) {}
    int Draw(CWindowCore* core) override {
        core->EnableLight(
            0, {-2, -3, 5}, {38, 38, 38, 255}, {217, 217, 217, 255}, {255, 255, 255, 255});
        core->SetColorEx({255, 255, 255, 255}, {255, 255, 255, 255}, {0, 0, 0, 255}, 16);
        return core->DrawTrianglesV3FN3F(LitTriangles().data(), m_count) ? 1 : 0;
    }

private:
    unsigned m_count;
};

class Textured : public CWidget {
public:
    int Draw(CWindowCore* core) override {
        core->BindImage(m_image);
        std::vector<T2F_V3F_t> const& vertices = WindowTriangles();
        return core->DrawTriangles(vertices.data(), static_cast<unsigned>(vertices.size() / 3));
    }

private:
    static CWindow::SPImage MakeImage() {
        using Pixel = cimage::TRGBA<unsigned char>;
        auto image = boost::make_shared<cimage::TImage<Pixel>>(kTextureEdge, kTextureEdge);
        for (unsigned y = 0; y < kTextureEdge; ++y) {
            std::memcpy(
                static_cast<void*>((*image)[y]),
                &Texels()[std::size_t{y} * kTextureEdge],
                kTextureEdge * sizeof(Pixel));
        }
        return image;
    }
    CWindow::SPImage const m_image = MakeImage();
};

/// A window onto one drawable.
struct Scene {
    Scene(SPDrawingObject item, unsigned width, unsigned height)
        : window(OfSize(width, height)), camera(MakeCamera()) {
        window.SetCamera(camera);
        window.EnableZBuffer(kNear, kFar);
        window.Layer(0).Push(std::move(item));
    }
    CWindow window;
    boost::shared_ptr<CCamera3D> camera;
};

void Draw(benchmark::State& state, SPDrawingObject const& item) {
    Scene scene(item, kWidth, kHeight);
    for (auto _ : state) {
        scene.window.Refresh(true);
    }
}

#ifdef QUARN_BENCH_GLES
template <class V>
std::vector<float> Floats(std::vector<V> const& vertices) {
    std::vector<float> floats(vertices.size() * sizeof(V) / sizeof(float));
    std::memcpy(floats.data(), vertices.data(), floats.size() * sizeof(float));
    return floats;
}

void DrawBare(
    benchmark::State& state,
    BareGles::Kind kind,
    std::vector<float> const& vertices,
    std::vector<std::uint32_t> const& texels = {}) {
    math::TMatrix<double, 3, 4> view;
    CCamera3D::KCameraMatrix(view, MakeCamera()->Params());
    float toClip[16];
    for (int column = 0; column < 4; ++column) {
        double const depth =
            (view(2, column) * (kFar + kNear) - (column == 3 ? 2 * kFar * kNear : 0)) /
            (kFar - kNear);
        double const rows[] = {view(0, column), view(1, column), depth, view(2, column)};
        std::copy(rows, rows + 4, toClip + 4 * column);
    }
    BareGles gles(kind, kWidth, kHeight, toClip, vertices, texels);
    for (auto _ : state) {
        gles.Frame();
    }
}
#endif

void ToScreen(benchmark::State& state) {
    CreationParams params = OfSize(kWidth, kHeight);
    params.driver = "None";
    CWindowNullCore core(params);
    core.SetViewPort(ViewPortCamera, nullptr, MakeCamera());
    std::vector<P3> const& points = ScatteredPoints();
    std::vector<math::Point2<float>> screen(points.size());
    for (auto _ : state) {
        core.WindowToScreen(points.data(), points.size(), screen.data());
        benchmark::DoNotOptimize(screen.data());
        benchmark::ClobberMemory();
    }
}

void BareToScreen(benchmark::State& state) {
    math::TMatrix<double, 3, 4> toPixels;
    toPixels << 960, -960, 0, 0, 540, 0, -960, 0, 1, 0, 0, 0;
    std::vector<P3> const& points = ScatteredPoints();
    std::vector<Eigen::Vector2f> screen(points.size());
    for (auto _ : state) {
        for (std::size_t i = 0; i < points.size(); ++i) {
            Eigen::Vector3d const place(points[i].x, points[i].y, points[i].z);
            screen[i] = (toPixels * place.homogeneous()).hnormalized().cast<float>();
        }
        benchmark::DoNotOptimize(screen.data());
        benchmark::ClobberMemory();
    }
}

// A path

constexpr unsigned kTriangles = 20000;
constexpr int kSegments = 5;
constexpr double kFrameTime = 0.2;

Navigation::Segment SegmentOf(int number) {
    Navigation::Segment segment;
    segment.begin = segment.end = MakeCamera()->Params();
    segment.begin.x = 0.1 * number;
    segment.end.x = 0.1 * (number + 1);
    segment.smoothingPosition = Navigation::Segment::CUBIC_SPLINE;
    segment.duration = 1;
    return segment;
}

Scene MakeTour() {
    return {boost::make_shared<Lit>(kTriangles), 640, 360};
}

void RenderPath(benchmark::State& state) {
    Scene scene = MakeTour();
    auto const path = boost::make_shared<Navigation>(scene.camera);
    for (int i = 0; i < kSegments; ++i) {
        path->AddSegment(SegmentOf(i));
    }
    NavigationPlayer player(path);
    for (auto _ : state) {
        player.Render(scene.window, kFrameTime, {});
    }
}

void RenderByHand(benchmark::State& state) {
    Scene scene = MakeTour();
    for (auto _ : state) {
        for (int frame = 0; frame <= kSegments / kFrameTime; ++frame) {
            CCamera3D::Parameters place = MakeCamera()->Params();
            place.x = 0.1 * kFrameTime * frame;
            scene.camera->SetParams(place);
            scene.window.Refresh(true);
        }
    }
}

} // namespace

void RegisterCameraFigures() {
    Compare("WindowToScreen of 1,000,000 points", "a bare Eigen loop", 1.5, ToScreen, BareToScreen);
    Compare(
        "a camera path, drawn frame by frame", "the same by hand", 1.1, RenderPath, RenderByHand);
#ifdef QUARN_BENCH_GLES
    if (!BareGles::IsInstalled()) {
        return;
    }
    Compare(
        "1,000,000 points in space, a frame",
        "a bare OpenGL ES 3 program on llvmpipe",
        0.2,
        [](benchmark::State& state) { Draw(state, boost::make_shared<Points>()); },
        [](benchmark::State& state) {
            DrawBare(state, BareGles::Kind::Points, Floats(ScatteredPoints()));
        });
    Compare(
        "300,000 small lit triangles, a frame",
        "a bare OpenGL ES 3 program on llvmpipe",
        1,
        [](benchmark::State& state) { Draw(state, boost::make_shared<Lit>(300000)); },
        [](benchmark::State& state) {
            DrawBare(state, BareGles::Kind::Lit, Floats(LitTriangles()));
        });
    Compare(
        "100 window-sized textured triangles, a frame",
        "a bare OpenGL ES 3 program on llvmpipe",
        1.5,
        [](benchmark::State& state) { Draw(state, boost::make_shared<Textured>()); },
        [](benchmark::State& state) {
            DrawBare(state, BareGles::Kind::Textured, Floats(WindowTriangles()), Texels());
        });
#endif
}

} // namespace bench
