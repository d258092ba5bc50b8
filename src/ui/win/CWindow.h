#pragma once

#include "cimage/CImage.h"
#include "cimage/TImage.h"
#include "math/Point2.h"
#include "math/Point3.h"
#include "math/Rect2.h"
#include "ui/win/CDrawerList.h"
#include "ui/win/CWindowCommand.h"
#include "ui/win/CWindowCoreManager.h"
#include "ui/win/CreationParams.h"
#include "ui/win/DrawingTypes.h"
#include "ui/win/Event.h"
#include "ui/win/ScreenGeometry.h"
#include "ui/win/image/XImgProc.h"

#include <boost/function.hpp>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include <cstddef>
#include <deque>
#include <string>
#include <utility>
#include <vector>

namespace ui::win {

class CCamera;
class CWndQuery;

/// One window of an application: layers of retained drawables, shown by one or more backends.
///
///     ui::win::CWindow window("Camera", 640, 480, ui::win::StateVisible);
///     window.DrawImage(image);
///     window.Refresh(true);
///
/// Drawing calls append one immutable object to the current layer; nothing is shown until
/// Refresh() hands copies of the layers to the backends. What was drawn stays until it is cleared.
/// Belongs to one application thread and has no lock of its own; the layers are never seen by
/// another thread. Queries and Refresh(true) block until a backend answers and must not be called
/// on a backend's own thread (in a drawable, a plugin or a callback).
///
/// `index` arguments choose a backend by its place in the driver list, -1 means all of them; they
/// are not checked unless a call says so.
class CWindow : public CDrawerList {
public:
    using Colour = cimage::TRGBA<unsigned char>;
    using SPImage = boost::shared_ptr<cimage::CImage const>;

    /// @name Creation (each throws std::runtime_error for a size of 0 or an unknown driver)
    /// @{

    /// @param x,y          screen position in pixels @param width,height client size in pixels
    /// @param windowState  WindowState bits
    CWindow(
        std::string const& title, int x, int y, unsigned width, unsigned height, int windowState);
    /// The driver chooses the position.
    CWindow(std::string const& title, unsigned width, unsigned height, int windowState);
    explicit CWindow(CreationParams const& params);
    ~CWindow();
    CWindow(CWindow const&) = delete;
    CWindow& operator=(CWindow const&) = delete;

    /// Replaces all backends by those of the parameters' driver list (or of the default one).
    /// Layers stay; layer 0 gets a camera over the window's pixels. A failing driver leaves those
    /// before it in place. @return true
    bool ResetWindow(CreationParams const& params);
    /// Adds a backend. @return its index
    int AllocateNewBackend(std::string const& driver, CreationParams const& params);
    bool RemoveAllBackend();
    /// @}

    /// @name Settings of the process, to be made before the first window
    /// @{

    /// Default driver list: names separated by commas, not trimmed. "None" at first. "Auto" takes
    /// "SDL" where a display answers, else "Offscreen", and says so in a line.
    static void setDriver(std::string const& drivers);
    static std::string getDriver();
    /// Configuration of all windows, not owned. Takes the driver list from "GUI DRIVER", or "None";
    /// the environment variable QUARN_DRIVER, when set, wins over both.
    static bool setINIFile(kiv::ini::INIFile* ini);
    /// Directories of dumped files and of resources; not to be changed while a Dump() is under way.
    /// @return the previous one
    static std::string setOutputPath(std::string const& path);
    static std::string setResourcePath(std::string const& path);
    /// @}

    /// @name Backends
    /// @{

    /// @return index of the first backend created under that name, or -1
    int GetCoreID(std::string const& driver) const;
    /// -1 joins the backends' strings by commas.
    std::string GetConnectionString(int index) const;
    std::size_t BackendCount() const { return m_backends.size(); }
    /// @return true when every chosen backend accepted; all are tried. True without backends.
    bool SendCommand(SPCommand const& command, int index);
    /// Takes ownership.
    bool SendCommand(CWindowCommand* command, int index);
    /// Delivers an event as if the window system had reported it; does not wait.
    bool InjectEvent(Event const& event, int index = 0);
    /// @}

    /// @name Plugins
    /// @{

