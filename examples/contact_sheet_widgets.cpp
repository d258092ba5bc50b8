#include "cimage/TImage.h"
#include "examples/contact_sheet.h"
#include "ui/win/widgets/AnnWidget.h"
#include "ui/win/widgets/CSkinWidgets.h"
#include "ui/win/widgets/CWindowControls.h"
#include "ui/win/widgets/CalibrationWidget.h"

#include <boost/make_shared.hpp>

using namespace ui::win;

namespace {

using RGBA = cimage::TRGBA<unsigned char>;
using Point = math::Point2<float>;
using Rect = math::Rect2<float>;

constexpr unsigned small = 127;
constexpr unsigned wide = 266;
constexpr unsigned high = 90;

/// What widgets are drawn over; they take its colour and font.
void Prepare(CWindow& window, RGBA const& ink) {
    window.SetColor({56, 72, 88, 255});
    window.DrawBox(0, 0, wide, high, true);
    window.SetColor(ink);
    window.SetFontSize(13, false);
}

constexpr RGBA black(0, 0, 0, 255);
constexpr RGBA green(96, 255, 128, 255);

void Press(CWindow& window, int x, int y) {
    window.InjectEvent(PointerEvent(EventPress, x, y));
}
void Move(CWindow& window, int x, int y) {
    window.InjectEvent(PointerEvent(EventMotion, x, y));
}
void Release(CWindow& window, int x, int y) {
    window.InjectEvent(PointerEvent(EventRelease, x, y));
}
void Key(CWindow& window, char key) {
    Event event;
    event.type = EventKey;
    event.key = static_cast<unsigned char>(key);
    window.InjectEvent(event);
}

/// @param y where the pointer is; 0 for elsewhere
template <int Y>
void Menu(CWindow& window) {
    static char const* const items[] = {"Open", "Save", "-", "Quit", nullptr};
    Prepare(window, black);
    window.InsertPlugin(boost::make_shared<CMenuWidget>(items, 10, 2));
    window.Refresh(true); // measures the items
    Move(window, 20, Y);
}

template <bool Pressed>
void Shade(CWindow& window) {
    Prepare(window, black);
    auto const shade = boost::make_shared<CDrawingButtonShade>(16, 24, 110, 66);
    shade->SetPressed(Pressed);
    window.InsertPlugin(shade);
}

template <bool Pressed>
void Button(CWindow& window) {
    Prepare(window, black);
    window.InsertPlugin(boost::make_shared<CButtonWidget>(16, 24, 110, 66, "Calibrate", [] {}));
    if (Pressed) {
        Press(window, 60, 40);
    }
}

/// One of three, as a row of buttons that their owner reads.
void Buttons(CWindow& window) {
    Prepare(window, black);
    char const* const labels[] = {"Left", "Right", "Both"};
    for (int i = 0; i < 3; ++i) {
        double const x = 16 + 80 * i;
        window.InsertPlugin(boost::make_shared<CButtonWidgetId>(x, 24, x + 72, 66, labels[i], i));
    }
    Press(window, 130, 40);
}

template <bool On>
void Toggle(CWindow& window) {
    Prepare(window, black);
    auto const toggle = boost::make_shared<CTwoStateButtonWidget>(
        16, 24, 110, 66, On ? "Live" : "Still", [](bool) {});
    toggle->SetState(On);
    window.InsertPlugin(toggle);
}

/// A disc on a plate, as a skin's picture.
CWindowCore::SPImage Disc(RGBA const& colour, RGBA const& plate) {
    constexpr int size = 32;
    auto const image = boost::make_shared<cimage::TImage<RGBA>>(unsigned{size}, unsigned{size});
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            int const dx = 2 * x + 1 - size;
            int const dy = 2 * y + 1 - size;
            bool const inside = dx * dx + dy * dy < 26 * 26;
            (*image)(static_cast<unsigned>(x), static_cast<unsigned>(y)) = inside ? colour : plate;
        }
    }
    return image;
}

constexpr RGBA plate(160, 160, 168, 255);
constexpr RGBA grey(120, 120, 120, 255);

template <std::uint32_t Status>
void SkinButton(CWindow& window) {
    Prepare(window, black);
    auto const button = boost::make_shared<CSkinButton>(
        SkinArea{32, 14, 62, 62},
        [] {},
        CSkinButton::Pictures{
            Disc({200, 48, 48, 255}, plate),
            Disc({96, 16, 16, 255}, {96, 96, 104, 255}),
            Disc(grey, plate),
            Disc({255, 112, 96, 255}, {200, 200, 208, 255})});
    button->SetStatus(Status);
    window.InsertPlugin(button);
}

