#include "drivers/sdl/CSdlCore.h"

#include "drivers/sdl/Keyboard.h"
#include "ui/win/Core_Registration.h"

#include <SDL2/SDL_syswm.h>

#ifdef QUARN_SDL_X11
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#endif

#include <poll.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace drivers::sdl {

using namespace ui::win;

namespace {

Core_Registration<CSdlCore> const registrar("SDL");

constexpr double minScaleStep = 0.1; // more than whole units make of one scale
constexpr Uint32 mappingTime = 500;  // milliseconds that windows take to appear, or will much later
constexpr Uint32 placingTime = 500;  // milliseconds that window managers take for a new window

/// A size of the given proportions that keeps the edge which was changed more.
std::pair<int, int> WithAspect(
    std::pair<int, int> size,
    std::pair<int, int> before,
    std::uint32_t width,
    std::uint32_t height) {
    auto const [w, h] = size;
    double const ratio = static_cast<double>(width) / height;
    int const widthOfH = std::max(1, static_cast<int>(std::lround(h * ratio)));
    int const heightOfW = std::max(1, static_cast<int>(std::lround(w / ratio)));
    if (w == widthOfH || h == heightOfW) {
        return size; // as near as whole pixels come
    }
    bool const byWidth = std::abs(w - before.first) * ratio >= std::abs(h - before.second);
    return byWidth ? std::pair(w, heightOfW) : std::pair(widthOfH, h);
}

#ifdef QUARN_SDL_X11
/// @return false for a window of another video driver
bool GetX11(SDL_Window* window, Display*& display, ::Window& number) {
    SDL_SysWMinfo info;
    SDL_VERSION(&info.version);
    if (SDL_GetWindowWMInfo(window, &info) != SDL_TRUE || info.subsystem != SDL_SYSWM_X11) {
        return false;
    }
    display = info.info.x11.display;
    number = info.info.x11.window;
    return true;
}
#endif

/// Whether somebody manages windows: SDL leaves full screens to them, and thinks that it was done.
bool HasWindowManager(SDL_Window* window) {
#ifdef QUARN_SDL_X11
    Display* display = nullptr;
    ::Window number = 0;
    if (GetX11(window, display, number)) {
        Atom const mark = XInternAtom(display, "_NET_SUPPORTING_WM_CHECK", False);
        int count = 0;
        Atom* const marks = XListProperties(display, DefaultRootWindow(display), &count);
        bool const found = std::find(marks, marks + count, mark) != marks + count;
        XFree(marks);
        return found;
    }
#else
    static_cast<void>(window);
#endif
    return true;
}

/// Has the window appear. SDL by itself would wait for ever for a window manager that holds it
/// back; then it learns of the window when it comes.
void Show(SDL_Window* window) {
#ifdef QUARN_SDL_X11
    Display* display = nullptr;
    ::Window number = 0;
    XWindowAttributes attributes{};
    if (GetX11(window, display, number) &&
        XGetWindowAttributes(display, number, &attributes) != 0 &&
        attributes.map_state == IsUnmapped) {
        XMapRaised(display, number);
        XEvent event;
        Uint32 const end = SDL_GetTicks() + mappingTime;
        while (XCheckTypedWindowEvent(display, number, MapNotify, &event) == False) {
            if (SDL_TICKS_PASSED(SDL_GetTicks(), end)) {
                return;
            }
            pollfd connection = {ConnectionNumber(display), POLLIN, 0};
            poll(&connection, 1, 1);
        }
    }
#endif
    SDL_ShowWindow(window);
}

std::string ConnectionString(std::string const& videoDriver, SDL_Window* window) {
    std::string connection = "sdl:" + videoDriver;
#ifdef QUARN_SDL_X11
    Display* display = nullptr;
    ::Window number = 0;
    if (GetX11(window, display, number)) {
        char text[32];
        std::snprintf(text, sizeof text, ":0x%lx", number);
        connection += text;
    }
#else
    static_cast<void>(window);
#endif
    return connection;
}

} // namespace

CSdlCore::CSdlCore(CreationParams const& params) : CRasterCoreManager(params, SdlThread::Shared()) {
    CollectPixelValues();
    m_display = boost::static_pointer_cast<SdlThread>(Thread());
    CallOnThread([this] {
        m_display->OpenDisplay();
        OpenWindow();
    });
}

