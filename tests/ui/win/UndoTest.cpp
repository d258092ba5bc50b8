#include "support/CapturedOutput.h"
#include "support/WidgetSteps.h"
#include "ui/win/widgets/AnnWidget.h"
#include "ui/win/widgets/CalibrationWidget.h"
#include "ui/win/widgets/ExtraWidget.h"

#include <boost/make_shared.hpp>

#include <memory>
#include <tuple>

namespace {

using namespace ui::win;
using namespace tests;
using Point2f = math::Point2<float>;

/// One of each widget on one stack, all the geometry in a comparable form.
struct Undo : testing::Test {
    Undo() {
        box.SetUndoStack(stack);
        sheaf.SetUndoStack(stack);
        polygon.SetUndoStack(stack);
        points->SetUndoStack(stack);
    }

    using Geometry = std::tuple<
        math::Rect2<float>,
        Point2f,
        std::vector<Point2f>,
        std::vector<Point2f>,
        std::vector<math::Point2<double>>>;

    Geometry Present() const {
        return {box.Box(), sheaf.Centre(), sheaf.Normals(), vertices, points->Points()};
    }

    /// A press, two moves and the release.
    static std::vector<Event> DragOf(Point2f const& a, Point2f const& b) {
        Event const detour = Motion(b.x + 7, b.y + 3, 1);
        return {Press(a.x, a.y), detour, Motion(b.x, b.y, 1), Release(b.x, b.y)};
    }
    void Offer(CWidget& widget, std::vector<Event> const& events) {
        for (Event const& event : events) {
            widget.Interact(&core, event);
        }
    }
    void Drag(CWidget& widget, Point2f const& from, Point2f const& to) {
        Offer(widget, DragOf(from, to));
    }

