#include "ui/win/widgets/Gadgets.h"

#include "cimage/ImageIO.h"
#include "cimage/TImage.h"
#include "support/CapturedOutput.h"
#include "support/OutputFolder.h"
#include "support/RecordingCore.h"
#include "ui/win/CWindow.h"
#include "ui/win/camera/CWindowCamera2D.h"
#include "ui/win/image/ColorSpaceConversions.h"

#include <boost/make_shared.hpp>
#include <boost/property_tree/ptree.hpp>

#include <gmock/gmock.h>

#include <cmath>
#include <fstream>
#include <limits>

namespace {

using namespace ui::win;
using namespace tests;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using Colour = CWindowCore::Colour;
using RGB = cimage::TRGB<unsigned char>;
using Lines = std::vector<std::string>;

/// A recording core whose statistics are set and whose pixels tell their place.
struct Core : RecordingCore {
    explicit Core(unsigned width = 512, unsigned height = 256) : RecordingCore(width, height) {}
    explicit Core(CreationParams const& params) : RecordingCore(params) {}
    using RecordingCore::m_customStatus;
    using RecordingCore::m_drawCount;
    using RecordingCore::m_drawQueueLength;
    using RecordingCore::m_drawTime;
    using RecordingCore::m_dumpCount;
    using RecordingCore::m_frameInterval;
    using RecordingCore::m_replaceCount;

    bool GetPixel(Colour* c, int x, int y) override {
        *c = Colour(static_cast<unsigned char>(x), static_cast<unsigned char>(y), 7, 255);
        return true;
    }
    std::size_t TakeRefreshes() {
        std::size_t const count = Count("Refresh");
        log.clear();
        return count;
    }
};

Event At(CWindowEvents_ID type, int x, int y, std::uint32_t state, std::uint32_t button = 0) {
    Event event;
    event.type = type;
    event.screenX = x;
    event.screenY = y;
    event.state = state;
    event.button = button;
    return event;
}

struct StatusBars : testing::Test {
    /// The last two texts of a drawing: what the bar says, and its title.
    std::string Said(Core& core, int mode) {
        bar.SetMode(mode);
        core.log.clear();
        EXPECT_EQ(bar.Draw(&core), 1);
        std::string said;
        for (std::string const& line : core.Take()) {
            if (std::size_t const quote = line.find('\''); quote != std::string::npos) {
                said += said.empty() ? "" : " ";
                said += line.substr(quote);
            }
        }
        return said;
    }

