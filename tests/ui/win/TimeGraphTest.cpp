#include "ui/win/widgets/TimeGraph.h"

#include "support/RecordingCore.h"
#include "ui/win/CWindow.h"
#include "ui/win/widgets/Bars.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace {

using namespace ui::win;
using testing::ElementsAre;
using Point = math::Point2<float>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

/// Ten pixels a second from x = 12 on, twenty a unit upwards from y = 97.
TimeGraph MakeGraph(double tMin = 0, double tMax = 10, double vMin = 0, double vMax = 2) {
    return {{}, "g", 10, 100, 104, 46, 2, 3, tMin, tMax, vMin, vMax, "a", "b"};
}

std::vector<float> Times(TimeGraph const& graph) {
    std::vector<float> times;
    for (Point const& sample : graph.Samples()) {
        times.push_back(sample.x);
    }
    EXPECT_EQ(graph.Points().size(), graph.Samples().size());
    return times;
}

TEST(TimeGraphs, StartTheValueAxisAtZeroOrBelow) {
    struct Case {
        double vMin, vMax, value, y;
    };
    for (Case const& c :
         {Case{-1, 1, 0, 77}, Case{2, 4, 0, 97}, Case{2, 4, 2, 57}, Case{4, 2, 5, -3}}) {
        TimeGraph graph = MakeGraph(0, 10, c.vMin, c.vMax);
        graph.Update({0, static_cast<float>(c.value)});
        EXPECT_EQ(graph.Points().at(0), Point(12, static_cast<float>(c.y)));
    }
    TimeGraph graph = MakeGraph();
    graph.Update({1, 1});
    graph.SetRectangle(0, 50, 54, 26);
    graph.SetMargins(2, 3);
    graph.SetTimeRange(5, 0);
    graph.SetValueRange(-4, 0);
    graph.Rescale();
    EXPECT_EQ(graph.XScale(), 10) << "whichever way the range runs";
    EXPECT_EQ(graph.YOffset(), 23);
    EXPECT_EQ(graph.Points().at(0), Point(12, 77)) << "stored points stay";
}

TEST(TimeGraphs, TrimWhatScrolledOut) {
    TimeGraph graph = MakeGraph();
    for (int t = 0; t <= 12; ++t) {
        graph.Update({static_cast<float>(t), 1});
    }
    EXPECT_THAT(Times(graph), ElementsAre(3, 4, 5, 6, 7, 8, 9, 10, 11, 12));
    EXPECT_EQ(graph.Points().front().x, 12) << "the new origin";
    EXPECT_EQ(graph.Points()[8].x, 92);
    EXPECT_EQ(graph.Points().back().x, 112) << "placed before the trim, from 2";
    graph.Update({12.5F, 1});
    EXPECT_EQ(graph.Points()[9].x, 102) << "back with the others";
    graph.Update({24.0F, 1});
    EXPECT_THAT(Times(graph), ElementsAre(24)) << "all of the span is gone, without a gap";
    EXPECT_EQ(graph.Points().back().x, 222);
}

TEST(TimeGraphs, BeginAgainAfterAGapOrBackwards) {
    struct Case {
        std::vector<float> times, kept;
    };
    for (Case const& c :
         {Case{{5, 3, 4}, {5, 3, 4}},
          Case{{5, 3, 2}, {2}},
          Case{{0, 1, 1}, {0, 1, 1}},
          Case{{0, 40}, {0, 40}},
          Case{{0, 1, 2, 1.5F, 1.75F}, {1.5F, 1.75F}}}) {
        TimeGraph graph = MakeGraph();
        for (float const t : c.times) {
            graph.Update({t, 0});
        }
        EXPECT_EQ(Times(graph), c.kept);
    }
    // The longest gap: 0.3 of the span and the range's end.
    for (auto const& [time, kept] : {std::pair(13.0F, 3U), std::pair(13.01F, 1U)}) {
        TimeGraph graph = MakeGraph(-28, 2);
        graph.Update({0, 0});
        graph.Update({2, 0});
        graph.Update({time, 0});
        EXPECT_EQ(graph.Samples().size(), kept) << time;
    }
    TimeGraph graph = MakeGraph();
    graph.Update({50, 0});
    graph.Update({52, 0});
    graph.Update({51, 0});
    EXPECT_THAT(Times(graph), ElementsAre(51));
    EXPECT_EQ(graph.Points().at(0).x, 22) << "placed before the samples went, from 50";
}

