#include "cimage/Conversion.h"

#include "NoiseImages.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace {

using namespace cimage;
using uchar = unsigned char;
using ushort = unsigned short;

template <class D, class S>
D Pixel(S const& value) {
    // Odd sizes, so that the rows of both have padding and the vector loops have remainders.
    TImage<S> source(37, 3);
    for (unsigned y = 0; y < source.Height(); ++y) {
        std::fill_n(source[y], source.Width(), value);
    }
    TImage<D> destination(2, 2);
    source >> destination;
    EXPECT_EQ(destination.Width(), 37U);
    EXPECT_EQ(destination.Height(), 3U);
    for (unsigned y = 0; y < destination.Height(); ++y) {
        for (unsigned x = 0; x < destination.Width(); ++x) {
            EXPECT_EQ(destination(x, y), destination(0, 0)) << x << " " << y;
        }
    }
    return destination(0, 0);
}

using Rgb8 = TRGB<uchar>;
using Rgba8 = TRGBA<uchar>;
using Bgra8 = TBGRA<uchar>;
using Rgb16 = TRGB<ushort>;
using Rgba16 = TRGBA<ushort>;

TEST(Conversion, ChangesDepthAndSignOverTheWholeRange) {
    EXPECT_EQ(Pixel<uchar>(ushort{0x12FF}), 0x12); // the high byte, not rounded
    EXPECT_EQ(Pixel<uchar>(ushort{0xFFFF}), 0xFF);
    EXPECT_EQ(Pixel<ushort>(uchar{0xAB}), 0xABAB);
    EXPECT_EQ(Pixel<uchar>(static_cast<signed char>(-128)), 0);
    EXPECT_EQ(Pixel<uchar>(static_cast<signed char>(127)), 255);
    EXPECT_EQ(Pixel<uchar>(short{-32768}), 0);
    EXPECT_EQ(Pixel<uchar>(short{0}), 128);
    EXPECT_EQ(Pixel<uchar>(short{32767}), 255);
    EXPECT_EQ(Pixel<short>(ushort{0}), -32768);
    EXPECT_EQ(Pixel<short>(static_cast<signed char>(-1)), 0x7F7F - 0x8000);
    EXPECT_EQ(Pixel<signed char>(uchar{128}), 0);
}

TEST(Conversion, OrdersChannelsAndSuppliesAlpha) {
    EXPECT_EQ(Pixel<Rgba8>(uchar{9}), Rgba8(9, 9, 9, 255));
    EXPECT_EQ(Pixel<Bgra8>(Rgb8(1, 2, 3)), Bgra8(3, 2, 1, 255));
    EXPECT_EQ(Pixel<Rgba8>(Rgb8(1, 2, 3)), Rgba8(1, 2, 3, 255));
    EXPECT_EQ(Pixel<Rgba8>(Bgra8(3, 2, 1, 4)), Rgba8(1, 2, 3, 4));
    EXPECT_EQ(Pixel<Rgb8>(Rgba8(1, 2, 3, 4)), Rgb8(1, 2, 3));
    EXPECT_EQ(Pixel<Rgba16>(Bgra8(3, 2, 1, 4)), Rgba16(0x101, 0x202, 0x303, 0x404));
    EXPECT_EQ(Pixel<Rgba16>(static_cast<signed char>(127)), Rgba16(65535, 65535, 65535, 65535));
    EXPECT_EQ(Pixel<Rgb8>(Rgba16(0x1FF, 0x2FF, 0x3FF, 0)), Rgb8(1, 2, 3));
}

TEST(Conversion, GreyOfAColourIsRoundedLuma) {
    for (int r = 0; r < 256; r += 15) {
        for (int g = 0; g < 256; g += 15) {
            for (int b = 0; b < 256; b += 15) {
                Rgb8 const rgb(static_cast<uchar>(r), static_cast<uchar>(g), static_cast<uchar>(b));
                TImage<Rgb8> const colour(&rgb, 1, 1);
                TImage<uchar> grey;
                colour >> grey;
                double const luma = 0.299 * r + 0.587 * g + 0.114 * b;
                ASSERT_LE(std::abs(grey(0, 0) - luma), 0.51) << r << " " << g << " " << b;
            }
        }
    }
    EXPECT_EQ(Pixel<uchar>(Rgb16(65535, 65535, 65535)), 255);
    EXPECT_EQ(Pixel<ushort>(Rgb16(65535, 65535, 65535)), 65535);
    EXPECT_EQ(Pixel<ushort>(Rgb16(40001, 40001, 40001)), 40001);
    EXPECT_EQ(Pixel<short>(Rgba8(0, 0, 0, 255)), -32768);
}

