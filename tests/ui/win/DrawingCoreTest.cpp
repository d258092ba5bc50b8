#include "support/RecordingCore.h"
#include "ui/win/CWindowCore.h"
#include "ui/win/camera/CWindowCamera2D.h"
#include "ui/win/camera/CWindowCamera3D.h"

#include <boost/make_shared.hpp>
#include <boost/property_tree/ptree.hpp>

#include <gmock/gmock.h>

#include <climits>
#include <cmath>

using namespace ui::win;

namespace {

using testing::ElementsAre;
using Point2f = math::Point2<float>;
using Point3f = math::Point3<float>;
using Grey = cimage::TImage<unsigned char>;
using SPConst = boost::shared_ptr<cimage::CImage const>;

TEST(DrawingCore, ImagesAreOneTexturedQuad) {
    tests::RecordingCore core;
    core.answer = false;
    SPConst const image = boost::make_shared<Grey>(2, 2);
    EXPECT_TRUE(core.CWindowCore::DrawImage(Point2f(10, 20), Point2f(30, 50), image));
    EXPECT_THAT(
        core.Take(),
        ElementsAre(
            "BindImage [2x2:1]", "DrawQuads (1,0,30,20,0 0,0,10,20,0 0,1,10,50,0 1,1,30,50,0)"));
    Point3f const corners[] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12}};
    EXPECT_TRUE(core.CWindowCore::DrawImage(corners, image));
    EXPECT_THAT(
        core.Take(),
        ElementsAre("BindImage [2x2:1]", "DrawQuads (1,0,1,2,3 0,0,4,5,6 0,1,7,8,9 1,1,10,11,12)"));
}

TEST(DrawingCore, MaterialFallsBackToTheFirstColour) {
    tests::RecordingCore core;
    EXPECT_TRUE(core.SetColorEx({1, 2, 3, 4}, {5, 5, 5, 5}, {6, 6, 6, 6}, 7));
    EXPECT_THAT(core.Take(), ElementsAre("SetColor 1,2,3,4"));
}

TEST(DrawingCore, ViewKeepsWhatIsNotGiven) {
    CWindowCore core;
    auto const camera = boost::make_shared<CCamera2D>(0, 0, 10, 10, 0.0);
    CWindowViewPort part = CWindowViewPort::Pixels(1, 2, 3, 4);
    core.SetViewPort(ViewPortPixels, &part, camera);
    part.left = 99;
    core.SetViewPort(ViewPortKeep, nullptr, nullptr);
    EXPECT_EQ(core.GetViewPortMode(), ViewPortPixels);
    EXPECT_EQ(core.GetViewPort().left, 1) << "a copy";
    EXPECT_EQ(core.GetCamera(), camera);
    core.SetViewPort(ViewPortCamera, nullptr, nullptr);
    EXPECT_EQ(core.GetViewPortMode(), ViewPortCamera);
    EXPECT_EQ(core.GetCamera(), camera);
}

TEST(DrawingCore, WorldPointsLandOnTheScreen) {
    tests::RecordingCore core(200, 100);
    CWindowViewPort right = CWindowViewPort::Fractions(0.5F, 0, 1, 1);
    core.SetViewPort(ViewPortCamera, &right, boost::make_shared<CCamera2D>(0, 0, 20, 10, 0.0));
    EXPECT_EQ(core.PixelRectangle(), math::Rect2<int>(100, 0, 200, 100));
    EXPECT_EQ(core.WindowToScreen<int>({10, 5, 0}), math::Point2<int>(150, 50));
    EXPECT_TRUE(core.IsPointInFront({10, 5, 0}));
    core.SetTranslation(10, 0, false);
    core.SetTranslation(0, -5, true);
    EXPECT_EQ(core.WindowToScreen<int>({0, 10, 0}), math::Point2<int>(150, 50));
    core.SetTranslation(0, 0, false);

    core.SetViewPort(ViewPortFractions, nullptr, nullptr);
    EXPECT_EQ(core.WindowToScreen<double>({0.25F, 0.75F, 9}), math::Point2<double>(125, 75));
    core.SetViewPort(ViewPortPixels, nullptr, nullptr);
    EXPECT_EQ(core.WindowToScreen<double>({-3.5F, 7.25F, 9}), math::Point2<double>(-3.5, 7.25));
    EXPECT_EQ(core.WindowToScreen<int>({-3.5F, 7.25F, 9}), math::Point2<int>(-4, 7));
    EXPECT_EQ(core.WindowToScreen<int>({NAN, 0, 0}).x, INT_MIN);
    math::Point3<float> const world[] = {{-3.5F, 7.25F, 9}, {NAN, 0, 0}, {1, 2, 3}};
    math::Point2<float> screen[3];
    core.WindowToScreen(world, 3, screen);
    EXPECT_EQ(screen[0], math::Point2<float>(-3.5F, 7.25F));
    EXPECT_TRUE(std::isnan(screen[1].x) && std::isnan(screen[1].y));
    EXPECT_EQ(screen[2], math::Point2<float>(1, 2));

    auto const at5 = boost::make_shared<CCamera3D>(0.0, 0.0, 0.0, 5.0, 0.0, 0.0, false);
    core.SetViewPort(ViewPortCamera, nullptr, at5);
    for (float const x : {5.01F, 5.0F, -9.0F, NAN}) {
        EXPECT_EQ(core.IsPointInFront({x, 0, 0}), x == 5.01F) << x;
    }
}

} // namespace