CSdlCore::~CSdlCore() {
    CallOnThread([this] { CloseWindow(); });
    Shutdown();
}

std::string CSdlCore::GetConnectionString() const {
    boost::lock_guard<boost::mutex> const lock(m_connectionLock);
    return m_connection;
}

void CSdlCore::OpenWindow() {
    bool const placed = X() != -1 || Y() != -1;
    auto const undefined = static_cast<int>(SDL_WINDOWPOS_UNDEFINED);
    // Shown at the end only: SDL must know of everything that the window manager is told once.
    Uint32 const flags = SDL_WINDOW_HIDDEN | SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI |
                         ((Flags() & StateUndecorated) != 0 ? Uint32{SDL_WINDOW_BORDERLESS} : 0U);
    int const width = static_cast<int>(Width());
    int const height = static_cast<int>(Height());
    bool const shaped = !m_shape.mask.empty();
    if (shaped) {
        m_window = SDL_CreateShapedWindow(
            Title().c_str(), 0, 0, Width(), Height(), flags & ~SDL_WINDOW_RESIZABLE);
    } else {
        m_window = SDL_CreateWindow(
            Title().c_str(),
            placed ? X() : undefined,
            placed ? Y() : undefined,
            width,
            height,
            flags);
    }
    Check(m_window != nullptr, "SDL_CreateWindow");
    m_display->Add(m_window);
    {
        boost::lock_guard<boost::mutex> const lock(m_connectionLock);
        m_connection = ConnectionString(m_display->VideoDriver(), m_window);
    }
    SDL_SetWindowSize(m_window, ToUnits(Width()), ToUnits(Height()));
    m_surface.Attach(m_window);
    if (shaped) {
        ApplyShape();
        SDL_SetWindowPosition(m_window, placed ? X() : 0, placed ? Y() : 0);
    }
    HintAspect();
    SDL_StartTextInput();
    m_surfaceIsNew = true;
    m_fillsScreen = false;
    m_pixelsPerUnit = PixelsPerUnit();
    AdoptSize(); // what whole units make of it
    if ((Flags() & StateFullScreen) != 0) {
        SetFullScreenMode(true);
    }
    if ((Flags() & StateVisible) != 0) {
        SetVisibility(true);
    }
}

void CSdlCore::CloseWindow() {
    SDL_Window* const window = std::exchange(m_window, nullptr);
    if (window != nullptr && !SdlThread::IsLost()) {
        m_display->Remove(window);
        m_surface.Detach();
        SDL_DestroyWindow(window);
    }
}

bool CSdlCore::IsOpen() const {
    return m_window != nullptr && !SdlThread::IsLost();
}

bool CSdlCore::IsShown() const {
    return IsOpen() && (Flags() & StateVisible) != 0;
}

/// Whether the size is the user's to choose at the moment.
bool CSdlCore::IsFreelySized() const {
    Uint32 const bound = SDL_WINDOW_FULLSCREEN | SDL_WINDOW_MAXIMIZED;
    return m_shape.mask.empty() && !m_fillsScreen && (SDL_GetWindowFlags(m_window) & bound) == 0;
}

double CSdlCore::PixelsPerUnit() const {
    int pixels = 0;
    int units = 0;
    SDL_GetWindowSizeInPixels(m_window, &pixels, nullptr);
    SDL_GetWindowSize(m_window, &units, nullptr);
    return pixels > 0 && units > 0 ? static_cast<double>(pixels) / units : 1.0;
}

int CSdlCore::ToUnits(std::uint32_t pixels) const {
    return std::max(1, static_cast<int>(std::lround(pixels / PixelsPerUnit())));
}

/// The window has another size than before, whoever chose it.
void CSdlCore::AdoptSize() {
    int width = 0;
    int height = 0;
    SDL_GetWindowSizeInPixels(m_window, &width, &height);
    m_surfaceIsNew = true;
    if (width != static_cast<int>(Width()) || height != static_cast<int>(Height())) {
        CRasterCoreManager::ResizeWindow(
            static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height));
        if (!m_shape.mask.empty()) {
            ApplyShape();
        }
        Refresh(false);
    }
}

