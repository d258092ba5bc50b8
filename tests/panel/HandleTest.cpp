#include "support/Thrown.h"
#include "tests/panel/RecordingListener.h"
#include "ui/panel/PanelManager.h"
#include "ui/panel/Vars.h"
#include "ui/panel/Widget.h"

#include <boost/lexical_cast/bad_lexical_cast.hpp>

#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace {

using testing::ElementsAre;
using ui::null_guid;
using ui::PanelManagerInstance;
using ui::widget_guid_t;
using ui::var::Base;
using ui::var::Popup;
using ui::wgt::Widget;

unsigned Count(Widget const& widget) {
    return PanelManagerInstance()->RefCount(widget.GUID());
}

bool Lives(widget_guid_t guid) {
    return PanelManagerInstance()->Attr(guid, "alive", "");
}

TEST(Widget, CopiesKeepTheCountRightAndTheLastFreesTheRecord) {
    auto widget = std::make_unique<Widget>("slider", null_guid);
    widget_guid_t const guid = widget->GUID();
    EXPECT_EQ(Count(*widget), 1U) << "the handle's own reference is the first";
    EXPECT_EQ(widget->Class(), "slider");
    {
        Widget const one(*widget);
        Widget two(one);
        Widget const again("knob", guid);
        testing::internal::CaptureStdout();
        two = *widget;
        two = *&two;
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
        EXPECT_EQ(Count(*widget), 4U);
        two = Widget("other", null_guid);
        EXPECT_EQ(Count(*widget), 3U);
        EXPECT_EQ(Count(two), 1U);
    }
    EXPECT_EQ(Count(*widget), 1U);
    EXPECT_EQ(widget->Class(), "knob");
    widget.reset();
    EXPECT_FALSE(Lives(guid));
    EXPECT_THROW(Widget{guid}, std::runtime_error);
}

TEST(Widget, NullHandlesAreReported) {
    Widget const keeper("a", 4);
    testing::internal::CaptureStdout();
    {
        Widget const null(null_guid);
        EXPECT_EQ(null.Parent().GUID(), null_guid);
        EXPECT_THROW(null.Class(), std::runtime_error);
        Widget handle(keeper);
        PanelManagerInstance()->AddRef(4, 1, 0);
        handle = Widget();
        EXPECT_EQ(handle.GUID(), 4);
        EXPECT_EQ(Count(keeper), 2U);
    }
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "Error: Binded null guid\nError: Binded null guid\n"
        "Warn: (Widget) replace guid 4 with a null guid\n");
    EXPECT_EQ(Count(keeper), 1U) << "given up a second time";
    Widget filled;
    filled = keeper;
    EXPECT_EQ(Count(keeper), 2U);
}

TEST(Widget, RefMovesItsLink) {
    Widget const seven("a", 7);
    Widget const nine("b", 9);
    Widget widget("w", null_guid);
    auto const& links = PanelManagerInstance()->Find(widget.GUID()).links;
    EXPECT_EQ(&widget.Ref(7), &widget);
    widget.Ref(9);
    EXPECT_THROW(widget.Ref(1234), std::runtime_error) << "before anything is changed";
    EXPECT_THAT(links, ElementsAre(9));
    EXPECT_EQ(widget.Attr("ref"), "9");
    EXPECT_EQ(Count(seven), 1U);
    EXPECT_EQ(Count(nine), 2U);
    widget.Ref(Widget("c", null_guid).GUID());
    widget.Ref(links[0]); // which nothing but the old link keeps
    EXPECT_TRUE(Lives(links[0]));
    widget.Attr("ref", "+7");
    widget.Ref(9);
    EXPECT_EQ(links.size(), 2U) << "7 was not linked any more";
    for (char const* malformed : {"", "x", "9 ", "9.0", "9223372036854775808"}) {
        widget.Attr("ref", malformed);
        EXPECT_THROW(widget.Ref(7), boost::bad_lexical_cast) << malformed;
    }
}

TEST(Widget, TreesLiveAsLongAsTheirTop) {
    RecordingListener listener;
    int const slot = PanelManagerInstance()->Register(&listener);
    auto panel = std::make_unique<Widget>("panel", null_guid);
    std::string const top = std::to_string(panel->GUID());
    widget_guid_t child = null_guid;
    {
        Widget const item("item", null_guid);
        child = item.GUID();
        panel->Add(item);
        EXPECT_EQ(item.Parent().GUID(), panel->GUID());
    }
    EXPECT_TRUE(Lives(child));
    EXPECT_FALSE(panel->IsActive());
    panel->Attr("visible", "TRUE");
    EXPECT_TRUE(panel->IsActive() && panel->Has("visible"));
    EXPECT_FALSE(panel->Update()) << "has no value";
    {
        Widget const copy = panel->Clone();
        EXPECT_EQ(Count(copy), 1U);
        EXPECT_EQ(PanelManagerInstance()->Find(copy.GUID()).children.size(), 1U);
    }
    panel.reset();
    EXPECT_FALSE(Lives(child));
    EXPECT_EQ(listener.Heard(), "show " + top + "; detach " + top + "; ");
    PanelManagerInstance()->UnRegister(slot);
}

TEST(Base, HandlesShareOneVariable) {
    Base a;
    Widget const watch(a.GUID());
    {
        Base const copy(a);
        Base b;
        widget_guid_t const left = b.GUID();
        b = a;
        EXPECT_FALSE(Lives(left));
        b = *&b;
        Popup const popup(watch);
        Popup const second(popup);
        EXPECT_EQ(Count(watch), 6U);
    }
    EXPECT_EQ(Count(watch), 2U);
    EXPECT_EQ(tests::Thrown([&] { a.GetValue<std::string>(); }), "Invalid widget value");
    EXPECT_TRUE(a.GetValue<boost::any>().empty());
    EXPECT_FALSE(a.Update());
}

} // namespace
