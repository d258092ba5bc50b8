#include "ui/win/camera/Navigation.h"

#include "CameraHelpers.h"
#include "support/CapturedOutput.h"
#include "support/OutputFolder.h"
#include "support/RecordingCore.h"
#include "ui/win/camera/NavigationPlayer.h"

#include <Eigen/Geometry>
#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <random>

namespace {

using namespace tests;
using namespace ui::win;
using Parameters = CCamera3D::Parameters;
using Segment = Navigation::Segment;
using Point3 = math::Point3<double>;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr double pi = 3.14159265358979323846;

std::vector<double> Values(Parameters const& p) {
    return {p.ku, p.ratio, p.pu, p.pv, p.yaw, p.pitch, p.roll, p.x, p.y, p.z};
}

/// A set-up whose fields are first, first + 1 and so on, in their order.
Parameters Counting(double first) {
    double const n = first;
    return {n, n + 1, n + 2, n + 3, n + 4, n + 5, n + 6, n + 7, n + 8, n + 9};
}

Segment MakeSegment(Parameters const& begin, Parameters const& end, double duration = 1) {
    Segment s;
    s.begin = begin;
    s.end = end;
    s.duration = duration;
    return s;
}

struct NavigationPath : testing::Test {
    CapturedOutput output;
    boost::shared_ptr<CCamera3D> camera = boost::make_shared<CCamera3D>(true);
    boost::shared_ptr<Navigation> path = boost::make_shared<Navigation>(camera);
};

TEST_F(NavigationPath, FirstSegmentIsTheCamerasHome) {
    path->AddSegment(MakeSegment(Counting(1), Counting(20)));
    path->AddSegment(MakeSegment(Counting(5), Counting(20)));
    EXPECT_EQ(output.Take(), "[II] Navigation: Segment Added\n[II] Navigation: Segment Added\n");
    EXPECT_EQ(camera->Params().ku, 0) << "stored, not gone to";
    camera->GoToCamera(0);
    EXPECT_EQ(Values(camera->Params()), Values(Counting(1)));
}

TEST_F(NavigationPath, FormsDifferInWhatTheyLeaveAlone) {
    Parameters p = Counting(100);
    path->SetCurrent(1, 0.25);
    path->GetPath(p);
    path->GetPath_CubicSpline3D(p);
    for (int i = 0; i < 3; ++i) {
        path->GetPath_LinearInterpolation(p);
        EXPECT_EQ(Values(p), Values(Counting(100))) << "less than three segments";
        Segment s = MakeSegment(Counting(10.0 * i), Counting(10.0 * i + 4));
        s.lookAtBegin = {1, 2, 3};
        s.lookAtEnd = {5, 2, -1};
        path->AddSegment(s);
    }
    path->GetPath_LinearInterpolation(p);
    EXPECT_EQ(Values(p), (std::vector<double>{11, 12, 102, 103, 15, 16, 17, 18, 19, 20}));
    p = Counting(100);
    path->GetPath_CubicSpline3D(p);
    EXPECT_EQ(p.roll, 106);
    EXPECT_EQ(p.ku, 11);
    EXPECT_EQ(p.pv, 14);
    EXPECT_EQ(p.pitch, 16);
    path->GetPath_LinearInterpolation_Look_At(p);
    EXPECT_EQ(path->LookAtPoint(), Point3(2, 2, 2));
    path->SetCurrent(3, 0.5);
    Parameters const before = p;
    path->GetPath_LinearInterpolation(p);
    path->GetPath_CubicSpline3D(p);
    path->GetPath(p);
    EXPECT_EQ(Values(p), Values(before)) << "off the path";
}

TEST(NavigationSpline, IsHermiteOnPairsOfPoints) {
    Spline spline;
    Point3 p(7, 7, 7);
    spline.Compute_Spline();
    spline.GetPosition(0, 0.5, p);
    EXPECT_EQ(p, Point3(7, 7, 7));
    spline.AddSegment({0, 0, 0, 0, 0, 0}, {9, 9, 9, 0, 0, 0});
    spline.AddSegment({1, 2, 3, 4, 0, 1}, {5, 6, 7, 0, -2, 1});
    spline.Compute_Spline();
    spline.GetPosition(1, 0, p);
    EXPECT_EQ(p, Point3(1, 2, 3));
    spline.GetPosition(1, 1, p);
    EXPECT_EQ(p, Point3(5, 6, 7));
    spline.GetPosition(1, 0.5, p); // (p0 + p1) / 2 + (t0 - t1) / 8
    EXPECT_EQ(p, Point3(3.5, 4.25, 5));
    Spline::ComputeTang({1, 1, 1}, {pi / 2, 0, 0}, {4, 6, 8}, p); // looks along y
    EXPECT_NEAR(p.x, 3, 1e-12);
    EXPECT_NEAR(p.y, 0, 1e-12);
    EXPECT_NEAR(p.z, 7, 1e-12);
}

TEST(NavigationLookAt, TurnsTowardsThePointByTheSignOfItsOffset) {
    struct Case {
        Point3 camera;
        double yaw, pitch;
    };
    for (Case const& c : {
             Case{{1, 0, 0}, -pi, 0},
             Case{{1, 0, 1}, -pi, pi / 4},
             Case{{-1, 0, 0}, 0, pi},
             Case{{0, 0, -2}, -pi, 1.5 * pi}, // the point is straight above
             Case{{0, 0, 0.000001}, -pi, pi / 2},
         }) {
        Parameters p;
        p.roll = 0.3;
        p.x = c.camera.x + 10;
        p.y = c.camera.y;
        p.z = c.camera.z;
        Navigation::Look_At({10, 0, 0}, p);
        EXPECT_NEAR(p.yaw, c.yaw, 1e-9);
        EXPECT_NEAR(p.pitch, c.pitch, 1e-9);
        EXPECT_EQ(p.roll, 0.3);
    }
}

TEST_F(NavigationPath, RightDragsMoveTheCamera) {
    CountingManager core(640, 480);
    auto const send = [&](std::uint32_t type, int x, int y, std::uint32_t state) {
        Event event;
        event.type = type;
        event.screenX = x;
        event.screenY = y;
        event.state = state;
        return path->Interact(&core, event);
    };
    camera->SetKCamera(0, 1, 1, 0, 0, pi / 2, 0.2, 0.1, 1, 2, 3);
    EXPECT_FALSE(send(EventKey, 300, 300, 2));
    EXPECT_FALSE(send(EventMotion, 300, 300, 1));
    EXPECT_FALSE(send(EventPress, 300, 300, 1));
    EXPECT_EQ(output.Take(), "");
    EXPECT_FALSE(send(EventPress, 300, 300, 2));
    EXPECT_EQ(output.Take(), "[II] Navigation: Setting event.screen\n");

    CCamera3D expected(false);
    expected.SetParams(camera->Params());
    EXPECT_TRUE(send(EventMotion, 290, 305, 2)); // dx = 10, dy = -5
    EXPECT_EQ(output.Take(), "[II] Navigation: dx=10 dy=-5 mask=2\n");
    expected.Move_CC_Rel({10 * 0.1, 5 * 0.1, 0}, 3);
    EXPECT_EQ(Values(camera->Params()), Values(expected.Params()));
    EXPECT_TRUE(send(EventMotion, 300, 300, 2 | StateShift));
    expected.Rotate_CC_Rel({-10 * 0.001, -5 * 0.001, 0}, 3);
    EXPECT_EQ(Values(camera->Params()), Values(expected.Params()));
    EXPECT_EQ(core.queued, 2);

    path->SetLookAtPoint({4, 7, 1});
    CCamera3D::Parameters const before = camera->Params();
    auto const place = [&] {
        math::TMatrix<double, 3, 4> m;
        CCamera3D::KCameraMatrix(m, camera->Params());
        return Eigen::Vector3d(m * Eigen::Vector4d(4, 7, 1, 1));
    };
    Eigen::Vector3d const seen = place();
    EXPECT_TRUE(send(EventMotion, 280, 310, 2 | StateCtrl | StateShift));
    EXPECT_TRUE(place().isApprox(seen, 1e-12)) << "the look-at point stays";
    EXPECT_NEAR(camera->Params().yaw, before.yaw + 0.2, 1e-12);
    EXPECT_NEAR(camera->Params().pitch, before.pitch - 0.1, 1e-12);
    path->Move_Looking_At_Rel(0, 0, {1, 2, 3});
    EXPECT_EQ(path->LookAtPoint(), Point3(5, 9, 4));
    constexpr int edge = std::numeric_limits<int>::max();
    EXPECT_TRUE(send(EventMotion, edge, edge, 2));
    EXPECT_TRUE(send(EventMotion, -edge, -edge, 2)) << "further than an int";
}

TEST_F(NavigationPath, PadTurnsTheCamera) {
    CCamera3D expected(false);
    camera->SetKCamera(0, 1, 1, 0, 0, 0.5, 0.2, 0.1, 1, 2, 3);
    expected.SetParams(camera->Params());
    path->YawInc();
    expected.Rotate_CC_Rel({0.01, 0, 0}, 7);
    EXPECT_EQ(Values(camera->Params()), Values(expected.Params())) << "the step at first";
    path->SetRotationStep(0.25);
    struct Case {
        void (Navigation::*action)();
        Point3 angles;
        int mask;
    };
    for (Case const& c :
         {Case{&Navigation::YawInc, {0.25, 0, 0}, 7},
          Case{&Navigation::YawDec, {-0.25, 0, 0}, 7},
          Case{&Navigation::PitchInc, {0, 0.25, 0}, 7},
          Case{&Navigation::PitchDec, {0, -0.25, 0}, 7},
          Case{&Navigation::RollInc, {0, 0, 0.25}, 7},
          Case{&Navigation::RollDec, {0, 0, -0.25}, 7},
          Case{&Navigation::RollZero, {0, 0, 0}, 3}}) {
        (path.get()->*c.action)();
        expected.Rotate_CC_Rel(c.angles, c.mask);
        EXPECT_EQ(Values(camera->Params()), Values(expected.Params()));
    }
    EXPECT_EQ(camera->Params().roll, 0);

    RecordingCore core;
    core.SetTextAlign(AlignRight, AlignTop);
    core.Take();
    path->Draw(&core);
    std::vector<std::string> const log = core.Take();
    ASSERT_GT(log.size(), 35U);
    char const* const buttons[][2] = {
        {"DrawQuads (30,25 50,25 50,45 30,45)", "DrawText 40,35,0 '+y'"},
        {"DrawQuads (70,25 90,25 90,45 70,45)", "DrawText 80,35,0 '-y'"},
        {"DrawQuads (50,5 70,5 70,25 50,25)", "DrawText 60,15,0 '+p'"},
        {"DrawQuads (50,45 70,45 70,65 50,65)", "DrawText 60,55,0 '-p'"},
        {"DrawQuads (5,5 25,5 25,65 5,65)", "DrawText 15,35,0 '+r'"},
        {"DrawQuads (95,5 115,5 115,65 95,65)", "DrawText 105,35,0 '-r'"},
        {"DrawQuads (5,70 115,70 115,90 5,90)", "DrawText 60,80,0 '0r'"}};
    for (std::ptrdiff_t i = 0; i < 7; ++i) {
        EXPECT_THAT(
            std::vector<std::string>(log.begin() + 5 * i, log.begin() + 5 * i + 5),
            ElementsAre(
                "SetBlend 1",
                "SetColor 255,255,255,128",
                buttons[i][0],
                "SetFontSizeEx 12 12 0",
                buttons[i][1]));
    }
    EXPECT_THAT(log, testing::Contains(HasSubstr("'yaw=")));
    EXPECT_THAT(log.back(), HasSubstr("'ratio=1'"));
    EXPECT_EQ(core.HorizontalTextAlign(), AlignRight);
    EXPECT_STREQ(path->getName(), "3DNavigation");
}

struct NavigationFile : NavigationPath {
    NavigationFile() { path->SetFileName(folder.Path("path.xml")); }

