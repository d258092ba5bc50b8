#include "ui/win/widgets/AnnWidget.h"

#include "math/clip_line3.h"
#include "ui/win/CWindowCoreManager.h"
#include "ui/win/widgets/detail/CurrentColour.h"
#include "ui/win/widgets/detail/Pointer.h"

#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>

namespace ui::win {

namespace {

constexpr float tolerance = 9; // pixels about an edge of a box that grab it
constexpr unsigned char fillAlpha = 0x5f;
constexpr CWindowCore::Colour anchorColour(255, 255, 255, 191);
constexpr float centreMark = 5; // half the length of a centre's cross
// The centre is taken by a squared distance and the lines by a plain one, both below this.
constexpr float sheafReach = 32;

using Point = math::Point2<float>;
using Rect = math::Rect2<float>;
using Lock = boost::lock_guard<boost::mutex>;

bool Contains(Rect const& r, Point const& p) {
    return r.left <= p.x && p.x <= r.right && r.top <= p.y && p.y <= r.bottom;
}

Point ClampInto(Rect const& r, Point const& p) {
    return {std::min(std::max(p.x, r.left), r.right), std::min(std::max(p.y, r.top), r.bottom)};
}

bool IsOn(float edge, float pointer) {
    return pointer - tolerance < edge && edge < pointer + tolerance;
}

bool IsBetween(float low, float pointer, float high) {
    return low < pointer && pointer < high;
}

bool IsLeftPress(Event const& event) {
    return event.type == EventPress && (event.button & ButtonLeft) != 0;
}

float SquaredDistance(Point const& a, Point const& b) {
    Point const d = a - b;
    return d.x * d.x + d.y * d.y;
}

} // namespace

CResizableBox::CResizableBox(Rect const& box, Rect const& bounds, bool filled)
    : m_bounds(bounds), m_outerArea(
                            bounds.left - tolerance,
                            bounds.top - tolerance,
                            bounds.right + tolerance,
                            bounds.bottom + tolerance),
      m_box(
          box.left + bounds.left,
          box.top + bounds.top,
          box.right + bounds.left,
          box.bottom + bounds.top),
      m_filled(filled), m_gesture([this](Rect const& restored) {
          m_box = restored;
          return true;
      }) {}

bool CResizableBox::left() const {
    return IsBetween(m_box.top, m_pointer.y, m_box.bottom) && IsOn(m_box.left, m_pointer.x);
}
bool CResizableBox::right() const {
    return IsBetween(m_box.top, m_pointer.y, m_box.bottom) && IsOn(m_box.right, m_pointer.x);
}
bool CResizableBox::top() const {
    return IsBetween(m_box.left, m_pointer.x, m_box.right) && IsOn(m_box.top, m_pointer.y);
}
bool CResizableBox::bottom() const {
    return IsBetween(m_box.left, m_pointer.x, m_box.right) && IsOn(m_box.bottom, m_pointer.y);
}

int CResizableBox::Draw(CWindowCore* core) {
    CWindowCore::Colour const colour = detail::CurrentColour(core);
    auto const drawBox = [this, core](bool filled) {
        core->DrawBox(m_box.left, m_box.top, m_box.right, m_box.bottom, filled);
    };
    if (m_filled) {
        core->SetColor({colour.r, colour.g, colour.b, fillAlpha});
        drawBox(true);
        core->SetColor(colour);
    }
    drawBox(false);
    if (m_highlighted) {
        float const midX = (m_box.left + m_box.right) / 2;
        float const midY = (m_box.top + m_box.bottom) / 2;
        core->SetColor(anchorColour);
        DrawAnchor(core, m_box.left, m_box.top);
        DrawAnchor(core, midX, m_box.top);
        DrawAnchor(core, m_box.right, m_box.top);
        DrawAnchor(core, m_box.right, midY);
        DrawAnchor(core, m_box.right, m_box.bottom);
        DrawAnchor(core, midX, m_box.bottom);
        DrawAnchor(core, m_box.left, m_box.bottom);
        DrawAnchor(core, m_box.left, midY);
        core->SetColor(colour);
    }
    return 1;
}

void CResizableBox::DrawAnchor(CWindowCore* core, double x, double y) {
    constexpr double half = tolerance;
    core->DrawBox(x - half, y - half, x + half, y + half, false);
}

bool CResizableBox::Interact(CWindowCoreManager* manager, Event const& event) {
    Point const raw = detail::Pointer(event);
    m_pointer = raw;
    if (!m_dragging && !Contains(m_bounds, raw)) {
        return false;
    }
    m_pointer = ClampInto(m_bounds, raw);
    switch (event.type) {
    case EventPress:
        return Press(raw);
    case EventRelease:
        LetGo();
        return false; // whoever lies below may wait for it, too
    case EventMotion:
        return Move(manager, raw);
    default:
        return false;
    }
}

bool CResizableBox::Press(Point const& raw) {
    LetGo(); // a press before whose release went elsewhere
    // Left before right and top before bottom: those win where the box is narrow.
    m_horizontalEdge = left() ? -1 : right() ? 1 : 0;
    m_verticalEdge = top() ? -1 : bottom() ? 1 : 0;
    m_dragOrigin = raw;
    bool const onEdge = m_horizontalEdge != 0 || m_verticalEdge != 0;
    m_moving = !onEdge && Contains(m_box, m_pointer) ? 1 : 0;
    m_dragging = onEdge || m_moving != 0;
    if (m_dragging) {
        m_gesture.Begin(m_box);
    }
    return m_dragging;
}

void CResizableBox::LetGo() {
    m_dragging = false;
    m_moving = 0;
    m_verticalEdge = 0;
    m_horizontalEdge = 0;
    m_gesture.End(m_box);
}

bool CResizableBox::Move(CWindowCoreManager* manager, Point const& raw) {
    if (!detail::IsPlace(raw)) {
        return m_dragging; // nowhere to go, but still held
    }
    bool const wasHighlighted = std::exchange(
        m_highlighted,
        Contains(m_box, m_pointer) || m_horizontalEdge != 0 || m_verticalEdge != 0 ||
            m_moving != 0);
    bool changed = false;
    if (m_verticalEdge != 0) {
        (m_verticalEdge < 0 ? m_box.top : m_box.bottom) = m_pointer.y;
        changed = true;
    } else {
        changed = m_highlighted != wasHighlighted;
    }
    if (m_horizontalEdge != 0) {
        (m_horizontalEdge < 0 ? m_box.left : m_box.right) = m_pointer.x;
        changed = true;
    }
    Point const d = raw - std::exchange(m_dragOrigin, raw);
    if (m_moving != 0) {
        // By the pointer's own steps: a box may be moved beyond the bounds.
        m_box = {m_box.left + d.x, m_box.top + d.y, m_box.right + d.x, m_box.bottom + d.y};
        changed = true;
    }
    if (changed) {
        manager->Refresh(false);
    }
    return changed;
}

CLinesSheaf::CLinesSheaf(Point centre, math::Rect2<float> clipArea)
    : m_geometry{centre, {{0.5F, 0.5F}, {-0.5F, 0.5F}}}, m_clipArea(clipArea),
      m_gesture([this](Geometry const& restored) {
          Lock const lock(*this);
          m_geometry = restored;
          return true;
      }) {}

math::Point3<float> CLinesSheaf::vector_to_line(Point const& normal) const {
    Point const& centre = m_geometry.centre;
    return {normal.x, normal.y, -(normal.x * centre.x + normal.y * centre.y)};
}

int CLinesSheaf::Draw(CWindowCore* core) {
    Point const& c = m_geometry.centre;
    core->DrawLine(c.x, c.y - centreMark, c.x, c.y + centreMark);
    core->DrawLine(c.x - centreMark, c.y, c.x + centreMark, c.y);
    for (Point const& normal : m_geometry.normals) {
        Point p0;
        Point p1;
        if (math::clip_line3(vector_to_line(normal), m_clipArea, p0, p1)) {
            core->DrawLine(p0.x, p0.y, p1.x, p1.y);
        }
    }
    return 2; // not 1: callers know sheaves by it
}

bool CLinesSheaf::Interact(CWindowCoreManager* manager, Event const& event) {
    if (event.type == EventKey) {
        return Key(manager, event.key);
    }
    if (event.type == EventPress) {
        return IsLeftPress(event) ? Press(detail::Pointer(event)) : m_active;
    }
    if (!m_active) {
        return false;
    }
    Point const pointer = detail::Pointer(event);
    if (event.type == EventRelease) {
        m_active = false;
        m_gesture.End(m_geometry);
    } else if (event.type == EventMotion && detail::IsPlace(pointer)) {
        Drag(pointer);
        manager->Refresh(false);
    }
    return true;
}

bool CLinesSheaf::Key(CWindowCoreManager* manager, std::uint32_t key) {
    if (key != '+' && key != '-') {
        return false;
    }
    bool const ownGesture = !m_gesture.IsUnderWay(); // else the key is a part of the drag
    Geometry const before = m_geometry;
    {
        Lock const lock(*this);
        std::vector<Point>& normals = m_geometry.normals;
        if (key == '+') {
            normals.emplace_back(0.0F, 1.0F);
        } else {
            normals.resize(normals.size() - 1); // of none: the container's own error
        }
    }
    if (ownGesture) {
        m_gesture.Begin(before);
        m_gesture.End(m_geometry);
    }
    manager->Refresh(false);
    return true;
}

bool CLinesSheaf::Press(Point const& pointer) {
    m_gesture.End(m_geometry); // of a press before whose release went elsewhere
    m_selected = -1;
    bool grabbed = SquaredDistance(pointer, m_geometry.centre) < sheafReach;
    if (!grabbed) {
        m_selected = FindNear(pointer);
        grabbed = m_selected != -1;
    }
    // A press beside everything is taken as well, and leaves a drag under way as it is.
    m_active = m_active || grabbed;
    if (m_active) {
        m_gesture.Begin(m_geometry);
    }
    return true;
}

std::int32_t CLinesSheaf::FindNear(Point const& pointer) const {
    float best = sheafReach;
    std::int32_t nearest = -1;
    for (std::size_t i = 0; i < m_geometry.normals.size(); ++i) {
        math::Point3<float> const line = vector_to_line(m_geometry.normals[i]);
        float const distance = std::abs(line.x * pointer.x + line.y * pointer.y + line.z) /
                               std::sqrt(line.x * line.x + line.y * line.y);
        if (distance < best) {
            best = distance;
            nearest = static_cast<std::int32_t>(i);
        }
    }
    return nearest;
}

void CLinesSheaf::Drag(Point const& pointer) {
    Lock const lock(*this);
    auto const line = static_cast<std::size_t>(m_selected);
    if (m_selected == -1) {
        m_geometry.centre = pointer;
    } else if (line < m_geometry.normals.size()) { // "-" may have taken it away
        Point const d = pointer - m_geometry.centre;
        m_geometry.normals[line] = {-1 / d.x, 1 / d.y};
    }
}

template <class T>
CPolyWidget<T>::CPolyWidget(T* points, unsigned int count, float size)
    : m_points(points), m_count(count), m_halfSize(size * 0.5F), m_outline(std::size_t{count} + 1),
      m_gesture([this](IndexedPoint<T> const& p) {
          Write(p.index, p.point);
          return true;
      }) {
    if (points == nullptr && count != 0) {
        throw std::invalid_argument("CPolyWidget: no vertices");
    }
}

template <class T>
int CPolyWidget<T>::Draw(CWindowCore* core) {
    if (m_points == nullptr) {
        return 1; // of no vertices
    }
    // Vertex 0 closes the outline; of no vertices it is all there is.
    std::transform(m_points, m_points + m_count, m_outline.begin(), [](T const& p) {
        return math::Point2<float>(p);
    });
    m_outline.back() = math::Point2<float>(m_points[0]);
    core->DrawPolyLine(m_outline.data(), m_count + 1, false);
    float const h = m_halfSize;
    for (std::uint32_t i = 0; i < m_count; ++i) {
        T const& p = m_points[i];
        bool const selected = static_cast<std::int64_t>(i) == m_selected;
        core->SetColor(selected ? m_selectedColour : m_handleColour);
        core->DrawBox(p.x - h, p.y - h, p.x + h, p.y + h, false);
    }
    return static_cast<int>(m_count + 1);
}

template <class T>
bool CPolyWidget<T>::Interact(CWindowCoreManager* manager, Event const& event) {
    Point const pointer = detail::Pointer(event);
    if (event.type == EventPress) {
        int const nearest = IsLeftPress(event) ? find_near(pointer.x, pointer.y) : -1;
        if (nearest != -1) {
            Select(nearest);
        }
        return nearest != -1;
    }
    if (m_selected == -1) {
        return false;
    }
    if (event.type == EventRelease) {
        Select(-1);
        return true;
    }
    if (event.type != EventMotion) {
        return false;
    }
    if (detail::IsPlace(pointer)) {
        Write(static_cast<std::size_t>(m_selected), T(pointer));
        manager->Refresh(false);
    }
    return true;
}

template <class T>
int CPolyWidget<T>::find_near(float x, float y) {
    double const h = m_halfSize;
    auto best = static_cast<float>(4 * h * h + 4 * h * h);
    int nearest = -1;
    for (std::uint32_t i = 0; i < m_count; ++i) {
        float const squared = SquaredDistance(Point(m_points[i]), {x, y});
        if (squared < best) {
            best = squared;
            nearest = static_cast<int>(i);
        }
    }
    return nearest;
}

template <class T>
void CPolyWidget<T>::SetColours(Colour const& handle, Colour const& selectedHandle) {
    m_handleColour = handle;
    m_selectedColour = selectedHandle;
}

template <class T>
void CPolyWidget<T>::Select(int vertex) {
    auto const indexed = [this](int i) {
        auto const index = static_cast<std::size_t>(i);
        return IndexedPoint<T>{index, m_points[index]};
    };
    if (m_selected != -1) {
        m_gesture.End(indexed(m_selected));
    }
    m_selected = vertex;
    if (m_selected != -1) {
        m_gesture.Begin(indexed(m_selected));
    }
}

template <class T>
void CPolyWidget<T>::Write(std::size_t vertex, T const& point) {
    Lock const lock(*this);
    m_points[vertex] = point;
}

template class CPolyWidget<math::Point2<float>>;
template class CPolyWidget<math::Point2<double>>;

} // namespace ui::win
