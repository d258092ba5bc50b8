#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace cimage {
namespace detail {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

/// Opens a regular file for reading. Throws std::runtime_error with the reason.
FilePtr OpenForReading(std::string const& path);

/// Bytes between the position of a regular file and its end.
std::uint64_t BytesLeft(std::FILE* file);

/// Writes size bytes. Throws std::runtime_error with the reason when not all can be written.
void WriteBytes(std::FILE* file, void const* bytes, std::size_t size);

/// A file that appears under its name whole or not at all.
///
/// It is written under a temporary name in the folder of the file it becomes (a link is followed
/// to the file that it names). When it is not committed it disappears. Guards against failures of
/// the program and a full disk; it does not wait for the disk, so a power cut may lose the file.
class ReplacementFile {
public:
    /// Throws std::runtime_error with the reason, as when the folder is missing.
    explicit ReplacementFile(std::string const& path);
    ~ReplacementFile();
    ReplacementFile(ReplacementFile const&) = delete;
    ReplacementFile& operator=(ReplacementFile const&) = delete;

    std::FILE* Handle() const { return m_file.get(); }

    /// Gives the file its name, in place of any file of that name. Throws std::runtime_error.
    void Commit();

private:
    std::string m_path;
    std::string m_temporaryPath;
    FilePtr m_file;
};

} // namespace detail
} // namespace cimage
