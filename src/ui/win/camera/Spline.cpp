#include "ui/win/camera/Spline.h"

#include <cmath>

namespace ui::win {

void Spline::Clear() {
    m_points.clear();
    m_coefficients.clear();
}

void Spline::AddSegment(ControlPoint const& start, ControlPoint const& end) {
    m_points.push_back(start);
    m_points.push_back(end);
}

void Spline::Compute_Spline() {
    if (m_points.size() < 2) {
        return;
    }
    m_coefficients.resize(m_points.size() / 2);
    for (std::size_t k = 0; k < m_coefficients.size(); ++k) {
        ControlPoint const& start = m_points[2 * k];
        ControlPoint const& end = m_points[2 * k + 1];
        SegmentCoefficients& c = m_coefficients[k];
        Compute_Coeff(start.x, end.x, start.tx, end.tx, c.x);
        Compute_Coeff(start.y, end.y, start.ty, end.ty, c.y);
        Compute_Coeff(start.z, end.z, start.tz, end.tz, c.z);
    }
}

void Spline::GetPosition(unsigned segment, double s, math::Point3<double>& position) const {
    if (segment >= m_coefficients.size()) {
        return;
    }
    SegmentCoefficients const& c = m_coefficients[segment];
    Calc(c.x, s, position.x);
    Calc(c.y, s, position.y);
    Calc(c.z, s, position.z);
}

void Spline::Compute_Coeff(double p0, double p1, double t0, double t1, Coefficients& result) {
    result = {2 * p0 - 2 * p1 + t0 + t1, -3 * p0 + 3 * p1 - 2 * t0 - t1, t0, p0};
}

void Spline::Calc(Coefficients const& coefficients, double s, double& result) {
    auto const& [a, b, c, d] = coefficients;
    result = a * s * s * s + b * s * s + c * s + d;
}

void Spline::ComputeTang(
    math::Point3<double> const& a,
    math::Point3<double> const& o,
    math::Point3<double> const& b,
    math::Point3<double>& tangent) {
    constexpr double quarterTurn = 1.5707963267948966;
    // Counted from the zenith instead of the horizon, the pitch is the axis' polar angle.
    double const polar = o.y + quarterTurn;
    math::Point3<double> const v(
        std::sin(polar) * std::cos(o.x), std::sin(polar) * std::sin(o.x), std::cos(polar));
    math::Point3<double> const chord = b - a;
    double const along =
        (chord.x * v.x + chord.y * v.y + chord.z * v.z) / (v.x * v.x + v.y * v.y + v.z * v.z);
    tangent = chord - v * along;
}

} // namespace ui::win
