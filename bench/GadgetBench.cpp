#include "bench/Compare.h"
#include "ui/win/widgets/TimeGraph.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <limits>
#include <vector>

namespace bench {

namespace {

using Point = math::Point2<float>;

constexpr std::size_t sampleCount = 100000;
constexpr double span = 10;

/// A graph of samples that are a hundred microseconds apart.
TimeGraph const& FullGraph() {
    static TimeGraph const graph = [] {
        TimeGraph filled({}, "", 0, 480, 640, 480, 0, 0, 0, span, -1, 1, "", "");
        for (std::size_t i = 0; i < sampleCount; ++i) {
            filled.Update({static_cast<float>(span * static_cast<double>(i) / sampleCount), 0.5F});
        }
        return filled;
    }();
    return graph;
}

double Seconds(std::function<void()> const& action) {
    using Clock = std::chrono::steady_clock;
    Clock::time_point const start = Clock::now();
    action();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A trim of every sample, which needs a new graph each time, and the pixels of every sample once.
/// The gap before the last sample is not long enough to begin again.
double TrimAll() {
    std::vector<Point> const samples = FullGraph().Samples();
    std::vector<Point> points = FullGraph().Points();
    double trim = std::numeric_limits<double>::infinity();
    double pass = trim;
    for (int i = 0; i < 300; ++i) {
        TimeGraph graph = FullGraph();
        trim = std::min(trim, Seconds([&] { graph.Update({static_cast<float>(2.1 * span), 0}); }));
        pass = std::min(pass, Seconds([&, scale = graph.XScale()] {
                            float const origin = samples.front().x;
                            for (std::size_t k = 0; k < samples.size(); ++k) {
                                points[k].x = static_cast<float>(
                                    scale * static_cast<double>(samples[k].x - origin));
                            }
                            benchmark::DoNotOptimize(points.data());
                            benchmark::ClobberMemory();
                        }));
        if (graph.Samples().size() != 1) {
            return std::numeric_limits<double>::infinity();
        }
    }
    return trim / pass;
}

} // namespace

void RegisterGadgetFigures() {
    Report("TimeGraph: a trim of all of 100,000 samples", "one pass over their pixels", 1, TrimAll);
}

} // namespace bench
