#pragma once

#include <string>

namespace kiv::ini::detail {

// Both throw std::runtime_error with the path and the system's reason.
std::string ReadFile(std::string const& path);

// Leaves either the old file or the new one, whole, wherever a crash comes: writes a new file in
// the same folder, flushes it to disk and renames it over the old one.
void ReplaceFile(std::string const& path, std::string const& content);

} // namespace kiv::ini::detail
