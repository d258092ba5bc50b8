#pragma once

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>

namespace kiv::thread {

/// Something that one thread completes once and that others wait for.
///
/// Shared between them; whoever completes it must hold a reference until Complete() has returned.
class CSuspendable {
public:
    CSuspendable() = default;
    CSuspendable(CSuspendable const&) = delete;
    CSuspendable& operator=(CSuspendable const&) = delete;

    /// Blocks, without a timeout, until Complete() was called; at once when it was already.
    /// An interruption point of the calling thread while it waits.
    void Suspend() {
        boost::unique_lock<boost::mutex> lock(m_mutex);
        while (!m_done) {
            m_condition.wait(lock);
        }
    }

    /// Sets the flag and wakes every waiter.
    void Complete() {
        {
            boost::lock_guard<boost::mutex> const lock(m_mutex);
            m_done = true;
        }
        m_condition.notify_all();
    }

private:
    boost::mutex m_mutex;
    boost::condition_variable m_condition;
    bool m_done = false; // guarded by m_mutex
};

} // namespace kiv::thread
