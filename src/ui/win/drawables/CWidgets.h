#pragma once

#include "math/Point2.h"
#include "math/Point3.h"
#include "math/Rect2.h"
#include "ui/win/CWidget.h"
#include "ui/win/Event.h"
#include "ui/win/drawables/Images.h"
#include "ui/win/drawables/StateObjects.h"
#include "ui/win/drawables/VertexArrays.h"

#include <boost/function.hpp>

#include <string>
#include <utility>

// The retained drawables that a window's drawing calls push: small objects, immutable once they
// are pushed, each replaying one call (or a short fixed sequence) into a drawing core. Draw
// answers 1 when the calls were made, whatever the core could do with them.

namespace ui::win {

/// A rectangle's area or outline.
template <bool Filled>
class BoxShape : public CWidget {
public:
    BoxShape(double x0, double y0, double x1, double y1) : m_edges(x0, y0, x1, y1) {}
    char const* getName() const override { return Filled ? "Box" : "Rectangle"; }
    int Draw(CWindowCore* core) override {
        core->DrawBox(m_edges.left, m_edges.top, m_edges.right, m_edges.bottom, Filled);
        return 1;
    }

private:
    math::Rect2<double> const m_edges;
};

using Box = BoxShape<true>;
using Rectangle = BoxShape<false>;

/// An ellipse by its bounding box, or the part of it between two angles in radians.
class Ellipse : public CWidget {
public:
    Ellipse(double x0, double y0, double x1, double y1, bool filled);
    Ellipse(double x0, double y0, double x1, double y1, double start, double end, bool filled);
    char const* getName() const override { return "Ellipse"; }
    int Draw(CWindowCore* core) override;

private:
    math::Rect2<double> const m_edges;
    double const m_start;
    double const m_end;
    bool const m_filled;
};

/// An upright cross of two segments about (x, y).
class Cross : public LineStream<math::Point2<float>> {
public:
    /// @param size length of both segments
    Cross(double x, double y, double size);
    char const* getName() const override { return "Cross"; }
};

/// UTF-8 text in the core's font, size and alignment.
class Text : public CWidget {
public:
    Text(double x, double y, double z, std::string text)
        : m_position(x, y, z), m_text(std::move(text)) {}
    char const* getName() const override { return "Text"; }
    int Draw(CWindowCore* core) override;

protected:
    /// Draws the text away from its position by so much in each direction.
    void DrawShifted(CWindowCore* core, double shift) const;

private:
    math::Point3<double> const m_position;
    std::string const m_text;
};

/// Text over a half transparent black copy of itself, one unit further in each direction.
class ShadowText : public Text {
public:
    using Text::Text;
    char const* getName() const override { return "ShadowText"; }
    int Draw(CWindowCore* core) override;
};

/// Invisible: calls back for every event of a kind inside a world rectangle, edges included.
class ActiveRegion : public CWidget {
public:
    ActiveRegion(
        double x0,
        double y0,
        double x1,
        double y1,
        CWindowEvents_ID kind,
        boost::function<void()> callback);
    char const* getName() const override { return "ActiveRegion"; }
    /// @return 0
    int Draw(CWindowCore* core) override;
    /// @return whether the event was this region's: it is consumed then
    /// @throws boost::bad_function_call for an empty callback, and what the callback throws
    bool Interact(CWindowCoreManager* manager, Event const& event) override;

private:
    math::Rect2<double> const m_edges;
    CWindowEvents_ID const m_kind;
    boost::function<void()> const m_callback;
};

} // namespace ui::win
