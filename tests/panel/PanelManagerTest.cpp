#include "ui/panel/PanelManager.h"

#include "support/OutputFolder.h"
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

std::string ErrorOf(std::function<void()> const& action) {
    try {
        action();
    } catch (std::runtime_error const& error) {
        return error.what();
    }
    return "nothing thrown";
}

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
    bool Lives(widget_guid_t guid) { return manager.HasAttr(guid, "alive") || Try(guid); }
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

private:
    bool Try(widget_guid_t guid) { return manager.Attr(guid, "alive", ""); }
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
    EXPECT_EQ(ErrorOf([&] { manager.AddRef(9, 1, 0); }), "AddRef on an unregistered GUID");
    EXPECT_EQ(ErrorOf([&] { manager.RefCount(9); }), "GUID not found in RefCount()");
    EXPECT_EQ(ErrorOf([&] { manager.Find(9); }), "Find: GUID not found");
    EXPECT_EQ(ErrorOf([&] { manager.UnsafeFind(9); }), "ExistWidget: GUID not found");
    EXPECT_EQ(ErrorOf([&] { manager.ReadAttr(9, "a"); }), "guid not found");
    EXPECT_EQ(ErrorOf([&] { manager.ReadAttr(known, "a"); }), "Attribute a not found");
    for (auto const& action : std::initializer_list<std::function<void()>>{
             [&] { manager.Attach(known, 9); },
             [&] { manager.Attach(9, known); },
             [&] { manager.Link(known, 9); },
             [&] { manager.Link(9, known); },
             [&] { manager.Clone(9, null_guid); },
             [&] { manager.Clone(known, 9); },
             [&] { manager.Show(9, true); },
             [&] { manager.Register(9, 0); },
             [&] { manager.Register(known, 32); },
             [&] { manager.UnRegister(known, -1); },
             [&] { manager.Register(nullptr); },
             [&] { manager.Widget(null_guid); }}) {
        EXPECT_NE(ErrorOf(action), "nothing thrown");
    }
    EXPECT_FALSE(manager.Release(9));
    EXPECT_FALSE(manager.Detach(9));
    EXPECT_FALSE(manager.Attr(9, "a", "b"));
    EXPECT_FALSE(manager.HasAttr(9, "a"));
    EXPECT_FALSE(manager.Bind(9, "k", &ini));
    EXPECT_FALSE(manager.Bind(9, "k", &ini, std::string("x")));
    EXPECT_FALSE(manager.Bind(9, "k", &ini, boost::any(1)));
    EXPECT_FALSE(manager.Bind(9, new TypedValue<int>(1)));
    EXPECT_FALSE(manager.Update(9));
    EXPECT_FALSE(manager.NotifyDataChanged(9));
    EXPECT_EQ(manager.Parent(9), null_guid);
    EXPECT_EQ(Count(known), 1U);
    EXPECT_TRUE(manager.Find(known).children.empty());
    EXPECT_TRUE(manager.Find(known).links.empty());
}

TEST_F(PanelManagerTest, ReferencesOnAParentCountForEverythingBelow) {
    widget_guid_t const parent = Make();
    widget_guid_t const child = Make();
    widget_guid_t const grandchild = Make();
    manager.Attach(child, grandchild);
    manager.Attach(parent, child);
    unsigned const before[] = {Count(parent), Count(child), Count(grandchild)};
    manager.AddRef(parent, 2, 0);
    EXPECT_EQ(Count(parent), before[0] + 2);
    EXPECT_EQ(Count(child), before[1] + 2);
    EXPECT_EQ(Count(grandchild), before[2] + 2);
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
    EXPECT_THAT(manager.Find(first).children, ElementsAre(child));
    EXPECT_EQ(Count(child), 6U);
    manager.Attach(second, child);
    EXPECT_THAT(manager.Find(first).children, ElementsAre());
    EXPECT_EQ(manager.Parent(child), second);
    EXPECT_EQ(Count(child), 2U);
    EXPECT_NE(ErrorOf([&] { manager.Attach(child, second); }), "nothing thrown");
    EXPECT_NE(ErrorOf([&] { manager.Attach(child, child); }), "nothing thrown");
    // A child that outlives its parent has none.
    manager.Release(second);
    EXPECT_EQ(manager.Parent(child), null_guid);
    EXPECT_EQ(Count(child), 1U);
    // One that was given up too often has nothing left to take along.
    widget_guid_t const third = Make();
    manager.Attach(first, child);
    manager.AddRef(child, -4, 0);
    manager.Attach(third, child);
    EXPECT_EQ(Count(child), 0U);
    manager.AddRef(child, -1, 0);
    EXPECT_EQ(Count(child), 0U);
}

