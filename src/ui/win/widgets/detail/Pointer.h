#pragma once

#include "math/Point2.h"
#include "ui/win/Event.h"

#include <cmath>

namespace ui::win::detail {

/// Where the pointer is, in the coordinates that the widget draws with: window pixels for a plugin,
/// the view's world for a widget in a layer.
inline math::Point2<float> Pointer(Event const& event) {
    return {event.worldX, event.worldY};
}

/// False where the view has no such place: a flat camera answers infinite or undefined positions.
inline bool IsPlace(math::Point2<float> const& p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

} // namespace ui::win::detail
