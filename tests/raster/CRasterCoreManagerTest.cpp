#include "drivers/raster/CRasterCoreManager.h"

#include "drivers/support/RenderThread.h"
#include "raster/CanvasHelpers.h"
#include "support/CapturedOutput.h"
#include "support/IniGuard.h"
#include "support/TestParams.h"
#include "ui/win/CWidget.h"
#include "ui/win/Event.h"
#include "ui/win/camera/CWindowCamera2D.h"
#include "ui/win/image/ConstantImage.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <vector>

namespace tests {

namespace {

using namespace ui::win;
using drivers::raster::CRasterCoreManager;
using drivers::support::RenderThread;
using P2 = math::Point2<float>;
using P3 = math::Point3<float>;

constexpr Colour kRed(255, 0, 0, 255);
constexpr Colour kGreen(0, 255, 0, 255);

CreationParams Params(boost::shared_ptr<CCamera> const& camera) {
    CreationParams params = MakeParams("");
    params.camera = camera;
    return params;
}

/// A core that is drawn into on the test's own thread. Its camera shows two pixels a world unit.
class Core : public CRasterCoreManager {
public:
    Core()
        : CRasterCoreManager(
              Params(boost::make_shared<CCamera2D>(0.0, 0.0, 32.0, 24.0, 0.0)),
              boost::make_shared<RenderThread>()) {}
    ~Core() override { Shutdown(); }
    std::string GetConnectionString() const override { return ""; }

    using CRasterCoreManager::BeginFrame;
    using CRasterCoreManager::FinishFrame;
    using CRasterCoreManager::Invalidate;
    using CRasterCoreManager::Picture;

