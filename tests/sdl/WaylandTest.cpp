// Windows of a Wayland compositor whose screen has two pixels a unit: what applications see are
// pixels all the same.

#include "sdl/Hands.h"
#include "sdl/Screen.h"
#include "sdl/XServer.h"
#include "support/CapturedOutput.h"

#include <gtest/gtest.h>

namespace {

using namespace ui::win;
using namespace tests;

struct WaylandWindow : testing::Test {
    WaylandWindow() {
        window.SetEventMask(~0U);
        window.Layer(0).SetCamera({});
        window.SetViewportMode(ViewPortPixels);
        Xdotool("mousemove 5 5"); // the compositor draws the pointer into its picture
    }

    /// The window's size, as its frame has it.
    std::pair<unsigned, unsigned> Size() {
        auto const frame = window.GrabImage();
        return {frame->Width(), frame->Height()};
    }

    bool Shows(cimage::TImage<RGB> const& picture) {
        return Eventually([&] { return screen.Find(picture, origin) == 0; });
    }

    void Draw(cimage::TImage<RGB> const& picture) {
        window.Clear();
        window.DrawImage(0, 0, picture);
        window.Refresh(true);
    }

    CapturedOutput output;
    Screen screen;
    CWindow window{MakeParams("SDL", 320, 240, StateVisible | StateKeyboard)};
    std::pair<int, int> origin; // of the picture that was found on the screen
};

TEST_F(WaylandWindow, ShowsEachPixelOfTheFrameAsOneOfTheScreen) {
    cimage::TImage<RGB> picture = Noise(320, 240, 1);
    Draw(picture);
    EXPECT_TRUE(Shows(picture));
    window.SetColor({255, 255, 0, 255});
    window.DrawBox(130, 100, 170, 103, true);
    window.DrawBox(11, 221, 12, 222, true);
    window.Refresh(true);
    EXPECT_TRUE(Shows(*window.GrabImage())) << "only parts have changed";
    window.SetVisibility(false);
    EXPECT_TRUE(Eventually([&] { return screen.Find(*window.GrabImage(), origin) > 9999; }));
    picture = Noise(320, 240, 2);
    Draw(picture);
    window.SetVisibility(true);
    EXPECT_TRUE(Shows(picture)) << "shown again";
}

TEST_F(WaylandWindow, HasItsSizeInPixels) {
    EXPECT_EQ(Size(), std::pair(320U, 240U));
    ScreenGeometry geometry;
    ASSERT_TRUE(window.GetScreenGeometry(geometry));
    EXPECT_EQ(geometry.width, unsigned{Weston::Width * Weston::Scale});
    EXPECT_EQ(geometry.height, unsigned{Weston::Height * Weston::Scale});
    window.SetSize(401, 200);
    cimage::TImage<RGB> const picture = Noise(402, 200, 3);
    Draw(picture);
    EXPECT_EQ(Size(), std::pair(402U, 200U)) << "the compositor knows whole units only";
    EXPECT_TRUE(Shows(picture));
    OnBackend(window, [](CWindowCoreManager& manager) {
        EXPECT_EQ(manager.ContentWidth(), 401U) << "what was asked for";
    });
    window.SetFullScreenMode(true);
    EXPECT_TRUE(Eventually([&] { return Size() == std::pair(geometry.width, geometry.height); }));
    window.SetFullScreenMode(false);
    EXPECT_TRUE(Eventually([&] { return Size() == std::pair(402U, 200U); }));
    Draw(picture);
    EXPECT_TRUE(Shows(picture));
}

TEST_F(WaylandWindow, IsToldOfThePointerAndTheKeysInPixels) {
    cimage::TImage<RGB> const picture = Noise(320, 240, 4);
    Draw(picture);
    ASSERT_TRUE(Shows(picture));
    int const left = origin.first;
    int const top = origin.second;
    auto const at = [=](int x, int y) {
        return "mousemove " + std::to_string(left + x) + " " + std::to_string(top + y) + " ";
    };
    Xdotool(at(100, 60) + "click 1");
    Event const press = NextEvent(window, EventPress);
    EXPECT_EQ(press.button, ButtonLeft);
    // A compositor inside of another screen may be some pixels off with its pointer, but always as
    // many.
    EXPECT_NEAR(press.screenX, 100, 20);
    EXPECT_NEAR(press.screenY, 60, 20);
    EXPECT_EQ(NextEvent(window, EventRelease).button, ButtonLeft);
    Xdotool(at(300, 220) + "click 4 key --delay 30 x");
    Event const wheel = NextEvent(window, EventPress);
    EXPECT_EQ(wheel.button, WheelForward);
    EXPECT_EQ(wheel.screenX - press.screenX, 200);
    EXPECT_EQ(wheel.screenY - press.screenY, 160);
    EXPECT_EQ(NextEvent(window, EventKey).key, 'x');
    Xdotool("key --delay 30 ctrl+2");
    EXPECT_TRUE(Eventually([&] { return Size() == std::pair(160U, 120U); }));
}

TEST_F(WaylandWindow, StaysAPlainOneWhenItCannotHaveAShape) {
    unsigned char const mask[] = {1};
    OnBackend(window, [&](CWindowCoreManager& manager) {
        EXPECT_FALSE(manager.SetWindowShape(mask, 8, 1));
    });
    cimage::TImage<RGB> const picture = Noise(320, 240, 5);
    Draw(picture);
    EXPECT_TRUE(Shows(picture));
}

} // namespace
