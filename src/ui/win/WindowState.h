#pragma once

#include <cstdint>

namespace ui::win {

/// Bits of the window-state word (CreationParams::flags, CWindowCore's flags).
enum WindowState : std::uint32_t {
    StateFullScreen = 1,
    StateUndecorated = 2, ///< no frame, no title bar
    StateVisible = 4,
    StateDumpFrames = 8,      ///< every finished frame is written to a file
    StateKeyboard = 0x200,    ///< keyboard commands (Ctrl + key) are handled by the driver
    StateFreeAspect = 0x800,  ///< the 3D camera's aspect correction is off
    StateDepthBuffer = 0x2000 ///< set by EnableZBuffer
};

} // namespace ui::win
