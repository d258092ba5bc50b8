#include "cimage/ImageIO.h"
#include "support/OutputFolder.h"
#include "support/RecordingCore.h"
#include "support/TestParams.h"
#include "ui/win/CWindow.h"
#include "ui/win/drawables/CWidgets.h"

#include <boost/make_shared.hpp>
#include <boost/property_tree/ptree.hpp>

#include <gmock/gmock.h>

#include <climits>
#include <functional>
#include <stdexcept>

using namespace ui::win;

namespace {

using testing::ElementsAre;
using RGB8 = cimage::TRGB<unsigned char>;
using RGBA8 = cimage::TRGBA<unsigned char>;
using Grey = cimage::TImage<unsigned char>;
using RGB = cimage::TImage<RGB8>;
using SPConst = boost::shared_ptr<cimage::CImage const>;
template <class T>
using Corner = math::Point3<T>;

class ImageCalls : public testing::Test {
protected:
    /// Draws what the last call pushed and removes it. @return the drawing call
    std::string Drawn() {
        if (window.Layer(0).Size() != 1) {
            return std::to_string(window.Layer(0).Size()) + " objects";
        }
        window.Layer(0).Items()[0]->Draw(&core);
        window.Clear();
        return core.Take().back();
    }

    template <class P>
    P Pixel(unsigned x, unsigned y) const {
        return core.lastImage->Row<P>(y)[x];
    }

    CWindow window{tests::MakeParams("None")};
    tests::RecordingCore core;
};

TEST_F(ImageCalls, PlaceTheImage) {
    Grey const image(64, 48);
    SPConst const shared = boost::make_shared<Grey>(64, 48);
    RGBA8 const pixels[6] = {};
    std::string const whole = "DrawImage (64,0,0 0,0,0 0,48,0 64,48,0) ";
    struct {
        std::function<bool()> call;
        std::string drawn;
        bool copies;
    } const cases[] = {
        {[&] { return window.DrawImage(image); }, whole + "[64x48:1]", true},
        {[&] { return window.DrawImage(shared); }, whole + "[64x48:1]", false},
        {[&] { return window.DrawImage(pixels, 3, 2); }, whole + "[3x2:14]", true},
        {[&] { return window.DrawImage(10, 20, image); }, "DrawImage 10,20 74,68 [64x48:1]", true},
        {[&] { return window.DrawImage(10, 20, shared); },
         "DrawImage 10,20 74,68 [64x48:1]",
         false},
        {[&] { return window.DrawImage(10, 20, pixels, 3, 2); },
         "DrawImage 10,20 13,22 [3x2:14]",
         true},
        {[&] { return window.DrawImage(10, 20, 100, 50, image); },
         "DrawImage 10,20 110,70 [64x48:1]",
         true},
        {[&] { return window.DrawImage(10, 20, 100, 50, shared); },
         "DrawImage 10,20 110,70 [64x48:1]",
         false},
        {[&] { return window.DrawImage(10, 20, 100, 50, pixels, 3, 2); },
         "DrawImage 10,20 110,70 [3x2:14]",
         true},
        // -16777217 is not a float: the sum is made of what is.
        {[&] { return window.DrawImage(-16777217, 0, 16777218, 1, image); },
         "DrawImage -1.67772e+07,0 2,1 [64x48:1]",
         true}};
    core.SetViewPort(ViewPortCamera, nullptr, window.Layer(0).GetCamera());
    for (auto const& c : cases) {
        EXPECT_TRUE(c.call());
        auto const* const drawable = window.Layer(0).Items().at(0).get();
        EXPECT_EQ(dynamic_cast<CopyImage const*>(drawable) != nullptr, c.copies) << c.drawn;
        EXPECT_STREQ(drawable->getName(), "Image");
        EXPECT_EQ(Drawn(), c.drawn);
    }
}

TEST_F(ImageCalls, CornersAreNarrowedAndKeepTheirOrder) {
    Corner<double> const wide[] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12.5}};
    Corner<float> const narrow[] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12.5}};
    std::string const drawn = "DrawImage (1,2,3 4,5,6 7,8,9 10,11,12.5) [2x2:";
    RGB const image(2, 2);
    SPConst const shared = boost::make_shared<Grey>(2, 2);
    unsigned char const grey[] = {1, 2, 0, 3, 4, 0};

    window.DrawImage(wide, image);
    EXPECT_EQ(Drawn(), drawn + "13]");
    window.DrawImage(narrow, shared);
    EXPECT_EQ(Drawn(), drawn + "1]");
    EXPECT_EQ(core.lastImage, shared);
    window.DrawImage(narrow, grey, 2, 2);
    EXPECT_EQ(Drawn(), drawn + "1]");
    EXPECT_EQ(Pixel<unsigned char>(0, 1), 0);
    window.DrawImage(wide, grey, 3L, 2, 2);
    EXPECT_EQ(Drawn(), drawn + "1]");
    EXPECT_EQ(Pixel<unsigned char>(1, 1), 4);
    window.DrawImage(wide, grey + 3, -3L, 2, 2);
    EXPECT_EQ(Drawn(), drawn + "1]");
    EXPECT_EQ(Pixel<unsigned char>(1, 1), 2) << "stored from the bottom up";
}

