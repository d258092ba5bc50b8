#include "kiv/FileIO.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace kiv {

namespace {

[[noreturn]] void Fail(char const* what, std::string const& path, int error) {
    std::string const reason = std::generic_category().message(error);
    throw std::runtime_error(std::string(what) + " `" + path + "': " + reason);
}

// Calls again when a signal came in between.
template <class Call>
auto Retry(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() { Close(); }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;

    int Get() const { return m_fd; }
    bool Close() {
        int const fd = m_fd;
        m_fd = -1;
        return fd < 0 || ::close(fd) == 0;
    }

private:
    int m_fd;
};

bool WriteAll(int fd, std::string const& content) {
    std::size_t done = 0;
    while (done < content.size()) {
        auto const count =
            Retry([&] { return ::write(fd, content.data() + done, content.size() - done); });
        if (count < 0) {
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}

// The file that a chain of symbolic links ends at, there or not, so that a save makes or replaces
// that and not the link.
std::filesystem::path Target(std::string const& path) {
    constexpr int kLongestChain = 40; // as the system's own
    std::filesystem::path target = path;
    std::error_code error;
    for (int links = 0; std::filesystem::is_symlink(target, error); ++links) {
        if (links == kLongestChain) {
            Fail("Cannot write", path, ELOOP);
        }
        target = target.parent_path() / std::filesystem::read_symlink(target);
    }
    return target;
}

int OpenNew(std::filesystem::path const& folder, std::filesystem::path& name) {
    static std::atomic<unsigned> counter{0};
    int fd = -1;
    do {
        name = folder / (".kiv-" + std::to_string(::getpid()) + '-' + std::to_string(++counter));
        fd = Retry(
            [&] { return ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666); });
    } while (fd < 0 && errno == EEXIST);
    return fd;
}

void SyncFolder(std::filesystem::path const& folder) {
    // Best effort: some file systems cannot flush a folder, and the file is whole already.
    Descriptor const fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.Get() >= 0) {
        ::fsync(fd.Get());
    }
}

} // namespace

std::string ReadFile(std::string const& path) {
    Descriptor const fd(Retry([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
    if (fd.Get() < 0) {
        Fail("Cannot read", path, errno);
    }
    struct stat status = {};
    if (::fstat(fd.Get(), &status) != 0) {
        Fail("Cannot read", path, errno);
    }
    if (!S_ISREG(status.st_mode) && !S_ISFIFO(status.st_mode)) { // devices may never end
        Fail("Cannot read", path, S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    }
    std::string content;
    std::size_t size = 0;
    bool const sized = status.st_size > 0;
    content.resize((sized ? static_cast<std::size_t>(status.st_size) : 0) + 1);
    for (;;) {
        auto const count =
            Retry([&] { return ::read(fd.Get(), content.data() + size, content.size() - size); });
        if (count < 0) {
            Fail("Cannot read", path, errno);
        }
        if (count == 0) {
            content.resize(size);
            return content;
        }
        size += static_cast<std::size_t>(count);
        if (size == content.size()) {
            content.resize(size * 2);
        }
    }
}

void ReplaceFile(std::string const& path, std::string const& content) {
    std::filesystem::path const target = Target(path);
    std::filesystem::path const folder = target.has_parent_path() ? target.parent_path() : ".";
    struct stat old = {};
    bool const exists = ::stat(target.c_str(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) {
        Fail("Cannot write", path, S_ISDIR(old.st_mode) ? EISDIR : EINVAL);
    }
    if (exists && ::access(target.c_str(), W_OK) != 0) {
        Fail("Cannot write", path, errno);
    }
    std::filesystem::path temporary;
    Descriptor fd(OpenNew(folder, temporary));
    if (fd.Get() < 0) {
        Fail("Cannot write", path, errno);
    }
    bool const written = (!exists || ::fchmod(fd.Get(), old.st_mode & 07777) == 0) &&
                         WriteAll(fd.Get(), content) && ::fsync(fd.Get()) == 0 && fd.Close() &&
                         ::rename(temporary.c_str(), target.c_str()) == 0;
    if (!written) {
        int const error = errno;
        ::unlink(temporary.c_str());
        Fail("Cannot write", path, error);
    }
    SyncFolder(folder);
}

} // namespace kiv
