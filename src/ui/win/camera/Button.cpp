#include "ui/win/camera/Button.h"

#include "ui/win/CWindowCoreManager.h"

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/thread.hpp>

#include <utility>

namespace ui::win {

namespace {

using boost::posix_time::microsec_clock;
using boost::posix_time::time_duration;
using Lock = boost::lock_guard<boost::mutex>;

constexpr int repeatMicroseconds = 50000;
constexpr double labelSize = 12;
constexpr CWindowCore::Colour colour(255, 255, 255, 128);

} // namespace

/// What one repetition does, shared by the button and its worker.
struct Button::Action {
    boost::function<void()> Get() {
        Lock const lock(mutex);
        return function;
    }
    void Set(boost::function<void()> next) {
        Lock const lock(mutex);
        function.swap(next); // what was there is destroyed after the lock is gone
    }

private:
    boost::mutex mutex;
    boost::function<void()> function; // guarded by mutex
};

Button::Button(math::Rect2<int> const& rectangle, std::string label, boost::function<void()> action)
    : m_rectangle(rectangle), m_label(std::move(label)), m_action(boost::make_shared<Action>()) {
    m_action->Set(std::move(action));
}

Button::~Button() {
    m_action->Set({});
    Stop();
}

void Button::SetAction(boost::function<void()> action) {
    m_action->Set(std::move(action));
}

boost::shared_ptr<boost::thread> Button::TakeWorker() {
    Lock const lock(m_workerLock);
    return std::exchange(m_worker, nullptr);
}

bool Button::IsRunning() const {
    Lock const lock(m_workerLock);
    return m_worker && m_worker->joinable();
}

void Button::Stop() {
    boost::shared_ptr<boost::thread> const worker = TakeWorker();
    if (!worker) {
        return;
    }
    worker->interrupt();
    if (worker->get_id() == boost::this_thread::get_id()) {
        worker->detach(); // it returns to its loop, which is over
        return;
    }
    boost::this_thread::disable_interruption const uninterrupted;
    worker->join();
}

int Button::Draw(CWindowCore* core) {
    auto const x0 = static_cast<float>(m_rectangle.left);
    auto const y0 = static_cast<float>(m_rectangle.top);
    auto const x1 = static_cast<float>(m_rectangle.right);
    auto const y1 = static_cast<float>(m_rectangle.bottom);
    math::Point2<float> const corners[4] = {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}};
    core->SetBlend(BlendAlpha);
    core->SetColor(colour);
    core->DrawQuads(corners, 1);
    _TextAlign_t const horizontal = core->HorizontalTextAlign();
    _TextAlign_t const vertical = core->VerticalTextAlign();
    core->SetTextAlign(AlignCentre, AlignCentre);
    core->SetFontSizeEx(labelSize, labelSize, false);
    core->DrawText({(x0 + x1) / 2.0, (y0 + y1) / 2.0, 0}, m_label.c_str());
    core->SetTextAlign(horizontal, vertical);
    return 1;
}

bool Button::Interact(CWindowCoreManager* manager, Event const& event) {
    bool const inside = m_rectangle.left <= event.screenX && event.screenX <= m_rectangle.right &&
                        m_rectangle.top <= event.screenY && event.screenY <= m_rectangle.bottom;
    if (event.type != EventPress || event.button != ButtonLeft || !inside) {
        return false;
    }
    boost::shared_ptr<boost::thread> running;
    {
        Lock const lock(m_workerLock);
        running.swap(m_worker);
        if (!running || !running->joinable()) {
            m_worker = boost::make_shared<boost::thread>(
                [action = m_action, refresh = manager->MakeRefresher()] {
                    Repeat(*action, refresh, boost::posix_time::microseconds(repeatMicroseconds));
                });
            return true;
        }
    }
    // Not under the lock: the action may be at work on this very button.
    running->interrupt();
    running->join();
    return true;
}

void Button::Periodic_Refresh(CWindowCoreManager* manager, time_duration period) {
    boost::shared_ptr<Action> const action = m_action; // the action may end this button
    Repeat(*action, manager->MakeRefresher(), period);
}

void Button::Repeat(Action& action, boost::function<bool()> const& refresh, time_duration period) {
    try {
        do {
            action.Get()(); // throws when it is empty
            if (!refresh()) {
                return;
            }
            boost::this_thread::sleep(microsec_clock::universal_time() + period);
        } while (true);
    } catch (...) { // NOLINT(bugprone-empty-catch): stopping is one of them, and none is reported
    }
}

} // namespace ui::win
