#pragma once

#include <vector>

namespace tests {

/// The drivers that a test program is about; each program says which.
std::vector<char const*> TestedDrivers();
/// Those of them that draw.
std::vector<char const*> DrawingDrivers();

} // namespace tests
