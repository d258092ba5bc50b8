#include "drivers/raster/TextRenderer.h"

#include "drivers/raster/Canvas.h"
#include "drivers/raster/FontCatalogue.h"
#include "support/OutputFolder.h"
#include "support/PictureCompare.h"

#include <boost/thread/thread.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <numeric>
#include <vector>

namespace tests {

using namespace drivers::raster;
namespace fs = std::filesystem;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

/// Coverage as drawn.
struct Page {
    explicit Page(int w = 160, int h = 100) : width(w), height(h), pixels(Index(0, h)) {}

    void BlendMask(
        int x, int y, unsigned char const* coverage, int columns, int rows, std::ptrdiff_t stride) {
        ++masks;
        for (int j = std::max(0, -y); j < rows && y + j < height; ++j) {
            for (int i = std::max(0, -x); i < columns && x + i < width; ++i) {
                int& pixel = pixels[Index(x + i, y + j)];
                pixel = std::min(255, pixel + coverage[j * stride + i]);
            }
        }
    }
    /// What rows are covered by, in pixels.
    double Area(int top, int bottom) const {
        auto const at = [&](int y) {
            return pixels.begin() + static_cast<std::ptrdiff_t>(Index(0, y));
        };
        return std::accumulate(at(top), at(bottom), 0) / 255.0;
    }
    /// The middle of that, not a number where there is nothing.
    math::Point2<double> Centre(int top, int bottom) const {
        math::Point2<double> sum(0, 0);
        for (int y = top; y < bottom; ++y) {
            for (int x = 0; x < width; ++x) {
                sum = sum + math::Point2<double>(x + 0.5, y + 0.5) * (pixels[Index(x, y)] / 255.0);
            }
        }
        return sum * (1 / Area(top, bottom));
    }
    /// Around all pixels of some coverage.
    math::Rect2<int> Box() const {
        math::Rect2<int> box(width, height, 0, 0);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                if (pixels[Index(x, y)] > 20) {
                    box.left = std::min(box.left, x);
                    box.right = std::max(box.right, x + 1);
                    box.top = std::min(box.top, y);
                    box.bottom = std::max(box.bottom, y + 1);
                }
            }
        }
        return box;
    }
    std::size_t Index(int x, int y) const { return static_cast<std::size_t>(y * width + x); }

    int width;
    int height;
    std::vector<int> pixels;
    int masks = 0;
};

TextStyle Style(double size, TextAlignX x = TextAlignX::Left, TextAlignY y = TextAlignY::Top) {
    return {"Liberation Sans", size, size, x, y};
}

std::vector<int> Drawn(
    TextRenderer& text,
    math::Point2<double> const& anchor,
    TextStyle const& style,
    std::string_view words,
    TextTransform const& transform = {}) {
    Page page;
    EXPECT_TRUE(text.Draw(page, anchor, style, words, transform));
    return page.pixels;
}

TEST(TextRenderer, MeasuresLinesByTheirAdvance) {
    TextRenderer text;
    auto const one = text.Measure(Style(13.5), "Wide line");
    auto const three = text.Measure(Style(13.5), "a\nWide line\nb");
    EXPECT_DOUBLE_EQ(three.Width(), one.Width());
    EXPECT_DOUBLE_EQ(three.Height(), one.Height() + 2 * 14);
    EXPECT_DOUBLE_EQ(
        text.Measure(Style(14), "a\n").Height() - text.Measure(Style(14), "a").Height(), 14);
    EXPECT_GT(one.Height(), 13.5);
    EXPECT_DOUBLE_EQ(text.Measure(Style(27), "Wide line").Width(), 2 * one.Width());
    EXPECT_DOUBLE_EQ(
        text.Measure({"Liberation Sans", 27, 13.5}, "Wide line").Width(), 2 * one.Width());
    EXPECT_DOUBLE_EQ(
        text.Measure({"Liberation Sans", 27, 13.5}, "Wide line").Height(), one.Height());
    EXPECT_DOUBLE_EQ(text.Measure(Style(12), "").Width(), 0);
    for (std::string const pair : {"AV", "To", "Wa", "HH"}) { // all but the last are kerned
        double const apart = text.Measure(Style(100), pair.substr(0, 1)).Width() +
                             text.Measure(Style(100), pair.substr(1)).Width();
        double const together = text.Measure(Style(100), pair).Width();
        EXPECT_EQ(together < apart - 1, pair != "HH") << pair;
    }
}

