#include "ui/win/CWindowCore.h"

#include "ui/win/camera/CWindowCamera.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ui::win {

namespace {

constexpr char defaultFontName[] = "Liberation Sans";

/// The nearest whole pixel; 0 for what no window can have.
int RoundToPixel(double pixels) {
    double const rounded = std::nearbyint(pixels);
    constexpr double limit = 1 << 24;
    return rounded >= -limit && rounded <= limit ? static_cast<int>(rounded) : 0;
}

/// Pixel edge of a view port: a fraction of the extent, or pixels already.
int ResolveEdge(float edge, bool isFraction, std::uint32_t extent) {
    return RoundToPixel(isFraction ? static_cast<double>(edge) * extent : edge);
}

template <class T>
T ToScreen(double value) {
    return static_cast<T>(value);
}

template <>
int ToScreen<int>(double value) {
    double const pixel = std::floor(value);
    bool const representable =
        pixel >= std::numeric_limits<int>::min() && pixel <= std::numeric_limits<int>::max();
    return representable ? static_cast<int>(pixel) : std::numeric_limits<int>::min();
}

} // namespace

CWindowCore::CWindowCore() : m_fontName(defaultFontName) {}
CWindowCore::~CWindowCore() = default;

void CWindowCore::SetViewPort(
    ViewPortMode mode, CWindowViewPort* viewPort, boost::shared_ptr<CCamera> camera) {
    if (mode != ViewPortKeep) {
        m_viewPortMode = mode;
    }
    if (viewPort != nullptr) {
        m_viewPort = *viewPort;
    }
    if (camera) {
        m_camera = std::move(camera);
    }
}

void CWindowCore::ResetDrawingState(boost::shared_ptr<CCamera> const& camera) {
    m_viewPortMode = ViewPortCamera;
    m_viewPort = CWindowViewPort();
    m_camera = camera;
    m_translation = {0, 0};
    m_blend = BlendOpaque;
    m_imageRange = ImageRange();
    m_colorMap = ColorMapOff;
    m_fontName = defaultFontName;
    m_horizontalAlign = AlignLeft;
    m_verticalAlign = AlignTop;
    m_theme = Theme();
    m_flags &= ~static_cast<std::uint32_t>(StateDepthBuffer);
    setLastDrawnImageMetadata(nullptr);
}

bool CWindowCore::BindImage(SPImage const&) {
    return false;
}

bool CWindowCore::DrawImage(math::Point3<float> const* corners, SPImage const& image) {
    BindImage(image);
    T2F_V3F_t const vertices[4] = {
        {1, 0, corners[0].x, corners[0].y, corners[0].z},
        {0, 0, corners[1].x, corners[1].y, corners[1].z},
        {0, 1, corners[2].x, corners[2].y, corners[2].z},
        {1, 1, corners[3].x, corners[3].y, corners[3].z}};
    DrawQuads(vertices, 1);
    return true;
}

bool CWindowCore::DrawImage(
    math::Point2<float> const& p0, math::Point2<float> const& p1, SPImage const& image) {
    math::Point3<float> const corners[4] = {
        {p1.x, p0.y, 0}, {p0.x, p0.y, 0}, {p0.x, p1.y, 0}, {p1.x, p1.y, 0}};
    // Qualified: a backend that overrides the form with four corners does not take over this one.
    return CWindowCore::DrawImage(corners, image);
}

bool CWindowCore::DrawLine(double, double, double, double) {
    return false;
}
bool CWindowCore::DrawBox(double, double, double, double, bool) {
    return false;
}
bool CWindowCore::DrawEllipse(double, double, double, double, double, double, bool) {
    return false;
}
bool CWindowCore::DrawPixels(math::Point2<float> const*, unsigned) {
    return false;
}
bool CWindowCore::DrawPixels(math::Point3<float> const*, unsigned) {
    return false;
}
bool CWindowCore::DrawPixels(C4UB_V3F_t const*, unsigned) {
    return false;
}
bool CWindowCore::DrawPixels(T2F_V3F_t const*, unsigned) {
    return false;
}
bool CWindowCore::DrawPolyLine(math::Point2<float> const*, unsigned, bool) {
    return false;
}
bool CWindowCore::DrawPolyLine(math::Point3<float> const*, unsigned, bool) {
    return false;
}
bool CWindowCore::DrawLineStream(math::Point2<float> const*, unsigned) {
    return false;
}
bool CWindowCore::DrawLineStream(math::Point3<float> const*, unsigned) {
    return false;
}
bool CWindowCore::DrawLineStream(C4UB_V3F_t const*, unsigned) {
    return false;
}
bool CWindowCore::DrawTriangles(math::Point2<float> const*, unsigned) {
    return false;
}
bool CWindowCore::DrawTriangles(math::Point3<float> const*, unsigned) {
    return false;
}
bool CWindowCore::DrawTriangles(C4UB_V3F_t const*, unsigned) {
    return false;
}
bool CWindowCore::DrawTriangles(T2F_V3F_t const*, unsigned) {
    return false;
}
bool CWindowCore::DrawTrianglesV3FN3F(math::Point3<float> const*, unsigned) {
    return false;
}
bool CWindowCore::DrawQuads(math::Point2<float> const*, unsigned) {
    return false;
}
bool CWindowCore::DrawQuads(math::Point3<float> const*, unsigned) {
    return false;
}
bool CWindowCore::DrawQuads(C4UB_V3F_t const*, unsigned) {
    return false;
}
bool CWindowCore::DrawQuads(T2F_V3F_t const*, unsigned) {
    return false;
}

