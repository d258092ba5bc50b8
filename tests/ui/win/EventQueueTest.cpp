#include "support/CapturedOutput.h"
#include "support/TestParams.h"
#include "ui/win/CWindowNullCore.h"

#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include <gmock/gmock.h>

#include <string>
#include <utility>

namespace {

using namespace ui::win;
using testing::ElementsAre;

Event Make(std::uint32_t type, std::uint32_t key = 0) {
    Event event;
    event.type = type;
    event.key = key;
    return event;
}

/// Notes who was asked for what.
class Listener : public CWidget {
public:
    Listener(std::string name, std::vector<std::string>& log, bool consume)
        : consumes(consume), m_name(std::move(name)), m_log(log) {}
    char const* getName() const override { return m_name.c_str(); }
    bool Interact(CWindowCoreManager*, Event const& event) override {
        m_log.push_back(m_name + std::to_string(event.type));
        return consumes;
    }
    bool consumes;

private:
    std::string m_name;
    std::vector<std::string>& m_log;
};

struct EventQueue : testing::Test {
    SPDrawingObject Add(std::string const& name, bool consumes, bool enabled = true) {
        auto const widget = boost::make_shared<Listener>(name, log, consumes);
        manager.InsertPlugin(widget, enabled);
        return widget;
    }

    tests::CapturedOutput output;
    std::vector<std::string> log;
    CWindowNullCore manager{tests::MakeParams("None", 100, 100)};
};

TEST_F(EventQueue, PluginsAreToldThePositionInTheirOwnFrame) {
    struct Locator : CWidget {
        bool Interact(CWindowCoreManager*, Event const& event) override {
            seen = event;
            return true;
        }
        Event seen;
    };
    auto const plugin = boost::make_shared<Locator>();
    manager.InsertPlugin(plugin, true);
    Event event = Make(EventMotion);
    event.screenX = 75;
    event.screenY = 25;
    event.worldX = 7; // of a layer that was asked before
    EXPECT_TRUE(manager.Interact(event));
    Event const& seen = plugin->seen;
    EXPECT_EQ(std::make_pair(seen.worldX, seen.worldY), std::make_pair(75.0F, 25.0F));
    EXPECT_EQ(std::make_pair(seen.localX, seen.localY), std::make_pair(75.0F, 25.0F));
    EXPECT_EQ(std::make_pair(seen.deviceX, seen.deviceY), std::make_pair(0.5F, 0.5F));
    EXPECT_EQ(event.worldX, 7) << "the event itself goes on as it came";
}

TEST_F(EventQueue, MaskIsABitIntersection) {
    EXPECT_FALSE(manager.PushEvent(Make(EventKey))) << "nothing is queued at first";
    manager.SetEventMask(2);
    EXPECT_TRUE(manager.PushEvent(Make(3)));
    EXPECT_FALSE(manager.PushEvent(Make(4)));
    EXPECT_FALSE(manager.PushObjectEvent(9));
    manager.SetEventMask(EventObject);
    EXPECT_TRUE(manager.PushObjectEvent(9));
    EXPECT_EQ(
        output.Text(),
        "[II] CWindowCoreManager: Event 3 added to queue\n"
        "[II] CWindowCoreManager: Event 128 added to queue\n");

    std::deque<Event> events(1, Make(EventRelease));
    EXPECT_TRUE(manager.FlushEvent(events));
    EXPECT_EQ(events.size(), 1U) << "flushing neither reads nor clears";
    manager.GetEvents(events);
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[0].type, static_cast<std::uint32_t>(EventRelease));
    EXPECT_EQ(events[1].type, 3U);
    EXPECT_EQ(events[2].key, 9U);
    manager.GetEvents(events);
    EXPECT_EQ(events.size(), 3U);
}