bool CSdlCore::SetTitle(std::string const& title) {
    if (IsOpen()) {
        SDL_SetWindowTitle(m_window, title.c_str());
    }
    return CRasterCoreManager::SetTitle(title);
}

bool CSdlCore::SetPosition(int x, int y) {
    m_windowed.x = x;
    m_windowed.y = y;
    m_placeAgainUntil = 0;
    if (IsOpen() && !m_fillsScreen) {
        SDL_SetWindowPosition(m_window, x, y);
    }
    return CRasterCoreManager::SetPosition(x, y);
}

bool CSdlCore::SetSize(int width, int height) {
    if (!CRasterCoreManager::SetSize(width, height)) {
        return false;
    }
    if (IsOpen()) {
        HintAspect();
        AdoptSize(); // of a full screen, or what the window manager made of it
        Refresh(false);
    }
    return true;
}

bool CSdlCore::ResizeWindow(std::uint32_t width, std::uint32_t height) {
    if (!CRasterCoreManager::ResizeWindow(width, height)) {
        return false;
    }
    if (IsOpen()) {
        m_windowed.w = ToUnits(width);
        m_windowed.h = ToUnits(height);
        if (!m_fillsScreen) {
            SDL_SetWindowSize(m_window, m_windowed.w, m_windowed.h);
        }
        AdoptSize();
        if (!m_shape.mask.empty()) {
            ApplyShape();
        }
    }
    return true;
}

bool CSdlCore::SetBackgroundColor(Colour colour) {
    return CRasterCoreManager::SetBackgroundColor(colour) && Refresh(false);
}

bool CSdlCore::SetCustomStatusBar(std::string const& text) {
    return CRasterCoreManager::SetCustomStatusBar(text) && Refresh(false);
}

bool CSdlCore::SetFullScreenMode(bool fullScreen) {
    CRasterCoreManager::SetFullScreenMode(fullScreen);
    if (!IsOpen()) {
        return true;
    }
    if (HasWindowManager(m_window)) {
        Check(
            SDL_SetWindowFullscreen(
                m_window, fullScreen ? Uint32{SDL_WINDOW_FULLSCREEN_DESKTOP} : 0U) == 0,
            "SDL_SetWindowFullscreen");
    } else if (fullScreen != m_fillsScreen) {
        FillScreen(fullScreen);
    }
    AdoptSize();
    return true;
}

/// Full screen where nobody manages windows.
void CSdlCore::FillScreen(bool fill) {
    m_fillsScreen = fill;
    SDL_Rect place = m_windowed;
    if (fill) {
        SDL_GetWindowPosition(m_window, &m_windowed.x, &m_windowed.y);
        SDL_GetWindowSize(m_window, &m_windowed.w, &m_windowed.h);
        SDL_GetDisplayBounds(std::max(0, SDL_GetWindowDisplayIndex(m_window)), &place);
    }
    SDL_SetWindowPosition(m_window, place.x, place.y);
    SDL_SetWindowSize(m_window, place.w, place.h);
}

bool CSdlCore::SetVisibility(bool visible) {
    CRasterCoreManager::SetVisibility(visible);
    if (!IsOpen()) {
        return true;
    }
    if (!visible) {
        ReleaseButtons();
        SDL_HideWindow(m_window);
        return true;
    }
    bool const placed = X() != -1 || Y() != -1;
    bool const managed = placed && HasWindowManager(m_window);
    m_placeAgainUntil = managed ? SDL_GetTicks() + placingTime : 0;
    if (!placed && !m_fillsScreen) {
        // SDL has centred it, which holds for the size that it was made with.
        int const centred = static_cast<int>(SDL_WINDOWPOS_CENTERED);
        SDL_SetWindowPosition(m_window, centred, centred);
    }
    Show(m_window);
    m_surfaceIsNew = true;
    Refresh(false);
    return true;
}

bool CSdlCore::SetDecoration(bool decorated) {
    if (IsOpen()) {
        SDL_SetWindowBordered(m_window, decorated ? SDL_TRUE : SDL_FALSE);
    }
    return CRasterCoreManager::SetDecoration(decorated);
}

