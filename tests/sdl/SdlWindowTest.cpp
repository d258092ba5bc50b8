// Windows of an X server that this program starts, with hands on mouse and keyboard: xdotool.
// The suites of every driver run here too. --window-manager runs all of it under one; --wayland
// runs the suites, and WaylandTest.cpp, in a compositor.

#include "drivers/TestWindow.h"
#include "drivers/TestedDrivers.h"
#include "sdl/Hands.h"
#include "sdl/Screen.h"
#include "sdl/XServer.h"
#include "support/CapturedOutput.h"
#include "ui/win/Keys.h"
#include "ui/win/camera/CWindowCamera2D.h"
#include "ui/win/widgets/Gadgets.h"

#include <boost/thread/thread.hpp>

#include <gmock/gmock.h>

#include <cstdlib>
#include <iostream>
#include <thread>

namespace tests {

std::vector<char const*> TestedDrivers() {
    return {"SDL"};
}
std::vector<char const*> DrawingDrivers() {
    return {"SDL"};
}

} // namespace tests

namespace {

using namespace ui::win;
using namespace tests;
using testing::ElementsAre;

bool g_windowManager = false;

constexpr unsigned width = 320;
constexpr unsigned height = 240;

CreationParams WindowAt(int x, int y, unsigned flags = StateVisible | StateKeyboard) {
    CreationParams params = MakeParams("SDL", width, height, flags);
    params.x = x;
    params.y = y;
    params.camera = boost::make_shared<CCamera2D>(0, 0, width, height, 0);
    return params;
}

struct SdlWindow : testing::Test {
    SdlWindow() {
        window.SetEventMask(~0U);
        window.SetViewportMode(ViewPortPixels); // no camera that would take the mouse
        window.Layer(0).SetCamera({});
        window.SetViewportMode(ViewPortPixels);
        window.Refresh(true);
        Eventually([&] { return screen.IsMapped(window); });
        Eventually([&] { return screen.Differences(window) == 0; });
        Xdotool("mousemove 1200 1000");
        Settle();
    }

    /// Waits until the window has had every event so far, and forgets them.
    void Settle() {
        for (int quiet = 0; quiet < 3; ++quiet) {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            window.FlushEvent();
            for (Event event; window.GetNextEvent(event);) {
                quiet = 0;
            }
        }
    }

    Event Next(unsigned kinds) { return NextEvent(window, kinds); }

    /// Screen position of a pixel of the window, for xdotool.
    std::string At(int x, int y) {
        auto const [left, top] = screen.Origin(window);
        return "mousemove " + std::to_string(left + x) + " " + std::to_string(top + y) + " ";
    }

    void Draw(unsigned seed) {
        window.Clear();
        window.DrawImage(0, 0, Noise(width, height, seed));
        window.Refresh(true);
    }

