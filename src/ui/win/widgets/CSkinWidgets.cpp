#include "ui/win/widgets/CSkinWidgets.h"

#include "cimage/ImageIO.h"
#include "kiv/Diagnostics.h"
#include "ui/win/CWindowCoreManager.h"
#include "ui/win/widgets/detail/Pointer.h"

#include <boost/property_tree/ptree.hpp>

#include <stdexcept>
#include <string>
#include <utility>

namespace ui::win {

namespace {

constexpr std::uint32_t anyButton = 1 | 2; // of the buttons held

bool Contains(SkinArea const& area, Event const& event) {
    math::Point2<float> const p = detail::Pointer(event);
    return area.x < p.x && p.x < area.x + area.width && area.y < p.y && p.y < area.y + area.height;
}

void DrawPicture(CWindowCore* core, SkinArea const& area, CWindowCore::SPImage const& picture) {
    if (picture) {
        math::Point2<float> const corner(area.x, area.y);
        core->DrawImage(corner, corner + math::Point2<float>(area.width, area.height), picture);
    }
}

} // namespace

CSkinButton::CSkinButton(SkinArea const& area, ClickCallback click, Pictures pictures)
    : m_area(area), m_click(std::move(click)), m_pictures(std::move(pictures)) {}

CWindowCore::SPImage CSkinButton::LoadImage(char const* path) {
    return cimage::CreateFromFile(std::string(path), boost::property_tree::ptree());
}

int CSkinButton::Draw(CWindowCore* core) {
    if (m_status >= m_pictures.size()) {
        kiv::PrintLine(
            "[EE] CSkinButton::Draw: CSkinButton status = " + std::to_string(m_status) +
            ", out of bound");
        return 0;
    }
    DrawPicture(core, m_area, m_pictures[m_status]);
    return 1;
}

bool CSkinButton::Interact(CWindowCoreManager* manager, Event const& event) {
    bool const pointing =
        event.type == EventMotion || event.type == EventPress || event.type == EventRelease;
    if (!pointing || m_status == Disabled) {
        return false;
    }
    auto const change = [this, manager](Status status) {
        m_status = status;
        manager->Refresh(false);
    };
    bool const inside = Contains(m_area, event);
    if (!inside) {
        if (m_status == Hover) {
            change(Normal);
        }
        if (m_status != Pressed) {
            return false;
        }
    }
    if (event.type == EventPress) {
        m_status = Pressed;
        manager->CaptureEvent(this);
        manager->Refresh(false);
        return true;
    }
    if (event.type == EventRelease) {
        m_status = Normal;
        manager->ReleaseCapture();
        if (inside) {
            m_click();
        }
        manager->Refresh(false);
        return true;
    }
    if ((event.state & anyButton) == 0 && m_status == Pressed) {
        m_status = Normal; // the release went elsewhere
        manager->ReleaseCapture();
        manager->Refresh(false);
    }
    // Also where the lost press ended outside: the next motion there takes the hover back.
    if (m_status == Normal && m_pictures[Hover]) {
        change(Hover);
    }
    return m_status == Pressed;
}

void CSkinButton::Enable(bool enable) {
    if (enable != IsEnabled()) {
        m_status = enable ? Normal : Disabled;
    }
}

CSkinCheckBox::CSkinCheckBox(SkinArea const& area, ChangeCallback change, Pictures pictures)
    : m_area(area), m_change(std::move(change)), m_pictures(std::move(pictures)) {}

int CSkinCheckBox::Draw(CWindowCore* core) {
    auto const status = static_cast<std::uint32_t>(m_status); // negative ones are above 2, too
    if (status > Disabled) {
        throw std::runtime_error("CSkinCheckBox::Draw. status>2");
    }
    DrawPicture(core, m_area, m_pictures[status]);
    return 1;
}

bool CSkinCheckBox::Interact(CWindowCoreManager* manager, Event const& event) {
    if (m_status == Disabled || event.type != EventRelease || !Contains(m_area, event)) {
        return false;
    }
    m_status = static_cast<std::int32_t>(std::int64_t{1} - m_status);
    m_change(m_status);
    manager->Refresh(false);
    return true;
}

void CSkinCheckBox::Enable(bool enable) {
    if (enable && m_status == Disabled) {
        m_status = m_statusWhenEnabled;
    } else if (!enable && m_status != Disabled) {
        m_statusWhenEnabled = std::exchange(m_status, Disabled);
    }
}

} // namespace ui::win