    std::string Text() const { return folder.Read(path->FileName()); }
    /// Loads a text as the file. @return how many segments there are then
    std::size_t Load(std::string const& text) {
        folder.Write(path->FileName(), text);
        path->Load();
        return path->Segments().size();
    }
    OutputFolder folder;
};

TEST_F(NavigationFile, IsWrittenReadAndWrittenTheSame) {
    path->Save();
    EXPECT_EQ(Text(), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<segments/>\n");
    EXPECT_EQ(Load(Text()), 0U);
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> value(-10, 10);
    for (int i = 0; i < 12; ++i) {
        Segment s = MakeSegment(Counting(value(random)), Counting(value(random) * 1e-9), i / 3.0);
        s.lookAtEnd = {value(random), value(random) * 1e200, -0.0};
        s.lookAtBegin = {5e-324, std::nan(""), -std::numeric_limits<double>::infinity()};
        s.smoothingOrientation = Segment::CUBIC_SPLINE;
        path->AddSegment(s);
    }
    path->Save();
    std::string const written = Text();
    EXPECT_THAT(written, HasSubstr("\n\t<s11>\n\t\t<begin>\n\t\t\t<x>"));
    EXPECT_THAT(written, testing::Not(HasSubstr("<pu>")));
    path->Load();
    EXPECT_EQ(path->Segments().size(), 12U);
    path->Save();
    EXPECT_EQ(Text(), written);
}

TEST_F(NavigationFile, MayBeEditedByHand) {
    path->AddSegment(MakeSegment(Counting(1), Counting(2), 7));
    path->Save();
    std::string const one = Text();
    std::string::size_type const begin = one.find("\t<s0>");
    std::string segment = one.substr(begin, one.find("</segments>") - begin);
    auto const replaced = [](std::string text, std::string const& from, std::string const& to) {
        for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
            text.replace(at, from.size(), to);
        }
        return text;
    };
    std::string const odd =
        replaced(replaced(segment, "s0>", "approach>"), "<duration>7<", "<duration> 2.5\n<");
    std::string const words = replaced(
        replaced(segment, "<position>LINEAR", "<position>\n  CUBIC_SPLINE "),
        "<focal>LINEAR",
        "<focal>cubic_spline");
    output.Take();
    EXPECT_EQ(Load("<segments><!-- first -->" + odd + words + "</segments>"), 2U);
    EXPECT_EQ(output.Take(), "");
    EXPECT_EQ(path->Segments()[0].duration, 2.5);
    EXPECT_EQ(path->Segments()[1].duration, 7) << "in the order of the file";
    EXPECT_EQ(path->Segments()[1].smoothingPosition, Segment::CUBIC_SPLINE);
    EXPECT_EQ(path->Segments()[1].smoothingFocal, Segment::LINEAR) << "an unknown word";
    EXPECT_EQ(path->Segments()[0].begin.pu, 0);

    auto const deep = [](std::string text, char const* element) {
        for (int i = 0; i < 200000; ++i) {
            text += element;
        }
        return text;
    };
    path->SetFileName(folder.Path("two.xml"));
    path->Save();
    std::string const two = Text();
    path->SetFileName(folder.Path("path.xml"));
    for (std::string const& bad :
         {std::string(),
          std::string("garbage"),
          std::string("<segments"),
          std::string("<segment></segment>"),
          "<segments>" + odd + replaced(words, "<duration>7</duration>", "") + "</segments>",
          "<segments>" + replaced(odd, "<roll>7</roll>", "<roll>seven</roll>") + "</segments>",
          "<segments>" + replaced(odd, "LINEAR", "").substr(0, 300),
          std::string(100000, '<'),
          std::string("\0\xff<\x01>", 5),
          "<segments>" + replaced(odd, "<roll>7</roll>", "<roll><![CDATA[a\nb]]></roll>"),
          deep("", "<a b='/>'>"),
          deep("<!DOCTYPE segments \">", "<a>"),
          deep("", "<a\">"),
          deep("", "<a b'c = \"d'>\">"),
          deep(deep("<!-->", "</a>") + "-->", "<a>")}) {
        EXPECT_EQ(Load(bad), 2U);
        std::string const said = output.Take();
        EXPECT_THAT(said, StartsWith("[EE] Navigation: Exception ")) << bad.substr(0, 80);
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    }
    for (char const* place : {"/", "/dev/full", "/no such folder/path.xml"}) {
        path->SetFileName(place);
        path->Save();
        EXPECT_THAT(output.Take(), StartsWith("[EE] Navigation: Exception ")) << place;
        path->Load();
        EXPECT_THAT(output.Take(), StartsWith("[EE] Navigation: Exception ")) << place;
    }
    path->SetFileName(folder.Path("again.xml"));
    path->Save();
    EXPECT_EQ(Text(), two) << "bad files change nothing";
}

TEST_F(NavigationPath, PlayerWalksTheSegmentsInTime) {
    NavigationPlayer player(path);
    player.Start();
    EXPECT_FALSE(player.Update()) << "an empty path";
    EXPECT_FALSE(player.Seek(1));
    Parameters a;
    Parameters b;
    Parameters c;
    b.x = b.yaw = b.ku = 1;
    c.x = c.yaw = c.ku = 4;
    for (double const nothing : {-1.0, std::nan(""), std::numeric_limits<double>::infinity()}) {
        path->AddSegment(MakeSegment(c, c, nothing));
    }
    path->AddSegment(MakeSegment(a, b, 1));
    Segment last = MakeSegment(b, c, 3);
    last.smoothingOrientation = Segment::CUBIC_SPLINE;
    last.lookAtEnd = {3, 0, 0};
    path->AddSegment(last);
    EXPECT_EQ(player.Duration(), 4);
    auto const x = [&] { return camera->Params().x; };
    camera->SetPixelFocalLenght(9, 9);
    EXPECT_TRUE(player.Seek(0.5));
    EXPECT_EQ(x(), 0.5);
    EXPECT_EQ(camera->Params().ku, 0.5);
    EXPECT_TRUE(player.Step(0.5));
    EXPECT_EQ(x(), 1);
    EXPECT_TRUE(player.Step(1));
    EXPECT_EQ(x(), 2);
    EXPECT_EQ(path->LookAtPoint(), Point3(1, 0, 0));
    EXPECT_TRUE(player.Step(1000));
    EXPECT_EQ(x(), 4);
    EXPECT_FALSE(player.Step(1)) << "the end";
    EXPECT_FALSE(player.Seek(std::nan("")));
    EXPECT_TRUE(player.Step(-1000));
    EXPECT_EQ(player.Time(), 0);
    // A smooth segment leaves its neighbour at the neighbour's speed, which is 1 on both sides.
    player.Seek(1 + 1e-6);
    EXPECT_NEAR((camera->Params().yaw - 1) / 1e-6, 1, 1e-3);

    player.Seek(3.99);
    player.Start();
    while (player.Update()) {
        EXPECT_GE(x(), 3.99);
    }
    EXPECT_EQ(x(), 4);
    EXPECT_FALSE(player.IsPlaying());
    player.Start();
    EXPECT_EQ(x(), 0) << "from the begin again";
    player.Stop();
    EXPECT_FALSE(player.Update());

    auto const thirds = boost::make_shared<Navigation>(camera);
    for (double const duration : {1.9, 2.8, 2.6, 0.0}) {
        thirds->AddSegment(MakeSegment(Counting(1), Counting(1 + duration), duration));
    }
    NavigationPlayer(thirds).Seek(1.9 + 2.8 + 2.6);
    EXPECT_EQ(x(), Counting(1).x) << "however the times are rounded";
}

TEST_F(NavigationPath, CubicPositionsRunSmoothlyThroughJoints) {
    Parameters p[4]; // all look along z, across the way
    for (int i = 0; i < 4; ++i) {
        p[i].pitch = -pi / 2;
        p[i].x = i;
        p[i].y = i * i;
    }
    for (int i = 0; i < 3; ++i) {
        Segment s = MakeSegment(p[i], p[i + 1], 1.0 + i);
        s.smoothingPosition = Segment::CUBIC_SPLINE;
        path->AddSegment(s);
    }
    NavigationPlayer player(path);
    auto const at = [&](double time) {
        player.Seek(time);
        return Eigen::Vector2d(camera->Params().x, camera->Params().y);
    };
    for (double const joint : {1.0, 3.0}) {
        constexpr double h = 1e-5;
        Eigen::Vector2d const before = (at(joint) - at(joint - h)) / h;
        Eigen::Vector2d const after = (at(joint + h) - at(joint)) / h;
        EXPECT_TRUE(before.isApprox(after, 1e-3)) << joint;
        EXPECT_GT(after.norm(), 0.1);
    }
    EXPECT_TRUE(at(3).isApprox(Eigen::Vector2d(2, 4), 1e-12));
}

} // namespace
