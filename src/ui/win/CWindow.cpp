#include "ui/win/CWindow.h"

#include "kiv/Diagnostics.h"
#include "kiv/ini/INIFile.h"
#include "ui/win/CWindowCommands.h"
#include "ui/win/Core_Registration.h"
#include "ui/win/camera/CWindowCamera2D.h"

#include <boost/current_function.hpp>

#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace ui::win {

namespace {

constexpr char nullDriver[] = "None";
constexpr char autoDriver[] = "Auto";
/// Environment variable with a driver list, for whoever starts a program.
constexpr char driverVariable[] = "QUARN_DRIVER";

CreationParams MakeParams(
    std::string const& driver,
    std::string const& title,
    int x,
    int y,
    unsigned width,
    unsigned height,
    int windowState) {
    CreationParams params;
    params.title = title;
    params.driver = driver;
    params.x = x;
    params.y = y;
    params.width = width;
    params.height = height;
    params.camera = boost::make_shared<CCamera2D>(0, 0, width, height, 0.0);
    params.flags = static_cast<std::uint32_t>(windowState);
    return params;
}

using SPManager = boost::shared_ptr<CWindowCoreManager>;

struct Trial {
    SPManager backend;  ///< null when the driver is not there or no display answers
    std::string reason; ///< why there is no backend
    bool found = true;  ///< the driver is there
};

Trial TryDriver(std::string const& driver, CreationParams const& params) {
    DriverCreator const creator = FindDriver(driver);
    if (!creator) {
        return {{}, "there is no driver '" + driver + "'", false};
    }
    try {
        SPManager const backend(creator(params));
        backend->SetDriverName(driver);
        return {backend, {}};
    } catch (DriverUnavailable const& unavailable) {
        return {{}, "driver '" + driver + "' is not available: " + unavailable.what()};
    }
}

} // namespace

std::string CWindow::g_driver = nullDriver;

CWindow::CWindow(
    std::string const& title, int x, int y, unsigned width, unsigned height, int windowState)
    : CWindow(MakeParams(g_driver, title, x, y, width, height, windowState)) {}

CWindow::CWindow(std::string const& title, unsigned width, unsigned height, int windowState)
    : CWindow(title, -1, -1, width, height, windowState) {}

CWindow::CWindow(CreationParams const& params) {
    ResetWindow(params);
}

CWindow::~CWindow() {
    m_events.clear();
    RemoveAllBackend();
}

bool CWindow::ResetWindow(CreationParams const& params) {
    std::string const drivers = params.driver.empty() ? g_driver : params.driver;
    if (params.width == 0 || params.height == 0) {
        throw std::runtime_error("Trying to create 0x0 windows: " + params.title);
    }
    RemoveAllBackend();
    // Not trimmed, and the piece after the last comma counts: a stray comma is an unknown driver
    // that is named in the error, not one that is silently left out.
    for (std::size_t begin = 0; begin != std::string::npos;) {
        std::size_t const comma = drivers.find(',', begin);
        bool const last = comma == std::string::npos;
        AllocateNewBackend(drivers.substr(begin, last ? comma : comma - begin), params);
        begin = last ? comma : comma + 1;
    }
    m_currentLayer = 0;
    return SetVirtualView(params.width, params.height);
}

int CWindow::AllocateNewBackend(std::string const& driver, CreationParams const& params) {
    bool const choose = driver == autoDriver;
    Trial trial = TryDriver(choose ? "SDL" : driver, params);
    if (choose) {
        std::string const taken =
            trial.backend ? "SDL: a display answers" : "Offscreen: " + trial.reason;
        kiv::Diagnose("[II]", BOOST_CURRENT_FUNCTION, "Driver Auto takes " + taken);
        trial = trial.backend ? trial : TryDriver("Offscreen", params);
    }
    if (!trial.backend) {
        if (trial.found) {
            kiv::Diagnose("[EE]", BOOST_CURRENT_FUNCTION, "CWindow " + trial.reason);
        }
        kiv::Diagnose(
            "[EE]", BOOST_CURRENT_FUNCTION, "CWindow driver '" + driver + "' not found: ");
        std::string available = "Available driver are: ";
        for (std::string const& name : DriverNames()) {
            available += name + ' ';
        }
        kiv::Diagnose("[EE]", BOOST_CURRENT_FUNCTION, available);
        throw std::runtime_error("CWindow driver unknown. See list of available driver above");
    }
    m_backends.push_back(trial.backend);
    return static_cast<int>(m_backends.size()) - 1;
}

bool CWindow::RemoveAllBackend() {
    // Out of the window first: what is still done for it may use the window.
    auto const leaving = std::exchange(m_backends, {});
    for (auto const& backend : leaving) {
        backend->EndRefreshers(); // or their commands would make the backend's thread its owner
        backend->Drain();         // what was asked for is still done
        backend->CloseEventQueue();
    }
    return true;
}

void CWindow::setDriver(std::string const& drivers) {
    g_driver = drivers;
}
std::string CWindow::getDriver() {
    return g_driver;
}

