#include "drivers/TestWindow.h"
#include "support/CapturedOutput.h"
#include "support/OutputFolder.h"
#include "ui/win/camera/NavigationPlayer.h"

#include <boost/optional/optional_io.hpp>
#include <boost/thread/thread.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>

namespace {

using namespace ui::win;
using namespace tests;

void Pause(int milliseconds) {
    boost::this_thread::sleep_for(boost::chrono::milliseconds(milliseconds));
}

/// Waits for what another thread will do; gives up after a time that no machine takes.
template <class Condition>
bool Eventually(Condition const& condition) {
    for (int i = 0; i < 2000 && !condition(); ++i) {
        Pause(5);
    }
    return condition();
}

/// An Offscreen window that shows a scene through a 3D camera, with the pad over it.
struct NavigationPad : testing::Test {
    NavigationPad() {
        window.SetCamera(camera);
        window.DrawCircle(0, 0, 1, true);
        window.InsertPlugin(path);
        window.Refresh(true);
    }

    void Click(int x, int y) {
        Event event = MakeEvent(EventPress, x, y);
        event.button = ButtonLeft;
        window.InjectEvent(event);
        OnBackend(window, [](CWindowCoreManager&) {});
    }
    double Yaw() const { return camera->Params().yaw; }
    Button& PadButton(std::size_t index) const { return *path->Buttons().at(index); }

    static constexpr std::size_t plusYaw = 0;
    static constexpr std::size_t zeroRoll = 6;

