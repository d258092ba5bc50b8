#include "cimage/TImage.h"

#include <boost/property_tree/ptree.hpp>

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace cimage;
using Grey = TImage<unsigned char>;
using Rgb = TImage<TRGB<unsigned char>>;

TEST(CImage, StartsEveryRowOnA16ByteBoundary) {
    for (unsigned width : {1U, 5U, 16U, 17U, 1921U}) {
        Rgb image(width, 3);
        EXPECT_GE(image.Stride(), width * 3U);
        for (unsigned y = 0; y < 3; ++y) {
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(image.Bytes(y)) % 16, 0U) << width;
        }
        EXPECT_EQ(image(width - 1, 2), Rgb::pixel_type());
    }
}

TEST(CImage, CopiesSourceRowsByTheirStride) {
    unsigned char const pixels[] = {1, 2, 3, 99, 4, 5, 6, 99};
    Grey const strided(pixels, 3, 2, 4);
    Grey const packed(pixels, 4, 2);
    EXPECT_EQ(strided(0, 1), 4);
    EXPECT_EQ(strided(2, 1), 6);
    EXPECT_EQ(packed(3, 1), 99);
}

TEST(CImage, RefusesSizesThatDoNotFitAndStaysAsItWas) {
    unsigned const huge = std::numeric_limits<unsigned>::max();
    TImage<TRGBA<unsigned short>> image(2, 1);
    image(1, 0) = {1, 2, 3, 4};
    EXPECT_THROW(image.Resize(huge, huge), std::length_error);
    EXPECT_EQ(image.Width(), 2U);
    EXPECT_EQ(image(1, 0).a, 4);
}

TEST(CImage, CopiesAreIndependentAndMovesLeaveAnEmptyImage) {
    Grey original(7, 5);
    original(6, 4) = 77;
    original.Metadata().put("a.b", "text");
    Grey copy(original);
    boost::shared_ptr<CImage> const clone = original.Clone();
    original(6, 4) = 1;
    original.Metadata().put("a.b", "changed");
    EXPECT_EQ(copy(6, 4), 77);
    EXPECT_EQ(clone->Type(), Grey::StaticType);
    EXPECT_EQ(clone->Row<unsigned char>(4)[6], 77);
    EXPECT_EQ(clone->Metadata().get<std::string>("a.b"), "text");

    Grey moved(std::move(copy));
    EXPECT_EQ(moved(6, 4), 77);
    EXPECT_TRUE(copy.Empty()); // NOLINT(clang-analyzer-cplusplus.Move): what is left is the point
    EXPECT_EQ(copy.Stride(), 0U);
    EXPECT_TRUE(copy.Metadata().empty());
    original = std::move(moved);
    EXPECT_EQ(original(6, 4), 77);
    Grey& self = original;
    original = self;
    original = std::move(self);
    EXPECT_EQ(original(6, 4), 77);
    Grey other(2, 2);
    other = original;
    EXPECT_EQ(other(6, 4), 77);
    EXPECT_EQ(other.Metadata().get<std::string>("a.b"), "text");
}

TEST(CImage, AssignmentOfAnotherPixelTypeChangesNothing) {
    Grey grey(2, 2);
    Rgb rgb(3, 3);
    CImage& base = grey;
    EXPECT_THROW(base = static_cast<CImage const&>(rgb), std::invalid_argument);
    EXPECT_THROW(base = static_cast<CImage&&>(rgb), std::invalid_argument);
    EXPECT_EQ(grey.Width(), 2U);
    EXPECT_EQ(rgb.Width(), 3U);
}

TEST(CImage, MetadataOfAConstImageIsReadFromManyThreads) {
    Grey const image(1, 1);
    std::vector<std::thread> readers;
    readers.reserve(4);
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([&image] { EXPECT_TRUE(image.Metadata().empty()); });
    }
    for (std::thread& reader : readers) {
        reader.join();
    }
}

} // namespace