TEST_F(ImageCalls, ChangesShowInSharedImagesOnly) {
    auto const image = boost::make_shared<Grey>(1, 1);
    SPConst const shared = image;
    struct {
        std::function<bool()> call;
        int afterChange;
    } const cases[] = {
        {[&] { return window.DrawImage(*image); }, 1},
        {[&] { return window.DrawImage(shared); }, 2},
        {[&] { return window.DrawImage(1, 1, (*image)[0], 1, 1); }, 1},
        {[&] { return window.BindImage(*image); }, 1},
        {[&] { return window.BindImage(shared); }, 2}};
    for (auto const& c : cases) {
        (*image)(0, 0) = 1;
        c.call();
        (*image)(0, 0) = 2;
        Drawn();
        EXPECT_EQ(Pixel<unsigned char>(0, 0), c.afterChange);
    }
}

TEST_F(ImageCalls, ClipIsCutToTheImage) {
    RGB image(5, 3); // rows are padded
    for (unsigned char y = 0; y < 3; ++y) {
        for (unsigned char x = 0; x < 5; ++x) {
            image(x, y) = {x, y, 0};
        }
    }
    struct {
        math::Rect2<int> clip;
        char const* size; // empty: nothing is drawn
        unsigned char x;
        unsigned char y;
    } const cases[] = {
        {{1, 1, 4, 3}, "3x2", 1, 1},
        {{0, 0, 5, 3}, "5x3", 0, 0},
        {{-7, 2, 2, 99}, "2x1", 0, 2},
        {{INT_MIN, INT_MIN, INT_MAX, INT_MAX}, "5x3", 0, 0},
        {{2, 2, 2, 3}, "", 0, 0},
        {{4, 1, 1, 3}, "", 0, 0},
        {{5, 0, 9, 3}, "", 0, 0},
        {{0, -5, 5, 0}, "", 0, 0}};
    for (auto const& c : cases) {
        EXPECT_TRUE(window.DrawClippedImage(10, 20, 6, 4, image, c.clip));
        if (*c.size == '\0') {
            EXPECT_EQ(window.Layer(0).Size(), 0U);
            continue;
        }
        EXPECT_EQ(Drawn(), std::string("DrawImage 10,20 16,24 [") + c.size + ":13]");
        EXPECT_EQ(Pixel<RGB8>(0, 0), RGB8(c.x, c.y, 0));
    }
    unsigned char const grey[] = {1, 2, 3, 4, 5, 6};
    window.DrawClippedImage(0, 0, 1, 1, grey, 3, 2, {1, 1, 3, 2});
    EXPECT_EQ(Drawn(), "DrawImage 0,0 1,1 [2x1:1]");
    EXPECT_EQ(Pixel<unsigned char>(0, 0), 5);
    EXPECT_TRUE(window.DrawClippedImage(0, 0, 1, 1, Grey(), {0, 0, 1, 1}));
}

