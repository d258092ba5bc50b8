// Corrects what a corner finder made of a calibration frame: corners are dragged or hidden, a box
// bounds the board, a polygon covers what is not to be looked at, and all of it can be undone.
//
//     annotate <frame> <corners> <output folder> [driver]
//
// With a driver that opens real windows the user does it by hand and ends with 'q'; without one a
// script moves the pointer.

#include "annotation.h"

#include <boost/filesystem/operations.hpp>

#include <exception>
#include <iostream>
#include <stdexcept>

namespace {

using namespace ui::win;

void UndoAndRedo(Annotation& annotation, std::vector<Corner> const& found) {
    CWindow& window = annotation.Window();
    for (int i = 0; i < scriptedGestures; ++i) {
        PressKey(window, 'z', StateCtrl);
    }
    if (annotation.Read().corners != found) {
        throw std::logic_error("undo left something behind");
    }
    for (int i = 0; i < scriptedGestures; ++i) {
        PressKey(window, 'z', StateCtrl | StateShift);
    }
}

bool IsEnd(Event const& event) {
    return event.type == EventKey ? event.key == 'q'
                                  : event.type == EventWindow && event.key == WindowClosed;
}

void WaitForUser(CWindow& window) {
    window.SetEventMask(EventKey | EventWindow);
    bool ended = false;
    while (!ended && window.WaitForEvent()) {
        Event event;
        while (!ended && window.GetNextEvent(event)) {
            ended = IsEnd(event);
        }
    }
}

} // namespace

int main(int argc, char** argv) try {
    if (argc != 4 && argc != 5) {
        std::cerr << "usage: " << argv[0] << " <frame> <corners> <output folder> [driver]\n";
        return 2;
    }
    std::string const folder = argv[3];
    boost::filesystem::create_directories(folder);
    CWindow::setOutputPath(folder);
    std::vector<Corner> const found = ReadCorners(argv[2]);
    Annotation annotation(argc == 5 ? argv[4] : "Offscreen", argv[1], found);
    if (argc == 5) {
        WaitForUser(annotation.Window());
    } else {
        PlayScript(annotation.Window());
        UndoAndRedo(annotation, found);
    }
    annotation.Save(folder + "/corners.txt");
    annotation.Window().Dump("annotation.png");
    std::cout << "Corners and picture are in " << folder << '\n';
    return 0;
} catch (std::exception const& error) {
    std::cerr << "annotate: " << error.what() << '\n';
    return 1;
}
