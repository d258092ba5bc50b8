#pragma once

#include <SDL2/SDL.h>

#include <cstdint>
#include <string>

namespace drivers::sdl {

/// Shift and Ctrl as bits of Event::state.
std::uint32_t ModifierBits(Uint16 modifiers);

/// The code (ui/win/Keys.h, or a character) of a key that went down; 0 when a text event tells what
/// it prints, or when it has no code. With Ctrl held nothing is printed, so characters come here.
std::uint32_t KeyCode(SDL_Keysym const& key);

/// The code points of UTF-8 text.
std::u32string Characters(char const* utf8);

} // namespace drivers::sdl
