#pragma once

#include "ui/panel/WidgetGuid.h"

#include <string>

namespace ui::wgt {

/// A handle on a panel widget: one GUID, and one reference on its record unless it is null.
/// Copying is cheap. Any thread may use its own handles; one handle belongs to one thread at a
/// time.
///
///     ui::wgt::Widget panel("panel", ui::null_guid);
///     panel.Attr("label", "Camera").Add(ui::wgt::Widget(gain.GUID()));
///     panel.Attr("visible", "TRUE");
class Widget {
public:
    /// The null handle.
    Widget() = default;
    /// Takes a reference. Null is reported on standard output and taken as the null handle.
    /// @throws std::runtime_error for a GUID without a record
    explicit Widget(widget_guid_t guid);
    /// Takes a reference on a widget that is made where there is none, of the given class.
    /// @param guid null for a new one
    Widget(std::string const& cls, widget_guid_t guid);
    Widget(Widget const& other);
    /// Gives up the old reference and takes one of the other's. Assigning a null handle only gives
    /// up: see the source.
    Widget& operator=(Widget const& other);
    ~Widget();

    widget_guid_t GUID() const { return m_guid; }
    /// @throws std::runtime_error for a GUID without a record
    std::string Class() const;

    /// @throws std::runtime_error for an attribute that is not set
    std::string Attr(std::string const& key) const;
    bool Has(std::string const& key) const;
    /// Sets an attribute; "visible" shows ("TRUE") or hides the widget.
    Widget& Attr(std::string const& key, std::string const& value);

    /// Has this widget hold a reference on another one, or let go of it.
    void Link(widget_guid_t target);
    void UnLink(widget_guid_t target);
    /// Points this widget at another one: it is linked in place of the one pointed at before and
    /// noted in the attribute "ref".
    /// @throws boost::bad_lexical_cast where "ref" holds no GUID
    Widget& Ref(widget_guid_t target);

    /// A handle on the parent; without one the null handle, with the report on standard output.
    Widget Parent() const;
    /// Attaches a widget below this one.
    Widget& Add(Widget const& child);
    bool Update();
    /// Whether a front end has been told of the widget.
    bool IsActive() const;
    /// Gives up one reference of the widget; the handle keeps its GUID.
    bool Detach();
    /// A handle on a copy of the widget and everything below it.
    Widget Clone() const;

private:
    static Widget Owning(widget_guid_t guid);

    widget_guid_t m_guid = null_guid;
};

} // namespace ui::wgt
