// Displays that are not there, that go away, and who is taken instead. Each test runs in a process
// of its own.

#include "drivers/TestWindow.h"
#include "sdl/XServer.h"
#include "support/CapturedOutput.h"
#include "support/IniGuard.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace {

using namespace ui::win;
using namespace tests;
using testing::HasSubstr;
using testing::MatchesRegex;

struct Display : testing::Test {
    Display() {
        for (char const* const name : {"DISPLAY", "WAYLAND_DISPLAY", "XDG_RUNTIME_DIR"}) {
            unsetenv(name);
        }
        setenv("SDL_VIDEODRIVER", "x11", 1); // not the console of a machine without a desktop
    }
    CapturedOutput output;
};

TEST_F(Display, IsNeededByTheDriverWhichSaysSoInSdlsOwnWords) {
    for (int i = 0; i < 2; ++i) {
        try {
            CWindow(MakeParams("SDL"));
            FAIL() << "a window without a display";
        } catch (std::runtime_error const& error) {
            EXPECT_STREQ(
                error.what(), "CWindow driver unknown. See list of available driver above");
        }
        EXPECT_EQ(
            output.Take(),
            "[EE] CWindow: CWindow driver 'SDL' is not available: x11 not available\n"
            "[EE] CWindow: CWindow driver 'SDL' not found: \n"
            "[EE] CWindow: Available driver are: None SDL \n");
    }
}

TEST_F(Display, ThatDoesNotAnswerMakesAutoTakeOffscreen) {
    CWindow window(MakeParams("Auto"));
    EXPECT_EQ(window.GetCoreID("Offscreen"), 0);
    EXPECT_EQ(
        output.Take(),
        "[II] CWindow: Driver Auto takes Offscreen: driver 'SDL' is not available: x11 not "
        "available\n");
    EXPECT_EQ(PixelAt(window, 1, 1), RGB(0, 0, 0));
}

TEST_F(Display, ThatAnswersMakesAutoTakeSdl) {
    if (!XServer::IsThere()) {
        GTEST_SKIP() << "Xvfb, xdotool and openbox are not installed";
    }
    XServer const server;
    setenv("DISPLAY", server.Display().c_str(), 1);
    IniGuard config;
    config.ini.Set("GUI DRIVER", "Auto");
    CWindow::setINIFile(&config.ini);
    CWindow const window("Test", 64, 48, StateVisible);
    EXPECT_EQ(window.GetCoreID("SDL"), 0);
    EXPECT_THAT(output.Take(), HasSubstr("[II] CWindow: Driver Auto takes SDL: a display answers"));
    EXPECT_THAT(window.GetConnectionString(0), MatchesRegex("sdl:x11:0x[0-9a-f]+"));
}

TEST_F(Display, EnvironmentVariableWinsOverTheIniFile) {
    IniGuard config;
    setenv("QUARN_DRIVER", "None,Offscreen", 1);
    config.ini.Set("GUI DRIVER", "SDL");
    CWindow::setINIFile(&config.ini);
    EXPECT_EQ(CWindow::getDriver(), "None,Offscreen");
    EXPECT_EQ(
        output.Take(), "[II] CWindow: Drivers 'None,Offscreen' are taken: QUARN_DRIVER says so\n");
    setenv("QUARN_DRIVER", "", 1);
    CWindow::setINIFile(&config.ini);
    EXPECT_EQ(CWindow::getDriver(), "SDL");
}

TEST_F(Display, ThatGoesAwayIsReportedAndTheApplicationGoesOn) {
    if (!XServer::IsThere()) {
        GTEST_SKIP() << "Xvfb, xdotool and openbox are not installed";
    }
    XServer server;
    setenv("DISPLAY", server.Display().c_str(), 1);
    CWindow idle(MakeParams("SDL", 64, 48, StateVisible));
    CWindow busy(MakeParams("SDL", 64, 48, StateVisible));
    idle.SetEventMask(EventWindow);
    idle.Refresh(true);
    server.Kill();
    for (int i = 0; i < 20; ++i) {
        busy.SetColor({static_cast<unsigned char>(i), 0, 0, 255});
        busy.DrawBox(0, 0, 64, 48, true);
        busy.SetTitle("gone");
        busy.SetSize(64, 48);
        busy.SetVisibility(i % 2 == 0);
        EXPECT_TRUE(busy.Refresh(true));
    }
    EXPECT_EQ(PixelAt(busy, 5, 5), RGB(19, 0, 0)) << "it goes on unseen";
    Event event;
    do {
        ASSERT_TRUE(idle.WaitForEvent());
        while (idle.GetNextEvent(event) && event.key != WindowDisplayLost) {
        }
    } while (event.key != WindowDisplayLost);
    EXPECT_THAT(output.Take(), HasSubstr("the connection to the display is lost"));
    EXPECT_THROW(CWindow(MakeParams("SDL")), std::runtime_error);
    EXPECT_TRUE(idle.ResetWindow(MakeParams("Auto")));
    EXPECT_EQ(idle.GetCoreID("Offscreen"), 0);
    EXPECT_EQ(idle.GrabImage()->Width(), 64U);
}

} // namespace
