#pragma once

#include <string>

namespace kiv {

/// The bytes of a file. @throws std::runtime_error with the path and the system's reason
std::string ReadFile(std::string const& path);

/// Leaves either the old file or the new one, whole, wherever a crash comes: writes a new file in
/// the same folder, flushes it to disk and renames it over the old one.
/// @throws std::runtime_error with the path and the system's reason; the old file is as it was
void ReplaceFile(std::string const& path, std::string const& content);

} // namespace kiv
