#pragma once

#include <cstdint>
#include <type_traits>

namespace ui::win {

/// Event kinds (Event::type). One bit each, so that a set of kinds is a mask.
enum CWindowEvents_ID : std::uint32_t {
    EventKey = 1,           ///< key pressed; Event::key holds its code
    EventMotion = 2,        ///< pointer moved; Event::state tells the held buttons
    EventPress = 4,         ///< button pressed; Event::button tells which
    EventRelease = 8,       ///< button released; Event::button tells which
    EventCaptureLost = 16,  ///< told to a widget that loses the input capture
    EventWindow = 32,       ///< of the window itself; Event::key tells which (WindowEvent)
    EventPositionless = 64, ///< reaches a layer's drawables whatever the pointer's position
    EventObject = 128       ///< PushObjectEvent; Event::key holds the object's identifier
};

/// Button codes (Event::button).
enum EventButton : std::uint32_t {
    ButtonLeft = 1,
    ButtonRight = 2,
    ButtonMiddle = 4,
    WheelForward = 8,
    WheelBack = 16,
    ButtonBack = 32, ///< the further buttons at the side of a mouse
    ButtonForward = 64
};

/// What happened to a window (Event::key of an EventWindow).
enum WindowEvent : std::uint32_t {
    WindowClosed = 1,  ///< the user closed it: it is hidden, and can be shown again
    WindowResized,     ///< by the user, or by the screen
    WindowFocusGained, ///< keys come here
    WindowFocusLost,
    WindowPointerLeft, ///< the pointer is outside
    WindowDisplayLost  ///< nothing is shown and no input comes any more; the window goes on
};

/// Bits of Event::state: held buttons (their ButtonLeft, ButtonRight ... codes) and modifier keys.
enum EventState : std::uint32_t { StateShift = 0x1000, StateCtrl = 0x2000 };

/// One input event. A plain record of 72 bytes, copied by value into and out of queues.
///
/// A driver fills the fields up to the screen position; each layer that routes the event
/// overwrites the local, device and world positions with those of its own frame.
struct Event {
    std::uint32_t type = 0; ///< one CWindowEvents_ID bit
    std::uint32_t key = 0;  ///< key code (character code or Keys.h), or object identifier
    std::uint32_t reserved0[2] = {0, 0}; ///< carried along, not interpreted
    std::uint32_t button = 0;            ///< button code of a press or release
    std::uint32_t state = 0;             ///< held buttons and modifiers
    std::uint32_t enabled = 1;           ///< cameras ignore the event when zero
    std::int32_t screenX = 0;            ///< pointer in window pixels, x to the right
    std::int32_t screenY = 0;            ///< pointer in window pixels, y downwards
    float localX = 0;  ///< pixels from the left edge of the layer's last rectangle
    float localY = 0;  ///< pixels from the top edge of the layer's last rectangle
    float deviceX = 0; ///< normalised device coordinates, -1 .. +1
    float deviceY = 0; ///< normalised device coordinates, -1 .. +1, y upwards
    float worldX = 0;  ///< through the layer's inverse view matrix
    float worldY = 0;  ///< through the layer's inverse view matrix
    std::uint32_t reserved1[3] = {0, 0, 0}; ///< carried along, not interpreted
};

static_assert(sizeof(Event) == 72, "events are copied as 72-byte records");
static_assert(std::is_trivially_copyable<Event>::value, "events are copied as plain bytes");

using CWindowEvent = Event; ///< the name that the diagnostic texts use

} // namespace ui::win
