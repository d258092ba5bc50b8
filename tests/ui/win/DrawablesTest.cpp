#include "support/RecordingCore.h"
#include "support/TestParams.h"
#include "ui/win/CWindow.h"
#include "ui/win/camera/CWindowCamera2D.h"
#include "ui/win/drawables/CWidgets.h"

#include <boost/make_shared.hpp>
#include <boost/property_tree/ptree.hpp>

#include <gmock/gmock.h>

#include <functional>
#include <limits>
#include <stdexcept>

using namespace ui::win;

namespace {

using testing::ElementsAre;
using tests::RecordingCore;
using Point2f = math::Point2<float>;
using Point3f = math::Point3<float>;
using Grey = cimage::TImage<unsigned char>;

std::vector<C4UB_V3F_t> Coloured(unsigned count) {
    return std::vector<C4UB_V3F_t>(count, C4UB_V3F_t{1, 2, 3, 4, 5, 6, 7});
}

std::vector<T2F_V3F_t> Textured(unsigned count) {
    return std::vector<T2F_V3F_t>(count, T2F_V3F_t{1, 2, 3, 4, 5});
}

/// A call, the name of the one object that it pushes, and what that object draws.
struct Call {
    std::function<bool(CWindow&)> make;
    char const* name;
    std::vector<std::string> drawn;
};

std::vector<Point2f> g_points = {{1, 2}, {3, 4}, {5, 6}};
std::vector<Point3f> g_points3 = {{1, 2, 3}, {4, 5, 6}};

Call const calls[] = {
    {[](CWindow& w) { return w.DrawLine(0.1, 2, 3, 4); },
     "CWidget",
     {"DrawPolyLine (0.1,2 3,4) 0"}},
    {[](CWindow& w) { return w.DrawLine(math::Point2<int>(1, 2), math::Point2<int>(3, 4)); },
     "CWidget",
     {"DrawPolyLine (1,2 3,4) 0"}},
    {[](CWindow& w) {
         return w.DrawLine(math::Point3<double>(1, 2, 3), math::Point3<double>(4, 5, 6.5));
     },
     "CWidget",
     {"DrawPolyLine (1,2,3 4,5,6.5) 0"}},
    {[](CWindow& w) { return w.DrawBox(1, 2, 3, 4, true); }, "Box", {"DrawBox 1 2 3 4 1"}},
    {[](CWindow& w) { return w.DrawBox(1, 2, 3, 4, false); }, "Rectangle", {"DrawBox 1 2 3 4 0"}},
    {[](CWindow& w) { return w.DrawRectangle(1, 2, 3, 4); }, "Rectangle", {"DrawBox 1 2 3 4 0"}},
    {[](CWindow& w) { return w.DrawCross(10, 20, 3); },
     "Cross",
     {"DrawLineStream (10,18.5 10,21.5 8.5,20 11.5,20)"}},
    {[](CWindow& w) { return w.DrawVector(0, 0, 10, 0, 2); },
     "LineStream",
     {"DrawLineStream (0,0 10,0 10,0 8.18738,-0.845237 10,0 8.18738,0.845237)"}},
    {[](CWindow& w) { return w.DrawVector(3, 4, 3, 4, 2); },
     "LineStream",
     {"DrawLineStream (3,4 3,4 3,4 3,4 3,4 3,4)"}},
    {[](CWindow& w) { return w.DrawEllipse(1, 2, 3, 4, true); },
     "Ellipse",
     {"DrawEllipse 1 2 3 4 0 6.28319 1"}},
    {[](CWindow& w) { return w.DrawCircle(10, 10, 5, false); },
     "Ellipse",
     {"DrawEllipse 5 5 15 15 0 6.28319 0"}},
    {[](CWindow& w) { return w.DrawSlicedEllipse(1, 2, 3, 4, 0.5, 1.5, false); },
     "Ellipse",
     {"DrawEllipse 1 2 3 4 0.5 1.5 0"}},
    {[](CWindow& w) { return w.DrawSlicedCircle(10, 20, 5, 0.5, 1.5, true); },
     "Ellipse",
     {"DrawEllipse 5 15 15 25 0.5 1.5 1"}},
    {[](CWindow& w) { return w.DrawPolygon(g_points.data(), 2, true); },
     "CWidget",
     {"DrawPolyLine (1,2 3,4) 1"}},
    {[](CWindow& w) { return w.DrawPolygon(g_points3, false); },
     "CWidget",
     {"DrawPolyLine (1,2,3 4,5,6) 0"}},
    {[](CWindow& w) { return w._DrawPixel(Textured(1)[0]); }, "Pixels", {"DrawPixels (1,2,3,4,5)"}},
    {[](CWindow& w) { return w.DrawText(1, 2, "a b"); }, "Text", {"DrawText 1,2,0 'a b'"}},
    {[](CWindow& w) { return w.DrawText(1, 2, 3, ""); }, "Text", {"DrawText 1,2,3 ''"}},
    {[](CWindow& w) { return w.DrawTextf(1, 2, "%d%%%s", 7, std::string(254, 'x').c_str()); },
     "Text",
     {"DrawText 1,2,0 '7%" + std::string(254, 'x') + "'"}},
    {[](CWindow& w) { return w.DrawShadowText(1, 2, "t"); },
     "ShadowText",
     {"SetColor 0,0,0,127", "DrawText 2,3,1 't'", "SetColor 9,8,7,6", "DrawText 1,2,0 't'"}},
    {[](CWindow& w) {
         return w.SetColor({1, 2, 3, 4});
     },
     "CWidget",
     {"SetColor 1,2,3,4"}},
    {[](CWindow& w) { return w.SetFontName("F"); }, "SetFontName", {"SetFontName 'F'"}},
    {[](CWindow& w) { return w.SetFontSize(8, true); }, "CWidget", {"SetFontSizeEx 8 8 1"}},
    {[](CWindow& w) { return w.SetFontSizeEx(8, 9, false); }, "CWidget", {"SetFontSizeEx 8 9 0"}},
    {[](CWindow& w) { return w.SetLineWidth(2.5); }, "SetLineWidth", {"SetLineWidth 2.5"}},
    {[](CWindow& w) { return w.SetPointSize(2.5); }, "SetPointSize", {"SetPointSize 2.5"}},
    {[](CWindow& w) { return w.SetLineSmoothing(true); }, "CWidget", {"SetLineSmooth 1"}},
    {[](CWindow& w) { return w.SetBlend(BlendAlpha); }, "CWidget", {"SetBlend 1"}},
    {[](CWindow& w) {
         return w.EnableLight(2, {1, 2, 3.5}, {1, 1, 1, 1}, {2, 2, 2, 2}, {3, 3, 3, 3});
     },
     "CWidget",
     {"EnableLight 2 1,2,3.5 1,1,1,1 2,2,2,2 3,3,3,3"}},
    {[](CWindow& w) { return w.DisableLight(2); }, "CWidget", {"DisableLight 2"}},
    {[](CWindow& w) { return w.Translate(1, 2, true); }, "CWidget", {"SetTranslation 1 2 1"}},
    {[](CWindow& w) { return w.EnableZBuffer(0.5, 9); }, "CWidget", {"EnableZBuffer 0.5 9"}},
    {[](CWindow& w) { return w.DisableZBuffer(); }, "CWidget", {"DisableZBuffer"}},
    {[](CWindow& w) { return w.SetImageRange(20, 10.5); }, "CWidget", {"SetImageRange 1 20 10.5"}},
    {[](CWindow& w) { return w.SetAutoImageRange(2); }, "CWidget", {"SetImageRange 2 2 99.5"}},
    {[](CWindow& w) { return w.ResetImageRange(); }, "CWidget", {"SetImageRange 0 0 0"}},
    {[](CWindow& w) { return w.SetColorMap(ColorMapJet); }, "CWidget", {"SetColorMap 3"}},
    {[](CWindow& w) { return w.SetTextAlign(AlignCentre, AlignBaseline); }, "CWidget", {}},
    {[](CWindow& w) { return w.SetTheme(Theme()); }, "CWidget", {}},
    {[](CWindow& w) { return w.SetRegionCallback(0, 0, 1, 1, EventPress, {}); },
     "ActiveRegion",
     {}},
};

TEST(Drawables, EveryCallPushesOneObjectThatReplaysIt) {
    CWindow window(tests::MakeParams("None"));
    for (Call const& call : calls) {
        window.Clear();
        EXPECT_TRUE(call.make(window));
        ASSERT_EQ(window.Layer(0).Size(), 1U);
        CWidget& drawable = *window.Layer(0).Items()[0];
        EXPECT_STREQ(drawable.getName(), call.name);
        // Both times the same, whatever the core could do with it.
        for (bool const answer : {true, false}) {
            RecordingCore core;
            core.answer = answer;
            core.colour = {9, 8, 7, 6};
            EXPECT_EQ(drawable.Draw(&core), call.name == std::string("ActiveRegion") ? 0 : 1);
            EXPECT_EQ(core.Take(), call.drawn) << call.name;
        }
    }
}

TEST(Drawables, AlignmentAndThemeReachTheCoreWithoutAVirtualCall) {
    RecordingCore core;
    Theme theme;
    theme.colors[3] = {9, 8, 7, 6};
    SetTheme(theme).Draw(&core);
    EXPECT_EQ(core.GetTheme().colors[3], theme.colors[3]);
    SetTextAlign(AlignRight, AlignCentre).Draw(&core);
    EXPECT_EQ(core.HorizontalTextAlign(), AlignRight);
    EXPECT_EQ(core.VerticalTextAlign(), AlignCentre);
}

template <class V>
void ExpectTaken(
    bool (CWindow::*call)(std::vector<V>&), std::vector<V> vertices, std::string const& drawn) {
    CWindow window(tests::MakeParams("None"));
    V const* const storage = vertices.data();
    EXPECT_TRUE((window.*call)(vertices));
    EXPECT_TRUE(vertices.empty());
    CWidget& drawable = *window.Layer(0).Items().at(0);
    EXPECT_EQ(dynamic_cast<VertexArray<V>&>(drawable).Vertices().data(), storage);
    RecordingCore core;
    drawable.Draw(&core);
    EXPECT_THAT(core.Take(), ElementsAre(drawn));
}

TEST(Drawables, VertexArraysTakeTheStorageAndLeaveOutWhatIsNotWhole) {
    std::vector<Point2f> const three = {{1, 2}, {3, 4}, {5, 6}};
    ExpectTaken(&CWindow::_DrawPixels<Point2f>, three, "DrawPixels (1,2 3,4 5,6)");
    ExpectTaken(&CWindow::_DrawLines<Point2f>, three, "DrawLineStream (1,2 3,4)");
    ExpectTaken(
        &CWindow::_DrawTriangles<T2F_V3F_t>,
        Textured(5),
        "DrawTriangles (1,2,3,4,5 1,2,3,4,5 1,2,3,4,5)");
    ExpectTaken(
        &CWindow::_DrawQuads<C4UB_V3F_t>,
        Coloured(7),
        "DrawQuads (1,2,3,4,5,6,7 1,2,3,4,5,6,7 1,2,3,4,5,6,7 1,2,3,4,5,6,7)");
    ExpectTaken(&CWindow::_DrawQuads<Point3f>, {{1, 2, 3}}, "DrawQuads ()");

    std::vector<Point3f> polygon = {{1, 2, 3}};
    CWindow window(tests::MakeParams("None"));
    window._DrawPolygon(polygon, true);
    EXPECT_TRUE(polygon.empty());
}

TEST(Drawables, VertexArraysCopyOrAllocate) {
    std::vector<Point2f> const kept = {{1, 2}, {3, 4}, {5, 6}};
    EXPECT_EQ(Triangles<Point2f>(kept).Vertices(), kept);
    EXPECT_EQ(Boxes<Point2f>(kept.data(), 2).Vertices().size(), 2U);
    EXPECT_EQ(LineStream<Point3f>(3U).Vertices().size(), 6U);
    EXPECT_EQ(Pixels<Point2f>(3U).Vertices(), std::vector<Point2f>(3));
    EXPECT_TRUE(PolyLine<Point2f>(true).Vertices().empty());
    EXPECT_EQ(
        PolyLine<Point3f>(1, 2, 3, 4).Vertices(), (std::vector<Point3f>{{1, 2, 0}, {3, 4, 0}}));
}

TEST(Drawables, TextsThatCannotBeMadeAreNotDrawn) {
    CWindow window(tests::MakeParams("None"));
    EXPECT_FALSE(window.DrawTextf(0, 0, "%ls", L"\x20AC")) << "the C locale has no bytes for it";
    EXPECT_THROW(window.SetFontName(nullptr), std::logic_error);
    EXPECT_EQ(window.Layer(0).Size(), 0U);
}

TEST(Drawables, ImagesAreDrawnInTheirPlace) {
    RecordingCore core;
    auto const image = boost::make_shared<Grey>(4, 3);
    Image(Point2f(1, 2), Point2f(5.5, 5), image).Draw(&core);
    EXPECT_THAT(
        core.Take(), ElementsAre("setLastDrawnImageMetadata 1", "DrawImage 1,2 5.5,5 [4x3:1]"));
    EXPECT_EQ(core.lastImage, image) << "shared";
    EXPECT_EQ(core.getLastDrawnImageMetadata(), &boost::shared_ptr<Grey const>(image)->Metadata());

    // Without a place: the view at rest, however the user zoomed and moved it.
    auto const camera = boost::make_shared<CCamera2D>(100, 50, 300, 150, 0.0);
    camera->SetZoom(3);
    camera->SetTranslation({7, 8});
    core.SetViewPort(ViewPortCamera, nullptr, camera);
    core.Take();
    Image(image).Draw(&core);
    EXPECT_EQ(core.Take().back(), "DrawImage (300,50,0 100,50,0 100,150,0 300,150,0) [4x3:1]");

    Point3f const corners[] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12}};
    ImageTexture(corners, image).Draw(&core);
    EXPECT_THAT(core.Take(), ElementsAre("DrawImage (1,2,3 4,5,6 7,8,9 10,11,12) [4x3:1]"));
    BindImage(image).Draw(&core);
    EXPECT_THAT(core.Take(), ElementsAre("BindImage [4x3:1]"));
}