/// Hinting moves the edges of small letters by less than a pixel, and must not make them heavier
/// or lighter than the large ones by more than a part.
TEST(TextRenderer, SizesFrom6To200PixelsKeepTheirProportions) {
    TextRenderer text;
    auto const perEm = [&](double size, TextTransform const& transform) {
        Page page(480, 440);
        bool const lies = transform.xx == 0;
        math::Point2<double> const anchor = lies ? math::Point2<double>(300.25, 420) //
                                                 : math::Point2<double>(40.25, 300);
        TextStyle const style = Style(size, TextAlignX::Left, TextAlignY::Baseline);
        text.Draw(page, anchor, style, "HEL", transform);
        math::Rect2<int> const box = page.Box();
        EXPECT_NEAR(lies ? box.Width() : box.Height(), 0.688 * size, 1.5) << size;
        EXPECT_TRUE(lies || box.bottom == 300) << size;
        return page.Area(0, 440) / (size * size);
    };
    for (TextTransform const& transform : {TextTransform(), TextTransform{0, 1, -1, 0}}) {
        double const large = perEm(200, transform);
        for (double const size : {6.0, 7.0, 8.5, 10.0, 12.0, 13.5, 17.0, 24.0, 48.0, 97.3, 150.0}) {
            EXPECT_NEAR(perEm(size, transform) / large, 1, size < 10 ? 0.25 : 0.15) << size;
        }
    }
}

/// Along the line text moves in quarters of a pixel, across it in whole pixels while it is upright.
TEST(TextRenderer, TextMovesByPartsOfAPixel) {
    TextRenderer text;
    struct Case {
        TextTransform transform;
        double gridX, gridY;
    };
    TextStyle const style = Style(14, TextAlignX::Left, TextAlignY::Baseline);
    for (Case const& c :
         {Case{{}, 0.25, 1},
          Case{{0, -1, 1, 0}, 0.25, 0.25},
          Case{{0.8, -0.6, 0.6, 0.8}, 0.25, 0.25}}) {
        auto const centre = [&](double by) {
            Page page;
            text.Draw(page, {40 + by, 40 + by}, style, "m", c.transform);
            return page.Centre(0, 100);
        };
        for (int i = 1; i <= 16; ++i) {
            double const by = i / 16.0;
            math::Point2<double> const moved = centre(by) - centre(0);
            EXPECT_NEAR(moved.x, std::floor(by / c.gridX + 0.5) * c.gridX, 0.04) << by;
            EXPECT_NEAR(moved.y, std::floor(by / c.gridY + 0.5) * c.gridY, 0.04) << by;
        }
    }
}

TEST(TextRenderer, MarksStandAboveAndBelowTheirLetter) {
    TextRenderer text;
    struct Case {
        char const* words;
        bool above, below;
    };
    for (Case const& c : {
             Case{"x", false, false},
             Case{"x\xCC\x81", true, false}, // acute
             Case{"x\xCC\x88", true, false}, // two dots
             Case{"x\xCC\xA3", false, true}, // a dot below
             Case{"x\xCC\x82\xCC\xA3", true, true},
         }) {
        Page page;
        text.Draw(page, {40, 50}, Style(32, TextAlignX::Left, TextAlignY::Baseline), c.words);
        double const letter = page.Centre(50 - 12, 50).x;
        std::pair<bool, double> const marks[] = {
            {c.above, page.Centre(0, 50 - 19).x}, {c.below, page.Centre(50 + 2, 100).x}};
        for (auto const& [wanted, centre] : marks) {
            EXPECT_EQ(std::isfinite(centre), wanted) << c.words;
            EXPECT_TRUE(!wanted || std::abs(centre - letter) < 2) << c.words;
        }
    }
}

TEST(TextRenderer, MeasuresInWorldUnitsWhatItDrawsInPixels) {
    TextRenderer text;
    auto const pixels = text.Measure(Style(13.5), "a\nb");
    auto const units = text.Measure(Style(0.027), "a\nb", {0, -500, 500, 0});
    EXPECT_NEAR(units.Width() * 500, pixels.Width(), 1e-9);
    EXPECT_NEAR(units.Height() * 500, pixels.Height(), 1e-9);
    EXPECT_EQ(
        Drawn(text, {20, 20}, Style(0.027), "Frame\n17", {500, 0, 0, 500}),
        Drawn(text, {20, 20}, Style(13.5), "Frame\n17"));
}

