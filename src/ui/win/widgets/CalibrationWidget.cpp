#include "ui/win/widgets/CalibrationWidget.h"

#include "kiv/Diagnostics.h"
#include "ui/win/CWindowCoreManager.h"
#include "ui/win/widgets/detail/Pointer.h"

#include <cstdio>
#include <string>

namespace ui::win {

namespace {

constexpr int reach = 72;         // pixels within which a press takes a point
constexpr float ringDistance = 2; // of the held point's outline from its square

} // namespace

template <class T>
CalibrationWidget<T>::CalibrationWidget(std::vector<Point> const& points)
    : m_points(points), m_gesture([this](IndexedPoint<Point> const& p) {
          if (p.index >= m_points.size()) {
              return false;
          }
          m_points[p.index] = p.point;
          return true;
      }) {}

template <class T>
int CalibrationWidget<T>::Draw(CWindowCore* core) {
    float const h = m_size / 2;
    for (std::size_t i = 0; i < m_points.size(); ++i) {
        Point const& p = m_points[i];
        if (IsHidden(p)) {
            continue;
        }
        char number[16];
        std::snprintf(number, sizeof number, "%u", static_cast<unsigned>(i));
        core->DrawBox(p.x - h, p.y - h, p.x + h, p.y + h, true);
        core->DrawText({p.x - h, p.y - h, 0}, number);
    }
    if (Point const* const p = Held()) {
        float const ring = h + ringDistance;
        core->DrawBox(p->x - ring, p->y - ring, p->x + ring, p->y + ring, false);
    }
    return static_cast<int>(m_points.size());
}

template <class T>
bool CalibrationWidget<T>::Interact(CWindowCoreManager* manager, Event const& event) {
    math::Point2<float> const pointer = detail::Pointer(event);
    switch (event.type) {
    case EventPress:
        return Press(manager, pointer);
    case EventRelease:
        LetGo();
        return true;
    case EventMotion:
        if (Held() == nullptr) {
            return false;
        }
        if (detail::IsPlace(pointer)) {
            m_points[m_selected] = Point(pointer);
            manager->Refresh(false);
        }
        return true;
    case EventKey:
        return Key(manager, event.key);
    default:
        return false;
    }
}

template <class T>
bool CalibrationWidget<T>::Press(CWindowCoreManager* manager, math::Point2<float> const& pointer) {
    LetGo();
    std::size_t const nearest = FindNear(Point(pointer));
    if (nearest == none) {
        return false;
    }
    m_selected = nearest;
    m_gesture.Begin({nearest, m_points[nearest]});
    m_points[nearest] = Point(pointer);
    manager->Refresh(false);
    return true;
}

template <class T>
std::size_t CalibrationWidget<T>::FindNear(Point const& pointer) const {
    T best = T(reach) * T(reach);
    std::size_t nearest = none;
    for (std::size_t i = 0; i < m_points.size(); ++i) {
        Point const d = m_points[i] - pointer;
        T const squared = d.x * d.x + d.y * d.y;
        if (squared < best && !IsHidden(m_points[i])) {
            best = squared;
            nearest = i;
        }
    }
    return nearest;
}

template <class T>
void CalibrationWidget<T>::LetGo() {
    if (Point const* const p = Held()) {
        m_gesture.End({m_selected, *p});
    }
    m_gesture.Abandon(); // of a point that the owner took away
    m_selected = none;
}

template <class T>
bool CalibrationWidget<T>::Key(CWindowCoreManager* manager, std::uint32_t key) {
    kiv::PrintLine("Keyboard..." + std::to_string(key));
    switch (key) {
    case 's':
        m_style = m_style >= 1 ? 0 : m_style + 1;
        break;
    case 'e':
        m_size *= 2;
        break;
    case 'r':
        m_size /= 2;
        break;
    case '-':
    case 'd':
        if (Held() != nullptr) {
            kiv::PrintLine("** HIDDEN INDEX **");
            m_points[m_selected].x = T(-1);
            LetGo();
        }
        break;
    default:
        return false;
    }
    manager->Refresh(false);
    return true;
}

template class CalibrationWidget<float>;
template class CalibrationWidget<double>;

} // namespace ui::win
