#include "annotation.h"

#include "ui/win/CWindowCommands.h"
#include "ui/win/widgets/ExtraWidget.h"

#include <boost/lexical_cast.hpp>
#include <boost/make_shared.hpp>

#include <fstream>
#include <iomanip>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <utility>

using namespace ui::win;

namespace {

constexpr unsigned frameWidth = 640;
constexpr unsigned frameHeight = 480;
constexpr float handleSize = 10;
constexpr math::Rect2<float> frameArea(0, 0, frameWidth, frameHeight);
constexpr math::Rect2<float> boardArea(160, 10, 590, 345);
constexpr CWindow::Colour cornerColour(255, 48, 112, 255);
constexpr CWindow::Colour regionColour(96, 160, 255, 255);
constexpr CWindow::Colour maskColour(255, 160, 64, 255);

CreationParams Params(std::string const& driver) {
    CreationParams params;
    params.driver = driver;
    params.title = "Annotation";
    params.width = frameWidth;
    params.height = frameHeight;
    params.flags = StateVisible;
    return params;
}

/// Draws a widget in a colour of its own: widgets draw in the one that they find.
class Tinted : public CWidget {
public:
    Tinted(CWindow::Colour const& colour, boost::shared_ptr<CWidget> widget)
        : m_colour(colour), m_widget(std::move(widget)) {}
    char const* getName() const override { return m_widget->getName(); }
    int Draw(CWindowCore* core) override {
        core->SetColor(m_colour);
        core->SetFontSizeEx(9, 9, false);
        return m_widget->Draw(core);
    }
    bool Interact(CWindowCoreManager* manager, Event const& event) override {
        return m_widget->Interact(manager, event);
    }

private:
    CWindow::Colour const m_colour;
    boost::shared_ptr<CWidget> const m_widget;
};

Event PointerEvent(CWindowEvents_ID type, math::Point2<int> const& at) {
    Event event;
    event.type = type;
    event.screenX = at.x;
    event.screenY = at.y;
    return event;
}

} // namespace

std::vector<Corner> ReadCorners(std::string const& path) {
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    std::vector<Corner> corners;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        std::istringstream words(line);
        std::size_t index = 0;
        std::string x;
        std::string y;
        Corner corner;
        bool const read = words >> index >> x >> y &&
                          boost::conversion::try_lexical_convert(x, corner.x) &&
                          boost::conversion::try_lexical_convert(y, corner.y);
        if (!read || index != corners.size()) {
            throw std::runtime_error(path + ':' + std::to_string(number) + ": not a corner");
        }
        bool const hidden = corner.x != corner.x || corner.y != corner.y;
        corners.push_back(hidden ? Corner(-1, -1) : corner);
    }
    return corners;
}

Annotation::Annotation(
    std::string const& driver, std::string const& frame, std::vector<Corner> const& corners)
    : m_mask{{6, 228}, {116, 188}, {136, 306}, {40, 400}},
      m_corners(boost::make_shared<CalibrationWidget<double>>(corners)),
      m_region(boost::make_shared<CResizableBox>(boardArea, frameArea, false)),
      m_polygon(boost::make_shared<CPolyWidget<Point>>(
          m_mask.data(), static_cast<unsigned>(m_mask.size()), handleSize)),
      m_window(Params(driver)) {
    auto const history = boost::make_shared<CUndoStack>();
    m_corners->SetUndoStack(history);
    m_region->SetUndoStack(history);
    m_polygon->SetUndoStack(history);
    Insert(maskColour, m_polygon);
    Insert(regionColour, m_region);
    Insert(cornerColour, m_corners);
    m_window.InsertPlugin(MakeUndoKeys(history));

    // Plugins work in window pixels: so does the frame, which is not zoomed with the wheel.
    m_window.SetLayer(1);
    m_window.SetViewportMode(ViewPortPixels);
    m_window.DrawImageFile(frame, 0, 0, frameWidth, frameHeight);
    m_window.Refresh(true);
}

void Annotation::Insert(CWindow::Colour const& colour, boost::shared_ptr<CWidget> widget) {
    m_window.InsertPlugin(boost::make_shared<Tinted>(colour, std::move(widget)));
}

Annotation::Result Annotation::Read() {
    Result result;
    auto const read = boost::make_shared<CWndCommand_Call>([&](CWindowCoreManager*) {
        result = {m_corners->Points(), m_region->Box(), m_mask};
    });
    if (!m_window.SendCommand(read, 0)) {
        throw std::runtime_error("the window has gone");
    }
    read->Suspend();
    return result;
}

void Annotation::Save(std::string const& path) {
    Result const result = Read();
    std::ofstream file(path);
    file << std::fixed << std::setprecision(2);
    math::Rect2<float> const& region = result.region;
    file << "# region " << region.left << ' ' << region.top << ' ' << region.right << ' '
         << region.bottom << "\n# mask";
    for (Point const& p : result.mask) {
        file << ' ' << p.x << ' ' << p.y;
    }
    file << "\n# corners: number, x, y (pixels); nan where hidden\n";
    constexpr double nowhere = std::numeric_limits<double>::quiet_NaN();
    for (std::size_t i = 0; i < result.corners.size(); ++i) {
        bool const hidden = CalibrationWidget<double>::IsHidden(result.corners[i]);
        Corner const corner = hidden ? Corner(nowhere, nowhere) : result.corners[i];
        file << i << ' ' << corner.x << ' ' << corner.y << '\n';
    }
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

void PressAt(CWindow& window, math::Point2<int> const& at) {
    Event event = PointerEvent(EventPress, at);
    event.button = ButtonLeft;
    window.InjectEvent(event);
}

void ReleaseAt(CWindow& window, math::Point2<int> const& at) {
    Event event = PointerEvent(EventRelease, at);
    event.button = ButtonLeft;
    window.InjectEvent(event);
}

void Drag(CWindow& window, math::Point2<int> const& from, math::Point2<int> const& to) {
    constexpr int steps = 4;
    PressAt(window, from);
    for (int i = 1; i <= steps; ++i) {
        math::Point2<int> const way = to - from;
        Event event =
            PointerEvent(EventMotion, {from.x + way.x * i / steps, from.y + way.y * i / steps});
        event.state = ButtonLeft;
        window.InjectEvent(event);
    }
    ReleaseAt(window, to);
}

void PressKey(CWindow& window, char key, std::uint32_t state) {
    Event event;
    event.type = EventKey;
    event.key = static_cast<unsigned char>(key);
    event.state = state;
    window.InjectEvent(event);
}

void PlayScript(CWindow& window) {
    // Three corners that were found beside their places: a press takes the nearest one.
    Drag(window, {382, 117}, {373, 123});
    Drag(window, {366, 201}, {373, 193});
    Drag(window, {519, 242}, {513, 232});
    // One that the frame of the board may hide.
    PressAt(window, {515, 87});
    PressKey(window, '-');
    ReleaseAt(window, {515, 87});
    Drag(window, {590, 180}, {604, 184}); // the right edge of the region
    Drag(window, {40, 400}, {46, 384});   // a corner of the mask
}