TEST_F(PanelManagerTest, RecordsWithoutAReferenceHaveNoneToDropBelowThem) {
    widget_guid_t const top = 20;
    widget_guid_t const unowned = 21;
    widget_guid_t const owned = Make();
    manager.Widget(top);
    manager.Widget(unowned);
    manager.Attach(top, owned);
    manager.Attach(top, unowned);
    EXPECT_TRUE(manager.Release(top));
    EXPECT_FALSE(Lives(top) || Lives(unowned));
    ASSERT_TRUE(Lives(owned));
    EXPECT_EQ(Count(owned), 1U);
    EXPECT_EQ(manager.Parent(owned), null_guid);
}

TEST_F(PanelManagerTest, LinksHoldAReferenceUntilTheirOwnerDies) {
    widget_guid_t const owner = Make();
    widget_guid_t const target = Make();
    manager.Link(owner, target);
    manager.Link(owner, target);
    EXPECT_EQ(Count(target), 3U);
    EXPECT_TRUE(manager.UnLink(owner, target));
    EXPECT_EQ(Count(target), 2U);
    manager.Detach(target);
    RecordingListener listener;
    manager.Register(target, manager.Register(&listener));
    manager.AddRef(owner, 1, 0);
    manager.Release(owner);
    EXPECT_TRUE(Lives(target));
    EXPECT_EQ(listener.Heard(), "attr 1; ");
    manager.Release(owner);
    EXPECT_FALSE(Lives(target));
    EXPECT_EQ(listener.Heard(), "detach 1; ") << "a link is given up by detaching";
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
    manager.Link(a, b);
    manager.Link(b, a);
    manager.Detach(a);
    manager.Detach(b);
    EXPECT_TRUE(manager.Detach(a)) << "they keep each other";
    EXPECT_FALSE(Lives(a) || Lives(b));

    widget_guid_t const c = Make();
    widget_guid_t const d = Make();
    widget_guid_t const e = Make();
    manager.Ref(c, d);
    manager.Link(d, c);
    manager.Detach(c);
    manager.Detach(d);
    manager.Ref(c, e);
    EXPECT_FALSE(Lives(c) || Lives(d)) << "the link that was let go kept both";
    EXPECT_EQ(Count(e), 1U);
}

TEST_F(PanelManagerTest, ListenersTakeTheFirstFreeSlotOfThirtyTwo) {
    std::deque<RecordingListener> listeners(33);
    for (int i = 0; i < 32; ++i) {
        EXPECT_EQ(manager.Register(&listeners[static_cast<std::size_t>(i)]), i);
    }
    EXPECT_EQ(ErrorOf([&] { manager.Register(&listeners[32]); }), "too much listener");
    widget_guid_t const guid = Make();
    manager.Register(guid, 5);
    manager.Register(guid, 31);
    EXPECT_TRUE(manager.UnRegister(5));
    manager.Attr(guid, "k", "v");
    EXPECT_EQ(listeners[5].Heard(), "") << "gone";
    EXPECT_EQ(listeners[31].Heard(), "attr 0; ");
    EXPECT_EQ(manager.Register(&listeners[32]), 5);
    EXPECT_FALSE(manager.UnRegister(32));
    EXPECT_FALSE(manager.UnRegister(-1));
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
    EXPECT_TRUE(manager.NotifyDataChanged(guid));
    EXPECT_TRUE(manager.Update(guid));
    EXPECT_EQ(takes.Heard(), "show 0; attr 0; data 1 0; update 0; ");
    EXPECT_EQ(declines.Heard(), "show 0; ");
    manager.Attr(guid, "visible", "true"); // only "TRUE" shows
    manager.Attr(guid, "visible", "TRUE");
    EXPECT_EQ(takes.Heard(), "attr 0; hide 0; attr 0; show 0; ");
    EXPECT_EQ(declines.Heard(), "show 0; ");
    manager.AddRef(guid, 1, 0);
    manager.Detach(guid);
    EXPECT_EQ(takes.Heard(), "") << "not the last reference";
    manager.Detach(guid);
    EXPECT_EQ(takes.Heard(), "detach 0; ");

    widget_guid_t const plain = Make();
    manager.Show(plain, true);
    EXPECT_FALSE(manager.NotifyDataChanged(plain)) << "without a value";
    EXPECT_FALSE(manager.Update(plain));
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
    EXPECT_EQ(first.Heard(), "");
    EXPECT_EQ(current.Heard(), "show 0; ");
    manager.UnRegister(guid, slot);
    manager.Register(guid, 0);
    manager.Show(guid, false);
    EXPECT_EQ(first.Heard() + current.Heard(), "") << "the current one does not know it";
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
    EXPECT_EQ(manager.Parent(copiedValue), copy);
    EXPECT_EQ(manager.Class(copy), "panel");
    EXPECT_EQ(manager.ReadAttr(copy, "label"), "x");
    EXPECT_EQ(Text(copiedValue), "3");
    EXPECT_FALSE(manager.IsActive(copy));
    EXPECT_EQ(Count(copiedValue), 1U) << "the panel's reference";
    EXPECT_EQ(Count(target), 3U) << "its creator's and both links'";
    manager.Save(&ini, true);
    EXPECT_EQ(ini.Get("K", ""), "4") << "the copy is not bound";
    EXPECT_EQ(Count(manager.Clone(value, null_guid)), 0U);

    manager.AddRef(target, -5, 0);
    manager.Release(target); // behind the backs of those that link to it
    widget_guid_t const later = manager.Clone(value, null_guid);
    EXPECT_THAT(manager.Find(later).links, ElementsAre());
}

