#pragma once

#include "cimage/CImage.h"
#include "cimage/PixelTypes.h"
#include "math/Point2.h"
#include "math/Point3.h"
#include "math/Rect2.h"
#include "math/TMatrix.h"
#include "ui/win/CWindowViewPort.h"
#include "ui/win/DrawingTypes.h"
#include "ui/win/WindowState.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/property_tree/ptree_fwd.hpp>
#include <boost/shared_ptr.hpp>

#include <sys/time.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ui::win {

class CCamera;

/// The drawing interface through which every CWidget renders, and the state that all backends
/// share.
///
/// The base draws nothing: each drawing operation answers false, so that a backend overrides
/// exactly what its graphics system can do and a drawable can tell whether it was drawn. Owned
/// and called by one thread, the one that executes commands and draws.
///
/// Coordinates of drawing calls are world coordinates of the view in force (SetViewPort); y grows
/// downwards in planar views. Colours are not premultiplied. Angles are radians. Images and
/// arrays are borrowed for the call.
class CWindowCore {
public:
    using Colour = cimage::TRGBA<unsigned char>;
    using SPImage = boost::shared_ptr<cimage::CImage const>;

    /// A one-shot timer: when `due` has passed, the driver delivers an EventPositionless whose
    /// key is `id`, and forgets the timer.
    struct windowtimer {
        int id;
        timeval due;
    };

    CWindowCore();
    virtual ~CWindowCore();
    CWindowCore(CWindowCore const&) = delete;
    CWindowCore& operator=(CWindowCore const&) = delete;

    /// Changes the view: a non-zero mode, a non-null view port (copied) and a non-empty camera
    /// each replace what is in force; the others leave it in place.
    virtual void
    SetViewPort(ViewPortMode mode, CWindowViewPort* viewPort, boost::shared_ptr<CCamera> camera);

    /// Makes the image the texture of later textured vertices.
    virtual bool BindImage(SPImage const& image);
    /// Binds the image and draws it as one textured quad on four corners, in the order top right,
    /// top left, bottom left, bottom right of the image. @return true, drawn or not
    virtual bool DrawImage(math::Point3<float> const* corners, SPImage const& image);
    /// Binds the image and stretches it over p0 (its top left) to p1. @return true, drawn or not
    virtual bool
    DrawImage(math::Point2<float> const& p0, math::Point2<float> const& p1, SPImage const& image);

    virtual bool DrawLine(double x0, double y0, double x1, double y1);
    virtual bool DrawBox(double x0, double y0, double x1, double y1, bool filled);
    /// The part from angle `start` to `end` of the ellipse in the bounding box; an angle a lies at
    /// centre + (rx cos a, ry sin a). Filled slices are pies.
    virtual bool
    DrawEllipse(double x0, double y0, double x1, double y1, double start, double end, bool filled);

    virtual bool DrawPixels(math::Point2<float> const* points, unsigned count);
    virtual bool DrawPixels(math::Point3<float> const* points, unsigned count);
    virtual bool DrawPixels(C4UB_V3F_t const* points, unsigned count);
    virtual bool DrawPixels(T2F_V3F_t const* points, unsigned count);

    virtual bool DrawPolyLine(math::Point2<float> const* points, unsigned count, bool closed);
    virtual bool DrawPolyLine(math::Point3<float> const* points, unsigned count, bool closed);

    /// `count` separate segments of two vertices each.
    virtual bool DrawLineStream(math::Point2<float> const* points, unsigned count);
    virtual bool DrawLineStream(math::Point3<float> const* points, unsigned count);
    virtual bool DrawLineStream(C4UB_V3F_t const* points, unsigned count);

    /// `count` separate triangles of three vertices each.
    virtual bool DrawTriangles(math::Point2<float> const* points, unsigned count);
    virtual bool DrawTriangles(math::Point3<float> const* points, unsigned count);
    virtual bool DrawTriangles(C4UB_V3F_t const* points, unsigned count);
    virtual bool DrawTriangles(T2F_V3F_t const* points, unsigned count);
    /// `count` triangles whose vertices are six floats: position, then normal.
    virtual bool DrawTrianglesV3FN3F(math::Point3<float> const* points, unsigned count);

    /// `count` separate quads of four vertices each, in order around the quad.
    virtual bool DrawQuads(math::Point2<float> const* points, unsigned count);
    virtual bool DrawQuads(math::Point3<float> const* points, unsigned count);
    virtual bool DrawQuads(C4UB_V3F_t const* points, unsigned count);
    virtual bool DrawQuads(T2F_V3F_t const* points, unsigned count);

