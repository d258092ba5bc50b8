#pragma once

#include "cimage/PixelTypes.h"
#include "kiv/ParseNumber.h"
#include "math/Point2.h"
#include "math/Point3.h"

#include <boost/algorithm/string/predicate.hpp>

#include <array>
#include <charconv>
#include <cstddef>
#include <locale>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace ui::var {

/// The names of an enumeration's values, for variables of that type. Specialised by whoever owns
/// the enumeration:
///
///     template <>
///     struct ui::var::EnumNames<Trigger> {
///         static constexpr std::pair<Trigger, char const*> values[] = {
///             {Trigger::Free, "FREE"}, {Trigger::Line, "LINE"}};
///     };
template <class E>
struct EnumNames;

/// How a value of type T is written as text and read back.
///
/// bool is TRUE or FALSE (read in any letter case), a number is decimal and gives the same bits
/// when read back, an enumeration is one of its names, a point or colour its numbers separated by
/// commas ("0.5,2"; red, green, blue, alpha). Other types can be added by specialisation.
template <class T, class = void>
struct ValueText; // Parse() answers false, with the value unchanged, unless the whole text is a T

template <>
struct ValueText<bool> {
    static bool Parse(std::string_view text, bool& value) {
        bool const yes = boost::iequals(text, "TRUE", std::locale::classic());
        if (!yes && !boost::iequals(text, "FALSE", std::locale::classic())) {
            return false;
        }
        value = yes;
        return true;
    }
    static std::string Format(bool value) { return value ? "TRUE" : "FALSE"; }
};

template <class T>
struct ValueText<T, std::enable_if_t<std::is_arithmetic_v<T>>> {
    static bool Parse(std::string_view text, T& value) { return kiv::ParseNumber(text, value); }
    static std::string Format(T value) {
        std::array<char, 64> text; // NOLINT(cppcoreguidelines-pro-type-member-init)
        auto const end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
        return {text.data(), end};
    }
};

template <>
struct ValueText<std::string> {
    static bool Parse(std::string_view text, std::string& value) {
        value = text;
        return true;
    }
    static std::string const& Format(std::string const& value) { return value; }
};

template <class E>
struct ValueText<E, std::enable_if_t<std::is_enum_v<E>>> {
    static bool Parse(std::string_view text, E& value) {
        for (auto const& named : EnumNames<E>::values) {
            if (text == named.second) {
                value = named.first;
                return true;
            }
        }
        return false;
    }
    /// Empty, which is no name, for a value without one.
    static std::string Format(E value) {
        for (auto const& named : EnumNames<E>::values) {
            if (value == named.first) {
                return named.second;
            }
        }
        return {};
    }
};

/// The numbers of a point or colour, as references.
template <class T>
auto Components(math::Point2<T>& p) {
    return std::tie(p.x, p.y);
}
template <class T>
auto Components(math::Point3<T>& p) {
    return std::tie(p.x, p.y, p.z);
}
template <class T>
auto Components(cimage::TRGB<T>& c) {
    return std::tie(c.r, c.g, c.b);
}
template <class T>
auto Components(cimage::TRGBA<T>& c) {
    return std::tie(c.r, c.g, c.b, c.a);
}

/// Whether T is one of the types above.
template <class T, class = void>
inline constexpr bool has_components = false;
template <class T>
inline constexpr bool has_components<T, std::void_t<decltype(Components(std::declval<T&>()))>> =
    true;

template <class T>
struct ValueText<T, std::enable_if_t<has_components<T>>> {
    static bool Parse(std::string_view text, T& value) {
        T parsed;
        bool const whole = std::apply(
            [&](auto&... component) { return (ParseNext(text, component) && ...); },
            Components(parsed));
        if (!whole || text.data()) {
            return false;
        }
        value = parsed;
        return true;
    }
    static std::string Format(T value) {
        std::string text;
        std::apply(
            [&](auto&... component) {
                ((text += (text.empty() ? "" : ",") + FormatOne(component)), ...);
            },
            Components(value));
        return text;
    }

private:
    // Reads up to the next comma and drops that; a null text means that nothing is left.
    template <class N>
    static bool ParseNext(std::string_view& text, N& number) {
        if (!text.data()) {
            return false;
        }
        std::size_t const comma = text.find(',');
        std::string_view part = text.substr(0, comma);
        text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
        part.remove_prefix(std::min(part.find_first_not_of(' '), part.size()));
        return ValueText<N>::Parse(part, number);
    }
    template <class N>
    static std::string FormatOne(N number) {
        return ValueText<N>::Format(number);
    }
};

} // namespace ui::var
