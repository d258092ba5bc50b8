#include "cimage/Conversion.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

// More versions of each pixel loop for newer vector units, one chosen when the library is loaded.
// The sanitizers' run-time libraries are not ready that early.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) &&                             \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define CIMAGE_CLONES __attribute__((target_clones("avx2", "sse4.2", "default")))
#else
#define CIMAGE_CLONES
#endif

namespace cimage {

namespace {

using std::uint16_t;
using std::uint32_t;
using std::uint8_t;

// Compilers for AArch64 load and store pixels of three and four channels with one instruction;
// those for x86 need help where alpha comes in.
#ifdef __SSE2__
constexpr bool IsX86 = true;
#else
constexpr bool IsX86 = false;
#endif

// ---- one pixel

template <class P, class = void>
struct Traits { // a plain count
    using Channel = P;
    static constexpr bool IsColour = false;
    static constexpr bool HasAlpha = false;
};
template <class P>
struct Traits<P, std::enable_if_t<std::is_class<P>::value>> {
    using Channel = decltype(P::r);
    static constexpr bool IsColour = true;
    static constexpr bool HasAlpha = sizeof(P) == 4 * sizeof(Channel);
};

/// A count moved to another depth and sign.
template <class To, class From>
To Scale(From count) {
    using UnsignedFrom = std::make_unsigned_t<From>;
    using UnsignedTo = std::make_unsigned_t<To>;
    constexpr bool flipFrom = std::is_signed<From>::value;
    constexpr bool flipTo = std::is_signed<To>::value;
    // Flipping the top bit of a two's complement number adds half the range.
    uint32_t v = static_cast<UnsignedFrom>(count);
    v ^= flipFrom ? 1U << (8 * sizeof(From) - 1) : 0U;
    if (sizeof(From) > sizeof(To)) {
        v >>= 8;
    } else if (sizeof(From) < sizeof(To)) {
        v *= 257;
    }
    v ^= flipTo ? 1U << (8 * sizeof(To) - 1) : 0U;
    return static_cast<To>(static_cast<UnsignedTo>(v));
}

/// BT.601 luma. The weights add up to 65536, so that equal channels give exactly their value.
template <class T>
T Luma(T r, T g, T b) {
    return static_cast<T>((19595U * r + 38470U * g + 7471U * b + 32768U) >> 16);
}

/// Calls put(channels...) with the pixel's red, green, blue and alpha as counts of type To.
template <class To, class S, class Put>
void WithColour(S const& s, Put put) {
    constexpr To opaque = std::numeric_limits<To>::max();
    if constexpr (Traits<S>::HasAlpha) {
        put(Scale<To>(s.r), Scale<To>(s.g), Scale<To>(s.b), Scale<To>(s.a));
    } else if constexpr (Traits<S>::IsColour) {
        put(Scale<To>(s.r), Scale<To>(s.g), Scale<To>(s.b), opaque);
    } else {
        To const grey = Scale<To>(s);
        put(grey, grey, grey, opaque);
    }
}

template <class To, class S>
To Grey(S const& s) {
    if constexpr (Traits<S>::IsColour) {
        using From = typename Traits<S>::Channel;
        using Wide = std::conditional_t<(sizeof(To) > sizeof(From)), uint16_t, From>;
        return Scale<To>(Luma(Scale<Wide>(s.r), Scale<Wide>(s.g), Scale<Wide>(s.b)));
    } else {
        return Scale<To>(s);
    }
}

/// A byte moved to where it lies in memory at the given offset of a little-endian word.
constexpr uint32_t ByteAt(std::size_t offset, uint8_t byte) {
    return static_cast<uint32_t>(byte) << (8 * offset);
}

template <class S, class D>
void ConvertPixel(S const& s, D& d) {
    using To = typename Traits<D>::Channel;
    if constexpr (!Traits<D>::IsColour) {
        d = Grey<To>(s);
    } else if constexpr (IsX86 && sizeof(D) == sizeof(uint32_t) && !Traits<S>::HasAlpha) {
        // Put together as a word: compilers vectorise that, but not a constant among the stores.
        WithColour<To>(s, [&d](To r, To g, To b, To a) {
            uint32_t const word = ByteAt(offsetof(D, r), r) | ByteAt(offsetof(D, g), g) |
                                  ByteAt(offsetof(D, b), b) | ByteAt(offsetof(D, a), a);
            std::memcpy(static_cast<void*>(&d), &word, sizeof(word));
        });
    } else {
        WithColour<To>(s, [&d](To r, To g, To b, To a) {
            d.r = r;
            d.g = g;
            d.b = b;
            if constexpr (Traits<D>::HasAlpha) {
                d.a = a;
            }
            static_cast<void>(a);
        });
    }
}

// ---- one row of pixels other than mosaics

/// Widens three bytes a pixel to four, four pixels at a time, so long as sixteen bytes may be read.
/// Inlined, to be compiled for the vector unit of its caller. Returns the number of pixels done.
template <class D>
inline __attribute__((always_inline)) std::size_t
WidenPixels(unsigned char const* source, unsigned char* destination, std::size_t width) {
    using Bytes = unsigned char __attribute__((vector_size(16)));
    constexpr int r = offsetof(D, r) == 0 ? 0 : 2; // which source byte comes first
    constexpr int b = 2 - r;
    Bytes const opaque = {255};
    std::size_t x = 0;
    for (; x + 6 <= width; x += 4) {
        Bytes bytes;
        std::memcpy(&bytes, source + 3 * x, sizeof(bytes));
        bytes = __builtin_shufflevector(
            bytes,
            opaque,
            r,
            1,
            b,
            16,
            r + 3,
            4,
            b + 3,
            16,
            r + 6,
            7,
            b + 6,
            16,
            r + 9,
            10,
            b + 9,
            16);
        std::memcpy(destination + 4 * x, &bytes, sizeof(bytes));
    }
    return x;
}

/// The way back, so long as sixteen bytes may be written.
template <class S>
inline __attribute__((always_inline)) std::size_t
NarrowPixels(unsigned char const* source, unsigned char* destination, std::size_t width) {
    using Bytes = unsigned char __attribute__((vector_size(16)));
    constexpr int r = offsetof(S, r);
    constexpr int b = offsetof(S, b);
    std::size_t x = 0;
    for (; x + 6 <= width; x += 4) {
        Bytes bytes;
        std::memcpy(&bytes, source + 4 * x, sizeof(bytes));
        bytes = __builtin_shufflevector(
            bytes,
            bytes,
            r,
            1,
            b,
            r + 4,
            5,
            b + 4,
            r + 8,
            9,
            b + 8,
            r + 12,
            13,
            b + 12,
            0,
            0,
            0,
            0); // written over by the next pixels
        std::memcpy(destination + 3 * x, &bytes, sizeof(bytes));
    }
    return x;
}

template <class S, class D>
CIMAGE_CLONES void
ConvertRow(void const* __restrict source, void* __restrict destination, unsigned width) {
    if constexpr (std::is_same<S, D>::value) {
        std::memcpy(destination, source, width * sizeof(S));
    } else {
        auto const* const s = static_cast<S const*>(source);
        auto* const d = static_cast<D*>(destination);
        std::size_t x = 0;
        if constexpr (IsX86 && std::is_same<S, TRGB<uint8_t>>::value && sizeof(D) == 4) {
            x = WidenPixels<D>(
                static_cast<unsigned char const*>(source),
                static_cast<unsigned char*>(destination),
                width);
        }
        if constexpr (IsX86 && std::is_same<D, TRGB<uint8_t>>::value && sizeof(S) == 4) {
            x = NarrowPixels<S>(
                static_cast<unsigned char const*>(source),
                static_cast<unsigned char*>(destination),
                width);
        }
        for (; x < width; ++x) {
            ConvertPixel(s[x], d[x]);
        }
    }
}

constexpr unsigned TypeCount = 18; // one more than the highest number of PixelTypes.h
using RowConverters = std::array<std::array<RowConverter, TypeCount>, TypeCount>; // [source][dest.]

template <class S, class... D>
void FillRow(RowConverters& functions) {
    ((functions[PixelTypeNumber<S>::value][PixelTypeNumber<D>::value] = ConvertRow<S, D>), ...);
}

template <class... P>
RowConverters MakeRowConverters() {
    RowConverters functions{};
    (FillRow<P, P...>(functions), ...);
    return functions;
}

RowConverter FindPlainConverter(unsigned source, unsigned destination) {
    static RowConverters const functions = MakeRowConverters<
        unsigned char,
        signed char,
        unsigned short,
        short,
        TRGB<unsigned char>,
        TRGBA<unsigned char>,
        TBGRA<unsigned char>,
        TRGB<unsigned short>,
        TRGBA<unsigned short>>();
    return functions[source][destination];
}

// ---- mosaics

/// Where red lies in each 2 x 2 cell; blue lies diagonally opposite.
struct Mosaic {
    unsigned redX;
    unsigned redY;
    unsigned plainType; ///< the RGB type of the same depth
};

template <template <class> class A, class T>
constexpr bool IsMosaic(unsigned type) {
    return type == PixelTypeNumber<Bayer<A<T>>>::value;
}

template <class T>
bool FindMosaicOfDepth(unsigned type, Mosaic& mosaic) {
    bool const bggr = IsMosaic<TBGGR, T>(type);
    bool const grbg = IsMosaic<TGRBG, T>(type);
    bool const rggb = IsMosaic<TRGGB, T>(type);
    bool const gbrg = IsMosaic<TGBRG, T>(type);
    mosaic = {bggr || grbg ? 1U : 0U, bggr || gbrg ? 1U : 0U, PixelTypeNumber<TRGB<T>>::value};
    return bggr || grbg || rggb || gbrg;
}

bool FindMosaic(unsigned type, Mosaic& mosaic) {
    return FindMosaicOfDepth<uint8_t>(type, mosaic) || FindMosaicOfDepth<uint16_t>(type, mosaic);
}

/// The neighbour of i on one side, mirrored at the border so that its filter colour stays.
unsigned Before(unsigned i) {
    return i == 0 ? 1 : i - 1;
}
unsigned After(unsigned i, unsigned size) {
    return i + 1 == size ? size - 2 : i + 1;
}

template <class T>
struct MosaicRows {
    T const* above;
    T const* here;
    T const* below;

