#include "drivers/TestWindow.h"
#include "support/CapturedOutput.h"
#include "support/OutputFolder.h"

#include <boost/thread/thread.hpp>

#include <gmock/gmock.h>

#include <atomic>
#include <cstdlib>
#include <fstream>

namespace {

using namespace ui::win;
using namespace tests;
using testing::HasSubstr;

TEST(DriverModules, AreLookedForByNameAndSayWhyTheyCannotBeLoaded) {
    CapturedOutput output;
    OutputFolder const folder;
    std::ofstream(folder.path / "quarn_driver_broken.so") << "this is no library";
    setenv("QUARN_DRIVER_PATH", (":/nowhere:" + folder.path.string()).c_str(), 1);
    EXPECT_THROW(CWindow(MakeParams("Broken")), std::runtime_error);
    std::string const said = output.Take();
    EXPECT_THAT(said, HasSubstr("[EE] win: Driver module " + folder.path.string()));
    EXPECT_EQ(said.find("cannot be loaded: "), said.rfind("cannot be loaded: ")) << "said once";
    EXPECT_THAT(said, HasSubstr("[EE] CWindow: CWindow driver 'Broken' not found: \n"));
    EXPECT_THROW(CWindow(MakeParams("../modules/broken")), std::runtime_error);
    EXPECT_THAT(output.Take(), testing::Not(HasSubstr("cannot be loaded")));
    unsetenv("QUARN_DRIVER_PATH");
    EXPECT_NO_THROW(CWindow(MakeParams("Offscreen")));
}

TEST(RenderThread, RefreshFromAnotherThreadIsHandedOver) {
    CapturedOutput output;
    CWindow window(MakeParams("Offscreen"));
    CWindowCoreManager* backend = nullptr;
    OnBackend(window, [&](CWindowCoreManager& manager) { backend = &manager; });
    std::atomic<int> frames{0};
    window.Subscribe_RefreshComplete([&](cimage::CImage const&) { ++frames; });
    boost::thread worker([&] { EXPECT_TRUE(backend->Refresh(true)); });
    worker.join();
    EXPECT_EQ(frames, 1);
}

TEST(RenderThread, DrainWaitsForThePictureThatACommandAskedFor) {
    CapturedOutput output;
    CWindow window(MakeParams("Offscreen"));
    boost::shared_ptr<CWindowCoreManager> backend;
    OnBackend(window, [&](CWindowCoreManager& manager) { backend = manager.shared_from_this(); });
    auto const ask = boost::make_shared<CWndCommand_Call>([](CWindowCoreManager* manager) {
        boost::this_thread::sleep_for(boost::chrono::microseconds(50));
        manager->Refresh(false);
    });
    for (unsigned i = 1; i <= 200; ++i) {
        backend->PushCommand(ask);
        backend->Drain();
        ASSERT_EQ(backend->DrawCount(), i);
    }
}

TEST(RenderThread, QuitRefusesCommandsAndEndsWaiting) {
    CapturedOutput output;
    CWindow window(MakeParams("Offscreen"));
    window.SetEventMask(EventKey);
    bool result = true;
    boost::thread waiter([&] { result = window.WaitForEvent(); });
    auto const quit = boost::make_shared<CWndCommand_Quit>();
    window.SendCommand(quit, 0);
    quit->Suspend();
    waiter.join();
    EXPECT_FALSE(result);
    EXPECT_FALSE(window.SetTitle("late"));
    std::string title;
    EXPECT_FALSE(window.GetTitle(title));
    EXPECT_THROW(window.GrabImage(), std::runtime_error);
}

TEST(RenderThread, AnswersGoNowhereOnceTheSenderHasGone) {
    CapturedOutput output;
    // The first backend refuses, so the sender leaves at once; the second still has the query.
    CWindow window(MakeParams("Offscreen,Offscreen"));
    auto const quit = boost::make_shared<CWndCommand_Quit>();
    window.SendCommand(quit, 0);
    quit->Suspend();
    for (int i = 0; i < 100; ++i) {
        Colour colour(1, 2, 3, 4);
        EXPECT_FALSE(window.GetColorUnderMouse(&colour, -1));
        ScreenGeometry geometry;
        EXPECT_FALSE(window.GetScreenGeometry(geometry));
    }
}

TEST(RenderThread, TwoBackendsShareDrawablesAndCameras) {
    CapturedOutput output;
    CWindow window(MakeParams("Offscreen,Offscreen"));
    std::vector<math::Point2<float>> points;
    for (int i = 0; i < 1000; ++i) {
        points.emplace_back(static_cast<float>(i % 64), static_cast<float>(i / 64));
    }
    window._DrawPixels(points);
    for (int i = 0; i < 50; ++i) {
        window.SetSize(64 + static_cast<unsigned>(i % 3), 48);
        window.DrawText(5, 40, "text");
        Event wheel = MakeEvent(EventMotion, 10, 10);
        window.InjectEvent(wheel, -1);
        window.Refresh(i % 5 == 0);
    }
    EXPECT_EQ((*window.GrabImage(0))(3, 3), (*window.GrabImage(1))(3, 3));
}

} // namespace
