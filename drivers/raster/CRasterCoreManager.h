#pragma once

#include "drivers/raster/Canvas.h"
#include "drivers/raster/CountMapping.h"
#include "drivers/raster/PixelValues.h"
#include "drivers/raster/ShownImages.h"
#include "drivers/raster/TextRenderer.h"
#include "drivers/support/CThreadedCoreManager.h"
#include "ui/win/image/CWindowImageConverter.h"

#include <array>
#include <string>
#include <unordered_map>
#include <vector>

namespace drivers::raster {

/// A backend that draws on the CPU: maps the operations of CWindowCore onto a Canvas. A driver adds
/// how the finished picture is shown.
///
/// A frame starts from fresh state: white, opaque, lines and points of one pixel, text of 12
/// pixels, no image bound. Images and textures keep their own colours whatever the current one is;
/// with blending on, its alpha counts. Textured vertices without a bound image take the current
/// colour.
class CRasterCoreManager : public support::CThreadedCoreManager {
public:
    CRasterCoreManager(
        ui::win::CreationParams const& params, boost::shared_ptr<support::RenderThread> thread);

    void SetViewPort(
        ui::win::ViewPortMode mode,
        ui::win::CWindowViewPort* viewPort,
        boost::shared_ptr<ui::win::CCamera> camera) override;
    /// Grey, RGB and RGBA of 8 bits are sampled where they lie; other types are converted, through
    /// the pool where it knows them, and all of one channel mapped where an image range or a colour
    /// map is set. That is done once a frame for each image, and once for all frames in a row for
    /// those that nobody can change (IsConstant()). @throws std::runtime_error for unknown types
    bool BindImage(SPImage const& image) override;

    bool DrawLine(double x0, double y0, double x1, double y1) override;
    bool DrawBox(double x0, double y0, double x1, double y1, bool filled) override;
    bool DrawEllipse(
        double x0, double y0, double x1, double y1, double start, double end, bool filled) override;
    bool DrawPixels(math::Point2<float> const* points, unsigned count) override;
    bool DrawPixels(math::Point3<float> const* points, unsigned count) override;
    bool DrawPixels(ui::win::C4UB_V3F_t const* points, unsigned count) override;
    bool DrawPixels(ui::win::T2F_V3F_t const* points, unsigned count) override;
    bool DrawPolyLine(math::Point2<float> const* points, unsigned count, bool closed) override;
    bool DrawPolyLine(math::Point3<float> const* points, unsigned count, bool closed) override;
    bool DrawLineStream(math::Point2<float> const* points, unsigned count) override;
    bool DrawLineStream(math::Point3<float> const* points, unsigned count) override;
    bool DrawLineStream(ui::win::C4UB_V3F_t const* points, unsigned count) override;
    bool DrawTriangles(math::Point2<float> const* points, unsigned count) override;
    bool DrawTriangles(math::Point3<float> const* points, unsigned count) override;
    bool DrawTriangles(ui::win::C4UB_V3F_t const* points, unsigned count) override;
    bool DrawTriangles(ui::win::T2F_V3F_t const* points, unsigned count) override;
    /// Lit where a light is on (nothing else is), seen from whichever side; drawn in the current
    /// colour otherwise.
    bool DrawTrianglesV3FN3F(math::Point3<float> const* points, unsigned count) override;
    bool DrawQuads(math::Point2<float> const* points, unsigned count) override;
    bool DrawQuads(math::Point3<float> const* points, unsigned count) override;
    bool DrawQuads(ui::win::C4UB_V3F_t const* points, unsigned count) override;
    bool DrawQuads(ui::win::T2F_V3F_t const* points, unsigned count) override;

    /// Sizes in world units turn and scale with the view; sizes in pixels stay upright.
    bool SetFontSizeEx(double width, double height, bool world) override;
    bool DrawText(math::Point3<double> const& position, char const* text) override;
    bool GetTextSize(math::Rect2<double>& rectangle, char const* text) override;
    /// `width` is in units of the view; `further` is measured, but not put into the result.
    bool EllipseText(
        math::Point3<double> const& position,
        std::string& result,
        std::string const& text,
        std::string const& further,
        double width) override;

