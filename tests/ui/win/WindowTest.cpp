#include "support/CapturedOutput.h"
#include "support/IniGuard.h"
#include "support/TestParams.h"
#include "support/Thrown.h"
#include "ui/win/CWindow.h"
#include "ui/win/CWindowCommands.h"
#include "ui/win/CWindowNullCore.h"
#include "ui/win/Core_Registration.h"
#include "ui/win/camera/CWindowCamera2D.h"

#include <boost/make_shared.hpp>

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

using namespace ui::win;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

/// Refuses commands while told to.
class RefusingCore : public CWindowNullCore {
public:
    using CWindowNullCore::CWindowNullCore;
    std::string GetConnectionString() const override { return "refusing"; }
    bool PushCommand(SPCommand const& command) override {
        ++pushed;
        return accepts && CWindowNullCore::PushCommand(command);
    }
    bool GetScreenGeometry(ScreenGeometry* geometry) override {
        *geometry = {1920, 1080, 96};
        return true;
    }
    bool GetHighlightColor(Colour* colour) override {
        *colour = {1, 2, 3, 4};
        return true;
    }
    static bool accepts;
    static int pushed;
};

bool RefusingCore::accepts = true;
int RefusingCore::pushed = 0;

Core_Registration<RefusingCore> const registrar("TestRefusing");

TEST(DriverRegistry, FirstRegistrationOfANameWins) {
    DriverFactory& factory = *kiv::Singleton<DriverFactory>::Instance();
    EXPECT_THAT(factory.Names(), ElementsAre("None", "TestRefusing"));
    Core_Registration<RefusingCore> const late("None");
    CWindow window(tests::MakeParams("None"));
    EXPECT_EQ(window.GetConnectionString(0), "");
    EXPECT_ANY_THROW(Core_Registration<RefusingCore>(static_cast<char const*>(nullptr)));
}

TEST(Window, TakesOneBackendForEachNameOfTheList) {
    CWindow window(tests::MakeParams("None,TestRefusing,None"));
    EXPECT_EQ(window.BackendCount(), 3U);
    EXPECT_EQ(window.GetCoreID("None"), 0);
    EXPECT_EQ(window.GetCoreID("TestRefusing"), 1);
    EXPECT_EQ(window.GetCoreID("Elsewhere"), -1);
    EXPECT_EQ(window.GetConnectionString(-1), ",refusing,");
    window.RemoveAllBackend();
    EXPECT_EQ(window.GetCoreID("None"), -1);
    EXPECT_TRUE(window.SendCommand(new CWndCommand_Quit, -1)) << "nobody refused";
}

TEST(Window, SaysWhichDriverIsUnknownAndKeepsThoseBefore) {
    tests::CapturedOutput output;
    CWindow window(tests::MakeParams("TestRefusing"));
    for (std::string const name : {" None", "", "../None", "none/x"}) {
        output.Take();
        EXPECT_EQ(
            tests::Thrown([&] { window.ResetWindow(tests::MakeParams("None," + name)); }),
            "CWindow driver unknown. See list of available driver above");
        EXPECT_EQ(
            output.Text(),
            "[EE] CWindow: CWindow driver '" + name +
                "' not found: \n[EE] CWindow: Available driver are: None TestRefusing \n");
        EXPECT_EQ(window.BackendCount(), 1U);
        EXPECT_EQ(window.GetCoreID("None"), 0);
    }
}

TEST(Window, RefusesAnEmptySizeBeforeAnythingChanges) {
    CWindow window(tests::MakeParams("None"));
    CreationParams params = tests::MakeParams("None");
    params.height = 0;
    EXPECT_EQ(
        tests::Thrown([&] { window.ResetWindow(params); }), "Trying to create 0x0 windows: Test");
    EXPECT_EQ(window.BackendCount(), 1U);
    EXPECT_THROW(CWindow("t", 0, 10, 0), std::runtime_error);
}