TEST_F(PanelManagerTest, BindWithoutDefaultWantsTheKey) {
    tests::OutputFolder const folder;
    INIFile ini;
    ini.Node("S")->Set("K", "2");
    ini.Set("BAD", "abc");
    ini.SaveAs(folder.Path("app.ini"));
    std::string const missing = "`K' not found in " + folder.Path("app.ini");
    widget_guid_t const guid = MakeValue(1);
    EXPECT_EQ(
        ErrorOf([&] { manager.Bind(guid, "BAD", &ini); }), "`abc' is not a value of its type");
    EXPECT_EQ(
        ErrorOf([&] { manager.Bind(guid, "K", nullptr); }), "Bind without a configuration file");
    EXPECT_EQ(ErrorOf([&] { manager.Bind(guid, "K", &ini); }), missing);
    EXPECT_EQ(Text(guid), "1");
    manager.Save(&ini, false);
    EXPECT_EQ(ini.Get("K", ""), "1") << "the binding stands";
    EXPECT_EQ(ini.Get("BAD", ""), "abc");
    EXPECT_TRUE(manager.Bind(guid, "K", ini.Node("S")));
    EXPECT_EQ(Text(guid), "2");
    ini.Node("S")->Erase("K");
    EXPECT_EQ(ErrorOf([&] { manager.Reload(&ini); }), missing);
    EXPECT_EQ(Text(guid), "2");
}

TEST_F(PanelManagerTest, KeysThatNoFileCanHoldAreRefusedBeforeTheyAreBound) {
    INIFile ini;
    widget_guid_t const guid = MakeValue(1);
    std::string const refusal = "`A=B' cannot be a key of an INI file";
    EXPECT_EQ(ErrorOf([&] { manager.Bind(guid, "A=B", &ini); }), refusal);
    EXPECT_EQ(ErrorOf([&] { manager.Bind(guid, "A=B", &ini, boost::any(2.0)); }), refusal);
    EXPECT_EQ(ErrorOf([&] { manager.Bind(guid, "A=B", &ini, std::string("2")); }), refusal);
    EXPECT_EQ(Text(guid), "1");
    manager.Save(&ini, true);
    EXPECT_THAT(ini.Keys(), ElementsAre());
}

TEST_F(PanelManagerTest, OneValueThatCannotBeUsedKeepsNoOtherFromTheFile) {
    INIFile ini;
    widget_guid_t const guids[] = {MakeValue(1), MakeValue(2), MakeValue(3), MakeValue(4)};
    for (int i = 0; i < 4; ++i) {
        ini.Set("K" + std::to_string(i), std::to_string(i));
        manager.Bind(guids[i], "K" + std::to_string(i), &ini);
    }
    ini.Set("K0", "5");
    ini.Set("K1", "abc");
    ini.Erase("K2");
    ini.Set("K3", "6");
    EXPECT_EQ(ErrorOf([&] { manager.Reload(&ini); }), "`abc' is not a value of its type");
    EXPECT_EQ(Text(0) + Text(1) + Text(2) + Text(3), "5126");

    manager.Bind(guids[0], nullptr);
    manager.Bind(guids[1], new TypedValue<Mode>(Mode::Nameless));
    manager.Set(guids[3], std::string("7"));
    EXPECT_EQ(ErrorOf([&] { manager.Save(&ini, false); }), "Save failed: no serializer");
    manager.Detach(guids[0]);
    EXPECT_EQ(
        ErrorOf([&] { manager.Save(&ini, false); }), "Save failed: the value of `K1' has no text");
    EXPECT_EQ(ini.Get("K1", ""), "abc");
    EXPECT_EQ(ini.Get("K2", "") + ini.Get("K3", ""), "27");
}

TEST_F(PanelManagerTest, TheSameSerializerMayBeBoundAgain) {
    widget_guid_t const guid = Make();
    auto* const serializer = new TypedValue<double>(3);
    manager.Bind(guid, serializer);
    EXPECT_TRUE(manager.Bind(guid, serializer));
    EXPECT_EQ(Text(guid), "3");
}

