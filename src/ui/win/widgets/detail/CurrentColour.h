#pragma once

#include "ui/win/CWindowCore.h"

namespace ui::win::detail {

/// The core's drawing colour, to be set again later; opaque white of a core that cannot tell.
inline CWindowCore::Colour CurrentColour(CWindowCore* core) {
    CWindowCore::Colour colour(255, 255, 255, 255);
    core->GetColor(&colour);
    return colour;
}

} // namespace ui::win::detail
