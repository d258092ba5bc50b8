#include "ui/win/WindowsMap.h"

#include "support/CapturedOutput.h"
#include "ui/win/CWindowCommands.h"

#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

using namespace ui::win;
using testing::ElementsAre;

struct WindowsMaps : testing::Test {
    boost::shared_ptr<CWindow> MakeWindow() {
        return boost::make_shared<CWindow>("own", 10, 10, 0);
    }

    tests::CapturedOutput output;
    WindowsMap map;
};

TEST_F(WindowsMaps, FindWindowsByName) {
    EXPECT_TRUE(map.Insert("b", 30, 20));
    boost::shared_ptr<CWindow> const own = MakeWindow();
    EXPECT_TRUE(map.Insert("a", own));
    EXPECT_EQ(map.Wnd("a"), own);
    EXPECT_FALSE(map.Insert("a", MakeWindow()));
    EXPECT_FALSE(map.Insert("a", 30, 20));
    EXPECT_EQ(map.Wnd("a"), own) << "the first stays";
    EXPECT_THROW(map.Insert("c", 0, 20), std::runtime_error);
    EXPECT_FALSE(map.Wnd("c"));
    EXPECT_EQ(map.Window("c"), nullptr);
    EXPECT_THAT(map.WindowNames(), ElementsAre("a", "b"));
    EXPECT_EQ(map.Windows().size(), 2U);
    output.Take();
    map.PrintNodes();
    EXPECT_EQ(output.Take(), "This is WindowsMap::PrintNodes\n2\na\nb\n");

    std::string title;
    EXPECT_TRUE(map.Wnd("b")->GetTitle(title));
    EXPECT_EQ(title, "b");
    unsigned width = 0;
    unsigned height = 0;
    EXPECT_TRUE(map.Wnd("b")->GetSize(width, height));
    EXPECT_EQ(width * 100 + height, 3020U);
    unsigned flags = 0;
    map.Wnd("b")->SendCommand(
        new CWndCommand_Call([&](CWindowCoreManager* manager) { flags = manager->Flags(); }), 0);
    EXPECT_EQ(flags, 1536U);
}

TEST_F(WindowsMaps, ShowAndHideWithoutGivingTheWindowAway) {
    boost::weak_ptr<CWindow> gone;
    {
        boost::shared_ptr<CWindow> const own = MakeWindow();
        gone = own;
        map.Insert("a", own);
    }
    CWindowVisibilityProxy proxy = *map.Window("a");
    EXPECT_FALSE(proxy.IsVisible());
    EXPECT_TRUE(proxy.Show());
    EXPECT_TRUE(proxy.IsVisible());
    EXPECT_TRUE(map.Wnd("a")->IsVisible());
    EXPECT_TRUE(map.Remove("a"));
    EXPECT_FALSE(map.Remove("a"));
    EXPECT_EQ(map.Window("a"), nullptr);
    EXPECT_TRUE(proxy.Hide());
    EXPECT_FALSE(proxy.IsVisible()) << "still usable";
    map.Insert("a", gone.lock());
    map.Clear();
    EXPECT_TRUE(map.WindowNames().empty());
    EXPECT_EQ(map.Window("a"), nullptr);
    proxy = CWindowVisibilityProxy();
    EXPECT_TRUE(gone.expired());
}

} // namespace
