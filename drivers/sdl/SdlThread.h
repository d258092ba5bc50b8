#pragma once

#include "drivers/support/RenderThread.h"

#include <SDL2/SDL.h>

#include <atomic>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace drivers::sdl {

/// Thrown by calls to a display that has gone.
class DisplayLost : public std::runtime_error {
public:
    DisplayLost() : std::runtime_error("the connection to the display is lost") {}
};

/// @throws std::runtime_error with SDL's own words when an SDL call answered with failure
void Check(bool succeeded, char const* call);

/// The thread that all windows of the process share: the only one that calls SDL, from opening the
/// display for the first window to closing it after the last.
///
/// Waits for commands and for input at the same time and costs nothing meanwhile. When the display
/// goes away it leaves SDL alone for good, which cannot start again in the same process then, and
/// serves its windows without one.
class SdlThread : public support::RenderThread {
public:
    /// The one of the process; a new one when there is none.
    static boost::shared_ptr<SdlThread> Shared();

    SdlThread();
    ~SdlThread() override;

    /// @name On the thread
    /// @{

    /// Connects to the display unless that was done.
    /// @throws ui::win::DriverUnavailable with SDL's own words
    void OpenDisplay();
    /// To be told of each new window: collects its input from now on.
    void Add(SDL_Window* window);
    void Remove(SDL_Window* window);
    /// What came for the window since the last call, in order.
    std::vector<SDL_Event> TakeInputOf(SDL_Window* window);
    static bool IsLost();
    /// Name of SDL's video driver, such as "x11".
    std::string const& VideoDriver() const { return m_videoDriver; }
    /// Whether windows can have shapes. SDL tells only after a try, and dies of some.
    bool HasShapes() const { return m_videoDriver == "x11" || m_videoDriver == "windows"; }
    /// @}

protected:
    void End() override;
    void TakeInput() override;
    void Sleep(boost::posix_time::time_duration timeout) override;
    void Wake() override;

private:
    void CloseDisplay();
    void ReportLoss();
    bool ConnectionHolds();
    void SleepOnX11(int milliseconds);

    int m_wakePipe[2] = {-1, -1};
    std::atomic<bool> m_wakesThroughSdl{false};
    bool m_open = false;
    bool m_lossReported = false;
    void* m_x11Display = nullptr; // SDL's, null with other video drivers
    std::string m_videoDriver;
    std::map<Uint32, std::vector<SDL_Event>> m_input; // by window
};

} // namespace drivers::sdl
