#include "support/CapturedOutput.h"
#include "support/IniGuard.h"
#include "support/OutputFolder.h"
#include "support/TestParams.h"
#include "ui/win/CWindowCoreManager.h"
#include "ui/win/CWindowNullCore.h"
#include "ui/win/camera/CWindowCamera2D.h"

#include <boost/make_shared.hpp>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <tuple>

namespace {

using namespace ui::win;
using testing::ElementsAre;
using testing::HasSubstr;

CreationParams Params(std::string const& title = "Camera 2 (left)", unsigned flags = 0) {
    CreationParams params = tests::MakeParams("None", 64, 48, flags);
    params.title = title;
    params.x = 100;
    params.y = 50;
    return params;
}

/// Has a constant picture to be grabbed.
class PictureCore : public CWindowNullCore {
public:
    using CWindowNullCore::CWindowNullCore;
    bool GetImage(cimage::CImage& image) override {
        ++grabs;
        if (!hasPicture) {
            return false;
        }
        image.Row<cimage::TRGB<unsigned char>>(0)[0] = {10, 20, 30};
        return true;
    }
    void Frame(float interval) { m_frameInterval = interval; }
    void LastPost(boost::posix_time::time_duration ago) {
        m_lastPostTime = boost::posix_time::microsec_clock::universal_time() - ago;
    }
    int grabs = 0;
    bool hasPicture = true;
};

class Nothing : public CWidget {};

/// Dumps go into the folder while it lives.
class DumpFolder : public tests::OutputFolder {
public:
    DumpFolder() : m_previous(CWindow::setOutputPath(path.string())) {}
    ~DumpFolder() { CWindow::setOutputPath(m_previous); }
    DumpFolder(DumpFolder const&) = delete;
    DumpFolder& operator=(DumpFolder const&) = delete;

private:
    std::string m_previous;
};

TEST(CoreManager, StateWordFollowsTheSetters) {
    CWindowNullCore manager(Params());
    manager.SetFullScreenMode(true);
    manager.SetVisibility(true);
    manager.SetDecoration(false);
    manager.EnableKeyboardHandle(true);
    manager.EnableZBuffer(0.1, 100);
    EXPECT_EQ(manager.Flags(), 1U | 2U | 4U | 512U | 8192U);
    manager.SetDecoration(true);
    manager.DisableZBuffer();
    EXPECT_EQ(manager.Flags(), 1U | 4U | 512U);

    manager.ApplyStatus(10, 20, 640, 480, true);
    EXPECT_EQ(manager.Width(), 64U) << "full screen leaves the geometry alone";
    manager.ApplyStatus(10, 20, 640, 480, false);
    EXPECT_EQ(manager.Flags(), 4U | 512U);
    EXPECT_EQ(manager.X(), 10);
    EXPECT_EQ(manager.ContentHeight(), 480U);
}

TEST(CoreManager, FrameIntervalIsSmoothedInMixedPrecision) {
    PictureCore manager(Params());
    manager.LastPost(boost::posix_time::milliseconds(200));
    manager.OnPre();
    manager.OnPost();
    EXPECT_NEAR(manager.FrameInterval(), 0.2, 0.05) << "the first interval is taken as it is";
    manager.Frame(0.05F);
    manager.LastPost(boost::posix_time::milliseconds(40));
    manager.OnPost();
    EXPECT_NEAR(manager.FrameInterval(), 0.049, 0.003);
    EXPECT_LT(manager.DrawTime(), 1.0F);
}

TEST(CoreManager, ReplaceTakesACopyAndSurvivesItself) {
    CWindowNullCore manager(Params());
    CDrawerList layers;
    layers.Layers()[3].Push(boost::make_shared<Nothing>());
    layers.Layers()[-1].SetLocked(true);
    manager.Replace(layers);
    manager.Replace(manager.DrawerList());
    EXPECT_EQ(manager.ReplaceCount(), 2U);
    EXPECT_EQ(manager.DrawerList().Layers().size(), 2U);
    EXPECT_TRUE(manager.DrawerList().Layers()[-1].IsLocked());
    layers.Layers().clear();
    manager.Draw();
    EXPECT_EQ(manager.DrawCount(), 1U);
    EXPECT_EQ(manager.DrawQueueLength(), 1U) << "drawables that draw nothing count as well";
}

TEST(CoreManager, GrabsAFrameOnlyForADumpOrASubscriber) {
    tests::CapturedOutput output;
    DumpFolder folder;
    PictureCore idle(Params());
    idle.NotifyBufferReady(true);
    EXPECT_EQ(idle.grabs, 0);

    int frames = 0;
    idle.RegisterExposeCallback([&](cimage::CImage const& image) {
        ++frames;
        EXPECT_EQ(image.Width(), 64U);
        EXPECT_EQ(image.Row<cimage::TRGB<unsigned char>>(0)[0].b, 30);
    });
    idle.NotifyBufferReady(false);
    idle.NotifyBufferReady(true);
    EXPECT_EQ(frames, 1);
    idle.hasPicture = false;
    idle.NotifyBufferReady(true);
    EXPECT_EQ(frames, 1);

    PictureCore dumping(Params("Camera 2 (left)", StateDumpFrames));
    dumping.NotifyBufferReady(true);
    dumping.DumpImage("shot.png");
    dumping.RegisterExposeCallback([](cimage::CImage const&) { throw std::runtime_error("out"); });
    EXPECT_THROW(dumping.NotifyBufferReady(true), std::runtime_error)
        << "its frame is written first";
    EXPECT_THAT(
        folder.Files(), ElementsAre("CAMERALEFT-000000.ppm", "CAMERALEFT-000001.ppm", "shot.png"));
    EXPECT_EQ(dumping.DumpCount(), 2) << "a name of its own does not count";
    std::string const path = folder.path.string() + "/CAMERALEFT-000001.ppm";
    EXPECT_THAT(
        output.Text(),
        HasSubstr(
            "[II] win: Creating video writer for CWindow " + path +
            "\n[II] win: Write image on disk: " + path + "...\n"));
}

TEST(CoreManager, DumpsFailWithTheFolderOrThePattern) {
    tests::CapturedOutput output;
    tests::IniGuard config;
    config.ini.Set("WIN OUTPUT FILE FORMAT", "%s-%");
    PictureCore manager(Params("1234"));
    DumpFolder folder;
    EXPECT_THROW(manager.DumpImage(""), std::runtime_error);
    config.ini.Set("WIN OUTPUT FILE FORMAT", "frame %2$03d of %1%.png");
    PictureCore ordered(Params("1234"));
    EXPECT_TRUE(ordered.DumpImage(""));
    EXPECT_THAT(folder.Files(), ElementsAre("frame 000 of .png"));
    CWindow::setOutputPath((folder.path / "missing" / "deeper").string());
    EXPECT_ANY_THROW(manager.DumpImage("x.ppm"));
    EXPECT_TRUE(ordered.Export((folder.path / "export.jpg").string()));
    EXPECT_TRUE(std::filesystem::exists(folder.path / "export.jpg"));
}

TEST(CoreManager, StatusIsKeptUnderTheLettersOfTheTitle) {
    tests::CapturedOutput output;
    int x = 7;
    int y = 8;
    unsigned w = 9;
    unsigned h = 10;
    bool full = true;
    {
        CWindowNullCore manager(Params());
        EXPECT_FALSE(manager.SaveStatusOnDisk());
        EXPECT_FALSE(manager.LoadStatusFromDisk(x, y, w, h, full));
        EXPECT_EQ(output.Take(), "[EE] CWindowCoreManager: INI File not available\n");
    }
    tests::IniGuard config;
    CWindowNullCore manager(Params());
    EXPECT_FALSE(manager.LoadAndApplyStatusFromDisk());
    output.Take();
    EXPECT_TRUE(manager.SaveStatusOnDisk());
    EXPECT_EQ(*config.ini.Find("CAMERALEFT"), "100,50,64,48");
    EXPECT_EQ(
        output.Take(), "[II] CWindowCoreManager:  Window status saved on disk : 100,50,64,48\n");
    manager.SetFullScreenMode(true);
    manager.SaveStatusOnDisk();
    EXPECT_EQ(*config.ini.Find("CAMERALEFT"), "100,50,64,48,fullscreen");

    struct Case {
        char const* text;
        int x, y;
        unsigned w, h;
        bool full;
    };
    for (Case const& c :
         {Case{"100,50,640,480", 100, 50, 640, 480, false},
          Case{"-5,-6,7,8,fullscreen", -5, -6, 7, 8, true},
          Case{"1;2 x3:4,FULLSCREEN", 1, 2, 0, 4, false},
          Case{"1,2,3,4,fullscreen,more", 1, 2, 3, 4, false}}) {
        config.ini.Set("CAMERALEFT", c.text);
        EXPECT_TRUE(manager.LoadStatusFromDisk(x, y, w, h, full)) << c.text;
        EXPECT_EQ(std::tie(x, y, full), std::tie(c.x, c.y, c.full)) << c.text;
        EXPECT_TRUE(c.w == 0 || std::tie(w, h) == std::tie(c.w, c.h)) << c.text;
    }
    config.ini.Set("CAMERALEFT", "100,50,640,480");
    output.Take();
    EXPECT_TRUE(manager.LoadAndApplyStatusFromDisk());
    EXPECT_EQ(
        output.Take(),
        "[II] CWindowCoreManager: Status of window 'Camera 2 (left)' loaded from disk : (100,50) "
        "640x480\n");
    EXPECT_EQ(manager.Width(), 640U);
    EXPECT_EQ(manager.Flags() & StateFullScreen, 0U);

    CWindowNullCore digits(Params("2 (3)"));
    digits.SaveStatusOnDisk();
    EXPECT_EQ(*config.ini.Find(""), "100,50,64,48");
}

TEST(CoreManager, TimersFallDueInTimeOrder) {
    CWindowNullCore manager(Params());
    timeval wait{5, 0};
    timeval const now{100, 900000};
    EXPECT_FALSE(GetNextTimeOut(wait, manager.Timers(), now, false));
    manager.AddAbsoluteTimer(1, {103, 100000});
    manager.AddAbsoluteTimer(2, {102, 100000});
    manager.AddAbsoluteTimer(2, {102, 200000}); // moved
    EXPECT_TRUE(GetNextTimeOut(wait, manager.Timers(), now, true));
    EXPECT_EQ(wait.tv_sec, 1);
    EXPECT_EQ(wait.tv_usec, 300000);
    wait = {0, 5};
    EXPECT_TRUE(GetNextTimeOut(wait, manager.Timers(), now, true));
    EXPECT_EQ(wait.tv_usec, 5) << "the bound is nearer";
    manager.ReleaseTimer(2);
    manager.ReleaseTimer(7); // not there
    EXPECT_TRUE(GetNextTimeOut(wait, manager.Timers(), {200, 0}, false));
    EXPECT_EQ(wait.tv_sec + wait.tv_usec, 0) << "overdue";
    timeval const delta = GetDeltaTimeVal({10, 100}, {8, 200});
    EXPECT_EQ(delta.tv_sec, 1);
    EXPECT_EQ(delta.tv_usec, 999900);
}

} // namespace
