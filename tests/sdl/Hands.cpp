#include "sdl/Hands.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace tests {

using ui::win::Event;

void Xdotool(std::string const& arguments) {
    ASSERT_EQ(std::system(("xdotool " + arguments + " >/dev/null 2>&1").c_str()), 0) << arguments;
}

Event NextEvent(ui::win::CWindow& window, unsigned kinds) {
    Event event;
    bool const came = Eventually([&] {
        window.FlushEvent();
        while (window.GetNextEvent(event)) {
            if ((event.type & kinds) != 0) {
                return true;
            }
        }
        return false;
    });
    return came ? event : Event();
}

cimage::TImage<RGB> Noise(unsigned width, unsigned height, unsigned seed) {
    cimage::TImage<RGB> noise(width, height);
    for (unsigned i = 0; i < width * height; ++i) {
        seed = seed * 1664525 + 1013904223;
        noise(i % width, i / width) =
            RGB(static_cast<unsigned char>(seed >> 8),
                static_cast<unsigned char>(seed >> 16),
                static_cast<unsigned char>(seed >> 24));
    }
    return noise;
}

} // namespace tests
