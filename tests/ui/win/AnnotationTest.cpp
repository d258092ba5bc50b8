#include "support/CapturedOutput.h"
#include "support/WidgetSteps.h"
#include "ui/win/widgets/AnnWidget.h"
#include "ui/win/widgets/CalibrationWidget.h"
#include "ui/win/widgets/ExtraWidget.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace {

using namespace ui::win;
using namespace tests;
using testing::ElementsAre;
using Point2f = math::Point2<float>;
using Point2d = math::Point2<double>;
using Rect = math::Rect2<float>;

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float inf = std::numeric_limits<float>::infinity();

std::string Text(Rect const& r) {
    std::ostringstream text;
    text << r.left << ' ' << r.top << ' ' << r.right << ' ' << r.bottom;
    return text.str();
}

template <class T>
std::string Text(math::Point2<T> const& p) {
    std::ostringstream text;
    text << p.x << ',' << p.y;
    return text.str();
}

/// Box, then what is held of it: edges as their signs, 'm' moving, 'h' highlighted.
std::string Text(CResizableBox const& box) {
    return Text(box.Box()) + " " + "-0+"[box.HorizontalEdge() + 1] + "-0+"[box.VerticalEdge() + 1] +
           (box.Moving() ? "m" : "") + (box.Highlighted() ? "h" : "") + (box.Dragging() ? "" : "!");
}

TEST(ResizableBox, IsGrabbedMovedAndResized) {
    RecordingCore core;
    Rect const bounds(100, 100, 300, 200);
    CResizableBox box({20, 20, 80, 60}, bounds, false); // 120 120 180 160
    EXPECT_EQ(box.OuterArea(), Rect(91, 91, 309, 209));
    ExpectSteps(
        core,
        box,
        [&] { return Text(box); },
        {{Motion(250, 150), false, "120 120 180 160 00!", 0},
         {Motion(150, 140), true, "120 120 180 160 00h!", 1},
         {Motion(151, 140), false, "120 120 180 160 00h!", 0},
         {Motion(99.9F, 150), false, "120 120 180 160 00h!", 0}, // beyond the bounds: not looked at
         {Press(99.9F, 150), false, "120 120 180 160 00h!", 0},
         {Motion(100, 150), true, "120 120 180 160 00!", 1},
         {Press(111, 140), false, "120 120 180 160 00!", 0},
         {Press(112, 140), true, "120 120 180 160 -0", 0},
         {Motion(90, 90), true, "100 120 180 160 -0h", 1},
         {Motion(220, 140), true, "220 120 180 160 -0h", 1},
         {Motion(110, 140), true, "110 120 180 160 -0h", 1},
         {Key('x'), false, "110 120 180 160 -0h", 0},
         {Motion(nan, 140), true, "110 120 180 160 -0h", 0},
         {Release(110, 140), false, "110 120 180 160 00h!", 0},
         {Press(180, 160, ButtonRight), true, "110 120 180 160 00mh", 0},
         {Motion(190, 165), true, "120 125 190 165 00mh", 1},
         {Motion(390, 165), true, "320 125 390 165 00mh", 1},
         {Motion(inf, 165), true, "320 125 390 165 00mh", 0},
         {Motion(190, 165), true, "120 125 190 165 00mh", 1},
         {Release(190, 165), false, "120 125 190 165 00h!", 0},
         {Press(185, 130), true, "120 125 190 165 +-h", 0},
         {Motion(250, 400), true, "120 200 250 165 +-h", 1},
         {Release(250, 400), false, "120 200 250 165 00h!", 0}});
}

TEST(ResizableBox, GrabsTheLeftAndTopEdgeOfANarrowBox) {
    RecordingCore core;
    CResizableBox box({50, 50, 60, 60}, {0, 0, 100, 100}, false);
    for (float const border : {41.0F, 69.0F}) {
        EXPECT_FALSE(box.Interact(&core, Press(border, 55))) << "the tolerance is exclusive";
        EXPECT_FALSE(box.Interact(&core, Press(55, border)));
    }
    EXPECT_TRUE(box.Interact(&core, Press(58, 58)));
    EXPECT_EQ(Text(box), "50 50 60 60 --");
    EXPECT_TRUE(box.left() && box.right() && box.top() && box.bottom());
    box.Interact(&core, Motion(50, 50));
    EXPECT_FALSE(box.top()) << "on the corner itself no edge is";

    CResizableBox point({5, 5, 5, 5}, {0, 0, 0, 0}, true);
    EXPECT_FALSE(point.Interact(&core, Press(0, 0)));
    CResizableBox everywhere({0, 0, 0, 0}, {0, 0, 0, 0}, true);
    EXPECT_TRUE(everywhere.Interact(&core, Press(0, 0))) << "all its sides are inside";
}

