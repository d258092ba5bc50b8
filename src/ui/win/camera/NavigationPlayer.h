#pragma once

#include "ui/win/camera/Navigation.h"

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include <chrono>
#include <string>

namespace ui::win {

class CWindow;

/// Walks a navigation's camera along its path in time, each segment with its own smoothing.
///
///     NavigationPlayer player(path);
///     for (player.Start(); player.Update();) {
///         window.Refresh(true);
///     }
///
/// Times are seconds from the begin of the path. Belongs to one thread, the application's; has no
/// thread and no lock of its own. On an empty path nothing moves.
class NavigationPlayer {
public:
    /// Stands at the begin; the camera moves with the first call.
    explicit NavigationPlayer(boost::shared_ptr<Navigation> path);

    double Duration() const;
    double Time() const { return m_time; }
    /// Moves the camera to a time, or to the end of the path that is nearer. A playback goes on
    /// from there. @return false, moving nothing, for an empty path or a time that is no number
    bool Seek(double seconds);
    /// Seeks relatively. @return whether there was any of the path left in that direction
    bool Step(double seconds);

    /// Plays on by the clock from where it stands, or from the begin when it stands at the end.
    void Start();
    void Stop();
    bool IsPlaying() const { return m_playing; }
    /// Moves the camera to where it should be by now. @return false when it does not play, or has
    /// come to the end and stopped
    bool Update();

    /// Draws the whole path, whatever the clock says: frame i at the time i * frameTime, each drawn
    /// and waited for before `done(i)` is called. The window shows what its layers and the
    /// navigation's camera tell.
    /// @param frameTime seconds, above zero
    /// @return the number of frames; 0 for an empty path or an impossible frame time
    unsigned Render(CWindow& window, double frameTime, boost::function<void(unsigned)> const& done);
    /// Draws the whole path into numbered files below the output path: "tour.png" gives
    /// tour-000000.png, tour-000001.png and so on. Returns when the last is written.
    /// @param index backend whose frames are written
    unsigned
    RenderFiles(CWindow& window, double frameTime, std::string const& fileName, int index = 0);

private:
    using Clock = std::chrono::steady_clock;

    boost::shared_ptr<Navigation> const m_path;
    double m_time = 0;
    bool m_playing = false;
    Clock::time_point m_startClock;
    double m_startTime = 0;
};

} // namespace ui::win