    uint32_t Beside(unsigned l, unsigned r) const { return (here[l] + here[r] + 1U) / 2; }
    uint32_t OverUnder(unsigned x) const { return (above[x] + below[x] + 1U) / 2; }
    uint32_t Cross(unsigned l, unsigned x, unsigned r) const {
        return (above[x] + below[x] + here[l] + here[r] + 2U) / 4;
    }
    uint32_t Diagonal(unsigned l, unsigned r) const {
        return (above[l] + above[r] + below[l] + below[r] + 2U) / 4;
    }
};

/// @param colourX parity of the columns in which this row is red or blue
/// @param isRed   whether that colour is red
template <class T>
void DemosaicRow(
    MosaicRows<T> const& rows, unsigned colourX, bool isRed, unsigned width, TRGB<T>* out) {
    auto const put = [&](unsigned l, unsigned x, unsigned r) {
        bool const onGreen = (x & 1) != colourX;
        uint32_t const green = onGreen ? rows.here[x] : rows.Cross(l, x, r);
        uint32_t const own = onGreen ? rows.Beside(l, r) : rows.here[x];
        uint32_t const other = onGreen ? rows.OverUnder(x) : rows.Diagonal(l, r);
        out[x] = {
            static_cast<T>(isRed ? own : other),
            static_cast<T>(green),
            static_cast<T>(isRed ? other : own)};
    };
    put(1, 0, 1);
    for (unsigned x = 1; x + 1 < width; ++x) {
        put(x - 1, x, x + 1);
    }
    put(width - 2, width - 1, width - 2);
}

template <class T>
void Demosaic(Mosaic const& mosaic, CImage const& source, unsigned y, void* out) {
    unsigned const width = source.Width();
    unsigned const height = source.Height();
    if (width == 1 || height == 1) {
        ConvertRow<T, TRGB<T>>(source.Bytes(y), out, width);
        return;
    }
    MosaicRows<T> const rows{
        source.Row<T>(Before(y)), source.Row<T>(y), source.Row<T>(After(y, height))};
    bool const isRed = (y & 1) == mosaic.redY;
    unsigned const colourX = isRed ? mosaic.redX : mosaic.redX ^ 1;
    DemosaicRow(rows, colourX, isRed, width, static_cast<TRGB<T>*>(out));
}

template <class T>
void SampleMosaic(Mosaic const& mosaic, void const* source, CImage& destination, unsigned y) {
    auto const* const s = static_cast<TRGB<T> const*>(source);
    T* const d = destination.Row<T>(y);
    bool const isRed = (y & 1) == mosaic.redY;
    unsigned const colourX = isRed ? mosaic.redX : mosaic.redX ^ 1;
    for (unsigned x = 0; x < destination.Width(); ++x) {
        d[x] = (x & 1) != colourX ? s[x].g : isRed ? s[x].r : s[x].b;
    }
}

// ---- whole images

bool IsDeep(Mosaic const& mosaic) {
    return mosaic.plainType == PixelTypeNumber<TRGB<uint16_t>>::value;
}

/// Bytes of a pixel by type number; 0 for numbers that name no type.
std::size_t PixelSize(unsigned type) {
    constexpr std::size_t sizes[TypeCount] = {0, 1, 1, 2, 2, 1, 1, 1, 1, 2, 2, 2, 2, 3, 4, 4, 6, 8};
    return type < TypeCount ? sizes[type] : 0;
}

/// Sizes are equal and the types differ.
void ConvertPixels(unsigned sourceType, CImage const& source, CImage& destination) {
    Mosaic from{};
    Mosaic to{};
    bool const fromMosaic = FindMosaic(sourceType, from);
    bool const toMosaic = FindMosaic(destination.Type(), to);
    RowConverter const convertRow = FindPlainConverter(
        fromMosaic ? from.plainType : sourceType, toMosaic ? to.plainType : destination.Type());
    std::size_t const plainRow = source.Width() * sizeof(TRGB<uint16_t>);
    std::vector<unsigned char> demosaiced(fromMosaic ? plainRow : 0);
    std::vector<unsigned char> unsampled(toMosaic ? plainRow : 0);
    for (unsigned y = 0; y < source.Height(); ++y) {
        if (fromMosaic) {
            (IsDeep(from) ? Demosaic<uint16_t>
                          : Demosaic<uint8_t>)(from, source, y, demosaiced.data());
        }
        convertRow(
            fromMosaic ? demosaiced.data() : source.Bytes(y),
            toMosaic ? unsampled.data() : destination.Bytes(y),
            source.Width());
        if (toMosaic) {
            (IsDeep(to) ? SampleMosaic<uint16_t>
                        : SampleMosaic<uint8_t>)(to, unsampled.data(), destination, y);
        }
    }
}

} // namespace

RowConverter FindRowConverter(unsigned sourceType, unsigned destinationType) {
    bool const known = sourceType < TypeCount && destinationType < TypeCount;
    return known ? FindPlainConverter(sourceType, destinationType) : nullptr;
}

void Convert(CImage const& source, CImage& destination) {
    ConvertAs(source.Type(), source, destination);
}

void ConvertAs(unsigned sourceType, CImage const& source, CImage& destination) {
    if (PixelSize(sourceType) != source.BytesPerPixel() || PixelSize(destination.Type()) == 0) {
        throw std::invalid_argument(
            "no conversion from pixel type " + std::to_string(sourceType) + " to " +
            std::to_string(destination.Type()));
    }
    bool const sameType = sourceType == destination.Type();
    if (&source == &destination) {
        if (!sameType) {
            throw std::invalid_argument("an image cannot be converted in place");
        }
        return;
    }
    destination.ResizeToOverwrite(source.Width(), source.Height());
    if (source.Empty()) {
        return;
    }
    if (sameType) {
        std::memcpy(destination.Bytes(), source.Bytes(), source.Stride() * source.Height());
        return;
    }
    ConvertPixels(sourceType, source, destination);
}

} // namespace cimage
