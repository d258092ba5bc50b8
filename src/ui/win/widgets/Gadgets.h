#pragma once

#include "cimage/CImage.h"
#include "kiv/ini/INIFile.h"
#include "math/Point2.h"
#include "math/Rect2.h"
#include "ui/win/CWidget.h"
#include "ui/win/CWindowCore.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/shared_ptr.hpp>

#include <array>
#include <cstdint>
#include <string>

// Plugins that a window offers over its picture. They belong to the backend's thread and draw in
// window pixels, as CWindowCoreManager::DrawPlugins sets them up.

namespace ui::win {

/// One information bar along the window's lower edge, or along the upper one while the pointer is
/// in the lower half. Every window with a configuration has one, which shows nothing at first.
///
///     window.SendCommand(new CWndCommand_Call([](CWindowCoreManager* manager) {
///         if (auto* bar = manager->FindPlugin("StatusBar")) {
///             static_cast<StatusBar&>(*bar->widget).SetMode(StatusBar::ModeRuler);
///         }
///     }), 0);
class StatusBar : public CWidget {
public:
    using Colour = CWindowCore::Colour;

    /// Any other positive mode shows an empty bar titled "(none)".
    enum Mode : std::int32_t {
        ModeNone = 0,
        ModeWindow = 1,
        ModeRuler = 2,
        ModeMouse = 3,
        ModeRefresh = 4,
        ModePerformance = 5,
        ModeUser = 6, ///< CWindow::SetCustomStatusBar
        ModeImageProperty = 7
    };
    enum Notation : std::int32_t { NotationRGB = 0, NotationHLS = 1, NotationHSV = 2 };

    /// Reads no key.
    explicit StatusBar(kiv::ini::INIFile& section);

    char const* getName() const override { return "StatusBar"; }
    /// @return 1, or 0 in a mode that is zero or negative, which draws nothing
    int Draw(CWindowCore* core) override;
    /// Tracks the pointer, measures in ModeRuler, reads the picture in ModeMouse.
    /// @return true for the ruler's presses and drags
    bool Interact(CWindowCoreManager* manager, Event const& event) override;

    std::int32_t GetMode() const { return m_mode; }
    void SetMode(std::int32_t mode) { m_mode = mode; }
    /// How ModeMouse writes colours; values that are no Notation become RGB when drawn.
    std::int32_t GetColourNotation() const { return m_notation; }
    void SetColourNotation(std::int32_t notation) { m_notation = notation; }

    /// Last pointer position in window pixels, and in world units of the highest layer as ModeMouse
    /// and the ruler's presses saw it.
    math::Point2<std::int32_t> const& Pointer() const { return m_pointer; }
    math::Point2<double> const& PointerWorld() const { return m_pointerWorld; }
    Colour const& ColourUnderPointer() const { return m_colour; }
    /// The measured segment; it stays until the next press begins another.
    bool RulerActive() const { return m_rulerActive; }
    math::Point2<float> const& RulerWorldStart() const { return m_worldStart; }
    math::Point2<float> const& RulerWorldEnd() const { return m_worldEnd; }
    math::Point2<std::int32_t> const& RulerPixelStart() const { return m_pixelStart; }
    math::Point2<std::int32_t> const& RulerPixelEnd() const { return m_pixelEnd; }
    /// Where the last Draw() put the bar; the bottom is where the next one would begin.
    math::Rect2<std::int32_t> BarRectangle() const;

    /// The bar's slowly cycling colour at a time.
    static Colour
    BackgroundAt(boost::posix_time::ptime const& start, boost::posix_time::ptime const& now);

private:
    std::string Title() const;
    std::string Text(CWindowCore& core);
    std::string RulerText() const;
    std::string MouseText();
    int BarHeight(CWindowCore& core) const;
    void Place(CWindowCore const& core);
    bool DragRuler(CWindowCoreManager* manager, bool snap);

