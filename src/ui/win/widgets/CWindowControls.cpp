#include "ui/win/widgets/CWindowControls.h"

#include "kiv/Diagnostics.h"
#include "ui/win/CWindowCoreManager.h"
#include "ui/win/widgets/detail/CurrentColour.h"
#include "ui/win/widgets/detail/Pointer.h"

#include <boost/current_function.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <sstream>
#include <utility>

namespace ui::win {

namespace {

// Places in the theme's colours.
constexpr std::size_t lightEdge = 0;
constexpr std::size_t darkEdge = 1;
constexpr std::size_t background = 2;
constexpr std::size_t highlightBar = 3;
constexpr std::size_t highlightedText = 4;

constexpr double bevel = 2;  // width of a frame's edges
constexpr double margin = 3; // of a menu's texts
constexpr double separatorStep = 4;

void SetThemeColour(CWindowCore* core, std::size_t place) {
    core->SetColor(core->GetTheme().colors[place]);
}

using Corners = std::array<math::Point2<double>, 6>;

void DrawEdges(CWindowCore* core, Corners const& corners) {
    std::array<math::Point2<float>, 6> points;
    std::transform(corners.begin(), corners.end(), points.begin(), [](auto const& corner) {
        return math::Point2<float>(corner);
    });
    core->DrawPolyLine(points.data(), static_cast<unsigned>(points.size()), true);
}

bool IsSeparator(char const* item) {
    return std::strcmp(item, "-") == 0;
}

} // namespace

void DrawFrame(CWindowCore* core, double x0, double y0, double x1, double y1, bool filled) {
    SetThemeColour(core, filled ? lightEdge : background);
    core->DrawBox(x0, y0, x1, y1, true);
    if (filled) {
        return;
    }
    math::Rect2<double> const inner(x0 + bevel, y0 + bevel, x1 - bevel, y1 - bevel);
    SetThemeColour(core, lightEdge);
    DrawEdges(
        core,
        {{{x0, y0},
          {x0, y1},
          {inner.left, inner.bottom},
          {inner.left, inner.top},
          {inner.right, inner.top},
          {x1, y0}}});
    SetThemeColour(core, darkEdge);
    DrawEdges(
        core,
        {{{x1, y1},
          {x1, y0},
          {inner.right, inner.top},
          {inner.right, inner.bottom},
          {inner.left, inner.bottom},
          {x0, y1}}});
}

CMenuWidget::CMenuWidget(char const* const* items, double x, double y)
    : m_items(items), m_x(x), m_y(y) {
    static constexpr char const* nothing[] = {nullptr};
    if (m_items == nullptr) {
        m_items = nothing;
    }
}

void CMenuWidget::Init(CWindowCore* core) {
    m_itemCount = 0;
    double widest = 0;
    double highest = 0;
    double width = 0; // of the item before: what a core cannot measure is taken to be as large
    double height = 0;
    for (char const* const* item = m_items; *item != nullptr; ++item) {
        math::Rect2<double> text;
        if (IsSeparator(*item)) {
            width = 0;
            height = 2;
        } else if (core->GetTextSize(text, *item)) {
            width = text.Width();
            height = text.Height();
        }
        widest = std::max(widest, width);
        highest = std::max(highest, height);
        ++m_itemCount;
    }
    m_itemHeight = highest + 2;
    m_height = m_itemHeight * m_itemCount + 9;
    m_width = widest + 6;
    std::ostringstream sizes;
    sizes << m_height << ',' << m_itemHeight << ',' << m_itemCount;
    kiv::Diagnose("[II]", BOOST_CURRENT_FUNCTION, sizes.str());
    m_initialised = true;
}

int CMenuWidget::Draw(CWindowCore* core) {
    if (!m_initialised) {
        Init(core);
    }
    CWindowCore::Colour const colour = detail::CurrentColour(core);
    // The height as it stands for the lower edge: menus hang from the window's top.
    DrawFrame(core, m_x, m_y, m_x + m_width, m_height, false);
    double const tx = m_x + margin;
    double ty = m_y + margin;
    if (m_highlighted != none) {
        double const top = ty + m_highlighted * m_itemHeight;
        SetThemeColour(core, highlightBar);
        core->DrawBox(m_x + margin, top - 1, m_x + m_width - margin, top + 1 + m_itemHeight, true);
    }
    for (std::int32_t i = 0; m_items[i] != nullptr; ++i) {
        if (IsSeparator(m_items[i])) {
            // Narrower than the row that it counts as; menus leave the pointer this slack.
            ty += separatorStep;
            continue;
        }
        core->SetColor(i == m_highlighted ? core->GetTheme().colors[highlightedText] : colour);
        core->DrawText({tx, ty, 0}, m_items[i]);
        ty += m_itemHeight;
    }
    core->SetColor(colour);
    return 1;
}

bool CMenuWidget::Interact(CWindowCoreManager* manager, Event const& event) {
    math::Point2<float> const pointer = detail::Pointer(event);
    double const px = pointer.x;
    double const py = pointer.y;
    bool const inside = px > m_x && py > m_y && px < m_x + m_width && py < m_y + m_height;
    if (!inside) {
        return false;
    }
    if (event.type != EventMotion) {
        return true;
    }
    std::int32_t const before = std::exchange(m_highlighted, IndexAt(pointer));
    if (m_highlighted != before) {
        manager->Refresh(false);
    }
    return true;
}

std::int32_t CMenuWidget::IndexAt(math::Point2<float> const& pointer) const {
    double const dx = pointer.x - m_x;
    if (!(dx >= margin && dx <= m_width - margin)) {
        return none;
    }
    double const fromFirst = static_cast<double>(pointer.y - 3.0F) - m_y;
    double const row = std::floor(fromFirst / m_itemHeight);
    return row >= 0 && row < m_itemCount ? static_cast<std::int32_t>(row) : none;
}

int CDrawingButtonShade::Draw(CWindowCore* core) {
    CWindowCore::Colour const colour = detail::CurrentColour(core);
    DrawFrame(core, m_edges.left, m_edges.top, m_edges.right, m_edges.bottom, m_pressed);
    core->SetColor(colour);
    return 1;
}

bool CDrawingButtonShade::Contains(Event const& event) const {
    math::Point2<double> const p(detail::Pointer(event));
    return p.x > m_edges.left && p.y > m_edges.top && p.x < m_edges.right && p.y < m_edges.bottom;
}

void CDrawingButtonShade::Show(CWindowCoreManager* manager, bool pressed) {
    m_pressed = pressed;
    manager->Refresh(false);
}

CDrawingButton::CDrawingButton(double x0, double y0, double x1, double y1, std::string label)
    : CDrawingButtonShade(x0, y0, x1, y1), m_label(std::move(label)) {}

int CDrawingButton::Draw(CWindowCore* core) {
    CDrawingButtonShade::Draw(core);
    double const sunk = Pressed() ? 1 : 0;
    math::Point3<double> const centre(
        (Edges().left + Edges().right) / 2 + sunk, (Edges().top + Edges().bottom) / 2 + sunk, 0);
    _TextAlign_t const horizontal = core->HorizontalTextAlign();
    _TextAlign_t const vertical = core->VerticalTextAlign();
    core->SetTextAlign(AlignCentre, AlignCentre);
    core->DrawText(centre, m_label.c_str());
    core->SetTextAlign(horizontal, vertical);
    return 1;
}

CButtonWidgetId::CButtonWidgetId(
    double x0, double y0, double x1, double y1, std::string label, std::int32_t id)
    : CDrawingButton(x0, y0, x1, y1, std::move(label)), m_id(id) {}

bool CButtonWidgetId::Interact(CWindowCoreManager* manager, Event const& event) {
    if (!Contains(event) && !m_armed) {
        return false;
    }
    if (event.type == EventPress || event.type == EventRelease) {
        m_armed = event.type == EventPress;
        Show(manager, m_armed);
    }
    return true;
}

CButtonWidget::CButtonWidget(
    double x0, double y0, double x1, double y1, std::string label, ClickCallback click)
    : CDrawingButton(x0, y0, x1, y1, std::move(label)), m_click(std::move(click)) {}

bool CButtonWidget::Interact(CWindowCoreManager* manager, Event const& event) {
    bool const inside = Contains(event);
    if (!inside && !m_armed) {
        return false;
    }
    if (event.type == EventPress) {
        Show(manager, true);
        m_armed = true;
    } else if (event.type == EventRelease) {
        Show(manager, false);
        if (inside) {
            m_click();
        }
        m_armed = false;
    }
    return true;
}

CTwoStateButtonWidget::CTwoStateButtonWidget(
    double x0, double y0, double x1, double y1, std::string label, ToggleCallback toggle)
    : CDrawingButton(x0, y0, x1, y1, std::move(label)), m_toggle(std::move(toggle)) {}

bool CTwoStateButtonWidget::Interact(CWindowCoreManager* manager, Event const& event) {
    if (!Contains(event)) {
        return false;
    }
    if (event.type == EventPress) {
        SetState(!m_state);
        m_toggle(m_state);
        manager->Refresh(false);
    }
    return true;
}

void CTwoStateButtonWidget::SetState(bool state) {
    m_state = state;
    SetPressed(state);
}

} // namespace ui::win
