#include "examples/annotation.h"
#include "support/CapturedOutput.h"
#include "support/OutputFolder.h"
#include "support/Thrown.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>

namespace {

using namespace ui::win;

constexpr char folder[] = QUARN_EXAMPLE_DATA "/calibration/";

struct AnnotationRun : testing::Test {
    void Keys(int count, std::uint32_t state) {
        for (int i = 0; i < count; ++i) {
            PressKey(annotation.Window(), 'z', state);
        }
    }

    tests::OutputFolder output;
    tests::CapturedOutput console;
    std::vector<Corner> const found = ReadCorners(std::string(folder) + "left01_corners.txt");
    Annotation annotation{"Offscreen", std::string(folder) + "left01.jpg", found};
};

TEST_F(AnnotationRun, IsUndoneRedoneAndSaved) {
    CWindow& window = annotation.Window();
    auto const untouched = window.GrabImage();
    Annotation::Result const before = annotation.Read();
    ASSERT_EQ(before.corners.size(), 54U);

    PlayScript(window);
    Annotation::Result const after = annotation.Read();
    std::vector<Corner> corrected = found;
    corrected[13] = {373, 123};
    corrected[31] = {373, 193};
    corrected[44] = {513, 232};
    corrected[8] = {-1, 87};
    EXPECT_EQ(after.corners, corrected);
    EXPECT_EQ(after.region, math::Rect2<float>(160, 10, 604, 345));
    EXPECT_EQ(after.mask[3], Annotation::Point(46, 384));

    Keys(scriptedGestures + 1, StateCtrl);
    EXPECT_EQ(annotation.Read().corners, found);
    EXPECT_EQ(annotation.Read().region, before.region);
    EXPECT_EQ(annotation.Read().mask, before.mask);
    Keys(scriptedGestures, StateCtrl | StateShift);
    EXPECT_EQ(annotation.Read().corners, corrected);
    EXPECT_EQ(annotation.Read().region, after.region);
    EXPECT_EQ(annotation.Read().mask, after.mask);
    auto const picture = window.GrabImage();
    EXPECT_NE((*picture)(604, 60), (*untouched)(604, 60)) << "the region's edge";

    std::string const path = output.Path("corners.txt");
    annotation.Save(path);
    corrected[8] = {-1, -1};
    std::vector<Corner> const saved = ReadCorners(path);
    ASSERT_EQ(saved.size(), corrected.size());
    for (std::size_t i = 0; i < saved.size(); ++i) {
        EXPECT_NEAR(saved[i].x, corrected[i].x, 0.005) << i;
        EXPECT_NEAR(saved[i].y, corrected[i].y, 0.005) << i;
    }
    std::ifstream file(path);
    std::string const text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_THAT(text, testing::StartsWith("# region 160.00 10.00 604.00 345.00\n# mask 6.00 "));
    EXPECT_THAT(text, testing::HasSubstr("\n8 nan nan\n"));
}

TEST_F(AnnotationRun, SaysWhichLineIsNoCorner) {
    for (char const* line : {"x 1 2", "1 1 2", "0 1", "0 1 2px"}) {
        std::string const path = output.Path("bad.txt");
        std::ofstream(path) << "# remark\n\n" << line << '\n';
        EXPECT_EQ(tests::Thrown([&] { ReadCorners(path); }), path + ":3: not a corner") << line;
    }
    EXPECT_THROW(ReadCorners(output.Path("nowhere.txt")), std::runtime_error);
}

} // namespace
