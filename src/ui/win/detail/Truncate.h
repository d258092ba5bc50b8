#pragma once

#include <cstdint>
#include <limits>

namespace ui::win::detail {

/// A coordinate without its fraction; the smallest number for what has no such number (too large,
/// or not a number at all), as CWindowCore::WindowToScreen answers.
inline std::int32_t Truncate(double value) {
    using Limits = std::numeric_limits<std::int32_t>;
    bool const representable = value > Limits::min() - 1.0 && value < Limits::max() + 1.0;
    return representable ? static_cast<std::int32_t>(value) : Limits::min();
}

} // namespace ui::win::detail
