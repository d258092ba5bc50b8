#pragma once

#include "drivers/TestWindow.h"

#include <chrono>
#include <string>
#include <thread>

namespace tests {

template <class Condition>
bool Eventually(Condition const& condition) {
    auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

/// Moves, clicks and types. Returns when the server has been told.
void Xdotool(std::string const& arguments);

/// The window's next event of one of these kinds; of type 0 when none comes.
ui::win::Event NextEvent(ui::win::CWindow& window, unsigned kinds);

/// A picture in which every pixel is another.
cimage::TImage<RGB> Noise(unsigned width, unsigned height, unsigned seed);

} // namespace tests
