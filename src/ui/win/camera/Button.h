#pragma once

#include "math/Rect2.h"
#include "ui/win/CWidget.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>

#include <string>

namespace boost {
class thread;
}

namespace ui::win {

/// A button that repeats its action every 50 ms from one click to the next, redrawing the window
/// after each.
///
/// The action runs on a thread of the button's own, beside the window's threads. The worker owns
/// neither the button nor the window: both may go away while it runs, also by its own hand.
class Button : public CWidget {
public:
    /// @param rectangle in window pixels, bounds included
    Button(math::Rect2<int> const& rectangle, std::string label, boost::function<void()> action);
    /// Stops and waits for the worker.
    ~Button() override;
    Button(Button const&) = delete;
    Button& operator=(Button const&) = delete;

    char const* getName() const override { return "Button"; }
    int Draw(CWindowCore* core) override;
    /// A left press inside starts the worker, or stops it and waits for it.
    bool Interact(CWindowCoreManager* manager, Event const& event) override;

    /// The worker's loop, on the calling thread: action, redraw, sleep, until the thread is
    /// interrupted, the window is gone or the action fails or is empty. Nothing is thrown.
    void Periodic_Refresh(CWindowCoreManager* manager, boost::posix_time::time_duration period);
    /// Replaces the action; an empty one ends the worker when it next comes to it.
    void SetAction(boost::function<void()> action);
    /// Ends the worker and waits for it, unless this is its own thread.
    void Stop();
    bool IsRunning() const;

private:
    struct Action;
    static void Repeat(
        Action& action,
        boost::function<bool()> const& refresh,
        boost::posix_time::time_duration period);
    boost::shared_ptr<boost::thread> TakeWorker();

    mutable boost::mutex m_workerLock;
    boost::shared_ptr<boost::thread> m_worker; // guarded by m_workerLock
    math::Rect2<int> const m_rectangle;
    std::string const m_label;
    boost::shared_ptr<Action> const m_action;
};

} // namespace ui::win
