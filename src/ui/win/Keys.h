#pragma once

#include <cstdint>

namespace ui::win {

/// Codes of the keys that print nothing (Event::key of an EventKey).
///
/// Keys that print a character are delivered as that character's Unicode code point, so letters
/// and digits compare with 's', '+' and so on; Backspace, Tab, Enter, Escape and Delete keep
/// their ASCII codes. Everything else lies above the range of Unicode's first plane.
enum Key : std::uint32_t {
    KeyBackspace = 8,
    KeyTab = 9,
    KeyEnter = 13,
    KeyEscape = 27,
    KeyDelete = 127,

    KeyF1 = 0x10001,
    KeyF2,
    KeyF3,
    KeyF4,
    KeyF5,
    KeyF6,
    KeyF7,
    KeyF8,
    KeyF9,
    KeyF10,
    KeyF11,
    KeyF12,

    KeyLeft = 0x10101,
    KeyUp,
    KeyRight,
    KeyDown,
    KeyPageUp,
    KeyPageDown,
    KeyHome,
    KeyEnd,
    KeyInsert,

    KeyShift = 0x10201,
    KeyControl,
    KeyAlt,
    KeySuper,
    KeyCapsLock,
    KeyNumLock,
    KeyScrollLock,
    KeyPrint,
    KeyPause,
    KeyMenu
};

} // namespace ui::win