TEST(TextRenderer, DrawsInsideTheMeasuredBoxAtEveryAlignment) {
    TextRenderer text;
    for (int i = 0; i < 9; ++i) {
        TextStyle const style = Style(16, TextAlignX(i % 3), TextAlignY(i / 3));
        Page page;
        text.Draw(page, {80, 50}, style, "HMH\nHH");
        math::Rect2<int> const ink = page.Box();
        math::Rect2<double> const box = text.Measure(style, "HMH\nHH");
        SCOPED_TRACE(testing::Message() << "alignment " << i % 3 << ", " << i / 3);
        // H has a side bearing of a tenth of an em, and touches neither ascender nor descender.
        EXPECT_NEAR(ink.left, 80 + box.left, 2.6);
        EXPECT_NEAR(ink.right, 80 + box.right, 2.6);
        EXPECT_GE(ink.top, 50 + box.top);
        EXPECT_LE(ink.bottom, 50 + box.bottom);
        EXPECT_NEAR(ink.Height(), 16 + 0.69 * 16, 1.1);
        if (style.alignY == TextAlignY::Baseline) {
            EXPECT_EQ(ink.bottom, 50 + 16);
        }
    }
}

TEST(TextRenderer, AlignsEveryLineByItself) {
    TextRenderer text;
    for (TextAlignX const align : {TextAlignX::Centre, TextAlignX::Right}) {
        Page both;
        text.Draw(both, {90, 20}, Style(12, align), "wide line\ni");
        Page alone;
        text.Draw(alone, {90, 20}, Style(12, align), "wide line");
        text.Draw(alone, {90, 32}, Style(12, align), "i");
        EXPECT_EQ(both.pixels, alone.pixels);
    }
}

TEST(TextRenderer, HorizontalEdgesOfUprightTextAreCrisp) {
    TextRenderer text;
    for (double const size : {8.0, 10.0, 12.0, 13.5, 14.0}) {
        Page page;
        text.Draw(page, {20.3, 40.4}, Style(size, TextAlignX::Left, TextAlignY::Baseline), "HHH");
        math::Rect2<int> const ink = page.Box();
        SCOPED_TRACE(size);
        EXPECT_EQ(ink.bottom, 40);
        EXPECT_EQ(page.Area(ink.top, ink.top + 1), page.Area(ink.top + 1, ink.top + 2));
        EXPECT_EQ(page.Area(ink.bottom - 1, ink.bottom), page.Area(ink.bottom - 2, ink.bottom - 1));
    }
}

TEST(TextRenderer, TurnsTextAroundItsAnchor) {
    TextRenderer text;
    TextStyle const style = Style(20, TextAlignX::Left, TextAlignY::Baseline);
    Page page;
    text.Draw(page, {80, 50}, style, "HH", {0, -1, 1, 0}); // reads downwards
    EXPECT_NEAR(page.Box().left, 80, 1);
    EXPECT_NEAR(page.Box().right, 80 + 0.69 * 20, 1.1);
    EXPECT_NEAR(page.Box().top, 50 + 1.6, 1.1);
    EXPECT_NEAR(page.Box().bottom, 50 + text.Measure(style, "HH").Width() - 1.6, 1.1);
    Page mirrored;
    text.Draw(mirrored, {80, 50}, style, "HH", {1, 0, 0, -1});
    EXPECT_NEAR(mirrored.Box().top, 50, 1);
    EXPECT_GT(mirrored.Box().left, 80);
}

TEST(TextRenderer, ControlCharactersDrawNothingAndTabsAreFourSpaces) {
    TextRenderer text;
    using namespace std::string_view_literals;
    TextStyle const style = Style(12);
    EXPECT_EQ(Drawn(text, {5, 5}, style, "a\tb"), Drawn(text, {5, 5}, style, "a    b"));
    EXPECT_EQ(
        Drawn(
            text,
            {5, 5},
            style,
            "a\r\n\x01\0\x7F\xC2\x85\xE2\x80\xA8"
            "b"sv),
        Drawn(text, {5, 5}, style, "a\nb"));
    EXPECT_EQ(Drawn(text, {5, 5}, style, "a\xFF"), Drawn(text, {5, 5}, style, "a\xEF\xBF\xBD"));
}