void CSdlCore::ToggleState(std::uint32_t bits) {
    CRasterCoreManager::ToggleState(bits);
    if (IsOpen() && (bits & StateFreeAspect) != 0) {
        HintAspect();
        KeepAspect();
    }
}

bool CSdlCore::GetScreenGeometry(ScreenGeometry* geometry) {
    *geometry = ScreenGeometry();
    if (!IsOpen()) {
        return false;
    }
    int const display = std::max(0, SDL_GetWindowDisplayIndex(m_window));
    SDL_Rect bounds;
    if (SDL_GetDisplayBounds(display, &bounds) != 0) {
        return false;
    }
    double const scale = PixelsPerUnit();
    geometry->width = static_cast<std::uint32_t>(std::lround(bounds.w * scale));
    geometry->height = static_cast<std::uint32_t>(std::lround(bounds.h * scale));
    float dpi = 0;
    if (SDL_GetDisplayDPI(display, &dpi, nullptr, nullptr) == 0) {
        geometry->dpi = static_cast<std::uint32_t>(std::lround(dpi));
    }
    return true;
}

bool CSdlCore::SetWindowShape(unsigned char const* mask, unsigned stride, unsigned height) {
    if (IsOpen() && !m_display->HasShapes()) {
        return false;
    }
    bool const wasShaped = !m_shape.mask.empty();
    m_shape = Shape();
    if (mask != nullptr && stride > 0 && height > 0) {
        m_shape.mask.assign(mask, mask + std::size_t{stride} / 8 * height);
        m_shape.stride = stride;
        m_shape.height = height;
    }
    if (!IsOpen()) {
        return false;
    }
    if (wasShaped && !m_shape.mask.empty()) {
        ApplyShape();
    } else if (wasShaped || !m_shape.mask.empty()) {
        // SDL shapes only windows that were made for it.
        ReleaseButtons();
        CloseWindow();
        OpenWindow();
    }
    Refresh(false);
    return true;
}

/// Cuts the window to the mask, pixel by pixel; what lies beyond the mask does not belong to it.
void CSdlCore::ApplyShape() {
    int const width = static_cast<int>(Width());
    int const height = static_cast<int>(Height());
    SDL_Surface* const surface =
        SDL_CreateRGBSurfaceWithFormat(0, width, height, 32, SDL_PIXELFORMAT_ARGB8888);
    Check(surface != nullptr, "SDL_CreateRGBSurfaceWithFormat");
    SDL_FillRect(surface, nullptr, 0);
    for (unsigned y = 0; y < std::min(m_shape.height, Height()); ++y) {
        unsigned char const* const bits = m_shape.mask.data() + std::size_t{m_shape.stride} / 8 * y;
        auto* const row = reinterpret_cast<Uint32*>(
            static_cast<unsigned char*>(surface->pixels) +
            std::size_t{y} * static_cast<unsigned>(surface->pitch));
        for (unsigned x = 0; x < std::min(m_shape.stride, Width()); ++x) {
            row[x] = (bits[x / 8] >> (x % 8) & 1U) != 0 ? 0xFF000000U : 0U;
        }
    }
    SDL_WindowShapeMode mode;
    mode.mode = ShapeModeBinarizeAlpha;
    mode.parameters.binarizationCutoff = 1;
    int const result = SDL_SetWindowShape(m_window, surface, &mode);
    SDL_FreeSurface(surface);
    Check(result == 0, "SDL_SetWindowShape");
}

/// Tells the window manager, so that the frame keeps its proportions while it is dragged.
void CSdlCore::HintAspect() {
#ifdef QUARN_SDL_X11
    Display* display = nullptr;
    ::Window number = 0;
    XSizeHints hints;
    long supplied = 0;
    if (!m_shape.mask.empty() || !GetX11(m_window, display, number) ||
        XGetWMNormalHints(display, number, &hints, &supplied) == 0) {
        return;
    }
    bool const free = (Flags() & StateFreeAspect) != 0;
    hints.flags = free ? hints.flags & ~PAspect : hints.flags | PAspect;
    hints.min_aspect.x = hints.max_aspect.x = static_cast<int>(ContentWidth());
    hints.min_aspect.y = hints.max_aspect.y = static_cast<int>(ContentHeight());
    XSetWMNormalHints(display, number, &hints);
#endif
}