    kiv::ini::INIFile section;
    StatusBar bar{section};
};

TEST_F(StatusBars, WriteWhatTheirModeShows) {
    CapturedOutput output;
    CreationParams params;
    params.x = 10;
    params.y = -20;
    params.width = 640;
    params.height = 480;
    params.flags = StateDumpFrames;
    Core dumping(params);
    dumping.m_drawCount = 12345678901;
    dumping.m_replaceCount = 3;
    dumping.m_dumpCount = 4;
    dumping.m_customStatus = "busy";
    dumping.m_drawTime = 0.01F;
    dumping.m_frameInterval = 0.04F;
    dumping.m_drawQueueLength = 7;
    for (auto const& [mode, said] : std::vector<std::pair<int, std::string>>{
             {1, "'Win Pos:10,-20 Size:640,480' 'Window'"},
             {2, "'Press Left Mouse Button to Begin Measurement' 'Ruler'"},
             {3, "'Mouse: 0,0  Color Under R:0,G:0,B:0' 'Mouse'"},
             {4, "'RefreshCount: 12345678901/3* DumpCount:4' 'Refresh'"},
             {5, "'FPS: 25 DrawTime:10000usec DrawQueue:7' 'Performance'"},
             {6, "'busy' 'User'"},
             {7, "'' 'Image Property'"},
             {9, "'' '(none)'"}}) {
        EXPECT_EQ(Said(dumping, mode), said);
    }
    dumping.m_drawTime = 0.0104F;
    EXPECT_THAT(Said(dumping, 5), HasSubstr("DrawTime:10msec "));
    Core quiet;
    EXPECT_THAT(Said(quiet, 4), StartsWith("'RefreshCount: 0/0 DumpCount:0'"));
    EXPECT_THAT(Said(quiet, 5), StartsWith("'FPS: inf DrawTime:0usec ")) << "no frame yet";
    for (int const mode : {0, -1}) {
        bar.SetMode(mode);
        EXPECT_EQ(bar.Draw(&quiet), 0);
        EXPECT_TRUE(quiet.Take().empty());
    }
}

TEST_F(StatusBars, KeepAwayFromThePointer) {
    Core core(512, 256);
    bar.SetMode(9);
    for (auto const& [pointerY, box] :
         {std::pair(128, "DrawBox 0 238 512 256 1"), std::pair(129, "DrawBox 0 0 512 18 1")}) {
        bar.Interact(&core, At(EventMotion, 5, pointerY, 0));
        bar.Draw(&core);
        EXPECT_THAT(core.log.at(0), StartsWith("SetColor ")) << "and no refresh before";
        EXPECT_EQ(core.Take().at(1), box) << pointerY;
    }
    EXPECT_EQ(bar.BarRectangle(), math::Rect2<int>(0, 0, 512, 18));
    EXPECT_EQ(core.HorizontalTextAlign(), AlignLeft);
    EXPECT_EQ(core.VerticalTextAlign(), AlignBaseline);
}

TEST_F(StatusBars, CycleTheirColour) {
    using boost::posix_time::ptime;
    ptime const start(boost::gregorian::date(2020, 1, 1));
    auto const at = [&](int milliseconds) {
        return StatusBar::BackgroundAt(start, start + boost::posix_time::millisec(milliseconds));
    };
    EXPECT_EQ(at(0), Colour(32, 32, 32, 191));
    EXPECT_EQ(at(1000), Colour(44, 45, 34, 191));
    EXPECT_EQ(at(4500), Colour(17, 38, 44, 191)) << "towards zero";
    for (auto const& [special, grey] :
         {std::pair(boost::posix_time::not_a_date_time, 32),
          std::pair(boost::posix_time::neg_infin, 32),
          std::pair(boost::posix_time::pos_infin, 31)}) {
        auto const byte = static_cast<unsigned char>(grey);
        EXPECT_EQ(StatusBar::BackgroundAt(ptime(special), start), Colour(byte, byte, byte, 191));
    }
}

/// A window whose higher layer shows 8 pixels a unit about its middle, y down.
void ShowLayers(Core& core) {
    core.DrawerList().Layers()[0].SetViewPortMode(ViewPortPixels);
    auto const camera = boost::make_shared<CCamera2D>(0.0, 0.0, 64.0, 32.0, 0.0);
    camera->SetTranslation({32, 16});
    core.DrawerList().Layers()[5].SetCamera(camera);
    core.Draw();
    core.log.clear();
}

TEST_F(StatusBars, AnswerEventsAsTheirModeWants) {
    Core core;
    ShowLayers(core);
    struct Step {
        int mode;
        Event event;
        bool consumed;
        unsigned refreshes;
        std::string ruler; // pixels, then world
    };
    std::string const none = "0,0-0,0 0,0-0,0";
    std::string const begun = "256,128-256,128 0,0-0,0";
    std::string const dragged = "256,128-280,96 0,0-3,-4";
    std::vector<Step> const steps = {
        {2, At(EventMotion, 10, 20, 0), false, 0, none},
        {2, At(EventPress, 256, 128, 0, ButtonRight), false, 0, none},
        {1, At(EventPress, 256, 128, 0, ButtonLeft), false, 0, none},
        {3, At(EventPress, 256, 128, 0, ButtonLeft), false, 0, none},
        {2, At(EventPress, 256, 128, 0, ButtonLeft | ButtonMiddle), true, 1, begun},
        {2, At(EventMotion, 300, 96, 2), false, 0, begun},
        {2, At(EventMotion, 280, 96, 1), true, 1, dragged},
        {2, At(EventMotion, 281, 97, StateShift), false, 0, dragged},
        {2, At(EventRelease, 281, 97, 1, ButtonLeft), false, 0, dragged},
        {1, At(EventMotion, 281, 97, 1), false, 0, dragged},
        {2, At(EventMotion, 289, 96, 1 | StateShift), true, 1, "256,128-289,128 0,0-4.125,0"},
        {2, At(EventMotion, 288, 96, 1 | StateShift), true, 1, "256,128-256,96 0,0-0,-4"},
        {2, At(EventMotion, 288, 95, 1 | StateShift), true, 1, "256,128-256,95 0,0-0,-4.125"},
        {2, At(EventKey, 280, 96, 1), false, 0, "256,128-256,95 0,0-0,-4.125"},
        {2, At(EventMotion, 280, 96, 1), true, 1, dragged},
        {3, At(EventMotion, 264, 32, 1), false, 1, dragged},
    };
    for (Step const& step : steps) {
        bar.SetMode(step.mode);
        EXPECT_EQ(bar.Interact(&core, step.event), step.consumed);
        EXPECT_EQ(core.TakeRefreshes(), step.refreshes);
        std::ostringstream ruler;
        // Adding zero takes the sign off another zero.
        ruler << bar.RulerPixelStart().x << ',' << bar.RulerPixelStart().y << '-'
              << bar.RulerPixelEnd().x << ',' << bar.RulerPixelEnd().y << ' '
              << bar.RulerWorldStart().x + 0.0F << ',' << bar.RulerWorldStart().y + 0.0F << '-'
              << bar.RulerWorldEnd().x + 0.0F << ',' << bar.RulerWorldEnd().y + 0.0F;
        EXPECT_EQ(ruler.str(), step.ruler) << "step " << &step - steps.data();
    }
    EXPECT_EQ(bar.Pointer(), (math::Point2<int>(264, 32)));
    EXPECT_EQ(Said(core, 3), "'Mouse: 1,-12  Color Under R:8,G:32,B:7' 'Mouse'");
    EXPECT_EQ(Said(core, 2), "'Ruler: 0,0 - 3,-4: 5px, 53.1301 degree' 'Ruler'");
    bar.Draw(&core);
    EXPECT_EQ(core.log.at(0), "SetColor 0,255,0,255");
    EXPECT_EQ(core.log.at(1), "DrawLine 256 128 280 96");
}

TEST_F(StatusBars, MeasureWhereNothingCanBeMeasured) {
    Core core;
    bar.SetMode(StatusBar::ModeRuler);
    EXPECT_TRUE(bar.Interact(&core, At(EventPress, -7, 9, 0, ButtonLeft)));
    EXPECT_EQ(bar.RulerWorldStart(), (math::Point2<float>(-7, 9))) << "no layers: pixels";
    core.DrawerList().Layers()[0]; // never drawn
    int const most = std::numeric_limits<int>::max();
    EXPECT_TRUE(bar.Interact(&core, At(EventMotion, most, -most - 1, 1 | StateShift)));
    EXPECT_TRUE(std::isnan(bar.RulerWorldEnd().x));
    EXPECT_THAT(Said(core, 2), HasSubstr("-7,9 - -2147483648,-2147483648: "));
}

TEST_F(StatusBars, ListTheMetadataOfTheImage) {
    boost::property_tree::ptree metadata;
    Core core;
    core.setLastDrawnImageMetadata(&metadata);
    EXPECT_EQ(Said(core, 7), "'' 'Image Property'");
    EXPECT_EQ(bar.BarRectangle().Height(), 4);
    metadata.put("Camera", "left");
    metadata.put("_raw", "0101");
    metadata.put("_tree.leaf", "1");
    metadata.add("Camera", "again");
    metadata.put("", "");
    EXPECT_EQ(
        Said(core, 7),
        "'Camera: left\n_raw: [binary data]\n_tree: [subnode]\nCamera: again' 'Image Property'");
    EXPECT_EQ(bar.BarRectangle(), math::Rect2<int>(0, 256 - 60, 512, 256));
}

TEST_F(StatusBars, WriteColoursInThreeNotations) {
    Core core;
    bar.SetMode(StatusBar::ModeMouse);
    bar.Interact(&core, At(EventMotion, 255, 7, 0));
    for (auto const& [notation, colour] :
         {std::pair(1, "H:0,L:0.513726,S:1'"),
          std::pair(2, "H:0,S:0.972549,V:1'"),
          std::pair(3, "R:255,G:7,B:7'"),
          std::pair(-1, "R:255,G:7,B:7'")}) {
        bar.SetColourNotation(notation);
        EXPECT_THAT(Said(core, 3), HasSubstr(std::string("  Color Under ") + colour));
        EXPECT_EQ(bar.GetColourNotation(), notation == 1 || notation == 2 ? notation : 0);
    }
}

TEST(ColourSpaces, HaveHueLightnessSaturationAndValue) {
    struct Case {
        RGB rgb;
        float h, l, hlsS, hsvS, v;
    };
    for (Case const& c :
         {Case{{0, 0, 0}, 0, 0, 0, 0, 0},
          Case{{255, 255, 255}, 0, 1, 0, 0, 1},
          Case{{51, 51, 51}, 0, 0.2F, 0, 0, 0.2F},
          Case{{255, 0, 0}, 0, 0.5F, 1, 1, 1},
          Case{{0, 255, 255}, 180, 0.5F, 1, 1, 1},
          Case{{255, 0, 51}, 348, 0.5F, 1, 1, 1},
          Case{{51, 153, 51}, 120, 0.4F, 0.5F, 2 / 3.0F, 0.6F},
          Case{{204, 153, 255}, 270, 0.8F, 1, 0.4F, 1}}) {
        HLS const hls = pix_rgb_to_hls(c.rgb);
        HSV const hsv = pix_rgb_to_hsv(c.rgb);
        EXPECT_FLOAT_EQ(hls.h, c.h);
        EXPECT_FLOAT_EQ(hsv.h, c.h);
        EXPECT_FLOAT_EQ(hls.l, c.l);
        EXPECT_FLOAT_EQ(hls.s, c.hlsS);
        EXPECT_FLOAT_EQ(hsv.s, c.hsvS);
        EXPECT_FLOAT_EQ(hsv.v, c.v);
    }
}

TEST(HelpScreen, ListsWhatFitsInAFrame) {
    Help help;
    Core low(200, 76);
    low.CWindowCore::SetViewPort(ViewPortFractions, nullptr, {});
    EXPECT_EQ(help.Draw(&low), 1);
    EXPECT_EQ(low.GetViewPortMode(), ViewPortFractions) << "as it was";
    EXPECT_EQ(low.Count("DrawText"), 3U);
    EXPECT_EQ(low.Take().at(2), "SetColor 16,16,16,191");
    EXPECT_EQ(low.VerticalTextAlign(), AlignBaseline);
    help.Draw(&low);
    EXPECT_EQ(low.Take().at(2), "SetColor 18,17,16,191") << "one phase on";
    for (auto const& [height, rows] :
         {std::pair(75U, 0U), std::pair(88U, 2U), std::pair(900U, 19U)}) {
        Core core(200, height);
        help.Draw(&core);
        EXPECT_EQ(core.Count("DrawText"), 1 + 2 * rows) << height;
    }
    EXPECT_FALSE(help.Interact(&low, At(EventPress, 50, 50, 0, ButtonLeft)));
}

struct Logos : testing::Test {
    Logos() {
        cimage::Save(file, cimage::TImage<RGB>(200, 100), {});
        section.Set("NAME", file);
    }

