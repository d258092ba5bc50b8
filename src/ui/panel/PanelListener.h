#pragma once

#include "ui/panel/WidgetGuid.h"

namespace ui::detail {

struct WidgetCore;

/// What a panel front end hears of the widgets that it was told of, once it is registered with the
/// panel manager.
///
/// Called on whatever thread made the change, with the registry locked: a listener must not call
/// the manager from here, nor throw. It queues what it has to ask and asks later. The record is
/// only valid during the call.
class PanelListener {
public:
    /// An attribute was set.
    virtual void OnAttribute(widget_guid_t guid, WidgetCore const& core) = 0;
    /// The last reference is being given up; what is below the widget may go with it.
    virtual void OnDetach(widget_guid_t guid) = 0;
    /// The front end is asked to show the widget afresh.
    virtual void OnUpdate(widget_guid_t guid, WidgetCore const& core) = 0;
    /// The widget's value was changed.
    virtual void OnDataChanged(widget_guid_t guid, WidgetCore const& core) = 0;
    /// A widget becomes visible; called for every widget, known to this listener or not.
    /// @return whether the listener takes the widget and wants to hear of it from now on
    virtual bool OnShow(widget_guid_t guid, WidgetCore const& core) = 0;
    virtual void OnHide(widget_guid_t guid) = 0;

    virtual ~PanelListener() = default;

protected:
    PanelListener() = default;
    PanelListener(PanelListener const&) = default;
    PanelListener& operator=(PanelListener const&) = default;
};

} // namespace ui::detail