std::string Text(CLinesSheaf const& sheaf) {
    std::string text = Text(sheaf.Centre()) + " :";
    for (Point2f const& normal : sheaf.Normals()) {
        text += " " + Text(normal);
    }
    return text + " " + std::to_string(sheaf.Selected()) + (sheaf.Active() ? "a" : "");
}

TEST(LinesSheaf, TurnsAndMovesItsLines) {
    RecordingCore core;
    CLinesSheaf sheaf({100, 100}, {0, 0, 200, 200});
    ExpectSteps(
        core,
        sheaf,
        [&] { return Text(sheaf); },
        {{Motion(100, 100), false, "100,100 : 0.5,0.5 -0.5,0.5 0", 0},
         {Press(100, 100, ButtonRight), false, "100,100 : 0.5,0.5 -0.5,0.5 0", 0},
         {Press(100, 10), true, "100,100 : 0.5,0.5 -0.5,0.5 -1", 0},
         {Motion(100, 50), false, "100,100 : 0.5,0.5 -0.5,0.5 -1", 0},
         {Press(105, 100, ButtonLeft | ButtonRight), true, "100,100 : 0.5,0.5 -0.5,0.5 -1a", 0},
         {Press(0, 0, ButtonRight), true, "100,100 : 0.5,0.5 -0.5,0.5 -1a", 0},
         {Motion(110, 90), true, "110,90 : 0.5,0.5 -0.5,0.5 -1a", 1},
         {Motion(nan, 90), true, "110,90 : 0.5,0.5 -0.5,0.5 -1a", 0},
         {Release(0, 0), true, "110,90 : 0.5,0.5 -0.5,0.5 -1", 0},
         {Release(0, 0), false, "110,90 : 0.5,0.5 -0.5,0.5 -1", 0},
         {Press(110, 84), true, "110,90 : 0.5,0.5 -0.5,0.5 0a", 0}, // both as far: the first
         {Motion(112, 86), true, "110,90 : -0.5,-0.25 -0.5,0.5 0a", 1},
         {Motion(110, 86), true, "110,90 : -inf,-0.25 -0.5,0.5 0a", 1},
         {Release(0, 0), true, "110,90 : -inf,-0.25 -0.5,0.5 0", 0},
         {Key('+'), true, "110,90 : -inf,-0.25 -0.5,0.5 0,1 0", 1},
         {Key('x'), false, "110,90 : -inf,-0.25 -0.5,0.5 0,1 0", 0},
         {Press(190, 90 + 31), true, "110,90 : -inf,-0.25 -0.5,0.5 0,1 2a", 0},
         {Key('-'), true, "110,90 : -inf,-0.25 -0.5,0.5 2a", 1},
         {Motion(0, 0), true, "110,90 : -inf,-0.25 -0.5,0.5 2a", 1}, // it has gone
         {Release(0, 0), true, "110,90 : -inf,-0.25 -0.5,0.5 2", 0},
         {Press(nan, 0), true, "110,90 : -inf,-0.25 -0.5,0.5 -1", 0},
         {Key('-'), true, "110,90 : -inf,-0.25 -1", 1},
         {Key('-'), true, "110,90 : -1", 1}});
    EXPECT_THROW(sheaf.Interact(&core, Key('-')), std::length_error);
    EXPECT_TRUE(sheaf.Normals().empty());
    EXPECT_TRUE(sheaf.try_lock()) << "it let go of its mutex";
    sheaf.unlock();
}

