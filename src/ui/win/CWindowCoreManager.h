#pragma once

#include "cimage/TImage.h"
#include "ui/win/CDrawerList.h"
#include "ui/win/CWindowCommand.h"
#include "ui/win/CWindowCore.h"
#include "ui/win/CreationParams.h"
#include "ui/win/Event.h"
#include "ui/win/ScreenGeometry.h"

#include <boost/enable_shared_from_this.hpp>
#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/signals2/signal.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace kiv::ini {
class INIFile;
}

namespace ui::win {

using CImageRGB = cimage::TImage<cimage::TRGB<unsigned char>>;

/// The base of every window backend: geometry and state of one window, its copy of the layers,
/// event queue, plugins, frame statistics, status and dumps.
///
/// Draws nothing and runs no thread. A driver derives from it, overrides what its window system
/// can do and drives the refresh cycle (OnPre, Draw, plugins, OnPost, NotifyBufferReady).
///
/// Threads: PushCommand, Drain, the event queue's functions (GetEvents under EventLock()), the
/// registration of callbacks and the names of driver and connection may be called from any thread.
/// Everything else belongs to the one thread that executes commands, delivers events and draws;
/// with this base's PushCommand that is whoever pushes. Held by boost::shared_ptr in a CWindow.
class CWindowCoreManager : public CWindowCore,
                           public boost::enable_shared_from_this<CWindowCoreManager> {
public:
    /// Called with every finished frame that is grabbed, on the thread that drew it.
    using ExposeSignal = boost::signals2::signal<void(cimage::CImage const&)>;
    using ExposeSlot = ExposeSignal::slot_type;

    /// An interactive widget drawn over the layers and offered every event first.
    struct Plugin {
        bool enabled;
        SPDrawingObject widget;
    };

    explicit CWindowCoreManager(CreationParams const& params);
    ~CWindowCoreManager() override;

    /// What a client needs to reach this window from elsewhere; empty when there is nothing.
    virtual std::string GetConnectionString() const = 0;
    virtual bool SetTitle(std::string const& title);
    /// Screen pixels.
    virtual bool SetPosition(int x, int y);
    /// Client size in pixels; also what cameras keep the proportions of.
    virtual bool SetSize(int width, int height);
    virtual bool SetBackgroundColor(Colour colour);
    virtual bool SetCustomStatusBar(std::string const& text);
    /// Shapes the window by a mask of one bit a pixel, leftmost pixel in the lowest bit of a byte,
    /// set where the window is. @param stride pixels a row, a multiple of 8 @param mask borrowed
    virtual bool SetWindowShape(unsigned char const* mask, unsigned stride, unsigned height);
    virtual bool SetFullScreenMode(bool fullScreen);
    virtual bool SetVisibility(bool visible);
    virtual bool SetDecoration(bool decorated);
    virtual bool GetScreenGeometry(ScreenGeometry* geometry);
    virtual void EnableKeyboardHandle(bool enable);
    /// Redraws the window: at once when `wait`, else when the thread comes to it.
    virtual bool Refresh(bool wait);
    /// What threads redraw the window by that must not keep it: Refresh(false), on any thread;
    /// false once the window is being dropped. Holding the function does not hold the window.
    boost::function<bool()> MakeRefresher() const;
    /// Waits for the refreshers that are at work; from now on all of them answer false. The first
    /// thing to do to a window that goes.
    void EndRefreshers();
    /// Executes a command, or hands it to the thread that does. When it was executed it is
    /// completed, which wakes its waiters. Any thread.
    /// @return false when the backend no longer executes commands; nobody must wait then
    virtual bool PushCommand(SPCommand const& command);
    virtual void Quit();
    virtual bool GetPixel(Colour* colour, int x, int y);
    /// Blocks until every command pushed before was executed and shown; returns at once on the
    /// manager's own thread.
    virtual void Drain();
    /// Takes an event as if the window system had reported it. Drivers act on their own keyboard
    /// commands first. @return true when it was consumed or queued
    virtual bool OnEvent(Event& event);

    /// One drawing pass: every layer, in ascending order, into this core.
    void Draw();
    /// Draws the enabled plugins in list order, each blended over the whole window in pixels.
    void DrawPlugins();
    /// Takes over a copy of a window's layers.
    void Replace(CDrawerList const& layers);
    /// Starts and ends the time that a frame took.
    void OnPre();
    void OnPost();
    /// Hands a finished frame to subscribers and to the dump, when there are any and `ready`.
    void NotifyBufferReady(bool ready);
    /// Grabs the last frame and writes it below the output path. @return true
    bool DumpImage(std::string const& name);
    bool ApplyStatus(int x, int y, unsigned width, unsigned height, bool fullScreen);
    boost::signals2::connection RegisterExposeCallback(ExposeSlot const& slot);
    /// Replaces the callback that a driver makes when its window goes away.
    void RegisterOnDestroyCallback(boost::function<void(CWindowCoreManager*)> const& callback);

    /// @name Events (CWindowCoreManager_Events.cpp)
    /// @{

    /// Offers the event to plugins, to the capturing widget (keys only) and to the layers.
    bool Interact(Event& event);
    /// Interact(), and PushEvent() for what nobody consumed.
    bool InteractOrPush(Event& event);
    bool InteractWithPlugins(Event const& event);
    bool InteractWithChild(Event& event);
    /// Queues an event for the application. @return false when the mask rejects it
    bool PushEvent(Event const& event);
    bool PushObjectEvent(unsigned id);
    /// Moves every queued event to the end of `events`. Takes no lock: hold EventLock().
    void GetEvents(std::deque<Event>& events);
    /// Blocks until there is an event, then does what GetEvents() does; an interruption point.
    /// @return false when the backend ends while waiting
    bool WaitForEvent(std::deque<Event>& events);
    /// Takes and releases the event lock; reads and clears nothing. @return true
    bool FlushEvent(std::deque<Event>& events);
    /// Ends every WaitForEvent, now and later. Any thread.
    void CloseEventQueue();
    /// Event kinds that are queued for the application; none at first.
    void SetEventMask(unsigned mask);
    boost::mutex& EventLock() { return m_eventLock; }
    /// Makes the widget the one that is offered keys after the plugins. Not owned: the widget
    /// releases the capture before it goes away.
    void CaptureEvent(CWidget* widget);
    /// Ends the capture and tells the widget that held it (EventCaptureLost).
    void ReleaseCapture();
    /// @}

    /// @name Plugins (CWindowCoreManager_Plugins.cpp)
    /// Entries that are answered stay valid until the list changes.
    /// @{
    Plugin* InsertPlugin(boost::shared_ptr<CWidget> widget, bool enabled);
    /// Creates a widget that the widget registry knows, configured from its INI section.
    /// @return the entry, the existing one when there is one, null on failure
    Plugin* InsertPlugin(std::string const& name);
    bool PopulatePlugin();
    Plugin* FindPlugin(std::string const& name);
    Plugin* FindPluginEx(std::string const& name);
    /// @return false when there is no such plugin; nothing is said about it
    bool EnablePlugin(std::string const& name, bool enable);
    bool SwitchPlugin(std::string const& name);
    bool SwitchPluginEx(std::string const& name);
    bool SwitchAllPlugin();
    void ReleasePlugins();
    std::vector<Plugin> const& Plugins() const { return m_plugins; }
    /// @}

    /// @name Window status and image files (CWindowCoreManager_Status.cpp)
    /// @{

    /// Writes position, size and mode to the INI object, under the letters of the title.
    bool SaveStatusOnDisk();
    bool LoadStatusFromDisk(int& x, int& y, unsigned& width, unsigned& height, bool& fullScreen);
    bool LoadAndApplyStatusFromDisk();
    /// Writes a frame below the output path, under `name` or, when that is empty, under a name
    /// made by the output file format. @throws what directory creation and cimage::Save throw
    template <class Image>
    bool SaveImageOnDisk(Image const& image, std::string const& name);
    /// Grabs the last frame and writes it to `path` as it stands; the output path plays no part.
    /// @return false when the backend has no frame
    bool Export(std::string const& path);
    /// @}

    CDrawerList& DrawerList() { return m_drawerList; }
    CDrawerList const& DrawerList() const { return m_drawerList; }
    /// The name under which the backend was created.
    std::string const& DriverName() const { return m_driverName; }
    void SetDriverName(std::string const& name) { m_driverName = name; }
    CWidget* Capture() const { return m_capture; }

    /// The application's configuration, not owned; null skips whatever needs it. Set it before the
    /// first window, from one thread (CWindow::setINIFile).
    static kiv::ini::INIFile* m_ini;
    /// Held by managers while they read or change what m_ini points to, since windows have threads
    /// of their own. An application that changes the INI object while it has windows holds it too.
    static boost::recursive_mutex m_iniLock;
    /// Directory of dumped files and of resources; set before the first window.
    static std::string g_outputPath;
    static std::string g_resourcePath;

protected:
    boost::function<void(CWindowCoreManager*)> const& OnDestroyCallback() const {
        return m_onDestroy;
    }

private:
    /// Reads the last frame back. @return null when the driver has none
    boost::shared_ptr<CImageRGB> GrabFrame(boost::shared_ptr<CImageRGB> buffer = {});
    std::string WindowKey() const;
    std::string NextDumpName();

    /// Keeps the layers while they are walked through: what replaces them meanwhile waits.
    class LayerWalk {
    public:
        explicit LayerWalk(CWindowCoreManager& manager);
        ~LayerWalk();
        LayerWalk(LayerWalk const&) = delete;
        LayerWalk& operator=(LayerWalk const&) = delete;

    private:
        CWindowCoreManager& m_manager;
    };

    struct Reach;
    boost::shared_ptr<Reach> const m_reach;
    std::string m_driverName;
    std::string m_outputFileFormat;
    CWidget* m_capture = nullptr;
    std::atomic<std::uint32_t> m_eventMask{0}; // written under m_eventLock
    std::vector<Plugin> m_plugins;
    CDrawerList m_drawerList;
    int m_layerWalks = 0;
    std::unique_ptr<CDrawerList> m_nextLayers; // to be taken over after the walk
    bool m_releasingCapture = false;
    ExposeSignal m_expose;
    boost::shared_ptr<CImageRGB> m_delivered; // the last frame of subscribers, for the next one
    boost::function<void(CWindowCoreManager*)> m_onDestroy;
    boost::mutex m_eventLock;
    boost::condition_variable_any m_eventSignal;
    std::deque<Event> m_events;  // guarded by m_eventLock
    bool m_eventsClosed = false; // guarded by m_eventLock
};

extern template bool
CWindowCoreManager::SaveImageOnDisk<CImageRGB>(CImageRGB const& image, std::string const& name);

/// Writes an image in the format that the path's extension names. The INI file is not used.
void WriteOnDisk(std::string const& path, CImageRGB const& image, kiv::ini::INIFile* ini);

/// Time of day, of microsecond resolution.
timeval GetCurrentTime();
/// a - b, with tv_usec in 0 .. 999999.
timeval GetDeltaTimeVal(timeval const& a, timeval const& b);
/// The time from `now` until the earliest timer falls due, zero when it has already.
/// @param bounded true when `timeout` comes in holding the longest time to wait
/// @return whether `timeout` holds a time: false without timers and bound
bool GetNextTimeOut(
    timeval& timeout,
    std::vector<CWindowCore::windowtimer> const& timers,
    timeval const& now,
    bool bounded);

} // namespace ui::win
