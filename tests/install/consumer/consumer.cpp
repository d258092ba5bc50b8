// An application of the installed library: one window on every driver that needs no display.
// It finds the driver "Offscreen" by its name alone and checks what was drawn.

#include "ui/win/CWindow.h"

#include <exception>
#include <iostream>

int main() try {
    using Colour = ui::win::CWindow::Colour;

    ui::win::CWindow::setDriver("None,Offscreen");
    ui::win::CWindow window("Consumer", 64, 48, ui::win::StateVisible);
    window.SetBackgroundColor(Colour{0, 0, 255, 255});
    window.SetColor(Colour{255, 0, 0, 255});
    window.DrawBox(16, 12, 48, 36, true);
    window.Refresh(true);

    auto const frame = window.GrabImage(window.GetCoreID("Offscreen"));
    if (!frame || frame->Width() != 64 || frame->Height() != 48) {
        std::cerr << "The frame does not have the window's size\n";
        return 1;
    }
    auto const inside = (*frame)(32, 24);
    auto const outside = (*frame)(4, 4);
    if (inside.r != 255 || inside.b != 0 || outside.r != 0 || outside.b != 255) {
        std::cerr << "The frame does not show the box on its background\n";
        return 1;
    }
    std::cout << "Drawn by " << window.GetConnectionString(-1) << '\n';
    return 0;
} catch (std::exception const& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