TEST(LinesSheaf, IsTakenAtItsDistances) {
    RecordingCore core;
    struct {
        float x;
        float y;
        char const* grabbed;
    } const cases[] = {
        {105.6F, 100, "-1a"}, {104, 104, "1a"}, {180, 131.9F, "2a"}, {250, 132, "-1"}};
    for (auto const& c : cases) {
        CLinesSheaf sheaf({100, 100}, {0, 0, 200, 200});
        sheaf.Interact(&core, Key('+'));
        EXPECT_TRUE(sheaf.Interact(&core, Press(c.x, c.y)));
        EXPECT_EQ(Text(sheaf), std::string("100,100 : 0.5,0.5 -0.5,0.5 0,1 ") + c.grabbed) << c.x;
    }
}

TEST(LinesSheaf, LeavesOutLinesThatMissItsArea) {
    RecordingCore core;
    EXPECT_EQ(CLinesSheaf({10, 20}, {0, 0, 100, 50}).vector_to_line({2, 3}).z, -80);
    EXPECT_EQ(CLinesSheaf({10, 20}, {50, 0, 60, 5}).Draw(&core), 2);
    EXPECT_THAT(core.Take(), ElementsAre("DrawLine 10 15 10 25", "DrawLine 5 20 15 20"));
}

TEST(PolyWidget, DragsTheVerticesOfItsOwner) {
    RecordingCore core;
    Point2d points[] = {{0, 0}, {100, 0}, {100, 0}, {0, 100}};
    CPolyWidget<Point2d> polygon(points, 4, 10);
    ExpectSteps(
        core,
        polygon,
        [&] { return std::to_string(polygon.Selected()) + " " + Text(points[1]); },
        {{Motion(100, 0), false, "-1 100,0", 0},
         {Release(100, 0), false, "-1 100,0", 0},
         {Press(100, 14.2F), false, "-1 100,0", 0},
         {Press(100, 14, ButtonRight), false, "-1 100,0", 0},
         {Press(100, 14), true, "1 100,0", 0},
         {Key('x'), false, "1 100,0", 0},
         {Motion(50.5F, -3), true, "1 50.5,-3", 1},
         {Motion(50, inf), true, "1 50.5,-3", 0},
         {Press(500, 500), false, "1 50.5,-3", 0}, // a press beside everything lets go of nothing
         {Release(0, 0), true, "-1 50.5,-3", 0},
         {Press(nan, 0), false, "-1 50.5,-3", 0}});
    EXPECT_EQ(polygon.find_near(0, 96), 3);
}

TEST(PolyWidget, CountsItsVerticesWhereItIsDrawn) {
    RecordingCore core;
    Point2f points[] = {{10, 10}, {20, 10}};
    EXPECT_EQ(CPolyWidget<Point2f>(points, 2, 5).Draw(&core), 3);
    core.Take();
    CPolyWidget<Point2f> none(points, 0, 5);
    EXPECT_EQ(none.find_near(10, 10), -1);
    EXPECT_EQ(none.Draw(&core), 1);
    EXPECT_THAT(core.Take(), ElementsAre("DrawPolyLine (10,10) 0"));
    EXPECT_EQ(CPolyWidget<Point2f>(nullptr, 0, 5).Draw(&core), 1);
    EXPECT_THROW(CPolyWidget<Point2f>(nullptr, 1, 5), std::invalid_argument);
}

TEST(AnnotationWidgets, WaitForWhoHoldsTheirMutex) {
    RecordingCore core;
    CLinesSheaf sheaf({0, 0}, {0, 0, 200, 200});
    Point2f vertex;
    CPolyWidget<Point2f> polygon(&vertex, 1, 10);
    auto const expectWait = [&](auto& widget, Point2f const& written) {
        widget.Interact(&core, Press(0, 0));
        widget.lock();
        std::thread drag([&] { widget.Interact(&core, Motion(50, 50)); });
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(written, Point2f(0, 0));
        widget.unlock();
        drag.join();
        EXPECT_EQ(written, Point2f(50, 50));
    };
    expectWait(sheaf, sheaf.Centre());
    expectWait(polygon, vertex);
}

template <class T>
struct Calibration : testing::Test {};
using Coordinates = testing::Types<float, double>;
TYPED_TEST_SUITE(Calibration, Coordinates);

