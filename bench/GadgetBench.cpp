#include "bench/Compare.h"
#include "ui/win/widgets/TimeGraph.h"

#include <cstddef>
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

/// Every sample is older than the span, and the gap is not long enough to begin again.
void TrimAll(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        TimeGraph graph = FullGraph();
        state.ResumeTiming();
        graph.Update({static_cast<float>(2.1 * span), 0.5F});
        benchmark::DoNotOptimize(graph.Points().data());
        state.PauseTiming();
        graph = TimeGraph();
        state.ResumeTiming();
    }
}

/// The pixels of every sample, once.
void OnePass(benchmark::State& state) {
    std::vector<Point> const samples = FullGraph().Samples();
    std::vector<Point> points = FullGraph().Points();
    double const scale = FullGraph().XScale();
    for (auto _ : state) {
        float const origin = samples.front().x;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            points[i].x = static_cast<float>(scale * static_cast<double>(samples[i].x - origin));
        }
        benchmark::DoNotOptimize(points.data());
        benchmark::ClobberMemory();
    }
}

} // namespace

void RegisterGadgetFigures() {
    Compare(
        "TimeGraph: a trim of all of 100,000 samples",
        "one pass over their pixels",
        1,
        TrimAll,
        OnePass);
}

} // namespace bench
