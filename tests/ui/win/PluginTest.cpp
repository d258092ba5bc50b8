#include "support/CapturedOutput.h"
#include "support/IniGuard.h"
#include "support/TestParams.h"
#include "ui/win/CWidget_Registration.h"
#include "ui/win/CWindowNullCore.h"

#include <boost/make_shared.hpp>

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

using namespace ui::win;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class Gadget : public CWidget {
public:
    explicit Gadget(kiv::ini::INIFile& section) {
        if (section.Has("BROKEN")) {
            throw std::runtime_error("out of order");
        }
    }
    char const* getName() const override { return "TestGadget"; }
};

// Registered for the whole test program, as a gadget library does while it is being loaded.
CWidget_Registration<Gadget> const registrar("TestGadget");

/// As the configuration says that is in force.
bool EnabledAfterConstruction() {
    CWindowNullCore manager(tests::MakeParams("None", 10, 10));
    return manager.FindPlugin("TestGadget")->enabled;
}

TEST(Plugins, ArePopulatedAsTheConfigurationSays) {
    tests::CapturedOutput output;
    {
        CWindowNullCore unconfigured(tests::MakeParams("None", 10, 10));
        EXPECT_TRUE(unconfigured.Plugins().empty());
        EXPECT_FALSE(unconfigured.PopulatePlugin());
        EXPECT_EQ(unconfigured.InsertPlugin("TestGadget"), nullptr);
        EXPECT_EQ(output.Take(), "");
    }
    tests::IniGuard config;
    kiv::ini::INIFile& section = *config.ini.Node("TestGadget");
    EXPECT_FALSE(EnabledAfterConstruction());
    EXPECT_EQ(*section.Find("ENABLED"), "FALSE") << "written where it was missing";
    EXPECT_THAT(
        output.Take(),
        AllOf(
            HasSubstr("[II] CWindowCoreManager: Plugin `LOGO' inserted\n"),
            EndsWith("[II] CWindowCoreManager: Plugin `StatusBar' inserted\n"
                     "[II] CWindowCoreManager: Plugin `TestGadget' inserted\n")));
    {
        CWindowNullCore manager(tests::MakeParams("None", 10, 10));
        EXPECT_TRUE(manager.FindPlugin("StatusBar")->enabled) << "whatever its section says";
        EXPECT_FALSE(manager.FindPlugin("LOGO")->enabled);
        EXPECT_EQ(manager.FindPlugin("HELP"), nullptr);
    }
    section.Set("ENABLED", "true");
    EXPECT_TRUE(EnabledAfterConstruction());
    section.Set("ENABLED", "perhaps");
    EXPECT_THROW(EnabledAfterConstruction(), boost::bad_lexical_cast);
    section.Set("ENABLED", "FALSE");
    section.Set("BROKEN", "1");
    EXPECT_THROW(EnabledAfterConstruction(), std::runtime_error);
}

TEST(Plugins, InsertByNameOnceAndReportFailures) {
    tests::CapturedOutput output;
    tests::IniGuard config;
    CWindowNullCore manager(tests::MakeParams("None", 10, 10));
    manager.ReleasePlugins();
    output.Take();
    CWindowCoreManager::Plugin* const plugin = manager.InsertPlugin("TestGadget");
    ASSERT_NE(plugin, nullptr);
    EXPECT_TRUE(plugin->enabled);
    EXPECT_EQ(*config.ini.Node("TestGadget")->Find("ENABLED"), "TRUE");
    output.Take();
    EXPECT_EQ(manager.InsertPlugin("TestGadget"), plugin);
    EXPECT_EQ(output.Take(), "[WW] CWindowCoreManager: Alredy inserted the plugins TestGadget!\n");

    EXPECT_EQ(manager.InsertPlugin("Nobody"), nullptr);
    EXPECT_EQ(
        output.Take(),
        "[EE] CWindowCoreManager: Plugin Nobody failed in creation: call to empty "
        "boost::function\n");
    manager.ReleasePlugins();
    config.ini.Node("TestGadget")->Set("BROKEN", "1");
    EXPECT_EQ(manager.InsertPlugin("TestGadget"), nullptr);
    EXPECT_EQ(
        output.Take(),
        "[EE] CWindowCoreManager: Plugin TestGadget failed in creation: out of order\n");
    EXPECT_EQ(manager.InsertPlugin("no\nsection"), nullptr);
    EXPECT_THAT(output.Take(), StartsWith("[EE] CWindowCoreManager: Plugin no"));
}

TEST(Plugins, SwitchOneOrAll) {
    tests::CapturedOutput output;
    CWindowNullCore manager(tests::MakeParams("None", 10, 10));
    EXPECT_FALSE(manager.EnablePlugin("StatusBar", true)) << "not there, and nothing said";
    EXPECT_EQ(output.Text(), "");
    kiv::ini::INIFile ini;
    manager.InsertPlugin(boost::make_shared<Gadget>(ini), false);
    manager.InsertPlugin(boost::make_shared<Gadget>(ini), true);
    auto const enabled = [&] {
        return static_cast<int>(manager.Plugins()[0].enabled) * 10 +
               static_cast<int>(manager.Plugins()[1].enabled);
    };
    EXPECT_TRUE(manager.SwitchAllPlugin());
    EXPECT_EQ(enabled(), 0) << "one was on, so all go off";
    EXPECT_TRUE(manager.SwitchAllPlugin());
    EXPECT_EQ(enabled(), 11);
    EXPECT_TRUE(manager.SwitchPlugin("TestGadget"));
    EXPECT_EQ(enabled(), 1) << "the first of that name";
    EXPECT_TRUE(manager.SwitchPluginEx("TestGadget"));
    EXPECT_EQ(enabled(), 11);
    EXPECT_FALSE(manager.SwitchPlugin("testgadget"));
}

} // namespace