bool CWindow::setINIFile(kiv::ini::INIFile* ini) {
    boost::lock_guard<boost::recursive_mutex> const lock(CWindowCoreManager::m_iniLock);
    CWindowCoreManager::m_ini = ini;
    std::string drivers = nullDriver;
    if (ini != nullptr) {
        ini->Lookup("GUI DRIVER", drivers);
    }
    char const* const wanted = std::getenv(driverVariable);
    if (wanted != nullptr && *wanted != '\0') {
        drivers = wanted;
        kiv::Diagnose(
            "[II]",
            BOOST_CURRENT_FUNCTION,
            "Drivers '" + drivers + "' are taken: " + driverVariable + " says so");
    }
    setDriver(drivers);
    return true;
}

std::string CWindow::setOutputPath(std::string const& path) {
    return std::exchange(CWindowCoreManager::g_outputPath, path);
}

std::string CWindow::setResourcePath(std::string const& path) {
    return std::exchange(CWindowCoreManager::g_resourcePath, path);
}

std::pair<std::size_t, std::size_t> CWindow::Range(int index) const {
    if (index == -1) {
        return {0, m_backends.size()};
    }
    if (index < 0 || static_cast<std::size_t>(index) >= m_backends.size()) {
        return {0, 0};
    }
    auto const first = static_cast<std::size_t>(index);
    return {first, first + 1};
}

int CWindow::GetCoreID(std::string const& driver) const {
    for (std::size_t i = 0; i < m_backends.size(); ++i) {
        if (m_backends[i]->DriverName() == driver) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

std::string CWindow::GetConnectionString(int index) const {
    auto const [first, last] = Range(index);
    std::string connections;
    for (std::size_t i = first; i < last; ++i) {
        connections += (i == first ? "" : ",") + m_backends[i]->GetConnectionString();
    }
    return connections;
}

bool CWindow::SendCommand(SPCommand const& command, int index) {
    auto const [first, last] = Range(index);
    bool accepted = index == -1 || first != last; // a backend that is not there executes nothing
    // Each backend is kept: a command that is executed at once may reset the window.
    for (std::size_t i = first; i < last && i < m_backends.size(); ++i) {
        boost::shared_ptr<CWindowCoreManager> const backend = m_backends[i];
        accepted = backend->PushCommand(command) && accepted;
    }
    return accepted;
}

bool CWindow::SendCommand(CWindowCommand* command, int index) {
    return SendCommand(SPCommand(command), index);
}

bool CWindow::InjectEvent(Event const& event, int index) {
    return SendCommand(boost::make_shared<CWndCommand_InjectEvent>(event), index);
}

bool CWindow::SetEventMask(unsigned mask, int index) {
    auto const [first, last] = Range(index);
    for (std::size_t i = first; i < last; ++i) {
        m_backends[i]->SetEventMask(mask);
    }
    return true;
}

bool CWindow::WaitForEvent(int index) {
    auto const [first, last] = Range(index);
    bool result = true;
    for (std::size_t i = first; i < last; ++i) {
        // Kept alive while this thread waits, whoever drops the window's reference meanwhile.
        boost::shared_ptr<CWindowCoreManager> const backend = m_backends[i];
        std::deque<Event> events;
        result = backend->WaitForEvent(events) && result;
        m_events.insert(m_events.end(), events.begin(), events.end());
    }
    return result;
}

bool CWindow::FlushEvent(int index) {
    auto const [first, last] = Range(index);
    bool result = true;
    for (std::size_t i = first; i < last; ++i) {
        {
            boost::lock_guard<boost::mutex> const lock(m_backends[i]->EventLock());
            m_backends[i]->GetEvents(m_events);
        }
        result = m_backends[i]->FlushEvent(m_events) && result;
    }
    return result;
}

bool CWindow::GetNextEvent(Event& event) {
    if (m_events.empty()) {
        return false;
    }
    event = m_events.front();
    m_events.pop_front();
    return true;
}

void CWindow::Subscribe_RefreshComplete(CWindowCoreManager::ExposeSlot const& slot, int index) {
    if (index != -1) {
        m_backends.at(static_cast<std::size_t>(index))->RegisterExposeCallback(slot);
        return;
    }
    for (auto const& backend : m_backends) {
        backend->RegisterExposeCallback(slot);
    }
}

bool CWindow::SetViewportMode(ViewPortMode mode) {
    CurrentLayer().SetViewPortMode(mode);
    return true;
}

bool CWindow::SetViewport(CWindowViewPort const& viewPort) {
    CurrentLayer().SetViewPort(viewPort);
    return true;
}

bool CWindow::SetCamera(boost::shared_ptr<CCamera> const& camera) {
    CurrentLayer().SetCamera(camera);
    return true;
}

bool CWindow::SetVirtualView(double x0, double y0, double x1, double y1) {
    return SetCamera(boost::make_shared<CCamera2D>(x0, y0, x1, y1, 0.0));
}

bool CWindow::SetVirtualView(unsigned width, unsigned height) {
    return SetVirtualView(0.0, 0.0, width, height);
}

bool CWindow::Refresh(bool wait) {
    ++m_refreshCount;
    auto const command =
        boost::make_shared<CWndCommand_Refresh>(static_cast<CDrawerList const&>(*this));
    bool const sent = SendCommand(command, -1);
    if (sent && wait && !m_backends.empty()) {
        command->Suspend();
    }
    return sent;
}

} // namespace ui::win
