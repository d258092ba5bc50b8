// What every driver owes to applications. "None" takes part wherever no picture is needed.

#include "cimage/ImageIO.h"
#include "drivers/TestWindow.h"
#include "drivers/TestedDrivers.h"
#include "support/CapturedOutput.h"
#include "support/FullDisk.h"
#include "support/IniGuard.h"
#include "support/OutputFolder.h"
#include "ui/win/CWindow.h"
#include "ui/win/camera/CWindowCamera2D.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/thread/barrier.hpp>
#include <boost/thread/thread.hpp>

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using namespace ui::win;
using namespace tests;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr RGB black(0, 0, 0);
constexpr RGB red(255, 0, 0);
constexpr RGB green(0, 255, 0);
constexpr RGB blue(0, 0, 255);

Colour Opaque(RGB const& c) {
    return {c.r, c.g, c.b, 255};
}

struct Driver : testing::TestWithParam<char const*> {
    CapturedOutput output; // the library tells of every event and file
    CWindow window{MakeParams(GetParam())};
};

/// The drivers that draw.
struct DrawingDriver : Driver {};

std::string DriverName(testing::TestParamInfo<char const*> const& info) {
    return info.param;
}

INSTANTIATE_TEST_SUITE_P(Conformance, Driver, testing::ValuesIn(TestedDrivers()), DriverName);
INSTANTIATE_TEST_SUITE_P(
    Conformance, DrawingDriver, testing::ValuesIn(DrawingDrivers()), DriverName);

TEST_P(Driver, KeepsTheBooksOfAWindow) {
    EXPECT_EQ(window.GetCoreID(GetParam()), 0);
    window.SetTitle("Other");
    window.SetPosition(-3, 4);
    window.SetSize(80, 60);
    window.SetCustomStatusBar("status");
    std::string title;
    int x = 0;
    int y = 0;
    unsigned w = 0;
    unsigned h = 0;
    EXPECT_TRUE(window.GetTitle(title) && window.GetPosition(x, y) && window.GetSize(w, h));
    EXPECT_EQ(title, "Other");
    EXPECT_EQ(x, -3);
    EXPECT_EQ(y, 4);
    EXPECT_EQ(w * 1000 + h, 80060U);
    window.SetVisibility(true);
    window.SetFullScreenMode(true);
    window.SetDecoration(false);
    EXPECT_TRUE(window.IsVisible() && window.IsFullScreen());
    OnBackend(window, [](CWindowCoreManager& manager) {
        EXPECT_EQ(manager.Flags() & 7U, 7U);
        EXPECT_EQ(manager.CustomStatus(), "status");
        EXPECT_EQ(manager.ContentWidth(), 80U);
    });
    bool const hasScreen = GetParam() == std::string("SDL");
    ScreenGeometry geometry{1, 1, 1};
    EXPECT_TRUE(window.GetScreenGeometry(geometry));
    EXPECT_EQ(geometry.width > 0, hasScreen);
}

