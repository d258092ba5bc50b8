#include "sdl/Screen.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <cstdlib>

namespace tests {

using ui::win::CWindow;

namespace {

RGB ToColour(unsigned long pixel) {
    return {
        static_cast<unsigned char>(pixel >> 16 & 255),
        static_cast<unsigned char>(pixel >> 8 & 255),
        static_cast<unsigned char>(pixel & 255)};
}

XWindowAttributes AttributesOf(Display* display, CWindow const& window) {
    XWindowAttributes attributes;
    XGetWindowAttributes(display, Screen::NumberOf(window), &attributes);
    return attributes;
}

} // namespace

Screen::Screen() : m_display(XOpenDisplay(nullptr)) {}

Screen::~Screen() {
    XCloseDisplay(m_display);
}

Screen::Number Screen::NumberOf(CWindow const& window) {
    std::string const connection = window.GetConnectionString(0);
    return std::strtoul(connection.substr(connection.rfind(':') + 1).c_str(), nullptr, 16);
}

Screen::Number Screen::Root() const {
    return DefaultRootWindow(m_display);
}

bool Screen::IsMapped(CWindow const& window) const {
    return AttributesOf(m_display, window).map_state == IsViewable;
}

std::pair<int, int> Screen::Size(CWindow const& window) const {
    XWindowAttributes const attributes = AttributesOf(m_display, window);
    return {attributes.width, attributes.height};
}

std::string Screen::Title(CWindow const& window) const {
    char* name = nullptr;
    XFetchName(m_display, NumberOf(window), &name);
    std::string title = name == nullptr ? "" : name;
    XFree(name);
    return title;
}

std::pair<int, int> Screen::Origin(CWindow const& window) const {
    int x = 0;
    int y = 0;
    Number child = 0;
    XTranslateCoordinates(m_display, NumberOf(window), Root(), 0, 0, &x, &y, &child);
    return {x, y};
}

RGB Screen::Pixel(Number number, int x, int y) const {
    XWindowAttributes all;
    XGetWindowAttributes(m_display, number, &all);
    if (x < 0 || y < 0 || x >= all.width || y >= all.height) {
        return {};
    }
    XImage* const image = XGetImage(m_display, number, x, y, 1, 1, AllPlanes, ZPixmap);
    RGB const pixel = ToColour(XGetPixel(image, 0, 0));
    XDestroyImage(image);
    return pixel;
}

int Screen::Differences(CWindow& window) const {
    auto const frame = window.GrabImage();
    auto const [width, height] = Size(window);
    unsigned const w = frame->Width();
    unsigned const h = frame->Height();
    if (w != static_cast<unsigned>(width) || h != static_cast<unsigned>(height)) {
        return -1;
    }
    XImage* const image = XGetImage(m_display, NumberOf(window), 0, 0, w, h, AllPlanes, ZPixmap);
    int differences = 0;
    for (unsigned y = 0; y < h; ++y) {
        for (unsigned x = 0; x < w; ++x) {
            unsigned long const shown = XGetPixel(image, static_cast<int>(x), static_cast<int>(y));
            differences += ToColour(shown) == (*frame)(x, y) ? 0 : 1;
        }
    }
    XDestroyImage(image);
    return differences;
}

int Screen::Find(cimage::TImage<RGB> const& picture, std::pair<int, int>& origin) const {
    auto const w = static_cast<int>(picture.Width());
    auto const h = static_cast<int>(picture.Height());
    XWindowAttributes all;
    XGetWindowAttributes(m_display, Root(), &all);
    auto const image = [&] {
        auto const width = static_cast<unsigned>(all.width);
        auto const height = static_cast<unsigned>(all.height);
        return XGetImage(m_display, Root(), 0, 0, width, height, AllPlanes, ZPixmap);
    }();
    auto const differences = [&](int left, int top, int rows) {
        int count = 0;
        for (int y = 0; y < rows; ++y) {
            for (int x = 0; x < w; ++x) {
                RGB const shown = ToColour(XGetPixel(image, left + x, top + y));
                count += shown == picture[static_cast<unsigned>(y)][x] ? 0 : 1;
            }
        }
        return count;
    };
    int least = w * h;
    for (int top = 0; top + h <= all.height; ++top) {
        for (int left = 0; left + w <= all.width; ++left) {
            bool const starts = ToColour(XGetPixel(image, left, top)) == picture[0][0];
            if (starts && differences(left, top, 1) < w / 2) {
                if (int const count = differences(left, top, h); count < least) {
                    least = count;
                    origin = {left, top};
                }
            }
        }
    }
    XDestroyImage(image);
    return least;
}

Screen::Number Screen::OpenForeignWindow() const {
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    Number const number = XCreateWindow(
        m_display,
        Root(),
        1180,
        924,
        90,
        90,
        0,
        CopyFromParent,
        InputOutput,
        CopyFromParent,
        CWOverrideRedirect,
        &attributes);
    XMapWindow(m_display, number);
    XSync(m_display, False);
    return number;
}

void Screen::HoldWindows() const {
    XSelectInput(m_display, Root(), SubstructureRedirectMask);
    XSync(m_display, False);
}

void Screen::Release(CWindow const& window) const {
    XSelectInput(m_display, Root(), NoEventMask);
    XMapWindow(m_display, NumberOf(window));
    XSync(m_display, False);
}

void Screen::PressCloseButton(CWindow const& window) const {
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = NumberOf(window);
    event.xclient.message_type = XInternAtom(m_display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(m_display, "WM_DELETE_WINDOW", False));
    XSendEvent(m_display, event.xclient.window, False, NoEventMask, &event);
    XFlush(m_display);
}

} // namespace tests
