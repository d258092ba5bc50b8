#pragma once

#include "math/Point2.h"
#include "ui/win/CWidget.h"
#include "ui/win/widgets/CUndoStack.h"

#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ui::win {

/// Numbered calibration points over an image, to be corrected by hand. A press takes the nearest
/// point within 72 pixels and moves it there at once; keys: "-" or "d" hides the held point for
/// good, "e" and "r" double and halve the squares, "s" changes the style.
///
/// A plugin, or a widget of a layer whose view the points are to follow; then positions are those
/// of the view. T is float or double. Belongs to the backend's thread, so that an application reads
/// the points back there (CWndCommand_Call), or once the window has gone.
template <class T>
class CalibrationWidget : public CWidget {
public:
    using Point = math::Point2<T>;

    CalibrationWidget() : CalibrationWidget(std::vector<Point>()) {}
    /// @param points copied
    explicit CalibrationWidget(std::vector<Point> const& points);
    char const* getName() const override { return "CalibrationWidget"; }

    /// @return the number of points, hidden ones included
    int Draw(CWindowCore* core) override;
    bool Interact(CWindowCoreManager* manager, Event const& event) override;

    /// Hidden points keep their places; see IsHidden().
    std::vector<Point>& Points() { return m_points; }
    std::vector<Point> const& Points() const { return m_points; }
    static bool IsHidden(Point const& point) { return point.x == T(-1); }
    /// Side of the squares.
    void setSize(float size) { m_size = size; }
    float Size() const { return m_size; }
    /// The owner's; "s" goes from 0 to 1 and back.
    void setStyle(int style) { m_style = style; }
    int Style() const { return m_style; }
    /// The point that is held, borrowed; null when none is.
    Point const* Selected() const { return Held(); }
    /// @param stack null for none
    void SetUndoStack(boost::shared_ptr<CUndoStack> stack) { m_gesture.SetStack(std::move(stack)); }

private:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    bool Press(CWindowCoreManager* manager, math::Point2<float> const& pointer);
    bool Key(CWindowCoreManager* manager, std::uint32_t key);
    std::size_t FindNear(Point const& pointer) const;
    void LetGo();
    Point const* Held() const {
        return m_selected < m_points.size() ? &m_points[m_selected] : nullptr;
    }

    std::vector<Point> m_points;
    std::int32_t m_style = 0;
    float m_size = 5;
    std::size_t m_selected = none; // by index: the owner may change the list
    CUndoGesture<IndexedPoint<Point>> m_gesture;
};

extern template class CalibrationWidget<float>;
extern template class CalibrationWidget<double>;

} // namespace ui::win
