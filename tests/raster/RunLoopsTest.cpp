#include "drivers/raster/detail/RunLoops.h"

#include "drivers/raster/detail/Clones.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

// The same loops once more, as this file's plain compiler options make them.
#undef RASTER_CLONES
#define RASTER_CLONES
namespace drivers::raster::plain {
using namespace drivers::raster::detail;
}
#define detail plain
#include "drivers/raster/detail/RunLoops.cpp"
#undef detail

namespace tests {

namespace {

namespace cloned = drivers::raster::detail;
namespace plain = drivers::raster::plain;

constexpr int kLength = cloned::RunLength;

/// Numbers of which some are none, and some beyond every picture.
std::vector<double> Numbers(unsigned seed) {
    std::minstd_rand random(seed);
    std::vector<double> numbers(2 * kLength);
    for (double& number : numbers) {
        number = (double(random() % 4096) - 1024) / 7;
    }
    numbers[3] = 0.0 / 0.0;
    numbers[kLength + 5] = 1e300;
    return numbers;
}

TEST(RunLoops, GiveTheSameBitsOnEveryProcessor) {
    using Values = double[4][kLength];
    cloned::Slope const slopes[] = {
        {3, 0.7, -0.1}, {1e5, -31, 2}, {-4, 1e-3, 1}, {0.5, 3e-4, 1e-5}};
    double const rows[] = {2.5, 1e4, -7, 0.3};
    for (int count = 1; count <= kLength; ++count) {
        SCOPED_TRACE(count);
        auto const bytes = static_cast<std::size_t>(count);
        float there[2][kLength];
        std::uint32_t seen[2][kLength];
        std::vector<double> const numbers = Numbers(static_cast<unsigned>(count));
        for (int k = 0; k < kLength; ++k) {
            there[0][k] = there[1][k] = static_cast<float>(numbers[std::size_t(k)] / 100);
        }
        EXPECT_EQ(
            cloned::TakeOver(9, count, 4.3, 0.2, 0.01, there[0], seen[0]),
            plain::TakeOver(9, count, 4.3, 0.2, 0.01, there[1], seen[1]));
        EXPECT_EQ(0, std::memcmp(there[0], there[1], sizeof there[0]));
        EXPECT_EQ(0, std::memcmp(seen[0], seen[1], bytes * sizeof seen[0][0]));

        Values values[2] = {};
        double scale[2][kLength];
        cloned::ValuesAlong(3, 9, count, 4.3, rows, slopes, scale[0], values[0]);
        plain::ValuesAlong(3, 9, count, 4.3, rows, slopes, scale[1], values[1]);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(0, std::memcmp(values[0][i], values[1][i], bytes * sizeof(double)));
        }
        std::vector<double> dx = Numbers(7);
        std::vector<double> dy = Numbers(8);
        cloned::ValuesAt(4, count, dx.data(), dy.data(), slopes, nullptr, values[0]);
        plain::ValuesAt(4, count, dx.data(), dy.data(), slopes, nullptr, values[1]);
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(0, std::memcmp(values[0][i], values[1][i], bytes * sizeof(double)));
        }

        drivers::raster::Colour colours[2][kLength];
        cloned::ColoursOf(4, count, values[0], 0, colours[0]);
        plain::ColoursOf(4, count, values[0], 0, colours[1]);
        EXPECT_TRUE(std::equal(colours[0], colours[0] + count, colours[1]));

        int texels[2][2][kLength];
        double const* const u = numbers.data();
        double const* const v = u + kLength;
        cloned::NearestTexels(count, u, v, 300, 99, texels[0][0], texels[0][1]);
        plain::NearestTexels(count, u, v, 300, 99, texels[1][0], texels[1][1]);
        for (int axis = 0; axis < 2; ++axis) {
            EXPECT_TRUE(std::equal(texels[0][axis], texels[0][axis] + count, texels[1][axis]));
        }
    }
}

} // namespace

} // namespace tests