/// Keeps the size of a window that has come to a screen of another scale.
void CSdlCore::KeepPixels() {
    double const scale = PixelsPerUnit();
    bool const another = std::abs(scale - std::exchange(m_pixelsPerUnit, scale)) > minScaleStep;
    if (another && IsFreelySized()) {
        ResizeWindow(Width(), Height());
    } else if (another) {
        AdoptSize();
    }
}

/// Corrects a size that the user chose; once, for a window manager may insist on its own.
void CSdlCore::KeepAspect() {
    int width = 0;
    int height = 0;
    SDL_GetWindowSizeInPixels(m_window, &width, &height);
    std::pair const size(width, height);
    std::pair const before(static_cast<int>(Width()), static_cast<int>(Height()));
    std::pair const wanted = WithAspect(size, before, ContentWidth(), ContentHeight());
    bool const locked = (Flags() & StateFreeAspect) == 0;
    if (locked && IsFreelySized() && wanted != size && size != m_refusedSize) {
        m_refusedSize = size;
        SDL_SetWindowSize(
            m_window,
            ToUnits(static_cast<std::uint32_t>(wanted.first)),
            ToUnits(static_cast<std::uint32_t>(wanted.second)));
    }
    AdoptSize();
}

/// Puts the whole picture on the screen again without drawing it anew.
void CSdlCore::ShowAgain() {
    m_surfaceIsNew = true;
    EnsureFrame();
    if (m_surfaceIsNew) {
        Present();
    }
}

void CSdlCore::Present() {
    if (!IsShown()) {
        return;
    }
    m_surface.Show(ShownPicture(), std::exchange(m_surfaceIsNew, false));
}

void CSdlCore::TakeInput() {
    if (m_window != nullptr && SdlThread::IsLost()) {
        m_window = nullptr;
        ReleaseButtons();
        Tell(EventWindow, WindowDisplayLost);
    }
    if (m_window == nullptr) {
        return;
    }
    for (SDL_Event const& event : m_display->TakeInputOf(m_window)) {
        if (IsOpen()) { // what receives an event may close the window
            Handle(event);
        }
    }
}

void CSdlCore::Handle(SDL_Event const& event) {
    switch (event.type) {
    case SDL_WINDOWEVENT:
        HandleWindow(event.window);
        break;
    case SDL_KEYDOWN:
    case SDL_KEYUP:
        HandleKey(event.key);
        break;
    case SDL_TEXTINPUT:
        if ((m_modifiers & StateCtrl) == 0) { // then the key has told
            for (char32_t const character : Characters(event.text.text)) {
                Tell(EventKey, character);
            }
        }
        break;
    case SDL_MOUSEMOTION:
        DeliverPointer(EventMotion, 0, event.motion.x, event.motion.y);
        break;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
        HandleButton(event.button);
        break;
    case SDL_MOUSEWHEEL:
        HandleWheel(event.wheel);
        break;
    default:
        break;
    }
}

void CSdlCore::HandleWindow(SDL_WindowEvent const& event) {
    switch (event.event) {
    case SDL_WINDOWEVENT_SHOWN:
        if (!IsShown()) {
            SDL_HideWindow(m_window); // it comes too late
        }
        break;
    case SDL_WINDOWEVENT_EXPOSED:
        ShowAgain();
        break;
    case SDL_WINDOWEVENT_MOVED:
        HandleMove(event.data1, event.data2);
        break;
    case SDL_WINDOWEVENT_RESIZED:
        KeepAspect();
        Tell(EventWindow, WindowResized);
        break;
    case SDL_WINDOWEVENT_SIZE_CHANGED:
        m_surfaceIsNew = true;
        KeepPixels();
        break;
    case SDL_WINDOWEVENT_CLOSE:
        SetVisibility(false);
        Tell(EventWindow, WindowClosed);
        break;
    case SDL_WINDOWEVENT_FOCUS_GAINED:
        Tell(EventWindow, WindowFocusGained);
        break;
    case SDL_WINDOWEVENT_FOCUS_LOST:
        ReleaseButtons();
        m_modifiers = 0;
        Tell(EventWindow, WindowFocusLost);
        break;
    case SDL_WINDOWEVENT_LEAVE:
        if (m_held == 0) {
            Tell(EventWindow, WindowPointerLeft);
        }
        break;
    default:
        break;
    }
}

