#include "drivers/raster/TextLayout.h"

#include "drivers/raster/FontLibrary.h"
#include "drivers/raster/TextCache.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace tests {

using namespace drivers::raster;

namespace {

struct TextLayout : testing::Test {
    ShapedLine Shape(std::string_view text) {
        return shaper.Shape(fonts, *fonts.Find("Liberation Sans"), text);
    }
    /// Bytes at which the characters begin, from left to right.
    std::vector<unsigned> Order(std::string_view text) {
        std::vector<unsigned> order;
        for (ShapedGlyph const& glyph : Shape(text).glyphs) {
            order.push_back(glyph.cluster);
        }
        return order;
    }

    FontLibrary fonts{FontCatalogue::System()};
    TextShaper shaper;
};

TEST(TextUtf8, WrongBytesBecomeOneReplacementForEachPiece) {
    struct Case {
        std::string_view bytes;
        std::u32string_view characters;
    };
    using namespace std::string_view_literals;
    Case const cases[] = {
        {"a\0b"sv, U"a\0b"sv},
        {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", U"\u00E4\u20AC\U0001F600"},
        {"\x80\xBF", U"\uFFFD\uFFFD"},
        {"\xC0\xAF", U"\uFFFD\uFFFD"},           // overlong in two bytes
        {"\xE0\x9F\x80", U"\uFFFD\uFFFD\uFFFD"}, // overlong in three
        {"\xF0\x8F\x80\x80", U"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xED\xA0\x80", U"\uFFFD\uFFFD\uFFFD"}, // a surrogate
        {"\xF4\x90\x80\x80", U"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xF4\x8F\xBF\xBF", U"\U0010FFFF"},
        {"\xF5\xFE\xFF", U"\uFFFD\uFFFD\uFFFD"},
        {"\xE2\x82", U"\uFFFD"},       // cut off at the end
        {"\xF0\x9F\x98z", U"\uFFFDz"}, // and before a letter
        {"\xC3\xC3\xA4", U"\uFFFD\u00E4"},
    };
    for (Case const& c : cases) {
        std::u32string decoded;
        for (std::size_t at = 0; at < c.bytes.size();) {
            decoded += NextCharacter(c.bytes, at);
        }
        EXPECT_EQ(decoded, c.characters) << testing::PrintToString(c.bytes);
    }
}

TEST_F(TextLayout, RightToLeftPartsAreTurnedAround) {
    using testing::ElementsAre;
    // Letters of two bytes: alef, bet, gimel.
    EXPECT_THAT(Order("ab \xD7\x90\xD7\x91 c"), ElementsAre(0, 1, 2, 5, 3, 7, 8));
    EXPECT_THAT(Order("\xD7\x90 ab \xD7\x91"), ElementsAre(6, 5, 3, 4, 2, 0));
    // A number keeps its order inside, with its point; a sum between letters of the left does not
    // turn around.
    EXPECT_THAT(Order("\xD7\x90 1.5"), ElementsAre(3, 4, 5, 2, 0));
    EXPECT_THAT(Order("a 1 \xD7\x90 2"), ElementsAre(0, 1, 2, 3, 7, 6, 4));
    EXPECT_THAT(Order("a 1-2"), ElementsAre(0, 1, 2, 3, 4));
    EXPECT_THAT(Order("12 \xD7\x90"), ElementsAre(3, 2, 0, 1));
}

TEST_F(TextLayout, ArabicLettersJoin) {
    ShapedLine const alone = Shape("\xD8\xA8");
    ShapedLine const joined = Shape("\xD8\xA8\xD8\xA8\xD8\xA8");
    ASSERT_EQ(joined.glyphs.size(), 3u);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_NE(joined.glyphs[i + 1].glyph, joined.glyphs[i].glyph);
    }
    EXPECT_LT(joined.width, 3 * alone.width);
}

TEST_F(TextLayout, CharactersThatTheFontLacksComeFromAnother) {
    FontFace const* const own = fonts.Find("Liberation Sans")->face;
    ShapedLine const line = Shape("a\xE2\x88\xAE"
                                  "b"); // a contour integral
    ASSERT_EQ(line.glyphs.size(), 3u);
    if (line.runs.size() == 1) {
        GTEST_SKIP() << "no font has a character that Liberation Sans lacks";
    }
    ASSERT_EQ(line.runs.size(), 3u);
    EXPECT_EQ(line.runs[0].face, own);
    EXPECT_NE(line.runs[1].face, own);
    EXPECT_NE(line.glyphs[1].glyph, 0u);
    EXPECT_EQ(line.runs[2].face, own);
    ShapedLine const nowhere = Shape("a\xF4\x8F\xBF\xBD"); // no font has a private character
    ASSERT_EQ(nowhere.runs.size(), 1u);
    EXPECT_EQ(nowhere.runs[0].face, own);
    EXPECT_EQ(nowhere.glyphs[1].glyph, 0u);
    EXPECT_GT(nowhere.glyphs[1].advance, 0);
}

TEST_F(TextLayout, AnAccentStaysWithItsLetter) {
    EXPECT_EQ(Shape("e\xCC\x81").glyphs[0].glyph, Shape("\xC3\xA9").glyphs[0].glyph);
    ShapedLine const odd = Shape("x\xCC\x88y"); // no single glyph for this one
    EXPECT_EQ(odd.glyphs.front().cluster, 0u);
    EXPECT_NEAR(odd.width, Shape("x").width + Shape("y").width, 0.15);
}

TEST(TextCache, ForgetsWhatWasNotUsedForLongestAndKeepsTheBound) {
    TextCache<int, int> cache(100);
    for (int i = 0; i < 1000; ++i) {
        cache.Insert(i, i, 10);
        ASSERT_NE(cache.Find(0), nullptr) << "in use, so kept";
        ASSERT_LE(cache.Cost(), 100u);
        ASSERT_NE(cache.Find(i), nullptr);
    }
    EXPECT_EQ(cache.Find(980), nullptr);
    EXPECT_TRUE(cache.Fits(50));
    EXPECT_FALSE(cache.Fits(51));
}

TEST(TextCache, TheEpochTellsWhenReferencesEnd) {
    TextCache<int, int> cache(40);
    int const* const first = &cache.Insert(1, 7, 10);
    unsigned const epoch = cache.Epoch();
    cache.Insert(2, 8, 10);
    EXPECT_EQ(cache.Epoch(), epoch);
    EXPECT_EQ(cache.Find(1), first);
    cache.Insert(3, 9, 10);
    EXPECT_NE(cache.Epoch(), epoch);
    EXPECT_EQ(cache.Find(1), first) << "moved, not copied";
}

} // namespace

} // namespace tests
