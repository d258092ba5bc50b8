#pragma once

#include "math/Point2.h"
#include "math/Rect2.h"
#include "ui/win/CWidget.h"

#include <boost/function.hpp>

#include <cstdint>
#include <string>

// Simple controls drawn with the colours of the window's theme: a text menu and push buttons.
// Inserted as plugins, or drawn and asked by an owner. They belong to the backend's thread; which
// button of the mouse is used makes no difference to them. Positions are window pixels.

namespace ui::win {

/// Paints a frame: raised, light at its top and left edge and dark at the others, or, `filled`,
/// flat as that of a pressed button. Changes the core's colour and does not restore it.
void DrawFrame(CWindowCore* core, double x0, double y0, double x1, double y1, bool filled);

/// A vertical menu of texts. Its output is the highlighted entry, which the owner reads when it
/// sees a click.
class CMenuWidget : public CWidget {
public:
    static constexpr std::int32_t none = -1;

    /// @param items texts up to a null pointer, borrowed for the menu's life; "-" is a separator
    /// @param x,y   top left corner
    CMenuWidget(char const* const* items, double x, double y);
    char const* getName() const override { return "CMenuWidget"; }

    /// Measures the items. The first Draw() does it; call it again when the texts or the font have
    /// changed.
    void Init(CWindowCore* core);
    int Draw(CWindowCore* core) override;
    bool Interact(CWindowCoreManager* manager, Event const& event) override;

    /// Entry under the pointer, separators counted, or `none`.
    std::int32_t HighlightedIndex() const { return m_highlighted; }
    /// For an owner that shows the menu again, with `none`; does not redraw.
    void SetHighlightedIndex(std::int32_t index) { m_highlighted = index; }
    void SetPosition(double x, double y) {
        m_x = x;
        m_y = y;
    }
    double X() const { return m_x; }
    double Y() const { return m_y; }
    /// Sizes are 0 until the items were measured.
    bool Initialised() const { return m_initialised; }
    double Width() const { return m_width; }
    double Height() const { return m_height; }
    double ItemHeight() const { return m_itemHeight; }
    std::int32_t ItemCount() const { return m_itemCount; }

private:
    std::int32_t IndexAt(math::Point2<float> const& pointer) const;

    char const* const* m_items;
    double m_x;
    double m_y;
    bool m_initialised = false;
    double m_width = 0;
    double m_height = 0;
    double m_itemHeight = 0;
    std::int32_t m_itemCount = 0;
    std::int32_t m_highlighted = none;
};

/// The frame of a button, raised or pressed; takes no events.
class CDrawingButtonShade : public CWidget {
public:
    /// @param x0,y0,x1,y1 with x0 < x1 and y0 < y1
    CDrawingButtonShade(double x0, double y0, double x1, double y1) : m_edges(x0, y0, x1, y1) {}
    int Draw(CWindowCore* core) override;

    math::Rect2<double> const& Edges() const { return m_edges; }
    void SetEdges(math::Rect2<double> const& edges) { m_edges = edges; }
    bool Pressed() const { return m_pressed; }
    void SetPressed(bool pressed) { m_pressed = pressed; }

protected:
    /// Whether the pointer is inside; the edges are outside.
    bool Contains(Event const& event) const;
    /// Shows the button pressed or raised.
    void Show(CWindowCoreManager* manager, bool pressed);

private:
    math::Rect2<double> m_edges;
    bool m_pressed = false;
};

/// A frame with a label at its centre, which sinks with the button; takes no events.
class CDrawingButton : public CDrawingButtonShade {
public:
    CDrawingButton(double x0, double y0, double x1, double y1, std::string label);
    int Draw(CWindowCore* core) override;

    std::string const& Label() const { return m_label; }
    void SetLabel(std::string const& label) { m_label = label; }

private:
    std::string m_label;
};

/// A push button that its owner watches: Pressed() tells of the click, Id() which button it was.
class CButtonWidgetId : public CDrawingButton {
public:
    CButtonWidgetId(double x0, double y0, double x1, double y1, std::string label, std::int32_t id);
    bool Interact(CWindowCoreManager* manager, Event const& event) override;

    /// The owner's; the button never reads it.
    std::int32_t Id() const { return m_id; }
    /// A press that began on the button is held.
    bool Armed() const { return m_armed; }

private:
    std::int32_t m_id;
    bool m_armed = false;
};

/// A push button that calls back. The call comes with every release inside, wherever the press
/// began; leaving the button before the release cancels the click.
class CButtonWidget : public CDrawingButton {
public:
    using ClickCallback = boost::function<void()>;

    CButtonWidget(
        double x0, double y0, double x1, double y1, std::string label, ClickCallback click);
    /// @throws boost::bad_function_call for a click with an empty callback, and what it throws;
    /// the button stays armed then
    bool Interact(CWindowCoreManager* manager, Event const& event) override;

    bool Armed() const { return m_armed; }

private:
    ClickCallback m_click;
    bool m_armed = false;
};

/// A toggle, drawn pressed while it is on. It changes with the press.
class CTwoStateButtonWidget : public CDrawingButton {
public:
    using ToggleCallback = boost::function<void(bool state)>;

    CTwoStateButtonWidget(
        double x0, double y0, double x1, double y1, std::string label, ToggleCallback toggle);
    /// @throws boost::bad_function_call for a press with an empty callback, and what it throws;
    /// the new state stays
    bool Interact(CWindowCoreManager* manager, Event const& event) override;

    bool State() const { return m_state; }
    /// Neither calls back nor redraws.
    void SetState(bool state);

private:
    ToggleCallback m_toggle;
    bool m_state = false;
};

} // namespace ui::win