TEST_P(Driver, ExecutesCommandsInOrderOnOneThread) {
    std::vector<int> order;
    boost::thread::id threads[2];
    for (int i = 0; i < 100; ++i) {
        window.SendCommand(
            new CWndCommand_Call([&order, &threads, i](CWindowCoreManager*) {
                order.push_back(i);
                threads[i % 2] = boost::this_thread::get_id();
            }),
            0);
    }
    OnBackend(window, [](CWindowCoreManager&) {});
    EXPECT_EQ(order.size(), 100U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
    EXPECT_EQ(threads[0], threads[1]);
}

TEST_P(Driver, AdoptsTheLayersOfEveryRefresh) {
    window.DrawBox(0, 0, 10, 10, true);
    window.SetLayer(-2);
    window.DrawBox(0, 0, 10, 10, false);
    window.Refresh(false);
    window.Refresh(true);
    OnBackend(window, [](CWindowCoreManager& manager) {
        EXPECT_EQ(manager.ReplaceCount(), 2U);
        EXPECT_EQ(manager.DrawerList().Layers().size(), 2U);
    });
}

TEST_P(Driver, TellsWhatAnImageStoresWhereItWasDrawn) {
    auto const image = boost::make_shared<cimage::TImage<unsigned short>>(2, 1);
    (*image)(1, 0) = 40000;
    window.SetImageRange(0, 10);
    window.DrawImage(10, 10, 20, 10, boost::shared_ptr<cimage::CImage const>(image));
    window.Refresh(true);
    bool const draws = GetParam() != std::string("None");
    ImageCounts counts;
    counts.channels = 9;
    EXPECT_FALSE(window.GetImageCounts(35, 15, counts)) << "beside it";
    EXPECT_EQ(counts.channels, 9U) << "left as it was";
    EXPECT_EQ(window.GetImageCounts(25, 15, counts), draws);
    EXPECT_EQ(counts.channels, draws ? 1U : 9U);
    EXPECT_EQ(counts.values[0], draws ? 40000 : 0);
}

struct Logging : CWidget {
    Logging(std::string name, std::vector<std::string>& list, bool consume)
        : text(std::move(name)), log(list), consumes(consume) {}
    char const* getName() const override { return text.c_str(); }
    bool Interact(CWindowCoreManager*, Event const&) override {
        log.push_back(text);
        return consumes;
    }
    std::string text;
    std::vector<std::string>& log;
    bool consumes;
};

TEST_P(Driver, OffersEventsToPluginsThenToLayersThenToTheApplication) {
    std::vector<std::string> log;
    window.push(new Logging("low", log, false));
    window.SetLayer(1);
    window.push(new Logging("high", log, false));
    auto const plugin = boost::make_shared<Logging>("plugin", log, false);
    window.InsertPlugin(plugin);
    // "None" draws nothing by itself, and layers take events only where they were drawn.
    window.Refresh(true);
    OnBackend(window, [](CWindowCoreManager& manager) { manager.Draw(); });
    window.SetEventMask(EventPress);
    window.InjectEvent(MakeEvent(EventPress, 10, 10));
    window.InjectEvent(MakeEvent(EventRelease, 10, 10)); // not in the mask
    window.InjectEvent(MakeEvent(EventPress, 0, 10)); // on the border: strictly outside the layers
    OnBackend(window, [](CWindowCoreManager&) {});
    EXPECT_THAT(log, ElementsAre("plugin", "high", "low", "plugin", "high", "low", "plugin"));
    Event event;
    EXPECT_TRUE(window.WaitForEvent());
    EXPECT_TRUE(window.GetNextEvent(event));
    EXPECT_EQ(event.worldX, 10.0F) << "as the lowest layer saw it";
    EXPECT_TRUE(window.GetNextEvent(event));
    EXPECT_FALSE(window.GetNextEvent(event));
}

TEST_P(Driver, RegionsCallBackInWorldCoordinatesBordersIncluded) {
    window.SetVirtualView(0, 0, 128, 96); // two world units a pixel
    int calls = 0;
    window.SetRegionCallback(40, 40, 60, 60, EventPress, [&] { ++calls; });
    window.Refresh(true);
    OnBackend(window, [](CWindowCoreManager& manager) { manager.Draw(); });
    for (int const x : {19, 20, 30, 31}) {
        window.InjectEvent(MakeEvent(EventPress, x, 25));
    }
    window.InjectEvent(MakeEvent(EventRelease, 25, 25));
    OnBackend(window, [](CWindowCoreManager&) {});
    EXPECT_EQ(calls, 2);
}

TEST_P(Driver, DoesWhatWasAskedBeforeTheWindowWent) {
    std::atomic<int> executed{0};
    {
        CWindow other(MakeParams(GetParam()));
        for (int i = 0; i < 50; ++i) {
            other.SendCommand(new CWndCommand_Call([&](CWindowCoreManager*) { ++executed; }), 0);
            other.Refresh(false);
        }
    }
    EXPECT_EQ(executed, 50);
    {
        CWindow other(MakeParams(GetParam()));
        other.SendCommand(
            new CWndCommand_Call([&](CWindowCoreManager*) {
                std::this_thread::sleep_for(std::chrono::milliseconds(30));
                ++executed;
            }),
            0);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(executed, 51) << "a window waits for the command under way";
}

TEST_P(Driver, StatusGoesThroughTheIniObject) {
    IniGuard config;
    window.SetPosition(11, 12);
    OnBackend(window, [](CWindowCoreManager& manager) { manager.SaveStatusOnDisk(); });
    EXPECT_EQ(*config.ini.Find("TEST"), "11,12,64,48");
    config.ini.Set("TEST", "1,2,30,20");
    OnBackend(window, [](CWindowCoreManager& manager) {
        EXPECT_TRUE(manager.LoadAndApplyStatusFromDisk());
    });
    unsigned w = 0;
    unsigned h = 0;
    window.GetSize(w, h);
    EXPECT_EQ(w * 1000 + h, 30020U);
}

TEST_P(DrawingDriver, StatusOfGarbageLeavesAWindowThatDraws) {
    IniGuard config;
    for (char const* const text :
         {"", "x,y,z", "1,2,99999999,99999999", "1,2,0,0", "1,2,-5,-5", "9,9,40000,40000"}) {
        config.ini.Set("TEST", text);
        OnBackend(
            window, [](CWindowCoreManager& manager) { manager.LoadAndApplyStatusFromDisk(); });
        unsigned w = 0;
        unsigned h = 0;
        window.GetSize(w, h);
        EXPECT_EQ(w * 1000 + h, 64048U) << text;
    }
    EXPECT_EQ(window.GrabImage()->Width(), 64U);
}

TEST_P(DrawingDriver, RefusesASizeThatNoPictureCanHave) {
    EXPECT_THROW(CWindow(MakeParams(GetParam(), 40000, 10)), std::runtime_error);
    EXPECT_THROW(CWindow(MakeParams(GetParam(), 0xFFFFFFFF, 0xFFFFFFFF)), std::runtime_error);
    CWindow const smallest(MakeParams(GetParam(), 1, 1));
}

TEST_P(DrawingDriver, ShowsBackgroundAndBoxesWhereTheCameraPutsThem) {
    EXPECT_EQ(PixelAt(window, 0, 0), black) << "a window shows its background before any refresh";
    window.SetBackgroundColor({0, 0, 255, 255});
    window.SetVirtualView(0, 0, 32, 24); // half a world unit a pixel
    window.SetColor(Opaque(red));
    window.DrawBox(5, 6, 10, 11, true);
    window.Refresh(true);
    auto const image = window.GrabImage();
    EXPECT_EQ((*image)(10, 12), red);
    EXPECT_EQ((*image)(19, 21), red);
    EXPECT_EQ((*image)(9, 12), blue);
    EXPECT_EQ((*image)(10, 11), blue);
    EXPECT_EQ((*image)(20, 21), blue);
    EXPECT_EQ((*image)(19, 22), blue);
}

TEST_P(DrawingDriver, DrawsLayersUpwardsThroughTheirViews) {
    window.SetColor(Opaque(red));
    window.DrawBox(0, 0, 64, 48, true);
    window.SetLayer(1);
    window.SetViewport(CWindowViewPort::Fractions(0.5F, 0.5F, 1, 1));
    window.SetViewportMode(ViewPortFractions);
    window.SetColor(Opaque(green));
    window.DrawBox(0, 0, 1, 1, true);
    window.SetLayer(2);
    window.SetViewport(CWindowViewPort::Pixels(40, 30, 50, 40));
    window.SetViewportMode(ViewPortPixels); // window pixels, cut to the view port
    window.SetColor(Opaque(blue));
    window.DrawBox(0, 0, 45, 64, true);
    window.SetLayer(-1);
    window.SetVirtualView(64U, 48U);
    window.DrawBox(0, 0, 64, 48, true); // hidden below layer 0
    window.Refresh(true);
    auto const image = window.GrabImage();
    EXPECT_EQ((*image)(31, 24), red);
    EXPECT_EQ((*image)(32, 23), red);
    EXPECT_EQ((*image)(32, 24), green);
    EXPECT_EQ((*image)(63, 47), green);
    EXPECT_EQ((*image)(39, 35), green);
    EXPECT_EQ((*image)(40, 30), blue);
    EXPECT_EQ((*image)(44, 39), blue);
    EXPECT_EQ((*image)(45, 35), green);
}

TEST_P(DrawingDriver, StartsEveryRefreshFromFreshState) {
    window.SetColor(Opaque(red));
    window.SetBlend(BlendAlpha);
    window.Translate(30, 0, false);
    window.SetLineWidth(9);
    window.Refresh(true);
    window.ClearAllLayers();
    window.SetVirtualView(64U, 48U);
    window.DrawBox(0, 0, 10, 10, true);
    window.DrawLine(0, 40, 60, 40);
    window.Refresh(true);
    auto const image = window.GrabImage();
    EXPECT_EQ((*image)(5, 5), RGB(255, 255, 255));
    EXPECT_EQ((*image)(35, 5), black);
    EXPECT_EQ((*image)(30, 38), black);
}

TEST_P(DrawingDriver, BlendsTranslatesAndKeepsShadowTextsColour) {
    window.SetColor(Opaque(red));
    window.DrawBox(0, 0, 20, 20, true);
    window.SetBlend(BlendAlpha);
    window.SetColor({0, 0, 255, 127});
    window.DrawBox(10, 0, 20, 20, true);
    window.Translate(0, 20, true);
    window.Translate(5, 0, true);
    window.SetColor(Opaque(green));
    window.DrawShadowText(40, 20, "shadow");
    window.DrawBox(0, 0, 5, 5, true);
    window.Refresh(true);
    auto const image = window.GrabImage();
    EXPECT_EQ((*image)(15, 10), RGB(128, 0, 127));
    EXPECT_EQ((*image)(5, 20), green);
    EXPECT_EQ((*image)(4, 20), black);
}

TEST_P(DrawingDriver, CopiesImagesOneToOneBitByBit) {
    cimage::TImage<RGB> picture(64, 48);
    for (unsigned y = 0; y < 48; ++y) {
        for (unsigned x = 0; x < 64; ++x) {
            picture(x, y) =
                RGB(static_cast<unsigned char>(x * 4),
                    static_cast<unsigned char>(y * 5),
                    static_cast<unsigned char>(x * y));
        }
    }
    auto const expectCopy = [&] {
        window.Refresh(true);
        auto const image = window.GrabImage();
        for (unsigned y = 0; y < 48; ++y) {
            for (unsigned x = 0; x < 64; ++x) {
                ASSERT_EQ((*image)(x, y), picture(x, y)) << x << ',' << y;
            }
        }
    };
    window.DrawImage(picture); // free placement fills the camera's view at rest
    expectCopy();
    window.Clear();
    window.DrawImage(0, 0, picture);
    expectCopy();
    window.Clear();
    math::Point3<double> const corners[4] = {{64, 0, 0}, {0, 0, 0}, {0, 48, 0}, {64, 48, 0}};
    window.DrawImage(corners, picture);
    expectCopy();
}

TEST_P(DrawingDriver, ShowsSharedImagesAsTheyAreAndCopiesAsTheyWere) {
    auto const shared = boost::make_shared<cimage::TImage<unsigned short>>(8, 8);
    cimage::TImage<unsigned char> copied(8, 8);
    copied(0, 0) = 50;
    window.DrawImage(0, 0, boost::shared_ptr<cimage::CImage const>(shared));
    window.DrawImage(20, 0, copied);
    for (unsigned const count : {0x1234U, 0xABCDU}) {
        (*shared)(0, 0) = static_cast<unsigned short>(count);
        copied(0, 0) = 99;
        window.Refresh(true);
        auto const high = static_cast<unsigned char>(count >> 8);
        EXPECT_EQ(PixelAt(window, 0, 0), RGB(high, high, high));
        EXPECT_EQ(PixelAt(window, 20, 0), RGB(50, 50, 50));
    }
}

template <class P>
void ExpectGrey(CWindow& window, P pixel, unsigned char grey) {
    cimage::TImage<P> image(4, 4);
    for (unsigned i = 0; i < 16; ++i) {
        image(i % 4, i / 4) = pixel;
    }
    window.Clear();
    window.DrawImage(8, 8, image);
    window.Refresh(true);
    EXPECT_EQ(PixelAt(window, 9, 9), RGB(grey, grey, grey))
        << "pixel type " << cimage::TImage<P>::StaticType;
}

TEST_P(DrawingDriver, ShowsEveryRegisteredPixelType) {
    using namespace cimage;
    ExpectGrey<unsigned char>(window, 77, 77);
    ExpectGrey<signed char>(window, -128 + 77, 77);
    ExpectGrey<unsigned short>(window, 77 * 256 + 255, 77);
    ExpectGrey<short>(window, static_cast<short>(-32768 + 77 * 256), 77);
    ExpectGrey(window, Bayer<TBGGR<unsigned char>>(77), 77);
    ExpectGrey(window, Bayer<TGRBG<unsigned char>>(77), 77);
    ExpectGrey(window, Bayer<TRGGB<unsigned char>>(77), 77);
    ExpectGrey(window, Bayer<TGBRG<unsigned char>>(77), 77);
    ExpectGrey(window, Bayer<TRGGB<unsigned short>>(77 * 256), 77);
    ExpectGrey(window, TRGB<unsigned char>(77, 77, 77), 77);
    ExpectGrey(window, TRGBA<unsigned char>(77, 77, 77, 255), 77);
    ExpectGrey(window, TRGB<unsigned short>(77 * 256, 77 * 256, 77 * 256), 77);
    ExpectGrey(window, TRGBA<unsigned short>(77 * 256, 77 * 256, 77 * 256, 65535), 77);
    TImage<TBGRA<unsigned char>> bgra(1, 1);
    bgra(0, 0) = TBGRA<unsigned char>(1, 2, 3, 255);
    window.Clear();
    window.DrawImage(0, 0, bgra);
    window.Refresh(true);
    EXPECT_EQ(PixelAt(window, 0, 0), RGB(1, 2, 3)) << "shown as it lies in memory";
}

TEST_P(DrawingDriver, ReportsImagesItCannotShowAndGoesOn) {
    struct Foreign : cimage::CImage {
        Foreign() : CImage(99, 4, 2, 2) {}
        boost::shared_ptr<CImage> Clone() const override {
            return boost::make_shared<Foreign>(*this);
        }
    };
    window.DrawImage(Foreign());
    window.Refresh(true);
    EXPECT_THAT(output.Take(), HasSubstr("A CImage cannot be rendered on this GC"));
    window.Clear();
    window.DrawImage(cimage::TImage<RGB>()); // 0 x 0
    window.SetColor(Opaque(green));
    window.DrawBox(0, 0, 5, 5, true);
    window.Refresh(true);
    EXPECT_EQ(PixelAt(window, 1, 1), green);
}

TEST_P(DrawingDriver, DrawsTextAndMeasuresIt) {
    window.SetColor(Opaque(green));
    window.SetFontSize(20, false);
    window.DrawText(5, 5, "H\xC3\xA9");
    window.Refresh(true);
    auto const image = window.GrabImage();
    int lit = 0;
    for (unsigned i = 0; i < 64 * 48; ++i) {
        lit += (*image)(i % 64, i / 64).g > 128 ? 1 : 0;
    }
    EXPECT_GT(lit, 30);
    EXPECT_LT(lit, 400);
    OnBackend(window, [](CWindowCoreManager& manager) {
        manager.SetViewPort(ViewPortPixels, nullptr, boost::shared_ptr<CCamera>());
        math::Rect2<double> once;
        math::Rect2<double> twice;
        manager.SetFontSizeEx(20, 20, false);
        EXPECT_TRUE(manager.GetTextSize(once, "mm"));
        EXPECT_TRUE(manager.GetTextSize(twice, "mmmm"));
        EXPECT_NEAR(twice.Width(), 2 * once.Width(), 1.0);
        EXPECT_GT(once.Height(), 15);
        EXPECT_LT(once.Height(), 30);
    });
}

TEST_P(DrawingDriver, DeliversGrabsAndDumpsTheSameFrame) {
    OutputFolder const folder;
    std::string const previous = CWindow::setOutputPath(folder.path.string());
    CWindow dumping(MakeParams(GetParam(), 64, 48, StateDumpFrames));
    std::vector<RGB> delivered;
    dumping.Subscribe_RefreshComplete(
        [&](cimage::CImage const& image) { delivered.push_back(image.Row<RGB>(7)[9]); });
    for (RGB const& colour : {red, green}) {
        dumping.SetColor(Opaque(colour));
        dumping.DrawBox(0, 0, 30, 30, true);
        dumping.Refresh(true);
    }
    EXPECT_EQ(PixelAt(dumping, 9, 7), green);
    dumping.Dump("shot.png");
    OnBackend(dumping, [](CWindowCoreManager& manager) { EXPECT_EQ(manager.DumpCount(), 2); });
    CWindow::setOutputPath(previous);
    EXPECT_THAT(delivered, ElementsAre(red, green)) << "one frame a waited-for refresh";
    boost::property_tree::ptree metadata;
    for (auto const& [name, colour] :
         {std::pair("TEST-000000.ppm", red),
          std::pair("TEST-000001.ppm", green),
          std::pair("shot.png", green)}) {
        cimage::TImage<RGB> file;
        cimage::Load(folder.Path(name), file, metadata);
        EXPECT_EQ(file(9, 7), colour) << name;
        EXPECT_EQ(file(40, 40), black) << name;
    }
}

/// Notes which thread says that it writes a picture.
struct WriterWatch : std::streambuf {
    WriterWatch() : console(std::cout.rdbuf(this)) {}
    ~WriterWatch() override { std::cout.rdbuf(console); }
    std::streamsize xsputn(char const* text, std::streamsize size) override {
        if (std::string(text, static_cast<std::size_t>(size)).find("Write image") != npos) {
            writers.push_back(std::this_thread::get_id());
        }
        return size;
    }
    static constexpr std::size_t npos = std::string::npos;
    std::streambuf* console;
    std::vector<std::thread::id> writers;
};

TEST_P(DrawingDriver, WritesDumpsWholeOrNotAtAllOnItsOwnThread) {
    OutputFolder const folder;
    std::string const previous = CWindow::setOutputPath(folder.path.string());
    window.SetColor(Opaque(red));
    window.DrawBox(0, 0, 64, 48, true);
    window.Refresh(true);
    auto const kept = {"a.jpeg", "a.jpg", "a.pgm", "a.png", "a.pnm", "a.ppm", "a.tif", "a.tiff"};
    std::thread::id drawer;
    {
        WriterWatch watch;
        for (std::string const name : kept) {
            window.Dump(name);
        }
        OnBackend(window, [&](CWindowCoreManager&) { drawer = std::this_thread::get_id(); });
        EXPECT_EQ(watch.writers, std::vector<std::thread::id>(8, drawer));
    }
    EXPECT_NE(drawer, std::this_thread::get_id());
    EXPECT_THAT(folder.Files(), testing::ElementsAreArray(kept));
    boost::property_tree::ptree metadata;
    for (std::string const name : kept) {
        cimage::TImage<RGB> file;
        cimage::Load(folder.Path(name), file, metadata);
        bool const grey = name == "a.pgm";
        EXPECT_NEAR(file(9, 7).r, grey ? 76 : 255, 2) << name;
        EXPECT_NEAR(file(63, 47).g, grey ? 76 : 0, 2) << name;
    }

    std::filesystem::resize_file(folder.Path("a.ppm"), 3);
    output.Take();
    for (std::string const name : {"a.ppm", "missing/b.png", "b.bmp", "b"}) {
        FullDisk const full(name == "a.ppm" ? 1000 : 100000);
        window.Dump(name);
        OnBackend(window, [](CWindowCoreManager&) {});
        std::string const path = folder.path.string() + "/" + name;
        EXPECT_THAT(
            output.Take(), testing::ContainsRegex("\n\\[EE\\] [^\n]*'" + path + "': [^\n]+\n"));
    }
    EXPECT_EQ(std::filesystem::file_size(folder.Path("a.ppm")), 3U) << "what was there is kept";
    window.Dump("a.ppm");
    OnBackend(window, [](CWindowCoreManager&) {});
    CWindow::setOutputPath(previous);
    EXPECT_EQ(std::filesystem::file_size(folder.Path("a.ppm")), 64U * 48 * 3 + 13);
    EXPECT_THAT(folder.Files(), testing::ElementsAreArray(kept));
}

TEST_P(DrawingDriver, DrawsQueuedRefreshesOnceAndGrabsTheNewestLayers) {
    boost::barrier gate(2);
    int frames = 0;
    window.Subscribe_RefreshComplete([&](cimage::CImage const&) { ++frames; });
    window.Refresh(true);
    window.SendCommand(new CWndCommand_Call([&](CWindowCoreManager*) { gate.wait(); }), 0);
    for (RGB const& colour : {red, blue, green}) {
        window.SetColor(Opaque(colour));
        window.DrawBox(0, 0, 10, 10, true);
        window.Refresh(false);
    }
    auto const grab = boost::make_shared<CWndCommand_GrabImage>();
    window.SendCommand(grab, 0); // in the same batch, so it must draw first
    gate.wait();
    grab->Suspend();
    EXPECT_EQ((*grab->image)(5, 5), green);
    OnBackend(window, [](CWindowCoreManager& manager) { EXPECT_EQ(manager.ReplaceCount(), 4U); });
    EXPECT_GE(frames, 2);
    EXPECT_LE(frames, 3) << "a desktop may ask for one more when it has shown the window";
}

TEST_P(DrawingDriver, TellsTheColourUnderTheMouse) {
    window.SetColor(Opaque(red));
    window.DrawBox(10, 10, 20, 20, true);
    window.Refresh(true);
    Colour colour;
    window.InjectEvent(MakeEvent(EventMotion, 15, 15));
    EXPECT_TRUE(window.GetColorUnderMouse(&colour));
    EXPECT_EQ(colour, Opaque(red));
    window.InjectEvent(MakeEvent(EventMotion, 30, 15));
    EXPECT_TRUE(window.GetColorUnderMouse(&colour));
    EXPECT_EQ(colour, Opaque(black));
    OnBackend(window, [](CWindowCoreManager& manager) {
        Colour pixel;
        EXPECT_TRUE(manager.GetPixel(&pixel, 10, 19));
        EXPECT_EQ(pixel, Opaque(red));
        EXPECT_FALSE(manager.GetPixel(&pixel, -1, 0));
        EXPECT_FALSE(manager.GetPixel(&pixel, 0, 48));
    });
}

/// Draws a translucent box in window pixels, whatever the layers left behind.
struct Badge : CWidget {
    int Draw(CWindowCore* core) override {
        core->SetColor({255, 255, 255, 127});
        core->DrawBox(60, 44, 64, 48, true);
        return 1;
    }
};

TEST_P(DrawingDriver, DrawsEnabledPluginsOverTheWholeWindow) {
    window.SetVirtualView(0, 0, 1, 1);
    window.SetViewport(CWindowViewPort::Fractions(0, 0, 0.5F, 0.5F));
    window.Translate(5, 5, false);
    window.SetColor(Opaque(blue));
    window.InsertPlugin(boost::make_shared<Badge>());
    window.Refresh(true);
    EXPECT_EQ(PixelAt(window, 62, 46), RGB(127, 127, 127));
    OnBackend(window, [](CWindowCoreManager& manager) {
        manager.SwitchAllPlugin();
        manager.Refresh(true);
    });
    EXPECT_EQ(PixelAt(window, 62, 46), black);
}

struct Throwing : CWidget {
    int Draw(CWindowCore*) override { throw std::runtime_error("drawable out of order"); }
    bool Interact(CWindowCoreManager*, Event const&) override { throw 42; }
};

TEST_P(DrawingDriver, ReportsWhatThrowsOnItsThreadAndGoesOn) {
    bool fail = true;
    window.Subscribe_RefreshComplete([&](cimage::CImage const&) {
        if (fail) {
            throw std::runtime_error("subscriber out of order");
        }
    });
    window.push(new Throwing);
    window.InsertPlugin(boost::make_shared<Throwing>());
    window.InsertPlugin(boost::make_shared<Badge>());
    window.Refresh(true);
    EXPECT_EQ(PixelAt(window, 62, 46).r, 127) << "drawn past the broken one";
    std::string const said = output.Take();
    EXPECT_THAT(said, HasSubstr("drawable out of order"));
    EXPECT_THAT(said, HasSubstr("subscriber out of order"));
    window.InjectEvent(MakeEvent(EventPress, 10, 10));
    CWindow::setOutputPath("/nowhere/at/all");
    window.Dump("x.ppm");
    OnBackend(window, [](CWindowCoreManager&) {});
    CWindow::setOutputPath("");
    EXPECT_THAT(output.Take(), HasSubstr("/nowhere/at/all"));
    fail = false;
    window.Clear();
    window.SetColor(Opaque(red));
    window.DrawBox(0, 0, 5, 5, true);
    window.Refresh(true);
    EXPECT_EQ(PixelAt(window, 2, 2), red);
}

TEST_P(DrawingDriver, FollowsItsSize) {
    window.SetColor(Opaque(red));
    window.DrawBox(0, 0, 64, 48, true);
    window.SetSize(100, 50);
    window.Refresh(true);
    auto const image = window.GrabImage();
    EXPECT_EQ(image->Width() * 1000 + image->Height(), 100050U);
    EXPECT_EQ((*image)(99, 49), red) << "the view fills the window";
    window.SetSize(0, 10);
    window.SetSize(100000, 100000);
    EXPECT_EQ(window.GrabImage()->Height(), 50U) << "impossible sizes are refused";
}

TEST_P(DrawingDriver, TimersReachDrawables) {
    struct Ticking : CWidget {
        bool Interact(CWindowCoreManager*, Event const& event) override {
            if (event.type == EventPositionless) {
                ticks.fetch_add(event.key == 7 ? 1 : 1000);
            }
            return true;
        }
        std::atomic<unsigned> ticks{0};
    };
    auto const ticking = boost::make_shared<Ticking>();
    window.push(ticking);
    window.Refresh(true);
    OnBackend(window, [](CWindowCoreManager& manager) {
        manager.AddAbsoluteTimer(7, GetCurrentTime());
        manager.AddAbsoluteTimer(8, {GetCurrentTime().tv_sec + 3600, 0});
    });
    while (ticking->ticks == 0) {
        boost::this_thread::yield();
    }
    OnBackend(window, [](CWindowCoreManager& manager) {
        EXPECT_EQ(manager.Timers().size(), 1U) << "timers strike once";
    });
    EXPECT_EQ(ticking->ticks, 1U);
}

TEST_P(DrawingDriver, LosesNoEventBetweenARefreshAndItsPicture) {
    std::vector<std::string> log;
    window.push(new Logging("item", log, true));
    window.Refresh(true);
    for (int i = 0; i < 20; ++i) {
        window.Refresh(false);
        window.InjectEvent(MakeEvent(EventPress, 10, 10));
        window.Refresh(false);
        window.InjectEvent(MakeEvent(EventRelease, 10, 10));
    }
    OnBackend(window, [](CWindowCoreManager&) {});
    EXPECT_EQ(log.size(), 40U);
}

TEST_P(DrawingDriver, AnimatesWhatAsksToBeDrawnAgainUntilTheWindowGoes) {
    struct Spinning : CWidget {
        int Draw(CWindowCore* core) override {
            ++frames;
            return static_cast<CWindowCoreManager*>(core)->Refresh(false) ? 1 : 0;
        }
        std::atomic<int> frames{0};
    };
    auto const spinning = boost::make_shared<Spinning>();
    {
        CWindow other(MakeParams(GetParam()));
        other.Subscribe_RefreshComplete([](cimage::CImage const&) {});
        other.push(spinning);
        other.Refresh(false);
        while (spinning->frames < 5) {
            boost::this_thread::yield();
        }
    }
    int const frames = spinning->frames;
    EXPECT_TRUE(spinning.unique()) << "the window has gone, and its thread with it";
    EXPECT_EQ(spinning->frames, frames);
}

TEST_P(DrawingDriver, MayLoseItsLastReferenceOnItsOwnThread) {
    // Shared, since the thread may still be leaving it when this test ends.
    auto const gone = boost::make_shared<boost::barrier>(2U);
    auto const other = boost::make_shared<boost::shared_ptr<CWindow>>(
        boost::make_shared<CWindow>(MakeParams(GetParam())));
    (*other)->SendCommand(
        new CWndCommand_Call([other, gone](CWindowCoreManager*) {
            other->reset();
            gone->wait();
        }),
        0);
    gone->wait();
    EXPECT_FALSE(*other);
}

} // namespace