    CapturedOutput output;
    boost::shared_ptr<CCamera3D> camera =
        boost::make_shared<CCamera3D>(0.0, 0.3, 0.4, -5.0, 0.0, 2.0, true);
    boost::shared_ptr<Navigation> path = boost::make_shared<Navigation>(camera);
    std::atomic<unsigned> frames{0}; // outlives the window that counts them
    CWindow window{MakeParams("Offscreen", 160, 120)};
};

TEST_F(NavigationPad, RepeatsFromClickToClick) {
    window.Subscribe_RefreshComplete([&](cimage::CImage const&) { ++frames; });
    Click(51, 35); // beside it
    EXPECT_FALSE(PadButton(plusYaw).IsRunning());
    Click(50, 35); // its last pixel
    EXPECT_TRUE(PadButton(plusYaw).IsRunning());
    EXPECT_TRUE(Eventually([&] { return Yaw() < -0.025 && frames > 2; })) << "crossed: backwards";
    Click(60, 80); // the roll is cleared beside it
    EXPECT_TRUE(Eventually([&] { return camera->Params().roll == 0; }));
    double const before = Yaw();
    EXPECT_TRUE(Eventually([&] { return Yaw() < before; })) << "both run";
    Click(60, 80);
    Click(40, 35);
    EXPECT_FALSE(PadButton(plusYaw).IsRunning());
    EXPECT_FALSE(PadButton(zeroRoll).IsRunning());
    Pause(60); // a step that was under way may still be finished
    double const stopped = Yaw();
    Pause(120);
    EXPECT_EQ(Yaw(), stopped);
    Click(40, 35);
    EXPECT_TRUE(Eventually([&] { return Yaw() < stopped; })) << "and on again";
}

TEST_F(NavigationPad, HasAButtonForEachTurn) {
    struct Case {
        int x;
        int y;
        double CCamera3D::Parameters::*angle;
        int sign;
    };
    for (Case const& c :
         {Case{30, 25, &CCamera3D::Parameters::yaw, -1},
          Case{90, 45, &CCamera3D::Parameters::yaw, 1},
          Case{50, 5, &CCamera3D::Parameters::pitch, 1},
          Case{70, 65, &CCamera3D::Parameters::pitch, -1},
          Case{5, 65, &CCamera3D::Parameters::roll, 1},
          Case{115, 5, &CCamera3D::Parameters::roll, -1}}) {
        camera->SetParams({1, 1, 0, 0, 0, 0, 0, 0, 0, 0});
        Click(c.x, c.y);
        EXPECT_TRUE(Eventually([&] { return camera->Params().*c.angle * c.sign >= 0.01; }));
        Click(c.x, c.y);
    }
}

TEST_F(NavigationPad, GoesAwayWhileButtonsRun) {
    for (int round = 0; round < 10; ++round) {
        Click(40, 35);
        Click(60, 80);
        boost::weak_ptr<Navigation> const gone = path;
        boost::shared_ptr<Button> const kept = path->Buttons()[plusYaw];
        path.reset();
        if (round % 2 == 0) {
            OnBackend(window, [](CWindowCoreManager& manager) { manager.ReleasePlugins(); });
        } else {
            window.ResetWindow(MakeParams("Offscreen", 160, 120)); // the window takes it along
            EXPECT_TRUE(Eventually([&] { return gone.expired(); }));
        }
        EXPECT_TRUE(gone.expired());
        EXPECT_FALSE(kept->IsRunning());
        double const stopped = Yaw();
        Pause(60);
        EXPECT_EQ(Yaw(), stopped);
        path = boost::make_shared<Navigation>(camera);
        window.InsertPlugin(path);
    }
}

TEST_F(NavigationPad, WorksOnWhileTheApplicationDoes) {
    for (int x : {40, 80, 60, 15, 105}) {
        Click(x, 35);
    }
    NavigationPlayer player(path);
    for (int i = 0; i < 40; ++i) {
        path->AddSegment({});
        path->SetRotationStep(0.01 * i);
        player.Seek(i);
        camera->FWD(0.01);
        window.Refresh(i % 4 == 0);
        Pause(5);
    }
    EXPECT_EQ(path->Segments().size(), 40U);
}

TEST(NavigationButton, EndsByItself) {
    CapturedOutput output;
    CWindow window(MakeParams("Offscreen"));
    std::atomic<int> runs{0};
    boost::shared_ptr<Button> button;
    auto const click = [&] {
        Event event = MakeEvent(EventPress, 3, 3);
        event.button = ButtonLeft;
        OnBackend(window, [&](CWindowCoreManager& m) { EXPECT_TRUE(button->Interact(&m, event)); });
    };
    struct Case {
        char const* what;
        boost::function<void()> action;
        int expectedRuns;
    };
    for (Case const& c : {
             Case{"no action", {}, 0},
             Case{"an error", [&] { throw std::runtime_error(std::to_string(++runs)); }, 1},
             Case{"taken away", [&] { button->SetAction({}), ++runs; }, 1},
             Case{"stopped by itself", [&] { button->Stop(), ++runs; }, 1},
             Case{"destroyed by itself", [&] { button.reset(), ++runs; }, 1},
         }) {
        runs = 0;
        button = boost::make_shared<Button>(math::Rect2<int>(1, 1, 5, 5), "b", c.action);
        click();
        EXPECT_TRUE(Eventually([&] { return runs >= c.expectedRuns; })) << c.what;
        Pause(80);
        EXPECT_EQ(runs, c.expectedRuns) << c.what;
    }
    // In the calling thread it ends in the same ways.
    button = boost::make_shared<Button>(math::Rect2<int>(1, 1, 5, 5), "b", [&] {
        if (++runs > 3) {
            boost::this_thread::interruption_point();
            throw std::runtime_error("enough");
        }
    });
    runs = 0;
    OnBackend(window, [&](CWindowCoreManager& manager) {
        button->Periodic_Refresh(&manager, boost::posix_time::milliseconds(1));
    });
    EXPECT_EQ(runs, 4);
}

TEST(NavigationPicture, SurvivesACameraThatMakesNoSense) {
    CapturedOutput output;
    auto const camera = boost::make_shared<CCamera3D>(true);
    CWindow window(MakeParams("Offscreen", 40, 30));
    window.SetCamera(camera);
    window.EnableZBuffer(0.1, 100);
    window.DrawCircle(5, 0, 3, true);
    window.DrawText(5, 0, 1, "text");
    math::Point3<float> const corners[] = {{5, -1, 0}, {5, 1, 0}, {6, 1, 2}, {6, -1, 2}};
    window.DrawImage(corners, cimage::TImage<unsigned char>(4, 4));
    double const nan = std::nan("");
    double const endless = std::numeric_limits<double>::infinity();
    struct {
        CCamera3D::Parameters p;
        bool seen;
    } const cases[] = {
        {{1, 1, 0, 0, 0, 0.2, 0, 0, 0, 2}, true}, // the one that sees something
        {{}, true},                               // all in the middle, where the text stands
        {{0, 1, 0, 0, 0, 0.2, 0, 0, 0, 2}, true},
        {{1, 1, 0, 0, nan, 0.2, 0, 0, 0, 2}, false},
        {{1, 1, 0, 0, 0, 0.2, 0, endless, 0, 2}, false},
        {{endless, 1, 0, 0, 0, 0.2, 0, 0, 0, 2}, false},
        {{1, 1, nan, 0, 0, endless, 0, 0, 0, 2}, false},
        {{1e300, 1e300, 0, 0, 0, 1e300, 0, 0, 0, 1e300}, false}};
    for (auto const& c : cases) {
        camera->SetParams(c.p);
        window.Refresh(true);
        auto const frame = window.GrabImage(0);
        bool seen = false;
        for (unsigned i = 0; i < 40 * 30; ++i) {
            seen = seen || (*frame)(i % 40, i / 40) != (*frame)(0, 29);
        }
        EXPECT_EQ(seen, c.seen) << "case " << &c - cases;
    }
}

std::string Bytes(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(NavigationButton, NeverOwnsTheWindowThatItRedraws) {
    CapturedOutput output;
    for (int round = 0; round < 100; ++round) {
        auto window = boost::make_shared<CWindow>(MakeParams("Offscreen"));
        boost::optional<boost::thread::id> destroyedBy;
        CWindowCoreManager* backend = nullptr;
        OnBackend(*window, [&](CWindowCoreManager& manager) {
            backend = &manager;
            manager.RegisterOnDestroyCallback(
                [&](CWindowCoreManager*) { destroyedBy = boost::this_thread::get_id(); });
        });
        std::atomic<int> runs{0};
        Button button({1, 1, 5, 5}, "b", [&] { ++runs; });
        boost::thread worker([&] { button.Periodic_Refresh(backend, {}); });
        EXPECT_TRUE(Eventually([&] { return runs > round % 10; }));
        window.reset();
        EXPECT_EQ(destroyedBy, boost::this_thread::get_id()) << "round " << round;
        worker.join();
    }
}

TEST(NavigationRender, GivesTheSameFramesInEveryRun) {
    OutputFolder const folder;
    CapturedOutput output;
    std::string const previous = CWindow::setOutputPath(folder.path.string());
    for (char const* name : {"first.png", "second.png"}) {
        auto const camera = boost::make_shared<CCamera3D>(true);
        auto const path = boost::make_shared<Navigation>(camera);
        for (int i = 0; i < 3; ++i) {
            Navigation::Segment s;
            s.begin.ku = s.begin.ratio = s.end.ku = s.end.ratio = 1;
            s.begin.pitch = s.end.pitch = 0.4;
            s.begin.x = -6.0 + i;
            s.end.x = -5.0 + i;
            s.begin.z = s.end.z = 2;
            s.end.yaw = 0.1;
            s.duration = 0.1;
            s.smoothingPosition = Navigation::Segment::CUBIC_SPLINE;
            path->AddSegment(s);
        }
        CWindow window(MakeParams("Offscreen", 80, 60));
        window.SetCamera(camera);
        window.SetColor({255, 200, 100, 255});
        window.DrawCircle(0, 0, 1, true);
        NavigationPlayer player(path);
        EXPECT_EQ(player.RenderFiles(window, 0.05, name), 7U);
        EXPECT_EQ(
            NavigationPlayer(boost::make_shared<Navigation>(camera))
                .RenderFiles(window, 0.05, "none.png"),
            0U)
            << "an empty path";
        EXPECT_EQ(player.RenderFiles(window, 0.0, "none.png"), 0U);
        EXPECT_EQ(player.RenderFiles(window, std::nan(""), "none.png"), 0U);
        EXPECT_EQ(player.RenderFiles(window, 1e-300, "none.png"), 0U);
    }
    CWindow::setOutputPath(previous);
    std::vector<std::string> const files = folder.Files();
    ASSERT_EQ(files.size(), 14U);
    EXPECT_EQ(files[6], "first-000006.png");
    for (std::size_t i = 0; i < 7; ++i) {
        std::string const frame = Bytes(folder.Path(files[i]));
        EXPECT_EQ(frame, Bytes(folder.Path(files[i + 7]))) << files[i];
        EXPECT_NE(frame, Bytes(folder.Path(files[(i + 1) % 7]))) << "the camera moves";
    }
}

} // namespace
