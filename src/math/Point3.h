#pragma once

#include "math/Point2.h"

namespace math {

/// A point or vector of space. Arrays of it may be read as arrays of T.
template <class T>
struct Point3 {
    T x{};
    T y{};
    T z{};

    Point3() = default;
    constexpr Point3(T px, T py, T pz) : x(px), y(py), z(pz) {}

    /// Converts each coordinate with static_cast.
    template <class U>
    constexpr explicit Point3(Point3<U> const& p)
        : x(static_cast<T>(p.x)), y(static_cast<T>(p.y)), z(static_cast<T>(p.z)) {}

    friend constexpr bool operator==(Point3 const& a, Point3 const& b) {
        return a.x == b.x && a.y == b.y && a.z == b.z;
    }
    friend constexpr bool operator!=(Point3 const& a, Point3 const& b) { return !(a == b); }
    friend constexpr Point3 operator+(Point3 const& a, Point3 const& b) {
        return {a.x + b.x, a.y + b.y, a.z + b.z};
    }
    friend constexpr Point3 operator-(Point3 const& a, Point3 const& b) {
        return {a.x - b.x, a.y - b.y, a.z - b.z};
    }
    friend constexpr Point3 operator*(Point3 const& a, T s) { return {a.x * s, a.y * s, a.z * s}; }
};

} // namespace math
