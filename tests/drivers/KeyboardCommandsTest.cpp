#include "drivers/TestWindow.h"
#include "support/CapturedOutput.h"
#include "support/IniGuard.h"
#include "ui/win/Keys.h"
#include "ui/win/camera/CWindowCamera2D.h"
#include "ui/win/widgets/Gadgets.h"

#include <gmock/gmock.h>

#include <algorithm>

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

TEST_F(KeyboardCommands, ToggleTheBarsAndTheHelpScreen) {
    struct Shown {
        int bar = 0; // of an enabled status bar
        bool help = false;
    };
    auto const shown = [this] {
        Shown result;
        OnBackend(window, [&](CWindowCoreManager& manager) {
            if (auto const* bar = manager.FindPlugin("StatusBar"); bar && bar->enabled) {
                result.bar = dynamic_cast<StatusBar&>(*bar->widget).GetMode();
            }
            auto const* help = manager.FindPlugin("HELP");
            result.help = help != nullptr && help->enabled;
        });
        return result;
    };
    struct Step {
        std::uint32_t key;
        int bar;
        bool help;
    };
    for (Step const& step :
         {Step{KeyF1, 1, false},
          Step{KeyF2, 2, false},
          Step{KeyF2, 0, false},
          Step{KeyF3, 3, false},
          Step{'h', 3, true},
          Step{KeyF4, 4, true},
          Step{KeyF5, 5, true},
          Step{KeyF6, 6, true},
          Step{'H', 6, false},
          Step{'g', 0, false},
          Step{KeyF6, 6, false},
          Step{KeyF6, 0, false},
          Step{'h', 0, true}}) {
        EXPECT_FALSE(Press(step.key));
        EXPECT_EQ(shown().bar, step.bar) << "key " << step.key;
        EXPECT_EQ(shown().help, step.help) << "key " << step.key;
    }
    EXPECT_EQ(PixelAt(window, 20, 20), RGB(255, 255, 255)) << "drawn without another refresh";
    struct Cover : CWidget {
        int Draw(CWindowCore* core) override {
            core->SetColor({9, 9, 9, 255});
            return core->DrawBox(0, 0, 64, 48, true) ? 1 : 0;
        }
    };
    window.InsertPlugin(boost::make_shared<Cover>());
    window.Refresh(true);
    EXPECT_EQ(PixelAt(window, 20, 20), RGB(9, 9, 9));
    Press('h');
    Press('h');
    EXPECT_EQ(PixelAt(window, 20, 20), RGB(255, 255, 255)) << "over what came after it";
    EXPECT_TRUE(Press(KeyF7));
    EXPECT_TRUE(Press(KeyF1, 0));
}

TEST_F(KeyboardCommands, UseTheStatusBarOfTheConfiguration) {
    IniGuard config;
    CWindow configured(MakeParams("Offscreen", 64, 48, StateKeyboard));
    Event event = MakeEvent(EventKey);
    event.key = KeyF2;
    event.state = StateCtrl;
    configured.InjectEvent(event);
    OnBackend(configured, [](CWindowCoreManager& manager) {
        auto const bars = std::count_if(
            manager.Plugins().begin(), manager.Plugins().end(), [](auto const& plugin) {
                return std::string(plugin.widget->getName()) == "StatusBar";
            });
        EXPECT_EQ(bars, 1);
        auto& bar = *manager.FindPlugin("StatusBar");
        EXPECT_EQ(dynamic_cast<StatusBar&>(*bar.widget).GetMode(), StatusBar::ModeRuler);
    });
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
