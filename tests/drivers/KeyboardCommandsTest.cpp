#include "drivers/TestWindow.h"
#include "support/CapturedOutput.h"
#include "support/IniGuard.h"
#include "ui/win/Keys.h"
#include "ui/win/camera/CWindowCamera2D.h"

#include <gmock/gmock.h>

namespace {

using namespace ui::win;
using namespace tests;

/// An Offscreen window that is sent Ctrl + key.
struct KeyboardCommands : testing::Test {
    KeyboardCommands() {
        window.SetCamera(camera);
        window.SetEventMask(EventKey);
        window.Refresh(true);
    }

    /// @return whether the application got the key
    bool Press(std::uint32_t key, std::uint32_t state = StateCtrl) {
        Event event = MakeEvent(EventKey);
        event.key = key;
        event.state = state;
        window.InjectEvent(event);
        OnBackend(window, [](CWindowCoreManager&) {});
        window.FlushEvent();
        bool const queued = window.GetNextEvent(event);
        return queued;
    }
    unsigned Flags() {
        unsigned flags = 0;
        OnBackend(window, [&](CWindowCoreManager& manager) { flags = manager.Flags(); });
        return flags;
    }
    unsigned Size() {
        unsigned w = 0;
        unsigned h = 0;
        window.GetSize(w, h);
        return w * 1000 + h;
    }

    CapturedOutput output;
    CWindow window{MakeParams("Offscreen", 64, 48, StateKeyboard)};
    boost::shared_ptr<CCamera2D> camera = boost::make_shared<CCamera2D>(0, 0, 64, 48, 0);
};

TEST_F(KeyboardCommands, AreOnlyCtrlKeysOfWindowsThatAllowThem) {
    EXPECT_TRUE(Press('f', 0)) << "without Ctrl it is the application's";
    EXPECT_TRUE(Press('q')) << "no command";
    EXPECT_FALSE(Press('f'));
    EXPECT_TRUE(window.IsFullScreen());
    EXPECT_FALSE(Press('F'));
    EXPECT_FALSE(window.IsFullScreen());
    EXPECT_FALSE(Press('m'));
    EXPECT_TRUE(Press('f')) << "switched off";
    EXPECT_FALSE(window.IsFullScreen());
    EXPECT_FALSE(Press('m'));
    EXPECT_FALSE(Press('f'));
    window.EnableKeyboardHandle(false);
    EXPECT_TRUE(Press('f'));
    EXPECT_TRUE(Press('m'));
}

TEST_F(KeyboardCommands, ResizeInQuartersOfTheRequestedSize) {
    for (auto const& [key, size] :
         {std::pair('1', 16012U), std::pair('8', 128096U), std::pair('4', 64048U)}) {
        EXPECT_FALSE(Press(static_cast<std::uint32_t>(key)));
        EXPECT_EQ(Size(), size);
        EXPECT_EQ(window.GrabImage()->Width() * 1000 + window.GrabImage()->Height(), size);
    }
    EXPECT_TRUE(Press('9'));
}

TEST_F(KeyboardCommands, SaveAndRestoreThePlace) {
    IniGuard config;
    window.SetPosition(5, 6);
    Press('s');
    window.SetPosition(0, 0);
    window.SetSize(10, 10);
    Press('l');
    int x = 0;
    int y = 0;
    window.GetPosition(x, y);
    EXPECT_EQ(x * 10 + y, 56);
    EXPECT_EQ(Size(), 64048U);
}

TEST_F(KeyboardCommands, MoveTheViewUnderThePointer) {
    Press(KeyRight);
    Press(KeyDown);
    EXPECT_NEAR(camera->Translation().x, 6.4, 1e-9);
    EXPECT_NEAR(camera->Translation().y, 4.8, 1e-9);
    Press(KeyLeft);
    Press(KeyUp);
    EXPECT_NEAR(camera->Translation().x, 0, 1e-9);
    Press(KeyPageUp);
    EXPECT_EQ(camera->Zoom(), 1.25);
    Press(KeyRight);
    EXPECT_NEAR(camera->Translation().x, 6.4 / 1.25, 1e-6) << "a tenth of what is seen";
    Press(KeyPageDown);
    EXPECT_NEAR(camera->Zoom(), 1.0, 1e-6);
    Press(KeyPageUp);
    Press(KeyHome);
    EXPECT_EQ(camera->Zoom(), 1.0);
    EXPECT_EQ(camera->Translation().x, 0);
}

TEST_F(KeyboardCommands, SwitchInterpolationGadgetsAndAspect) {
    cimage::TImage<unsigned char> image(2, 1);
    image(1, 0) = 200;
    window.DrawImage(0, 0, 64, 48, image);
    window.Refresh(true);
    EXPECT_EQ(PixelAt(window, 24, 20).r, 0) << "nearest";
    Press('t');
    unsigned char const mixed = PixelAt(window, 24, 20).r;
    EXPECT_GT(mixed, 30);
    EXPECT_LT(mixed, 90);
    Press('t');
    EXPECT_EQ(PixelAt(window, 24, 20).r, 0);
    Press('a');
    EXPECT_NE(Flags() & StateFreeAspect, 0U);
    struct Gadget : CWidget {};
    window.InsertPlugin(boost::make_shared<Gadget>());
    Press('g');
    OnBackend(window, [](CWindowCoreManager& manager) {
        EXPECT_FALSE(manager.Plugins().front().enabled);
    });
}

} // namespace
