#pragma once

#include "kiv/ini/INIFile.h"
#include "ui/panel/PanelManager.h"
#include "ui/panel/Serializable.h"
#include "ui/panel/ValueText.h"
#include "ui/panel/Vars.h"

#include <boost/any.hpp>

#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace ui::var {

/// What values of a variable are allowed; for points and colours, each component is held against
/// its own bound. Only types with an order have limits.
template <class T, class = void>
struct Limits {};

template <class T>
struct Limits<
    T,
    std::enable_if_t<(std::is_arithmetic_v<T> && !std::is_same_v<T, bool>) || has_components<T>>> {
    std::optional<T> minimum = std::nullopt; ///< inclusive
    std::optional<T> maximum = std::nullopt; ///< inclusive
    std::optional<T> step = std::nullopt; ///< how far a front end moves it; not a rule for values
};

/// A panel widget's value of type T (see ValueText for the types), within limits.
template <class T>
class TypedValue final : public detail::Serializable {
public:
    /// @throws std::runtime_error for a value outside its limits
    explicit TypedValue(T value = T(), Limits<T> limits = {})
        : m_value(std::move(value)), m_limits(std::move(limits)) {
        Check(m_value);
    }

    Serializable* Clone() const override { return new TypedValue(*this); }

    using Serializable::Load;
    using Serializable::Save;
    /// Refuses text that is not a T as a whole or lies outside the limits.
    void Load(std::string const& text, detail::AccessMode /*mode*/) override {
        T value = m_value;
        if (!ValueText<T>::Parse(text, value)) {
            throw std::runtime_error("`" + text + "' is not a value of its type");
        }
        Assign(std::move(value));
    }
    bool Save(std::string& text, detail::AccessMode /*mode*/) const override {
        std::string formatted = ValueText<T>::Format(m_value);
        if (std::is_enum_v<T> && formatted.empty()) {
            return false; // a value without a name
        }
        text = std::move(formatted);
        return true;
    }

    /// Takes a T and nothing that converts to it.
    void Set(boost::any const& value, detail::AccessMode /*mode*/) override {
        Assign(boost::any_cast<T const&>(value));
    }
    boost::any Get(detail::AccessMode /*mode*/) const override { return m_value; }

    T const& Current() const { return m_value; }
    /// @throws std::runtime_error for a value outside the limits
    void Assign(T value) {
        Check(value);
        m_value = std::move(value);
    }

private:
    void Check(T const& value) const {
        if constexpr (!std::is_empty_v<Limits<T>>) {
            bool const above = !m_limits.minimum || InOrder(*m_limits.minimum, value);
            bool const below = !m_limits.maximum || InOrder(value, *m_limits.maximum);
            if (!above || !below) {
                throw std::runtime_error(
                    ValueText<T>::Format(value) + " is outside " + Bound(m_limits.minimum) +
                    " .. " + Bound(m_limits.maximum));
            }
        }
    }

    // No order with what is not a number: that is outside every limit.
    static bool InOrder(T low, T high) {
        if constexpr (has_components<T>) {
            return InOrderEach(
                Components(low),
                Components(high),
                std::make_index_sequence<std::tuple_size_v<decltype(Components(low))>>());
        } else {
            return low <= high;
        }
    }
    template <class Tuple, std::size_t... I>
    static bool InOrderEach(Tuple low, Tuple high, std::index_sequence<I...> /*indices*/) {
        return ((std::get<I>(low) <= std::get<I>(high)) && ...);
    }
    static std::string Bound(std::optional<T> const& bound) {
        return bound ? ValueText<T>::Format(*bound) : "";
    }

    T m_value;
    Limits<T> m_limits;
};

/// A panel variable of type T: what an application tunes, an INI file keeps and front ends show.
///
///     ui::var::Value<double> gain("GAIN", &ini, 1.0, {0.0, 4.0, 0.1});
///     gain.Attr("visible", "TRUE");
///     camera.SetGain(gain);
///     gain = 2.0;
///
/// Reading and assigning go to the panel manager under its lock, so that front ends and other
/// threads may change the value at any time. Copies are handles on the same variable.
template <class T>
class Value : public Base {
public:
    /// A variable that no file knows.
    explicit Value(T value = T(), Limits<T> limits = {}) {
        detail::PanelManager& manager = *PanelManagerInstance();
        auto serializer = std::make_unique<TypedValue<T>>(std::move(value), limits);
        if constexpr (!std::is_empty_v<Limits<T>>) {
            SetLimit("min", limits.minimum);
            SetLimit("max", limits.maximum);
            SetLimit("step", limits.step);
        }
        if constexpr (std::is_enum_v<T>) {
            std::string choices;
            for (auto const& named : EnumNames<T>::values) {
                choices += (choices.empty() ? "" : "|") + std::string(named.second);
            }
            Attr("choices", choices);
        }
        manager.Bind(GUID(), serializer.release());
    }

    /// A variable bound to a key of a file or section from the start, as Bind() does.
    Value(std::string const& key, kiv::ini::INIFile* ini, T defaultValue, Limits<T> limits = {})
        : Value(defaultValue, std::move(limits)) {
        Bind(key, ini, defaultValue);
    }

    /// A handle on the variable that another handle is on.
    explicit Value(Base const& other) : Base(other) {}

    /// @throws std::runtime_error for a variable without a value, boost::bad_any_cast for one of
    ///     another type
    T Get() const {
        std::optional<T> value;
        Use([&](TypedValue<T>& typed) { value = typed.Current(); },
            [&](detail::Serializable& other) {
                value = boost::any_cast<T>(other.Get(detail::AccessClient));
            });
        return *std::move(value);
    }
    operator T() const { return Get(); } // NOLINT: a variable reads like the value it holds

    /// Sets the value and tells the front ends.
    /// @throws std::runtime_error for a value outside the limits; the old one is then kept
    Value& operator=(T const& value) {
        Set(value);
        PanelManagerInstance()->NotifyDataChanged(GUID());
        return *this;
    }
    /// As assigning, without telling anyone.
    void Set(T const& value) {
        Use([&](TypedValue<T>& typed) { typed.Assign(value); },
            [&](detail::Serializable& other) { other.Set(value, detail::AccessClient); });
    }

    /// Binds the variable to a key of a file or section, borrowed: takes the value that is there,
    /// or else, with a report on standard output, the default, and writes that into the file.
    void Bind(std::string const& key, kiv::ini::INIFile* ini, T const& defaultValue) {
        PanelManagerInstance()->Bind(GUID(), key, ini, boost::any(defaultValue));
    }

    /// Sets an attribute for the front ends to see; "visible" shows ("TRUE") or hides the variable.
    Value& Attr(std::string const& key, std::string const& value) {
        PanelManagerInstance()->Attr(GUID(), key, value);
        return *this;
    }

private:
    // Spares a value of our own kind the way through boost::any.
    template <class Typed, class Other>
    void Use(Typed useTyped, Other useOther) const {
        auto const use = [&](detail::Serializable& serializer) {
            if (typeid(serializer) == typeid(TypedValue<T>)) {
                useTyped(static_cast<TypedValue<T>&>(serializer));
            } else {
                useOther(serializer);
            }
            return true;
        };
        if (!PanelManagerInstance()->Access(GUID(), use)) {
            throw std::runtime_error("Invalid widget value");
        }
    }

    void SetLimit(char const* attribute, std::optional<T> const& limit) {
        if (limit) {
            Attr(attribute, ValueText<T>::Format(*limit));
        }
    }
};

} // namespace ui::var
