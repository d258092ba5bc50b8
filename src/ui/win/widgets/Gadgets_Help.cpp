#include "ui/win/widgets/Gadgets.h"

#include <cmath>

namespace ui::win {

// The texts are fixed, "Transtaltion" included: manuals show this screen as it is.
HelpEntry const HelpMenu[] = {
    {"CTRL + <key>", ""},
    {"h", "This Help Screen"},
    {"F1", "Toggle Window Information Bar"},
    {"F2", "Toggle Rule Bar"},
    {"F3", "Toggle Mouse Information Bar"},
    {"F4", "Toggle Frame Information Bar"},
    {"F5", "Toggle OpenGL Performance Bar"},
    {"F6", "Toggle Custom Bar"},
    {"f", "Toggle FullScreen Mode"},
    {"1..8", "Change size of Window"},
    {"s", "Save current position of window"},
    {"l", "Restore position of window"},
    {"t", "Toggle Image Interpolation Filter"},
    {"Pag Up/Down", "Zoom In/Out Image"},
    {"Arrows", "Translate Image"},
    {"Home", "Restore Zoom-Transtaltion"},
    {"g", "Enable/Disable Gadget"},
    {"a", "Enable/Disable Aspect Ratio Lock"},
    {"m", "Enable/Disable Ctrl+<key> mode"},
    {nullptr, nullptr}};

namespace {

using Colour = CWindowCore::Colour;

constexpr Colour white(255, 255, 255, 255);

Colour BackgroundAt(double phase) {
    auto const component = [phase](double frequency) {
        return static_cast<unsigned char>(std::sin(frequency * phase) * 15 + 16);
    };
    return {component(1.5), component(1), component(0.5), 191};
}

void DrawPanel(CWindowCore* core, Colour const& background) {
    double const right = core->Width() - 21.0;
    double const bottom = core->Height() - 21.0;
    core->SetBlend(BlendAlpha);
    core->SetColor(background);
    core->DrawBox(20, 20, right, bottom, true);
    core->SetBlend(BlendOpaque);
    core->SetColor(white);
    core->DrawBox(20, 20, right, bottom, false);
    core->DrawBox(21, 21, right - 1, bottom - 1, false);
}

void DrawEntries(CWindowCore* core) {
    core->SetFontSizeEx(14, 14, false);
    core->DrawText({35, 35, 0}, "Help Menu");
    core->SetFontSizeEx(10, 10, false);
    double y = 55;
    for (HelpEntry const* entry = HelpMenu; entry->key != nullptr && core->Height() > y + 20;
         ++entry, y += 12) {
        core->DrawText({25, y, 0}, entry->key);
        core->DrawText({120, y, 0}, entry->description);
    }
}

} // namespace

int Help::Draw(CWindowCore* core) {
    ViewPortMode const mode = core->GetViewPortMode();
    core->SetViewPort(ViewPortPixels, nullptr, {});
    Colour const background = BackgroundAt(m_phase);
    m_phase += 0.1;
    core->SetTextAlign(AlignLeft, AlignBaseline);
    DrawPanel(core, background);
    DrawEntries(core);
    core->SetViewPort(mode, nullptr, {});
    return 1;
}

} // namespace ui::win
