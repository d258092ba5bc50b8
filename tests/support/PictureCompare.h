#pragma once

#include "cimage/TImage.h"

#include <gtest/gtest.h>

#include <string>

namespace tests {

using Picture = cimage::TImage<cimage::TRGBA<unsigned char>>;

/// Compares a picture with the golden one of that name, tests/golden/<name>.png.
///
/// On failure the actual picture and the difference (channel distances, brightened) are left in the
/// folder of the test output, and the message says where. With QUARN_UPDATE_GOLDEN=1 in the
/// environment the golden picture is written instead, and the comparison succeeds: look at it.
/// @param tolerance largest distance of a channel that still counts as equal
testing::AssertionResult
MatchesGolden(Picture const& picture, std::string const& name, int tolerance = 0);

} // namespace tests