/// Every way to a picture of a text gives the same one: drawn at first, again from the places
/// kept, at another part of a pixel, after being cut off by a clip, and when its glyphs had to make
/// room for others.
TEST(TextRenderer, RedrawsTheSamePixelsWhateverIsKept) {
    TextRenderer kept;
    TextRenderer crowded(nullptr, 5000, 100000);
    TextStyle const style = Style(11);
    for (int i = 0; i < 64; ++i) {
        std::string const words = "Corner " + std::to_string(i % 2);
        math::Point2<double> const anchor(10 + i * 0.37, 20 + i % 16 * 0.25);
        TextTransform const turned{0.8, -0.6, 0.6, 0.8};
        TextTransform const transform = i % 16 < 8 ? TextTransform() : turned;
        TextRenderer fresh;
        auto const expected = Drawn(fresh, anchor, style, words, transform);
        Page clipped;
        kept.Draw(clipped, anchor, style, words, transform, {0, 0, 30, 30});
        ASSERT_EQ(Drawn(kept, anchor, style, words, transform), expected) << i;
        ASSERT_EQ(Drawn(kept, anchor, style, words, transform), expected) << i;
        ASSERT_EQ(Drawn(crowded, anchor, style, words, transform), expected) << i;
        Drawn(crowded, anchor, Style(20), "Make room, please");
        ASSERT_EQ(Drawn(crowded, anchor, style, words, transform), expected) << i;
    }
}

TEST(TextRenderer, CachesStayWithinTheirBounds) {
    TextRenderer text(nullptr, 100000, 50000);
    for (int i = 0; i < 150; ++i) {
        Drawn(text, {0, 0}, Style(6 + i * 0.8), "Some text " + std::to_string(i));
        ASSERT_LE(text.CachedBytes(), 150000u);
    }
    text.Measure(Style(12), std::string(1000000, 'x'));
    EXPECT_LE(text.CachedBytes(), 150000u);
}

TEST(TextRenderer, ShortensToTheLongestBeginningThatFits) {
    TextRenderer text;
    TextStyle const style = Style(14);
    std::string const words = "Calibration of camera AVAVAV";
    double const whole = text.Measure(style, words).Width();
    EXPECT_EQ(text.Ellipsize(style, words, whole), words);
    for (int i = 2; i < 12; ++i) {
        double const width = whole * i / 12.0;
        std::string const cut = text.Ellipsize(style, words, width, "...");
        std::size_t const kept = cut.size() - 3;
        ASSERT_EQ(cut, words.substr(0, kept) + "...");
        EXPECT_LE(text.Measure(style, cut).Width(), width);
        EXPECT_GT(text.Measure(style, words.substr(0, kept + 1) + "...").Width(), width);
    }
    EXPECT_EQ(text.Ellipsize(style, words, 1), "");
    EXPECT_EQ(text.Ellipsize(style, words, kNaN), "");
    EXPECT_EQ(text.Ellipsize(style, "ab\n" + words, 40).substr(0, 4), "ab\nC");
    // The last letter that is left takes another shape, wider than in the middle of a word.
    std::string arabic;
    for (int i = 0; i < 20; ++i) {
        arabic += "\xD8\xA8";
    }
    for (int width = 20; width < 60; ++width) {
        std::string const cut = text.Ellipsize(style, arabic, width, "");
        EXPECT_FALSE(cut.empty());
        EXPECT_LE(text.Measure(style, cut).Width(), width);
    }
    // Letters with two accents each are five bytes that stay together.
    std::string accents;
    for (int i = 0; i < 20; ++i) {
        accents += "e\xCC\x81\xCC\xA3";
    }
    for (int const width : {20, 31, 47, 60, 88, 111}) {
        EXPECT_EQ(text.Ellipsize(style, accents, width, "").size() % 5, 0u);
    }
}

