#include "support/RecordingCore.h"
#include "ui/win/CDrawerList.h"
#include "ui/win/camera/CWindowCamera2D.h"

#include <boost/make_shared.hpp>

#include <gmock/gmock.h>

#include <functional>

using namespace ui::win;

namespace {

using testing::ElementsAre;
using tests::RecordingCore;

/// Draws a point with its number and keeps the events that it is offered.
class Marker : public CWidget {
public:
    Marker(float number, std::vector<float>& offered, bool consumes = false)
        : m_number(number), m_offered(offered), m_consumes(consumes) {}
    int Draw(CWindowCore* core) override {
        core->SetLineWidth(m_number);
        return 1;
    }
    bool Interact(CWindowCoreManager*, Event const& event) override {
        m_offered.push_back(m_number);
        last = event;
        return m_consumes;
    }
    Event last;

private:
    float m_number;
    std::vector<float>& m_offered;
    bool m_consumes;
};

/// A camera that says when it draws and consumes what it is told to.
class EagerCamera : public CCamera2D {
public:
    EagerCamera() : CCamera2D(0, 0, 20, 10, 0.0) {}
    void Draw(CWindowCore* core) override { core->RunExtension("camera"); }
    bool Interact(CWindowCoreManager*, Event const&) override {
        ++offered;
        return consumes;
    }
    int offered = 0;
    bool consumes = false;
};

Event Press(int x, int y, CWindowEvents_ID type = EventPress) {
    Event event;
    event.type = type;
    event.screenX = x;
    event.screenY = y;
    return event;
}

class Layers : public testing::Test {
protected:
    boost::shared_ptr<Marker> Add(CDrawingQueue& queue, float number, bool consumes = false) {
        auto const marker = boost::make_shared<Marker>(number, offered, consumes);
        queue.Push(marker);
        return marker;
    }
    std::vector<float> offered;
    RecordingCore core{200, 100};
    CWindowLayer layer;
};

TEST_F(Layers, DrawSetsTheViewThenTheCameraThenTheItems) {
    Add(layer, 1);
    EXPECT_EQ(layer.Draw(&core), 1);
    layer.SetViewPort(CWindowViewPort::Fractions(0, 0, 0.5F, 1));
    layer.SetCamera(boost::make_shared<EagerCamera>());
    layer.Enable(false); // stored, but every layer is drawn
    EXPECT_EQ(layer.Draw(&core), 1);
    EXPECT_THAT(
        core.Take(),
        ElementsAre(
            "SetViewPort 0 0 0",
            "SetLineWidth 1",
            "SetViewPort 3 1 1",
            "RunExtension 'camera'",
            "SetLineWidth 1"));
    EXPECT_EQ(layer.LastPixelRectangle(), math::Rect2<int>(0, 0, 100, 100));
}

TEST_F(Layers, EventsMustLieStrictlyInsideTheLastRectangle) {
    auto const marker = Add(layer, 1, true);
    Event early = Press(15, 25);
    EXPECT_FALSE(layer.Interact(&core, early)) << "never drawn";
    layer.SetViewPort(CWindowViewPort::Pixels(10, 20, 110, 70));
    layer.Draw(&core);
    struct {
        int x;
        int y;
        bool inside;
    } const cases[] = {
        {11, 21, true},
        {109, 69, true},
        {10, 45, false},
        {110, 45, false},
        {60, 20, false},
        {60, 70, false},
        {-1000, 45, false}};
    for (auto const& c : cases) {
        Event event = Press(c.x, c.y);
        event.localX = 77;
        EXPECT_EQ(layer.Interact(&core, event), c.inside) << c.x << ' ' << c.y;
        EXPECT_EQ(event.localX, c.inside ? static_cast<float>(c.x - 10) : 77) << "untouched";
        event = Press(c.x, c.y, EventPositionless);
        EXPECT_TRUE(layer.Interact(&core, event)) << "reaches everyone";
    }
}

TEST_F(Layers, EventsAreTranslatedIntoTheLayersFrame) {
    auto const marker = Add(layer, 1);
    layer.SetViewPort(CWindowViewPort::Pixels(10, 20, 110, 70));
    layer.SetCamera(boost::make_shared<EagerCamera>());
    layer.Draw(&core);
    Event event = Press(35, 57);
    event.reserved1[2] = 5;
    EXPECT_FALSE(layer.Interact(&core, event));
    Event const& seen = marker->last;
    EXPECT_EQ(seen.localX, 25);
    EXPECT_EQ(seen.localY, 37);
    EXPECT_EQ(seen.deviceX, 2.0F * 25 / 100 - 1);
    EXPECT_EQ(seen.deviceY, 1 - 2.0F * 37 / 50);
    EXPECT_FLOAT_EQ(seen.worldX, 5);
    EXPECT_FLOAT_EQ(seen.worldY, 7.4F);
    EXPECT_EQ(seen.reserved1[2], 5U);
    EXPECT_EQ(event.worldX, seen.worldX) << "left in the caller's event";
}

TEST_F(Layers, CameraIsAskedBeforeTheItems) {
    Add(layer, 1, true);
    auto const camera = boost::make_shared<EagerCamera>();
    layer.SetCamera(camera);
    layer.Draw(&core);
    Event event = Press(50, 50);
    camera->consumes = true;
    EXPECT_TRUE(layer.Interact(&core, event));
    EXPECT_TRUE(offered.empty());
    camera->consumes = false;
    EXPECT_TRUE(layer.Interact(&core, event));
    EXPECT_THAT(offered, ElementsAre(1));
    event = Press(200, 50);
    layer.Interact(&core, event);
    EXPECT_EQ(camera->offered, 2) << "outside";
}

TEST_F(Layers, ListDrawsUpwardsAndAsksDownwards) {
    CDrawerList list;
    for (int const number : {3, -1, 0}) {
        Add(list.Layers()[number], static_cast<float>(number));
    }
    Add(list.Layers()[0], 0.5F, true);
    Add(list.Layers()[0], 0.75F);
    EXPECT_EQ(list.Draw(&core), 5);
    EXPECT_EQ(core.Count("SetViewPort"), 3U);
    core.log.erase(
        std::remove(core.log.begin(), core.log.end(), "SetViewPort 0 0 0"), core.log.end());
    EXPECT_THAT(
        core.Take(),
        ElementsAre(
            "SetLineWidth -1",
            "SetLineWidth 0",
            "SetLineWidth 0.5",
            "SetLineWidth 0.75",
            "SetLineWidth 3"));
    Event event = Press(50, 50);
    EXPECT_TRUE(list.Interact(&core, event));
    EXPECT_THAT(offered, ElementsAre(3, 0, 0.5F)) << "those behind the consumer are not asked";
}

} // namespace
