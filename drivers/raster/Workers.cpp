#include "drivers/raster/Workers.h"

#include <algorithm>
#include <exception>
#include <map>
#include <system_error>

namespace drivers::raster {

/// Guarded by the workers' mutex, but for the work itself.
struct Workers::Job {
    std::function<void(int)> const& work;
    int count;
    int begun = 0;
    int done = 0;
    std::exception_ptr error;
};

/// Fewer threads than wanted, where the system has no more, only take longer.
void Workers::Start() {
    try {
        while (m_threads.size() + 1 < m_wanted && !m_refused) {
            m_threads.emplace_back([this] { Serve(); });
        }
    } catch (std::system_error const&) {
        m_refused = true;
    }
}

Workers::~Workers() {
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_ends = true;
    }
    m_asked.notify_all();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
}

std::shared_ptr<Workers> Workers::Shared(unsigned threads) {
    static std::mutex mutex;
    static std::map<unsigned, std::weak_ptr<Workers>> known;
    if (threads == 0) {
        threads = std::thread::hardware_concurrency();
    }
    threads = std::clamp(threads, 1U, Most);
    std::lock_guard<std::mutex> const lock(mutex);
    std::shared_ptr<Workers> workers = known[threads].lock();
    if (!workers) {
        workers = std::make_shared<Workers>(threads);
        known[threads] = workers;
    }
    return workers;
}

void Workers::Serve() {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (true) {
        m_asked.wait(lock, [this] { return m_ends || !m_jobs.empty(); });
        if (m_jobs.empty()) {
            return;
        }
        Help(*m_jobs.front(), lock);
    }
}

/// Does parts of a job as long as there are any that nobody has begun.
void Workers::Help(Job& job, std::unique_lock<std::mutex>& lock) {
    while (job.begun < job.count) {
        int const part = job.begun++;
        if (job.begun == job.count) {
            m_jobs.erase(std::find(m_jobs.begin(), m_jobs.end(), &job));
        }
        lock.unlock();
        std::exception_ptr error;
        try {
            job.work(part);
        } catch (...) {
            error = std::current_exception();
        }
        lock.lock();
        job.error = job.error ? job.error : error;
        if (++job.done == job.count) {
            m_finished.notify_all(); // the job goes when its owner sees it; leave it alone
            return;
        }
    }
}

void Workers::Run(int count, std::function<void(int)> const& work) {
    Job job{work, count, 0, 0, {}};
    std::unique_lock<std::mutex> lock(m_mutex);
    if (count <= 0) {
        return;
    }
    Start();
    m_jobs.push_back(&job);
    m_asked.notify_all();
    Help(job, lock);
    m_finished.wait(lock, [&] { return job.done == job.count; });
    if (job.error) {
        std::rethrow_exception(job.error);
    }
}

} // namespace drivers::raster
