#include "drivers/support/RenderThread.h"

#include "ui/win/CWindowCommands.h"

#include <boost/make_shared.hpp>

#include <algorithm>
#include <exception>
#include <utility>

namespace drivers::support {

namespace {

using boost::posix_time::time_duration;
using Lock = boost::unique_lock<boost::mutex>;

} // namespace

RenderThread::~RenderThread() = default;

void RenderThread::Post(
    RenderClient const* key,
    boost::weak_ptr<RenderClient> const& client,
    ui::win::SPCommand command) {
    Enqueue({key, client, false}, {key, client, std::move(command)});
}

void RenderThread::Call(RenderClient const* client, boost::function<void()> const& function) {
    if (IsCurrent()) {
        function();
        return;
    }
    boost::this_thread::disable_interruption const uninterrupted;
    std::exception_ptr failure;
    auto const command =
        boost::make_shared<ui::win::CWndCommand_Call>([&](ui::win::CWindowCoreManager*) {
            try {
                function();
            } catch (...) {
                failure = std::current_exception();
            }
        });
    Enqueue({client, {}, true}, {client, {}, command, true});
    command->Suspend();
    if (failure) {
        std::rethrow_exception(failure);
    }
}

void RenderThread::Enqueue(Client const& client, Entry entry) {
    {
        Lock const lock(m_mutex);
        if (!m_thread.joinable()) {
            // The thread shares this object: it may outlive its last window's destruction. It waits
            // for the lock before it looks at anything.
            m_thread = boost::thread([self = shared_from_this()] { self->Run(); });
            m_threadId = m_thread.get_id();
        }
        auto const known = std::find_if(m_clients.begin(), m_clients.end(), [&](Client const& c) {
            return c.key == client.key;
        });
        if (known == m_clients.end()) {
            m_clients.push_back(client);
        } else if (!entry.isCall) {
            *known = client;
        }
        entry.number = ++m_queuedCount;
        m_queue.push_back(std::move(entry));
    }
    Wake();
}

std::vector<ui::win::SPCommand> RenderThread::Retire(RenderClient const* client) {
    // Called by destructors, which nothing may interrupt.
    boost::this_thread::disable_interruption const uninterrupted;
    std::vector<ui::win::SPCommand> left;
    boost::thread finished;
    {
        Lock const lock(m_mutex);
        for (std::deque<Entry>* queue : {&m_orphans, &m_queue}) {
            auto const mine = std::stable_partition(
                queue->begin(), queue->end(), [client](Entry const& e) { return e.key != client; });
            std::for_each(
                mine, queue->end(), [&left](Entry& e) { left.push_back(std::move(e.command)); });
            queue->erase(mine, queue->end());
        }
        auto const gone = [client](Client const& c) { return c.key == client; };
        m_clients.erase(std::remove_if(m_clients.begin(), m_clients.end(), gone), m_clients.end());
        if (m_clients.empty()) {
            finished.swap(m_thread);
            m_threadId = boost::thread::id();
        }
    }
    Wake();
    if (finished.joinable()) {
        if (finished.get_id() == boost::this_thread::get_id()) {
            finished.detach();
        } else {
            finished.join();
        }
    }
    return left;
}

void RenderThread::Rest(RenderClient const* client) {
    boost::this_thread::disable_interruption const uninterrupted;
    Lock lock(m_mutex);
    if (IsRunning() || !m_thread.joinable()) {
        return;
    }
    auto const isMine = [client](auto const& entry) { return entry.key == client; };
    auto const endBatch = [&] {
        for (std::uint64_t const present = m_batchCount; m_serving && m_batchCount == present;) {
            m_batchEnded.wait(lock);
        }
    };
    // Not for what others go on to queue meanwhile.
    std::uint64_t const last = m_queuedCount;
    auto const isDue = [&](Entry const& entry) { return isMine(entry) && entry.number <= last; };
    while (std::any_of(m_queue.begin(), m_queue.end(), isDue)) {
        m_batchEnded.wait(lock);
    }
    endBatch(); // it draws what its commands asked for
    if (std::none_of(m_queue.begin(), m_queue.end(), isMine)) {
        for (Client& entry : m_clients) {
            entry.resting = entry.resting || isMine(entry);
        }
    }
    endBatch(); // one that has begun meanwhile may still hold the window; those after it will not
}

bool RenderThread::IsCurrent() const {
    Lock const lock(m_mutex);
    return IsRunning();
}

void RenderThread::Run() {
    time_duration timeout(boost::posix_time::not_a_date_time);
    for (std::size_t batchSize = 0; WaitForWork(timeout, batchSize);) {
        TakeInput();
        for (; batchSize > 0; --batchSize) {
            ServeNext();
        }
        timeout = FinishBatch();
        EndBatch();
    }
    End();
    EndBatch();
}

bool RenderThread::WaitForWork(time_duration timeout, std::size_t& batchSize) {
    bool idle = false;
    {
        Lock const lock(m_mutex);
        idle = m_queue.empty() && IsRunning();
    }
    if (idle) {
        Sleep(timeout);
    }
    Lock const lock(m_mutex);
    if (!IsRunning()) {
        return false;
    }
    m_woken = false;
    batchSize = m_queue.size();
    m_serving = true;
    return true;
}

void RenderThread::Sleep(time_duration timeout) {
    Lock lock(m_mutex);
    if (timeout.is_not_a_date_time()) {
        while (!m_woken && IsRunning()) {
            m_work.wait(lock);
        }
    } else if (!m_woken && IsRunning()) {
        m_work.timed_wait(lock, timeout);
    }
}

void RenderThread::Wake() {
    {
        Lock const lock(m_mutex);
        m_woken = true;
    }
    m_work.notify_all();
}

void RenderThread::ServeNext() {
    Entry entry;
    boost::shared_ptr<RenderClient> client; // dropped last: it may be the window's last reference
    {
        Lock const lock(m_mutex);
        if (m_queue.empty() || !IsRunning()) {
            return;
        }
        entry = std::move(m_queue.front());
        m_queue.pop_front();
        client = entry.client.lock();
        if (!client && !entry.isCall) {
            m_orphans.push_back(std::move(entry)); // its window is about to retire
            return;
        }
    }
    if (entry.isCall) {
        entry.command->Execute(nullptr);
        entry.command->Complete();
        return;
    }
    client->Serve(entry.command);
    entry.command.reset();
}

void RenderThread::EndBatch() {
    {
        Lock const lock(m_mutex);
        if (IsRunning() || m_clients.empty()) {
            m_serving = false;
            ++m_batchCount;
        }
    }
    m_batchEnded.notify_all();
}

time_duration RenderThread::FinishBatch() {
    std::vector<Client> clients;
    {
        Lock const lock(m_mutex);
        if (IsRunning()) {
            clients = m_clients;
        }
    }
    time_duration timeout(boost::posix_time::not_a_date_time);
    for (Client const& entry : clients) {
        if (entry.resting) {
            continue;
        }
        if (boost::shared_ptr<RenderClient> const client = entry.client.lock()) {
            time_duration const wanted = client->FinishBatch();
            bool const sooner = timeout.is_not_a_date_time() || wanted < timeout;
            if (!wanted.is_not_a_date_time() && sooner) {
                timeout = wanted;
            }
        }
    }
    return timeout;
}

} // namespace drivers::support