void CSdlCore::HandleMove(int x, int y) {
    if ((Flags() & StateFullScreen) != 0) {
        return;
    }
    if (SDL_GetTicks() < std::exchange(m_placeAgainUntil, 0)) {
        // The window manager has put the frame where the picture was to be.
        SDL_SetWindowPosition(m_window, X(), Y());
    } else {
        CRasterCoreManager::SetPosition(x, y);
    }
}

void CSdlCore::HandleKey(SDL_KeyboardEvent const& key) {
    m_modifiers = ModifierBits(key.keysym.mod);
    if (key.type == SDL_KEYDOWN) {
        if (std::uint32_t const code = KeyCode(key.keysym)) {
            Tell(EventKey, code);
        }
    }
}

void CSdlCore::HandleButton(SDL_MouseButtonEvent const& button) {
    std::uint32_t code = 0;
    switch (button.button) {
    case SDL_BUTTON_LEFT:
        code = ButtonLeft;
        break;
    case SDL_BUTTON_RIGHT:
        code = ButtonRight;
        break;
    case SDL_BUTTON_MIDDLE:
        code = ButtonMiddle;
        break;
    case SDL_BUTTON_X1:
        code = ButtonBack;
        break;
    case SDL_BUTTON_X2:
        code = ButtonForward;
        break;
    default:
        return;
    }
    if (button.type == SDL_MOUSEBUTTONDOWN) {
        if (SDL_GetKeyboardFocus() != m_window) {
            SDL_SetWindowInputFocus(m_window); // where no window manager does
        }
        m_held |= code;
        DeliverPointer(EventPress, code, button.x, button.y);
    } else if ((m_held & code) != 0) {
        DeliverPointer(EventRelease, code, button.x, button.y);
    }
}

void CSdlCore::HandleWheel(SDL_MouseWheelEvent const& wheel) {
    int const steps = wheel.direction == SDL_MOUSEWHEEL_FLIPPED ? -wheel.y : wheel.y;
    for (int i = 0; i < std::abs(steps); ++i) {
        DeliverPointer(
            EventPress, steps > 0 ? WheelForward : WheelBack, wheel.mouseX, wheel.mouseY);
    }
}

/// Ends what the held buttons began: their releases will be told to somebody else, or to nobody.
void CSdlCore::ReleaseButtons() {
    for (std::uint32_t const code :
         {ButtonLeft, ButtonRight, ButtonMiddle, ButtonBack, ButtonForward}) {
        if ((m_held & code) != 0) {
            DeliverPointer(EventRelease, code, m_lastX, m_lastY);
        }
    }
}

void CSdlCore::Tell(std::uint32_t type, std::uint32_t key) {
    Event event;
    event.type = type;
    event.key = key;
    event.state = m_modifiers | m_held;
    event.screenX = PointerX();
    event.screenY = PointerY();
    OnEvent(event);
}

/// @param x,y where SDL saw the pointer; outside only while a button is held
void CSdlCore::DeliverPointer(std::uint32_t type, std::uint32_t button, double x, double y) {
    double const scale = IsOpen() ? PixelsPerUnit() : 1.0;
    m_lastX = x;
    m_lastY = y;
    Event event;
    event.type = type;
    event.button = button;
    event.screenX = static_cast<int>(std::floor(x * scale));
    event.screenY = static_cast<int>(std::floor(y * scale));
    if (m_held != 0) {
        // Layers take events strictly inside of them: what began in one ends in it.
        event.screenX = std::clamp(event.screenX, 1, std::max(1, static_cast<int>(Width()) - 1));
        event.screenY = std::clamp(event.screenY, 1, std::max(1, static_cast<int>(Height()) - 1));
    }
    if (type == EventRelease) {
        m_held &= ~button;
    }
    event.state = m_modifiers | m_held;
    OnEvent(event);
}

} // namespace drivers::sdl
