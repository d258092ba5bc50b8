#include "ui/win/CWindow.h"
#include "ui/win/drawables/CWidgets.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>

// Drawables are named win::X here: most share their name with the call that pushes them.

namespace ui::win {

namespace {

using Point2f = math::Point2<float>;
using Point3f = math::Point3<float>;

/// What printf would write. @return false when the arguments cannot be written
bool Format(std::string& text, char const* format, va_list arguments) {
    char buffer[256];
    va_list again;
    va_copy(again, arguments);
    int const length = std::vsnprintf(buffer, sizeof(buffer), format, arguments);
    if (length >= 0) {
        auto const size = static_cast<std::size_t>(length);
        text.assign(buffer, std::min(size, sizeof(buffer) - 1));
        if (size >= sizeof(buffer)) {
            text.resize(size);
            std::vsnprintf(&text[0], size + 1, format, again);
        }
    }
    va_end(again);
    return length >= 0;
}

} // namespace

bool CWindow::SetRegionCallback(
    double x0,
    double y0,
    double x1,
    double y1,
    CWindowEvents_ID kind,
    boost::function<void()> const& callback) {
    return Emplace<ActiveRegion>(x0, y0, x1, y1, kind, callback);
}

bool CWindow::DrawLine(double x0, double y0, double x1, double y1) {
    return Emplace<PolyLine<Point2f>>(x0, y0, x1, y1);
}

template <class T>
bool CWindow::DrawLine(math::Point2<T> const& p0, math::Point2<T> const& p1) {
    return Emplace<PolyLine<Point2f>>(Point2f(p0), Point2f(p1));
}

template <class T>
bool CWindow::DrawLine(math::Point3<T> const& p0, math::Point3<T> const& p1) {
    return Emplace<PolyLine<Point3f>>(Point3f(p0), Point3f(p1));
}

template bool CWindow::DrawLine(math::Point2<int> const&, math::Point2<int> const&);
template bool CWindow::DrawLine(math::Point2<float> const&, math::Point2<float> const&);
template bool CWindow::DrawLine(math::Point2<double> const&, math::Point2<double> const&);
template bool CWindow::DrawLine(math::Point3<int> const&, math::Point3<int> const&);
template bool CWindow::DrawLine(math::Point3<float> const&, math::Point3<float> const&);
template bool CWindow::DrawLine(math::Point3<double> const&, math::Point3<double> const&);

bool CWindow::DrawBox(double x0, double y0, double x1, double y1, bool filled) {
    return filled ? Emplace<Box>(x0, y0, x1, y1) : DrawRectangle(x0, y0, x1, y1);
}

bool CWindow::DrawRectangle(double x0, double y0, double x1, double y1) {
    return Emplace<Rectangle>(x0, y0, x1, y1);
}

bool CWindow::DrawCross(double x, double y, double size) {
    return Emplace<Cross>(x, y, size);
}

bool CWindow::DrawVector(double x0, double y0, double x1, double y1, double head) {
    constexpr double headAngle = 25 * 3.14159265358979323846 / 180;
    using Point = math::Point2<double>;
    double const dx = x1 - x0;
    double const dy = y1 - y0;
    double const length = std::hypot(dx, dy);
    // A vector of no length has no direction and so no head.
    double const scale = length > 0 ? head / length : 0;
    double const along = scale * std::cos(headAngle);
    double const across = scale * std::sin(headAngle);
    Point2f const tip(Point(x1, y1));
    std::vector<Point2f> segments = {
        Point2f(Point(x0, y0)),
        tip,
        tip,
        Point2f(Point(x1 - along * dx + across * dy, y1 - along * dy - across * dx)),
        tip,
        Point2f(Point(x1 - along * dx - across * dy, y1 - along * dy + across * dx))};
    return _DrawLines(segments);
}

bool CWindow::DrawEllipse(double x0, double y0, double x1, double y1, bool filled) {
    return Emplace<Ellipse>(x0, y0, x1, y1, filled);
}

bool CWindow::DrawCircle(double cx, double cy, double r, bool filled) {
    return DrawEllipse(cx - r, cy - r, cx + r, cy + r, filled);
}

bool CWindow::DrawSlicedEllipse(
    double x0, double y0, double x1, double y1, double start, double end, bool filled) {
    return Emplace<Ellipse>(x0, y0, x1, y1, start, end, filled);
}

bool CWindow::DrawSlicedCircle(
    double cx, double cy, double r, double start, double end, bool filled) {
    return DrawSlicedEllipse(cx - r, cy - r, cx + r, cy + r, start, end, filled);
}

bool CWindow::DrawPolygon(Point2f const* points, unsigned count, bool closed) {
    return Emplace<PolyLine<Point2f>>(points, count, closed);
}

bool CWindow::DrawPolygon(Point3f const* points, unsigned count, bool closed) {
    return Emplace<PolyLine<Point3f>>(points, count, closed);
}

bool CWindow::DrawPolygon(std::vector<Point2f> const& points, bool closed) {
    return Emplace<PolyLine<Point2f>>(points, closed);
}

bool CWindow::DrawPolygon(std::vector<Point3f> const& points, bool closed) {
    return Emplace<PolyLine<Point3f>>(points, closed);
}

template <class V>
bool CWindow::_DrawPolygon(std::vector<V>& points, bool closed) {
    return Emplace<PolyLine<V>>(points, closed);
}

template <class V>
bool CWindow::_DrawPixels(std::vector<V>& points) {
    return Emplace<Pixels<V>>(points);
}

template <class V>
bool CWindow::_DrawPixel(V const& point) {
    return Emplace<Pixels<V>>(point);
}

template <class V>
bool CWindow::_DrawLines(std::vector<V>& points) {
    return Emplace<LineStream<V>>(points);
}

template <class V>
bool CWindow::_DrawTriangles(std::vector<V>& points) {
    return Emplace<Triangles<V>>(points);
}

template <class V>
bool CWindow::_DrawQuads(std::vector<V>& points) {
    return Emplace<Boxes<V>>(points);
}

template bool CWindow::_DrawPolygon(std::vector<Point2f>&, bool);
template bool CWindow::_DrawPolygon(std::vector<Point3f>&, bool);
template bool CWindow::_DrawPixels(std::vector<Point2f>&);
template bool CWindow::_DrawPixels(std::vector<Point3f>&);
template bool CWindow::_DrawPixels(std::vector<C4UB_V3F_t>&);
template bool CWindow::_DrawPixels(std::vector<T2F_V3F_t>&);
template bool CWindow::_DrawPixel(Point2f const&);
template bool CWindow::_DrawPixel(Point3f const&);
template bool CWindow::_DrawPixel(C4UB_V3F_t const&);
template bool CWindow::_DrawPixel(T2F_V3F_t const&);
template bool CWindow::_DrawLines(std::vector<Point2f>&);
template bool CWindow::_DrawLines(std::vector<Point3f>&);
template bool CWindow::_DrawLines(std::vector<C4UB_V3F_t>&);
template bool CWindow::_DrawTriangles(std::vector<Point2f>&);
template bool CWindow::_DrawTriangles(std::vector<Point3f>&);
template bool CWindow::_DrawTriangles(std::vector<C4UB_V3F_t>&);
template bool CWindow::_DrawTriangles(std::vector<T2F_V3F_t>&);
template bool CWindow::_DrawQuads(std::vector<Point2f>&);
template bool CWindow::_DrawQuads(std::vector<Point3f>&);
template bool CWindow::_DrawQuads(std::vector<C4UB_V3F_t>&);
template bool CWindow::_DrawQuads(std::vector<T2F_V3F_t>&);

bool CWindow::DrawText(double x, double y, std::string const& text) {
    return DrawText(x, y, 0, text);
}

bool CWindow::DrawText(double x, double y, double z, std::string const& text) {
    return Emplace<Text>(x, y, z, text);
}

bool CWindow::DrawTextf(double x, double y, char const* format, ...) {
    std::string text;
    va_list arguments;
    va_start(arguments, format);
    bool const formatted = Format(text, format, arguments);
    va_end(arguments);
    return formatted && DrawText(x, y, text);
}

bool CWindow::DrawShadowText(double x, double y, std::string const& text) {
    return Emplace<ShadowText>(x, y, 0, text);
}

bool CWindow::SetColor(Colour const& colour) {
    return Emplace<win::SetColor>(colour);
}

bool CWindow::SetFontName(char const* name) {
    return Emplace<win::SetFontName>(std::string(name));
}

bool CWindow::SetFontSize(double size, bool world) {
    return SetFontSizeEx(size, size, world);
}

bool CWindow::SetFontSizeEx(double width, double height, bool world) {
    return Emplace<win::SetFontSize>(width, height, world);
}

bool CWindow::SetTextAlign(_TextAlign_t horizontal, _TextAlign_t vertical) {
    return Emplace<win::SetTextAlign>(horizontal, vertical);
}

bool CWindow::SetLineWidth(double width) {
    return Emplace<win::SetLineWidth>(width);
}

bool CWindow::SetPointSize(double size) {
    return Emplace<win::SetPointSize>(size);
}

bool CWindow::SetLineSmoothing(bool smooth) {
    return Emplace<SetLineSmooth>(smooth);
}

bool CWindow::SetBlend(_BlendType_t type) {
    return Emplace<win::SetBlend>(type);
}

bool CWindow::EnableLight(
    int number,
    math::Point3<double> const& position,
    Colour const& ambient,
    Colour const& diffuse,
    Colour const& specular) {
    return Emplace<win::EnableLight>(number, Point3f(position), ambient, diffuse, specular);
}

bool CWindow::DisableLight(int number) {
    return Emplace<win::DisableLight>(number);
}

bool CWindow::Translate(double dx, double dy, bool relative) {
    return Emplace<win::Translate>(dx, dy, relative);
}

bool CWindow::SetTheme(Theme const& theme) {
    return Emplace<win::SetTheme>(theme);
}

bool CWindow::EnableZBuffer(double zNear, double zFar) {
    return Emplace<win::EnableZBuffer>(zNear, zFar);
}

bool CWindow::DisableZBuffer() {
    return Emplace<win::DisableZBuffer>();
}

bool CWindow::SetImageRange(double low, double high) {
    return Emplace<win::SetImageRange>(ImageRange{ImageRange::Counts, low, high});
}

bool CWindow::SetAutoImageRange(double lowPercentile, double highPercentile) {
    return Emplace<win::SetImageRange>(
        ImageRange{ImageRange::Percentiles, lowPercentile, highPercentile});
}

bool CWindow::ResetImageRange() {
    return Emplace<win::SetImageRange>(ImageRange());
}

bool CWindow::SetColorMap(ColorMap map) {
    return Emplace<win::SetColorMap>(map);
}

} // namespace ui::win
