#pragma once

#include "math/Point3.h"

#include <vector>

namespace ui::win {

/// A curve of cubic Hermite segments through space, each from one control point to another.
class Spline {
public:
    struct ControlPoint {
        double x = 0; ///< position
        double y = 0;
        double z = 0;
        double tx = 0; ///< tangent, for a parameter that runs from 0 to 1 in the segment
        double ty = 0;
        double tz = 0;
    };

    /// a s^3 + b s^2 + c s + d
    struct Coefficients {
        double a = 0;
        double b = 0;
        double c = 0;
        double d = 0;
    };

    void Clear();
    void AddSegment(ControlPoint const& start, ControlPoint const& end);
    /// Computes the coefficients of the segments that were added; nothing without any.
    void Compute_Spline();
    /// The position at s (0 .. 1) of a segment; segments that were not computed leave it as it is.
    void GetPosition(unsigned segment, double s, math::Point3<double>& position) const;

    /// The coefficients from start and end value, start and end tangent.
    static void Compute_Coeff(double p0, double p1, double t0, double t1, Coefficients& result);
    static void Calc(Coefficients const& coefficients, double s, double& result);
    /// The part of the chord from a to b that is perpendicular to the viewing axis of a camera.
    /// @param o the camera's yaw, pitch and roll, radians
    static void ComputeTang(
        math::Point3<double> const& a,
        math::Point3<double> const& o,
        math::Point3<double> const& b,
        math::Point3<double>& tangent);

private:
    struct SegmentCoefficients {
        Coefficients x;
        Coefficients y;
        Coefficients z;
    };

    std::vector<ControlPoint> m_points; // start and end of each segment
    std::vector<SegmentCoefficients> m_coefficients;
};

} // namespace ui::win