TYPED_TEST(Calibration, PointsAreDraggedHiddenAndResized) {
    CapturedOutput output;
    RecordingCore core;
    CalibrationWidget<TypeParam> widget({{0, 0}, {200, 0}, {200, 0}});
    auto& points = widget.Points();
    auto const state = [&] {
        return Text(points[0]) + " " + Text(points[1]) + " " +
               (widget.Selected() ? std::to_string(widget.Selected() - points.data()) : "-") + " " +
               std::to_string(widget.Style()) + " " + std::to_string(std::lround(widget.Size()));
    };
    ExpectSteps(
        core,
        widget,
        state,
        {{Motion(0, 0), false, "0,0 200,0 - 0 5", 0},
         {Release(0, 0), true, "0,0 200,0 - 0 5", 0},
         {Press(0, 72), false, "0,0 200,0 - 0 5", 0},
         {Press(0, 71, ButtonRight), true, "0,71 200,0 0 0 5", 1},
         {Motion(1.5F, -2), true, "1.5,-2 200,0 0 0 5", 1},
         {Motion(inf, -2), true, "1.5,-2 200,0 0 0 5", 0},
         {Press(500, 500), false, "1.5,-2 200,0 - 0 5", 0},
         {Motion(1, 1), false, "1.5,-2 200,0 - 0 5", 0},
         {Press(nan, 1), false, "1.5,-2 200,0 - 0 5", 0},
         {Press(200, 10), true, "1.5,-2 200,10 1 0 5", 1},
         {Release(200, 10), true, "1.5,-2 200,10 - 0 5", 0},
         {Key('s'), true, "1.5,-2 200,10 - 1 5", 1},
         {Key('s'), true, "1.5,-2 200,10 - 0 5", 1},
         {Key('e'), true, "1.5,-2 200,10 - 0 10", 1},
         {Key('e'), true, "1.5,-2 200,10 - 0 20", 1},
         {Key('r'), true, "1.5,-2 200,10 - 0 10", 1},
         {Key('x'), false, "1.5,-2 200,10 - 0 10", 0}});
    output.Take();
    ExpectSteps(core, widget, state, {{Key('-'), true, "1.5,-2 200,10 - 0 10", 1}});
    EXPECT_EQ(output.Take(), "Keyboard...45\n");
    ExpectSteps(
        core,
        widget,
        state,
        {{Press(200, 20), true, "1.5,-2 200,20 1 0 10", 1},
         {Key('d'), true, "1.5,-2 -1,20 - 0 10", 1},
         {Press(0, 20), true, "0,20 -1,20 0 0 10", 1}}); // not the hidden one, which is nearer
    EXPECT_EQ(output.Take(), "Keyboard...100\n** HIDDEN INDEX **\n");
    points.clear(); // the owner's right
    EXPECT_FALSE(widget.Interact(&core, Motion(9, 9)));
    EXPECT_EQ(widget.Draw(&core), 0);
}

TYPED_TEST(Calibration, PointsKeepTheirNumbersWhenOneIsHidden) {
    RecordingCore core;
    CalibrationWidget<TypeParam> widget({{10, 10}, {-1, 10}, {30, 10}});
    EXPECT_EQ(widget.Draw(&core), 3);
    EXPECT_EQ(core.Count("DrawText"), 2U);
    EXPECT_THAT(core.Take().back(), testing::HasSubstr("'2'"));
    EXPECT_EQ(CalibrationWidget<TypeParam>().Draw(&core), 0);
    widget.setStyle(std::numeric_limits<int>::max());
    CapturedOutput const output;
    widget.Interact(&core, Key('s'));
    EXPECT_EQ(widget.Style(), 0);
}

TEST(KeyboardEvents, GoToTheCallback) {
    RecordingCore core;
    std::string keys;
    KeyboardEventWidget widget([&](int key) {
        keys += static_cast<char>(key);
        return key == 'a';
    });
    ExpectSteps(
        core,
        widget,
        [&] { return keys; },
        {{Press(0, 0), false, "", 0}, {Key('a'), true, "a", 1}, {Key('b'), false, "ab", 0}});
    EXPECT_EQ(widget.Draw(&core), 0);
    EXPECT_THROW(KeyboardEventWidget({}).Interact(&core, Key('a')), boost::bad_function_call);
}

} // namespace
