#pragma once

#include "ui/panel/WidgetGuid.h"

#include <boost/any.hpp>

#include <string>

namespace ui {

namespace wgt {
class Widget;
}

namespace var {

/// The base of panel variables: a handle on a widget whose value lives in the panel manager. Owns
/// one reference on the record. Any thread may use its own handles.
class Base {
public:
    /// Makes a widget, without a value yet.
    Base();
    /// Takes a reference.
    /// @throws std::runtime_error for a GUID without a record
    explicit Base(widget_guid_t guid);
    Base(Base const& other);
    /// Makes this a handle on the other's widget; no value is copied.
    Base& operator=(Base const& other);
    ~Base();

    widget_guid_t GUID() const { return m_guid; }
    /// Asks the front ends to show the variable afresh. @return false without a value
    bool Update();

    /// The value as text (T = std::string) or as it is (T = boost::any, empty without a value).
    /// @throws std::runtime_error "Invalid widget value" where there is no text
    template <class T>
    T GetValue() const;

private:
    widget_guid_t m_guid;
};

template <>
std::string Base::GetValue<std::string>() const;
template <>
boost::any Base::GetValue<boost::any>() const;

/// A handle on a pop-up panel. Owns one reference on its record.
class Popup : private Base {
public:
    /// Both take a reference.
    /// @throws std::runtime_error for a GUID without a record
    explicit Popup(widget_guid_t guid);
    explicit Popup(wgt::Widget const& widget);

    using Base::GUID;
};

} // namespace var

} // namespace ui
