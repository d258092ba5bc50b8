#pragma once

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace drivers::raster {

/// Threads that share the work of large passes with the thread that draws, started when there is
/// some for the first time. May be used by several canvases at a time; whoever asks works too, so
/// that nobody ever waits for an idle pool.
class Workers {
public:
    static constexpr unsigned Most = 64;

    /// @param threads that draw at once, the asking one included; 1 or fewer: none but that one
    explicit Workers(unsigned threads) : m_wanted(std::clamp(threads, 1U, Most)) {}
    ~Workers();
    Workers(Workers const&) = delete;
    Workers& operator=(Workers const&) = delete;

    /// The process's workers of that number; 0 asks for one thread a processor. Ended with the
    /// last owner.
    static std::shared_ptr<Workers> Shared(unsigned threads);

    unsigned Threads() const { return m_wanted; }
    /// Calls work(0) ... work(count - 1), in any order and on any of the threads, and returns when
    /// all have returned. What one of them throws is thrown here.
    void Run(int count, std::function<void(int)> const& work);

private:
    struct Job;

    void Start();
    void Serve();
    void Help(Job& job, std::unique_lock<std::mutex>& lock);

    std::mutex m_mutex;
    std::condition_variable m_asked;
    std::condition_variable m_finished;
    std::deque<Job*> m_jobs;            ///< with parts that nobody has begun; guarded by m_mutex
    bool m_ends = false;                ///< guarded by m_mutex
    bool m_refused = false;             ///< the system gives no more threads; guarded by m_mutex
    std::vector<std::thread> m_threads; ///< guarded by m_mutex until the end
    unsigned const m_wanted;
};

} // namespace drivers::raster