    CapturedOutput output;
    Screen screen;
    CWindow window{WindowAt(200, 150)};
};

TEST_F(SdlWindow, ShowsWhatTheCoreDrew) {
    EXPECT_EQ(screen.Differences(window), 0) << "the background";
    Draw(1);
    EXPECT_EQ(screen.Differences(window), 0);
    window.SetColor({255, 255, 0, 255});
    window.DrawBox(130, 100, 170, 103, true);
    window.DrawBox(10, 220, 11, 221, true);
    window.Refresh(true);
    EXPECT_EQ(screen.Differences(window), 0) << "only parts have changed";
    window.Refresh(true);
    EXPECT_EQ(screen.Differences(window), 0) << "nothing has changed";
    {
        CWindow cover(WindowAt(250, 180));
        cover.Refresh(true);
        Eventually([&] { return screen.IsMapped(cover); });
    }
    EXPECT_TRUE(Eventually([&] { return screen.Differences(window) == 0; })) << "uncovered";
    window.SetVisibility(false);
    EXPECT_TRUE(Eventually([&] { return !screen.IsMapped(window); }));
    Draw(2);
    window.SetVisibility(true);
    EXPECT_TRUE(Eventually([&] { return screen.IsMapped(window); }));
    EXPECT_TRUE(Eventually([&] { return screen.Differences(window) == 0; })) << "shown again";
    window.SetSize(200, 150);
    EXPECT_TRUE(Eventually([&] { return screen.Size(window) == std::pair(200, 150); }));
    EXPECT_TRUE(Eventually([&] { return screen.Differences(window) == 0; })) << "another size";
    window.SetBackgroundColor({9, 99, 199, 255});
    window.Clear();
    window.Refresh(true);
    EXPECT_EQ(screen.Pixel(Screen::NumberOf(window), 199, 149), RGB(9, 99, 199));
}

TEST_F(SdlWindow, DeliversButtonsAndWheelWithPositionAndModifiers) {
    struct {
        char const* xButton;
        char const* modifier;
        std::uint32_t button;
        std::uint32_t state;
    } const cases[] = {
        {"1", "", ButtonLeft, 0},
        {"2", "", ButtonMiddle, 0},
        {"3", "", ButtonRight, 0},
        {"8", "", ButtonBack, 0},
        {"9", "", ButtonForward, 0},
        {"1", "shift", ButtonLeft, StateShift},
        {"3", "ctrl", ButtonRight, StateCtrl},
    };
    for (auto const& c : cases) {
        std::string const modifier = c.modifier;
        std::string const down = modifier.empty() ? "" : "keydown " + modifier + " ";
        std::string const up = modifier.empty() ? "" : " keyup " + modifier;
        Xdotool(At(50, 60) + down + "click " + c.xButton + up);
        Event const press = Next(EventPress);
        EXPECT_EQ(press.button, c.button) << c.xButton;
        EXPECT_EQ(press.state, c.state | c.button);
        EXPECT_EQ(press.screenX * 1000 + press.screenY, 50060);
        EXPECT_NE(press.enabled, 0U);
        Event const release = Next(EventRelease);
        EXPECT_EQ(release.button, c.button);
        EXPECT_EQ(release.state, c.state);
    }
    for (auto const& [xButton, button] :
         {std::pair("4", WheelForward), std::pair("5", WheelBack)}) {
        Xdotool(std::string("click --repeat 2 ") + xButton);
        EXPECT_EQ(Next(EventPress).button, button);
        EXPECT_EQ(Next(EventPress).button, button);
    }
}

TEST_F(SdlWindow, KeepsThePointerWhileAButtonIsHeld) {
    Xdotool(At(100, 100) + "mousedown 1 " + At(110, 105));
    EXPECT_EQ(Next(EventPress).screenX, 100);
    Event const inside = Next(EventMotion);
    EXPECT_EQ(inside.screenX * 1000 + inside.screenY, 110105);
    EXPECT_EQ(inside.state, 1U) << "the held button";
    Xdotool(At(-50, 300));
    Event outside;
    do {
        outside = Next(EventMotion);
    } while (outside.type != 0 && outside.screenX > 1);
    EXPECT_EQ(outside.screenX, 1) << "layers take events strictly inside of them";
    EXPECT_EQ(outside.screenY, static_cast<int>(height) - 1);
    Xdotool("mouseup 1");
    Event const release = Next(EventRelease);
    EXPECT_EQ(release.button, ButtonLeft);
    EXPECT_EQ(release.screenX, 1);
    Xdotool(At(20, 20));
    Event back;
    do {
        back = Next(EventMotion);
    } while (back.type != 0 && back.screenX != 20);
    EXPECT_EQ(back.state, 0U);
    OnBackend(window, [](CWindowCoreManager& manager) {
        CWindowCore::Colour colour;
        EXPECT_TRUE(manager.GetHighlightColor(&colour));
    });
    Xdotool(At(-100, -100));
    Event left;
    do {
        left = Next(EventWindow);
    } while (left.type != 0 && left.key != WindowPointerLeft);
    EXPECT_EQ(left.key, static_cast<std::uint32_t>(WindowPointerLeft));
    OnBackend(window, [](CWindowCoreManager& manager) {
        CWindowCore::Colour colour;
        EXPECT_FALSE(manager.GetHighlightColor(&colour));
    });
}

TEST_F(SdlWindow, EndsDragsWhenItHides) {
    Xdotool(At(100, 100) + "mousedown 1");
    EXPECT_EQ(Next(EventPress).button, ButtonLeft);
    window.SetVisibility(false);
    EXPECT_EQ(Next(EventRelease).button, ButtonLeft);
    Xdotool("mouseup 1");
}

TEST_F(SdlWindow, EndsDragsAndForgetsModifiersWhenItLosesTheFocus) {
    Screen::Number const other = screen.OpenForeignWindow();
    Xdotool(At(100, 100) + "click 1");
    Settle();
    Xdotool("keydown shift mousedown 1 " + At(110, 105));
    EXPECT_EQ(Next(EventPress).state, ButtonLeft | StateShift);
    EXPECT_EQ(Next(EventMotion).state, ButtonLeft | StateShift);
    Xdotool("windowfocus " + std::to_string(other));
    Event const release = Next(EventRelease | EventWindow);
    EXPECT_EQ(release.type, static_cast<std::uint32_t>(EventRelease)) << "before the focus goes";
    EXPECT_EQ(release.button, ButtonLeft);
    EXPECT_EQ(release.screenX * 1000 + release.screenY, 110105);
    EXPECT_EQ(release.state, 0U);
    Event const lost = Next(EventWindow);
    EXPECT_EQ(lost.key, static_cast<std::uint32_t>(WindowFocusLost));
    EXPECT_EQ(lost.state, 0U);
    Xdotool("keyup shift mouseup 1 " + At(120, 110));
    EXPECT_EQ(Next(EventMotion).state, 0U);
    Settle();
    Xdotool("windowfocus " + std::to_string(Screen::NumberOf(window)));
    EXPECT_EQ(Next(EventWindow).key, static_cast<std::uint32_t>(WindowFocusGained));
}

TEST_F(SdlWindow, MayBeHeldBackByAWindowManagerThatHangs) {
    if (g_windowManager) {
        GTEST_SKIP() << "there can be only one window manager, and this one works";
    }
    screen.HoldWindows();
    CWindow held(WindowAt(700, 500));
    held.Refresh(true);
    Draw(7);
    EXPECT_EQ(screen.Differences(window), 0) << "the others go on";
    EXPECT_FALSE(screen.IsMapped(held));
    screen.Release(held);
    EXPECT_TRUE(Eventually([&] { return screen.IsMapped(held); }));
    EXPECT_TRUE(Eventually([&] { return screen.Differences(held) == 0; }));
}

TEST_F(SdlWindow, DeliversCharactersAndKeyCodes) {
    Xdotool(At(100, 100) + "click 1");
    Next(EventRelease);
    struct {
        char const* keys;
        std::vector<std::uint32_t> codes;
    } const cases[] = {
        {"key a Z 1 plus space eacute EuroSign dead_acute o",
         {'a', KeyShift, 'Z', '1', KeyShift, '+', ' ', 0xE9, 0x20AC, 0xF3}},
        {"key Return BackSpace Tab Escape Delete",
         {KeyEnter, KeyBackspace, KeyTab, KeyEscape, KeyDelete}},
        {"key F1 F12 Left Up Prior Next Home End Insert",
         {KeyF1, KeyF12, KeyLeft, KeyUp, KeyPageUp, KeyPageDown, KeyHome, KeyEnd, KeyInsert}},
        {"key ctrl+q ctrl+9 ctrl+F9", {KeyControl, 'q', KeyControl, '9', KeyControl, KeyF9}},
    };
    for (auto const& c : cases) {
        Xdotool(std::string(c.keys).insert(3, " --delay 30 --clearmodifiers"));
        std::vector<std::uint32_t> codes;
        for (std::size_t i = 0; i < c.codes.size(); ++i) {
            codes.push_back(Next(EventKey).key);
        }
        EXPECT_EQ(codes, c.codes) << c.keys;
    }
    Xdotool("key ctrl+shift+x");
    Event event;
    do {
        event = Next(EventKey);
    } while (event.type != 0 && event.key >= KeyF1);
    EXPECT_EQ(event.key, 'X');
    EXPECT_EQ(event.state, StateCtrl | StateShift);
}

TEST_F(SdlWindow, CtrlKeysAreCommandsOfTheWindow) {
    Xdotool(At(100, 100) + "click 1");
    Next(EventRelease);
    Xdotool("key --delay 30 ctrl+2");
    EXPECT_TRUE(Eventually([&] { return screen.Size(window) == std::pair(160, 120); }));
    Xdotool("key --delay 30 ctrl+4");
    EXPECT_TRUE(Eventually([&] { return screen.Size(window) == std::pair(320, 240); }));
    Xdotool("key --delay 30 ctrl+f");
    EXPECT_TRUE(Eventually(
        [&] { return screen.Size(window) == std::pair(XServer::Width, XServer::Height); }));
    EXPECT_TRUE(Eventually([&] { return screen.Differences(window) == 0; }));
    EXPECT_TRUE(window.IsFullScreen());
    Xdotool("key --delay 30 ctrl+f");
    EXPECT_TRUE(Eventually([&] { return screen.Size(window) == std::pair(320, 240); }));
    EXPECT_TRUE(Eventually([&] { return screen.Differences(window) == 0; }));
}

TEST_F(SdlWindow, CtrlKeysOpenTheBarsAndTheHelpScreen) {
    Draw(5);
    Xdotool(At(100, 100) + "click 1");
    Next(EventRelease);
    auto const pixel = [&](int x, int y) { return screen.Pixel(Screen::NumberOf(window), x, y); };
    // The corner of the help screen's frame, and a place in the bar beside its text.
    struct {
        char const* key;
        int x;
        int y;
    } const cases[] = {
        {"h", 20, 20},
        {"F1", 317, 238},
        {"F2", 317, 238},
        {"F3", 317, 238},
        {"F4", 317, 238},
        {"F5", 317, 238},
        {"F6", 317, 238}};
    for (auto const& c : cases) {
        RGB const before = pixel(c.x, c.y);
        std::string const press = std::string("key --delay 30 ctrl+") + c.key;
        Xdotool(press);
        EXPECT_TRUE(Eventually([&] {
            return pixel(c.x, c.y) != before && screen.Differences(window) == 0;
        })) << c.key;
        Xdotool(press);
        EXPECT_TRUE(Eventually([&] { return pixel(c.x, c.y) == before; })) << c.key << " again";
    }
}

TEST_F(SdlWindow, KeepsItsProportionsUnlessUnlocked) {
    std::string const number = std::to_string(Screen::NumberOf(window));
    auto const drag = [&](int w, int h) {
        Xdotool("windowsize " + number + " " + std::to_string(w) + " " + std::to_string(h));
    };
    drag(400, 240);
    EXPECT_TRUE(Eventually([&] { return screen.Size(window) == std::pair(400, 300); }))
        << screen.Size(window).first << "x" << screen.Size(window).second;
    EXPECT_TRUE(Eventually([&] { return screen.Differences(window) == 0; }));
    EXPECT_EQ(Next(EventWindow).key, static_cast<std::uint32_t>(WindowResized));
    OnBackend(window, [](CWindowCoreManager& manager) {
        EXPECT_EQ(manager.ContentWidth(), 320U) << "what was asked for";
    });
    drag(400, 150);
    Settle();
    auto const [w, h] = screen.Size(window); // a window manager may keep the other edge
    EXPECT_EQ(w * 3, h * 4) << w;
    Xdotool(At(100, 100) + "click 1 key --delay 30 ctrl+a");
    Settle();
    drag(300, 100);
    EXPECT_TRUE(Eventually([&] { return screen.Size(window) == std::pair(300, 100); }));
    Settle();
    EXPECT_EQ(screen.Size(window), std::pair(300, 100));
    EXPECT_EQ(screen.Differences(window), 0);
}

TEST_F(SdlWindow, FollowsTheUsersAndTheApplicationsPlace) {
    EXPECT_TRUE(Eventually([&] { return screen.Origin(window) == std::pair(200, 150); }))
        << "its own pixels, without the frame";
    window.SetTitle("R\xC3\xA9sum\xC3\xA9");
    window.SetTitle("Another");
    window.SetPosition(333, 222);
    EXPECT_TRUE(Eventually([&] { return screen.Origin(window) == std::pair(333, 222); }));
    EXPECT_EQ(screen.Title(window), "Another");
    Xdotool("windowmove " + std::to_string(Screen::NumberOf(window)) + " 500 400");
    int x = 0;
    int y = 0;
    EXPECT_TRUE(Eventually([&] { return window.GetPosition(x, y) && x >= 500 && y >= 400; }));
    EXPECT_EQ(screen.Origin(window), std::pair(x, y));
    ScreenGeometry geometry;
    EXPECT_TRUE(window.GetScreenGeometry(geometry));
    EXPECT_EQ(geometry.width, static_cast<unsigned>(XServer::Width));
    EXPECT_EQ(geometry.height, static_cast<unsigned>(XServer::Height));
    window.SetDecoration(false);
    window.SetDecoration(true);
    EXPECT_TRUE(Eventually([&] { return screen.Differences(window) == 0; }));

    CWindow grown(WindowAt(-1, -1, 0)); // its place is free, and its size chosen before it is shown
    grown.SetSize(900, 700);
    grown.SetVisibility(true);
    EXPECT_TRUE(Eventually([&] { return screen.IsMapped(grown); }));
    auto const [left, top] = screen.Origin(grown);
    EXPECT_NEAR(left, (XServer::Width - 900) / 2, 30) << "but for a frame";
    EXPECT_NEAR(top, (XServer::Height - 700) / 2, 30);
}

TEST_F(SdlWindow, HidesAtTheCloseButtonAndTellsTheApplication) {
    screen.PressCloseButton(window);
    EXPECT_TRUE(Eventually([&] { return !screen.IsMapped(window); }));
    Event event;
    do {
        event = Next(EventWindow);
    } while (event.type != 0 && event.key != WindowClosed);
    EXPECT_EQ(event.key, static_cast<std::uint32_t>(WindowClosed));
    EXPECT_FALSE(window.IsVisible());
    Draw(3);
    window.SetVisibility(true);
    EXPECT_TRUE(Eventually([&] { return screen.IsMapped(window); }));
    EXPECT_TRUE(Eventually([&] { return screen.Differences(window) == 0; }));
}

TEST_F(SdlWindow, TakesAShapeAndKeepsItThroughNewSurfaces) {
    window.SetBackgroundColor({0, 0, 255, 255});
    std::vector<RGB> mask(width * height, RGB(1, 2, 3));
    for (unsigned y = 100; y < 140; ++y) {
        std::fill_n(mask.begin() + y * width + 100, 37, RGB(200, 0, 0));
    }
    auto const shape = boost::make_shared<CWndCommand_SetWindowShape>();
    shape->ImportMask(mask.data(), width, height, {1, 2, 3, 0});
    window.SendCommand(shape, 0);
    auto const expectShape = [&] {
        EXPECT_TRUE(Eventually([&] { return screen.IsMapped(window); }));
        auto const isInside = [&](int x, int y) {
            auto const [left, top] = screen.Origin(window);
            return screen.Pixel(screen.Root(), left + x, top + y) == RGB(0, 0, 255);
        };
        EXPECT_TRUE(Eventually([&] { return isInside(100, 100) && isInside(136, 139); }));
        EXPECT_FALSE(isInside(99, 100));
        EXPECT_FALSE(isInside(137, 120));
        EXPECT_FALSE(isInside(120, 140));
    };
    window.Refresh(true);
    expectShape();
    window.SetSize(200, 180); // a new surface
    window.Refresh(true);
    expectShape();
    window.SetVisibility(false);
    window.SetVisibility(true);
    window.Refresh(true);
    expectShape();
    OnBackend(window, [](CWindowCoreManager& manager) { manager.SetWindowShape(nullptr, 0, 0); });
    window.Refresh(true);
    EXPECT_TRUE(Eventually([&] { return screen.Differences(window) == 0; })) << "plain again";
}

TEST_F(SdlWindow, SharesOneThreadWithEveryOtherOfTheProcess) {
    CWindow second(WindowAt(700, 500));
    second.SetEventMask(EventPress);
    second.Layer(0).SetCamera({});
    second.SetViewportMode(ViewPortPixels);
    second.Refresh(true);
    boost::thread::id threads[2];
    OnBackend(window, [&](CWindowCoreManager&) { threads[0] = boost::this_thread::get_id(); });
    OnBackend(second, [&](CWindowCoreManager&) { threads[1] = boost::this_thread::get_id(); });
    EXPECT_EQ(threads[0], threads[1]);
    EXPECT_NE(threads[0], boost::this_thread::get_id());
    Eventually([&] { return screen.IsMapped(second); });
    Settle();
    auto const [x, y] = screen.Origin(second);
    Xdotool("mousemove " + std::to_string(x + 7) + " " + std::to_string(y + 8) + " click 3");
    Event event;
    EXPECT_TRUE(Eventually([&] { return second.FlushEvent() && second.GetNextEvent(event); }));
    EXPECT_EQ(event.screenX * 10 + event.screenY, 78);
    window.FlushEvent();
    while (window.GetNextEvent(event)) {
        EXPECT_NE(event.type, static_cast<std::uint32_t>(EventPress)) << "not of this window";
    }
    second.RemoveAllBackend();
    window.RemoveAllBackend();
    window.ResetWindow(WindowAt(200, 150)); // the thread and its display start again
    window.Refresh(true);
    EXPECT_TRUE(Eventually([&] { return screen.Differences(window) == 0; }));
}

TEST_F(SdlWindow, WritesTheValuesOfMagnifiedPixelsWhereTheStatusBarCountsThem) {
    cimage::TImage<unsigned short> image(8, 6);
    for (unsigned i = 0; i < 48; ++i) {
        image(i % 8, i / 8) = static_cast<unsigned short>(1300 * i);
    }
    auto const camera = boost::make_shared<CCamera2D>(0, 0, 8, 6, 0); // 40 window pixels each
    camera->SetTranslation({0.3, -0.7});
    window.SetCamera(camera);
    window.Clear();
    window.DrawImage(0, 0, image);
    window.Refresh(true);
    EXPECT_TRUE(Eventually([&] { return screen.Differences(window) > 500; }));
    Xdotool(At(100, 100) + "click 1 key --delay 30 ctrl+F3 " + At(139, 100) + At(140, 101));
    Settle();
    ImageCounts counts;
    ASSERT_TRUE(window.GetImageCounts(140, 101, counts));
    OnBackend(window, [&](CWindowCoreManager& manager) {
        auto const& bar = dynamic_cast<StatusBar&>(*manager.FindPlugin("StatusBar")->widget);
        EXPECT_EQ(static_cast<unsigned>(bar.PointerWorld().x), counts.x);
        EXPECT_EQ(static_cast<unsigned>(bar.PointerWorld().y), counts.y);
    });
    EXPECT_EQ(counts.values[0], image(counts.x, counts.y));
    Xdotool("key --delay 30 ctrl+v");
    EXPECT_TRUE(Eventually([&] { return screen.Differences(window) == 0; }));
}

TEST_F(SdlWindow, PansWithTheMouse) {
    auto const camera = boost::make_shared<CCamera2D>(0, 0, width, height, 0);
    window.SetCamera(camera);
    Draw(4);
    Xdotool(At(100, 100) + "mousedown 1 " + At(120, 110) + At(130, 90) + "mouseup 1");
    EXPECT_TRUE(Eventually([&] { return !camera->IsDragging() && camera->Translation().x > 29; }));
    EXPECT_NEAR(camera->Translation().x, 30, 0.01);
    EXPECT_NEAR(camera->Translation().y, -10, 0.01);
    EXPECT_TRUE(Eventually([&] { return screen.Differences(window) == 0; }));
}

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    std::string const mode = argc > 1 ? argv[1] : "";
    bool const wayland = mode == "--wayland";
    g_windowManager = mode == "--window-manager";
    if (!(wayland ? Weston::IsThere() : XServer::IsThere())) {
        std::cout << "Skipped: Xvfb, xdotool, openbox or weston is not installed\n";
        return 77; // as CMakeLists.txt tells CTest
    }
    if (GTEST_FLAG_GET(filter) == "*") {
        GTEST_FLAG_SET(filter, wayland ? "-SdlWindow.*" : "-WaylandWindow.*");
    }
    XServer const server(g_windowManager);
    setenv("DISPLAY", server.Display().c_str(), 1);
    setenv("SDL_VIDEODRIVER", wayland ? "wayland" : "x11", 1);
    if (!wayland) {
        return RUN_ALL_TESTS();
    }
    Weston const weston(server);
    setenv("XDG_RUNTIME_DIR", weston.Folder().c_str(), 1);
    setenv("WAYLAND_DISPLAY", Weston::Display, 1);
    return RUN_ALL_TESTS();
}