TEST(TextRenderer, SizesAndPlacesThatAreNoneDrawNothing) {
    TextRenderer text;
    Page page;
    for (double const size : {0.0, -12.0, kNaN, -kInf, 0.99, 1e-300}) {
        EXPECT_TRUE(text.Draw(page, {20, 20}, Style(size), "A"));
        EXPECT_TRUE(text.Draw(page, {20, 20}, {"Liberation Sans", 12, size}, "A"));
    }
    for (double const place : {kNaN, kInf, -kInf, 1e30, -1e30, 3e9, -3e9}) {
        EXPECT_TRUE(text.Draw(page, {place, 20}, Style(12), "A"));
        EXPECT_TRUE(text.Draw(page, {20, place}, Style(12), "A", {0.8, -0.6, 0.6, 0.8}));
        EXPECT_TRUE(text.Draw(page, {20, place}, Style(12, TextAlignX::Right), "A"));
    }
    for (double const scale : {0.0, kNaN, kInf, 1e-300, 1e300}) {
        EXPECT_TRUE(text.Draw(page, {20, 20}, Style(12), "A", {scale, 0, 0, 1}));
        EXPECT_TRUE(text.Draw(page, {20, 20}, Style(12), "A", {0, scale, 0, 0}));
    }
    EXPECT_EQ(page.masks, 0);
    EXPECT_EQ(text.Measure(Style(kNaN), "A"), math::Rect2<double>());
    EXPECT_EQ(text.Measure(Style(0), "A"), math::Rect2<double>());
}

TEST(TextRenderer, HugeSizesAreDrawnAtTheLargest) {
    TextRenderer text;
    EXPECT_EQ(text.Measure(Style(kInf), "A"), text.Measure(Style(TextRenderer::kMaxSize), "A"));
    Page largest;
    text.Draw(largest, {-300, 90}, Style(TextRenderer::kMaxSize), "I");
    Page huge;
    text.Draw(huge, {-300, 90}, Style(1e6), "I");
    EXPECT_EQ(huge.pixels, largest.pixels);
    EXPECT_EQ(huge.masks, 1);
    Page corner;
    text.Draw(corner, {-300, 90}, Style(1e6), "ABCDEFGHIJKLMNOP", {}, {0, 0, 10, 10});
    EXPECT_LE(corner.masks, 5) << "letters far outside the clip are not rendered";
}

TEST(TextRenderer, EndlessTextsAreDrawnInTheirTime) {
    TextRenderer text;
    std::string accents = "e";
    std::string noise;
    std::string lines;
    for (unsigned i = 0; i < 300000; ++i) {
        accents += "\xCC\x81\xE2\x80\x8D";
        noise += static_cast<char>(i * i * 2654435761u >> 13);
        lines += "x\n";
    }
    for (std::string const& words : {accents, noise, lines, std::string(1000000, 'm')}) {
        Page page;
        EXPECT_TRUE(text.Draw(page, {5, 5}, Style(12), words, {}, {0, 0, 160, 100}));
        EXPECT_GT(page.masks, 0);
        EXPECT_LT(page.masks, 3000);
        text.Ellipsize(Style(12), words, 100);
    }
}

TEST(TextRenderer, WithoutAnyFontNothingIsDrawnAndTheCauseIsToldOnce) {
    OutputFolder const folder;
    TextRenderer text(std::make_shared<FontCatalogue>(folder.path.string()));
    Page page;
    EXPECT_FALSE(text.Draw(page, {5, 5}, Style(12), "A"));
    EXPECT_FALSE(text.Draw(page, {5, 5}, Style(12), "A"));
    EXPECT_EQ(page.masks, 0);
    EXPECT_EQ(text.Measure(Style(12), "A"), math::Rect2<double>());
    EXPECT_EQ(text.Ellipsize(Style(12), "A long text", 10), "A long text");
    EXPECT_THAT(text.TakeWarning(), testing::HasSubstr("\"Liberation Sans\""));
    EXPECT_EQ(text.TakeWarning(), "");
}

/// As on a machine where no font is installed.
TEST(TextRenderer, AProcessWithoutFontsGoesOnWithoutText) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    OutputFolder const folder;
    std::string const file = folder.Path("fonts.conf");
    std::ofstream(file) << "<?xml version=\"1.0\"?>\n<fontconfig></fontconfig>\n";
    auto const draw = [&] {
        ::setenv("FONTCONFIG_FILE", file.c_str(), 1);
        TextRenderer text;
        Page page;
        bool const drawn = text.Draw(page, {5, 5}, Style(12), "A");
        std::cerr << text.TakeWarning() << text.TakeWarning() << ';';
        std::exit(drawn || page.masks != 0 ? 1 : 0);
    };
    EXPECT_EXIT(
        draw(),
        testing::ExitedWithCode(0),
        "^no usable font found for \"Liberation Sans\", its text is not drawn;$");
}