    std::int32_t m_titleBaseline = 0;
    std::int32_t m_left = 0;
    std::int32_t m_top = 0;
    std::int32_t m_right = 0;
    std::int32_t m_height = 0;
    std::int32_t m_mode = ModeNone;
    math::Point2<std::int32_t> m_pointer;
    math::Point2<double> m_pointerWorld;
    bool m_rulerActive = false;
    math::Point2<float> m_worldStart;
    math::Point2<float> m_worldEnd;
    math::Point2<std::int32_t> m_pixelStart;
    math::Point2<std::int32_t> m_pixelEnd;
    Colour m_colour;
    std::int32_t m_notation = NotationRGB;
    std::array<math::Point2<float>, 4> m_tab; // behind the title
    boost::posix_time::ptime m_start;
};

/// One line of the help screen.
struct HelpEntry {
    char const* key;
    char const* description;
};

/// The keyboard commands of a window, ended by an entry of two null pointers.
extern HelpEntry const HelpMenu[];

/// A translucent panel over the whole window that lists HelpMenu.
class Help : public CWidget {
public:
    char const* getName() const override { return "HELP"; }
    /// @return 1
    int Draw(CWindowCore* core) override;

private:
    double m_phase = 0; // of the background's colour
};

constexpr int logoLocationCount = 9;

/// Names of the logo's places, as the key LOCATE has them: "N", "NE" and so on clockwise to "NW",
/// then "CENTER".
extern char const* const logolocation[logoLocationCount];

/// A picture in one of nine places of the window, as the window's section [LOGO] says. The key j
/// moves it on to the next place.
class Logo : public CWidget {
public:
    /// Reads SIZE, LOCATE, ALPHA, ROTATION and NAME and loads the picture. A value that cannot be
    /// read is reported and takes its default; a picture that cannot be had is reported when it
    /// should first be drawn.
    /// @param section borrowed for the logo's life
    explicit Logo(kiv::ini::INIFile& section);

    char const* getName() const override { return "LOGO"; }
    /// @return 1, or 0 when there is no picture
    int Draw(CWindowCore* core) override;
    /// @return true for the key j and for clicks of the left button on the picture
    bool Interact(CWindowCoreManager* manager, Event const& event) override;

    kiv::ini::INIFile& Configuration() const { return *m_configuration; }
    boost::shared_ptr<cimage::CImage const> Image() const { return m_image; }
    /// Drawn size in pixels; a height of 0 without a picture.
    double Width() const { return m_width; }
    double Height() const { return m_height; }
    /// Index into logolocation; others are placed at the window's left or upper edge.
    std::int32_t Location() const { return m_location; }
    void SetLocation(std::int32_t location) { m_location = location; }
    /// Opacity; drawn as the nearest of 0 .. 255.
    std::int32_t Alpha() const { return m_alpha; }
    /// What ROTATION says. The picture is always drawn upright.
    bool Rotating() const { return m_rotating; }
    float RotationSpeed() const { return m_rotationSpeed; }
    float Angle() const { return m_angle; }
    /// Window pixels of the picture drawn last, edges included; zero before the first.
    math::Rect2<std::int32_t> const& ScreenRectangle() const { return m_rectangle; }
    /// Whether the picture was ever clicked.
    bool Clicked() const { return m_clicked; }

private:
    void ReadRotation();
    void LoadImage();
    math::Point2<double> Place(double windowWidth, double windowHeight) const;
    bool Contains(std::int32_t x, std::int32_t y) const;

    kiv::ini::INIFile* m_configuration;
    boost::shared_ptr<cimage::CImage> m_image;
    double m_width = 0;
    double m_height = 0;
    std::int32_t m_location = 0;
    bool m_rotating = false;
    std::int32_t m_alpha = 0;
    float m_angle = 0;
    float m_rotationSpeed = 0;
    math::Rect2<std::int32_t> m_rectangle;
    bool m_clicked = false;
    std::string m_trouble; // why there is no picture, until it was said
};

} // namespace ui::win
