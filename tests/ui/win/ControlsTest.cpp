#include "support/CapturedOutput.h"
#include "support/WidgetSteps.h"
#include "ui/win/widgets/CSkinWidgets.h"
#include "ui/win/widgets/CWindowControls.h"

#include <boost/make_shared.hpp>

#include <gmock/gmock.h>

#include <limits>
#include <stdexcept>

namespace {

using namespace ui::win;
using namespace tests;
using testing::ElementsAre;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr std::uint32_t held = 1;

std::string Flag(bool flag, char letter) {
    return std::string(1, flag ? letter : '-');
}

TEST(Menu, IsMeasuredAndDrawnAtItsFirstDrawing) {
    CapturedOutput output;
    RecordingCore core;
    core.colour = {1, 2, 3, 4};
    char const* const items[] = {"Open", "-", "Quit", nullptr};
    CMenuWidget menu(items, 10, 20);
    EXPECT_FALSE(menu.Interact(&core, Motion(12, 22))) << "it has no size yet";
    EXPECT_EQ(menu.Draw(&core), 1);
    EXPECT_EQ(output.Take(), "[II] CMenuWidget: 63,18,3\n");
    EXPECT_EQ(menu.Width(), 4 * 8 + 6);
    menu.Interact(&core, Motion(20, 20 + 3 + 2 * 18));
    core.Take();
    menu.Draw(&core);
    EXPECT_THAT(
        core.Take(),
        ElementsAre(
            "SetColor 176,176,176,255",
            "DrawBox 10 20 48 63 1",
            "SetColor 224,224,224,255",
            "DrawPolyLine (10,20 10,63 12,61 12,22 46,22 48,20) 1",
            "SetColor 96,96,96,255",
            "DrawPolyLine (48,63 48,20 46,22 46,61 12,61 10,63) 1",
            "SetColor 48,96,160,255",
            "DrawBox 13 58 45 78 1",
            "SetColor 1,2,3,4",
            "DrawText 13,23,0 'Open'",
            "SetColor 255,255,255,255",
            "DrawText 13,45,0 'Quit'",
            "SetColor 1,2,3,4"));
    EXPECT_EQ(output.Take(), "") << "measured once";
}

TEST(Menu, TakesTheItemBeforeForWhatCannotBeMeasured) {
    CapturedOutput output;
    RecordingCore core;
    core.answer = false;
    char const* const items[] = {"Open", "-", "Quit", nullptr};
    CMenuWidget(items, 0, 0).Draw(&core);
    EXPECT_EQ(output.Take(), "[II] CMenuWidget: 21,4,3\n");
    for (char const* const* empty : {items + 3, static_cast<char const* const*>(nullptr)}) {
        CMenuWidget menu(empty, 0, 0);
        menu.Draw(&core);
        EXPECT_EQ(output.Take(), "[II] CMenuWidget: 9,2,0\n");
        EXPECT_TRUE(menu.Interact(&core, Motion(3, 0.5F)));
        EXPECT_EQ(menu.HighlightedIndex(), CMenuWidget::none);
    }
}

TEST(Menu, HighlightsTheRowUnderThePointer) {
    CapturedOutput output;
    RecordingCore core;
    char const* const items[] = {"Open", "-", "Quit", nullptr};
    CMenuWidget menu(items, 10, 20); // 38 by 63, rows of 18
    menu.Draw(&core);
    ExpectSteps(
        core,
        menu,
        [&] { return std::to_string(menu.HighlightedIndex()); },
        {{Motion(10, 30), false, "-1", 0},
         {Motion(13, 23), true, "0", 1},
         {Motion(30, 40.9F), true, "0", 0},
         {Motion(30, 41), true, "1", 1},
         {Press(30, 60), true, "1", 0},
         {Motion(45, 59), true, "2", 1},
         {Motion(45.1F, 59), true, "-1", 1},
         {Motion(12.9F, 59), true, "-1", 0},
         {Motion(30, 76.9F), true, "2", 1},
         {Motion(30, 77), true, "-1", 1},
         {Motion(30, 22.9F), true, "-1", 0},
         {Motion(20, 60), true, "2", 1},
         {Motion(30, 83), false, "2", 0},
         {Motion(30, 20), false, "2", 0},
         {Motion(48, 60), false, "2", 0},
         {Motion(nan, 60), false, "2", 0},
         {Key('x'), false, "2", 0}});
}

/// A core that notes how texts are aligned.
struct AligningCore : RecordingCore {
    bool DrawText(math::Point3<double> const& p, char const* text) override {
        aligned = HorizontalTextAlign() * 10 + VerticalTextAlign();
        return RecordingCore::DrawText(p, text);
    }
    int aligned = 0;
};

TEST(Button, IsDrawnRaisedAndPressed) {
    AligningCore core;
    core.SetTextAlign(AlignRight, AlignBaseline);
    CDrawingButton button(0, 0, 11, 20, "Go");
    EXPECT_EQ(button.Draw(&core), 1);
    EXPECT_EQ(core.aligned, 11);
    EXPECT_EQ(core.HorizontalTextAlign() * 10 + core.VerticalTextAlign(), 22) << "as it was";
    std::vector<std::string> const raised = core.Take();
    ASSERT_EQ(raised.size(), 8U);
    EXPECT_EQ(raised[6], "SetColor 255,255,255,255");
    EXPECT_EQ(raised[7], "DrawText 5.5,10,0 'Go'");
    button.SetPressed(true);
    button.Draw(&core);
    EXPECT_THAT(
        core.Take(),
        ElementsAre(
            "SetColor 224,224,224,255",
            "DrawBox 0 0 11 20 1",
            "SetColor 255,255,255,255",
            "DrawText 6.5,11,0 'Go'"));
}

TEST(Button, CallsBackWithEveryReleaseInside) {
    RecordingCore core;
    int clicks = 0;
    CButtonWidget button(10, 10, 30, 20, "Go", [&] { ++clicks; });
    ExpectSteps(
        core,
        button,
        [&] {
            return Flag(button.Pressed(), 'p') + Flag(button.Armed(), 'a') + std::to_string(clicks);
        },
        {{Press(10, 15), false, "--0", 0},
         {Press(30, 15), false, "--0", 0},
         {Press(20, 10), false, "--0", 0},
         {Press(20, 20), false, "--0", 0},
         {Press(nan, nan), false, "--0", 0},
         {Motion(10.1F, 15), true, "--0", 0},
         {Press(10.1F, 15, ButtonRight), true, "pa0", 1},
         {Motion(20, 15), true, "pa0", 0},
         {Release(29.9F, 19.9F), true, "--1", 1},
         {Press(20, 15), true, "pa1", 1},
         {Motion(50, 15), true, "pa1", 0},
         {Release(50, 15), true, "--1", 1},
         {Press(20, 15), true, "pa1", 1},
         {Press(50, 15), true, "pa1", 1},
         {Release(30, 15), true, "--1", 1},
         {Release(50, 15), false, "--1", 0},
         {Release(20, 15), true, "--2", 1}});
    CButtonWidget idle(0, 0, 10, 10, "", {});
    idle.Interact(&core, Press(5, 5));
    core.log.clear();
    EXPECT_THROW(idle.Interact(&core, Release(5, 5)), boost::bad_function_call);
    EXPECT_EQ(Flag(idle.Pressed(), 'p') + Flag(idle.Armed(), 'a'), "-a") << "nothing rolled back";
    EXPECT_EQ(core.Count("Refresh"), 1U);
    CButtonWidget flat(5, 5, 5, 5, "", {});
    EXPECT_FALSE(flat.Interact(&core, Press(5, 5)));
}

TEST(Button, WithIdentifierIsReadByItsOwner) {
    RecordingCore core;
    CButtonWidgetId button(10, 10, 30, 20, "Go", 7);
    EXPECT_EQ(button.Id(), 7);
    ExpectSteps(
        core,
        button,
        [&] { return Flag(button.Pressed(), 'p') + Flag(button.Armed(), 'a'); },
        {{Release(30, 15), false, "--", 0},
         {Key('x'), false, "--", 0},
         {Motion(20, 15), true, "--", 0},
         {Press(20, 15), true, "pa", 1},
         {Motion(50, 15), true, "pa", 0},
         {Release(50, 15), true, "--", 1},
         {Release(20, 15), true, "--", 1}});
}

TEST(Button, TogglesWithThePress) {
    RecordingCore core;
    std::string states;
    CTwoStateButtonWidget button(10, 10, 30, 20, "", [&](bool on) { states += on ? '1' : '0'; });
    ExpectSteps(
        core,
        button,
        [&] { return Flag(button.Pressed(), 'p') + Flag(button.State(), 's') + states; },
        {{Press(10, 15), false, "--", 0},
         {Press(11, 15), true, "ps1", 1},
         {Release(11, 15), true, "ps1", 0},
         {Motion(40, 15), false, "ps1", 0},
         {Press(11, 15), true, "--10", 1}});
    CTwoStateButtonWidget idle(0, 0, 10, 10, "", {});
    core.log.clear();
    EXPECT_THROW(idle.Interact(&core, Press(5, 5)), boost::bad_function_call);
    EXPECT_TRUE(idle.State() && idle.Pressed());
    EXPECT_EQ(core.Count("Refresh"), 0U);
}

CWindowCore::SPImage Picture(unsigned width) {
    return boost::make_shared<cimage::TImage<unsigned char>>(width, 1U);
}

SkinArea const area = {10, 20, 30, 40};

TEST(SkinButton, FollowsThePointerAndCapturesIt) {
    CapturedOutput output;
    RecordingCore core;
    int clicks = 0;
    CSkinButton::Pictures const pictures = {Picture(1), Picture(2), Picture(3), Picture(4)};
    CSkinButton button(
        area, [&] { ++clicks; }, pictures);
    CSkinButton plain(area, {}, {pictures[0], pictures[1], pictures[2], {}});
    auto const state = [&] {
        return std::to_string(button.GetStatus()) + Flag(core.Capture() == &button, 'c') +
               std::to_string(clicks);
    };
    ExpectSteps(
        core,
        button,
        state,
        {{Motion(10, 30), false, "0-0", 0},
         {Motion(10.1F, 20.1F), false, "3-0", 1},
         {Motion(20, 30), false, "3-0", 0},
         {Motion(40, 30), false, "0-0", 1},
         {Press(20, 60), false, "0-0", 0},
         {Press(20, 59.9F), true, "1c0", 1},
         {Key('x'), false, "1c0", 0},
         {Motion(90, 90, held), true, "1c0", 0},
         {Release(90, 90), true, "0-0", 1},
         {Press(20, 30), true, "1c0", 1},
         {Release(20, 30), true, "0-1", 1},
         {Press(20, 30), true, "1c1", 1},
         {Motion(20, 30, 4), false, "3-1", 2}, // the third button does not hold it
         {Press(20, 30), true, "1c1", 1},
         {Motion(90, 90), false, "3-1", 2},
         {Motion(90, 90), false, "0-1", 1},
         {Release(nan, 30), false, "0-1", 0}});
    button.Enable(false);
    ExpectSteps(core, button, state, {{Press(20, 30), false, "2-1", 0}});
    button.Enable(true);
    ExpectSteps(core, button, state, {{Release(20, 30), true, "0-2", 1}});

    EXPECT_FALSE(plain.Interact(&core, Motion(20, 30)));
    EXPECT_EQ(plain.GetStatus(), CSkinButton::Normal) << "there is no picture to hover with";
    core.log.clear();
    EXPECT_THROW(plain.Interact(&core, Release(20, 30)), boost::bad_function_call);
    EXPECT_TRUE(core.log.empty()) << "it is called before the window is drawn";
}

TEST(SkinButton, DrawsThePictureOfItsStatus) {
    CapturedOutput output;
    RecordingCore core;
    CSkinButton button(area, {}, {Picture(1), Picture(2), Picture(3), Picture(4)});
    EXPECT_EQ(button.Draw(&core), 1);
    core.Take();
    button.SetStatus(4);
    EXPECT_EQ(button.Draw(&core), 0);
    EXPECT_TRUE(core.log.empty());
    EXPECT_EQ(output.Text(), "[EE] CSkinButton::Draw: CSkinButton status = 4, out of bound\n");

    CSkinButton unpainted(area, {}, {});
    EXPECT_EQ(unpainted.Draw(&core), 1);
    EXPECT_THROW(CSkinButton::LoadImage(nullptr), std::logic_error);
    EXPECT_THROW(CSkinButton::LoadImage("nowhere.png"), std::runtime_error);
}

TEST(SkinCheckBox, ChangesWithTheRelease) {
    RecordingCore core;
    std::string changes;
    CSkinCheckBox box(
        area,
        [&](int status) { changes += std::to_string(status); },
        {Picture(1), Picture(2), Picture(3)});
    auto const state = [&] { return std::to_string(box.GetStatus()) + ":" + changes; };
    ExpectSteps(
        core,
        box,
        state,
        {{Press(20, 30), false, "0:", 0},
         {Release(10, 30), false, "0:", 0},
         {Release(20, 30), true, "1:1", 1},
         {Motion(20, 30), false, "1:1", 0}});
    box.Enable(false);
    ExpectSteps(core, box, state, {{Release(20, 30), false, "2:1", 0}});
    box.Draw(&core);
    EXPECT_THAT(core.Take(), ElementsAre("DrawImage 10,20 40,60 [3x1:1]"));
    box.Enable(true);
    ExpectSteps(core, box, state, {{Release(20, 30), true, "0:10", 1}});
    for (std::int32_t const status : {3, -1, std::numeric_limits<std::int32_t>::min()}) {
        box.SetStatus(status);
        EXPECT_THROW(box.Draw(&core), std::runtime_error);
        EXPECT_TRUE(box.Interact(&core, Release(20, 30)));
    }
    core.log.clear();
    EXPECT_THROW(
        CSkinCheckBox(area, {}, {}).Interact(&core, Release(20, 30)), boost::bad_function_call);
    EXPECT_TRUE(core.log.empty());
}

} // namespace