TEST(Window, SettingsChooseTheDriver) {
    tests::IniGuard config;
    EXPECT_EQ(CWindow::getDriver(), "None") << "a file without the key";
    config.ini.Set("GUI DRIVER", "None,TestRefusing");
    CWindow::setINIFile(&config.ini);
    CWindow const window("title", 10, 20, 64, 48, StateVisible);
    EXPECT_EQ(window.BackendCount(), 2U);
    CWindow::setDriver("");
    tests::CapturedOutput output;
    EXPECT_THROW(CWindow("title", 64, 48, 0), std::runtime_error);
}

TEST(Window, QueriesAnswerFromBackendZero) {
    CWindow window(tests::MakeParams("None,TestRefusing"));
    window.SetSize(320, 240);
    ScreenGeometry geometry;
    CWindow::Colour colour;
    EXPECT_FALSE(window.IsIconic());
    EXPECT_TRUE(window.GetScreenGeometry(geometry));
    EXPECT_EQ(geometry.width, 0U) << "the first backend answers";
    EXPECT_TRUE(window.GetColorUnderMouse(&colour, 1));
    EXPECT_EQ(colour, CWindow::Colour(1, 2, 3, 4));
    EXPECT_EQ(window.GrabImage(0)->Width(), 320U);
    EXPECT_THROW(
        window.Subscribe_RefreshComplete([](cimage::CImage const&) {}, 2), std::out_of_range);
}

TEST(Window, ReportsARefusedQueryAndTriesEveryBackend) {
    tests::CapturedOutput output;
    CWindow window(tests::MakeParams("TestRefusing,TestRefusing"));
    RefusingCore::accepts = false;
    RefusingCore::pushed = 0;
    std::string title = "kept";
    EXPECT_FALSE(window.GetTitle(title));
    EXPECT_EQ(title, "kept");
    EXPECT_EQ(output.Take(), "[EE] CWindow: failed\n");
    EXPECT_FALSE(window.IsVisible(true));
    EXPECT_EQ(output.Take(), "[EE] CWindow: failed\n");
    EXPECT_EQ(
        tests::Thrown([&] { window.GrabImage(0); }), "SendCommand CWndCommand_GrabImage failed");
    RefusingCore::pushed = 0;
    EXPECT_FALSE(window.Refresh(true));
    EXPECT_EQ(RefusingCore::pushed, 2);
    EXPECT_EQ(window.RefreshCount(), 1U);
    RefusingCore::accepts = true;
}

TEST(Window, EventsMoveToItsOwnQueue) {
    tests::CapturedOutput output;
    CWindow window(tests::MakeParams("None"));
    window.SetEventMask(EventKey);
    Event event;
    EXPECT_FALSE(window.GetNextEvent(event));
    EXPECT_TRUE(window.FlushEvent(0));
    event.type = EventKey;
    event.reserved1[2] = 77; // carried along
    for (std::uint32_t key = 'a'; key <= 'c'; ++key) {
        event.key = key;
        window.InjectEvent(event);
    }
    EXPECT_TRUE(window.WaitForEvent(0));
    window.ResetWindow(tests::MakeParams("None"));
    std::string keys;
    while (window.GetNextEvent(event)) {
        keys += static_cast<char>(event.key);
        EXPECT_EQ(event.reserved1[2], 77U);
    }
    EXPECT_EQ(keys, "abc") << "received events survive new backends";
}

TEST(Window, RegionActionIsAnnouncedOnly) {
    tests::CapturedOutput output;
    CWindow window(tests::MakeParams("None"));
    EXPECT_FALSE(window.SetRegionAction(0, 0, 1, 1, EventPress, 0));
    EXPECT_EQ(output.Text(), "Non e' implementata... ci metto 1 minuto.. se serve ditemelo!\n");
}

class Dot : public CWidget {};

