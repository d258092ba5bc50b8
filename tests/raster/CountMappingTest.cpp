#include "drivers/raster/CountMapping.h"

#include "cimage/TImage.h"
#include "math/Point2.h"

#include <boost/make_shared.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace tests {

namespace {

using namespace cimage;
using drivers::raster::Colour;
using drivers::raster::CountMapping;
using ui::win::ColorMap;
using ui::win::ImageCounts;
using ui::win::ImageRange;
using Byte = unsigned char;
using Word = unsigned short;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// A row of counts as an image of pixel type P, which may be a mosaic.
template <class P>
boost::shared_ptr<CImage> Row(std::vector<int> const& counts) {
    auto const image = boost::make_shared<TImage<P>>(static_cast<unsigned>(counts.size()), 1);
    for (std::size_t i = 0; i < counts.size(); ++i) {
        if (image->BytesPerPixel() == 1) {
            image->template Row<Byte>(0)[i] = static_cast<Byte>(counts[i]);
        } else {
            image->template Row<Word>(0)[i] = static_cast<Word>(counts[i]);
        }
    }
    return image;
}

std::vector<int> Shown(
    boost::shared_ptr<CImage> const& image,
    ImageRange const& range,
    ColorMap map = ui::win::ColorMapGrey) {
    auto const shown = CountMapping().Map(image, range, map);
    Byte const* const row = shown->Row<Byte>(0);
    return std::vector<int>(row, row + shown->Width());
}

TEST(CountMapping, SpreadsCountsEvenlyBetweenTwoAndCutsOffTheRest) {
    ImageRange const off;
    auto const counts = [](double low, double high) {
        return ImageRange{ImageRange::Counts, low, high};
    };
    auto const deep = Row<Word>({0, 999, 1000, 1002, 1003, 1255, 1510, 1511, 65535});
    struct Case {
        char const* what;
        boost::shared_ptr<CImage> image;
        ImageRange range;
        std::vector<int> shown;
    };
    for (Case const& c : std::vector<Case>{
             {"two counts a step", deep, counts(1000, 1510), {0, 0, 0, 1, 2, 128, 255, 255, 255}},
             {"turned around", deep, counts(1510, 1000), {255, 255, 255, 254, 254, 128, 0, 0, 0}},
             {"no width", deep, counts(1003, 1003), {0, 0, 0, 0, 128, 255, 255, 255, 255}},
             {"not a number", deep, counts(kNaN, 9), {0, 4, 4, 4, 4, 5, 6, 6, 255}},
             {"infinite", deep, counts(-kInfinity, 1003), std::vector<int>(9, 255)},
             {"fractions", Row<Byte>({0, 1, 2}), counts(0.5, 1.5), {0, 128, 255}},
             {"below zero", Row<short>({-999, -300, -245, 0}), counts(-300, -45), {0, 0, 55, 255}},
             {"signed bytes", Row<signed char>({-128, -1, 0, 127}), off, {0, 127, 128, 255}},
             {"a whole range", Row<short>({-32768, 0, 32767}), off, {0, 128, 255}},
             {"no pixels", Row<Word>({}), counts(0, 1), {}}}) {
        EXPECT_EQ(Shown(c.image, c.range), c.shown) << c.what;
    }
    EXPECT_EQ(
        Shown(deep, counts(1000, 1510), ui::win::ColorMapInverted),
        (std::vector<int>{255, 255, 255, 254, 253, 127, 0, 0, 0}));
}

TEST(CountMapping, TakesTheRangeFromPercentilesOfTheImage) {
    std::vector<int> counts;
    for (int i = 0; i < 100; ++i) {
        counts.push_back((i * 37 % 100) * 10 - 500); // -500 to 490, in no order
    }
    struct Case {
        double low;
        double high;
        int first; // the greatest count of the first step
        int last;  // the smallest count of the last step
    };
    for (Case const& c : std::vector<Case>{
             {0, 100, -500, 490}, {1, 99, -500, 480}, {10, 50, -410, -10}, {-5, 400, -500, 490}}) {
        std::vector<int> const shown =
            Shown(Row<short>(counts), {ImageRange::Percentiles, c.low, c.high});
        for (std::size_t i = 0; i < counts.size(); ++i) {
            EXPECT_EQ(shown[i] == 0, counts[i] <= c.first) << counts[i] << " from " << c.low;
            EXPECT_EQ(shown[i] == 255, counts[i] >= c.last) << counts[i] << " to " << c.high;
        }
    }
    EXPECT_EQ(
        Shown(Row<Word>({7, 7}), {ImageRange::Percentiles, 1, 99}), (std::vector<int>{128, 128}));
}

TEST(CountMapping, KeepsMosaicsWithoutAMapAndLeavesTheRestAlone) {
    ImageRange const range{ImageRange::Counts, 100, 355};
    auto const typeOf = [&](boost::shared_ptr<CImage> const& image, ColorMap map) {
        return CountMapping().Map(image, range, map)->Type();
    };
    auto const off = ui::win::ColorMapOff;
    EXPECT_EQ(typeOf(Row<Bayer<TBGGR<Word>>>({1}), off), TImage<Bayer<TBGGR<Byte>>>::StaticType);
    EXPECT_EQ(typeOf(Row<Bayer<TGRBG<Byte>>>({1}), off), TImage<Bayer<TGRBG<Byte>>>::StaticType);
    EXPECT_EQ(typeOf(Row<Bayer<TRGGB<Word>>>({1}), off), TImage<Bayer<TRGGB<Byte>>>::StaticType);
    EXPECT_EQ(typeOf(Row<Bayer<TGBRG<Word>>>({1}), off), TImage<Bayer<TGBRG<Byte>>>::StaticType);
    EXPECT_EQ(
        typeOf(Row<Bayer<TGBRG<Word>>>({1}), ui::win::ColorMapGrey), TImage<Byte>::StaticType);
    EXPECT_EQ(typeOf(Row<short>({1}), static_cast<ColorMap>(99)), TImage<Byte>::StaticType);
    auto const colour = boost::make_shared<TImage<TRGB<Byte>>>(1, 1);
    EXPECT_EQ(CountMapping().Map(colour, range, ui::win::ColorMapJet), colour);
    auto const grey = Row<Word>({1});
    EXPECT_EQ(CountMapping().Map(grey, ImageRange(), static_cast<ColorMap>(99)), grey);
}

int Luma(Colour c) {
    return 2126 * c.r + 7152 * c.g + 722 * c.b;
}

TEST(CountMapping, ShowsStepsInTheColoursOfAMap) {
    auto const map = ui::win::ColorMapJet;
    auto const shown =
        CountMapping().Map(Row<Word>({0, 500, 1000}), {ImageRange::Counts, 0, 1000}, map);
    ASSERT_EQ(shown->Type(), TImage<Colour>::StaticType);
    EXPECT_EQ(shown->Row<Colour>(0)[0], Colour(0, 0, 127, 255)) << "dark blue";
    EXPECT_EQ(shown->Row<Colour>(0)[1], CountMapping::ColourOf(map, 128));
    EXPECT_EQ(shown->Row<Colour>(0)[2], Colour(127, 0, 0, 255)) << "dark red";
    EXPECT_EQ(CountMapping::ColourOf(map, 96), Colour(1, 255, 253, 255)) << "cyan";
    auto const step = [](int s) {
        return CountMapping::ColourOf(ui::win::ColorMapViridis, static_cast<Byte>(s));
    };
    for (int i = 8; i < 256; ++i) {
        double const rise = (Luma(step(i)) - Luma(step(i - 8))) / 80000.0; // in counts a step
        EXPECT_TRUE(rise > 0.3 && rise < 1.4) << rise << " is not even at " << i;
    }
}

TEST(ReadCounts, TellsWhatEveryPixelTypeStores) {
    struct Case {
        boost::shared_ptr<CImage> image;
        unsigned channels;
        std::array<std::int32_t, 4> values;
    };
    auto const rgb = boost::make_shared<TImage<TRGB<Word>>>(2, 1);
    (*rgb)(1, 0) = {1000, 2000, 65535};
    auto const bgra = boost::make_shared<TImage<TBGRA<Byte>>>(2, 1);
    (*bgra)(1, 0) = {1, 2, 3, 4}; // blue first
    auto const rgba = boost::make_shared<TImage<TRGBA<Word>>>(2, 1);
    (*rgba)(1, 0) = {300, 301, 302, 303};
    for (Case const& c : std::vector<Case>{
             {Row<Byte>({0, 255}), 1, {255}},
             {Row<signed char>({0, -7}), 1, {-7}},
             {Row<Word>({0, 65535}), 1, {65535}},
             {Row<short>({0, -32768}), 1, {-32768}},
             {Row<Bayer<TGRBG<Byte>>>({0, 200}), 1, {200}},
             {Row<Bayer<TGBRG<Word>>>({0, 40000}), 1, {40000}},
             {rgb, 3, {1000, 2000, 65535}},
             {bgra, 4, {3, 2, 1, 4}},
             {rgba, 4, {300, 301, 302, 303}}}) {
        ImageCounts counts;
        EXPECT_TRUE(drivers::raster::ReadCounts(*c.image, 1, 0, counts));
        EXPECT_EQ(counts.x * 10 + counts.y, 10U);
        EXPECT_EQ(counts.channels, c.channels) << c.image->Type();
        EXPECT_EQ(counts.values, c.values) << c.image->Type();
        for (math::Point2<int> const& beside :
             {math::Point2<int>(2, 0), {0, 1}, {-1, 0}, {0, -1}}) {
            EXPECT_FALSE(drivers::raster::ReadCounts(*c.image, beside.x, beside.y, counts));
        }
    }
}

} // namespace

} // namespace tests