TEST_F(EventQueue, PluginsAreAskedFromTheLastAndTheConsumerMovesThere) {
    Add("a", true);
    Add("off", true, false);
    Add("b", false);
    Add("c", false);
    Event event = Make(EventMotion);
    EXPECT_TRUE(manager.InteractOrPush(event));
    EXPECT_THAT(log, ElementsAre("c2", "b2", "a2"));
    log.clear();
    EXPECT_TRUE(manager.InteractOrPush(event));
    EXPECT_THAT(log, ElementsAre("a2"));
    EXPECT_STREQ(manager.Plugins().front().widget->getName(), "c") << "swapped, not rotated";
}

TEST_F(EventQueue, CaptureGetsKeysAfterPluginsAndBeforeLayers) {
    Listener first("first", log, true);
    Listener second("second", log, false);
    SPDrawingObject const plugin = Add("plugin", false);
    manager.DrawerList().Layers()[0].Push(boost::make_shared<Listener>("layer", log, true));
    manager.DrawerList().Layers()[0].SetViewPortMode(ViewPortPixels);
    manager.Draw();

    manager.CaptureEvent(&first);
    manager.CaptureEvent(&first);
    Event key = Make(EventKey, 's');
    key.screenX = key.screenY = 50;
    EXPECT_TRUE(manager.Interact(key));
    EXPECT_THAT(log, ElementsAre("plugin1", "first1"));
    log.clear();

    manager.CaptureEvent(&second);
    EXPECT_TRUE(manager.Interact(key));
    EXPECT_THAT(log, ElementsAre("first16", "plugin1", "second1", "layer1"));
    log.clear();

    Event both = Make(EventKey | EventMotion);
    both.screenX = both.screenY = 50;
    manager.Interact(both);
    EXPECT_THAT(log, ElementsAre("plugin3", "layer3")) << "only keys, exactly, are captured";
    log.clear();

    manager.ReleaseCapture();
    manager.ReleaseCapture();
    EXPECT_THAT(log, ElementsAre("second16"));
    EXPECT_EQ(manager.Capture(), nullptr);
}

TEST_F(EventQueue, CaptureEndsWithTheLastOfThePluginsOrLayersThatHeldIt) {
    manager.CaptureEvent(Add("plugin", false).get());
    manager.Replace(CDrawerList());
    EXPECT_TRUE(log.empty());
    manager.ReleasePlugins();
    EXPECT_THAT(log, ElementsAre("plugin16"));
    CDrawerList layers;
    layers.Layers()[0].Push(boost::make_shared<Listener>("layer", log, false));
    manager.Replace(layers);
    manager.CaptureEvent(layers.Layers()[0].Items()[0].get());
    std::swap(layers.Layers()[0], layers.Layers()[1]);
    manager.Replace(layers);
    manager.ReleasePlugins();
    EXPECT_THAT(log, ElementsAre("plugin16")) << "it lies in another layer now";
    layers.Layers().clear();
    manager.Replace(layers);
    EXPECT_THAT(log, ElementsAre("plugin16", "layer16"));
    EXPECT_EQ(manager.Capture(), nullptr);
}

TEST_F(EventQueue, WaitingEndsWithAnEventOrAnInterruption) {
    manager.SetEventMask(EventKey);
    std::deque<Event> events;
    bool interrupted = false;
    boost::thread waiter([&] {
        manager.WaitForEvent(events);
        try {
            std::deque<Event> none;
            manager.WaitForEvent(none);
        } catch (boost::thread_interrupted const&) {
            interrupted = true;
        }
    });
    manager.PushEvent(Make(EventKey, 'x'));
    while (true) {
        boost::lock_guard<boost::mutex> const lock(manager.EventLock());
        if (!events.empty()) {
            break;
        }
    }
    waiter.interrupt();
    waiter.join();
    EXPECT_TRUE(interrupted);
    EXPECT_EQ(events.front().key, static_cast<std::uint32_t>('x'));
    EXPECT_TRUE(manager.PushEvent(Make(EventKey))) << "the lock was given back";
}

} // namespace