    /// Chooses the font family of later texts.
    virtual void SetFontName(char const* name);
    /// Size of later texts: em width and height, in window pixels, or in world units when
    /// `world`. @return true
    virtual bool SetFontSizeEx(double width, double height, bool world);
    /// Draws UTF-8 text at a position of the view, aligned as SetTextAlign says.
    virtual bool DrawText(math::Point3<double> const& position, char const* text);
    /// The rectangle that DrawText would cover at the origin, in units of the current view.
    virtual bool GetTextSize(math::Rect2<double>& rectangle, char const* text);
    /// Shortens a text so that, with `further` after it, it fits the given width. The base copies
    /// the text unchanged and answers false.
    virtual bool EllipseText(
        math::Point3<double> const& position,
        std::string& result,
        std::string const& text,
        std::string const& further,
        double width);

    virtual bool SetColor(Colour colour);
    /// Material of lit surfaces; the base passes the first colour to SetColor.
    virtual bool
    SetColorEx(Colour ambientDiffuse, Colour specular, Colour emission, float shininess);
    /// Copies the drawing colour out.
    virtual bool GetColor(Colour* colour);

    /// Turns the depth buffer on for distances zNear .. zFar (world units) from the camera.
    virtual bool EnableZBuffer(double zNear, double zFar);
    virtual bool DisableZBuffer();
    /// Copies the colour under the mouse pointer out.
    virtual bool GetHighlightColor(Colour* colour);

    /// Shifts what is drawn later by (dx, dy) world units: added to the shift in force when
    /// `relative`, in its place otherwise. @return true
    virtual bool SetTranslation(double dx, double dy, bool relative);
    virtual bool SetBlend(_BlendType_t type);
    virtual bool EnableLight(
        int number,
        math::Point3<float> const& position,
        Colour const& ambient,
        Colour const& diffuse,
        Colour const& specular);
    virtual bool DisableLight(int number);
    virtual bool SetLineSmooth(bool smooth);
    /// Width of later lines in window pixels.
    virtual bool SetLineWidth(float width);
    /// Edge of the square that a later point covers, in window pixels.
    virtual bool SetPointSize(float size);
    /// Driver-specific requests by name; unknown ones are ignored.
    virtual void RunExtension(char const* name);
    /// Reads the last finished frame back into an image of the window's size.
    /// @return false when no frame can be read back
    virtual bool GetImage(cimage::CImage& image);

    /// Metadata of the image drawn last, borrowed from that image; null when there is none.
    virtual boost::property_tree::ptree const* getLastDrawnImageMetadata();
    virtual void setLastDrawnImageMetadata(boost::property_tree::ptree const* metadata);

    /// Shows the counts of one-channel images bound later between a low and a high one. The images
    /// are not changed. @return true
    virtual bool SetImageRange(ImageRange const& range);
    /// Shows one-channel images bound later in the colours of a map. @return true
    virtual bool SetColorMap(ColorMap map);
    /// Copies out what the topmost image of the last picture stores where it covers window pixel
    /// (x, y). @return false, changing nothing, where no image is
    virtual bool GetImageCounts(int x, int y, ImageCounts& counts);

    std::string const& GetFontName() const { return m_fontName; }
    void SetTheme(Theme const& theme) { m_theme = theme; }
    Theme const& GetTheme() const { return m_theme; }
    void SetTextAlign(_TextAlign_t horizontal, _TextAlign_t vertical);
    _TextAlign_t HorizontalTextAlign() const { return m_horizontalAlign; }
    _TextAlign_t VerticalTextAlign() const { return m_verticalAlign; }

    /// Adds a timer or moves the one of the same id to another time of day.
    void AddAbsoluteTimer(int id, timeval const& due);
    void ReleaseTimer(int id);
    std::vector<windowtimer> const& Timers() const { return m_timers; }

    /// True when the point lies on the visible side of the camera's plane.
    bool IsPointInFront(math::Point3<float> const& world);
    /// Where a point drawn now lands in the window, in pixels; for T = int the pixel that holds it.
    /// Points that have no place (behind the camera, not numbers) give NaN, or INT_MIN.
    template <class T>
    math::Point2<T> WindowToScreen(math::Point3<float> const& world);
    /// The same for `count` points at once, which asks the camera only once.
    template <class T>
    void
    WindowToScreen(math::Point3<float> const* world, std::size_t count, math::Point2<T>* screen);

