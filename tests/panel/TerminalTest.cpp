#include "examples/panel_terminal.h"
#include "kiv/ini/INIFile.h"
#include "ui/panel/Conf.h"
#include "ui/panel/PanelManager.h"
#include "ui/panel/Value.h"
#include "ui/panel/Widget.h"

#include <gmock/gmock.h>

#include <memory>
#include <sstream>
#include <string>

namespace {

using ui::var::Value;

TEST(Backends, AreMadeByName) {
    ui::BackendFactory& factory = *kiv::Singleton<ui::BackendFactory>::Instance();
    EXPECT_THAT(factory.Names(), testing::ElementsAre("Terminal"));
    std::unique_ptr<ui::Backend> const terminal(factory.GetAllocator("Terminal")());
    EXPECT_TRUE(dynamic_cast<PanelTerminal*>(terminal.get()));
}

TEST(Terminal, ShowsAPanelAndSetsItsValues) {
    kiv::ini::INIFile ini;
    ini.Set("GAIN", "1");
    std::istringstream in("list\nGAIN = 2\nGAIN=9\nnope = 1\nhelp\nquit\nGAIN = 3\n");
    std::ostringstream out;
    {
        PanelTerminal terminal(in, out);
        auto panel = std::make_unique<ui::wgt::Widget>("panel", ui::null_guid);
        panel->Attr("label", "Camera");
        Value<double> const gain("GAIN", &ini, 0.5, {0.0, 4.0, {}});
        panel->Add(ui::wgt::Widget(gain.GUID()));
        panel->Attr("visible", "TRUE");
        terminal.Run();
        EXPECT_EQ(gain, 2);
        ui::conf::Save(&ini);
        ini.Set("GAIN", "4"); // a change in the file shows in the front end
        ui::conf::Load(&ini);
        panel->Attr("visible", "FALSE");
        panel.reset();
    }
    EXPECT_EQ(
        out.str(),
        "+ Camera  (panel)  label='Camera'  visible='TRUE'\n"
        "Camera  (panel)  label='Camera'  visible='TRUE'\n"
        "  GAIN = 1  max='4'  min='0'\n"
        "~ GAIN = 2  max='4'  min='0'\n"
        "! 9 is outside 0 .. 4\n"
        "! there is no `nope'\n"
        "list | NAME = VALUE | quit\n"
        "~ GAIN = 4  max='4'  min='0'\n"
        "~ Camera  (panel)  label='Camera'  visible='FALSE'\n"
        "- Camera  (panel)  label='Camera'  visible='FALSE'\n"
        "- Camera  (panel)  label='Camera'  visible='FALSE'\n");
    EXPECT_EQ(ini.Get("GAIN", 0), 4);
}

} // namespace
