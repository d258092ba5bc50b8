#pragma once

#include <sys/resource.h>

#include <csignal>

namespace tests {

/// While it lives no file of this process grows beyond a size, as on a disk that is full.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &m_limit);
        rlimit const full{bytes, m_limit.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &full);
    }
    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &m_limit);
        std::signal(SIGXFSZ, m_handler);
    }
    FullDisk(FullDisk const&) = delete;
    FullDisk& operator=(FullDisk const&) = delete;

private:
    void (*m_handler)(int);
    rlimit m_limit{};
};

} // namespace tests
