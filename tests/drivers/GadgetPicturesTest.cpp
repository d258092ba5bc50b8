#include "cimage/Conversion.h"
#include "drivers/TestWindow.h"
#include "support/CapturedOutput.h"
#include "support/PictureCompare.h"
#include "ui/win/widgets/Bars.h"
#include "ui/win/widgets/Gadgets.h"

#include <boost/property_tree/ptree.hpp>

#include <gmock/gmock.h>

namespace {

using namespace ui::win;
using namespace tests;

constexpr int textTolerance = 60;

void Motion(CWindow& window, int x, int y, std::uint32_t state = 0) {
    Event event = MakeEvent(EventMotion, x, y);
    event.state = state;
    window.InjectEvent(event);
}

void PressAt(CWindow& window, int x, int y) {
    Event event = MakeEvent(EventPress, x, y);
    event.button = ButtonLeft;
    window.InjectEvent(event);
}

/// Shows a status bar over an image with metadata.
boost::shared_ptr<StatusBar> ShowBar(CWindow& window, int mode) {
    kiv::ini::INIFile section;
    auto const bar = boost::make_shared<StatusBar>(section);
    bar->SetMode(mode);
    auto const image = boost::make_shared<cimage::TImage<RGB>>(10, 4);
    for (unsigned x = 0; x < 10; ++x) {
        for (unsigned y = 0; y < 4; ++y) {
            (*image)(x, y) = RGB(static_cast<unsigned char>(25 * x), 90, 160);
        }
    }
    image->Metadata().put("Lens", "8 mm");
    image->Metadata().put("_raw", "1");
    window.DrawImage(0, 0, 300, 64, CWindow::SPImage(image));
    window.InsertPlugin(bar);
    window.Refresh(true);
    return bar;
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
    unsigned width;
    unsigned height;
    void (*show)(CWindow& window);
};

void PrintTo(Gadget const& gadget, std::ostream* out) {
    *out << gadget.name;
}

Gadget const gadgets[] = {
    {"bar_window", 300, 64, [](CWindow& w) { ShowBar(w, 1); }},
    {"bar_above",
     300,
     64,
     [](CWindow& w) {
         ShowBar(w, 1);
         Motion(w, 10, 33);
     }},
    {"bar_ruler_idle", 300, 64, [](CWindow& w) { ShowBar(w, 2); }},
    {"bar_ruler",
     300,
     64,
     [](CWindow& w) {
         ShowBar(w, 2);
         PressAt(w, 20, 50);
         Motion(w, 120, 10, 1);
     }},
    {"bar_mouse",
     300,
     64,
     [](CWindow& w) {
         ShowBar(w, 3);
         Motion(w, 100, 20);
     }},
    {"bar_mouse_hsv",
     300,
     64,
     [](CWindow& w) {
         ShowBar(w, 3)->SetColourNotation(StatusBar::NotationHSV);
         Motion(w, 130, 20);
     }},
    {"bar_user",
     300,
     64,
     [](CWindow& w) {
         ShowBar(w, 6);
         w.SetCustomStatusBar("all is well");
     }},
    {"bar_image", 300, 64, [](CWindow& w) { ShowBar(w, 7); }},
    {"bar_none", 300, 64, [](CWindow& w) { ShowBar(w, 8); }},
    {"help", 220, 130, [](CWindow& w) { w.InsertPlugin(boost::make_shared<Help>()); }},
    {"logos", 120, 100, Logos},
    {"bars", 160, 64, [](CWindow& w) {
         w.SetColor({255, 220, 120, 255});
         ScaleBar(w, {12, 6, 148, 22}, -1, 1.5);
         ProgressBar(w, {12, 36, 148, 54}, 0.4);
     }}};

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
