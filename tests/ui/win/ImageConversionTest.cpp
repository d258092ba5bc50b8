#include "support/Thrown.h"
#include "ui/win/image/CImageDrawConvert.h"
#include "ui/win/image/CWindowImageConverter.h"

#include <boost/make_shared.hpp>

#include <gmock/gmock.h>

#include <cstdint>
#include <map>
#include <stdexcept>

using namespace ui::win;
using namespace cimage;

namespace {

using testing::ElementsAre;
using SPImage = ConvertImage::SPImage;

using Grey = TImage<unsigned char>;
using SignedGrey = TImage<signed char>;
using DeepGrey = TImage<unsigned short>;
using DeepSignedGrey = TImage<short>;
using RGB = TImage<TRGB<unsigned char>>;
using RGBA = TImage<TRGBA<unsigned char>>;
using BGRA = TImage<TBGRA<unsigned char>>;
using RGGB = TImage<Bayer<TRGGB<unsigned char>>>;
using DeepRGGB = TImage<Bayer<TRGGB<unsigned short>>>;

template <class I>
constexpr unsigned Type = I::StaticType;

TEST(ImageConversion, PoolKnowsExactlyTheseConversions) {
    constexpr int none = -1;
    // Rows: source types 1 to 17; columns: 1 grey, 13 RGB, 14 RGBA, 15 BGRA, the type itself.
    int const costs[][5] = {
        {0, 1, 2, 2, 0},                // unsigned char
        {1, none, none, none, 0},       // signed char
        {1, none, none, none, 0},       // unsigned short
        {1, none, none, none, 0},       // short
        {0, none, none, none, 0},       // mosaics of 8 bits
        {0, none, none, none, 0},       //
        {0, none, none, none, 0},       //
        {0, none, none, none, 0},       //
        {0, none, none, none, none},    // mosaics of 16 bits
        {0, none, none, none, none},    //
        {0, none, none, none, none},    //
        {0, none, none, none, none},    //
        {none, 0, none, none, 0},       // RGB
        {none, none, 0, none, 0},       // RGBA
        {none, none, 0, none, none},    // BGRA
        {none, none, none, none, none}, // RGB and RGBA of 16 bits
        {none, none, none, none, none}};
    for (unsigned source = 1; source <= 17; ++source) {
        for (unsigned destination = 1; destination <= 17; ++destination) {
            int const* const row = costs[source - 1];
            int const expected = destination == source                    ? row[4]
                                 : destination == 1                       ? row[0]
                                 : destination >= 13 && destination <= 15 ? row[destination - 12]
                                                                          : none;
            ConvertImage entry;
            bool const found = CImageConvertPool::Instance()->Find({source, destination}, entry);
            EXPECT_EQ(found ? entry.cost : none, expected) << source << " to " << destination;
        }
    }
}

template <class S, class D>
void ExpectShared() {
    SPImage const image = boost::make_shared<S>(2, 2);
    unsigned const accepted[] = {Type<D>};
    EXPECT_EQ(CImageConvertPool::Instance()->Convert(image, accepted, 1), image);
}

/// Converts a single pixel.
template <class D, class P>
auto Converted(P pixel) {
    auto const image = boost::make_shared<TImage<P>>(&pixel, 1, 1);
    unsigned const accepted[] = {Type<D>};
    SPImage const converted = CImageConvertPool::Instance()->Convert(image, accepted, 1);
    EXPECT_EQ(converted->Type(), Type<D>);
    EXPECT_NE(converted, image);
    return converted->Row<typename D::pixel_type>(0)[0];
}

TEST(ImageConversion, SharesWhatCanBeReinterpretedAndConvertsTheRest) {
    ExpectShared<Grey, Grey>();
    ExpectShared<BGRA, RGBA>();
    ExpectShared<RGGB, Grey>();
    ExpectShared<RGGB, RGGB>();
    EXPECT_EQ(Converted<RGB>(std::uint8_t{7}), TRGB<unsigned char>(7, 7, 7));
    EXPECT_EQ(Converted<RGBA>(std::uint8_t{7}), TRGBA<unsigned char>(7, 7, 7, 255));
    EXPECT_EQ(Converted<BGRA>(std::uint8_t{7}), TBGRA<unsigned char>(7, 7, 7, 255));
    EXPECT_EQ(Converted<Grey>(std::int8_t{-128}), 0);
    EXPECT_EQ(Converted<Grey>(std::uint16_t{0x1280}), 0x12);
    EXPECT_EQ(Converted<Grey>(std::int16_t{-1}), 127);
}

TEST(ImageConversion, DeepMosaicsKeepTheirCounts) {
    auto const mosaic = boost::make_shared<DeepRGGB>(4, 4);
    (*mosaic)(1, 2).value = 0xAB00;
    unsigned const accepted[] = {Type<Grey>};
    SPImage const grey = CImageConvertPool::Instance()->Convert(mosaic, accepted, 1);
    unsigned sum = 0;
    for (unsigned y = 0; y < 4; ++y) {
        for (unsigned x = 0; x < 4; ++x) {
            sum += grey->Row<unsigned char>(y)[x];
        }
    }
    EXPECT_EQ(grey->Row<unsigned char>(2)[1], 0xAB);
    EXPECT_EQ(sum, 0xABU) << "no count was spread to its neighbours";
}

TEST(ImageConversion, CheapestWinsAndTiesGoToTheFirst) {
    CImageConvertPool const& pool = *CImageConvertPool::Instance();
    auto const best = [&pool](std::vector<unsigned> const& types, int startCost = 255) {
        ConvertImage entry;
        entry.cost = startCost;
        return pool.FindBestMatching(
            Type<Grey>, types.data(), static_cast<int>(types.size()), entry);
    };
    EXPECT_EQ(best({Type<RGB>, Type<RGBA>}), 0);
    EXPECT_EQ(best({Type<RGBA>, Type<RGB>}), 1);
    EXPECT_EQ(best({Type<RGBA>, Type<BGRA>}), 0);
    EXPECT_EQ(best({Type<BGRA>, Type<RGBA>}), 0);
    EXPECT_EQ(best({Type<SignedGrey>, Type<RGBA>, Type<Grey>}), 2);
    EXPECT_EQ(best({Type<RGB>}, 1), -1) << "only what is strictly cheaper";
    EXPECT_EQ(best({Type<DeepGrey>}), -1);
    EXPECT_EQ(best({}), -1);
    ConvertImage entry;
    unsigned const rgb = Type<RGB>;
    EXPECT_EQ(pool.FindBestMatching(Type<Grey>, &rgb, -3, entry), -1);
    EXPECT_EQ(entry.cost, 255);
}

TEST(ImageConversion, SaysWhenThereIsNoWay) {
    SPImage const mosaic = boost::make_shared<DeepRGGB>(2, 2);
    unsigned const accepted[] = {Type<RGB>};
    EXPECT_EQ(
        tests::Thrown([&] { CImageConvertPool::Instance()->Convert(mosaic, accepted, 1); }),
        "Cannot find a valid converter between CImage and Display");
    BindImageFunctions bind;
    bind.Add(Type<RGB>, [](CWindowCore*, SPImage const&) { FAIL(); });
    EXPECT_EQ(
        tests::Thrown([&] { bind(nullptr, mosaic); }), "A CImage cannot be rendered on this GC");
}

TEST(ImageConversion, FirstEntryOfAPairStays) {
    CImageConvertPool& pool = *CImageConvertPool::Instance();
    pool.DoAdd(1000, 1001, {5, {}});
    pool.DoAdd(1000, 1001, {3, {}});
    pool.DoAdd(1001, 1000, {4, {}});
    ConvertImage entry;
    EXPECT_TRUE(pool.Find({1000, 1001}, entry));
    EXPECT_EQ(entry.cost, 5);
}

TEST(ImageConversion, BinderPrefersTheImagesOwnTypeThenTheCheapest) {
    std::vector<std::pair<unsigned, SPImage>> bound;
    BindImageFunctions bind;
    for (unsigned const type : {Type<RGBA>, Type<RGB>, Type<BGRA>}) {
        bind.Add(type, [&bound, type](CWindowCore*, SPImage const& image) {
            bound.emplace_back(type, image);
        });
    }
    auto const boundAs = [&](SPImage const& image) {
        EXPECT_TRUE(bind(nullptr, image));
        return bound.back();
    };
    SPImage const bgra = boost::make_shared<BGRA>(1, 1);
    EXPECT_EQ(boundAs(bgra), std::make_pair(Type<BGRA>, bgra));
    auto const [type, converted] = boundAs(boost::make_shared<Grey>(1, 1));
    EXPECT_EQ(type, Type<RGB>);
    EXPECT_EQ(converted->Type(), Type<RGB>);

    BindImageFunctions equal; // both cost 2
    for (unsigned const accepted : {Type<BGRA>, Type<RGBA>}) {
        equal.Add(accepted, [&bound, accepted](CWindowCore*, SPImage const& image) {
            bound.emplace_back(accepted, image);
        });
    }
    equal(nullptr, boost::make_shared<Grey>(1, 1));
    EXPECT_EQ(bound.back().first, Type<RGBA>) << "the lower type number";
}

} // namespace
