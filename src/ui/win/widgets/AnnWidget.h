#pragma once

#include "cimage/PixelTypes.h"
#include "math/Point2.h"
#include "math/Point3.h"
#include "math/Rect2.h"
#include "ui/win/CWidget.h"
#include "ui/win/widgets/CUndoStack.h"

#include <boost/shared_ptr.hpp>
#include <boost/signals2/last_value.hpp>
#include <boost/signals2/signal.hpp>
#include <boost/thread/mutex.hpp>

#include <cstdint>
#include <utility>
#include <vector>

// Tools that mark up an image by mouse. Plugins, or widgets of a layer whose view the geometry is
// to follow; then positions are those of the view. They edit their geometry in place, on the
// backend's thread, and redraw after every change; the owner reads it back. An undo stack that an
// application gives them (SetUndoStack) makes one entry of each gesture.

namespace ui::win {

/// A rectangle that is moved, and resized by its edges, inside an area. Edges are grabbed within 9
/// pixels. Nothing keeps an edge from being dragged past the one opposite.
///
/// Has no lock: its owner reads it on the backend's thread (CWndCommand_Call).
class CResizableBox : public CWidget {
public:
    using Rect = math::Rect2<float>;
    using Point = math::Point2<float>;
    using ChangeSignal =
        boost::signals2::signal<void(Rect const& box), boost::signals2::last_value<void>, int>;

    /// @param box    relative to the top left corner of the bounds
    /// @param bounds where the box lives
    /// @param filled also fills the box, translucently
    CResizableBox(Rect const& box, Rect const& bounds, bool filled);
    char const* getName() const override { return "CResizableBox"; }

    /// @return 1
    int Draw(CWindowCore* core) override;
    /// A release is never consumed.
    bool Interact(CWindowCoreManager* manager, Event const& event) override;
    /// Draws one handle about (x, y).
    void DrawAnchor(CWindowCore* core, double x, double y);

    /// Whether the pointer is on that edge of the box.
    bool left() const;
    bool right() const;
    bool top() const;
    bool bottom() const;

    /// In the coordinates of the bounds' surroundings; left > right or top > bottom after an edge
    /// was dragged past the other.
    Rect const& Box() const { return m_box; }
    void SetBox(Rect const& box) { m_box = box; }
    Rect const& Bounds() const { return m_bounds; }
    /// The bounds with what their edges are grabbed from.
    Rect const& OuterArea() const { return m_outerArea; }
    /// Last position, inside the bounds unless the last event was outside them.
    Point const& Pointer() const { return m_pointer; }
    /// The pointer is over the box, or drags it; the handles show then.
    bool Highlighted() const { return m_highlighted; }
    bool Filled() const { return m_filled; }
    bool Dragging() const { return m_dragging; }
    bool Moving() const { return m_moving != 0; }
    /// Edges grabbed: -1 top or left, 1 bottom or right, 0 none.
    std::int32_t VerticalEdge() const { return m_verticalEdge; }
    std::int32_t HorizontalEdge() const { return m_horizontalEdge; }
    /// For the owner and its observers: the owner emits it, when it takes over a change.
    ChangeSignal& Changed() { return m_changed; }
    /// @param stack null for none
    void SetUndoStack(boost::shared_ptr<CUndoStack> stack) { m_gesture.SetStack(std::move(stack)); }

private:
    bool Press(Point const& raw);
    bool Move(CWindowCoreManager* manager, Point const& raw);
    void LetGo();

    Rect m_bounds;
    Rect m_outerArea;
    Rect m_box;
    Point m_pointer;
    bool m_highlighted = false;
    bool m_filled;
    bool m_dragging = false;
    Point m_dragOrigin; // not clamped
    std::int32_t m_moving = 0;
    std::int32_t m_verticalEdge = 0;
    std::int32_t m_horizontalEdge = 0;
    ChangeSignal m_changed;
    CUndoGesture<Rect> m_gesture;
};

/// Straight lines through one centre. The left button drags the centre or turns a line; "+" adds a
/// horizontal line, "-" takes the last one away.
///
/// The base mutex is held while the geometry is written: an owner takes it to read the geometry on
/// another thread.
class CLinesSheaf : public CWidget, public boost::mutex {
public:
    using Point = math::Point2<float>;

