#include "ui/win/camera/NavigationPlayer.h"

#include "kiv/Diagnostics.h"
#include "ui/win/CWindow.h"
#include "ui/win/CWindowCommands.h"

#include <boost/current_function.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numeric>
#include <utility>

namespace ui::win {

namespace {

/// A frame that rounding puts this part of a frame behind the end still belongs to the path.
constexpr double frameTolerance = 1e-6;

double Sum(std::vector<double> const& durations) {
    return std::accumulate(durations.begin(), durations.end(), 0.0);
}

std::string NumberedName(std::string const& fileName, unsigned number) {
    char digits[16];
    std::snprintf(digits, sizeof(digits), "-%06u", number);
    std::size_t const slash = fileName.rfind('/');
    std::size_t const dot = fileName.rfind('.');
    bool const hasExtension =
        dot != std::string::npos && (slash == std::string::npos || dot > slash);
    std::string name = fileName;
    return name.insert(hasExtension ? dot : name.size(), digits);
}

} // namespace

NavigationPlayer::NavigationPlayer(boost::shared_ptr<Navigation> path) : m_path(std::move(path)) {}

double NavigationPlayer::Duration() const {
    return Sum(m_path->Durations());
}

bool NavigationPlayer::Seek(double seconds) {
    std::vector<double> const durations = m_path->Durations();
    if (durations.empty() || std::isnan(seconds)) {
        return false;
    }
    m_time = std::clamp(seconds, 0.0, Sum(durations));
    // At a joint the later segment begins; the last one also has its end.
    std::size_t segment = 0;
    double begin = 0; // added up as the whole duration is, for joints and the end to be met
    while (segment + 1 < durations.size() && m_time >= begin + durations[segment]) {
        begin += durations[segment];
        ++segment;
    }
    double const length = durations[segment];
    double const t = m_time < begin + length ? std::min((m_time - begin) / length, 1.0) : 1.0;
    m_path->SetCurrent(static_cast<unsigned>(segment), t);
    CCamera3D::Parameters parameters = m_path->Camera()->Params();
    m_path->GetPath(parameters);
    m_path->GetPath_LinearInterpolation_Look_At(parameters);
    m_path->Camera()->SetParams(parameters);
    if (m_playing) {
        m_startTime = m_time;
        m_startClock = Clock::now();
    }
    return true;
}

bool NavigationPlayer::Step(double seconds) {
    double const before = m_time;
    return Seek(m_time + seconds) && m_time != before;
}

void NavigationPlayer::Start() {
    m_playing = true;
    Seek(m_time < Duration() ? m_time : 0);
}

void NavigationPlayer::Stop() {
    m_playing = false;
}

bool NavigationPlayer::Update() {
    if (!m_playing) {
        return false;
    }
    std::chrono::duration<double> const played = Clock::now() - m_startClock;
    double const time = m_startTime + played.count();
    m_playing = false; // the clock's start stays where it is
    m_playing = Seek(time) && time < Duration();
    return m_playing;
}

unsigned NavigationPlayer::Render(
    CWindow& window, double frameTime, boost::function<void(unsigned)> const& done) {
    double const last = std::floor(Duration() / frameTime + frameTolerance);
    bool const possible = frameTime > 0 && last < std::numeric_limits<unsigned>::max();
    if (!possible) {
        kiv::Diagnose(
            "[EE]", BOOST_CURRENT_FUNCTION, "Impossible frame time: " + std::to_string(frameTime));
        return 0;
    }
    unsigned frames = 0;
    // Counted and multiplied, not added up: the same times in every run, without drift.
    while (frames <= last && Seek(frames * frameTime)) {
        window.Refresh(true);
        if (done) {
            done(frames);
        }
        ++frames;
    }
    return frames;
}

unsigned NavigationPlayer::RenderFiles(
    CWindow& window, double frameTime, std::string const& fileName, int index) {
    unsigned const frames = Render(window, frameTime, [&](unsigned number) {
        window.Dump(NumberedName(fileName, number), index);
    });
    auto const written = boost::make_shared<CWndCommand_Call>([](CWindowCoreManager*) {});
    if (window.SendCommand(written, index)) {
        written->Suspend();
    }
    return frames;
}

} // namespace ui::win
