#pragma once

#include "math/Point2.h"

#include <boost/shared_ptr.hpp>

#include <string>
#include <vector>

namespace ui::win {

class CWindow;

/// A scrolling plot of a value over time: keeps the samples of a time span and where each lies in
/// a rectangle of a window. Draws nothing itself; the application draws Points(), the name and the
/// labels. One thread at a time.
///
///     graph.Update({seconds, value});
///     window.DrawPolygon(graph.Points(), false);
///
/// Ranges must not be equal: nothing has a place in them then (infinite or NaN pixels).
class TimeGraph {
public:
    using Point = math::Point2<float>;

    TimeGraph() = default;
    /// @param x0,y0 lower left corner of the plot in window pixels
    /// @param xMargin,yMargin inner margins in pixels, applied on both sides
    /// @param firstLabel,secondLabel kept for the caller, of the axes for example
    TimeGraph(
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
        std::string const& secondLabel);

    /// @name To be followed by Rescale()
    /// @{
    void SetRectangle(double x0, double y0, double width, double height);
    void SetMargins(double xMargin, double yMargin);
    void SetTimeRange(double tMin, double tMax);
    void SetValueRange(double vMin, double vMax);
    /// @}

    /// Computes the scales for the present rectangle, margins and ranges; points stay as they are.
    /// The value axis starts at vMin when that is negative, at 0 otherwise.
    void Rescale();

    /// Adds a sample (x time, y value). Samples older than the span are dropped; all of them are
    /// when time ran backwards or stood still for long. No value is clipped.
    void Update(Point const& sample);

    /// Kept samples in order of arrival, and their window pixels.
    std::vector<Point> const& Samples() const { return m_samples; }
    std::vector<Point> const& Points() const { return m_points; }

    boost::shared_ptr<CWindow> const& Window() const { return m_window; }
    std::string const& Name() const { return m_name; }
    std::string const& FirstLabel() const { return m_firstLabel; }
    std::string const& SecondLabel() const { return m_secondLabel; }
    double X0() const { return m_x0; }
    double Y0() const { return m_y0; }
    double Width() const { return m_width; }
    double Height() const { return m_height; }
    double XMargin() const { return m_xMargin; }
    double YMargin() const { return m_yMargin; }
    double TMin() const { return m_tMin; }
    double TMax() const { return m_tMax; }
    double VMin() const { return m_vMin; }
    double VMax() const { return m_vMax; }
    /// Pixels per unit, as of the last Rescale().
    double XScale() const { return m_xScale; }
    double YScale() const { return m_yScale; }
    double YOffset() const { return m_yOffset; }

private:
    struct TimeAxis;
    TimeAxis Axis() const;
    Point PixelOf(Point const& sample) const;
    void DropOlderThan(Point const& sample);
    void Append(Point const& sample);

    boost::shared_ptr<CWindow> m_window;
    double m_x0 = 0;
    double m_y0 = 0;
    double m_width = 0;
    double m_height = 0;
    double m_tMin = 0;
    double m_tMax = 0;
    double m_vMin = 0;
    double m_vMax = 0;
    double m_xMargin = 0;
    double m_yMargin = 0;
    double m_xScale = 0;
    double m_yScale = 0;
    double m_yOffset = 0;
    std::vector<Point> m_points;
    std::vector<Point> m_samples;
    std::string m_name;
    std::string m_firstLabel;
    std::string m_secondLabel;
};

} // namespace ui::win

using ui::win::TimeGraph; // the name that applications use
