#pragma once

#include <cstdint>

namespace cimage {

/// Red, green, blue; interleaved, no padding.
template <class T>
struct TRGB {
    T r{};
    T g{};
    T b{};

    TRGB() = default;
    constexpr TRGB(T red, T green, T blue) : r(red), g(green), b(blue) {}
    friend constexpr bool operator==(TRGB const& x, TRGB const& y) {
        return x.r == y.r && x.g == y.g && x.b == y.b;
    }
    friend constexpr bool operator!=(TRGB const& x, TRGB const& y) { return !(x == y); }
};

/// Red, green, blue, alpha (0 transparent, the type's maximum opaque; not premultiplied).
template <class T>
struct TRGBA {
    T r{};
    T g{};
    T b{};
    T a{};

    TRGBA() = default;
    constexpr TRGBA(T red, T green, T blue, T alpha) : r(red), g(green), b(blue), a(alpha) {}
    friend constexpr bool operator==(TRGBA const& x, TRGBA const& y) {
        return x.r == y.r && x.g == y.g && x.b == y.b && x.a == y.a;
    }
    friend constexpr bool operator!=(TRGBA const& x, TRGBA const& y) { return !(x == y); }
};

/// As TRGBA with blue stored first.
template <class T>
struct TBGRA {
    T b{};
    T g{};
    T r{};
    T a{};

    TBGRA() = default;
    constexpr TBGRA(T blue, T green, T red, T alpha) : b(blue), g(green), r(red), a(alpha) {}
    friend constexpr bool operator==(TBGRA const& x, TBGRA const& y) {
        return x.r == y.r && x.g == y.g && x.b == y.b && x.a == y.a;
    }
    friend constexpr bool operator!=(TBGRA const& x, TBGRA const& y) { return !(x == y); }
};

/// The four colour-filter arrangements, named by the first two pixels of rows 0 and 1.
/// They only tag Bayer<>: a mosaic pixel is one count of type T.
template <class T>
struct TBGGR {
    using value_type = T;
};
template <class T>
struct TGRBG {
    using value_type = T;
};
template <class T>
struct TRGGB {
    using value_type = T;
};
template <class T>
struct TGBRG {
    using value_type = T;
};

/// One count of a sensor behind the colour-filter arrangement A (TBGGR<T>, ...).
template <class A>
struct Bayer {
    using value_type = typename A::value_type;
    value_type value{};

    Bayer() = default;
    constexpr explicit Bayer(value_type v) : value(v) {}
    friend constexpr bool operator==(Bayer const& x, Bayer const& y) { return x.value == y.value; }
    friend constexpr bool operator!=(Bayer const& x, Bayer const& y) { return !(x == y); }
};

/// The number that identifies TImage<P> at run time (CImage::Type). The numbers are fixed: the
/// conversion registry and the drivers order by them.
template <class P>
struct PixelTypeNumber; // no general definition: an unsupported pixel type does not compile

#define CIMAGE_PIXEL_TYPE(number, ...)                                                             \
    template <>                                                                                    \
    struct PixelTypeNumber<__VA_ARGS__> {                                                          \
        static constexpr unsigned value = number;                                                  \
    }
CIMAGE_PIXEL_TYPE(1, unsigned char);
CIMAGE_PIXEL_TYPE(2, signed char);
CIMAGE_PIXEL_TYPE(3, unsigned short);
CIMAGE_PIXEL_TYPE(4, short);
CIMAGE_PIXEL_TYPE(5, Bayer<TBGGR<unsigned char>>);
CIMAGE_PIXEL_TYPE(6, Bayer<TGRBG<unsigned char>>);
CIMAGE_PIXEL_TYPE(7, Bayer<TRGGB<unsigned char>>);
CIMAGE_PIXEL_TYPE(8, Bayer<TGBRG<unsigned char>>);
CIMAGE_PIXEL_TYPE(9, Bayer<TBGGR<unsigned short>>);
CIMAGE_PIXEL_TYPE(10, Bayer<TGRBG<unsigned short>>);
CIMAGE_PIXEL_TYPE(11, Bayer<TRGGB<unsigned short>>);
CIMAGE_PIXEL_TYPE(12, Bayer<TGBRG<unsigned short>>);
CIMAGE_PIXEL_TYPE(13, TRGB<unsigned char>);
CIMAGE_PIXEL_TYPE(14, TRGBA<unsigned char>);
CIMAGE_PIXEL_TYPE(15, TBGRA<unsigned char>);
CIMAGE_PIXEL_TYPE(16, TRGB<unsigned short>);
CIMAGE_PIXEL_TYPE(17, TRGBA<unsigned short>);
#undef CIMAGE_PIXEL_TYPE

} // namespace cimage