    CapturedOutput output;
    OutputFolder folder;
    std::string file = folder.Path("logo.png");
    kiv::ini::INIFile ini;
    kiv::ini::INIFile& section = *ini.Node("LOGO");
};

TEST_F(Logos, AreDrawnInNinePlaces) {
    section.Set("SIZE", "64");
    Logo logo(section);
    Core core(641, 480);
    std::string places;
    for (char const* const location : logolocation) {
        section.Set("LOCATE", location);
        EXPECT_EQ(Logo(section).Draw(&core), 1);
        std::string const drawn = core.Take().at(3); // DrawImage <corner> <corner> <image>
        places += drawn.substr(9, drawn.find(' ', 10) - 9);
    }
    EXPECT_EQ(places, " 288.5,5 572,5 572,224 572,443 288.5,443 5,443 5,224 5,5 288.5,224");
    logo.SetLocation(9);
    logo.Draw(&core);
    EXPECT_THAT(
        core.Take(),
        ElementsAre(
            "SetBlend 1",
            "SetColor 255,255,255,127",
            "RunExtension 'soft-image'",
            "DrawImage 0,0 64,32 [200x100:13]",
            "RunExtension 'no-soft-image'"));
}

TEST_F(Logos, TakeKeysAndClicks) {
    section.Set("SIZE", "21");
    section.Set("LOCATE", "CENTER");
    Logo logo(section);
    Core core(100, 100);
    EXPECT_FALSE(logo.Interact(&core, At(EventPress, 50, 50, 0, ButtonLeft))) << "not drawn yet";
    logo.Draw(&core);
    EXPECT_EQ(logo.ScreenRectangle(), math::Rect2<int>(39, 44, 60, 55));
    for (auto const& [x, y, button, hit] :
         {std::tuple(38, 50, 1U, false),
          std::tuple(61, 50, 1U, false),
          std::tuple(50, 43, 1U, false),
          std::tuple(50, 56, 1U, false),
          std::tuple(39, 44, 3U, false),
          std::tuple(60, 55, 2U, false),
          std::tuple(60, 55, 1U, true),
          std::tuple(39, 44, 1U, true)}) {
        core.log.clear();
        EXPECT_EQ(logo.Interact(&core, At(EventPress, x, y, 0, button)), hit) << x << ',' << y;
        EXPECT_EQ(core.TakeRefreshes(), hit ? 1U : 0U);
        EXPECT_EQ(logo.Clicked(), hit);
    }
    EXPECT_FALSE(logo.Interact(&core, At(EventRelease, 50, 50, 0, ButtonLeft)));
    for (int i = 0; i < 9; ++i) {
        Event key = At(EventKey, 0, 0, 0);
        key.key = i % 2 == 0 ? 'j' : 'J';
        EXPECT_EQ(logo.Location(), (8 + i) % 9);
        EXPECT_TRUE(logo.Interact(&core, key));
        EXPECT_EQ(core.TakeRefreshes(), 1U);
        key.key = '\n' + 64 + 128;
        EXPECT_FALSE(logo.Interact(&core, key));
    }
    EXPECT_EQ(logo.Location(), 8);
}

TEST_F(Logos, ReadTheirSection) {
    Logo const plain(section);
    EXPECT_EQ(output.Take(), "[WW] INIFile: `LOCATE' not found in , section LOGO\n");
    auto const summary = [](Logo const& logo) {
        std::ostringstream text;
        text << logo.Width() << 'x' << logo.Height() << ' ' << logo.Location() << ' '
             << logo.Alpha() << ' ' << logo.Rotating() << ' ' << logo.RotationSpeed();
        return text.str();
    };
    EXPECT_EQ(summary(plain), "32x16 5 127 0 0");
    for (auto const& [key, value, result] :
         {std::tuple("LOCATE", "center", "32x16 5 127 0 0"),
          std::tuple("LOCATE", "NE", "32x16 1 127 0 0"),
          std::tuple("SIZE", "64.5", "64.5x32.25 1 127 0 0"),
          std::tuple("ALPHA", "300", "64.5x32.25 1 300 0 0"),
          std::tuple("ROTATION", "NONE", "64.5x32.25 1 300 1 0"),
          std::tuple("ROTATION", "SLOW", "64.5x32.25 1 300 1 0.25"),
          std::tuple("ROTATION", "NORMAL", "64.5x32.25 1 300 1 1"),
          std::tuple("ROTATION", "FAST", "64.5x32.25 1 300 1 4"),
          std::tuple("ROTATION", "fast", "64.5x32.25 1 300 0 0")}) {
        section.Set(key, value);
        EXPECT_EQ(summary(Logo(section)), result) << key << '=' << value;
    }
    EXPECT_EQ(output.Take(), "");
    section.Set("SIZE", "inf");
    section.Set("ALPHA", "many");
    EXPECT_EQ(summary(Logo(section)), "32x16 1 127 0 0");
    EXPECT_EQ(
        output.Take(),
        "[WW] Logo: `SIZE' of section LOGO is no number: inf\n"
        "[WW] Logo: `ALPHA' of section LOGO is no number: many\n");
    section.Set("SIZE", "0");
    section.Set("ALPHA", "-3");
    Logo nothing(section);
    Core core;
    nothing.Draw(&core);
    EXPECT_EQ(core.Take().at(1), "SetColor 255,255,255,0");
}

TEST_F(Logos, DoWithoutTheirPicture) {
    section.Set("LOCATE", "NW");
    std::ofstream(folder.Path("broken.png")) << "\x89PNG\r\n\x1a\nno more";
    Core core;
    for (char const* const name : {"missing.png", "broken.png", ""}) {
        section.Set("NAME", folder.Path(name));
        Logo logo(section);
        EXPECT_EQ(output.Take(), "") << "nobody asked for it yet";
        EXPECT_EQ(logo.Draw(&core), 0);
        EXPECT_THAT(output.Take(), StartsWith("[EE] Logo: no logo: "));
        EXPECT_EQ(logo.Draw(&core), 0);
        EXPECT_EQ(output.Take(), "");
        EXPECT_TRUE(core.Take().empty());
        EXPECT_FALSE(logo.Interact(&core, At(EventPress, 0, 0, 0, ButtonLeft)));
    }
    section.Erase("NAME");
    Logo standard(section);
    standard.Draw(&core);
    EXPECT_THAT(output.Take(), HasSubstr("/System/dravelico.png"));
}

TEST_F(Logos, FindTheirPictureBelowTheResourcePath) {
    std::string const before = CWindow::setResourcePath(folder.path.string());
    section.Set("NAME", "logo.png");
    EXPECT_TRUE(Logo(section).Image());
    section.Set("NAME", file);
    EXPECT_TRUE(Logo(section).Image()) << "as it is named, first";
    CWindow::setResourcePath(before);
}

} // namespace