TEST_F(PanelManagerTest, BindFallsBackToItsDefaultAndWritesIt) {
    std::string const missing = "[WW] INIFile: `K' not found in \n";
    std::string const invalid =
        "Warning: 'K' is not valid: `abc' is not a value of its type. Trying default...\n";
    std::string const cannot = "[EE] PanelManager: Cannot Bind K with default x\n";
    struct {
        char const* inFile; // null for a missing key
        boost::any any;
        char const* text; // in place of any
        char const* value;
        char const* after;
        std::string output;
    } const cases[] = {
        {"3", 2.0, nullptr, "3", "3", ""},
        {nullptr, 2.0, nullptr, "2", "2", missing},
        {"abc", 2.0, nullptr, "2", "2", invalid},
        {"abc", std::string("2"), nullptr, "1", "abc", invalid},
        {nullptr, 2, nullptr, "1", nullptr, missing},
        {"3", {}, "2.50", "3", "3", ""},
        {nullptr, {}, "2.50", "2.5", "2.50", missing},
        {"abc", {}, "2.50", "2.5", "2.50", invalid},
        {nullptr, {}, "x", "1", nullptr, missing + cannot},
        {"abc", {}, "x", "1", "abc", invalid + cannot},
    };
    for (auto const& c : cases) {
        INIFile ini;
        if (c.inFile) {
            ini.Set("K", c.inFile);
        }
        widget_guid_t const guid = MakeValue(1);
        bool bound = false;
        EXPECT_EQ(
            OutputOf([&] {
                bound = c.text ? manager.Bind(guid, "K", &ini, std::string(c.text))
                               : manager.Bind(guid, "K", &ini, c.any);
            }),
            c.output);
        EXPECT_TRUE(bound);
        EXPECT_EQ(Text(guid), c.value);
        EXPECT_EQ(ini.Find("K"), c.after ? std::optional<std::string>(c.after) : std::nullopt);
        manager.Detach(guid);
    }
    INIFile ini;
    widget_guid_t const guid = Make();
    std::string const error = "internal error: WidgetCore::Load(K) called without serializer";
    EXPECT_EQ(ErrorOf([&] { manager.Bind(guid, "K", &ini, boost::any(1.0)); }), error);
    EXPECT_EQ(ErrorOf([&] { manager.Bind(guid, "K", &ini, std::string("1")); }), error);
    EXPECT_EQ(ErrorOf([&] { manager.Save(&ini, false); }), "Save failed: no serializer");
    // A default outside the limits is no default of the wrong type.
    widget_guid_t const limited = MakeValue(1);
    OutputOf([&] {
        EXPECT_EQ(
            ErrorOf([&] { manager.Bind(limited, "L", &ini, boost::any(11.0)); }),
            "11 is outside 0 .. 10");
    });
    EXPECT_FALSE(ini.Has("L"));
}

TEST_F(PanelManagerTest, SaveAndReloadReachTheWholeFileButNoOther) {
    auto other = std::make_unique<INIFile>();
    INIFile ini;
    INIFile* const section = ini.Node("S");
    RecordingListener listener;
    manager.Register(&listener);
    widget_guid_t const guids[] = {MakeValue(1), MakeValue(2), MakeValue(3)};
    INIFile* const files[] = {&ini, section, other.get()};
    OutputOf([&] {
        for (int i = 0; i < 3; ++i) {
            manager.Bind(guids[i], "K", files[i], boost::any(5.0));
            manager.Set(guids[i], boost::any(6.0 + i));
            manager.Register(guids[i], 0);
        }
    });
    manager.Save(&ini, false);
    EXPECT_EQ(ini.Get("K", ""), "6");
    EXPECT_EQ(section->Get("K", ""), "5") << "not without the flag";
    other.reset(); // values bound to it do no harm to those of other files
    manager.Save(&ini, true);
    EXPECT_EQ(section->Get("K", ""), "7");
    section->Set("K", "8");
    manager.Reload(&ini);
    EXPECT_EQ(Text(guids[1]), "8");
    EXPECT_EQ(listener.Heard(), "data 6 0; data 8 1; ");
}

TEST_F(PanelManagerTest, CleanupDetachesEachOnceInOrder) {
    RecordingListener listener;
    int const slot = manager.Register(&listener);
    widget_guid_t const twice = Make();
    widget_guid_t const once = Make();
    manager.AddRef(twice, 1, 0);
    manager.Register(twice, slot);
    manager.Register(once, slot);
    manager.Cleanup();
    EXPECT_EQ(listener.Heard(), "detach 1; ");
    EXPECT_EQ(Count(twice), 1U);
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
    EXPECT_EQ(OutputOf([] { PanelManager(); }), "");
}

} // namespace
