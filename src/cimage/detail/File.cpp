#include "cimage/detail/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace cimage {
namespace detail {

namespace {

[[noreturn]] void ThrowErrno() {
    throw std::runtime_error(std::generic_category().message(errno));
}

/// Owns the descriptor from here on.
FilePtr ToFile(int descriptor, char const* mode) {
    FilePtr file(::fdopen(descriptor, mode));
    if (!file) {
        int const reason = errno;
        ::close(descriptor);
        errno = reason;
        ThrowErrno();
    }
    return file;
}

std::string FollowLinks(std::string const& path) {
    namespace fs = std::filesystem;
    std::error_code failure;
    if (!fs::is_symlink(path, failure)) {
        return path;
    }
    fs::path const target = fs::weakly_canonical(path, failure);
    return failure ? path : target.string();
}

std::string NextTemporaryPath(std::string const& path) {
    static std::atomic<unsigned> count{0};
    std::filesystem::path const name =
        ".cimage-" + std::to_string(::getpid()) + "-" + std::to_string(count++) + ".tmp";
    return (std::filesystem::path(path).parent_path() / name).string();
}

} // namespace

FilePtr OpenForReading(std::string const& path) {
    // Without waiting: a pipe that nobody writes to is refused below, not waited for.
    int const descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        ThrowErrno();
    }
    FilePtr file = ToFile(descriptor, "rb");
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) {
        ThrowErrno();
    }
    if (S_ISDIR(status.st_mode)) {
        throw std::runtime_error("it is a folder");
    }
    if (!S_ISREG(status.st_mode)) {
        throw std::runtime_error("it is not a regular file");
    }
    return file;
}

std::uint64_t BytesLeft(std::FILE* file) {
    struct stat status {};
    off_t const position = ::ftello(file);
    if (position < 0 || ::fstat(::fileno(file), &status) != 0) {
        ThrowErrno();
    }
    return status.st_size > position ? static_cast<std::uint64_t>(status.st_size - position) : 0;
}

void WriteBytes(std::FILE* file, void const* bytes, std::size_t size) {
    if (std::fwrite(bytes, 1, size, file) != size) {
        ThrowErrno();
    }
}

ReplacementFile::ReplacementFile(std::string const& path) : m_path(FollowLinks(path)) {
    if (::access(m_path.c_str(), F_OK) == 0 && ::access(m_path.c_str(), W_OK) != 0) {
        ThrowErrno(); // a write-protected file would be replaced without complaint
    }
    int descriptor = -1;
    do {
        m_temporaryPath = NextTemporaryPath(m_path);
        descriptor = ::open(m_temporaryPath.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (descriptor < 0 && errno == EEXIST);
    if (descriptor < 0) {
        ThrowErrno();
    }
    try {
        m_file = ToFile(descriptor, "w+b");
    } catch (...) {
        ::unlink(m_temporaryPath.c_str());
        throw;
    }
}

ReplacementFile::~ReplacementFile() {
    if (!m_temporaryPath.empty()) {
        ::unlink(m_temporaryPath.c_str());
    }
}

void ReplacementFile::Commit() {
    // Closing reports what the file system could not write.
    if (std::fclose(m_file.release()) != 0) {
        ThrowErrno();
    }
    if (std::rename(m_temporaryPath.c_str(), m_path.c_str()) != 0) {
        ThrowErrno();
    }
    m_temporaryPath.clear();
}

} // namespace detail
} // namespace cimage