#ifndef NDEBUG
TEST(DrawablesDeathTest, NullImagesAreProgrammingErrors) {
    EXPECT_DEATH(Image{SPImage()}, "");
    EXPECT_DEATH(BindImage{SPImage()}, "");
}
#endif

TEST(Drawables, ActiveRegionCallsBackInsideAndOnItsEdges) {
    int called = 0;
    ActiveRegion region(1, 2, 3, 4, EventPress, [&called] { ++called; });
    struct {
        CWindowEvents_ID type;
        float x;
        float y;
        bool inside;
    } const cases[] = {
        {EventPress, 1, 2, true},
        {EventPress, 3, 4, true},
        {EventPress, 2, 3, true},
        {EventPress, 0.99F, 3, false},
        {EventPress, 3.01F, 3, false},
        {EventPress, 2, 1.99F, false},
        {EventPress, 2, 4.01F, false},
        {EventPress, std::numeric_limits<float>::quiet_NaN(), 3, false},
        {EventRelease, 2, 3, false}};
    int expected = 0;
    for (auto const& c : cases) {
        Event event;
        event.type = c.type;
        event.worldX = c.x;
        event.worldY = c.y;
        EXPECT_EQ(region.Interact(nullptr, event), c.inside) << c.x << ' ' << c.y;
        EXPECT_EQ(called, expected += c.inside ? 1 : 0);
    }
    Event event;
    event.type = EventPress;
    EXPECT_THROW(
        ActiveRegion(0, 0, 0, 0, EventPress, {}).Interact(nullptr, event),
        boost::bad_function_call);
}

} // namespace