    /// Starts with the two diagonals. @param clipArea what lines are cut to
    CLinesSheaf(Point centre, math::Rect2<float> clipArea);
    char const* getName() const override { return "CLinesSheaf"; }

    /// @return 2
    int Draw(CWindowCore* core) override;
    /// @throws std::length_error for "-" without a line; nothing changes then
    bool Interact(CWindowCoreManager* manager, Event const& event) override;

    /// Coefficients (a, b, c) of the line a x + b y + c = 0 through the centre with that normal.
    math::Point3<float> vector_to_line(Point const& normal) const;

    Point const& Centre() const { return m_geometry.centre; }
    /// One a line, of any length; a component is infinite after a line was dragged to the row or
    /// column of the centre.
    std::vector<Point> const& Normals() const { return m_geometry.normals; }
    math::Rect2<float> const& ClipArea() const { return m_clipArea; }
    /// A press grabbed the centre or a line.
    bool Active() const { return m_active; }
    /// The line grabbed, -1 for the centre.
    std::int32_t Selected() const { return m_selected; }
    /// @param stack null for none
    void SetUndoStack(boost::shared_ptr<CUndoStack> stack) { m_gesture.SetStack(std::move(stack)); }

private:
    struct Geometry {
        Point centre;
        std::vector<Point> normals;

        friend bool operator==(Geometry const& a, Geometry const& b) {
            return a.centre == b.centre && a.normals == b.normals;
        }
    };

    bool Key(CWindowCoreManager* manager, std::uint32_t key);
    bool Press(Point const& pointer);
    std::int32_t FindNear(Point const& pointer) const;
    void Drag(Point const& pointer);

    Geometry m_geometry;
    math::Rect2<float> m_clipArea;
    bool m_active = false;
    std::int32_t m_selected = 0;
    CUndoGesture<Geometry> m_gesture;
};

/// A closed polygon over an array of the owner's, whose vertices the left button drags. T is
/// math::Point2<float> or math::Point2<double>.
///
/// The base mutex is held while a vertex is written: an owner takes it to read the array on
/// another thread.
template <class T>
class CPolyWidget : public CWidget, public boost::mutex {
public:
    using Colour = cimage::TRGBA<unsigned char>;

    /// @param points borrowed for the widget's life; at least one, also when the count is 0
    /// @param size   side of a vertex's handle in pixels
    /// @throws std::invalid_argument for vertices at a null pointer
    CPolyWidget(T* points, unsigned int count, float size);
    char const* getName() const override { return "CPolyWidget"; }

    /// Leaves the colour of the last handle. @return count + 1, the points of the outline
    int Draw(CWindowCore* core) override;
    bool Interact(CWindowCoreManager* manager, Event const& event) override;

    /// The vertex nearest to (x, y) within reach, or -1.
    int find_near(float x, float y);

    T const* Points() const { return m_points; }
    unsigned int Count() const { return m_count; }
    float HalfSize() const { return m_halfSize; }
    /// The vertex dragged, or -1.
    std::int32_t Selected() const { return m_selected; }
    Colour const& HandleColour() const { return m_handleColour; }
    Colour const& SelectedHandleColour() const { return m_selectedColour; }
    void SetColours(Colour const& handle, Colour const& selectedHandle);
    /// @param stack null for none
    void SetUndoStack(boost::shared_ptr<CUndoStack> stack) { m_gesture.SetStack(std::move(stack)); }

private:
    void Select(int vertex);
    void Write(std::size_t vertex, T const& point);

    T* m_points;
    std::uint32_t m_count;
    float m_halfSize;
    std::int32_t m_selected = -1;
    Colour m_handleColour{127, 127, 0, 255};
    Colour m_selectedColour{255, 255, 0, 255};
    std::vector<math::Point2<float>> m_outline; // as it is drawn, closed by its first vertex
    CUndoGesture<IndexedPoint<T>> m_gesture;
};

extern template class CPolyWidget<math::Point2<float>>;
extern template class CPolyWidget<math::Point2<double>>;

} // namespace ui::win
