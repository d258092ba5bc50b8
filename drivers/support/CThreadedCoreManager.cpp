#include "drivers/support/CThreadedCoreManager.h"

#include "kiv/Diagnostics.h"
#include "kiv/ini/INIFile.h"
#include "ui/win/CWindowCommands.h"
#include "ui/win/camera/CWindowCamera.h"

#include <boost/current_function.hpp>
#include <boost/make_shared.hpp>

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

namespace drivers::support {

using boost::posix_time::time_duration;
using ui::win::CWndCommand_Call;
using ui::win::Event;
using ui::win::SPCommand;

namespace {

using Lock = boost::lock_guard<boost::mutex>;

constexpr std::int64_t maxEdge = 32767;
constexpr std::int64_t maxArea = std::int64_t{1} << 28; // a gigabyte of pixels

} // namespace

CThreadedCoreManager::CThreadedCoreManager(
    ui::win::CreationParams const& params, boost::shared_ptr<RenderThread> thread)
    : CWindowCoreManager(params), m_thread(std::move(thread)), m_defaultCamera(params.camera) {
    // Qualified: what the driver can show at most is known here already.
    if (!CThreadedCoreManager::CanShow(params.width, params.height)) {
        throw std::runtime_error(
            "Cannot create a window of " + std::to_string(params.width) + "x" +
            std::to_string(params.height) + " pixels: " + params.title);
    }
    if (m_ini != nullptr) {
        boost::lock_guard<boost::recursive_mutex> const lock(m_iniLock);
        m_ini->Lookup("PIXEL VALUES", m_pixelValues);
    }
}

CThreadedCoreManager::~CThreadedCoreManager() {
    // Only a driver whose constructor threw comes here without Shutdown(), and without commands.
    if (!m_shutDown) {
        m_thread->Retire(this);
    }
}

bool CThreadedCoreManager::CanShow(std::int64_t width, std::int64_t height) const {
    return width > 0 && height > 0 && width <= maxEdge && height <= maxEdge &&
           width * height <= maxArea;
}

template <class Action>
void CThreadedCoreManager::Guard(char const* what, Action const& action) {
    try {
        action();
    } catch (std::exception const& error) {
        kiv::Diagnose(
            "[EE]",
            BOOST_CURRENT_FUNCTION,
            std::string(what) + " of window '" + Title() + "' failed: " + error.what());
    } catch (...) {
        kiv::Diagnose(
            "[EE]",
            BOOST_CURRENT_FUNCTION,
            std::string(what) + " of window '" + Title() + "' failed");
    }
}

bool CThreadedCoreManager::OnOwnThread() const {
    {
        Lock const lock(m_stateLock);
        if (m_shutDown) {
            return true; // only the destroying thread is left
        }
    }
    return m_thread->IsCurrent();
}

bool CThreadedCoreManager::PushCommand(SPCommand const& command) {
    // Not locked: this thread must not become the window's last owner.
    boost::weak_ptr<CWindowCoreManager> const self = weak_from_this();
    if (self.expired()) {
        return false; // going away, or not yet shared with a window
    }
    Lock const lock(m_stateLock);
    if (m_refusing) {
        return false;
    }
    m_thread->Post(this, boost::weak_ptr<RenderClient>(self, this), command);
    return true;
}

bool CThreadedCoreManager::Refresh(bool wait) {
    if (OnOwnThread()) {
        m_stale = true;
        m_refreshRequested = true;
        if (wait && !m_drawing) {
            DrawFrame();
        }
        return true;
    }
    auto const command = boost::make_shared<CWndCommand_Call>(
        [wait](CWindowCoreManager* manager) { manager->Refresh(wait); });
    if (!PushCommand(command)) {
        return false;
    }
    if (wait) {
        command->Suspend();
    }
    return true;
}

void CThreadedCoreManager::CallOnThread(boost::function<void()> const& function) {
    m_thread->Call(this, function);
}

void CThreadedCoreManager::Drain() {
    m_thread->Rest(this);
}

void CThreadedCoreManager::Quit() {
    {
        Lock const lock(m_stateLock);
        m_refusing = true;
    }
    CloseEventQueue();
}

void CThreadedCoreManager::Shutdown() {
    boost::this_thread::disable_interruption const uninterrupted;
    EndRefreshers();
    {
        Lock const lock(m_stateLock);
        if (m_shutDown) {
            return;
        }
        m_refusing = true;
    }
    std::vector<SPCommand> const left = m_thread->Retire(this);
    {
        Lock const lock(m_stateLock);
        m_shutDown = true;
    }
    // What an application asked for before it let go of the window is still done.
    for (SPCommand const& command : left) {
        Serve(command);
    }
    FinishBatch();
    CloseEventQueue();
    if (OnDestroyCallback()) {
        Guard("On-destroy callback", [this] { OnDestroyCallback()(this); });
    }
}

void CThreadedCoreManager::Serve(SPCommand const& command) {
    std::uint64_t const replacedBefore = ReplaceCount();
    Guard("Command", [&] { command->Execute(this); });
    if (ReplaceCount() != replacedBefore) {
        m_stale = true;
        m_layersNewer = true;
        m_refreshRequested = true;
        m_refreshes.push_back(command);
    } else {
        command->Complete();
    }
}

time_duration CThreadedCoreManager::FinishBatch() {
    Guard("Input", [this] { TakeInput(); });
    FireTimers();
    if (m_refreshRequested) {
        DrawFrame();
    }
    // Completed by an earlier drawing of this batch, when a query needed the picture.
    for (SPCommand const& command : std::exchange(m_refreshes, {})) {
        command->Complete();
    }
    if (m_refreshRequested) {
        return boost::posix_time::seconds(0); // something that was drawn asked to be drawn again
    }
    timeval left{};
    if (!ui::win::GetNextTimeOut(left, Timers(), ui::win::GetCurrentTime(), false)) {
        return boost::posix_time::not_a_date_time;
    }
    return boost::posix_time::seconds(left.tv_sec) +
           boost::posix_time::microseconds(left.tv_usec + 1);
}

void CThreadedCoreManager::FireTimers() {
    timeval const now = ui::win::GetCurrentTime();
    std::vector<windowtimer> const timers = Timers(); // receivers may set new ones
    for (windowtimer const& timer : timers) {
        if (timercmp(&now, &timer.due, <)) {
            continue;
        }
        bool const stillSet = std::any_of(Timers().begin(), Timers().end(), [&](auto const& t) {
            return t.id == timer.id && !timercmp(&t.due, &timer.due, !=);
        });
        if (!stillSet) {
            continue; // a receiver before has released or moved it
        }
        ReleaseTimer(timer.id);
        Event event;
        event.type = ui::win::EventPositionless;
        event.key = static_cast<std::uint32_t>(timer.id);
        Guard("Timer", [&] { OnEvent(event); });
    }
}

void CThreadedCoreManager::EnsureFrame() {
    if (m_stale && !m_drawing) {
        DrawFrame();
    }
}

void CThreadedCoreManager::DrawFrame() {
    m_refreshRequested = false;
    m_stale = false;
    m_layersNewer = false;
    m_drawing = true;
    OnPre();
    Guard("Drawing", [this] {
        BeginFrame();
        Draw();
    });
    Guard("Drawing", [this] { DrawPlugins(); });
    Guard("Drawing", [this] { FinishFrame(); });
    OnPost();
    Guard("Presentation", [this] { Present(); });
    Guard("Frame delivery", [this] { NotifyBufferReady(true); });
    m_drawing = false;
}

void CThreadedCoreManager::BeginFrame() {
    ResetDrawingState(m_defaultCamera);
}

bool CThreadedCoreManager::OnEvent(Event& event) {
    // Layers take events where they were drawn; new ones have no place yet.
    if (m_layersNewer && !m_drawing) {
        DrawFrame();
    }
    if (event.type == ui::win::EventMotion || event.type == ui::win::EventPress ||
        event.type == ui::win::EventRelease) {
        m_pointerX = event.screenX;
        m_pointerY = event.screenY;
    } else if (event.type == ui::win::EventWindow && event.key == ui::win::WindowPointerLeft) {
        m_pointerX = m_pointerY = -1;
    }
    return m_keyboard.Handle(*this, event) || CWindowCoreManager::OnEvent(event);
}

bool CThreadedCoreManager::ResizeWindow(std::uint32_t width, std::uint32_t height) {
    if (!CanShow(width, height)) {
        kiv::Diagnose(
            "[WW]",
            BOOST_CURRENT_FUNCTION,
            "Window '" + Title() + "' cannot have a size of " + std::to_string(width) + "x" +
                std::to_string(height));
        return false;
    }
    m_width = width;
    m_height = height;
    Invalidate();
    return true;
}

bool CThreadedCoreManager::SetSize(int width, int height) {
    if (!ResizeWindow(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height))) {
        return false;
    }
    return CWindowCoreManager::SetSize(width, height);
}

bool CThreadedCoreManager::SetBackgroundColor(Colour colour) {
    m_background = colour;
    Invalidate();
    return true;
}

void CThreadedCoreManager::ShowPixelValues(bool show) {
    m_pixelValues = show;
    Invalidate();
}

void CThreadedCoreManager::SetInterpolation(bool interpolate) {
    m_interpolate = interpolate;
    Invalidate();
}

} // namespace drivers::support