TEST(TextRenderer, AFontThatCannotBeReadGivesWayToTheNext) {
    auto const family = FontCatalogue::System()->Candidates("Liberation Sans");
    auto const other = FontCatalogue::System()->Candidates("DejaVu Sans");
    if (family.empty() || other.empty() || family[0] == other[0]) {
        GTEST_SKIP() << "two font families are needed";
    }
    OutputFolder const folder;
    fs::path const broken = folder.path / "a.ttf";
    fs::copy_file(family[0].path, broken);
    fs::copy_file(other[0].path, folder.path / "b.ttf");
    auto const fonts = std::make_shared<FontCatalogue>(folder.path.string());
    fs::resize_file(broken, 100);
    TextRenderer text(fonts);
    EXPECT_EQ(
        Drawn(text, {5, 5}, Style(12), "Words"),
        Drawn(text, {5, 5}, {"DejaVu Sans", 12, 12}, "Words"));
    EXPECT_THAT(text.TakeWarning(), testing::HasSubstr("a.ttf: FT_New_Face: "));
}

TEST(TextRenderer, AnyFontNameFindsAFont) {
    TextRenderer text;
    for (std::string_view const name :
         {"No such family", "", "\xFF\xFE", ":", "a:b=:", "Sans:size"}) {
        EXPECT_GT(text.Measure({name, 12, 12}, "A").Width(), 0) << name;
    }
    EXPECT_GT(
        text.Measure({"Liberation Sans:bold", 12, 12}, "mill").Width(),
        text.Measure(Style(12), "mill").Width());
}

TEST(TextRenderer, MayOutliveEverythingElseOfTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    auto const leave = [] {
        static TextRenderer text; // constructed before what it then uses, so it goes after that
        text.Measure({}, "last");
        std::exit(0);
    };
    EXPECT_EXIT(leave(), testing::ExitedWithCode(0), "");
}

TEST(TextRenderer, WindowsDrawTextAtTheSameTime) {
    TextRenderer alone;
    std::string const words = "Frame \xD7\xA9\xE2\x86\x92 17";
    auto const expected = Drawn(alone, {5, 5}, Style(15), words);
    std::vector<boost::thread> threads;
    std::atomic<int> right{0};
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            TextRenderer text;
            for (int k = 0; k < 20; ++k) {
                text.Measure({"Family " + std::to_string(i * 100 + k), 12, 12}, words);
                right += Drawn(text, {5, 5}, Style(15), words) == expected;
            }
        });
    }
    for (boost::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(right, 4 * 20);
}

/// Font versions differ in details of their outlines, so pixels may be off by a part.
TEST(TextRenderer, SmallTextLooksAsItShould) {
    auto const family = FontCatalogue::System()->Candidates("Liberation Sans");
    if (family.empty() || family[0].path.find("LiberationSans-Regular") == std::string::npos) {
        GTEST_SKIP() << "Liberation Sans is not installed";
    }
    TextRenderer text;
    Canvas canvas;
    canvas.Resize(96, 64);
    canvas.Clear({20, 30, 60, 255});
    canvas.State().colour = {255, 255, 255, 255};
    TextAlignY const baseline = TextAlignY::Baseline;
    text.Draw(
        canvas,
        {2, 14},
        Style(13.5, TextAlignX::Left, baseline),
        "Mouse: 17,4\nF\xC3\xA4lle e\xCC\x81");
    text.Draw(canvas, {2, 37}, Style(8, TextAlignX::Left, baseline), "Status Bar \xE2\x82\xAC");
    text.Draw(
        canvas, {94, 47}, Style(10, TextAlignX::Right, baseline), "AV To \xD7\xA9\xD7\x9C 3.1");
    text.Draw(canvas, {2, 60}, {"Liberation Sans", 18, 9, TextAlignX::Left, baseline}, "wide");
    canvas.State().colour = {255, 200, 0, 255};
    text.Draw(
        canvas,
        {75, 20},
        Style(12, TextAlignX::Centre, TextAlignY::Centre),
        "turn",
        {0.8, -0.6, 0.6, 0.8});
    Picture picture(96, 64);
    canvas.CopyTo(picture.Row<Colour>(0), picture.Stride());
    EXPECT_TRUE(MatchesGolden(picture, "text/small", 60));
}

} // namespace

} // namespace tests
