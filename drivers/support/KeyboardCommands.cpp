#include "drivers/support/KeyboardCommands.h"

#include "drivers/support/CThreadedCoreManager.h"
#include "ui/win/Keys.h"
#include "ui/win/camera/CWindowCamera2D.h"
#include "ui/win/widgets/Gadgets.h"

#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>

#include <algorithm>
#include <array>
#include <iterator>

namespace drivers::support {

namespace {

using ui::win::CCamera2D;

constexpr float zoomInFactor = 1.25F;
constexpr float zoomOutFactor = 0.8F;
constexpr double shiftFraction = 0.1;

/// The camera that a wheel step at the pointer would reach, or at the window's centre while the
/// pointer is elsewhere. Null when that view is not planar.
boost::shared_ptr<CCamera2D> CameraUnderPointer(CThreadedCoreManager& window) {
    int x = window.PointerX();
    int y = window.PointerY();
    bool const inside = x >= 0 && y >= 0 && x < static_cast<int>(window.Width()) &&
                        y < static_cast<int>(window.Height());
    if (!inside) {
        x = static_cast<int>(window.Width() / 2);
        y = static_cast<int>(window.Height() / 2);
    }
    auto const& layers = window.DrawerList().Layers();
    for (auto entry = layers.rbegin(); entry != layers.rend(); ++entry) {
        math::Rect2<int> const& r = entry->second.LastPixelRectangle();
        bool const covers = r.left < x && x < r.right && r.top < y && y < r.bottom;
        if (covers && entry->second.GetCamera()) {
            return boost::dynamic_pointer_cast<CCamera2D>(entry->second.GetCamera());
        }
    }
    return {};
}

void Zoom(CThreadedCoreManager& window, float factor) {
    if (auto const camera = CameraUnderPointer(window)) {
        camera->SmoothZoom(&window, static_cast<float>(camera->Zoom()) * factor, 0.0F, 0.0F);
    }
}

void Shift(CThreadedCoreManager& window, double dx, double dy) {
    if (auto const camera = CameraUnderPointer(window)) {
        double x0 = 0;
        double y0 = 0;
        double x1 = 0;
        double y1 = 0;
        camera->GetView(x0, y0, x1, y1);
        double const step = shiftFraction / camera->Zoom();
        camera->SetTranslation(
            camera->Translation() +
            math::Point2<double>(dx * step * (x1 - x0), dy * step * (y1 - y0)));
    }
}

void ResetView(CThreadedCoreManager& window) {
    if (auto const camera = CameraUnderPointer(window)) {
        camera->Reset();
    }
}

void ResizeToQuarters(CThreadedCoreManager& window, std::uint32_t quarters) {
    window.ResizeWindow(
        std::max(1U, window.ContentWidth() * quarters / 4),
        std::max(1U, window.ContentHeight() * quarters / 4));
}

using ui::win::StatusBar;

/// The window's gadget of a name; windows without a configuration get theirs here.
template <class Make>
ui::win::CWindowCoreManager::Plugin&
FindOrInsert(CThreadedCoreManager& window, char const* name, Make const& make) {
    ui::win::CWindowCoreManager::Plugin* const plugin = window.FindPlugin(name);
    return plugin != nullptr ? *plugin : *window.InsertPlugin(make(), false);
}

/// Opens over everything: the last plugin is drawn last.
void ToggleHelp(CThreadedCoreManager& window) {
    auto* const help =
        &FindOrInsert(window, "HELP", [] { return boost::make_shared<ui::win::Help>(); });
    help->enabled = !help->enabled;
    std::rotate(help, help + 1, help + (&window.Plugins().back() - help) + 1);
}

/// Shows a bar, or none when it is that one already.
void ToggleBar(CThreadedCoreManager& window, std::int32_t mode) {
    auto& plugin = FindOrInsert(window, "StatusBar", [] {
        kiv::ini::INIFile noSettings;
        return boost::make_shared<StatusBar>(noSettings);
    });
    if (auto const bar = boost::dynamic_pointer_cast<StatusBar>(plugin.widget)) {
        bool const shown = plugin.enabled && bar->GetMode() == mode;
        bar->SetMode(shown ? StatusBar::ModeNone : mode);
        plugin.enabled = true;
    }
}

struct Command {
    std::uint32_t key;
    void (*run)(CThreadedCoreManager& window);
};

using Window = CThreadedCoreManager;
constexpr std::array<Command, 21> commands = {{
    {'h', ToggleHelp},
    {ui::win::KeyF1, [](Window& w) { ToggleBar(w, StatusBar::ModeWindow); }},
    {ui::win::KeyF2, [](Window& w) { ToggleBar(w, StatusBar::ModeRuler); }},
    {ui::win::KeyF3, [](Window& w) { ToggleBar(w, StatusBar::ModeMouse); }},
    {ui::win::KeyF4, [](Window& w) { ToggleBar(w, StatusBar::ModeRefresh); }},
    {ui::win::KeyF5, [](Window& w) { ToggleBar(w, StatusBar::ModePerformance); }},
    {ui::win::KeyF6, [](Window& w) { ToggleBar(w, StatusBar::ModeUser); }},
    {'f', [](Window& w) { w.SetFullScreenMode((w.Flags() & ui::win::StateFullScreen) == 0); }},
    {'s', [](Window& w) { w.SaveStatusOnDisk(); }},
    {'l', [](Window& w) { w.LoadAndApplyStatusFromDisk(); }},
    {'t', [](Window& w) { w.SetInterpolation(!w.Interpolates()); }},
    {'v', [](Window& w) { w.ShowPixelValues(!w.ShowsPixelValues()); }},
    {'g', [](Window& w) { w.SwitchAllPlugin(); }},
    {'a', [](Window& w) { w.ToggleState(ui::win::StateFreeAspect); }},
    {ui::win::KeyPageUp, [](Window& w) { Zoom(w, zoomInFactor); }},
    {ui::win::KeyPageDown, [](Window& w) { Zoom(w, zoomOutFactor); }},
    {ui::win::KeyLeft, [](Window& w) { Shift(w, -1, 0); }},
    {ui::win::KeyRight, [](Window& w) { Shift(w, +1, 0); }},
    {ui::win::KeyUp, [](Window& w) { Shift(w, 0, -1); }},
    {ui::win::KeyDown, [](Window& w) { Shift(w, 0, +1); }},
    {ui::win::KeyHome, ResetView},
}};

std::uint32_t LowerCase(std::uint32_t key) {
    return key >= 'A' && key <= 'Z' ? key - 'A' + 'a' : key;
}

} // namespace

bool KeyboardCommands::Handle(CThreadedCoreManager& window, ui::win::Event const& event) {
    bool const allowed = (window.Flags() & ui::win::StateKeyboard) != 0;
    if (!allowed || event.type != ui::win::EventKey || (event.state & ui::win::StateCtrl) == 0) {
        return false;
    }
    std::uint32_t const key = LowerCase(event.key);
    if (key == 'm') {
        m_enabled = !m_enabled;
        return true;
    }
    if (!m_enabled) {
        return false;
    }
    if (key >= '1' && key <= '8') {
        ResizeToQuarters(window, key - '0');
    } else {
        auto const command = std::find_if(
            commands.begin(), commands.end(), [key](Command const& c) { return c.key == key; });
        if (command == commands.end()) {
            return false;
        }
        command->run(window);
    }
    window.Refresh(false);
    return true;
}

} // namespace drivers::support