TEST_F(ImageCalls, ColourKeyComparesAllChannels) {
    RGB8 const pixels[] = {{0, 0, 0}, {0, 0, 1}, {0, 1, 0}, {1, 0, 0}};
    window.DrawXImage(1, 2, 3, 4, RGB(pixels, 2, 2), XColorKey{{0, 0, 0}, 0, 255});
    EXPECT_EQ(Drawn(), "DrawImage 1,2 4,6 [2x2:14]");
    EXPECT_EQ(Pixel<RGBA8>(0, 0), RGBA8(0, 0, 0, 0));
    EXPECT_EQ(Pixel<RGBA8>(1, 0), RGBA8(0, 0, 1, 255));
    EXPECT_EQ(Pixel<RGBA8>(0, 1), RGBA8(0, 1, 0, 255));
    EXPECT_EQ(Pixel<RGBA8>(1, 1), RGBA8(1, 0, 0, 255));
    window.DrawXImage(0, 0, 1, 1, RGB(pixels, 2, 1), XColorKey{{0, 0, 0}, 300.9F, -1});
    Drawn();
    EXPECT_EQ(Pixel<RGBA8>(0, 0).a, 44) << "the low byte of the whole part";
    EXPECT_EQ(Pixel<RGBA8>(1, 0).a, 255);
}

TEST_F(ImageCalls, OpacityIsARampOver256Steps) {
    struct {
        float alpha0;
        float alpha255;
        unsigned char grey;
        unsigned char alpha;
    } const cases[] = {
        {0, 255, 128, 127},
        {0, 255, 255, 254},
        {0, 255, 0, 0},
        {255, 0, 255, 0},        // 255 + (-65025 >> 8), rounded down
        {255, 0, 1, 254},        //
        {10.9F, 20.9F, 255, 19}, //
        {300, 300, 7, 44},       // only the low byte counts
        {1e30F, 0, 255, 0}};     // has no low byte
    for (auto const& c : cases) {
        Grey const image(&c.grey, 1, 1);
        window.DrawXImage(0, 0, 1, 1, image, XOpacity{{1, 2, 3}, c.alpha0, c.alpha255});
        Drawn();
        EXPECT_EQ(Pixel<RGBA8>(0, 0), RGBA8(1, 2, 3, c.alpha)) << c.alpha0 << ' ' << +c.grey;
    }
}

TEST_F(ImageCalls, HooksDrawTheUntouchedOutput) {
    RGB8 const colour(9, 9, 9);
    RGB const rgb(&colour, 1, 1);
    Grey const grey(&colour.r, 1, 1);
    window.DrawXImage(0, 0, 1, 1, grey, XColorKey{{9, 9, 9}, 5, 6});
    EXPECT_EQ(Drawn(), "DrawImage 0,0 1,1 [1x1:14]");
    EXPECT_EQ(Pixel<RGBA8>(0, 0), RGBA8());
    window.DrawXImage(0, 0, 1, 1, rgb, XConversion());
    EXPECT_EQ(Drawn(), "DrawImage 0,0 1,1 [1x1:14]");
    window.DrawXImage(0, 0, 1, 1, grey, XConversion());
    EXPECT_EQ(Drawn(), "DrawImage 0,0 1,1 [1x1:14]");
    window.DrawXImage(0, 0, 1, 1, rgb, XFilter());
    EXPECT_EQ(Drawn(), "DrawImage 0,0 1,1 [1x1:13]");
    window.DrawXImage(0, 0, 1, 1, grey, XFilter());
    EXPECT_EQ(Drawn(), "DrawImage 0,0 1,1 [1x1:13]");
    EXPECT_EQ(Pixel<RGB8>(0, 0), RGB8());
}

TEST_F(ImageCalls, FilesAreDrawnOrReported) {
    std::string const path = tests::OutputFolder().Path("image.pgm");
    unsigned char const pixels[] = {0, 200};
    cimage::Save(path, Grey(pixels, 2, 1), {});
    window.DrawImageFile(path, 1, 2, 3, 4);
    EXPECT_EQ(Drawn(), "DrawImage 1,2 4,6 [2x1:1]");
    EXPECT_EQ(Pixel<unsigned char>(1, 0), 200);
    window.DrawXImageFile<RGB>(path, 1, 2, 3, 4, XColorKey{{200, 200, 200}, 3, 4});
    EXPECT_EQ(Drawn(), "DrawImage 1,2 4,6 [2x1:14]");
    EXPECT_EQ(Pixel<RGBA8>(1, 0), RGBA8(200, 200, 200, 3));
    EXPECT_THROW(window.DrawImageFile(path + ".none", 0, 0, 1, 1), std::runtime_error);
    EXPECT_EQ(window.Layer(0).Size(), 0U);
}

} // namespace