    /// World to normalised device coordinates as the camera tells; without one, as the mode does.
    void GetProjectionMatrix(math::TMatrix<double, 3, 4>& matrix);
    /// Device coordinates to the world rectangle of the camera at rest (unzoomed, unpanned).
    void GetRestInverseUVWMatrix(math::TMatrix<double, 3, 4>& matrix);
    /// World to normalised device coordinates of the view in force, whatever its mode.
    void GetViewMatrix(math::TMatrix<double, 3, 4>& matrix);
    /// World to homogeneous window pixels (x right, y down, w in front) of the view in force,
    /// with the translation applied.
    void GetWorldToPixelMatrix(math::TMatrix<double, 3, 4>& matrix);
    /// The window pixels that the view in force covers; right and bottom lie just outside.
    math::Rect2<int> PixelRectangle();

    ViewPortMode GetViewPortMode() const { return m_viewPortMode; }
    CWindowViewPort const& GetViewPort() const { return m_viewPort; }
    boost::shared_ptr<CCamera> const& GetCamera() const { return m_camera; }
    _BlendType_t GetBlend() const { return m_blend; }
    ImageRange const& GetImageRange() const { return m_imageRange; }
    ColorMap GetColorMap() const { return m_colorMap; }
    math::Point2<double> const& Translation() const { return m_translation; }
    double DepthNear() const { return m_depthNear; }
    double DepthFar() const { return m_depthFar; }

    std::string const& Title() const { return m_title; }
    /// Present client size in pixels.
    std::uint32_t Width() const { return m_width; }
    std::uint32_t Height() const { return m_height; }
    /// Size that was asked for; cameras keep its proportions when the window has others.
    std::uint32_t ContentWidth() const { return m_requestedWidth; }
    std::uint32_t ContentHeight() const { return m_requestedHeight; }
    std::int32_t X() const { return m_x; }
    std::int32_t Y() const { return m_y; }
    /// WindowState bits.
    std::uint32_t Flags() const { return m_flags; }
    std::string const& CustomStatus() const { return m_customStatus; }

    /// Seconds that the last frame took to draw.
    float DrawTime() const { return m_drawTime; }
    /// Smoothed seconds from frame to frame.
    float FrameInterval() const { return m_frameInterval; }
    std::uint64_t DrawCount() const { return m_drawCount; }
    std::uint64_t ReplaceCount() const { return m_replaceCount; }
    std::int64_t DumpCount() const { return m_dumpCount; }
    /// Drawables of the last drawing pass.
    std::uint32_t DrawQueueLength() const { return m_drawQueueLength; }

protected:
    /// Puts the state that this class keeps of view, text and blending back to what a fresh core
    /// has, with the given camera in the camera mode.
    void ResetDrawingState(boost::shared_ptr<CCamera> const& camera);

    std::string m_title;
    std::uint32_t m_width = 0;
    std::uint32_t m_height = 0;
    std::uint32_t m_requestedWidth = 0;
    std::uint32_t m_requestedHeight = 0;
    std::int32_t m_x = 0;
    std::int32_t m_y = 0;
    std::uint32_t m_flags = 0;
    std::string m_customStatus;
    float m_drawTime = 0;
    float m_frameInterval = 0;
    std::uint64_t m_drawCount = 0;
    std::uint64_t m_replaceCount = 0;
    std::int64_t m_dumpCount = 0;
    std::uint32_t m_drawQueueLength = 0;
    boost::posix_time::ptime m_lastPostTime{boost::posix_time::not_a_date_time};
    boost::posix_time::ptime m_preTime{boost::posix_time::not_a_date_time};

private:
    double m_depthNear = 0;
    double m_depthFar = 0;
    _BlendType_t m_blend = BlendOpaque;
    ImageRange m_imageRange;
    ColorMap m_colorMap = ColorMapOff;
    std::string m_fontName;
    Theme m_theme;
    _TextAlign_t m_horizontalAlign = AlignLeft;
    _TextAlign_t m_verticalAlign = AlignTop;
    math::Point2<double> m_translation;
    ViewPortMode m_viewPortMode = ViewPortKeep;
    CWindowViewPort m_viewPort;
    boost::shared_ptr<CCamera> m_camera;
    boost::property_tree::ptree const* m_lastImageMetadata = nullptr;
    std::vector<windowtimer> m_timers;
};

extern template math::Point2<double>
CWindowCore::WindowToScreen<double>(math::Point3<float> const&);
extern template math::Point2<float> CWindowCore::WindowToScreen<float>(math::Point3<float> const&);
extern template math::Point2<int> CWindowCore::WindowToScreen<int>(math::Point3<float> const&);
extern template void
CWindowCore::WindowToScreen(math::Point3<float> const*, std::size_t, math::Point2<double>*);
extern template void
CWindowCore::WindowToScreen(math::Point3<float> const*, std::size_t, math::Point2<float>*);
extern template void
CWindowCore::WindowToScreen(math::Point3<float> const*, std::size_t, math::Point2<int>*);

} // namespace ui::win
