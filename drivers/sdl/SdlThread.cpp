#include "drivers/sdl/SdlThread.h"

#include "kiv/Diagnostics.h"
#include "ui/win/Core_Registration.h"

#include <boost/current_function.hpp>
#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include <SDL2/SDL_syswm.h>

#ifdef QUARN_SDL_X11
#include <X11/Xlib.h>
#endif

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <mutex>

namespace drivers::sdl {

namespace {

// None of these is destroyed: windows that live until the process ends still use them.

/// Held by the thread while it has the display open: the next thread waits for the last to close.
std::mutex& DisplayMutex() {
    static auto* const mutex = new std::mutex;
    return *mutex;
}

/// SDL cannot be started again, nor be called, once its display was lost.
std::atomic<bool> g_displayIsLost{false};

#ifdef QUARN_SDL_X11
thread_local bool t_ownsDisplay = false;
XIOErrorHandler g_previousHandler = nullptr;

/// Xlib would end the process here, also after this returned. SDL must not go on either: it waits
/// for answers that will not come. Nothing calls SDL's video after this.
int OnX11ConnectionLost(Display* display) {
    if (t_ownsDisplay) {
        g_displayIsLost = true;
        throw DisplayLost();
    }
    return g_previousHandler == nullptr ? 0 : g_previousHandler(display);
}
#endif

void SetHints() {
    struct {
        char const* name;
        char const* value;
        SDL_HintPriority priority = SDL_HINT_DEFAULT;
    } const hints[] = {
        // The plain path to the window: the fastest without a GPU, and the one that keeps shapes.
        // Else SDL's textures, which are not as large as windows of scaled screens; ours are.
        {SDL_HINT_FRAMEBUFFER_ACCELERATION, "0", SDL_HINT_OVERRIDE},
        // The application's signals, screen saver and compositor are its own.
        {SDL_HINT_NO_SIGNAL_HANDLERS, "1"},
        {SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1"},
        {SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0"},
        {SDL_HINT_QUIT_ON_LAST_WINDOW_CLOSE, "0"},
        // The click that brings a window to the front counts.
        {SDL_HINT_MOUSE_FOCUS_CLICKTHROUGH, "1"},
    };
    for (auto const& hint : hints) {
        SDL_SetHintWithPriority(hint.name, hint.value, hint.priority);
    }
}

/// SDL's video drivers in its own order, without those that show nothing: SDL takes these when no
/// display answers, and the window would be invisible without a word.
std::string DriversWithADisplay() {
    std::string names;
    for (int i = 0; i < SDL_GetNumVideoDrivers(); ++i) {
        std::string const name = SDL_GetVideoDriver(i);
        bool const blind = name == "dummy" || name == "offscreen" || name == "evdev";
        // Its library complains on the terminal where there is no session.
        bool const noSession = name == "wayland" && std::getenv("XDG_RUNTIME_DIR") == nullptr;
        if (!blind && !noSession) {
            names += (names.empty() ? "" : ",") + name;
        }
    }
    return names;
}

int Milliseconds(boost::posix_time::time_duration timeout) {
    if (timeout.is_not_a_date_time()) {
        return -1;
    }
    auto const whole = (timeout.total_microseconds() + 999) / 1000;
    return static_cast<int>(std::clamp<std::int64_t>(whole, 0, std::numeric_limits<int>::max()));
}

} // namespace

void Check(bool succeeded, char const* call) {
    if (!succeeded) {
        throw std::runtime_error(std::string(call) + ": " + SDL_GetError());
    }
}

boost::shared_ptr<SdlThread> SdlThread::Shared() {
    static auto* const mutex = new boost::mutex;
    static auto* const shared = new boost::weak_ptr<SdlThread>;
    boost::lock_guard<boost::mutex> const lock(*mutex);
    boost::shared_ptr<SdlThread> thread = shared->lock();
    if (!thread) {
        thread = boost::make_shared<SdlThread>();
        *shared = thread;
    }
    return thread;
}

SdlThread::SdlThread() {
    if (pipe2(m_wakePipe, O_NONBLOCK | O_CLOEXEC) != 0) {
        throw std::runtime_error("The window thread cannot have a pipe");
    }
}

SdlThread::~SdlThread() {
    close(m_wakePipe[0]);
    close(m_wakePipe[1]);
}

void SdlThread::OpenDisplay() {
    if (g_displayIsLost) {
        throw ui::win::DriverUnavailable(DisplayLost().what());
    }
    if (m_open) {
        return;
    }
    DisplayMutex().lock();
    SetHints();
    if (SDL_GetHint(SDL_HINT_VIDEODRIVER) == nullptr) {
        SDL_SetHintWithPriority(
            SDL_HINT_VIDEODRIVER, DriversWithADisplay().c_str(), SDL_HINT_DEFAULT);
    }
    SDL_SetMainReady();
    if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
        std::string const reason = SDL_GetError();
        DisplayMutex().unlock();
        throw ui::win::DriverUnavailable(reason);
    }
#ifdef QUARN_SDL_X11
    t_ownsDisplay = true;
    XIOErrorHandler const previous = XSetIOErrorHandler(OnX11ConnectionLost);
    if (previous != OnX11ConnectionLost) {
        g_previousHandler = previous;
    }
#endif
    m_open = true;
    m_videoDriver = SDL_GetCurrentVideoDriver();
    m_wakesThroughSdl = m_videoDriver != "x11";
#ifndef QUARN_SDL_X11
    m_wakesThroughSdl = true;
#endif
}

void SdlThread::End() {
    if (m_open) {
        CloseDisplay();
    }
    // SDL keeps its last error for each thread, and only does this for threads of its own.
    SDL_TLSCleanup();
}

void SdlThread::CloseDisplay() {
    m_open = false;
    m_wakesThroughSdl = false;
    m_input.clear();
    // A lost display is left as it is: closing it would speak to it.
    if (ConnectionHolds()) {
        try {
            SDL_QuitSubSystem(SDL_INIT_VIDEO);
        } catch (DisplayLost const&) {
            ReportLoss();
        }
    }
    m_x11Display = nullptr;
    DisplayMutex().unlock();
}

void SdlThread::Add(SDL_Window* window) {
    m_input[SDL_GetWindowID(window)];
#ifdef QUARN_SDL_X11
    SDL_SysWMinfo info;
    SDL_VERSION(&info.version);
    if (SDL_GetWindowWMInfo(window, &info) == SDL_TRUE && info.subsystem == SDL_SYSWM_X11) {
        m_x11Display = info.info.x11.display;
    }
#endif
}

void SdlThread::Remove(SDL_Window* window) {
    m_input.erase(SDL_GetWindowID(window));
}

std::vector<SDL_Event> SdlThread::TakeInputOf(SDL_Window* window) {
    auto const queue = m_input.find(SDL_GetWindowID(window));
    return queue == m_input.end() ? std::vector<SDL_Event>() : std::exchange(queue->second, {});
}

void SdlThread::TakeInput() {
    char bytes[64];
    while (read(m_wakePipe[0], bytes, sizeof bytes) > 0) {
    }
    if (!m_open || !ConnectionHolds()) {
        return;
    }
    try {
        for (SDL_Event event; SDL_PollEvent(&event) != 0;) {
            // Every kind that is of use here has its window's number in the same place.
            auto const queue = m_input.find(event.window.windowID);
            bool const isOfAWindow =
                event.type == SDL_WINDOWEVENT || event.type == SDL_KEYDOWN ||
                event.type == SDL_KEYUP || event.type == SDL_TEXTINPUT ||
                event.type == SDL_MOUSEMOTION || event.type == SDL_MOUSEBUTTONDOWN ||
                event.type == SDL_MOUSEBUTTONUP || event.type == SDL_MOUSEWHEEL;
            if (isOfAWindow && queue != m_input.end()) {
                queue->second.push_back(event);
            }
        }
    } catch (DisplayLost const&) {
        ReportLoss();
    }
}

void SdlThread::Sleep(boost::posix_time::time_duration timeout) {
    int const milliseconds = Milliseconds(timeout);
    if (m_wakesThroughSdl) {
        SDL_WaitEventTimeout(nullptr, milliseconds);
    } else {
        SleepOnX11(milliseconds);
    }
}

void SdlThread::SleepOnX11(int milliseconds) {
    pollfd sources[2] = {{m_wakePipe[0], POLLIN, 0}, {-1, POLLIN, 0}};
#ifdef QUARN_SDL_X11
    if (m_x11Display != nullptr && !IsLost()) {
        auto* const display = static_cast<Display*>(m_x11Display);
        try {
            if (XEventsQueued(display, QueuedAfterFlush) > 0) {
                return; // read from the connection already: nothing would wake us for it
            }
        } catch (DisplayLost const&) {
            return; // TakeInput tells
        }
        sources[1].fd = ConnectionNumber(display);
    }
#endif
    poll(sources, 2, milliseconds);
}

/// Finds out that the X server has gone before Xlib does.
bool SdlThread::ConnectionHolds() {
#ifdef QUARN_SDL_X11
    if (m_x11Display != nullptr && !IsLost()) {
        pollfd connection = {ConnectionNumber(static_cast<Display*>(m_x11Display)), 0, 0};
        if (poll(&connection, 1, 0) > 0 && (connection.revents & (POLLHUP | POLLERR)) != 0) {
            g_displayIsLost = true;
        }
    }
#endif
    if (IsLost()) {
        ReportLoss();
    }
    return !IsLost();
}

void SdlThread::ReportLoss() {
    if (!m_lossReported) {
        m_lossReported = true;
        kiv::Diagnose(
            "[EE]",
            BOOST_CURRENT_FUNCTION,
            std::string(DisplayLost().what()) + "; its windows go on unseen");
    }
}

bool SdlThread::IsLost() {
    return g_displayIsLost;
}

void SdlThread::Wake() {
    char const byte = 0;
    // A full pipe wakes as well.
    [[maybe_unused]] ssize_t const written = write(m_wakePipe[1], &byte, 1);
    if (m_wakesThroughSdl) {
        SDL_Event event{};
        event.type = SDL_USEREVENT;
        SDL_PushEvent(&event);
    }
}

} // namespace drivers::sdl