template <class S>
void ExpectBackAfterWidening(S const& value) {
    EXPECT_EQ(Pixel<S>(Pixel<Rgba16>(value)), value);
}

TEST(Conversion, WideningAndBackLosesNothing) {
    for (int v : {0, 1, 127, 128, 254, 255}) {
        auto const u = static_cast<uchar>(v);
        ExpectBackAfterWidening(u);
        ExpectBackAfterWidening(static_cast<signed char>(v - 128));
        ExpectBackAfterWidening(static_cast<ushort>(v * 256 + 3));
        ExpectBackAfterWidening(static_cast<short>(v * 256 - 32765));
        ExpectBackAfterWidening(Rgb8(u, 7, 200));
        ExpectBackAfterWidening(Bgra8(u, 7, 200, u));
    }
}

TEST(Conversion, OfARowIsThatOfEachOfItsPixels) {
    // Every pair of types; rows that whole vectors and single pixels both take part in.
    auto const images = MakeOneOfEach(61, 2);
    auto const pixels = MakeOneOfEach(1, 1);
    for (unsigned from = 1; from < images.size(); ++from) {
        for (unsigned to = 1; to < images.size(); ++to) {
            CImage const& source = *images[from];
            auto const row = images[to]->Clone();
            Convert(source, *row);
            bool const hasMosaic = (from >= 5 && from <= 12) || (to >= 5 && to <= 12);
            for (unsigned x = 0; x < (hasMosaic ? 0 : source.Width()); ++x) {
                auto const one = pixels[from]->Clone();
                auto const expected = pixels[to]->Clone();
                std::size_t const size = source.BytesPerPixel();
                std::copy_n(source.Bytes(1) + x * size, size, one->Bytes());
                Convert(*one, *expected);
                std::size_t const pixelSize = row->BytesPerPixel();
                ASSERT_TRUE(std::equal(
                    expected->Bytes(),
                    expected->Bytes() + pixelSize,
                    row->Bytes(1) + x * pixelSize))
                    << from << " to " << to << ", column " << x;
            }
        }
    }
}

TEST(Conversion, EmptyImagesConvert) {
    TImage<uchar> const source(0, 5);
    TImage<Rgba8> destination(3, 3);
    source >> destination;
    EXPECT_TRUE(destination.Empty());
}

TEST(Conversion, OfTheSameSizeUsesTheBufferAgain) {
    TImage<uchar> const source(20, 20);
    TImage<Rgb8> destination(20, 20);
    uchar const* const before = destination.Bytes();
    source >> destination;
    EXPECT_EQ(destination.Bytes(), before);
}

TEST(Conversion, RefusesImpossibleViews) {
    TImage<uchar> image(2, 2);
    EXPECT_THROW(
        ConvertAs(PixelTypeNumber<ushort>::value, image, *image.Clone()), std::invalid_argument);
    EXPECT_THROW(
        ConvertAs(PixelTypeNumber<signed char>::value, image, image), std::invalid_argument);
    EXPECT_THROW(ConvertAs(18, image, *image.Clone()), std::invalid_argument);
    EXPECT_NO_THROW(Convert(image, image));
}

// ---- mosaics

template <class A>
void ExpectOneColourBack(unsigned redX, unsigned redY) {
    using Count = typename A::value_type;
    constexpr Count red = 200;
    constexpr Count green = 100;
    constexpr Count blue = 31;
    for (auto const& size : {std::pair<unsigned, unsigned>(2, 2), {3, 2}, {2, 5}, {7, 5}}) {
        TImage<TRGB<Count>> scene(size.first, size.second);
        for (unsigned y = 0; y < scene.Height(); ++y) {
            std::fill_n(scene[y], scene.Width(), TRGB<Count>(red, green, blue));
        }
        TImage<Bayer<A>> mosaic;
        scene >> mosaic;
        for (unsigned y = 0; y < 2; ++y) {
            for (unsigned x = 0; x < 2; ++x) {
                bool const isRed = x == redX && y == redY;
                bool const isBlue = x != redX && y != redY;
                EXPECT_EQ(mosaic(x, y).value, isRed ? red : isBlue ? blue : green);
            }
        }
        TImage<TRGB<Count>> back;
        mosaic >> back;
        for (unsigned y = 0; y < back.Height(); ++y) {
            for (unsigned x = 0; x < back.Width(); ++x) {
                EXPECT_EQ(back(x, y), scene(x, y)) << x << " " << y;
            }
        }
    }
}