    bool SetColor(Colour colour) override;
    /// The first colour becomes the current one; the others last until they are set again.
    bool
    SetColorEx(Colour ambientDiffuse, Colour specular, Colour emission, float shininess) override;
    bool GetColor(Colour* colour) override;
    /// Depths are kept for one camera in one rectangle of the window: drawing through another one
    /// begins anew there, so that a view laid over another is seen whole. What is nearer or
    /// farther than the two distances is cut off; a range that is none cuts nothing off. Views
    /// without perspective draw over everything.
    bool EnableZBuffer(double zNear, double zFar) override;
    bool DisableZBuffer() override;
    /// Light `number`, 0 to 7, at a point of the world; moves with the translation in force.
    /// @return false for another number
    bool EnableLight(
        int number,
        math::Point3<float> const& position,
        Colour const& ambient,
        Colour const& diffuse,
        Colour const& specular) override;
    bool DisableLight(int number) override;
    /// The pixel under the pointer in the last picture.
    /// @return false, with a colour of zeros, while the pointer is outside the window
    bool GetHighlightColor(Colour* colour) override;
    bool SetTranslation(double dx, double dy, bool relative) override;
    bool SetBlend(ui::win::_BlendType_t type) override;
    bool SetLineSmooth(bool smooth) override;
    bool SetLineWidth(float width) override;
    bool SetPointSize(float size) override;
    /// "soft-image": images drawn from now on are interpolated; "no-soft-image": as the window
    /// does by default.
    void RunExtension(char const* name) override;
    /// Of any pixel type; the image takes the window's size.
    bool GetImage(cimage::CImage& image) override;
    /// A pixel of the last picture. @return false, changing nothing, outside of it
    bool GetPixel(Colour* colour, int x, int y) override;
    bool GetImageCounts(int x, int y, ui::win::ImageCounts& counts) override;
    /// The topmost image of the last picture at window pixel (x, y), or of the present one so far
    /// while it is being drawn. ReadCounts() tells what it stores there or elsewhere.
    /// @param texel position in the image at the pixel's centre; whole numbers are the edges of its
    ///              pixels, and those beyond its own edges belong to the nearest of its pixels
    /// @return false, changing nothing, where no image is
    bool FindImage(int x, int y, SPImage& image, math::Point2<double>& texel);

protected:
    void BeginFrame() override;
    void FinishFrame() override;
    /// The finished picture, as it is grabbed and dumped.
    Canvas const& Picture() const { return m_canvas; }
    /// The same for Present(), with the values of magnified pixels while they are switched on.
    Canvas const& ShownPicture();
    /// For the constructor of a driver that shows pictures to people.
    void CollectPixelValues() { m_collectsValues = true; }

private:
    static constexpr double kDefaultFontSize = 12;

    /// What was made of an image.
    struct Converted {
        boost::weak_ptr<cimage::CImage const>
            source; // tells the image from later ones in its place
        ui::win::ImageRange range;
        ui::win::ColorMap map;
        SPImage image;
        Texture texture;
        bool used; // in this frame
    };
    struct TextPlace;
    /// Where a light was put, the translation of then not yet added.
    struct PlacedLight {
        Light light;
        math::Point2<double> translation;
    };

    Canvas& ReadyCanvas();
    void BeginDepths();
    PlacedLight* LightOf(int number);
    Converted* FindConverted(SPImage const& image);
    void ForgetImages();
    void SetTexture(SPImage const& image, Texture::Format format);
    void AddPixelValues(ui::win::T2F_V3F_t const* quads, unsigned count);
    template <class V>
    bool Draw(void (Canvas::*operation)(VertexArray const&), V const* vertices, std::size_t count);
    bool PlaceText(math::Point3<double> const& position, TextPlace& place);
    bool PixelsPerUnit(math::Point3<double> const& position, double& perX, double& perY);
    TextStyle Style() const;
    void ReportTextTrouble();

    Canvas m_canvas;
    TextRenderer m_text;
    ui::win::BindImageFunctions m_bind;
    bool m_viewChanged = true; // the canvas has not been told of the view and lights in force
    std::array<PlacedLight, DrawState::Lights> m_lights;
    void const* m_depthCamera = nullptr; // whose depths the canvas keeps, and where
    math::Rect2<int> m_depthArea;
    double m_fontWidth = kDefaultFontSize;
    double m_fontHeight = kDefaultFontSize;
    bool m_fontInWorld = false;
    SPImage m_boundImage; // keeps the texture of the canvas alive
    boost::weak_ptr<cimage::CImage const> m_boundSource;
    std::unordered_multimap<cimage::CImage const*, Converted> m_converted; // by the source
    CountMapping m_mapping;
    ShownImages m_shown;
    PixelValues m_values;
    Canvas m_pictureWithValues;
    bool m_collectsValues = false;
};

} // namespace drivers::raster
