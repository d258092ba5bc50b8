#pragma once

#include "math/Rect2.h"

namespace ui::win {

class CWindow;
class CWindowCore;

/// Draws a scale from `first` to `last` into an area of the current view: a bar of alternating
/// light and dark steps of 1, 2 or 5 times a power of ten (not below a thousandth), a tick at each
/// and its number below, with no more decimals than the step needs. The range may run either way.
/// The bar takes the upper half of the area, whose numbers are `textSize` pixels high.
///
/// Draws in the core's colour and leaves colour and text alignment as they were, but not the size
/// of texts. Nothing is drawn for a range or an area that is empty or not finite.
/// @return whether it was drawn
bool ScaleBar(
    CWindowCore* core,
    math::Rect2<double> const& area,
    double first,
    double last,
    double textSize = 10);

/// Draws a progress bar over an area of the current view, `done` of it (0 .. 1, NaN is 0) filled,
/// with whole per cent in the middle; "100%" is only reached at the end. Colours are the theme's.
/// Leaves colour and text alignment as they were, but not the size of texts.
/// @return whether it was drawn
bool ProgressBar(
    CWindowCore* core, math::Rect2<double> const& area, double done, double textSize = 10);

/// The same as drawables of the window's current layer. @return true
bool ScaleBar(
    CWindow& window,
    math::Rect2<double> const& area,
    double first,
    double last,
    double textSize = 10);
bool ProgressBar(
    CWindow& window, math::Rect2<double> const& area, double done, double textSize = 10);

} // namespace ui::win
