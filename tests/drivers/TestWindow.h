#pragma once

#include "support/TestParams.h"
#include "ui/win/CWindow.h"
#include "ui/win/CWindowCommands.h"

#include <boost/function.hpp>
#include <boost/make_shared.hpp>

#include <string>

namespace tests {

using Colour = cimage::TRGBA<unsigned char>;
using RGB = cimage::TRGB<unsigned char>;

/// Runs a function on the backend's thread and waits for it.
inline void OnBackend(
    ui::win::CWindow& window,
    boost::function<void(ui::win::CWindowCoreManager&)> const& function,
    int index = 0) {
    auto const command = boost::make_shared<ui::win::CWndCommand_Call>(
        [&](ui::win::CWindowCoreManager* manager) { function(*manager); });
    if (window.SendCommand(command, index)) {
        command->Suspend();
    }
}

inline RGB PixelAt(ui::win::CWindow& window, unsigned x, unsigned y) {
    return (*window.GrabImage(0))(x, y);
}

inline ui::win::Event MakeEvent(std::uint32_t type, int x = 0, int y = 0) {
    ui::win::Event event;
    event.type = type;
    event.screenX = x;
    event.screenY = y;
    return event;
}

} // namespace tests

namespace cimage {
/// Shows a colour in a failed expectation.
inline void PrintTo(tests::RGB const& c, std::ostream* out) {
    *out << '(' << int{c.r} << ',' << int{c.g} << ',' << int{c.b} << ')';
}
} // namespace cimage
