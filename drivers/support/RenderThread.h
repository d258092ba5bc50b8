#pragma once

#include "ui/win/CWindowCommand.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/enable_shared_from_this.hpp>
#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>
#include <boost/weak_ptr.hpp>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace drivers::support {

/// What a render thread serves: one window. Called on that thread; by a window that goes, for what
/// was left of its commands, on its own.
class RenderClient {
public:
    virtual ~RenderClient() = default;
    /// Executes one command and completes it, now or at the end of the batch. Throws nothing.
    virtual void Serve(ui::win::SPCommand const& command) = 0;
    /// Called after every batch of commands and when the time asked for has passed.
    /// @return how long the thread may sleep; not_a_date_time when no time is set
    virtual boost::posix_time::time_duration FinishBatch() = 0;
};

/// A thread that executes the commands of one or more windows, in the order in which they came.
///
/// Shared by its windows and by the thread itself. Windows are held weakly and kept alive only
/// while they are served, so that a window may be dropped at any time, by any thread.
class RenderThread : public boost::enable_shared_from_this<RenderThread> {
public:
    RenderThread() = default;
    virtual ~RenderThread();
    RenderThread(RenderThread const&) = delete;
    RenderThread& operator=(RenderThread const&) = delete;

    /// Queues a command for a window, which nobody becomes an owner of by that; the first one
    /// starts the thread. Any thread.
    /// @throw boost::thread_resource_error where no thread can be started; nothing is queued then
    void Post(
        RenderClient const* key,
        boost::weak_ptr<RenderClient> const& client,
        ui::win::SPCommand command);

    /// Runs a function on the thread, after what is queued, and waits for it; what it throws is
    /// thrown here. For a window that cannot be shared yet, or any more: it becomes one of the
    /// thread's windows, until Retire(). At once on the thread itself.
    void Call(RenderClient const* client, boost::function<void()> const& function);

    /// Takes a window that is being destroyed out of service: once this returns the thread does
    /// nothing more for it. Without windows the thread ends, and is waited for unless it is the
    /// caller.
    /// @return the window's commands that were not executed, in order, for the caller to see to
    std::vector<ui::win::SPCommand> Retire(RenderClient const* client);

    /// Waits until everything that was queued for a window before is executed and drawn. Then the
    /// thread leaves the window alone, its timers too, unless or until there is another command for
    /// it. Returns at once on the thread itself.
    void Rest(RenderClient const* client);

    /// True on the thread itself.
    bool IsCurrent() const;

protected:
    /// @name What a thread with a window system does otherwise; the base knows commands only
    /// @{

    /// Last on the thread.
    virtual void End() {}
    /// Before every batch: takes what the window system has reported.
    virtual void TakeInput() {}
    /// Sleeps until Wake() or until the time, when one is set, has passed. An early return only
    /// makes an empty batch.
    virtual void Sleep(boost::posix_time::time_duration timeout);
    /// Ends a Sleep() that is under way, or the next one. Any thread.
    virtual void Wake();
    /// @}

private:
    struct Entry {
        RenderClient const* key = nullptr; // tells windows apart that cannot be locked any more
        boost::weak_ptr<RenderClient> client;
        ui::win::SPCommand command;
        bool isCall = false;      // the thread's own to execute
        std::uint64_t number = 0; // ascending in the order of coming
    };
    struct Client {
        RenderClient const* key = nullptr;
        boost::weak_ptr<RenderClient> client;
        bool resting = false;
    };

    void Enqueue(Client const& client, Entry entry);
    void Run();
    bool WaitForWork(boost::posix_time::time_duration timeout, std::size_t& batchSize);
    void ServeNext();
    boost::posix_time::time_duration FinishBatch();
    void EndBatch();
    bool IsRunning() const { return m_threadId == boost::this_thread::get_id(); }

    mutable boost::mutex m_mutex;
    boost::condition_variable m_work;
    boost::condition_variable m_batchEnded;
    // All guarded by m_mutex.
    std::deque<Entry> m_queue;
    std::uint64_t m_queuedCount = 0;
    std::deque<Entry> m_orphans; // came to their turn after the last reference to the window went
    std::vector<Client> m_clients;
    bool m_woken = false;
    bool m_serving = false;         // a batch is under way
    std::uint64_t m_batchCount = 0; // batches that ended
    boost::thread m_thread;
    boost::thread::id m_threadId;
};

} // namespace drivers::support