    void StartInPixels() {
        BeginFrame();
        SetViewPort(ViewPortPixels, nullptr, {});
    }
};

TEST(RasterCoreManager, DrawsWithTheThreadsThatTheEnvironmentElseTheFileAsksFor) {
    struct Case {
        char const* environment; // null where not set
        char const* key;
        unsigned threads; // 0 stands for one a processor
        char const* refused = "";
    };
    for (Case const& c :
         {Case{nullptr, nullptr, 0},
          Case{nullptr, "3", 3},
          Case{"2", "3", 2},
          Case{"", "3", 0},
          Case{nullptr, "99", 64},
          Case{nullptr, "many", 0, "many"},
          Case{"-1", "3", 0, "-1"}}) {
        IniGuard guard;
        if (c.key != nullptr) {
            guard.ini.Set("DRAW THREADS", c.key);
        }
        c.environment ? setenv("QUARN_DRAW_THREADS", c.environment, 1)
                      : unsetenv("QUARN_DRAW_THREADS");
        auto const wanted = drivers::raster::Workers::Shared(c.threads);
        auto const owners = wanted.use_count();
        CapturedOutput output;
        Core const core;
        EXPECT_EQ(wanted.use_count(), owners + 1) << c.threads;
        std::string const said = "[WW] CRasterCoreManager: \"" + std::string(c.refused) +
                                 "\" is no number of drawing threads\n";
        EXPECT_EQ(output.Text().find(said) != std::string::npos, *c.refused != '\0') << said;
    }
    unsetenv("QUARN_DRAW_THREADS");
}

TEST(RasterCoreManager, CountsPrimitivesNotVertices) {
    P2 const plane[8] = {{1, 1}, {9, 1}, {9, 9}, {1, 9}, {21, 1}, {29, 1}, {29, 9}, {21, 9}};
    P3 space[8];
    C4UB_V3F_t coloured[8];
    P3 withNormals[12];
    for (int i = 0; i < 8; ++i) {
        space[i] = {plane[i].x, plane[i].y, 7};
        coloured[i] = {255, 255, 255, 255, plane[i].x, plane[i].y, 7};
    }
    for (std::size_t i = 0; i < 6; ++i) {
        withNormals[i * 2] = space[i + i / 3];
    }
    struct Case {
        char const* what;
        int lit;
        std::function<bool(Core&)> draw;
    };
    for (Case const& c : std::initializer_list<Case>{
             {"pixels", 3, [&](Core& c) { return c.DrawPixels(plane, 3); }},
             {"pixels in space", 3, [&](Core& c) { return c.DrawPixels(space, 3); }},
             {"coloured pixels", 3, [&](Core& c) { return c.DrawPixels(coloured, 3); }},
             {"lines", 18, [&](Core& c) { return c.DrawLineStream(plane, 2); }},
             {"lines in space", 18, [&](Core& c) { return c.DrawLineStream(space, 2); }},
             {"coloured lines", 18, [&](Core& c) { return c.DrawLineStream(coloured, 2); }},
             {"polyline", 32, [&](Core& c) { return c.DrawPolyLine(plane, 4, true); }},
             {"polyline in space", 25, [&](Core& c) { return c.DrawPolyLine(space, 4, false); }},
             {"quads", 128, [&](Core& c) { return c.DrawQuads(plane, 2); }},
             {"quads in space", 128, [&](Core& c) { return c.DrawQuads(space, 2); }},
             {"coloured quads", 128, [&](Core& c) { return c.DrawQuads(coloured, 2); }},
             {"triangle", 36, [&](Core& c) { return c.DrawTriangles(plane, 1); }},
             {"triangle in space", 36, [&](Core& c) { return c.DrawTriangles(space, 1); }},
             {"coloured triangle", 36, [&](Core& c) { return c.DrawTriangles(coloured, 1); }},
             {"triangles with normals",
              72,
              [&](Core& c) { return c.DrawTrianglesV3FN3F(withNormals, 2); }},
             {"nothing", 0, [](Core& core) {
                  P2 const* none = nullptr;
                  return core.DrawPixels(none, 0) && core.DrawPolyLine(none, 0, true);
              }}}) {
        Core core;
        core.StartInPixels();
        EXPECT_TRUE(c.draw(core)) << c.what;
        EXPECT_EQ(LitPixels(core.Picture()), c.lit) << c.what << '\n' << Map(core.Picture());
    }
}

TEST(RasterCoreManager, MapsEveryViewPortModeAndClipsToTheViewPort) {
    struct Case {
        ViewPortMode mode = ViewPortKeep;
        math::Rect2<int> box; // where the box (0, 0) - (4, 0.5) is seen
    };
    for (Case const& c :
         {Case{ViewPortPixels, {16, 24, 20, 25}},
          Case{ViewPortFractions, {16, 24, 48, 36}},
          Case{ViewPortCamera, {16, 24, 20, 25}}}) {
        Core core;
        core.BeginFrame();
        CWindowViewPort half = CWindowViewPort::Fractions(0.25F, 0.5F, 0.75F, 1);
        core.SetViewPort(c.mode, &half, {});
        if (c.mode == ViewPortPixels) {
            core.SetTranslation(16, 24, false);
            core.DrawBox(0, 0, 4, 0.5 + 0.25, true);
        } else {
            core.DrawBox(0, 0, 4, c.mode == ViewPortCamera ? 0.6 : 0.5, true);
        }
        core.SetTranslation(-100, -100, true);
        core.DrawBox(0, 0, 1, 1, true); // outside
        math::Rect2<int> const& b = c.box;
        EXPECT_EQ(LitPixels(core.Picture()), b.Width() * b.Height()) << c.mode;
        EXPECT_EQ(core.Picture().Read(b.left, b.top), kWhite) << c.mode;
        EXPECT_EQ(core.Picture().Read(b.right - 1, b.bottom - 1), kWhite) << c.mode;
    }
}

TEST(RasterCoreManager, TexturesTheBoundImageInItsOwnColours) {
    Core core;
    core.StartInPixels();
    T2F_V3F_t const quad[4] = {{0, 0, 0, 0, 0}, {1, 0, 2, 0, 0}, {1, 1, 2, 2, 0}, {0, 1, 0, 2, 0}};
    core.SetColor({255, 51, 0, 255});
    core.DrawQuads(quad, 1);
    EXPECT_EQ(core.Picture().Read(1, 1), Colour(255, 51, 0, 255)) << "no image bound";
    auto const grey = boost::make_shared<cimage::TImage<unsigned char>>(2, 2);
    (*grey)(1, 1) = 100;
    EXPECT_TRUE(core.BindImage(grey));
    core.DrawQuads(quad, 1);
    EXPECT_EQ(core.Picture().Read(1, 1), Colour(100, 100, 100, 255));
    core.SetBlend(BlendAlpha);
    core.SetColor({255, 51, 0, 51}); // a fifth of grey over itself
    core.DrawQuads(quad, 1);
    core.DrawBox(0, 0, 1, 1, true);
    EXPECT_EQ(core.Picture().Read(1, 1), Colour(100, 100, 100, 255));
    EXPECT_EQ(core.Picture().Read(0, 0), Colour(51, 10, 0, 255)) << "the colour is kept";
    core.SetBlend(BlendOpaque);
    core.BindImage(boost::make_shared<cimage::TImage<unsigned char>>(0, 2));
    core.SetColor(kGreen);
    core.DrawQuads(quad, 1);
    EXPECT_EQ(core.Picture().Read(1, 1), Colour(100, 100, 100, 255)) << "an image without pixels";
}

TEST(RasterCoreManager, ConvertsAnImageOnceAFrameAndKeepsNoneAfterwards) {
    Core core;
    core.StartInPixels();
    auto const deep = boost::make_shared<cimage::TImage<unsigned short>>(2, 2);
    boost::shared_ptr<cimage::CImage const> const image = deep;
    for (unsigned short const count :
         {std::uint16_t{0x1000}, std::uint16_t{0x2000}}) { // changed within the frame
        (*deep)(0, 0) = count;
        core.DrawImage(P2(0, 0), P2(2, 2), image);
        core.BindImage(boost::make_shared<cimage::TImage<unsigned char>>(1, 1));
    }
    EXPECT_EQ(core.Picture().Read(0, 0).r, 0x10);
    core.SetImageRange({ImageRange::Counts, std::nan(""), 1});
    core.DrawImage(P2(0, 0), P2(2, 2), image);
    (*deep)(0, 0) = 0x3000;
    core.DrawImage(P2(0, 0), P2(2, 2), image);
    EXPECT_EQ(core.Picture().Read(0, 0).r, 0x20) << "a range that is none is the same again";
    core.FinishFrame();
    EXPECT_EQ(deep.use_count(), 2) << "this test's two references";
    core.StartInPixels();
    core.DrawImage(P2(0, 0), P2(2, 2), image);
    EXPECT_EQ(core.Picture().Read(0, 0).r, 0x30);
}

TEST(RasterCoreManager, InterpolatesImagesBetweenTheTwoExtensions) {
    Core core;
    core.StartInPixels();
    auto const image = boost::make_shared<cimage::TImage<unsigned char>>(2, 1);
    (*image)(1, 0) = 200;
    auto const shown = [&] {
        core.DrawImage(P2(0, 0), P2(8, 1), image);
        return core.Picture().Read(3, 0).r;
    };
    EXPECT_EQ(shown(), 0);
    core.RunExtension("soft-image");
    EXPECT_EQ(shown(), 75);
    core.RunExtension("something-else");
    core.RunExtension("no-soft-image");
    EXPECT_EQ(shown(), 0);
    core.SetInterpolation(true);
    core.RunExtension("no-soft-image");
    EXPECT_EQ(shown(), 75) << "the window's own choice comes back";
}

/// The smallest rectangle around what is lit.
math::Rect2<int> LitRectangle(Canvas const& canvas) {
    math::Rect2<int> r(canvas.Width(), canvas.Height(), 0, 0);
    ForPixels(canvas, [&](int x, int y, Colour c) {
        if (c != kBlack) {
            r.left = std::min(r.left, x);
            r.top = std::min(r.top, y);
            r.right = std::max(r.right, x + 1);
            r.bottom = std::max(r.bottom, y + 1);
        }
    });
    return r;
}

TEST(RasterCoreManager, TextSizesArePixelsOrWorldUnits) {
    Core core;
    math::Rect2<double> inPixels;
    math::Rect2<double> inCamera;
    math::Rect2<double> inWorld;
    core.BeginFrame();
    core.SetFontSizeEx(20, 20, false);
    EXPECT_TRUE(core.GetTextSize(inCamera, "HH"));
    core.DrawText({4, 3, 0}, "HH");
    math::Rect2<int> const upright = LitRectangle(core.Picture());
    core.BeginFrame();
    core.SetFontSizeEx(10, 10, true); // two pixels a unit: the same picture
    EXPECT_TRUE(core.GetTextSize(inWorld, "HH"));
    core.DrawText({4, 3, 0}, "HH");
    EXPECT_EQ(LitRectangle(core.Picture()), upright);
    core.StartInPixels();
    core.SetFontSizeEx(20, 20, false);
    EXPECT_TRUE(core.GetTextSize(inPixels, "HH"));
    core.DrawText({8, 6, 0}, "HH");
    EXPECT_EQ(LitRectangle(core.Picture()), upright);
    EXPECT_NEAR(upright.Width(), inPixels.Width(), 6);
    EXPECT_NEAR(inCamera.Width() * 2, inPixels.Width(), 1e-9) << "units of the view";
    EXPECT_NEAR(inWorld.Width() * 2, inPixels.Width(), 1);
    core.StartInPixels();
    core.SetTextAlign(AlignRight, AlignBaseline);
    core.SetFontSizeEx(20, 20, false);
    core.DrawText({60, 40, 0}, "HH");
    math::Rect2<int> const aligned = LitRectangle(core.Picture());
    EXPECT_EQ(aligned.bottom, 40);
    EXPECT_NEAR(aligned.right, 59, 2);
}

TEST(RasterCoreManager, TextInWorldUnitsTurnsWithTheView) {
    for (bool const world : {false, true}) {
        Core core;
        core.BeginFrame();
        double const quarter = 1.5707963267948966;
        core.SetViewPort(
            ViewPortCamera, nullptr, boost::make_shared<CCamera2D>(0.0, 0.0, 32.0, 24.0, quarter));
        core.SetFontSizeEx(world ? 6 : 12, world ? 6 : 12, world);
        core.SetTextAlign(AlignCentre, AlignCentre);
        core.DrawText({16, 12, 0}, "HHH");
        math::Rect2<int> const lit = LitRectangle(core.Picture());
        EXPECT_EQ(lit.Height() > 2 * lit.Width(), world);
        EXPECT_EQ(lit.Width() > 2 * lit.Height(), !world);
    }
}

TEST(RasterCoreManager, ShortensTextsToTheRoomBesideTheFurtherText) {
    Core core;
    core.StartInPixels();
    std::string const text = "calibration board";
    math::Rect2<double> whole;
    math::Rect2<double> further;
    core.GetTextSize(whole, text.c_str());
    core.GetTextSize(further, " 12.5");
    std::string result;
    double const room = whole.Width() + further.Width();
    EXPECT_TRUE(core.EllipseText({0, 0, 0}, result, text, " 12.5", room + 0.5));
    EXPECT_EQ(result, text);
    EXPECT_TRUE(core.EllipseText({0, 0, 0}, result, text, " 12.5", room - 20));
    EXPECT_EQ(result.substr(0, 5), "calib");
    EXPECT_EQ(result.substr(result.size() - 3), "\xE2\x80\xA6");
    // The same room in units of a view that shows two pixels for each, with letters in pixels or in
    // those units.
    for (double const size : {12.0, 6.0}) {
        std::string inView;
        core.BeginFrame();
        core.SetFontSizeEx(size, size, size < 12);
        EXPECT_TRUE(core.EllipseText({4, 4, 0}, inView, text, " 12.5", (room - 20) / 2));
        EXPECT_EQ(inView, result) << size;
    }
}

/// Draws a box of one colour in window pixels and counts how often.
struct Patch : CWidget {
    Patch(Colour c, double x) : colour(c), left(x) {}
    int Draw(CWindowCore* core) override {
        ++drawn;
        core->SetColor(colour);
        core->SetViewPort(ViewPortPixels, nullptr, {});
        core->DrawBox(left, 0, left + 10, 10, true);
        return 1;
    }
    Colour colour;
    double left;
    int drawn = 0;
};

TEST(RasterCoreManager, ReadsTheFrameBackAsAnyPixelType) {
    Core core;
    core.DrawerList().Layers()[0].Push(boost::make_shared<Patch>(Colour(90, 90, 90, 255), 0));
    cimage::TImage<cimage::TRGB<unsigned char>> rgb(1, 1);
    cimage::TImage<unsigned short> deep(1, 1);
    EXPECT_TRUE(core.GetImage(rgb) && core.GetImage(deep));
    EXPECT_EQ(rgb.Width() * 1000 + rgb.Height(), 64048U);
    EXPECT_EQ(rgb(9, 9).g, 90);
    EXPECT_EQ(rgb(10, 9).g, 0);
    EXPECT_EQ(deep(9, 9), 90 * 257);
}

/// Looks along z from the origin, half a unit to either side at distance 1; no aspect correction.
struct SpaceCamera : CCamera {
    void GetMatrix(CWindowCore*, math::TMatrix<double, 3, 4>& m) override {
        m << 2, 0, 0, 0, 0, -2, 0, 0, 0, 0, 1, 0;
    }
    void GetRestInverseUVWMatrix(CWindowCore*, math::TMatrix<double, 3, 4>&) override {}
    bool Interact(CWindowCoreManager*, Event const&) override { return false; }
    void Draw(CWindowCore*) override {}
};

/// A square facing the camera that fills the view at distance 1.
void DrawWall(Core& core, Colour colour, float distance) {
    core.SetColor(colour);
    P3 const quad[4] = {{-4, -4, distance}, {4, -4, distance}, {4, 4, distance}, {-4, 4, distance}};
    core.DrawQuads(quad, 1);
}

TEST(RasterCoreManager, KeepsDepthsForOneCameraInOnePlace) {
    Core core;
    auto const camera = boost::make_shared<SpaceCamera>();
    core.BeginFrame();
    core.SetViewPort(ViewPortCamera, nullptr, camera);
    EXPECT_TRUE(core.EnableZBuffer(0.5, 50));
    DrawWall(core, kRed, 2);
    DrawWall(core, kGreen, 3);
    EXPECT_EQ(core.Picture().Read(30, 20), kRed);
    core.SetViewPort(ViewPortPixels, nullptr, {});
    core.DrawBox(0, 0, 5, 5, true);
    EXPECT_EQ(core.Picture().Read(2, 2), kGreen) << "window pixels lie over everything";
    core.SetViewPort(ViewPortCamera, nullptr, camera);
    core.DisableZBuffer();
    core.EnableZBuffer(0.5, 50);
    DrawWall(core, kGreen, 3);
    EXPECT_EQ(core.Picture().Read(30, 20), kRed) << "the same view goes on";
    CWindowViewPort half = CWindowViewPort::Fractions(0, 0, 0.5F, 1);
    core.SetViewPort(ViewPortCamera, &half, camera);
    DrawWall(core, kGreen, 3);
    EXPECT_EQ(core.Picture().Read(30, 20), kGreen) << "a view over another one is seen whole";
    EXPECT_EQ(core.Picture().Read(40, 20), kRed);
    core.BeginFrame();
    core.SetViewPort(ViewPortCamera, nullptr, camera);
    DrawWall(core, kRed, 2);
    DrawWall(core, kGreen, 3);
    EXPECT_EQ(core.Picture().Read(30, 20), kGreen) << "a frame begins without a depth test";
}

using Deep = cimage::TImage<unsigned short>;

/// Counts 0, 1000, 2000, ... row by row.
boost::shared_ptr<Deep> Ramp(unsigned width, unsigned height) {
    auto const image = boost::make_shared<Deep>(width, height);
    for (unsigned i = 0; i < width * height; ++i) {
        (*image)(i % width, i / width) = static_cast<unsigned short>(i * 1000);
    }
    return image;
}

TEST(RasterCoreManager, ShowsBoundImagesBetweenTwoCountsAndInColours) {
    Core core;
    core.StartInPixels();
    auto const image = Ramp(4, 1);
    auto const shown = [&](float y) {
        core.DrawImage(P2(0, y), P2(4, y + 1), image);
        return core.Picture().Read(2, static_cast<int>(y));
    };
    EXPECT_EQ(shown(0), Colour(7, 7, 7, 255)) << "the high byte";
    core.SetImageRange({ImageRange::Counts, 0, 2550});
    EXPECT_EQ(shown(1), Colour(200, 200, 200, 255));
    core.SetColorMap(ColorMapViridis);
    EXPECT_EQ(shown(2), drivers::raster::CountMapping::ColourOf(ColorMapViridis, 200));
    core.SetImageRange({ImageRange::Percentiles, 0, 75});
    EXPECT_EQ(shown(3), drivers::raster::CountMapping::ColourOf(ColorMapViridis, 255));
    core.StartInPixels();
    EXPECT_EQ(shown(0), Colour(7, 7, 7, 255)) << "a frame begins without";
}

TEST(RasterCoreManager, KeepsWhatItMadeOfAConstantImageWhileThatIsDrawn) {
    Core core;
    auto const image = Ramp(4, 1);
    auto constant = MakeConstant(image);
    auto const shown = [&] {
        core.StartInPixels();
        core.DrawImage(P2(0, 0), P2(4, 1), constant);
        core.FinishFrame();
        return core.Picture().Read(1, 0).r;
    };
    EXPECT_EQ(shown(), 3);
    (*image)(1, 0) = 0x2000; // as nobody does with a constant image
    EXPECT_EQ(shown(), 3) << "not converted again";
    core.StartInPixels();
    core.FinishFrame();
    EXPECT_EQ(shown(), 0x20) << "a frame without it forgets";
    constant.reset();
    EXPECT_EQ(image.use_count(), 1);
}

/// Draws whatever a test wants, in the pass that a query begins.
struct Scene : CWidget {
    explicit Scene(std::function<void(CWindowCore&)> draw) : drawing(std::move(draw)) {}
    int Draw(CWindowCore* core) override {
        core->SetViewPort(ViewPortPixels, nullptr, {});
        drawing(*core);
        return 1;
    }
    std::function<void(CWindowCore&)> drawing;
};

TEST(RasterCoreManager, TellsTheCountsOfTheTopmostImageAtAPixel) {
    Core core;
    struct Case {
        char const* what;
        int x;
        int y;
        int count; // in thousands, -1 where there is none
    };
    auto const wide = Ramp(4, 2);
    bool drawnYet = false;
    auto const small = Ramp(1, 1);
    (*small)(0, 0) = 9000;
    core.DrawerList().Layers()[0].Push(boost::make_shared<Scene>([&](CWindowCore& in) {
        in.SetImageRange({ImageRange::Counts, 0, 10});
        in.DrawImage(P2(10, 10), P2(18, 14), wide);
        in.DrawImage(P2(40, 10), P2(32, 14), wide); // mirrored
        CWindowViewPort left = CWindowViewPort::Pixels(0, 0, 40, 48);
        in.SetViewPort(ViewPortKeep, &left, {});
        in.DrawImage(P2(16, 0), P2(60, 11), small);
        in.DrawImage(P2(10, 10), P2(18, 14), boost::make_shared<Deep>(3, 0));
        in.DrawBox(0, 0, 64, 48, true);
        ImageCounts sofar;
        drawnYet = core.GetImageCounts(10, 10, sofar);
        in.DrawBox(0, 0, 64, 48, true);
    }));
    for (Case const& c : std::vector<Case>{
             {"first pixel", 10, 10, 0},
             {"its far edge", 11, 11, 0},
             {"second pixel", 12, 11, 1},
             {"second row", 10, 12, 4},
             {"last pixel", 17, 13, 7},
             {"beside", 18, 12, -1},
             {"below", 17, 14, -1},
             {"under another one", 16, 10, 9},
             {"beside that one", 15, 10, 2},
             {"mirrored", 39, 12, 4},
             {"mirrored, last", 32, 12, 7},
             {"cut off by the view port", 45, 5, -1},
             {"outside of the window", -1, 500, -1}}) {
        ImageCounts counts;
        bool const found = core.GetImageCounts(c.x, c.y, counts);
        EXPECT_EQ(found ? counts.values[0] / 1000 : -1, c.count) << c.what;
    }
    EXPECT_TRUE(drawnYet) << "asked while drawing";
    EXPECT_EQ(core.Picture().Read(45, 5), kBlack) << "the view goes on as it was";
}

TEST(RasterCoreManager, TellsTheCountsOfTurnedAndHiddenImages) {
    Core core;
    auto const image = Ramp(2, 2);
    auto const wallImage = Ramp(1, 1);
    (*wallImage)(0, 0) = 9000;
    auto const draw = [&](std::function<void(CWindowCore&)> drawing) {
        core.DrawerList().Layers()[0].Clear();
        core.DrawerList().Layers()[0].Push(boost::make_shared<Scene>(std::move(drawing)));
        core.Invalidate();
    };
    auto const at = [&](int x, int y) {
        ImageCounts counts;
        return core.GetImageCounts(x, y, counts) ? counts.values[0] / 1000 : -1;
    };
    P3 const turned[4] = {{30, 30, 0}, {30, 10, 0}, {10, 10, 0}, {10, 30, 0}};
    draw([&](CWindowCore& in) { in.DrawImage(turned, image); });
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(at(i < 2 ? 29 : 11, i % 2 == 0 ? 11 : 29), i);
    }
    P3 const ceiling[4] = {{9, -1, 30}, {-9, -1, 30}, {-9, -1, 2}, {9, -1, 2}};
    P3 const wall[4] = {{99, 99, 40}, {-99, 99, 40}, {-99, -99, 40}, {99, -99, 40}};
    draw([&](CWindowCore& in) {
        in.SetViewPort(ViewPortCamera, nullptr, boost::make_shared<SpaceCamera>());
        in.EnableZBuffer(1, 50);
        in.DrawImage(ceiling, image);
        in.DrawImage(wall, wallImage);
    });
    EXPECT_EQ(at(10, 5), 2);
    EXPECT_EQ(at(50, 20), 3) << "the near half of the ceiling reaches down to here";
    EXPECT_EQ(at(20, 21), 0);
    EXPECT_EQ(at(44, 21), 1);
    EXPECT_EQ(at(44, 30), 9) << "the wall, drawn later, is hidden but here";
}

TEST(RasterCoreManager, TextsStandAtTheirDistance) {
    Core core;
    core.BeginFrame();
    core.SetViewPort(ViewPortCamera, nullptr, boost::make_shared<SpaceCamera>());
    core.EnableZBuffer(1, 50);
    core.SetFontSizeEx(30, 30, false);
    DrawWall(core, kRed, 4);
    auto const written = [&](double z) {
        core.SetColor(kGreen);
        core.DrawText({-0.4 * z, 0.3 * z, z}, "MMM");
        bool seen = false;
        ForPixels(core.Picture(), [&](int, int, Colour c) { seen = seen || c == kGreen; });
        return seen;
    };
    EXPECT_FALSE(written(5)) << "behind the wall";
    EXPECT_FALSE(written(0.5)) << "nearer than the range";
    EXPECT_FALSE(written(-2)) << "behind the camera";
    EXPECT_TRUE(written(3));
    DrawWall(core, kRed, 3.5F);
    EXPECT_TRUE(written(99)) << "a farther wall does not cover the text before";
}

TEST(RasterCoreManager, LightsStayWhereTheyWerePut) {
    Core core;
    EXPECT_FALSE(core.EnableLight(8, {}, kBlack, kWhite, kBlack) || core.DisableLight(-1));
    P3 const triangle[6] = {
        {-9, -9, 2}, {0, 0, -1}, {9, -9, 2}, {0, 0, -1}, {0, 18, 2}, {0, 0, -1}};
    auto const lit = [&](double shift) {
        core.BeginFrame();
        core.SetViewPort(ViewPortCamera, nullptr, boost::make_shared<SpaceCamera>());
        core.SetColorEx({200, 200, 200, 255}, kBlack, {0, 0, 9, 255}, 5);
        core.SetTranslation(shift, 0, false);
        EXPECT_TRUE(core.EnableLight(7, {0, 3, -20}, {10, 10, 10, 255}, kWhite, kBlack));
        core.SetTranslation(1, 0, false);
        core.DrawTrianglesV3FN3F(triangle, 1);
        return core.Picture().Read(40, 24);
    };
    Colour const beside = lit(0);
    EXPECT_GT(beside.r, 150);
    EXPECT_EQ(beside.b, beside.r + 9);
    EXPECT_NE(lit(30), beside);
    EXPECT_TRUE(core.DisableLight(7));
    core.SetColor(kWhite);
    core.DrawTrianglesV3FN3F(triangle, 1);
    EXPECT_EQ(core.Picture().Read(40, 24), kWhite) << "without lights in the plain colour";
}

} // namespace

} // namespace tests
