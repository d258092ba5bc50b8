#pragma once

#include <charconv>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace kiv {

/// Reads a decimal number with an optional sign, the same in every locale. One-byte integers are
/// numbers, not characters.
/// @return false, with value unchanged, unless the whole text is a number in T's range
template <class T>
bool ParseNumber(std::string_view text, T& value) {
    static_assert(std::is_arithmetic_v<T> && !std::is_same_v<T, bool>);
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') {
        text.remove_prefix(1);
    }
    char const* const end = text.data() + text.size();
    T parsed{};
    auto const result = std::from_chars(text.data(), end, parsed);
    if (result.ec != std::errc() || result.ptr != end) {
        return false;
    }
    value = parsed;
    return true;
}

} // namespace kiv
