#pragma once

#include "math/Point2.h"
#include "math/Rect2.h"
#include "ui/win/CWindow.h"
#include "ui/win/widgets/AnnWidget.h"
#include "ui/win/widgets/CUndoStack.h"
#include "ui/win/widgets/CalibrationWidget.h"

#include <boost/shared_ptr.hpp>

#include <string>
#include <vector>

using Corner = math::Point2<double>;

/// A file of a line a corner: number, x, y; "nan" for the coordinates of a hidden one. Lines that
/// begin with '#' are remarks. @throws std::runtime_error with the file and the line
std::vector<Corner> ReadCorners(std::string const& path);

/// A calibration frame under annotation: the board's corners to be corrected, a box about the
/// board and a polygon over what the corner finder must not look at. Ctrl+Z and Ctrl+Shift+Z.
///
/// Belongs to the application's thread; what it answers is read on the window's.
class Annotation {
public:
    using Point = math::Point2<float>;

    struct Result {
        std::vector<Corner> corners;
        math::Rect2<float> region;
        std::vector<Point> mask;
    };

    Annotation(
        std::string const& driver, std::string const& frame, std::vector<Corner> const& corners);

    ui::win::CWindow& Window() { return m_window; }
    /// What the user has done so far.
    Result Read();
    /// Writes it as ReadCorners() reads it, region and mask as remarks.
    void Save(std::string const& path);

private:
    void Insert(ui::win::CWindow::Colour const& colour, boost::shared_ptr<ui::win::CWidget> widget);

    std::vector<Point> m_mask; // edited by the window's thread as long as there is a window
    boost::shared_ptr<ui::win::CalibrationWidget<double>> m_corners;
    boost::shared_ptr<ui::win::CResizableBox> m_region;
    boost::shared_ptr<ui::win::CPolyWidget<Point>> m_polygon;
    ui::win::CWindow m_window;
};

/// A user's hand: moves the pointer from one pixel to another with the left button held.
void Drag(ui::win::CWindow& window, math::Point2<int> const& from, math::Point2<int> const& to);
/// Presses the left button (and keeps it), or lets it go.
void PressAt(ui::win::CWindow& window, math::Point2<int> const& at);
void ReleaseAt(ui::win::CWindow& window, math::Point2<int> const& at);
/// @param state EventState bits
void PressKey(ui::win::CWindow& window, char key, std::uint32_t state = 0);

/// Corrects the first calibration frame, in that many gestures: three corners are dragged and one
/// is hidden, then a side of the region and a vertex of the mask.
constexpr int scriptedGestures = 6;
void PlayScript(ui::win::CWindow& window);
