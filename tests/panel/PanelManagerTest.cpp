#include "ui/panel/PanelManager.h"

#include "support/OutputFolder.h"
#include "support/Thrown.h"
#include "tests/panel/RecordingListener.h"
#include "ui/panel/Value.h"

#include <gmock/gmock.h>

#include <deque>
#include <functional>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>

enum class Mode { Nameless, Known };

template <>
struct ui::var::EnumNames<Mode> {
    static constexpr std::pair<Mode, char const*> values[] = {{Mode::Known, "KNOWN"}};
};

namespace {

using kiv::ini::INIFile;
using testing::ElementsAre;
using ui::null_guid;
using ui::widget_guid_t;
using ui::detail::PanelManager;
using ui::var::TypedValue;

std::string OutputOf(std::function<void()> const& action) {
    testing::internal::CaptureStdout();
    action();
    return testing::internal::GetCapturedStdout();
}

// A manager of its own for each test; nothing may be left in it at the end.
class PanelManagerTest : public testing::Test {
protected:
    ~PanelManagerTest() override {
        for (int i = 0; i < PanelManager::max_listeners; ++i) {
            manager.UnRegister(i); // those of the test are gone
        }
        for (int i = 0; i < 9; ++i) {
            manager.Cleanup();
        }
        EXPECT_EQ(Dump(), "0 widgets:\n");
    }

    widget_guid_t Make() { return manager.CreateGUID(true); }
    widget_guid_t MakeValue(double value) {
        widget_guid_t const guid = Make();
        manager.Bind(guid, new TypedValue<double>(value, {0.0, 10.0, {}}));
        return guid;
    }
    bool Lives(widget_guid_t guid) { return manager.Attr(guid, "alive", ""); }
    unsigned Count(widget_guid_t guid) { return manager.RefCount(guid); }
    std::string Text(widget_guid_t guid) {
        std::string text = "none";
        manager.Get(guid, text);
        return text;
    }
    std::string Dump() {
        std::ostringstream out;
        out << manager;
        return out.str();
    }

