#include "examples/ini_follower.h"
#include "examples/panel_terminal.h"
#include "support/CapturedOutput.h"
#include "support/OutputFolder.h"
#include "ui/panel/Value.h"
#include "ui/panel/Widget.h"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

using ui::null_guid;
using ui::var::Value;
using ui::wgt::Widget;

TEST(Backends, AreMadeByName) {
    ui::BackendFactory& factory = *kiv::Singleton<ui::BackendFactory>::Instance();
    std::unique_ptr<ui::Backend> const terminal(factory.GetAllocator("Terminal")());
    EXPECT_TRUE(dynamic_cast<PanelTerminal*>(terminal.get()));
}

class TerminalTest : public testing::Test {
protected:
    // What the terminal has written since the last call and answers to some commands.
    std::string Answer(std::string const& commands) {
        if (!terminal) {
            terminal.emplace(m_in, m_out);
        }
        m_in.clear();
        m_in.str(commands);
        terminal->Run();
        std::string const text = m_out.str();
        m_out.str("");
        return text;
    }

private:
    std::istringstream m_in;
    std::ostringstream m_out;

protected:
    std::optional<PanelTerminal> terminal; // started by the first command
};

std::unique_ptr<Widget> MakePanel(std::string const& label) {
    auto panel = std::make_unique<Widget>("panel", null_guid);
    panel->Attr("label", label);
    return panel;
}

TEST_F(TerminalTest, ShowsAPanelThatIsThereAndSetsItsValues) {
    kiv::ini::INIFile ini;
    ini.Set("GAIN", "1");
    auto panel = MakePanel("Camera");
    Value<double> const gain("GAIN", &ini, 0.5, {0.0, 4.0, {}});
    panel->Add(Widget(gain.GUID()));
    panel->Attr("visible", "TRUE");
    EXPECT_EQ(
        Answer("list\nGAIN = 2\nGAIN=9\nnope = 1\nhelp\nquit\nGAIN = 3\n"),
        "+ Camera  (panel)  label='Camera'  visible='TRUE'\n"
        "Camera  (panel)  label='Camera'  visible='TRUE'\n"
        "  GAIN = 1  max='4'  min='0'\n"
        "~ GAIN = 2  max='4'  min='0'\n"
        "! 9 is outside 0 .. 4\n"
        "! there is no `nope'\n"
        "list | NAME = VALUE | quit\n");
    EXPECT_EQ(gain, 2);
    panel->Attr("visible", "FALSE");
    EXPECT_EQ(
        Answer("list\nGAIN = 3\n"),
        "~ Camera  (panel)  label='Camera'  visible='FALSE'\n"
        "- Camera  (panel)  label='Camera'  visible='FALSE'\n"
        "! there is no `GAIN'\n");
    EXPECT_TRUE(panel->IsActive());
    terminal.reset();
    EXPECT_FALSE(panel->IsActive()) << "the slot's next listener must not be taken for this one";
}

TEST_F(TerminalTest, FollowsWhatIsAttachedMovedHiddenAndKept) {
    auto const left = MakePanel("Left");
    auto right = MakePanel("Right");
    Widget group("group", null_guid);
    Value<int> item(1);
    Value<int> kept(1);
    group.Attr("label", "group").Add(Widget(item.Attr("label", "item").GUID()));
    right->Add(Widget(kept.Attr("label", "kept").GUID())).Attr("visible", "TRUE");
    left->Add(group).Attr("visible", "TRUE");
    Answer("");
    std::string const leftLine = "Left  (panel)  label='Left'  visible='TRUE'\n";
    std::string const rightLine = "Right  (panel)  label='Right'  visible='TRUE'\n";
    std::string const rightList = rightLine + "  kept = 1  label='kept'\n";
    std::string groupLine = "group  (group)  label='group'";
    item = 2;
    std::string const itemLine = "item = 2  label='item'\n";
    EXPECT_EQ(
        Answer("list\n"),
        "~ " + itemLine + leftLine + "  " + groupLine + "\n    " + itemLine + rightList);

    group.Attr("visible", "FALSE"); // was only shown as a part of its panel
    EXPECT_EQ(
        Answer("list\nitem = 3\n"),
        "~ " + groupLine + "  visible='FALSE'\n" + leftLine + rightList + "! there is no `item'\n");
    group.Attr("visible", "TRUE");
    groupLine += "  visible='TRUE'\n";
    EXPECT_EQ(Answer(""), "~ " + groupLine + "+ " + groupLine);

    right->Add(group);
    EXPECT_EQ(Answer("list\n"), leftLine + rightList + "  " + groupLine + "    " + itemLine);
    right.reset();
    EXPECT_EQ(Answer("list\n"), "- " + rightLine + leftLine + groupLine + "  " + itemLine)
        << "what is shown for itself stays";
    kept = 2;
    EXPECT_EQ(Answer("kept = 3\n"), "! there is no `kept'\n") << "what was a part only goes";
}