template <std::int32_t Status>
void CheckBox(CWindow& window) {
    Prepare(window, black);
    auto const box = boost::make_shared<CSkinCheckBox>(
        SkinArea{47, 29, 32, 32},
        [](int) {},
        CSkinCheckBox::Pictures{
            Disc({240, 240, 240, 255}, plate), Disc({48, 160, 80, 255}, plate), Disc(grey, plate)});
    box->SetStatus(Status);
    window.InsertPlugin(box);
}

/// @param Filled with a translucent area @param Under with the pointer in the box
template <bool Filled, bool Under>
void Box(CWindow& window) {
    Prepare(window, green);
    window.InsertPlugin(
        boost::make_shared<CResizableBox>(Rect(24, 20, 102, 70), Rect(0, 0, 127, 90), Filled));
    Move(window, Under ? 60 : 4, Under ? 40 : 4);
}

/// A sheaf of three lines, the last turned by the pointer.
void Sheaf(CWindow& window) {
    Prepare(window, green);
    window.InsertPlugin(boost::make_shared<CLinesSheaf>(Point(63, 45), Rect(8, 8, 119, 82)));
    Key(window, '+');
    Press(window, 100, 46);
    Move(window, 100, 60);
}

template <bool Held>
void Polygon(CWindow& window) {
    static Point vertices[2][4] = {
        {{20, 20}, {100, 14}, {110, 70}, {40, 76}}, {{20, 20}, {100, 14}, {110, 70}, {40, 76}}};
    Prepare(window, green);
    window.InsertPlugin(boost::make_shared<CPolyWidget<Point>>(vertices[Held ? 1 : 0], 4U, 10.0F));
    if (Held) {
        Press(window, 110, 70);
        Move(window, 80, 50);
    }
}

/// @param What is done: 0 nothing, e enlarges, h holds and d hides the second point
template <char What>
void Calibration(CWindow& window) {
    Prepare(window, green);
    auto const points = boost::make_shared<CalibrationWidget<float>>(
        std::vector<Point>{{30, 30}, {160, 40}, {230, 20}});
    window.InsertPlugin(points);
    if (What == 'e') {
        Key(window, 'e');
        Key(window, 'e');
    } else if (What != 0) {
        Press(window, 150, 50);
        if (What == 'd') {
            Key(window, 'd');
            Release(window, 150, 50);
        }
    }
}

} // namespace

Section WidgetSection() {
    return {
        "Widgets",
        {
            {"Menu", small, high, Menu<0>},
            {"Menu, pointed at", small, high, Menu<26>},
            {"Frame", small, high, Shade<false>},
            {"Frame, pressed", small, high, Shade<true>},
            {"Button", small, high, Button<false>},
            {"Button, pressed", small, high, Button<true>},
            {"Buttons with identifiers", wide, high, Buttons},
            {"Toggle, off", small, high, Toggle<false>},
            {"Toggle, on", small, high, Toggle<true>},
            {"Skin button", small, high, SkinButton<CSkinButton::Normal>},
            {"Skin button, pressed", small, high, SkinButton<CSkinButton::Pressed>},
            {"Skin button, disabled", small, high, SkinButton<CSkinButton::Disabled>},
            {"Skin button, hover", small, high, SkinButton<CSkinButton::Hover>},
            {"Check box", small, high, CheckBox<CSkinCheckBox::Unchecked>},
            {"Check box, checked", small, high, CheckBox<CSkinCheckBox::Checked>},
            {"Check box, disabled", small, high, CheckBox<CSkinCheckBox::Disabled>},
            {"Box", small, high, Box<false, false>},
            {"Box, filled", small, high, Box<true, false>},
            {"Box under the pointer", small, high, Box<true, true>},
            {"Line sheaf", small, high, Sheaf},
            {"Polygon", small, high, Polygon<false>},
            {"Polygon, a vertex held", small, high, Polygon<true>},
            {"Calibration points", wide, high, Calibration<0>},
            {"Calibration points, one held", wide, high, Calibration<'h'>},
            {"Calibration points, one hidden", wide, high, Calibration<'d'>},
            {"Calibration points, enlarged", wide, high, Calibration<'e'>},
        }};
}
