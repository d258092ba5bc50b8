#pragma once

namespace math {

/// An axis-aligned rectangle by its edges; y grows downwards, so top <= bottom is expected.
/// Integer rectangles are half-open: right and bottom lie just outside.
template <class T>
struct Rect2 {
    T left{};
    T top{};
    T right{};
    T bottom{};

    Rect2() = default;
    constexpr Rect2(T l, T t, T r, T b) : left(l), top(t), right(r), bottom(b) {}

    constexpr T Width() const { return right - left; }
    constexpr T Height() const { return bottom - top; }
    /// True when no point lies inside.
    constexpr bool Empty() const { return !(left < right && top < bottom); }

    /// The common part of both; empty (possibly with right < left) when they do not meet.
    friend constexpr Rect2 Intersect(Rect2 const& a, Rect2 const& b) {
        return {
            a.left < b.left ? b.left : a.left,
            a.top < b.top ? b.top : a.top,
            a.right < b.right ? a.right : b.right,
            a.bottom < b.bottom ? a.bottom : b.bottom};
    }
    friend constexpr bool operator==(Rect2 const& a, Rect2 const& b) {
        return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
    }
    friend constexpr bool operator!=(Rect2 const& a, Rect2 const& b) { return !(a == b); }
};

} // namespace math