template <class Count>
void ExpectEveryArrangement() {
    ExpectOneColourBack<TBGGR<Count>>(1, 1);
    ExpectOneColourBack<TGRBG<Count>>(1, 0);
    ExpectOneColourBack<TRGGB<Count>>(0, 0);
    ExpectOneColourBack<TGBRG<Count>>(0, 1);
}

TEST(Mosaic, OfOneColourGivesThatColourEverywhere) {
    ExpectEveryArrangement<uchar>();
    ExpectEveryArrangement<ushort>();
}

TEST(Demosaicing, TakesTheMeanOfTheNearestCountsMirroredAtTheBorders) {
    // Rows of R G R G and of G B G B.
    uchar const counts[3][4] = {{10, 20, 30, 41}, {50, 60, 70, 80}, {90, 11, 21, 31}};
    TImage<Bayer<TRGGB<uchar>>> mosaic(4, 3);
    for (unsigned y = 0; y < 3; ++y) {
        std::copy_n(counts[y], 4, mosaic.Row<uchar>(y));
    }
    TImage<Rgb8> rgb;
    mosaic >> rgb;
    EXPECT_EQ(rgb(1, 1), Rgb8((10 + 30 + 90 + 21 + 2) / 4, (20 + 11 + 50 + 70 + 2) / 4, 60));
    EXPECT_EQ(rgb(2, 1), Rgb8((30 + 21 + 1) / 2, 70, (60 + 80) / 2));
    EXPECT_EQ(rgb(1, 0), Rgb8((10 + 30) / 2, 20, 60));
    EXPECT_EQ(rgb(0, 0), Rgb8(10, (20 + 20 + 50 + 50) / 4, 60));
    EXPECT_EQ(rgb(3, 0), Rgb8(30, 41, 80));
    EXPECT_EQ(rgb(0, 2), Rgb8(90, (11 + 11 + 50 + 50 + 2) / 4, 60));
    EXPECT_EQ(rgb(3, 1), Rgb8((30 + 21 + 30 + 21 + 2) / 4, (41 + 31 + 70 + 70 + 2) / 4, 80));

    TImage<uchar> grey;
    ConvertAs(PixelTypeNumber<uchar>::value, mosaic, grey);
    EXPECT_EQ(grey(2, 1), 70); // viewed as counts nothing is demosaiced
    mosaic >> grey;
    EXPECT_EQ(grey(2, 1), 57); // luma of (26, 70, 70) is 56.8
}

TEST(Demosaicing, ReadsASingleRowOrColumnAsGrey) {
    Bayer<TGRBG<ushort>> const counts[] = {
        Bayer<TGRBG<ushort>>(1), Bayer<TGRBG<ushort>>(500), Bayer<TGRBG<ushort>>(65535)};
    TImage<Rgb16> rgb;
    TImage<Bayer<TGRBG<ushort>>>(counts, 3, 1) >> rgb;
    EXPECT_EQ(rgb(1, 0), Rgb16(500, 500, 500));
    TImage<Bayer<TGRBG<ushort>>>(counts, 1, 3) >> rgb;
    EXPECT_EQ(rgb(0, 2), Rgb16(65535, 65535, 65535));
}

TEST(Demosaicing, DeepMosaicsReachEveryType) {
    TImage<Bayer<TRGGB<ushort>>> mosaic(4, 4);
    for (unsigned y = 0; y < 4; ++y) {
        std::fill_n(mosaic.Row<ushort>(y), 4, ushort{0x1234});
    }
    TImage<Bgra8> bgra;
    TImage<Bayer<TGBRG<uchar>>> other;
    mosaic >> bgra;
    mosaic >> other;
    EXPECT_EQ(bgra(3, 3), Bgra8(0x12, 0x12, 0x12, 255));
    EXPECT_EQ(other(0, 3).value, 0x12);
}

} // namespace
