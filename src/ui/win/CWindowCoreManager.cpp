#include "ui/win/CWindowCoreManager.h"

#include "kiv/Diagnostics.h"
#include "kiv/ini/INIFile.h"

#include <boost/current_function.hpp>
#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <exception>
#include <utility>

namespace ui::win {

namespace {

constexpr char defaultOutputFileFormat[] = "%s-%06ld.ppm";

boost::posix_time::ptime Now() {
    return boost::posix_time::microsec_clock::universal_time();
}

bool Holds(CDrawerList const& layers, CWidget const* widget) {
    return std::any_of(layers.Layers().begin(), layers.Layers().end(), [&](auto const& layer) {
        auto const& items = layer.second.Items();
        return std::any_of(items.begin(), items.end(), [&](SPDrawingObject const& item) {
            return item.get() == widget;
        });
    });
}

} // namespace

kiv::ini::INIFile* CWindowCoreManager::m_ini = nullptr;
boost::recursive_mutex CWindowCoreManager::m_iniLock;
std::string CWindowCoreManager::g_outputPath;
std::string CWindowCoreManager::g_resourcePath;

/// The way to a window for those who do not own it.
struct CWindowCoreManager::Reach {
    explicit Reach(CWindowCoreManager* window) : manager(window) {}
    boost::recursive_mutex mutex; // what is drawn at once may drop the window
    CWindowCoreManager* manager;  // guarded by mutex; null once the window goes
};

CWindowCoreManager::CWindowCoreManager(CreationParams const& params)
    : m_reach(boost::make_shared<Reach>(this)) {
    m_flags = params.flags;
    m_title = params.title;
    m_x = params.x;
    m_y = params.y;
    m_width = m_requestedWidth = params.width;
    m_height = m_requestedHeight = params.height;
    m_outputFileFormat = defaultOutputFileFormat;
    {
        boost::lock_guard<boost::recursive_mutex> const lock(m_iniLock);
        if (m_ini != nullptr) {
            m_ini->Lookup("WIN OUTPUT FILE FORMAT", m_outputFileFormat);
        }
    }
    // Qualified: a driver's own view set-up cannot run before the driver is constructed.
    CWindowCore::SetViewPort(ViewPortCamera, nullptr, params.camera);
    m_preTime = m_lastPostTime = Now();
    PopulatePlugin();
    EnablePlugin("StatusBar", true);
}

CWindowCoreManager::~CWindowCoreManager() {
    EndRefreshers();
}

boost::function<bool()> CWindowCoreManager::MakeRefresher() const {
    return [reach = m_reach] {
        boost::lock_guard<boost::recursive_mutex> const lock(reach->mutex);
        return reach->manager != nullptr && (reach->manager->Refresh(false), true);
    };
}

void CWindowCoreManager::EndRefreshers() {
    boost::lock_guard<boost::recursive_mutex> const lock(m_reach->mutex);
    m_reach->manager = nullptr;
}

bool CWindowCoreManager::SetTitle(std::string const& title) {
    m_title = title;
    return true;
}

bool CWindowCoreManager::SetPosition(int x, int y) {
    m_x = x;
    m_y = y;
    return true;
}

bool CWindowCoreManager::SetSize(int width, int height) {
    m_width = m_requestedWidth = static_cast<std::uint32_t>(width);
    m_height = m_requestedHeight = static_cast<std::uint32_t>(height);
    return true;
}

bool CWindowCoreManager::SetBackgroundColor(Colour) {
    return false;
}

bool CWindowCoreManager::SetCustomStatusBar(std::string const& text) {
    m_customStatus = text;
    return true;
}

bool CWindowCoreManager::SetWindowShape(unsigned char const*, unsigned, unsigned) {
    return false;
}

namespace {

void SetBit(std::uint32_t& flags, std::uint32_t bit, bool set) {
    flags = set ? flags | bit : flags & ~bit;
}

} // namespace

bool CWindowCoreManager::SetFullScreenMode(bool fullScreen) {
    SetBit(m_flags, StateFullScreen, fullScreen);
    return true;
}

bool CWindowCoreManager::SetVisibility(bool visible) {
    SetBit(m_flags, StateVisible, visible);
    return true;
}

bool CWindowCoreManager::SetDecoration(bool decorated) {
    SetBit(m_flags, StateUndecorated, !decorated);
    return true;
}

bool CWindowCoreManager::GetScreenGeometry(ScreenGeometry* geometry) {
    *geometry = ScreenGeometry();
    return false;
}

void CWindowCoreManager::EnableKeyboardHandle(bool enable) {
    SetBit(m_flags, StateKeyboard, enable);
}

bool CWindowCoreManager::Refresh(bool) {
    return false;
}

bool CWindowCoreManager::PushCommand(SPCommand const& command) {
    // The command may drop what the caller passed.
    SPCommand const kept = command; // NOLINT(performance-unnecessary-copy-initialization)
    try {
        kept->Execute(this);
    } catch (...) {
        kept->Complete(); // somebody else may wait for it
        throw;
    }
    kept->Complete();
    return true;
}

void CWindowCoreManager::Quit() {}
void CWindowCoreManager::Drain() {}
bool CWindowCoreManager::GetPixel(Colour*, int, int) {
    return false;
}
bool CWindowCoreManager::OnEvent(Event& event) {
    return InteractOrPush(event);
}

CWindowCoreManager::LayerWalk::LayerWalk(CWindowCoreManager& manager) : m_manager(manager) {
    ++m_manager.m_layerWalks;
}

CWindowCoreManager::LayerWalk::~LayerWalk() {
    if (--m_manager.m_layerWalks == 0 && m_manager.m_nextLayers) {
        m_manager.setLastDrawnImageMetadata(nullptr);
        std::swap(m_manager.m_drawerList, *m_manager.m_nextLayers);
        m_manager.m_nextLayers.reset();
    }
}

bool CWindowCoreManager::InteractWithChild(Event& event) {
    LayerWalk const walk(*this);
    return m_drawerList.Interact(this, event);
}

void CWindowCoreManager::Draw() {
    ++m_drawCount;
    LayerWalk const walk(*this);
    m_drawQueueLength = static_cast<std::uint32_t>(m_drawerList.Draw(this));
}

void CWindowCoreManager::DrawPlugins() {
    std::exception_ptr failure;
    // By index: a plugin may insert or release plugins while it is drawn.
    for (std::size_t i = 0; i < m_plugins.size(); ++i) {
        if (m_plugins[i].enabled) {
            SPDrawingObject const widget = m_plugins[i].widget;
            CWindowViewPort whole;
            SetViewPort(ViewPortPixels, &whole, boost::shared_ptr<CCamera>());
            SetTranslation(0, 0, false);
            SetBlend(BlendAlpha);
            try {
                widget->Draw(this);
            } catch (...) {
                failure = std::current_exception(); // the others are drawn all the same
            }
        }
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

void CWindowCoreManager::Replace(CDrawerList const& layers) {
    ++m_replaceCount;
    if (&layers == &m_drawerList) {
        return;
    }
    // Nobody else may hold the widget that has the capture.
    if (m_capture != nullptr && Holds(m_drawerList, m_capture) && !Holds(layers, m_capture)) {
        ReleaseCapture();
    }
    if (m_layerWalks > 0) {
        m_nextLayers = std::make_unique<CDrawerList>(layers);
        return;
    }
    // The image that it belongs to may go with the old layers.
    setLastDrawnImageMetadata(nullptr);
    CDrawerList copy(layers); // assigning to the elements would keep their enabled and locked flags
    std::swap(m_drawerList, copy);
}

void CWindowCoreManager::OnPre() {
    m_preTime = Now();
}

void CWindowCoreManager::OnPost() {
    boost::posix_time::ptime const now = Now();
    m_drawTime =
        static_cast<float>(static_cast<double>((now - m_preTime).total_microseconds()) / 1000000);
    double const dt = static_cast<double>((now - m_lastPostTime).total_microseconds()) / 1000000;
    m_lastPostTime = now;
    if (m_frameInterval == 0.0F) {
        m_frameInterval = static_cast<float>(dt);
    } else {
        // The mixed precision is kept: recorded frame rates compare bit by bit.
        float const kept = m_frameInterval * 0.9F;
        m_frameInterval = static_cast<float>(kept + dt * static_cast<double>(0.1F));
    }
}

boost::shared_ptr<CImageRGB> CWindowCoreManager::GrabFrame(boost::shared_ptr<CImageRGB> buffer) {
    if (!buffer || buffer->Width() != m_width || buffer->Height() != m_height) {
        buffer = boost::make_shared<CImageRGB>(m_width, m_height);
    }
    return GetImage(*buffer) ? buffer : boost::shared_ptr<CImageRGB>();
}

void CWindowCoreManager::NotifyBufferReady(bool ready) {
    bool const dump = (m_flags & StateDumpFrames) != 0;
    // Taken out meanwhile: a subscriber may cause a frame of its own.
    boost::shared_ptr<CImageRGB> image = std::exchange(m_delivered, {});
    if (!ready || (!dump && m_expose.empty())) {
        return;
    }
    image = GrabFrame(std::move(image));
    if (!image) {
        return;
    }
    std::exception_ptr failure;
    try {
        m_expose(*image);
    } catch (...) {
        failure = std::current_exception(); // a recording misses no frame for it
    }
    if ((m_flags & StateDumpFrames) != 0) {
        SaveImageOnDisk(*image, "");
    }
    m_delivered = std::move(image);
    if (failure) {
        std::rethrow_exception(failure);
    }
}

bool CWindowCoreManager::DumpImage(std::string const& name) {
    if (boost::shared_ptr<CImageRGB> const image = GrabFrame()) {
        SaveImageOnDisk(*image, name);
    }
    return true;
}

bool CWindowCoreManager::ApplyStatus(
    int x, int y, unsigned width, unsigned height, bool fullScreen) {
    SetFullScreenMode(fullScreen);
    if (!fullScreen) {
        SetPosition(x, y);
        SetSize(static_cast<int>(width), static_cast<int>(height));
    }
    return true;
}

boost::signals2::connection CWindowCoreManager::RegisterExposeCallback(ExposeSlot const& slot) {
    return m_expose.connect(slot);
}

void CWindowCoreManager::RegisterOnDestroyCallback(
    boost::function<void(CWindowCoreManager*)> const& callback) {
    m_onDestroy = callback;
}

timeval GetCurrentTime() {
    timeval now{};
    if (gettimeofday(&now, nullptr) != 0) {
        kiv::Diagnose("[EE]", BOOST_CURRENT_FUNCTION, "gettimeofday failed");
    }
    return now;
}

timeval GetDeltaTimeVal(timeval const& a, timeval const& b) {
    timeval delta{a.tv_sec - b.tv_sec, a.tv_usec - b.tv_usec};
    if (delta.tv_usec < 0) {
        --delta.tv_sec;
        delta.tv_usec += 1000000;
    }
    return delta;
}

bool GetNextTimeOut(
    timeval& timeout,
    std::vector<CWindowCore::windowtimer> const& timers,
    timeval const& now,
    bool bounded) {
    auto const less = [](timeval const& a, timeval const& b) {
        return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_usec < b.tv_usec;
    };
    bool known = bounded;
    for (CWindowCore::windowtimer const& timer : timers) {
        timeval const left = less(now, timer.due) ? GetDeltaTimeVal(timer.due, now) : timeval{};
        if (!known || less(left, timeout)) {
            timeout = left;
            known = true;
        }
    }
    return known;
}

} // namespace ui::win
