#include "cimage/Conversion.h"
#include "drivers/TestWindow.h"
#include "support/CapturedOutput.h"
#include "support/PictureCompare.h"
#include "support/WidgetSteps.h"
#include "ui/win/widgets/AnnWidget.h"
#include "ui/win/widgets/CSkinWidgets.h"
#include "ui/win/widgets/CWindowControls.h"
#include "ui/win/widgets/CalibrationWidget.h"

#include <memory>

namespace {

using namespace ui::win;
using namespace tests;
using Point2f = math::Point2<float>;

constexpr int textTolerance = 60; // fonts differ between versions

/// Widgets in their states, drawn over a grey layer as plugins.
class Board {
public:
    /// @param events what brings the widget into its state
    template <class Widget>
    Widget& Add(boost::shared_ptr<Widget> widget, std::vector<Event> const& events = {}) {
        for (Event const& event : events) {
            widget->Interact(&m_core, event);
        }
        m_widgets.push_back(widget);
        return *widget;
    }

    Picture Draw(unsigned width, unsigned height) {
        CWindow window(MakeParams("Offscreen", width, height));
        window.SetColor({64, 64, 64, 255});
        window.DrawBox(0, 0, width, height, true);
        window.SetColor({0, 255, 128, 255});
        window.SetFontSize(11, false);
        for (auto const& widget : m_widgets) {
            window.InsertPlugin(widget);
        }
        window.Refresh(true);
        Picture picture;
        cimage::Convert(*window.GrabImage(), picture);
        return picture;
    }

private:
    CapturedOutput m_output;
    RecordingCore m_core;
    std::vector<boost::shared_ptr<CWidget>> m_widgets;
};

TEST(WidgetPicture, OfMenus) {
    static char const* const items[] = {"Open", "-", "Quit", nullptr};
    Board board;
    board.Add(boost::make_shared<CMenuWidget>(items, 4, 4));
    CMenuWidget& lower = board.Add(boost::make_shared<CMenuWidget>(items, 54, 20));
    board.Draw(100, 70); // measures the items, so that the pointer finds them
    RecordingCore core;
    lower.Interact(&core, Motion(70, 53));
    EXPECT_EQ(lower.HighlightedIndex(), 2);
    EXPECT_TRUE(MatchesGolden(board.Draw(100, 70), "widgets/menus", textTolerance));
}

TEST(WidgetPicture, OfButtons) {
    Board board;
    board.Add(boost::make_shared<CDrawingButtonShade>(4, 4, 24, 24));
    board.Add(boost::make_shared<CButtonWidget>(30, 4, 70, 24, "Up", [] {}));
    board.Add(boost::make_shared<CButtonWidget>(30, 30, 70, 50, "Down", [] {}), {Press(50, 40)});
    board.Add(boost::make_shared<CTwoStateButtonWidget>(4, 30, 24, 50, "1", [](bool) {}))
        .SetState(true);
    EXPECT_TRUE(MatchesGolden(board.Draw(76, 56), "widgets/buttons", textTolerance));
}

CWindowCore::SPImage Checks(Colour const& colour) {
    auto const image = boost::make_shared<cimage::TImage<Colour>>(4U, 4U);
    for (unsigned i = 0; i < 16; ++i) {
        (*image)(i % 4, i / 4) = (i + i / 4) % 2 == 0 ? colour : Colour(255, 255, 255, 64);
    }
    return image;
}

TEST(WidgetPicture, OfSkins) {
    CSkinButton::Pictures const pictures = {
        Checks({255, 0, 0, 255}),
        Checks({0, 255, 0, 255}),
        Checks({0, 0, 255, 255}),
        Checks({0, 0, 0, 0})};
    Board board;
    for (std::uint32_t status = 0; status < 4; ++status) {
        SkinArea const area = {2.0F + 14.0F * static_cast<float>(status), 2, 12, 8};
        board
            .Add(boost::make_shared<CSkinButton>(
                area, [] {}, pictures))
            .SetStatus(status);
    }
    for (std::int32_t status = 0; status < 3; ++status) {
        SkinArea const area = {2.0F + 14.0F * static_cast<float>(status), 14, 4, 4};
        board
            .Add(boost::make_shared<CSkinCheckBox>(
                area, [](int) {}, CSkinCheckBox::Pictures{pictures[0], pictures[1], pictures[2]}))
            .SetStatus(status);
    }
    EXPECT_TRUE(MatchesGolden(board.Draw(60, 22), "widgets/skins"));
}

TEST(WidgetPicture, OfBoxes) {
    math::Rect2<float> const bounds(0, 0, 150, 64);
    Board board;
    board.Add(boost::make_shared<CResizableBox>(math::Rect2<float>{4, 4, 30, 30}, bounds, false));
    board.Add(boost::make_shared<CResizableBox>(math::Rect2<float>{40, 4, 66, 30}, bounds, true));
    board.Add(
        boost::make_shared<CResizableBox>(math::Rect2<float>{90, 14, 130, 50}, bounds, true),
        {Motion(100, 20)});
    board.Add(
        boost::make_shared<CResizableBox>(math::Rect2<float>{4, 36, 30, 60}, bounds, true),
        {Press(4, 48), Motion(50, 48), Release(50, 48), Motion(140, 60)}); // turned inside out
    EXPECT_TRUE(MatchesGolden(board.Draw(150, 64), "widgets/boxes"));
}

TEST(WidgetPicture, OfLinesAndPolygons) {
    static Point2f triangle[] = {{70, 10}, {110, 12}, {84, 50}};
    Board board;
    board.Add(
        boost::make_shared<CLinesSheaf>(Point2f(30, 25), math::Rect2<float>(4, 4, 60, 56)),
        {Key('+'), Press(36, 20), Motion(33, 5)});
    board.Add(boost::make_shared<CPolyWidget<Point2f>>(triangle, 3, 8.0F), {Press(70, 10)});
    EXPECT_TRUE(MatchesGolden(board.Draw(120, 60), "widgets/lines"));
}

TEST(WidgetPicture, OfCalibrationPoints) {
    std::vector<Point2f> const points = {{12, 12}, {40, 12}, {12, 40}, {40, 40}};
    Board board;
    board.Add(
        boost::make_shared<CalibrationWidget<float>>(points),
        {Press(40, 12), Key('-'), Press(12, 40)});
    EXPECT_TRUE(MatchesGolden(board.Draw(60, 60), "widgets/calibration", textTolerance));
}

} // namespace
