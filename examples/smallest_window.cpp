// The smallest program: a window, an image, a refresh.
//
//     smallest_window <image file> <output file>

#include "ui/win/CWindow.h"

#include <boost/property_tree/ptree.hpp>

#include <exception>
#include <iostream>

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::cerr << "usage: " << argv[0] << " <image file> <output file>\n";
        return 2;
    }
    ui::win::CWindow::setDriver("Offscreen"); // a window in memory; needs no display
    ui::win::CWindow::setOutputPath(".");

    ui::win::CWindow window("Smallest", 640, 480, ui::win::StateVisible);
    window.DrawImageFile(argv[1], 0, 0, 640, 480);
    window.DrawShadowText(10, 10, argv[1]);
    window.Refresh(true);

    window.Dump(argv[2]); // written before the window goes
    return 0;
} catch (std::exception const& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
