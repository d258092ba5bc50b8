#include "ui/panel/Widget.h"

#include "kiv/Diagnostics.h"
#include "ui/panel/PanelManager.h"

namespace ui::wgt {

Widget::Widget(widget_guid_t guid) : m_guid(guid) {
    if (m_guid == null_guid) {
        kiv::PrintLine("Error: Binded null guid");
        return;
    }
    PanelManagerInstance()->AddRef(m_guid, 1, 0);
}

Widget::Widget(std::string const& cls, widget_guid_t guid)
    : m_guid(PanelManagerInstance()->Acquire(cls, guid)) {}

// A handle that takes an acquired reference over; null is reported.
Widget Widget::Owning(widget_guid_t guid) {
    if (guid == null_guid) {
        return Widget(null_guid);
    }
    Widget handle;
    handle.m_guid = guid;
    return handle;
}

Widget::Widget(Widget const& other) : m_guid(other.m_guid) {
    if (m_guid != null_guid) {
        PanelManagerInstance()->AddRef(m_guid, 1, 0);
    }
}

Widget& Widget::operator=(Widget const& other) {
    if (m_guid == other.m_guid) {
        return *this;
    }
    if (m_guid != null_guid) {
        Detach();
    }
    if (other.m_guid == null_guid) {
        // The GUID stays although its reference is gone, and the destructor gives one up again:
        // panels rely on a handle that was "cleared" to take its widget down.
        kiv::PrintLine(
            "Warn: (Widget) replace guid " + std::to_string(m_guid) + " with a null guid");
        return *this;
    }
    m_guid = other.m_guid;
    PanelManagerInstance()->AddRef(m_guid, 1, 0);
    return *this;
}

Widget::~Widget() {
    if (m_guid != null_guid) {
        Detach();
    }
}

std::string Widget::Class() const {
    return PanelManagerInstance()->Class(m_guid);
}

std::string Widget::Attr(std::string const& key) const {
    return PanelManagerInstance()->ReadAttr(m_guid, key);
}

bool Widget::Has(std::string const& key) const {
    return PanelManagerInstance()->HasAttr(m_guid, key);
}

Widget& Widget::Attr(std::string const& key, std::string const& value) {
    PanelManagerInstance()->Attr(m_guid, key, value);
    return *this;
}

void Widget::Link(widget_guid_t target) {
    PanelManagerInstance()->Link(m_guid, target);
}

void Widget::UnLink(widget_guid_t target) {
    PanelManagerInstance()->UnLink(m_guid, target);
}

Widget& Widget::Ref(widget_guid_t target) {
    PanelManagerInstance()->Ref(m_guid, target);
    return *this;
}

Widget Widget::Parent() const {
    return Owning(PanelManagerInstance()->AcquireParent(m_guid));
}

Widget& Widget::Add(Widget const& child) {
    PanelManagerInstance()->Attach(m_guid, child.m_guid);
    return *this;
}

bool Widget::Update() {
    return PanelManagerInstance()->Update(m_guid);
}

bool Widget::IsActive() const {
    return PanelManagerInstance()->IsActive(m_guid);
}

bool Widget::Detach() {
    return PanelManagerInstance()->Detach(m_guid);
}

Widget Widget::Clone() const {
    return Owning(PanelManagerInstance()->AcquireClone(m_guid));
}

} // namespace ui::wgt