TEST(WindowLayers, LocksAndClears) {
    tests::CapturedOutput output;
    CWindow window(tests::MakeParams("None"));
    EXPECT_EQ(window.SetLayer(5), 0);
    EXPECT_EQ(window.Layers().count(5), 0U) << "not made yet";
    window.push(new Dot);
    EXPECT_EQ(window.Layer(5).Size(), 1U);
    EXPECT_FALSE(window.IsLayerLocked(7));
    EXPECT_EQ(window.Layers().count(7), 1U) << "asking makes it";
    EXPECT_TRUE(window.LockLayer(5));
    EXPECT_FALSE(window.LockLayer(5));
    EXPECT_EQ(output.Text(), "[WW] CWindow: Locking locked layer 5\n");
    EXPECT_TRUE(window.Clear() && window.ClearLayer(5));
    window.push(new Dot);
    EXPECT_EQ(window.Layer(5).Size(), 2U) << "locked against clearing, not against drawing";
    EXPECT_TRUE(window.UnLockLayer(5) && window.UnLockLayer(5));
    window.Clear();
    EXPECT_EQ(window.Layer(5).Size(), 0U);
    window.LockLayer(0);
    window.ClearAllLayers(3);
    EXPECT_TRUE(window.Layers().empty());
    EXPECT_FALSE(window.Layer(0).GetCamera()) << "the view goes with the layer";
    EXPECT_EQ(window.GetLayer(), 5);
}

TEST(WindowLayers, RefreshHandsOverCopiesThatShareDrawables) {
    CWindow window(tests::MakeParams("None"));
    CWindowCoreManager* backend = nullptr;
    window.SendCommand(
        new CWndCommand_Call([&](CWindowCoreManager* manager) { backend = manager; }), 0);
    boost::weak_ptr<CWidget> dot;
    {
        SPDrawingObject const drawable = boost::make_shared<Dot>();
        dot = drawable;
        window.push(drawable);
    }
    window.EnableLayer(0, false);
    window.LockLayer(0);
    window.Refresh(true);
    window.ClearAllLayers();
    CWindowLayer const& layer = backend->DrawerList().Layers().at(0);
    EXPECT_EQ(layer.Size(), 1U);
    EXPECT_FALSE(layer.IsEnabled());
    EXPECT_TRUE(layer.IsLocked());
    EXPECT_FALSE(dot.expired());
    window.Refresh(true);
    EXPECT_TRUE(dot.expired()) << "a locked layer goes with the hand-over as well";
    EXPECT_EQ(backend->ReplaceCount(), 2U);
}

TEST(WindowLayers, MayBeReplacedWhileTheyAreAsked) {
    struct Clearing : CWidget {
        explicit Clearing(CWindow& w) : window(w) {}
        bool Interact(CWindowCoreManager*, Event const&) override {
            window.Clear();
            window.Refresh(false); // at once on this driver
            return false;
        }
        CWindow& window;
    };
    tests::CapturedOutput output;
    CWindow window(tests::MakeParams("None"));
    window.push(new Clearing(window));
    window.push(new Dot);
    window.Refresh(true);
    Event event;
    event.type = EventPositionless;
    window.InjectEvent(event);
    std::size_t left = 99;
    window.SendCommand(
        new CWndCommand_Call([&](CWindowCoreManager* manager) {
            left = manager->DrawerList().Layers().at(0).Size();
        }),
        0);
    EXPECT_EQ(left, 0U);
}

TEST(WindowCommands, ShapeMasksPackEightPixelsToAByte) {
    tests::CapturedOutput output;
    using RGB = cimage::TRGB<unsigned char>;
    RGB const key(255, 0, 255);
    std::vector<RGB> pixels(18, key);
    pixels[1] = {255, 0, 254};
    pixels[8] = {0, 0, 255};
    pixels[9] = {255, 1, 255};
    CWndCommand_SetWindowShape shape;
    shape.ImportMask(pixels.data(), 9, 2, {255, 0, 255, 17});
    EXPECT_EQ(shape.Stride(), 16U);
    EXPECT_EQ(shape.Height(), 2U);
    EXPECT_EQ(shape.Mask()[0], 0x02);
    EXPECT_EQ(shape.Mask()[1] & 1, 1);
    EXPECT_EQ(shape.Mask()[2], 0x01);
    EXPECT_EQ(shape.Mask()[3] & 1, 0);
    unsigned char const grey[4] = {};
    shape.ImportMask(grey, 2, 2, {0, 0, 0, 0});
    cimage::TRGBA<unsigned char> const colours[4] = {};
    shape.ImportMask(colours, 2, 2, {0, 0, 0, 0});
    EXPECT_EQ(output.Text(), " Unimplemente Yet \n Unimplemente Yet \n");
}

} // namespace
