#pragma once

namespace math {

/// A point or vector of the plane. An aggregate: arrays of it may be read as arrays of T.
template <class T>
struct Point2 {
    T x{};
    T y{};

    Point2() = default;
    constexpr Point2(T px, T py) : x(px), y(py) {}

    /// Converts each coordinate with static_cast.
    template <class U>
    constexpr explicit Point2(Point2<U> const& p)
        : x(static_cast<T>(p.x)), y(static_cast<T>(p.y)) {}

    friend constexpr bool operator==(Point2 const& a, Point2 const& b) {
        return a.x == b.x && a.y == b.y;
    }
    friend constexpr bool operator!=(Point2 const& a, Point2 const& b) { return !(a == b); }
    friend constexpr Point2 operator+(Point2 const& a, Point2 const& b) {
        return {a.x + b.x, a.y + b.y};
    }
    friend constexpr Point2 operator-(Point2 const& a, Point2 const& b) {
        return {a.x - b.x, a.y - b.y};
    }
    friend constexpr Point2 operator*(Point2 const& a, T s) { return {a.x * s, a.y * s}; }
};

} // namespace math
