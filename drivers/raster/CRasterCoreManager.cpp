#include "drivers/raster/CRasterCoreManager.h"

#include "cimage/Conversion.h"
#include "cimage/TImage.h"
#include "drivers/raster/detail/Texture.h"
#include "kiv/Diagnostics.h"
#include "kiv/ParseNumber.h"
#include "kiv/ini/INIFile.h"
#include "ui/win/image/ConstantImage.h"

#include <boost/current_function.hpp>
#include <boost/thread/locks.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <utility>

namespace drivers::raster {

using math::Point2;
using math::Point3;
using ui::win::C4UB_V3F_t;
using ui::win::T2F_V3F_t;

namespace {

using RGB = cimage::TRGB<unsigned char>;
using RGBA = cimage::TRGBA<unsigned char>;

template <class V>
VertexArray Positions(float const* first, unsigned dimension, std::size_t count) {
    VertexArray array;
    array.position = first;
    array.dimension = dimension;
    array.strideBytes = sizeof(V);
    array.count = count;
    return array;
}

VertexArray ArrayOf(Point2<float> const* points, std::size_t count) {
    return Positions<Point2<float>>(&points->x, 2, count);
}

VertexArray ArrayOf(Point3<float> const* points, std::size_t count) {
    return Positions<Point3<float>>(&points->x, 3, count);
}

VertexArray ArrayOf(C4UB_V3F_t const* points, std::size_t count) {
    VertexArray array = Positions<C4UB_V3F_t>(&points->x, 3, count);
    array.colour = &points->r;
    return array;
}

VertexArray ArrayOf(T2F_V3F_t const* points, std::size_t count) {
    VertexArray array = Positions<T2F_V3F_t>(&points->x, 3, count);
    array.texture = &points->s;
    return array;
}

/// Equal, or both not a number: a range that is none is the same one when it is set again.
bool IsSame(double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

/// How many threads a window draws with, 0 for one a processor.
/// @param signature of the function on whose behalf a message is written
unsigned DrawThreads(char const* signature) {
    std::string text;
    if (char const* const wanted = std::getenv("QUARN_DRAW_THREADS")) {
        text = wanted;
    } else if (ui::win::CWindowCoreManager::m_ini != nullptr) {
        boost::lock_guard<boost::recursive_mutex> const lock(
            ui::win::CWindowCoreManager::m_iniLock);
        ui::win::CWindowCoreManager::m_ini->Lookup("DRAW THREADS", text);
    }
    unsigned threads = 0;
    if (!text.empty() && !kiv::ParseNumber(text, threads)) {
        kiv::Diagnose("[WW]", signature, "\"" + text + "\" is no number of drawing threads");
    }
    return threads;
}

} // namespace

/// A text's anchor in pixels, and how world directions run on the screen there.
struct CRasterCoreManager::TextPlace {
    Point2<double> anchor;
    TextTransform world;
    double distance = 1;
};

CRasterCoreManager::CRasterCoreManager(
    ui::win::CreationParams const& params, boost::shared_ptr<support::RenderThread> thread)
    : CThreadedCoreManager(params, std::move(thread)) {
    m_canvas.SetWorkers(Workers::Shared(DrawThreads(BOOST_CURRENT_FUNCTION)));
    auto const add = [this](unsigned type, Texture::Format format) {
        m_bind.Add(type, [this, format](CWindowCore*, SPImage const& image) {
            SetTexture(image, format);
        });
    };
    add(cimage::TImage<unsigned char>::StaticType, Texture::Format::Grey8);
    add(cimage::TImage<RGB>::StaticType, Texture::Format::RGB8);
    add(cimage::TImage<RGBA>::StaticType, Texture::Format::RGBA8);
    // The pool has nothing for colour of 16 bits.
    auto const addDeep = [this](unsigned type, Texture::Format format, auto const& prototype) {
        m_bind.Add(type, [this, format, prototype](CWindowCore*, SPImage const& image) {
            auto const shown = prototype.Clone();
            cimage::Convert(*image, *shown);
            SetTexture(shown, format);
        });
    };
    using DeepRGB = cimage::TRGB<unsigned short>;
    using DeepRGBA = cimage::TRGBA<unsigned short>;
    addDeep(cimage::TImage<DeepRGB>::StaticType, Texture::Format::RGB8, cimage::TImage<RGB>());
    addDeep(cimage::TImage<DeepRGBA>::StaticType, Texture::Format::RGBA8, cimage::TImage<RGBA>());
}

void CRasterCoreManager::ForgetImages() {
    m_canvas.State().texture = Texture();
    m_boundImage.reset();
    m_boundSource.reset();
    for (auto entry = m_converted.begin(); entry != m_converted.end();) {
        Converted& converted = entry->second;
        bool const keep = converted.used && ui::win::IsConstant(converted.source.lock());
        converted.used = false;
        entry = keep ? std::next(entry) : m_converted.erase(entry);
    }
}

void CRasterCoreManager::BeginFrame() {
    CThreadedCoreManager::BeginFrame();
    m_canvas.State() = DrawState();
    m_canvas.State().bilinear = Interpolates();
    m_fontWidth = m_fontHeight = kDefaultFontSize;
    m_fontInWorld = false;
    m_viewChanged = true;
    m_lights = {};
    m_depthCamera = nullptr;
    m_shown.Clear();
    m_values.Clear();
    int const width = static_cast<int>(Width());
    int const height = static_cast<int>(Height());
    if (width != m_canvas.Width() || height != m_canvas.Height()) {
        m_canvas.Resize(width, height);
    }
    m_canvas.Clear(BackgroundColor());
}

void CRasterCoreManager::FinishFrame() {
    m_values.Finish(m_canvas);
    ForgetImages();
}

Canvas& CRasterCoreManager::ReadyCanvas() {
    if (m_viewChanged) {
        math::TMatrix<double, 3, 4> worldToPixel;
        GetWorldToPixelMatrix(worldToPixel);
        m_canvas.SetView(worldToPixel, PixelRectangle());
        m_shown.SetView(worldToPixel, PixelRectangle(), m_canvas.State());
        for (std::size_t i = 0; i < m_lights.size(); ++i) {
            Light& light = m_canvas.State().lights[i];
            light = m_lights[i].light;
            // In the world as it is before the view's own translation.
            Point2<double> const shift = m_lights[i].translation - Translation();
            light.position.x += static_cast<float>(shift.x);
            light.position.y += static_cast<float>(shift.y);
        }
        BeginDepths();
        m_viewChanged = false;
    }
    return m_canvas;
}

void CRasterCoreManager::BeginDepths() {
    if (!m_canvas.TestsDepth()) {
        return;
    }
    void const* const camera = GetCamera().get();
    math::Rect2<int> const area = PixelRectangle();
    if (camera != m_depthCamera || !(area == m_depthArea)) {
        m_canvas.ClearDepth(area);
        m_depthCamera = camera;
        m_depthArea = area;
    }
}

void CRasterCoreManager::SetViewPort(
    ui::win::ViewPortMode mode,
    ui::win::CWindowViewPort* viewPort,
    boost::shared_ptr<ui::win::CCamera> camera) {
    CThreadedCoreManager::SetViewPort(mode, viewPort, std::move(camera));
    m_viewChanged = true;
}

bool CRasterCoreManager::SetTranslation(double dx, double dy, bool relative) {
    m_viewChanged = true;
    return CThreadedCoreManager::SetTranslation(dx, dy, relative);
}

CRasterCoreManager::Converted* CRasterCoreManager::FindConverted(SPImage const& image) {
    ui::win::ImageRange const& range = GetImageRange();
    auto const [first, last] = m_converted.equal_range(image.get());
    auto const found = std::find_if(first, last, [&](auto const& entry) {
        Converted const& c = entry.second;
        bool const same = !c.source.owner_before(image) && !image.owner_before(c.source);
        return same && c.map == GetColorMap() && c.range.kind == range.kind &&
               IsSame(c.range.low, range.low) && IsSame(c.range.high, range.high);
    });
    return found != last ? &found->second : nullptr;
}

bool CRasterCoreManager::BindImage(SPImage const& image) {
    if (Converted* const known = FindConverted(image)) {
        m_boundImage = known->image;
        m_canvas.State().texture = known->texture;
        known->used = true;
    } else {
        m_bind(this, m_mapping.Map(image, GetImageRange(), GetColorMap()));
        if (m_boundImage != image) {
            Texture const& texture = m_canvas.State().texture;
            m_converted.emplace(
                image.get(),
                Converted{image, GetImageRange(), GetColorMap(), m_boundImage, texture, true});
        }
    }
    m_boundSource = image;
    return true;
}

void CRasterCoreManager::SetTexture(SPImage const& image, Texture::Format format) {
    m_boundImage = image;
    Texture& texture = m_canvas.State().texture;
    texture.pixels = image->Bytes();
    texture.width = static_cast<int>(image->Width());
    texture.height = static_cast<int>(image->Height());
    texture.stride = image->Stride();
    texture.format = format;
}

bool CRasterCoreManager::DrawLine(double x0, double y0, double x1, double y1) {
    ReadyCanvas().Line(x0, y0, x1, y1);
    return true;
}

bool CRasterCoreManager::DrawBox(double x0, double y0, double x1, double y1, bool filled) {
    ReadyCanvas().Box(x0, y0, x1, y1, filled);
    return true;
}

bool CRasterCoreManager::DrawEllipse(
    double x0, double y0, double x1, double y1, double start, double end, bool filled) {
    ReadyCanvas().Ellipse(x0, y0, x1, y1, start, end, filled);
    return true;
}

template <class V>
bool CRasterCoreManager::Draw(
    void (Canvas::*operation)(VertexArray const&), V const* vertices, std::size_t count) {
    if (count == 0) {
        return true;
    }
    VertexArray const array = ArrayOf(vertices, count);
    if (array.texture == nullptr || !m_boundImage) {
        (ReadyCanvas().*operation)(array);
    } else if (!m_canvas.State().texture.Empty()) {
        // The canvas multiplies; an image must not be tinted by what was drawn before it.
        Colour& current = m_canvas.State().colour;
        Colour const kept = std::exchange(current, Colour(255, 255, 255, current.a));
        (ReadyCanvas().*operation)(array);
        current = kept;
    }
    return true;
}

bool CRasterCoreManager::DrawPixels(Point2<float> const* points, unsigned count) {
    return Draw(&Canvas::Points, points, count);
}
bool CRasterCoreManager::DrawPixels(Point3<float> const* points, unsigned count) {
    return Draw(&Canvas::Points, points, count);
}
bool CRasterCoreManager::DrawPixels(C4UB_V3F_t const* points, unsigned count) {
    return Draw(&Canvas::Points, points, count);
}
bool CRasterCoreManager::DrawPixels(T2F_V3F_t const* points, unsigned count) {
    return Draw(&Canvas::Points, points, count);
}

bool CRasterCoreManager::DrawPolyLine(Point2<float> const* points, unsigned count, bool closed) {
    if (count > 0) {
        ReadyCanvas().Polyline(ArrayOf(points, count), closed);
    }
    return true;
}
bool CRasterCoreManager::DrawPolyLine(Point3<float> const* points, unsigned count, bool closed) {
    if (count > 0) {
        ReadyCanvas().Polyline(ArrayOf(points, count), closed);
    }
    return true;
}

bool CRasterCoreManager::DrawLineStream(Point2<float> const* points, unsigned count) {
    return Draw(&Canvas::Lines, points, std::size_t{count} * 2);
}
bool CRasterCoreManager::DrawLineStream(Point3<float> const* points, unsigned count) {
    return Draw(&Canvas::Lines, points, std::size_t{count} * 2);
}
bool CRasterCoreManager::DrawLineStream(C4UB_V3F_t const* points, unsigned count) {
    return Draw(&Canvas::Lines, points, std::size_t{count} * 2);
}

bool CRasterCoreManager::DrawTriangles(Point2<float> const* points, unsigned count) {
    return Draw(&Canvas::Triangles, points, std::size_t{count} * 3);
}
bool CRasterCoreManager::DrawTriangles(Point3<float> const* points, unsigned count) {
    return Draw(&Canvas::Triangles, points, std::size_t{count} * 3);
}
bool CRasterCoreManager::DrawTriangles(C4UB_V3F_t const* points, unsigned count) {
    return Draw(&Canvas::Triangles, points, std::size_t{count} * 3);
}
bool CRasterCoreManager::DrawTriangles(T2F_V3F_t const* points, unsigned count) {
    Draw(&Canvas::Triangles, points, std::size_t{count} * 3);
    m_shown.Add(m_boundSource, points, count, 3, m_canvas.State());
    return true;
}
bool CRasterCoreManager::DrawTrianglesV3FN3F(Point3<float> const* points, unsigned count) {
    if (count > 0) {
        VertexArray array = ArrayOf(points, std::size_t{count} * 3);
        array.strideBytes = 2 * sizeof *points;
        array.normal = &points[1].x;
        ReadyCanvas().Triangles(array);
    }
    return true;
}

bool CRasterCoreManager::DrawQuads(Point2<float> const* points, unsigned count) {
    return Draw(&Canvas::Quads, points, std::size_t{count} * 4);
}
bool CRasterCoreManager::DrawQuads(Point3<float> const* points, unsigned count) {
    return Draw(&Canvas::Quads, points, std::size_t{count} * 4);
}
bool CRasterCoreManager::DrawQuads(C4UB_V3F_t const* points, unsigned count) {
    return Draw(&Canvas::Quads, points, std::size_t{count} * 4);
}
bool CRasterCoreManager::DrawQuads(T2F_V3F_t const* points, unsigned count) {
    Draw(&Canvas::Quads, points, std::size_t{count} * 4);
    m_shown.Add(m_boundSource, points, count, 4, m_canvas.State());
    AddPixelValues(points, count);
    return true;
}

void CRasterCoreManager::AddPixelValues(T2F_V3F_t const* quads, unsigned count) {
    SPImage const image = m_boundSource.lock();
    if (!m_collectsValues || !ShowsPixelValues() || !image) {
        return;
    }
    math::TMatrix<double, 3, 4> worldToPixel;
    GetWorldToPixelMatrix(worldToPixel);
    for (unsigned i = 0; i < count; ++i) {
        T2F_V3F_t const* const q = quads + std::size_t{i} * 4;
        m_values.Add(m_canvas, m_text, *image, {q[0], q[1], q[2], q[3]}, worldToPixel);
    }
    ReportTextTrouble();
}

Canvas const& CRasterCoreManager::ShownPicture() {
    if (m_values.Empty()) {
        return m_canvas;
    }
    if (m_pictureWithValues.Width() != m_canvas.Width() ||
        m_pictureWithValues.Height() != m_canvas.Height()) {
        m_pictureWithValues.Resize(m_canvas.Width(), m_canvas.Height());
    }
    auto const width = static_cast<std::size_t>(m_canvas.Width());
    for (int y = 0; y < m_canvas.Height(); ++y) {
        std::copy_n(m_canvas.Row(y), width, m_pictureWithValues.Row(y));
    }
    m_values.Write(m_pictureWithValues);
    return m_pictureWithValues;
}

bool CRasterCoreManager::SetColor(Colour colour) {
    m_canvas.State().colour = colour;
    return true;
}

bool CRasterCoreManager::SetColorEx(
    Colour ambientDiffuse, Colour specular, Colour emission, float shininess) {
    m_canvas.State().material = {specular, emission, shininess};
    return SetColor(ambientDiffuse);
}

bool CRasterCoreManager::EnableZBuffer(double zNear, double zFar) {
    m_canvas.State().depthTest = true;
    m_canvas.State().depthNear = zNear;
    m_canvas.State().depthFar = zFar;
    m_viewChanged = true;
    return CThreadedCoreManager::EnableZBuffer(zNear, zFar);
}

bool CRasterCoreManager::DisableZBuffer() {
    m_canvas.State().depthTest = false;
    return CThreadedCoreManager::DisableZBuffer();
}

CRasterCoreManager::PlacedLight* CRasterCoreManager::LightOf(int number) {
    auto const index = static_cast<std::size_t>(number);
    return number >= 0 && index < m_lights.size() ? &m_lights[index] : nullptr;
}

bool CRasterCoreManager::EnableLight(
    int number,
    Point3<float> const& position,
    Colour const& ambient,
    Colour const& diffuse,
    Colour const& specular) {
    PlacedLight* const place = LightOf(number);
    if (place == nullptr) {
        return false;
    }
    *place = {{true, position, ambient, diffuse, specular}, Translation()};
    m_viewChanged = true;
    return true;
}

bool CRasterCoreManager::DisableLight(int number) {
    PlacedLight* const place = LightOf(number);
    if (place == nullptr) {
        return false;
    }
    place->light.on = false;
    m_viewChanged = true;
    return true;
}

bool CRasterCoreManager::GetColor(Colour* colour) {
    *colour = m_canvas.State().colour;
    return true;
}

bool CRasterCoreManager::SetBlend(ui::win::_BlendType_t type) {
    m_canvas.State().blend = type == ui::win::BlendAlpha;
    return CThreadedCoreManager::SetBlend(type);
}

bool CRasterCoreManager::SetLineSmooth(bool smooth) {
    m_canvas.State().lineSmooth = smooth;
    return true;
}

bool CRasterCoreManager::SetLineWidth(float width) {
    m_canvas.State().lineWidth = width;
    return true;
}

bool CRasterCoreManager::SetPointSize(float size) {
    m_canvas.State().pointSize = size;
    return true;
}

void CRasterCoreManager::RunExtension(char const* name) {
    if (name == nullptr) {
        return;
    }
    if (std::strcmp(name, "soft-image") == 0) {
        m_canvas.State().bilinear = true;
    } else if (std::strcmp(name, "no-soft-image") == 0) {
        m_canvas.State().bilinear = Interpolates();
    }
}

bool CRasterCoreManager::SetFontSizeEx(double width, double height, bool world) {
    m_fontWidth = width;
    m_fontHeight = height;
    m_fontInWorld = world;
    return true;
}

TextStyle CRasterCoreManager::Style() const {
    TextStyle style;
    style.font = GetFontName();
    style.width = m_fontWidth;
    style.height = m_fontHeight;
    style.alignX = static_cast<TextAlignX>(HorizontalTextAlign());
    style.alignY = static_cast<TextAlignY>(VerticalTextAlign());
    return style;
}

/// @return false where the position is not seen: behind the camera, or not a number
bool CRasterCoreManager::PlaceText(Point3<double> const& position, TextPlace& place) {
    math::TMatrix<double, 3, 4> m;
    GetWorldToPixelMatrix(m);
    double p[3];
    for (int i = 0; i < 3; ++i) {
        p[i] = m(i, 0) * position.x + m(i, 1) * position.y + m(i, 2) * position.z + m(i, 3);
    }
    if (!(p[2] >= Canvas::NearDistance)) {
        return false;
    }
    place.distance = p[2];
    place.anchor = {p[0] / p[2], p[1] / p[2]};
    // Derivatives of X / W and Y / W by x and y.
    place.world.xx = (m(0, 0) - place.anchor.x * m(2, 0)) / p[2];
    place.world.xy = (m(0, 1) - place.anchor.x * m(2, 1)) / p[2];
    place.world.yx = (m(1, 0) - place.anchor.y * m(2, 0)) / p[2];
    place.world.yy = (m(1, 1) - place.anchor.y * m(2, 1)) / p[2];
    return std::isfinite(place.anchor.x) && std::isfinite(place.anchor.y);
}

bool CRasterCoreManager::DrawText(Point3<double> const& position, char const* text) {
    TextPlace place;
    if (PlaceText(position, place)) {
        Canvas& canvas = ReadyCanvas();
        if (!canvas.IsDrawnAt(place.distance)) {
            return true;
        }
        canvas.State().maskDistance = place.distance;
        TextTransform const transform = m_fontInWorld ? place.world : TextTransform();
        m_text.Draw(canvas, place.anchor, Style(), text, transform, canvas.Clip());
        ReportTextTrouble();
    }
    return true;
}

void CRasterCoreManager::ReportTextTrouble() {
    std::string const trouble = m_text.TakeWarning();
    if (!trouble.empty()) {
        kiv::Diagnose("[WW]", BOOST_CURRENT_FUNCTION, trouble);
    }
}

/// How many text units one unit of the view is at a position, across and down.
bool CRasterCoreManager::PixelsPerUnit(Point3<double> const& position, double& perX, double& perY) {
    perX = perY = 1;
    if (m_fontInWorld) {
        return true;
    }
    TextPlace place;
    if (!PlaceText(position, place)) {
        return false;
    }
    perX = std::hypot(place.world.xx, place.world.yx);
    perY = std::hypot(place.world.xy, place.world.yy);
    return std::isfinite(perX) && std::isfinite(perY) && perX > 0 && perY > 0;
}

bool CRasterCoreManager::GetTextSize(math::Rect2<double>& rectangle, char const* text) {
    double perX = 1;
    double perY = 1;
    if (!PixelsPerUnit({0, 0, 0}, perX, perY)) {
        return false;
    }
    TextPlace place;
    bool const scaled = m_fontInWorld && PlaceText({0, 0, 0}, place);
    math::Rect2<double> const box =
        m_text.Measure(Style(), text, scaled ? place.world : TextTransform());
    ReportTextTrouble();
    rectangle = {box.left / perX, box.top / perY, box.right / perX, box.bottom / perY};
    return true;
}

bool CRasterCoreManager::EllipseText(
    Point3<double> const& position,
    std::string& result,
    std::string const& text,
    std::string const& further,
    double width) {
    double perX = 1;
    double perY = 1;
    if (!PixelsPerUnit(position, perX, perY)) {
        result = text;
        return false;
    }
    double const room = width * perX - m_text.Measure(Style(), further).Width();
    result = m_text.Ellipsize(Style(), text, room);
    ReportTextTrouble();
    return true;
}

bool CRasterCoreManager::GetHighlightColor(Colour* colour) {
    *colour = Colour();
    return GetPixel(colour, PointerX(), PointerY());
}

bool CRasterCoreManager::GetImage(cimage::CImage& image) {
    EnsureFrame();
    auto const width = static_cast<unsigned>(m_canvas.Width());
    auto const height = static_cast<unsigned>(m_canvas.Height());
    if (auto* rgb = dynamic_cast<cimage::TImage<RGB>*>(&image)) {
        rgb->ResizeToOverwrite(width, height);
        m_canvas.CopyTo((*rgb)[0], rgb->Stride());
        return true;
    }
    cimage::TImage<RGBA> picture(width, height);
    m_canvas.CopyTo(picture[0], picture.Stride());
    cimage::Convert(picture, image);
    return true;
}

bool CRasterCoreManager::GetPixel(Colour* colour, int x, int y) {
    EnsureFrame();
    if (x < 0 || y < 0 || x >= m_canvas.Width() || y >= m_canvas.Height()) {
        return false;
    }
    *colour = m_canvas.Read(x, y);
    return true;
}

bool CRasterCoreManager::FindImage(int x, int y, SPImage& image, Point2<double>& texel) {
    EnsureFrame();
    bool const found = m_shown.Find(m_canvas, x, y, image, texel);
    m_viewChanged = true; // the search has set views of its own
    return found;
}

bool CRasterCoreManager::GetImageCounts(int x, int y, ui::win::ImageCounts& counts) {
    SPImage image;
    Point2<double> texel;
    return FindImage(x, y, image, texel) &&
           ReadCounts(
               *image,
               detail::NearestTexel(texel.x, static_cast<int>(image->Width())),
               detail::NearestTexel(texel.y, static_cast<int>(image->Height())),
               counts);
}

} // namespace drivers::raster