    PanelManager manager;
};

TEST_F(PanelManagerTest, GuidsAreNeverUsedAgain) {
    EXPECT_EQ(Make(), 0);
    EXPECT_EQ(manager.CreateGUID(false), 1);
    EXPECT_EQ(Make(), 2);
    EXPECT_FALSE(Lives(1));
    EXPECT_TRUE(manager.Release(2));
    EXPECT_EQ(Make(), 3);
    // Numbers of the application's own are left out.
    widget_guid_t const last = std::numeric_limits<widget_guid_t>::max();
    for (widget_guid_t const chosen : {last, 5L, 4L, 2L, -7L}) {
        EXPECT_EQ(manager.Widget(chosen).references, 0U);
    }
    manager.Release(5);
    EXPECT_EQ(Make(), 6);
    EXPECT_EQ(Make(), 7);
}

TEST_F(PanelManagerTest, UnknownGuidsAreRefusedWithTheirTexts) {
    widget_guid_t const known = Make();
    INIFile ini;
    struct {
        std::function<void()> action;
        char const* error;
    } const failures[] = {
        {[&] { manager.AddRef(9, 1, 0); }, "AddRef on an unregistered GUID"},
        {[&] { manager.RefCount(9); }, "GUID not found in RefCount()"},
        {[&] { manager.Find(9); }, "Find: GUID not found"},
        {[&] { manager.UnsafeFind(9); }, "ExistWidget: GUID not found"},
        {[&] { manager.ReadAttr(9, "a"); }, "guid not found"},
        {[&] { manager.ReadAttr(known, "a"); }, "Attribute a not found"},
        {[&] { manager.Attach(known, 9); }, "Attach: GUID not found"},
        {[&] { manager.Attach(9, known); }, "Attach: GUID not found"},
        {[&] { manager.Link(known, 9); }, "Link: GUID not found"},
        {[&] { manager.Clone(known, 9); }, "Clone: GUID not found"},
        {[&] { manager.Show(9, true); }, "Show: GUID not found"},
        {[&] { manager.Register(9, 0); }, "Register: GUID not found"},
        {[&] { manager.Register(known, 32); }, "There is no listener 32"},
        {[&] { manager.UnRegister(known, -1); }, "There is no listener -1"},
        {[&] { manager.Widget(null_guid); }, "The null GUID cannot have a widget"},
    };
    for (auto const& failure : failures) {
        EXPECT_EQ(tests::Thrown(failure.action), failure.error);
    }
    for (bool const answer :
         {manager.Release(9),
          manager.Detach(9),
          manager.Attr(9, "a", "b"),
          manager.HasAttr(9, "a"),
          manager.Bind(9, "k", &ini),
          manager.Bind(9, "k", &ini, std::string("x")),
          manager.Bind(9, "k", &ini, boost::any(1)),
          manager.Bind(9, new TypedValue<int>(1)),
          manager.Update(9),
          manager.NotifyDataChanged(9)}) {
        EXPECT_FALSE(answer);
    }
    EXPECT_EQ(manager.Parent(9), null_guid);
    EXPECT_EQ(Count(known), 1U);
    EXPECT_TRUE(manager.Find(known).children.empty() && manager.Find(known).links.empty());
}

TEST_F(PanelManagerTest, ReferencesOnAParentCountForEverythingBelow) {
    widget_guid_t const parent = Make();
    widget_guid_t const child = Make();
    widget_guid_t const grandchild = Make();
    manager.Attach(child, grandchild);
    manager.Attach(parent, child);
    unsigned const before[] = {Count(parent), Count(child), Count(grandchild)};
    manager.AddRef(parent, 2, 0);
    for (widget_guid_t const guid : {parent, child, grandchild}) {
        EXPECT_EQ(Count(guid), before[guid] + 2);
    }
    // The creators of the children let go: their parent alone keeps them.
    manager.Detach(grandchild);
    manager.Detach(child);
    EXPECT_EQ(Count(child), Count(parent));
    manager.Release(parent);
    manager.Release(parent);
    EXPECT_TRUE(Lives(grandchild));
    manager.Release(parent);
    EXPECT_FALSE(Lives(parent) || Lives(child) || Lives(grandchild));
}

TEST_F(PanelManagerTest, AttachMovesAWidgetAndRefusesCircles) {
    widget_guid_t const first = Make();
    widget_guid_t const second = Make();
    widget_guid_t const child = Make();
    manager.AddRef(first, 4, 0);
    manager.Attach(first, child);
    manager.Attach(first, child);
    EXPECT_EQ(Count(child), 6U);
    manager.Attach(second, child);
    EXPECT_THAT(manager.Find(first).children, ElementsAre());
    EXPECT_EQ(Count(child), 2U);
    EXPECT_NE(tests::Thrown([&] { manager.Attach(child, second); }), "nothing thrown");
    EXPECT_NE(tests::Thrown([&] { manager.Attach(child, child); }), "nothing thrown");
    manager.Release(second);
    EXPECT_EQ(manager.Parent(child), null_guid) << "outlives its parent";
    EXPECT_EQ(Count(child), 1U);
    manager.Attach(first, child);
    manager.AddRef(child, -4, 0); // given up too often: nothing is left to take along
    manager.Attach(Make(), child);
    EXPECT_EQ(Count(child), 0U);
}

TEST_F(PanelManagerTest, RecordsWithoutAReferenceHaveNoneToDropBelowThem) {
    widget_guid_t const owned = Make();
    manager.Widget(20);
    manager.Widget(21);
    manager.Attach(20, owned);
    manager.Attach(20, 21);
    EXPECT_TRUE(manager.Release(20));
    EXPECT_FALSE(Lives(20) || Lives(21));
    EXPECT_EQ(Count(owned), 1U);
}

TEST_F(PanelManagerTest, LinksHoldAReferenceUntilTheirOwnerDies) {
    widget_guid_t const owner = Make();
    widget_guid_t const target = Make();
    manager.Link(owner, target);
    manager.Link(owner, target);
    EXPECT_TRUE(manager.UnLink(owner, target));
    EXPECT_EQ(Count(target), 2U);
    manager.Detach(target);
    RecordingListener listener;
    manager.Register(target, manager.Register(&listener));
    manager.AddRef(owner, 1, 0);
    manager.Release(owner);
    EXPECT_TRUE(Lives(target));
    manager.Release(owner);
    EXPECT_EQ(listener.Heard(), "attr 1; detach 1; ") << "a link is given up by detaching";
    EXPECT_FALSE(manager.UnLink(Make(), target));
}

TEST_F(PanelManagerTest, LongChainsAndCirclesOfLinksDoNotHarm) {
    widget_guid_t const top = Make();
    widget_guid_t last = top;
    for (int i = 0; i < 50000; ++i) {
        widget_guid_t const next = Make();
        manager.Link(last, next);
        manager.Detach(next);
        last = next;
    }
    manager.Release(top);
    EXPECT_FALSE(Lives(last));

    widget_guid_t const a = Make();
    widget_guid_t const b = Make();
    widget_guid_t const c = Make();
    manager.Ref(a, b);
    manager.Link(b, a);
    manager.Detach(a);
    manager.Detach(b);
    EXPECT_TRUE(Lives(a) && Lives(b)) << "they keep each other";
    manager.Ref(a, c);
    EXPECT_FALSE(Lives(a) || Lives(b)) << "the link that was let go kept both";
    EXPECT_EQ(Count(c), 1U);
}

TEST_F(PanelManagerTest, ListenersTakeTheFirstFreeSlotOfThirtyTwo) {
    std::deque<RecordingListener> listeners(33);
    for (int i = 0; i < 32; ++i) {
        EXPECT_EQ(manager.Register(&listeners[static_cast<std::size_t>(i)]), i);
    }
    EXPECT_EQ(tests::Thrown([&] { manager.Register(&listeners[32]); }), "too much listener");
    EXPECT_NE(tests::Thrown([&] { manager.Register(nullptr); }), "nothing thrown");
    widget_guid_t const guid = Make();
    manager.Register(guid, 5);
    manager.Register(guid, 31);
    EXPECT_TRUE(manager.UnRegister(5));
    manager.Attr(guid, "k", "v");
    EXPECT_EQ(listeners[5].Heard() + listeners[31].Heard(), "attr 0; ") << "slot 5 is free";
    EXPECT_EQ(manager.Register(&listeners[32]), 5);
    EXPECT_FALSE(manager.UnRegister(32) || manager.UnRegister(-1));
}

TEST_F(PanelManagerTest, ShowOffersToAllAndHideTellsThoseThatTookIt) {
    RecordingListener takes;
    RecordingListener declines(false);
    manager.Register(&takes);
    manager.Register(&declines);
    widget_guid_t const guid = MakeValue(1);
    manager.Show(guid, true);
    manager.Show(guid, true); // nothing new
    manager.Attr(guid, "k", "v");
    EXPECT_TRUE(manager.NotifyDataChanged(guid) && manager.Update(guid));
    EXPECT_EQ(takes.Heard(), "show 0; attr 0; data 1 0; update 0; ");
    manager.Attr(guid, "visible", "true"); // only "TRUE" shows
    manager.Attr(guid, "visible", "TRUE");
    EXPECT_EQ(takes.Heard(), "attr 0; hide 0; attr 0; show 0; ");
    EXPECT_EQ(declines.Heard(), "show 0; show 0; ");
    manager.AddRef(guid, 1, 0);
    manager.Detach(guid);
    EXPECT_EQ(takes.Heard(), "") << "not the last reference";
    manager.Detach(guid);
    EXPECT_EQ(takes.Heard(), "detach 0; ");

    manager.Show(Make(), true);
    EXPECT_FALSE(manager.NotifyDataChanged(1) || manager.Update(1)) << "without a value";
    EXPECT_EQ(takes.Heard(), "show 1; ");
}

TEST_F(PanelManagerTest, LockedManagerShowsToTheCurrentListenerAlone) {
    RecordingListener first;
    RecordingListener current;
    manager.Register(&first);
    int const slot = manager.Register(&current);
    widget_guid_t const guid = Make();
    manager.LockToCurListener();
    manager.Show(guid, true);
    manager.UnRegister(guid, slot);
    manager.Register(guid, 0);
    manager.Show(guid, false);
    EXPECT_EQ(first.Heard(), "");
    EXPECT_EQ(current.Heard(), "show 0; ") << "was not known to it when it was hidden";
    manager.UnLockToCurListener();
    manager.Show(guid, true);
    manager.Show(guid, false);
    EXPECT_EQ(first.Heard(), "show 0; hide 0; ");
}

TEST_F(PanelManagerTest, CloneCopiesTheTreeButNeitherBindingNorListeners) {
    RecordingListener listener;
    manager.Register(&listener);
    INIFile ini;
    ini.Set("K", "3");
    widget_guid_t const panel = Make();
    widget_guid_t const value = MakeValue(1);
    widget_guid_t const target = Make();
    manager.Widget(panel).cls = "panel";
    manager.Attach(panel, value);
    manager.Link(value, target);
    manager.Bind(value, "K", &ini);
    manager.Attr(panel, "label", "x");
    manager.Show(panel, true);
    widget_guid_t const copy = manager.Clone(panel, panel);
    manager.Set(value, std::string("4"));
    ASSERT_EQ(manager.Find(copy).children.size(), 1U);
    widget_guid_t const copiedValue = manager.Find(copy).children[0];
    EXPECT_EQ(manager.Parent(copy), panel);
    EXPECT_EQ(manager.Class(copy) + ' ' + manager.ReadAttr(copy, "label"), "panel x");
    EXPECT_EQ(Text(copiedValue), "3");
    EXPECT_FALSE(manager.IsActive(copy));
    EXPECT_EQ(Count(copiedValue), 1U) << "the panel's reference";
    EXPECT_EQ(Count(target), 3U) << "its creator's and both links'";
    manager.Save(&ini, true);
    EXPECT_EQ(ini.Get("K", ""), "4") << "the copy is not bound";

    manager.AddRef(target, -5, 0);
    manager.Release(target); // behind the backs of those that link to it
    EXPECT_THAT(manager.Find(manager.Clone(value, null_guid)).links, ElementsAre());
}

TEST_F(PanelManagerTest, BindWithoutDefaultWantsTheKey) {
    tests::OutputFolder const folder;
    INIFile ini;
    ini.Node("S")->Set("K", "2");
    ini.Set("BAD", "abc");
    ini.SaveAs(folder.Path("app.ini"));
    std::string const missing = "`K' not found in " + folder.Path("app.ini");
    widget_guid_t const guid = Make();
    auto* const serializer = new TypedValue<double>(1);
    EXPECT_TRUE(manager.Bind(guid, serializer) && manager.Bind(guid, serializer)) << "again";
    struct {
        char const* key;
        INIFile* file;
        std::string error;
    } const failures[] = {
        {"K", nullptr, "Bind without a configuration file"},
        {"A=B", &ini, "`A=B' cannot be a key of an INI file"},
        {"BAD", &ini, "`abc' is not a value of its type"},
        {"K", &ini, missing}};
    for (auto const& f : failures) {
        EXPECT_EQ(tests::Thrown([&] { manager.Bind(guid, f.key, f.file); }), f.error);
    }
    EXPECT_EQ(Text(guid), "1");
    manager.Save(&ini, false);
    EXPECT_THAT(ini.Keys(), ElementsAre("BAD", "K")) << "the last binding stands";
    EXPECT_EQ(ini.Get("BAD", "") + ini.Get("K", ""), "abc1");
    EXPECT_TRUE(manager.Bind(guid, "K", ini.Node("S")));
    ini.Node("S")->Erase("K");
    EXPECT_EQ(tests::Thrown([&] { manager.Reload(&ini); }), missing);
    EXPECT_EQ(Text(guid), "2");
}

TEST_F(PanelManagerTest, OneValueThatCannotBeUsedKeepsNoOtherFromTheFile) {
    INIFile ini;
    for (widget_guid_t guid = 0; guid < 4; ++guid) {
        ini.Set("K" + std::to_string(guid), std::to_string(guid));
        manager.Bind(MakeValue(1), "K" + std::to_string(guid), &ini);
    }
    ini.Set("K0", "5");
    ini.Set("K1", "abc");
    ini.Erase("K2");
    ini.Set("K3", "6");
    EXPECT_EQ(tests::Thrown([&] { manager.Reload(&ini); }), "`abc' is not a value of its type");
    EXPECT_EQ(Text(0) + Text(1) + Text(2) + Text(3), "5126");

    manager.Bind(0, nullptr);
    manager.Bind(1, new TypedValue<Mode>(Mode::Nameless));
    manager.Set(3, std::string("7"));
    EXPECT_EQ(tests::Thrown([&] { manager.Save(&ini, false); }), "Save failed: no serializer");
    manager.Detach(0);
    EXPECT_EQ(
        tests::Thrown([&] { manager.Save(&ini, false); }),
        "Save failed: the value of `K1' has no text");
    EXPECT_EQ(ini.Get("K1", "") + ini.Get("K2", "") + ini.Get("K3", ""), "abc27");
}

TEST_F(PanelManagerTest, BindFallsBackToItsDefaultAndWritesIt) {
    std::string const missing = "[WW] INIFile: `K' not found in \n";
    std::string const invalid =
        "Warning: 'K' is not valid: `abc' is not a value of its type. Trying default...\n";
    std::string const cannot = "[EE] PanelManager: Cannot Bind K with default x\n";
    std::string const outside = "11 is outside 0 .. 10";
    std::string const without = "internal error: WidgetCore::Load(K) called without serializer";
    struct {
        char const* inFile; // "" for a missing key
        boost::any any;
        char const* text; // in place of any
        std::string value;
        std::string after;
        std::string output;
    } const cases[] = {
        {"3", 2.0, nullptr, "3", "3", ""},
        {"", 2.0, nullptr, "2", "2", missing},
        {"abc", 2.0, nullptr, "2", "2", invalid},
        {"abc", std::string("2"), nullptr, "1", "abc", invalid},
        {"", 2, nullptr, "1", "", missing},
        {"3", {}, "2.50", "3", "3", ""},
        {"", {}, "2.50", "2.5", "2.50", missing},
        {"abc", {}, "2.50", "2.5", "2.50", invalid},
        {"", {}, "x", "1", "", missing + cannot},
        {"abc", {}, "x", "1", "abc", invalid + cannot},
        {"", 11.0, nullptr, outside, "", missing}, // not of the wrong type
        {"", 1.0, nullptr, without, "", ""},
        {"", {}, "1", without, "", ""},
    };
    for (auto const& c : cases) {
        INIFile ini;
        if (*c.inFile != '\0') {
            ini.Set("K", c.inFile);
        }
        widget_guid_t const guid = c.value == without ? Make() : MakeValue(1);
        std::string value;
        auto const bind = [&] {
            value = tests::Thrown([&] {
                EXPECT_TRUE(
                    c.text ? manager.Bind(guid, "K", &ini, std::string(c.text))
                           : manager.Bind(guid, "K", &ini, c.any));
            });
        };
        EXPECT_EQ(OutputOf(bind), c.output);
        EXPECT_EQ(value == "nothing thrown" ? Text(guid) : value, c.value);
        EXPECT_EQ(ini.Find("K").value_or(""), c.after);
        manager.Detach(guid);
    }
}

TEST_F(PanelManagerTest, SaveAndReloadReachTheWholeFileButNoOther) {
    auto other = std::make_unique<INIFile>();
    INIFile ini;
    INIFile* const section = ini.Node("S");
    RecordingListener listener;
    manager.Register(&listener);
    INIFile* const files[] = {&ini, section, other.get()};
    for (int i = 0; i < 3; ++i) {
        widget_guid_t const guid = MakeValue(6 + i);
        files[i]->Set("K", "5");
        manager.Bind(guid, "K", files[i]);
        manager.Set(guid, boost::any(6.0 + i));
        manager.Register(guid, 0);
    }
    manager.Save(&ini, false);
    EXPECT_EQ(ini.Get("K", "") + section->Get("K", ""), "65") << "no section without the flag";
    other.reset(); // values bound to it do no harm to those of other files
    manager.Save(&ini, true);
    EXPECT_EQ(section->Get("K", ""), "7");
    section->Set("K", "8");
    manager.Reload(&ini);
    EXPECT_EQ(listener.Heard(), "data 8 1; ") << "the other did not change";
}

TEST_F(PanelManagerTest, CleanupDetachesEachOnceInOrder) {
    RecordingListener listener;
    manager.Register(&listener);
    for (int i = 0; i < 3; ++i) {
        manager.Register(Make(), 0);
    }
    manager.AddRef(0, 1, 0);
    manager.Cleanup();
    EXPECT_EQ(listener.Heard(), "detach 1; detach 2; ");
    manager.Cleanup();
    EXPECT_EQ(listener.Heard(), "detach 0; ");
}

TEST_F(PanelManagerTest, StreamsShowEveryWidget) {
    manager.Widget(Make()).cls = "slider";
    manager.Attr(0, "b", "2");
    manager.Attr(0, "a", "it's");
    std::ostringstream address;
    address << static_cast<void const*>(&manager.Find(0));
    EXPECT_EQ(Dump(), "1 widgets:\n0 " + address.str() + " slider a='it's' b='2'\n");
}

TEST(PanelManager, DestructionCountsWhatIsLeft) {
    EXPECT_EQ(
        OutputOf([] {
            PanelManager manager;
            manager.CreateGUID(true);
            manager.CreateGUID(true);
        }),
        "[WW] PanelManager::~PanelManager: Free 2 widgets... probably there is a memory "
        "leakage.\n");
}

} // namespace
