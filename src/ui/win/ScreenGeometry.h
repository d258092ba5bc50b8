#pragma once

#include <cstdint>

namespace ui::win {

/// The screen that shows a window; all zero when the driver cannot tell.
struct ScreenGeometry {
    std::uint32_t width = 0;  ///< pixels
    std::uint32_t height = 0; ///< pixels
    std::uint32_t dpi = 0;    ///< dots per inch
};

} // namespace ui::win