    CapturedOutput output;
    RecordingCore core;
    boost::shared_ptr<CUndoStack> stack = boost::make_shared<CUndoStack>();
    std::vector<Point2f> vertices = {{10, 10}, {50.1F, 10}};
    CResizableBox box{{20.3F, 20, 80, 60.7F}, {100, 100, 300, 200}, false};
    CLinesSheaf sheaf{{100, 100}, {0, 0, 200, 200}};
    CPolyWidget<Point2f> polygon{vertices.data(), 2, 10};
    std::unique_ptr<CalibrationWidget<double>> points = std::make_unique<CalibrationWidget<double>>(
        std::vector<math::Point2<double>>{{10.1, 10}, {200.7, 10}});
};

TEST_F(Undo, TakesEveryGestureBackAndDoesItAgainExactly) {
    std::vector<Geometry> history = {Present()};
    struct Gesture {
        CWidget& widget;
        std::vector<Event> events;
    };
    for (Gesture const& gesture : std::vector<Gesture>{
             {box, DragOf({121, 140}, {105, 130})},
             {box, DragOf({150, 140}, {400, 30})},
             {sheaf, DragOf({100, 100}, {90, 80})},
             {sheaf, DragOf({120, 110}, {90, 50})}, // an infinite normal
             {sheaf, {Key('+')}},
             {sheaf, {Press(90, 80), Motion(91, 81), Key('-'), Release(91, 81)}},
             {polygon, DragOf({50, 10}, {60, 20})},
             {*points, DragOf({15, 15}, {20.5F, 20})},
             {*points, {Press(200, 20), Key('-'), Release(200, 20)}}}) {
        Offer(gesture.widget, gesture.events);
        history.push_back(Present());
    }
    ASSERT_EQ(stack->UndoCount(), history.size() - 1);
    for (std::size_t i = history.size() - 1; i-- > 0;) {
        EXPECT_TRUE(stack->Undo());
        EXPECT_EQ(Present(), history[i]) << i;
    }
    EXPECT_FALSE(stack->Undo());
    for (std::size_t i = 1; i < history.size(); ++i) {
        EXPECT_TRUE(stack->Redo());
        EXPECT_EQ(Present(), history[i]) << i;
    }
    EXPECT_FALSE(stack->Redo());
}

TEST_F(Undo, MakesNoEntryOfWhatChangesNothing) {
    Drag(box, {500, 500}, {501, 501});
    box.Interact(&core, Press(150, 140));
    box.Interact(&core, Release(150, 140));
    Drag(sheaf, {10, 100}, {20, 20});
    Drag(polygon, {90, 90}, {1, 1});
    Drag(*points, {500, 500}, {501, 501});
    EXPECT_THROW(
        for (int i = 0; i < 3; ++i) { sheaf.Interact(&core, Key('-')); }, std::length_error);
    EXPECT_EQ(stack->UndoCount(), 2U) << "the two lines taken away";
}

TEST_F(Undo, WaitsForTheGestureUnderWay) {
    Drag(*points, {10, 10}, {20, 20});
    Geometry const before = Present();
    points->Interact(&core, Press(20, 25));
    EXPECT_FALSE(stack->Undo());
    points->Interact(&core, Press(205, 10)); // the release in between was lost
    points->Interact(&core, Release(205, 10));
    EXPECT_EQ(stack->UndoCount(), 3U);
    EXPECT_TRUE(stack->Undo());
    EXPECT_TRUE(stack->Undo());
    EXPECT_EQ(Present(), before);

    points->Interact(&core, Press(20, 25));
    points->Points().clear(); // with the point held
    points->Interact(&core, Release(20, 25));
    EXPECT_FALSE(stack->Undo()) << "there is nothing left to put back";
    EXPECT_EQ(stack->UndoCount(), 0U);
}

TEST_F(Undo, PassesOverWidgetsThatAreGone) {
    Drag(polygon, {50, 10}, {60, 20});
    Drag(*points, {10, 10}, {20, 20});
    points->Interact(&core, Press(20, 20));
    points.reset(); // also ends the gesture under way
    EXPECT_TRUE(stack->Undo());
    EXPECT_EQ(vertices[1], Point2f(50.1F, 10));
    EXPECT_EQ(stack->RedoCount(), 1U);
}

TEST_F(Undo, ForgetsTheOldestAndWhatWasUndone) {
    stack = boost::make_shared<CUndoStack>(2);
    polygon.SetUndoStack(stack);
    for (float x : {60.0F, 70.0F, 80.0F}) {
        Drag(polygon, {vertices[1].x, 10}, {x, 10});
    }
    EXPECT_TRUE(stack->Undo() && stack->Undo());
    EXPECT_FALSE(stack->Undo());
    EXPECT_EQ(vertices[1].x, 60);
    EXPECT_TRUE(stack->Redo());
    Drag(polygon, {70, 10}, {75, 10});
    EXPECT_EQ(stack->RedoCount(), 0U);
    stack->Clear();
    EXPECT_FALSE(stack->Undo());
    polygon.SetUndoStack({});
    Drag(polygon, {75, 10}, {60, 10});
    EXPECT_EQ(stack->UndoCount(), 0U);
}

TEST_F(Undo, IsReachedByKeys) {
    boost::shared_ptr<KeyboardEventWidget> const keys = MakeUndoKeys(stack);
    Drag(polygon, {50, 10}, {60, 20});
    ExpectSteps(
        core,
        *keys,
        [&] { return std::to_string(vertices[1].x).substr(0, 4); },
        {{Key('z'), false, "60.0", 0},
         {Key('y', StateCtrl), false, "60.0", 0},
         {Key('Z', StateCtrl | StateShift), false, "60.0", 0},
         {Key('z', StateCtrl), true, "50.0", 1},
         {Key('z', StateCtrl), false, "50.0", 0},
         {Key('z', StateCtrl | StateShift), true, "60.0", 1},
         {Key('Z', StateCtrl), true, "50.0", 1}});
}

} // namespace
