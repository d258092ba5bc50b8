#include "ui/panel/Vars.h"

#include "ui/panel/PanelManager.h"
#include "ui/panel/Widget.h"

#include <stdexcept>

namespace ui::var {

Base::Base() : m_guid(PanelManagerInstance()->CreateGUID(true)) {}

Base::Base(widget_guid_t guid) : m_guid(guid) {
    PanelManagerInstance()->AddRef(m_guid, 1, 0);
}

Base::Base(Base const& other) : Base(other.m_guid) {}

Base& Base::operator=(Base const& other) {
    if (this != &other) {
        PanelManagerInstance()->Detach(m_guid);
        m_guid = other.m_guid;
        PanelManagerInstance()->AddRef(m_guid, 1, 0);
    }
    return *this;
}

Base::~Base() {
    PanelManagerInstance()->Detach(m_guid);
}

bool Base::Update() {
    return PanelManagerInstance()->Update(m_guid);
}

template <>
std::string Base::GetValue<std::string>() const {
    std::string text;
    if (!PanelManagerInstance()->Get(m_guid, text)) {
        throw std::runtime_error("Invalid widget value");
    }
    return text;
}

template <>
boost::any Base::GetValue<boost::any>() const {
    boost::any value;
    PanelManagerInstance()->Get(m_guid, value, detail::AccessClient);
    return value;
}

Popup::Popup(widget_guid_t guid) : Base(guid) {}

Popup::Popup(wgt::Widget const& widget) : Base(widget.GUID()) {}

} // namespace ui::var
