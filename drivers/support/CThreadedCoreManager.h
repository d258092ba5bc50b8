#pragma once

#include "drivers/support/KeyboardCommands.h"
#include "drivers/support/RenderThread.h"
#include "ui/win/CWindowCoreManager.h"

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace drivers::support {

/// A backend with a render thread: queues commands for it, delivers events on it and runs the
/// refresh cycle there. A driver adds the drawing and what its window system needs.
///
/// A frame: OnPre, BeginFrame, layers, plugins, FinishFrame, OnPost, Present, NotifyBufferReady.
/// Refreshes that are queued together are all executed and drawn once, for the last one; they
/// complete when that picture is there. An exception of a command, a drawable, a plugin or a
/// subscriber is reported in a line, and the window goes on; a drawable's costs that frame the
/// drawables and layers after it.
///
/// The most derived class must call Shutdown() in its destructor.
class CThreadedCoreManager : public ui::win::CWindowCoreManager, private RenderClient {
public:
    CThreadedCoreManager(
        ui::win::CreationParams const& params, boost::shared_ptr<RenderThread> thread);
    ~CThreadedCoreManager() override;

    /// Queues the command; false once the window is going away. Any thread.
    bool PushCommand(ui::win::SPCommand const& command) override;
    /// Any thread; `wait` blocks until the picture was drawn.
    bool Refresh(bool wait) override;
    /// Waits for what was pushed before; then the window rests until the next command.
    void Drain() override;
    /// Stops taking commands and ends every WaitForEvent.
    void Quit() override;
    /// Carries out Ctrl + key commands, else offers the event as usual.
    bool OnEvent(ui::win::Event& event) override;

    /// Changes the present size only, as a user does who drags the window's edge.
    /// @return false for a size that the driver cannot show
    virtual bool ResizeWindow(std::uint32_t width, std::uint32_t height);
    bool SetSize(int width, int height) override;
    bool SetBackgroundColor(Colour colour) override;
    /// Whether images are drawn with interpolation unless they say otherwise.
    bool Interpolates() const { return m_interpolate; }
    void SetInterpolation(bool interpolate);
    /// Whether pixels that are shown large have their values written into them, on drivers that
    /// show pictures to people; as the key PIXEL VALUES says at first. Grabbed and dumped pictures
    /// never have them.
    bool ShowsPixelValues() const { return m_pixelValues; }
    void ShowPixelValues(bool show);
    /// Flips bits of the window-state word.
    virtual void ToggleState(std::uint32_t bits) { m_flags ^= bits; }
    /// Last pointer position, window pixels; outside the window before the first event.
    int PointerX() const { return m_pointerX; }
    int PointerY() const { return m_pointerY; }

protected:
    /// @name What a driver supplies, called on the render thread; by Shutdown(), for what was still
    /// queued, on the thread that destroys the window
    /// @{

    /// Clears the picture and puts the drawing state back to its defaults; the base does the part
    /// of the state that CWindowCore keeps.
    virtual void BeginFrame();
    virtual void FinishFrame() {}
    /// Shows the finished picture.
    virtual void Present() {}
    /// Delivers what the window system reported for this window. After the commands of a batch.
    virtual void TakeInput() {}
    /// The largest window: edge and area in pixels.
    virtual bool CanShow(std::int64_t width, std::int64_t height) const;
    /// @}

    Colour BackgroundColor() const { return m_background; }
    /// Draws now if layers, size or background changed since the last picture.
    void EnsureFrame();
    boost::shared_ptr<RenderThread> const& Thread() const { return m_thread; }
    /// Runs a function on the render thread while this object is not yet shared, or no longer, and
    /// waits for it; what it throws is thrown here.
    void CallOnThread(boost::function<void()> const& function);
    /// The picture no longer shows what it should; the next one that is asked for is drawn anew.
    void Invalidate() { m_stale = true; }
    /// Takes the window out of its thread's service and does what was still queued, on the calling
    /// thread. Idempotent.
    void Shutdown();

private:
    void Serve(ui::win::SPCommand const& command) override;
    boost::posix_time::time_duration FinishBatch() override;
    void DrawFrame();
    void FireTimers();
    bool OnOwnThread() const;
    template <class Action>
    void Guard(char const* what, Action const& action);

    boost::shared_ptr<RenderThread> m_thread;
    KeyboardCommands m_keyboard;
    boost::shared_ptr<ui::win::CCamera> m_defaultCamera;
    Colour m_background{0, 0, 0, 255};
    bool m_interpolate = false;
    bool m_pixelValues = true;
    int m_pointerX = -1;
    int m_pointerY = -1;
    bool m_stale = true; // the picture is older than what it shows
    bool m_refreshRequested = false;
    bool m_drawing = false;                      // until subscribers have had the frame
    bool m_layersNewer = false;                  // taken over, not drawn yet
    std::vector<ui::win::SPCommand> m_refreshes; // executed, to be completed with the picture

    mutable boost::mutex m_stateLock;
    bool m_refusing = false; // guarded by m_stateLock: no more commands
    bool m_shutDown = false; // guarded by m_stateLock: the thread has let go
};

} // namespace drivers::support