void CWindowCore::SetFontName(char const* name) {
    m_fontName = std::string(name);
}
bool CWindowCore::SetFontSizeEx(double, double, bool) {
    return true;
}
bool CWindowCore::DrawText(math::Point3<double> const&, char const*) {
    return false;
}
bool CWindowCore::GetTextSize(math::Rect2<double>&, char const*) {
    return false;
}

bool CWindowCore::EllipseText(
    math::Point3<double> const&,
    std::string& result,
    std::string const& text,
    std::string const&,
    double) {
    result = text;
    return false;
}

bool CWindowCore::SetColor(Colour) {
    return false;
}
bool CWindowCore::SetColorEx(Colour ambientDiffuse, Colour, Colour, float) {
    return SetColor(ambientDiffuse);
}
bool CWindowCore::GetColor(Colour*) {
    return false;
}

bool CWindowCore::EnableZBuffer(double zNear, double zFar) {
    m_depthNear = zNear;
    m_depthFar = zFar;
    m_flags |= StateDepthBuffer;
    return true;
}

bool CWindowCore::DisableZBuffer() {
    m_flags &= ~static_cast<std::uint32_t>(StateDepthBuffer);
    return true;
}

bool CWindowCore::GetHighlightColor(Colour*) {
    return false;
}

bool CWindowCore::SetTranslation(double dx, double dy, bool relative) {
    math::Point2<double> const shift(dx, dy);
    m_translation = relative ? m_translation + shift : shift;
    return true;
}

bool CWindowCore::SetBlend(_BlendType_t type) {
    m_blend = type;
    return true;
}

bool CWindowCore::EnableLight(
    int, math::Point3<float> const&, Colour const&, Colour const&, Colour const&) {
    return false;
}
bool CWindowCore::DisableLight(int) {
    return false;
}
bool CWindowCore::SetLineSmooth(bool) {
    return false;
}
bool CWindowCore::SetLineWidth(float) {
    return false;
}
bool CWindowCore::SetPointSize(float) {
    return false;
}
void CWindowCore::RunExtension(char const*) {}
bool CWindowCore::GetImage(cimage::CImage&) {
    return false;
}

boost::property_tree::ptree const* CWindowCore::getLastDrawnImageMetadata() {
    return m_lastImageMetadata;
}

void CWindowCore::setLastDrawnImageMetadata(boost::property_tree::ptree const* metadata) {
    m_lastImageMetadata = metadata;
}

bool CWindowCore::SetImageRange(ImageRange const& range) {
    m_imageRange = range;
    return true;
}

bool CWindowCore::SetColorMap(ColorMap map) {
    m_colorMap = map;
    return true;
}

bool CWindowCore::GetImageCounts(int, int, ImageCounts&) {
    return false;
}

void CWindowCore::SetTextAlign(_TextAlign_t horizontal, _TextAlign_t vertical) {
    m_horizontalAlign = horizontal;
    m_verticalAlign = vertical;
}

void CWindowCore::AddAbsoluteTimer(int id, timeval const& due) {
    ReleaseTimer(id);
    m_timers.push_back({id, due});
}

void CWindowCore::ReleaseTimer(int id) {
    m_timers.erase(
        std::remove_if(
            m_timers.begin(), m_timers.end(), [id](windowtimer const& t) { return t.id == id; }),
        m_timers.end());
}

bool CWindowCore::IsPointInFront(math::Point3<float> const& world) {
    math::TMatrix<double, 3, 4> m;
    GetWorldToPixelMatrix(m);
    return m(2, 0) * world.x + m(2, 1) * world.y + m(2, 2) * world.z + m(2, 3) > 0;
}

template <class T>
math::Point2<T> CWindowCore::WindowToScreen(math::Point3<float> const& world) {
    math::Point2<T> screen;
    WindowToScreen(&world, 1, &screen);
    return screen;
}

