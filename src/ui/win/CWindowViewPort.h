#pragma once

namespace ui::win {

/// The part of a window that a layer is drawn into; the whole window by default.
/// Each edge is a fraction of the window's width or height, or a position in window pixels.
struct CWindowViewPort {
    float left = 0.0F;
    float right = 1.0F;
    float top = 0.0F;
    float bottom = 1.0F;
    bool leftIsFraction = true;
    bool rightIsFraction = true;
    bool topIsFraction = true;
    bool bottomIsFraction = true;

    /// Edges as fractions 0..1 of the window.
    static CWindowViewPort Fractions(float left, float top, float right, float bottom) {
        return {left, right, top, bottom, true, true, true, true};
    }
    /// Edges in window pixels; right and bottom lie just outside.
    static CWindowViewPort Pixels(float left, float top, float right, float bottom) {
        return {left, right, top, bottom, false, false, false, false};
    }
};

} // namespace ui::win