    /// Inserts one object into every backend, enabled. With several backends their threads share
    /// it: such a plugin must guard what it changes. @return true
    bool InsertPlugin(boost::shared_ptr<CWidget> const& widget);
    /// Creates a registered plugin by name in every backend. @return true
    bool AllocatePlugin(std::string const& name);
    void EnableKeyboardHandle(bool enable);
    /// @}

    /// @name Events
    /// @{

    /// Kinds of events (CWindowEvents_ID bits) that are queued for the application; none at first.
    bool SetEventMask(unsigned mask, int index = -1);
    /// Blocks until the backend has an event and moves its events to this window's queue; an
    /// interruption point. @return false when the backend ended
    bool WaitForEvent(int index = 0);
    /// Moves what is there without blocking.
    bool FlushEvent(int index = 0);
    /// Takes the first event of this window's queue. @return false when there is none
    bool GetNextEvent(Event& event);
    /// Has finished frames delivered to the slot, on the thread that drew them, as RGB images.
    /// @throws std::out_of_range for an index without backend
    void Subscribe_RefreshComplete(CWindowCoreManager::ExposeSlot const& slot, int index = -1);
    /// @}

    /// @name View of the current layer (each returns true)
    /// @{
    bool SetViewportMode(ViewPortMode mode);
    bool SetViewport(CWindowViewPort const& viewPort);
    bool SetCamera(boost::shared_ptr<CCamera> const& camera);
    /// A CCamera2D over the world rectangle: left, top, right, bottom.
    bool SetVirtualView(double x0, double y0, double x1, double y1);
    bool SetVirtualView(unsigned width, unsigned height);
    /// @}

    /// @name Layers (CWindow_Layers.cpp; naming a layer creates it; true unless said otherwise)
    /// @{
    CWindowLayer& Layer(int id);
    /// @return the layer that was current before
    int SetLayer(int id);
    int GetLayer() const { return m_currentLayer; }
    bool EnableLayer(int id, bool enable);
    /// Protects a layer's content from clearing. @return false when it is locked already
    bool LockLayer(int id);
    bool UnLockLayer(int id);
    bool IsLayerLocked(int id);
    bool ClearLayer(int id);
    /// Clears the current layer.
    bool Clear();
    /// Removes every layer, locked ones too, with their views. The argument is ignored.
    bool ClearAllLayers(int index = -1);
    /// Appends a new drawable to the current layer and takes ownership.
    bool push(CWidget* drawable);
    bool push(SPDrawingObject drawable) { return CurrentLayer().Push(std::move(drawable)); }
    /// @}

    /// Hands copies of the layers to every backend. @param wait blocks until they were shown, by
    /// the first one to finish where there are several
    /// @return whether every backend accepted
    bool Refresh(bool wait = false);
    unsigned RefreshCount() const { return m_refreshCount; }

    /// @name Window properties (CWindow_Commands.cpp; setters do not wait, queries do)
    /// @{
    bool SetBackgroundColor(Colour const& colour, int index = -1);
    bool SetDecoration(bool decorated, int index = -1);
    bool SetVisibility(bool visible);
    bool SetPosition(int x, int y);
    bool SetSize(unsigned width, unsigned height);
    bool SetFullScreenMode(bool fullScreen);
    bool SetTitle(std::string const& title);
    bool SetCustomStatusBar(std::string const& text);
    /// Writes the backend's frame below the output path.
    bool Dump(std::string const& name, int index = -1);

    bool GetTitle(std::string& title);
    bool GetPosition(int& x, int& y);
    bool GetSize(unsigned& width, unsigned& height);
    bool IsFullScreen();
    /// The argument's value means nothing.
    bool IsVisible(bool visible = false);
    bool GetScreenGeometry(ScreenGeometry& geometry);
    bool GetColorUnderMouse(Colour* colour, int index = 0);
    /// What the topmost image stores where it is shown at window pixel (x, y).
    /// @return false where no image is, or when the backend cannot tell
    bool GetImageCounts(int x, int y, ImageCounts& counts, int index = 0);
    /// The backend's present frame. @throws std::runtime_error when the command cannot be sent
    boost::shared_ptr<CImageRGB> GrabImage(int index = 0);
    bool IsIconic() const { return false; }
    /// @}

    /// @name Regions
    /// @{

