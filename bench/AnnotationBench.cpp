#include "bench/Compare.h"
#include "ui/win/CWindowNullCore.h"
#include "ui/win/widgets/AnnWidget.h"
#include "ui/win/widgets/CalibrationWidget.h"

#include <cstdlib>
#include <limits>
#include <new>
#include <vector>

namespace {

thread_local std::size_t g_allocations = 0;

} // namespace

// For this thread's count; the figures that are timed pay the same on both sides.
void* operator new(std::size_t size) {
    ++g_allocations;
    if (void* const p = std::malloc(size)) {
        return p;
    }
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* p) noexcept {
    std::free(p);
}
[[gnu::noinline]] void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

namespace bench {

namespace {

using ui::win::Event;
using Point = math::Point2<double>;

constexpr unsigned pointCount = 10000;

/// Counts what is drawn, so that none of it is left out.
class CountingCore : public ui::win::CWindowNullCore {
public:
    CountingCore() : CWindowNullCore(ui::win::CreationParams()) {}
    using CWindowNullCore::DrawPolyLine;
    bool DrawBox(double, double, double, double, bool) override { return ++calls != 0; }
    bool DrawText(math::Point3<double> const&, char const*) override { return ++calls != 0; }
    bool DrawPolyLine(math::Point2<float> const*, unsigned, bool) override { return ++calls != 0; }
    bool SetColor(Colour) override { return ++calls != 0; }
    std::size_t calls = 0;
};

/// A hundred rows of a hundred points, ten pixels apart.
std::vector<Point> Grid() {
    std::vector<Point> points;
    for (unsigned i = 0; i < pointCount; ++i) {
        points.emplace_back(10.0 * (i % 100), 10.0 * (i / 100));
    }
    return points;
}

/// Allocations of a second drawing, a point.
double RedrawAllocations(ui::win::CWidget& widget) {
    CountingCore core;
    widget.Draw(&core);
    std::size_t const before = g_allocations;
    widget.Draw(&core);
    return core.calls < 2 * pointCount ? std::numeric_limits<double>::infinity()
                                       : static_cast<double>(g_allocations - before) / pointCount;
}

double RedrawCalibration() {
    ui::win::CalibrationWidget<double> widget(Grid());
    return RedrawAllocations(widget);
}

double RedrawPolygon() {
    std::vector<Point> points = Grid();
    ui::win::CPolyWidget<Point> widget(points.data(), pointCount, 10);
    return RedrawAllocations(widget);
}

/// A press somewhere else in the grid each time.
Event NextPress(unsigned i) {
    Event event;
    event.type = ui::win::EventPress;
    event.button = ui::win::ButtonLeft;
    event.worldX = static_cast<float>(i * 37 % 1000);
    event.worldY = static_cast<float>(i * 73 % 1000);
    return event;
}

void Pick(benchmark::State& state, ui::win::CWidget& widget) {
    CountingCore core;
    unsigned i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(widget.Interact(&core, NextPress(i++)));
    }
}

void PickCalibration(benchmark::State& state) {
    ui::win::CalibrationWidget<double> widget(Grid());
    Pick(state, widget);
}

void PickVertex(benchmark::State& state) {
    std::vector<Point> points = Grid();
    ui::win::CPolyWidget<Point> widget(points.data(), pointCount, 10);
    Pick(state, widget);
}

/// T is what distances are computed in.
template <class T>
void BarePick(benchmark::State& state) {
    std::vector<Point> const points = Grid();
    unsigned i = 0;
    for (auto _ : state) {
        Event const event = NextPress(i++);
        T best = 72 * 72;
        std::size_t nearest = pointCount;
        for (std::size_t k = 0; k < pointCount; ++k) {
            T const dx = static_cast<T>(points[k].x) - event.worldX;
            T const dy = static_cast<T>(points[k].y) - event.worldY;
            T const squared = dx * dx + dy * dy;
            if (squared < best) {
                best = squared;
                nearest = k;
            }
        }
        benchmark::DoNotOptimize(nearest);
    }
}

} // namespace

void RegisterAnnotationFigures() {
    Report("allocations, redrawing 10,000 calibration points", "the points", 0, RedrawCalibration);
    Report("allocations, redrawing 10,000 vertices", "the vertices", 0, RedrawPolygon);
    Compare("pick of 10,000 points", "a bare loop", 2, PickCalibration, BarePick<double>);
    Compare("pick of 10,000 vertices", "a bare loop", 2, PickVertex, BarePick<float>);
}

} // namespace bench
