// An event loop: waits for input, reacts, and ends with 'q'.
//
// Offscreen there is nobody to press keys, so this program sends itself a few events first. With a
// driver that opens real windows the loop is the same.

#include "ui/win/CWindow.h"
#include "ui/win/CWindowCommands.h"

#include <boost/make_shared.hpp>

#include <exception>
#include <iostream>

namespace {

using namespace ui::win;

void Click(CWindow& window, int x, int y) {
    Event event;
    event.type = EventPress;
    event.button = ButtonRight; // the left one drags the view
    event.screenX = x;
    event.screenY = y;
    window.InjectEvent(event);
}

void Press(CWindow& window, char key) {
    Event event;
    event.type = EventKey;
    event.key = static_cast<unsigned char>(key);
    window.InjectEvent(event);
}

/// @return false when the loop should end
bool React(CWindow& window, Event const& event) {
    switch (event.type) {
    case EventPress:
        std::cout << "button " << event.button << " at world (" << event.worldX << ", "
                  << event.worldY << ")\n";
        window.DrawCross(event.worldX, event.worldY, 4);
        window.Refresh();
        return true;
    case EventKey:
        return event.key != 'q';
    default:
        return true;
    }
}

} // namespace

int main() try {
    CWindow::setDriver("Offscreen");
    CWindow window("Event loop", 640, 480, StateVisible);
    window.SetVirtualView(0, 0, 64, 48); // ten pixels a world unit
    window.SetEventMask(EventKey | EventPress);
    // A layer takes the pointer's events where it was drawn.
    window.Refresh(true);

    Click(window, 100, 100);
    Click(window, 320, 240);
    Press(window, 'q');

    bool running = true;
    while (running && window.WaitForEvent()) {
        Event event;
        while (running && window.GetNextEvent(event)) {
            running = React(window, event);
        }
    }
    return 0;
} catch (std::exception const& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
