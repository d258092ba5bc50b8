#include "math/clip_line3.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <ostream>
#include <random>

namespace {

using math::Point2;
using math::Point3;
using math::Rect2;

Rect2<double> const Area{10, 20, 110, 70};
double const NotANumber = std::numeric_limits<double>::quiet_NaN();

struct LineCase {
    char const* what;
    Point3<double> line;
    bool hits;
    Point2<double> p0;
    Point2<double> p1;
};

std::ostream& operator<<(std::ostream& out, LineCase const& c) {
    return out << c.what;
}

class ClipLine3 : public testing::TestWithParam<LineCase> {};

TEST_P(ClipLine3, CutsToTheAreaOrLeavesTheSegmentAlone) {
    Point2<double> p0(-1, -2);
    Point2<double> p1(-3, -4);
    LineCase const& c = GetParam();
    EXPECT_EQ(math::clip_line3(c.line, Area, p0, p1), c.hits);
    EXPECT_DOUBLE_EQ(p0.x, c.hits ? c.p0.x : -1);
    EXPECT_DOUBLE_EQ(p0.y, c.hits ? c.p0.y : -2);
    EXPECT_DOUBLE_EQ(p1.x, c.hits ? c.p1.x : -3);
    EXPECT_DOUBLE_EQ(p1.y, c.hits ? c.p1.y : -4);
}

LineCase const LineCases[] = {
    {"horizontal", {0, 2, -100}, true, {10, 50}, {110, 50}},
    {"vertical", {-2, 0, 100}, true, {50, 20}, {50, 70}},
    {"on the top edge", {0, 1, -20}, true, {10, 20}, {110, 20}},
    {"on the right edge", {1, 0, -110}, true, {110, 20}, {110, 70}},
    {"above", {0, 1, -19.999}, false, {}, {}},
    {"right of it", {1, 0, -110.001}, false, {}, {}},
    {"flat, through both sides", {-0.1, 1, -39}, true, {10, 40}, {110, 50}},
    {"flat, cut by top and bottom", {-0.8, 1, 4}, true, {30, 20}, {92.5, 70}},
    {"45 degrees, cut by top", {1, -1, 0}, true, {20, 20}, {70, 70}},
    {"45 degrees falling, cut by left", {1, 1, -60}, true, {10, 50}, {40, 20}},
    {"steep, cut by left", {2, -1, 20}, true, {10, 40}, {25, 70}},
    {"touching the top left corner", {1, 1, -30}, true, {10, 20}, {10, 20}},
    {"touching the bottom right corner", {1, 1, -180}, true, {110, 70}, {110, 70}},
    {"past the top left corner", {1, 1, -29.999}, false, {}, {}},
    {"past the bottom left corner, steep", {4, -1, 31}, false, {}, {}},
    {"no direction", {0, 0, 5}, false, {}, {}},
    {"no number", {NotANumber, NotANumber, 0}, false, {}, {}},
    {"offset no number", {1, 0, NotANumber}, false, {}, {}},
};
INSTANTIATE_TEST_SUITE_P(Lines, ClipLine3, testing::ValuesIn(LineCases));

TEST(ClipLine3Rounding, NeverLosesOrLeavesTheAreaNearItsBorders) {
    // Lines through a point just inside a border, almost parallel to it.
    Rect2<float> const area(0.1F, 0.3F, 1920.7F, 1080.9F);
    std::mt19937 random(7);
    std::uniform_real_distribution<float> slope(-1e-6F, 1e-6F);
    for (int i = 0; i < 20000; ++i) {
        float const a = slope(random);
        Point3<float> const line(a, 1, -std::nextafter(area.bottom, 0.0F) - a * 960);
        Point2<float> p[2];
        ASSERT_TRUE(math::clip_line3(line, area, p[0], p[1])) << a;
        for (Point2<float> const& end : p) {
            ASSERT_TRUE(end.x >= area.left && end.x <= area.right) << a;
            ASSERT_TRUE(end.y >= area.top && end.y <= area.bottom) << a;
        }
    }
}

TEST(Rect2, PartsOnlyTouchingAreEmpty) {
    Rect2<int> const rect(0, 0, 10, 10);
    EXPECT_EQ(Intersect(rect, {4, -5, 20, 3}), Rect2<int>(4, 0, 10, 3));
    EXPECT_FALSE(Intersect(rect, {9, 9, 20, 20}).Empty());
    EXPECT_TRUE(Intersect(rect, {10, 0, 20, 10}).Empty());
    EXPECT_TRUE(Intersect(rect, {30, 2, 40, 8}).Empty());
}

} // namespace
