#include "ui/win/widgets/TimeGraph.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ui::win {

TimeGraph::TimeGraph(
    boost::shared_ptr<CWindow> window,
    std::string const& name,
    double x0,
    double y0,
    double width,
    double height,
    double xMargin,
    double yMargin,
    double tMin,
    double tMax,
    double vMin,
    double vMax,
    std::string const& firstLabel,
    std::string const& secondLabel)
    : m_window(std::move(window)), m_x0(x0), m_y0(y0), m_width(width), m_height(height),
      m_tMin(tMin), m_tMax(tMax), m_vMin(vMin), m_vMax(vMax), m_xMargin(xMargin),
      m_yMargin(yMargin), m_name(name), m_firstLabel(firstLabel), m_secondLabel(secondLabel) {
    Rescale();
}

void TimeGraph::SetRectangle(double x0, double y0, double width, double height) {
    m_x0 = x0;
    m_y0 = y0;
    m_width = width;
    m_height = height;
}

void TimeGraph::SetMargins(double xMargin, double yMargin) {
    m_xMargin = xMargin;
    m_yMargin = yMargin;
}

void TimeGraph::SetTimeRange(double tMin, double tMax) {
    m_tMin = tMin;
    m_tMax = tMax;
}

void TimeGraph::SetValueRange(double vMin, double vMax) {
    m_vMin = vMin;
    m_vMax = vMax;
}

void TimeGraph::Rescale() {
    m_xScale = (m_width - 2 * m_xMargin) / std::abs(m_tMax - m_tMin);
    m_yScale = (m_height - 2 * m_yMargin) / std::abs(m_vMax - m_vMin);
    m_yOffset = m_vMin < 0 ? m_yMargin + m_yScale * std::abs(m_vMin) : m_yMargin;
}

/// Maps times to pixels, by value so that a loop need not look the graph up again.
struct TimeGraph::TimeAxis {
    double left;
    double scale;
    float origin; // time of the first kept sample

    float operator()(float time) const {
        float const age = time - origin;
        return static_cast<float>(left + scale * static_cast<double>(age));
    }
};

TimeGraph::TimeAxis TimeGraph::Axis() const {
    return {m_x0 + m_xMargin, m_xScale, m_samples.front().x};
}

TimeGraph::Point TimeGraph::PixelOf(Point const& sample) const {
    double const y = (m_y0 - m_yScale * static_cast<double>(sample.y)) - m_yOffset;
    return {Axis()(sample.x), static_cast<float>(y)};
}

void TimeGraph::Append(Point const& sample) {
    m_samples.push_back(sample);
    m_points.push_back(PixelOf(sample));
    TimeAxis const axis = Axis();
    for (std::size_t i = 0; i < m_samples.size(); ++i) {
        m_points[i].x = axis(m_samples[i].x);
    }
}

void TimeGraph::DropOlderThan(Point const& sample) {
    double const span = m_tMax - m_tMin;
    auto const isOld = [now = sample.x, span](Point const& kept) { return now - kept.x >= span; };
    // A block at a time, which the compiler vectorises, while all of it is old.
    constexpr std::ptrdiff_t block = 64;
    auto begin = m_samples.begin();
    while (m_samples.end() - begin >= block &&
           std::count_if(begin, begin + block, isOld) == block) {
        begin += block;
    }
    auto const end = std::find_if_not(begin, m_samples.end(), isOld);
    m_points.erase(m_points.begin(), m_points.begin() + (end - m_samples.begin()));
    m_samples.erase(m_samples.begin(), end);
}

void TimeGraph::Update(Point const& sample) {
    if (m_samples.size() < 2) {
        Append(sample);
        return;
    }
    Point const placed = PixelOf(sample);
    float const last = m_samples.back().x;
    // The end of the time range counts into the longest gap; graphs are set up for that.
    if (sample.x < last || sample.x - last > 0.3 * (m_tMax - m_tMin) + m_tMax) {
        m_samples.clear();
        m_points.clear();
    } else {
        DropOlderThan(sample);
    }
    Append(sample);
    // The newest point keeps the origin of before the trim until the next sample comes.
    m_points.back() = placed;
}

} // namespace ui::win
