#include "drivers/support/RenderThread.h"

#include <algorithm>
#include <utility>

namespace drivers::support {

namespace {

using boost::posix_time::time_duration;
using Lock = boost::unique_lock<boost::mutex>;

} // namespace

RenderThread::~RenderThread() = default;

void RenderThread::Post(boost::shared_ptr<RenderClient> const& client, ui::win::SPCommand command) {
    RenderClient const* const key = client.get();
    {
        Lock const lock(m_mutex);
        auto const known = std::find_if(
            m_clients.begin(), m_clients.end(), [key](Client const& c) { return c.key == key; });
        if (known == m_clients.end()) {
            m_clients.push_back({key, client, false});
        } else {
            known->resting = false;
        }
        m_queue.push_back({key, client, std::move(command)});
        if (!m_thread.joinable()) {
            // The thread shares this object: it may outlive its last window's destruction.
            m_thread = boost::thread([self = shared_from_this()] { self->Run(); });
            m_threadId = m_thread.get_id();
        }
    }
    m_work.notify_all();
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
    m_work.notify_all();
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
    while (std::any_of(m_queue.begin(), m_queue.end(), isMine)) {
        m_batchEnded.wait(lock);
    }
    for (Client& entry : m_clients) {
        entry.resting = entry.resting || isMine(entry);
    }
    // The batch under way may still hold the window; those after it will not.
    if (m_serving) {
        for (std::uint64_t const present = m_batchCount; m_batchCount == present;) {
            m_batchEnded.wait(lock);
        }
    }
}

bool RenderThread::IsCurrent() const {
    Lock const lock(m_mutex);
    return IsRunning();
}

void RenderThread::Run() {
    time_duration timeout(boost::posix_time::not_a_date_time);
    for (std::size_t batchSize = 0; WaitForWork(timeout, batchSize);) {
        for (; batchSize > 0; --batchSize) {
            ServeNext();
        }
        timeout = FinishBatch();
        EndBatch();
    }
    EndBatch();
}

bool RenderThread::WaitForWork(time_duration timeout, std::size_t& batchSize) {
    Lock lock(m_mutex);
    if (timeout.is_not_a_date_time()) {
        while (m_queue.empty() && IsRunning()) {
            m_work.wait(lock);
        }
    } else if (m_queue.empty() && IsRunning()) {
        m_work.timed_wait(lock, timeout); // an early wake-up only makes an empty batch
    }
    if (!IsRunning()) {
        return false;
    }
    batchSize = m_queue.size();
    m_serving = true;
    return true;
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
        if (!client) {
            m_orphans.push_back(std::move(entry)); // its window is about to retire
            return;
        }
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
