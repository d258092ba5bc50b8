#include "drivers/sdl/Keyboard.h"

#include "ui/win/Event.h"
#include "ui/win/Keys.h"

#include <boost/locale/utf.hpp>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace drivers::sdl {

namespace {

using namespace ui::win;

struct SilentKey {
    SDL_Keycode sdl;
    std::uint32_t code;
};

constexpr SilentKey silentKeys[] = {
    {SDLK_BACKSPACE, KeyBackspace},
    {SDLK_TAB, KeyTab},
    {SDLK_RETURN, KeyEnter},
    {SDLK_KP_ENTER, KeyEnter},
    {SDLK_ESCAPE, KeyEscape},
    {SDLK_DELETE, KeyDelete},
    {SDLK_F1, KeyF1},
    {SDLK_F2, KeyF2},
    {SDLK_F3, KeyF3},
    {SDLK_F4, KeyF4},
    {SDLK_F5, KeyF5},
    {SDLK_F6, KeyF6},
    {SDLK_F7, KeyF7},
    {SDLK_F8, KeyF8},
    {SDLK_F9, KeyF9},
    {SDLK_F10, KeyF10},
    {SDLK_F11, KeyF11},
    {SDLK_F12, KeyF12},
    {SDLK_LEFT, KeyLeft},
    {SDLK_UP, KeyUp},
    {SDLK_RIGHT, KeyRight},
    {SDLK_DOWN, KeyDown},
    {SDLK_PAGEUP, KeyPageUp},
    {SDLK_PAGEDOWN, KeyPageDown},
    {SDLK_HOME, KeyHome},
    {SDLK_END, KeyEnd},
    {SDLK_INSERT, KeyInsert},
    {SDLK_LSHIFT, KeyShift},
    {SDLK_RSHIFT, KeyShift},
    {SDLK_LCTRL, KeyControl},
    {SDLK_RCTRL, KeyControl},
    {SDLK_LALT, KeyAlt},
    {SDLK_RALT, KeyAlt},
    {SDLK_LGUI, KeySuper},
    {SDLK_RGUI, KeySuper},
    {SDLK_CAPSLOCK, KeyCapsLock},
    {SDLK_NUMLOCKCLEAR, KeyNumLock},
    {SDLK_SCROLLLOCK, KeyScrollLock},
    {SDLK_PRINTSCREEN, KeyPrint},
    {SDLK_PAUSE, KeyPause},
    {SDLK_APPLICATION, KeyMenu},
    {SDLK_MENU, KeyMenu},
};

/// The keypad's two faces; 0 where it has only one.
struct KeypadKey {
    SDL_Keycode sdl;
    std::uint32_t withoutNumLock;
    char character;
};

constexpr KeypadKey keypadKeys[] = {
    {SDLK_KP_0, KeyInsert, '0'},
    {SDLK_KP_1, KeyEnd, '1'},
    {SDLK_KP_2, KeyDown, '2'},
    {SDLK_KP_3, KeyPageDown, '3'},
    {SDLK_KP_4, KeyLeft, '4'},
    {SDLK_KP_5, 0, '5'},
    {SDLK_KP_6, KeyRight, '6'},
    {SDLK_KP_7, KeyHome, '7'},
    {SDLK_KP_8, KeyUp, '8'},
    {SDLK_KP_9, KeyPageUp, '9'},
    {SDLK_KP_PERIOD, KeyDelete, '.'},
    {SDLK_KP_PLUS, '+', '+'},
    {SDLK_KP_MINUS, '-', '-'},
    {SDLK_KP_MULTIPLY, '*', '*'},
    {SDLK_KP_DIVIDE, '/', '/'},
};

template <class Row, std::size_t Count>
Row const* Find(Row const (&table)[Count], SDL_Keycode key) {
    auto const* const row =
        std::find_if(table, table + Count, [key](Row const& r) { return r.sdl == key; });
    return row == table + Count ? nullptr : row;
}

bool Prints(std::uint32_t code) {
    return code >= ' ' && code < KeyF1 && code != KeyDelete;
}

} // namespace

std::uint32_t ModifierBits(Uint16 modifiers) {
    return ((modifiers & KMOD_SHIFT) != 0 ? StateShift : 0U) |
           ((modifiers & KMOD_CTRL) != 0 ? StateCtrl : 0U);
}

std::uint32_t KeyCode(SDL_Keysym const& key) {
    bool const ctrl = (key.mod & KMOD_CTRL) != 0;
    if (SilentKey const* const silent = Find(silentKeys, key.sym)) {
        return silent->code;
    }
    if (KeypadKey const* const keypad = Find(keypadKeys, key.sym)) {
        auto const face = (key.mod & KMOD_NUM) != 0 ? static_cast<unsigned char>(keypad->character)
                                                    : keypad->withoutNumLock;
        return Prints(face) && !ctrl ? 0 : face;
    }
    if (!ctrl || (key.sym & SDLK_SCANCODE_MASK) != 0) {
        return 0;
    }
    auto const character = static_cast<std::uint32_t>(key.sym);
    bool const upper = (key.mod & KMOD_SHIFT) != 0 && character >= 'a' && character <= 'z';
    return upper ? character - 'a' + 'A' : character;
}

std::u32string Characters(char const* utf8) {
    std::u32string characters;
    char const* const end = utf8 + std::strlen(utf8);
    while (utf8 != end) {
        auto const c = boost::locale::utf::utf_traits<char>::decode(utf8, end);
        if (boost::locale::utf::is_valid_codepoint(c)) {
            characters.push_back(c);
        }
    }
    return characters;
}

} // namespace drivers::sdl
