#include "cimage/Conversion.h"
#include "drivers/TestWindow.h"
#include "support/CapturedOutput.h"
#include "support/PictureCompare.h"
#include "ui/win/widgets/Bars.h"
#include "ui/win/widgets/Gadgets.h"

#include <boost/property_tree/ptree.hpp>

#include <gtest/gtest.h>

#include <functional>

namespace {

using namespace ui::win;
using namespace tests;

constexpr int textTolerance = 60;

Event At(CWindowEvents_ID type, int x, int y) {
    Event event = MakeEvent(type, x, y);
    event.button = event.state = ButtonLeft;
    return event;
}

/// Shows a status bar over an image with metadata.
void ShowBar(CWindow& window, int mode, int notation, std::vector<Event> const& events) {
    kiv::ini::INIFile section;
    auto const bar = boost::make_shared<StatusBar>(section);
    bar->SetMode(mode);
    bar->SetColourNotation(notation);
    auto const image = boost::make_shared<cimage::TImage<RGB>>(10, 4);
    for (unsigned i = 0; i < 40; ++i) {
        (*image)(i / 4, i % 4) = RGB(static_cast<unsigned char>(25 * (i / 4)), 90, 160);
    }
    image->Metadata().put("Lens", "8 mm");
    image->Metadata().put("_raw", "1");
    window.SetCustomStatusBar("all is well");
    window.DrawImage(0, 0, 300, 64, CWindow::SPImage(image));
    window.InsertPlugin(bar);
    window.Refresh(true);
    for (Event const& event : events) {
        window.InjectEvent(event);
    }
}

void Logos(CWindow& window) {
    static kiv::ini::INIFile file; // logos keep a pointer to their section
    for (char const* const location : logolocation) {
        kiv::ini::INIFile& section = *file.Node(location);
        section.Set("NAME", QUARN_TEST_GOLDEN "/../../resources/logo.png");
        section.Set("SIZE", "24");
        section.Set("LOCATE", location);
        section.Set("ALPHA", "200");
        auto const logo = boost::make_shared<Logo>(section);
        ASSERT_TRUE(logo->Image());
        window.InsertPlugin(logo);
    }
}

struct Gadget {
    char const* name;
    std::function<void(CWindow& window)> show;
    unsigned width;
    unsigned height;
};

Gadget Bar(char const* name, int mode, std::vector<Event> const& events = {}, int notation = 0) {
    return {name, [=](CWindow& window) { ShowBar(window, mode, notation, events); }, 300, 64};
}

void PrintTo(Gadget const& gadget, std::ostream* out) {
    *out << gadget.name;
}

Gadget const gadgets[] = {
    Bar("bar_window", 1),
    Bar("bar_above", 1, {At(EventMotion, 10, 33)}),
    Bar("bar_ruler_idle", 2),
    Bar("bar_ruler", 2, {At(EventPress, 20, 50), At(EventMotion, 120, 10)}),
    Bar("bar_mouse", 3, {At(EventMotion, 100, 20)}),
    Bar("bar_mouse_hls", 3, {At(EventMotion, 130, 20)}, StatusBar::NotationHLS),
    Bar("bar_mouse_hsv", 3, {At(EventMotion, 130, 20)}, StatusBar::NotationHSV),
    Bar("bar_refresh", 4),
    Bar("bar_user", 6),
    Bar("bar_image", 7),
    Bar("bar_none", 8),
    {"help", [](CWindow& w) { w.InsertPlugin(boost::make_shared<Help>()); }, 220, 130},
    {"logos", Logos, 120, 100},
    {"bars",
     [](CWindow& w) {
         w.SetColor({255, 220, 120, 255});
         ScaleBar(w, {12, 6, 148, 22}, -1, 1.5);
         ProgressBar(w, {12, 36, 148, 54}, 0.4);
     },
     160,
     64}};

class GadgetPictures : public testing::TestWithParam<Gadget> {};

TEST_P(GadgetPictures, AreAsTheyWere) {
    CapturedOutput output;
    Gadget const& gadget = GetParam();
    CWindow window(MakeParams("Offscreen", gadget.width, gadget.height, StateVisible));
    gadget.show(window);
    window.Refresh(true);
    Picture picture;
    cimage::Convert(*window.GrabImage(0), picture);
    EXPECT_TRUE(MatchesGolden(picture, std::string("gadgets/") + gadget.name, textTolerance));
}

INSTANTIATE_TEST_SUITE_P(
    Offscreen, GadgetPictures, testing::ValuesIn(gadgets), [](auto const& gadget) {
        return std::string(gadget.param.name);
    });

} // namespace
