#include "cimage/TImage.h"
#include "examples/contact_sheet.h"
#include "kiv/ini/INIFile.h"
#include "ui/win/widgets/Bars.h"
#include "ui/win/widgets/Gadgets.h"
#include "ui/win/widgets/TimeGraph.h"

#include <boost/make_shared.hpp>
#include <boost/property_tree/ptree.hpp>

#include <cmath>

using namespace ui::win;

namespace {

using RGB = cimage::TRGB<unsigned char>;

constexpr unsigned barWidth = 400;
constexpr unsigned barHeight = 90;

/// Something to look at: a ramp of colours, which says what it is.
boost::shared_ptr<cimage::TImage<RGB>> Ramp(unsigned width, unsigned height) {
    auto const image = boost::make_shared<cimage::TImage<RGB>>(width, height);
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < width; ++x) {
            auto const across = static_cast<unsigned char>(x * 255 / width);
            auto const down = static_cast<unsigned char>(y * 255 / height);
            (*image)(x, y) = RGB(across, 150, static_cast<unsigned char>(255 - down));
        }
    }
    image->Metadata().put("Camera", "left");
    image->Metadata().put("Exposure.Time", "1/60");
    image->Metadata().put("_calibration", "0101");
    return image;
}

boost::shared_ptr<StatusBar> ShowBar(CWindow& window, int mode) {
    kiv::ini::INIFile section;
    auto const bar = boost::make_shared<StatusBar>(section);
    bar->SetMode(mode);
    window.DrawImage(0, 0, Ramp(barWidth, barHeight));
    window.InsertPlugin(bar);
    window.Refresh(true);
    return bar;
}

template <int Mode>
void Bar(CWindow& window) {
    ShowBar(window, Mode);
}

/// The segment is at 30 degrees unless it snaps to the nearer axis.
template <unsigned Modifiers>
void Ruler(CWindow& window) {
    ShowBar(window, StatusBar::ModeRuler);
    window.InjectEvent(PointerEvent(EventPress, 60, 60));
    window.InjectEvent(PointerEvent(EventMotion, 190, 15, ButtonLeft | Modifiers));
}

template <int Notation>
void Mouse(CWindow& window) {
    ShowBar(window, StatusBar::ModeMouse)->SetColourNotation(Notation);
    window.InjectEvent(PointerEvent(EventMotion, 240, 30));
}

void User(CWindow& window) {
    ShowBar(window, StatusBar::ModeUser);
    window.SetCustomStatusBar("42 corners found");
}

void PointerBelow(CWindow& window) {
    ShowBar(window, StatusBar::ModeWindow);
    window.InjectEvent(PointerEvent(EventMotion, 160, 80));
}

void HelpScreen(CWindow& window) {
    window.DrawImage(0, 0, 400, 310, Ramp(400, 310));
    window.InsertPlugin(boost::make_shared<Help>());
}

void LogoPlaces(CWindow& window) {
    window.DrawImage(0, 0, 400, 200, Ramp(400, 200));
    for (char const* const location : logolocation) {
        static kiv::ini::INIFile file; // logos keep a pointer to their section
        kiv::ini::INIFile& section = *file.Node(location);
        section.Set("NAME", "logo.png");
        section.Set("SIZE", "48");
        section.Set("ALPHA", "255");
        section.Set("LOCATE", location);
        window.InsertPlugin(boost::make_shared<Logo>(section));
    }
}

void Graph(CWindow& window) {
    TimeGraph graph({}, "temperature", 10, 80, 380, 70, 4, 6, 0, 10, -1, 1, "s", "K");
    for (int i = 0; i < 130; ++i) {
        float const t = static_cast<float>(i) * 0.1F;
        graph.Update({t, std::sin(2 * t) * std::exp(-0.1F * t)});
    }
    window.SetColor({90, 100, 110, 255});
    window.DrawRectangle(graph.X0(), graph.Y0() - graph.Height(), 390, graph.Y0());
    window.SetColor({120, 220, 120, 255});
    window.SetLineSmoothing(true);
    window.DrawPolygon(graph.Points(), false);
    window.SetFontSize(11, false);
    window.DrawText(16, 14, graph.Name() + " [" + graph.SecondLabel() + "]");
}

void Scales(CWindow& window) {
    window.SetColor({255, 255, 255, 255});
    ScaleBar(window, {20, 10, 380, 26}, 0, 200);
    ScaleBar(window, {20, 36, 380, 52}, 0.5, -0.25);
    ScaleBar(window, {20, 62, 380, 78}, 0, 0.012);
}

void Progress(CWindow& window) {
    ProgressBar(window, {20, 10, 380, 26}, 0);
    ProgressBar(window, {20, 36, 380, 52}, 0.42);
    ProgressBar(window, {20, 62, 380, 78}, 1);
}

} // namespace

Section GadgetSection() {
    return {
        "Gadgets",
        {
            {"Status bar: Window", barWidth, barHeight, Bar<StatusBar::ModeWindow>},
            {"Status bar: Window, the pointer below", barWidth, barHeight, PointerBelow},
            {"Status bar: Ruler, before the first press", barWidth, barHeight, Bar<2>},
            {"Status bar: Ruler", barWidth, barHeight, Ruler<0>},
            {"Status bar: Ruler with Shift", barWidth, barHeight, Ruler<StateShift>},
            {"Status bar: Mouse", barWidth, barHeight, Mouse<StatusBar::NotationRGB>},
            {"Status bar: Mouse, hue, lightness, saturation", barWidth, barHeight, Mouse<1>},
            {"Status bar: Mouse, hue, saturation, value", barWidth, barHeight, Mouse<2>},
            {"Status bar: Refresh", barWidth, barHeight, Bar<StatusBar::ModeRefresh>},
            {"Status bar: Performance", barWidth, barHeight, Bar<StatusBar::ModePerformance>},
            {"Status bar: User", barWidth, barHeight, User},
            {"Status bar: Image Property", barWidth, barHeight, Bar<7>},
            {"Status bar: any other mode", barWidth, barHeight, Bar<8>},
            {"Scale bar", barWidth, barHeight, Scales},
            {"Progress bar", barWidth, barHeight, Progress},
            {"Help", 400, 310, HelpScreen},
            {"Logo in its nine places", 400, 200, LogoPlaces},
            {"Time graph", barWidth, barHeight, Graph},
        }};
}