TEST(TimeGraphs, SurviveWhatHasNoPlace) {
    TimeGraph graph = MakeGraph(1, 1, 3, 3);
    float const odd[] = {0, 1, std::numeric_limits<float>::quiet_NaN(), 1, HUGE_VALF, -HUGE_VALF};
    for (float const t : odd) {
        graph.Update({t, t});
        graph.Update({0, 1e38F});
        EXPECT_EQ(graph.Samples().size(), graph.Points().size());
    }
    EXPECT_TRUE(std::isinf(graph.YScale()));
}

TEST(Bars, LabelAScaleWithTheDecimalsThatItNeeds) {
    tests::RecordingCore core;
    core.colour = {1, 2, 3, 255};
    struct Case {
        double first, last;
        std::string labels;
    };
    for (Case const& c :
         {Case{0, 100, "'0' '20' '40' '60' '80' '100'"},
          Case{2.25, 0.25, "'0.5' '1.0' '1.5' '2.0'"},
          Case{1.1, -0.4, "'-0.4' '-0.2' '0.0' '0.2' '0.4' '0.6' '0.8' '1.0'"},
          Case{0.003, 0.2, "'0.02' '0.04' '0.06' '0.08' '0.10' '0.12' '0.14' '0.16' '0.18' '0.20'"},
          Case{7, 7.001, "'7.000' '7.001'"},
          Case{7.0001, 7.0002, ""}}) {
        EXPECT_TRUE(ScaleBar(&core, {0, 0, 100, 16}, c.first, c.last));
        std::string labels;
        for (std::string const& line : core.Take()) {
            if (std::size_t const quote = line.find('\''); quote != std::string::npos) {
                labels += (labels.empty() ? "" : " ") + line.substr(quote);
            }
        }
        EXPECT_EQ(labels, c.labels);
    }
    EXPECT_EQ(core.HorizontalTextAlign(), AlignLeft);
    EXPECT_EQ(core.colour.g, 2);
    EXPECT_TRUE(ScaleBar(&core, {0, 0, 100, 16}, 1e300, std::nextafter(1e300, kInf)));
    EXPECT_LE(core.Take().size(), 50U) << "steps that no longer tell numbers apart";
    for (auto const& [first, last] :
         {std::pair(1.0, 1.0),
          std::pair(0.0, kNaN),
          std::pair(-1e308, 1e308),
          std::pair(0.0, kInf)}) {
        EXPECT_FALSE(ScaleBar(&core, {0, 0, 100, 16}, first, last));
    }
    EXPECT_FALSE(ScaleBar(&core, {0, 0, 0, 16}, 0, 1));
    EXPECT_FALSE(ScaleBar(&core, {0, 0, kInf, 16}, 0, 1));
    EXPECT_TRUE(core.Take().empty());
}

TEST(Bars, FillTheShareThatIsDone) {
    tests::RecordingCore core;
    core.colour = {1, 2, 3, 255};
    struct Case {
        double done;
        std::string box, label;
    };
    for (Case const& c :
         {Case{-1, "10 5 10 15", "0%"},
          Case{kNaN, "10 5 10 15", "0%"},
          Case{0.5, "10 5 60 15", "50%"},
          Case{0.999, "10 5 109.9 15", "99%"},
          Case{1, "10 5 110 15", "100%"},
          Case{kInf, "10 5 110 15", "100%"}}) {
        EXPECT_TRUE(ProgressBar(&core, {10, 5, 110, 15}, c.done));
        EXPECT_THAT(
            core.Take(),
            ElementsAre(
                "SetColor 96,96,96,255",
                "DrawBox 10 5 110 15 1",
                "SetColor 48,96,160,255",
                "DrawBox " + c.box + " 1",
                "SetColor 224,224,224,255",
                "DrawBox 10 5 110 15 0",
                "SetColor 255,255,255,255",
                "SetFontSizeEx 10 10 0",
                "DrawText 60,10,0 '" + c.label + "'",
                "SetColor 1,2,3,255"));
    }
    EXPECT_EQ(core.VerticalTextAlign(), AlignTop);
    EXPECT_FALSE(ProgressBar(&core, {10, 5, 10, 15}, 1));
}

} // namespace