template <class T>
void CWindowCore::WindowToScreen(
    math::Point3<float> const* world, std::size_t count, math::Point2<T>* screen) {
    math::TMatrix<double, 3, 4> m;
    GetWorldToPixelMatrix(m);
    constexpr double nowhere = std::numeric_limits<double>::quiet_NaN();
    for (std::size_t i = 0; i < count; ++i) {
        double const x = world[i].x;
        double const y = world[i].y;
        double const z = world[i].z;
        double const u = m(0, 0) * x + m(0, 1) * y + m(0, 2) * z + m(0, 3);
        double const v = m(1, 0) * x + m(1, 1) * y + m(1, 2) * z + m(1, 3);
        double const w = m(2, 0) * x + m(2, 1) * y + m(2, 2) * z + m(2, 3);
        bool const inFront = w > 0;
        screen[i] = {
            ToScreen<T>(inFront ? u / w : nowhere), ToScreen<T>(inFront ? v / w : nowhere)};
    }
}

template math::Point2<double> CWindowCore::WindowToScreen<double>(math::Point3<float> const&);
template math::Point2<float> CWindowCore::WindowToScreen<float>(math::Point3<float> const&);
template math::Point2<int> CWindowCore::WindowToScreen<int>(math::Point3<float> const&);
template void
CWindowCore::WindowToScreen(math::Point3<float> const*, std::size_t, math::Point2<double>*);
template void
CWindowCore::WindowToScreen(math::Point3<float> const*, std::size_t, math::Point2<float>*);
template void
CWindowCore::WindowToScreen(math::Point3<float> const*, std::size_t, math::Point2<int>*);

void CWindowCore::GetProjectionMatrix(math::TMatrix<double, 3, 4>& matrix) {
    if (m_camera) {
        m_camera->GetMatrix(this, matrix);
    } else {
        GetViewMatrix(matrix);
    }
}

void CWindowCore::GetRestInverseUVWMatrix(math::TMatrix<double, 3, 4>& matrix) {
    if (m_camera) {
        m_camera->GetRestInverseUVWMatrix(this, matrix);
        return;
    }
    // Without a camera the window's pixels are the world.
    double const halfWidth = m_width / 2.0;
    double const halfHeight = m_height / 2.0;
    matrix << halfWidth, 0, 0, halfWidth, 0, -halfHeight, 0, halfHeight, 0, 0, 0, 0;
}

void CWindowCore::GetViewMatrix(math::TMatrix<double, 3, 4>& matrix) {
    if (m_viewPortMode == ViewPortFractions) {
        matrix << 2, 0, 0, -1, 0, -2, 0, 1, 0, 0, 0, 1;
        return;
    }
    if (m_viewPortMode != ViewPortPixels && m_camera) {
        m_camera->GetMatrix(this, matrix);
        return;
    }
    math::Rect2<int> const r = PixelRectangle();
    double const kx = 2.0 / r.Width();
    double const ky = -2.0 / r.Height();
    matrix << kx, 0, 0, -1 - kx * r.left, 0, ky, 0, 1 - ky * r.top, 0, 0, 0, 1;
}

void CWindowCore::GetWorldToPixelMatrix(math::TMatrix<double, 3, 4>& matrix) {
    math::Rect2<int> const r = PixelRectangle();
    if (m_viewPortMode == ViewPortPixels) {
        // Said directly, so that window pixels stay exact.
        matrix << 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1;
    } else {
        math::TMatrix<double, 3, 4> device;
        GetViewMatrix(device);
        math::TMatrix<double, 3, 3> toPixels;
        double const halfWidth = r.Width() / 2.0;
        double const halfHeight = r.Height() / 2.0;
        toPixels << halfWidth, 0, r.left + halfWidth, 0, -halfHeight, r.top + halfHeight, 0, 0, 1;
        matrix.noalias() = toPixels * device;
    }
    matrix.col(3) += matrix.col(0) * m_translation.x + matrix.col(1) * m_translation.y;
}

math::Rect2<int> CWindowCore::PixelRectangle() {
    CWindowViewPort const& v = m_viewPort;
    math::Rect2<int> r(
        ResolveEdge(v.left, v.leftIsFraction, m_width),
        ResolveEdge(v.top, v.topIsFraction, m_height),
        ResolveEdge(v.right, v.rightIsFraction, m_width),
        ResolveEdge(v.bottom, v.bottomIsFraction, m_height));
    bool const throughCamera =
        m_viewPortMode != ViewPortPixels && m_viewPortMode != ViewPortFractions && m_camera;
    if (throughCamera && !m_camera->CoversWholeWindow()) {
        // A camera with a part of its own draws there, counted from the view port's corner.
        double part[4];
        m_camera->ResolveViewPort(this, part);
        r.right = r.left + RoundToPixel(part[0] + part[2]);
        r.bottom = r.top + RoundToPixel(part[1] + part[3]);
        r.left += RoundToPixel(part[0]);
        r.top += RoundToPixel(part[1]);
    }
    return r;
}

} // namespace ui::win