TEST_F(TerminalTest, ANameOfTwoWidgetsSetsNeither) {
    Value<int> first(1);
    Value<int> second(2);
    for (Value<int>* const value : {&first, &second}) {
        value->Attr("label", "GAIN").Attr("visible", "TRUE");
    }
    Answer("");
    std::string const number = '#' + std::to_string(second.GUID());
    EXPECT_EQ(
        Answer("GAIN = 7\n" + number + " = 8\n"),
        "! `GAIN' may be #" + std::to_string(first.GUID()) + " or " + number +
            "\n~ GAIN = 8  label='GAIN'  visible='TRUE'\n");
}

// A file on disk as its user sees it; every change gets a time of its own.
class EditedFile {
public:
    std::string Text() const {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }
    void Edit(std::string const& text) {
        auto const before = std::filesystem::last_write_time(path);
        std::ofstream(path) << text;
        std::filesystem::last_write_time(path, before + std::chrono::seconds(2));
    }

    std::string const path = tests::OutputFolder().Path("camera.ini");
};

TEST_F(TerminalTest, TheFileAndTheTerminalFollowEachOther) {
    EditedFile file;
    std::string const before = "; left arm\n[CAMERA]\n# 0 to 4\nGAIN=1 \n\nNAME = \" a;b\"\n;end";
    std::ofstream(file.path) << before;
    IniFollower follower(file.path);
    kiv::ini::INIFile* const camera = follower.Ini().Node("CAMERA");
    Value<double> const gain("GAIN", camera, 0.5, {0.0, 4.0, {}});
    Value<std::string> const name("NAME", camera, std::string());
    auto const panel = MakePanel("Camera");
    panel->Add(Widget(gain.GUID())).Add(Widget(name.GUID())).Attr("visible", "TRUE");
    Answer("");
    follower.Step();
    EXPECT_EQ(file.Text(), before);

    Answer("GAIN = 0.1\nNAME = arm = 7\n");
    follower.Step();
    std::string const after = "; left arm\n[CAMERA]\n# 0 to 4\nGAIN=0.1 \n\nNAME = arm = 7\n;end";
    EXPECT_EQ(file.Text(), after);

    file.Edit("[CAMERA]\nGAIN = 3\nNAME = b\n; new\n");
    follower.Step();
    EXPECT_EQ(Answer(""), "~ GAIN = 3  max='4'  min='0'\n~ NAME = b\n");
    EXPECT_EQ(gain, 3);

    // Until it is mended, what is no value stays as it was typed.
    std::string const broken = "[CAMERA]\nGAIN = x\nNAME = c\n";
    file.Edit(broken);
    EXPECT_THROW(follower.Step(), std::runtime_error);
    EXPECT_EQ(Answer("GAIN = 2\n"), "~ NAME = c\n~ GAIN = 2  max='4'  min='0'\n");
    follower.Step();
    EXPECT_EQ(file.Text(), broken);
    file.Edit("[CAMERA]\nGAIN = 4\nNAME = c\n");
    follower.Step();
    EXPECT_EQ(gain, 4);

    // What was saved gives the same values to those that read it.
    Answer("GAIN = 0.30000000000000004\n");
    follower.Step();
    IniFollower reader(file.path);
    Value<double> const readGain("GAIN", reader.Ini().Node("CAMERA"), 0);
    Value<std::string> const readName("NAME", reader.Ini().Node("CAMERA"), std::string());
    EXPECT_EQ(readGain, gain);
    EXPECT_EQ(readName.Get(), "c");
}

TEST_F(TerminalTest, AFollowerStartsTheFileAndKeepsItsHandsOffOneThatChanges) {
    EditedFile file;
    IniFollower follower(file.path);
    tests::CapturedOutput const output;
    Value<int> gain("GAIN", &follower.Ini(), 1);
    follower.Step();
    EXPECT_EQ(file.Text(), "GAIN = 1\n");
    gain = 2;
    std::filesystem::remove(file.path);
    EXPECT_THROW(follower.Step(), std::runtime_error);
    EXPECT_FALSE(std::filesystem::exists(file.path));
}

} // namespace