    /// Not implemented: says so and returns false.
    bool SetRegionAction(
        double x0, double y0, double x1, double y1, CWindowEvents_ID kind, unsigned action);
    /// Calls back, on the backend's thread, for events of the kind in the world rectangle, its
    /// edges included, and consumes them. Plugins, higher layers, the layer's camera and drawables
    /// pushed before are asked first: layer 0's camera takes presses of the left and middle button.
    bool SetRegionCallback(
        double x0,
        double y0,
        double x1,
        double y1,
        CWindowEvents_ID kind,
        boost::function<void()> const& callback);
    /// @}

    /// @name Shapes and text (CWindow_Drawing.cpp; coordinates in the layer's view; all true)
    /// @{
    bool DrawLine(double x0, double y0, double x1, double y1);
    /// T = int, float, double.
    template <class T>
    bool DrawLine(math::Point2<T> const& p0, math::Point2<T> const& p1);
    template <class T>
    bool DrawLine(math::Point3<T> const& p0, math::Point3<T> const& p1);
    bool DrawBox(double x0, double y0, double x1, double y1, bool filled);
    bool DrawRectangle(double x0, double y0, double x1, double y1);
    bool DrawCross(double x, double y, double size);
    /// An arrow from (x0, y0) to (x1, y1) with a head of the given length.
    bool DrawVector(double x0, double y0, double x1, double y1, double head);
    bool DrawEllipse(double x0, double y0, double x1, double y1, bool filled);
    bool DrawCircle(double cx, double cy, double r, bool filled);
    /// Angles in radians from the x axis towards the y axis.
    bool DrawSlicedEllipse(
        double x0, double y0, double x1, double y1, double start, double end, bool filled);
    bool DrawSlicedCircle(double cx, double cy, double r, double start, double end, bool filled);
    bool DrawPolygon(math::Point2<float> const* points, unsigned count, bool closed);
    bool DrawPolygon(math::Point3<float> const* points, unsigned count, bool closed);
    bool DrawPolygon(std::vector<math::Point2<float>> const& points, bool closed);
    bool DrawPolygon(std::vector<math::Point3<float>> const& points, bool closed);

    /// The forms with a leading underscore take the caller's vector, which is left empty.
    template <class V>
    bool _DrawPolygon(std::vector<V>& points, bool closed);
    template <class V>
    bool _DrawPixels(std::vector<V>& points);
    template <class V>
    bool _DrawPixel(V const& point);
    template <class V>
    bool _DrawLines(std::vector<V>& points);
    template <class V>
    bool _DrawTriangles(std::vector<V>& points);
    template <class V>
    bool _DrawQuads(std::vector<V>& points);

    bool DrawText(double x, double y, std::string const& text);
    bool DrawText(double x, double y, double z, std::string const& text);
    /// As printf; texts of any length. @return false, and nothing is drawn, for arguments that
    /// cannot be written (a wide string that the locale has no bytes for)
    bool DrawTextf(double x, double y, char const* format, ...)
        __attribute__((format(printf, 4, 5)));
    bool DrawShadowText(double x, double y, std::string const& text);
    /// @}

    /// @name State of what is drawn after it in the same refresh (CWindow_Drawing.cpp; all true)
    /// @{
    bool SetColor(Colour const& colour);
    bool SetFontName(char const* name);
    /// Em size in window pixels, or in world units.
    bool SetFontSize(double size, bool world);
    bool SetFontSizeEx(double width, double height, bool world);
    bool SetTextAlign(_TextAlign_t horizontal, _TextAlign_t vertical);
    bool SetLineWidth(double width);
    bool SetPointSize(double size);
    bool SetLineSmoothing(bool smooth); ///< edges of shapes too, but not under the depth test
    bool SetBlend(_BlendType_t type);
    bool EnableLight(
        int number,
        math::Point3<double> const& position,
        Colour const& ambient,
        Colour const& diffuse,
        Colour const& specular);
    bool DisableLight(int number);
    bool Translate(double dx, double dy, bool relative);
    bool SetTheme(Theme const& theme);
    bool EnableZBuffer(double zNear, double zFar);
    bool DisableZBuffer();
    /// The counts of one-channel images (grey and mosaics of any depth) that are shown darkest and
    /// brightest. Images are not changed by it, and GetImageCounts() tells what they store.
    bool SetImageRange(double low, double high);
    /// The same with percentiles (0..100) of each image's own counts.
    bool SetAutoImageRange(double lowPercentile = 0.5, double highPercentile = 99.5);
    /// Back to the whole range of the pixel type.
    bool ResetImageRange();
    /// The colours that one-channel images are shown in.
    bool SetColorMap(ColorMap map);
    /// @}

