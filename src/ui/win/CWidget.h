#pragma once

#include "ui/win/Event.h"

#include <boost/shared_ptr.hpp>

namespace ui::win {

class CWindowCore;
class CWindowCoreManager;

/// Anything that can be drawn into a drawing core and offered events: retained drawables,
/// gadgets and interactive widgets.
///
/// Held by boost::shared_ptr in layers, snapshots of layers and plugin lists; one object may be
/// in several of them. Draw and Interact run on the backend's thread and must not keep the
/// pointers they are given.
class CWidget {
public:
    CWidget() = default;
    CWidget(CWidget const&) = default;
    CWidget& operator=(CWidget const&) = default;
    virtual ~CWidget() = default;

    /// The class's constant name; plugins are looked up by it.
    virtual char const* getName() const { return "CWidget"; }
    /// Draws the object. @return non-zero when something was drawn, class-specific otherwise
    virtual int Draw(CWindowCore*) { return 0; }
    /// Offers an event. @return true when the object consumed it, which ends its delivery
    virtual bool Interact(CWindowCoreManager*, Event const&) { return false; }
};

using SPDrawingObject = boost::shared_ptr<CWidget>;

} // namespace ui::win