    /// @name Images (CWindow_Images.cpp; all true)
    /// Images passed by reference are copied; those passed by shared pointer are shared, and what
    /// the application changes in them shows at the next redraw. (x, y) is the top left corner.
    /// Without a place the image fills the camera's view at rest.
    /// @{
    bool DrawImage(cimage::CImage const& image);
    bool DrawImage(SPImage const& image);
    bool DrawImage(double x, double y, cimage::CImage const& image);
    bool DrawImage(double x, double y, SPImage const& image);
    bool DrawImage(double x, double y, double w, double h, cimage::CImage const& image);
    bool DrawImage(double x, double y, double w, double h, SPImage const& image);
    /// P = unsigned char, TRGB<unsigned char>, TRGBA<unsigned char>; rows tightly packed.
    template <class P>
    bool DrawImage(P const* pixels, unsigned width, unsigned height);
    template <class P>
    bool DrawImage(double x, double y, P const* pixels, unsigned width, unsigned height);
    template <class P>
    bool DrawImage(
        double x, double y, double w, double h, P const* pixels, unsigned width, unsigned height);
    /// The part of the image inside the clip rectangle (image pixels, half-open), itself cut to the
    /// image. Nothing is drawn when nothing is left. P = unsigned char, TRGB<unsigned char>.
    template <class P>
    bool DrawClippedImage(
        double x,
        double y,
        double w,
        double h,
        P const* pixels,
        unsigned width,
        unsigned height,
        math::Rect2<int> const& clip);
    template <class P>
    bool DrawClippedImage(
        double x,
        double y,
        double w,
        double h,
        cimage::TImage<P> const& image,
        math::Rect2<int> const& clip);

    /// Four corners: top right, top left, bottom left, bottom right of the image.
    /// T = float, double.
    template <class T>
    bool DrawImage(math::Point3<T> const* corners, cimage::CImage const& image);
    template <class T>
    bool DrawImage(math::Point3<T> const* corners, SPImage const& image);
    /// P = unsigned char, TRGB<unsigned char>.
    template <class P, class T>
    bool
    DrawImage(math::Point3<T> const* corners, P const* pixels, unsigned width, unsigned height);
    /// @param stride bytes from row to row
    template <class P, class T>
    bool DrawImage(
        math::Point3<T> const* corners,
        P const* pixels,
        long stride,
        unsigned width,
        unsigned height);

    /// Makes the image the texture of later textured vertices.
    bool BindImage(cimage::CImage const& image);
    bool BindImage(SPImage const& image);

    /// @throws std::runtime_error with the path and the reason when the file cannot be read
    bool DrawImageFile(std::string const& path, float x, float y, float w, float h);
    /// I = TImage<TRGB<unsigned char>>, X = XColorKey.
    template <class I, class X>
    bool
    DrawXImageFile(std::string const& path, float x, float y, float w, float h, X const& option);
    /// Draws what the option makes of the image (XImgProc.h tells the combinations).
    template <class I, class X>
    bool DrawXImage(double x, double y, double w, double h, I const& image, X const& option);
    /// @}

private:
    CWindowLayer& CurrentLayer() {
        // Nearly always the first one, which takes no search; drawing calls come by the million.
        auto const first = Layers().begin();
        return first != Layers().end() && first->first == m_currentLayer ? first->second
                                                                         : Layers()[m_currentLayer];
    }
    /// The backends that an index means.
    std::pair<std::size_t, std::size_t> Range(int index) const;
    template <class Drawable, class... Arguments>
    bool Emplace(Arguments&&... arguments) {
        return push(boost::make_shared<Drawable>(std::forward<Arguments>(arguments)...));
    }
    /// Sends a query and waits for its answer; a failure is reported under the caller's signature.
    bool Ask(boost::shared_ptr<CWndQuery> const& query, int index, char const* signature);

    int m_currentLayer = 0;
    std::vector<boost::shared_ptr<CWindowCoreManager>> m_backends;
    unsigned m_refreshCount = 0;
    std::deque<Event> m_events;

    static std::string g_driver;
};

} // namespace ui::win
