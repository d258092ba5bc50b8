#include "support/CapturedOutput.h"
#include "ui/win/CDrawingQueue.h"

#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>

#include <gmock/gmock.h>

using namespace ui::win;

namespace {

using testing::ElementsAre;

/// Writes its number down when it is drawn or offered an event.
class Noted : public CWidget {
public:
    Noted(int number, std::vector<int>& notes, bool consumes = false)
        : m_number(number), m_notes(notes), m_consumes(consumes) {}
    int Draw(CWindowCore*) override {
        m_notes.push_back(m_number);
        return 0;
    }
    bool Interact(CWindowCoreManager*, Event const&) override {
        m_notes.push_back(m_number);
        return m_consumes;
    }

private:
    int m_number;
    std::vector<int>& m_notes;
    bool m_consumes;
};

class Plain : public CWidget {};
class Named : public CWidget {
public:
    char const* getName() const override { return "Named"; }
};

class DrawingQueue : public testing::Test {
protected:
    SPDrawingObject Note(int number, bool consumes = false) {
        return boost::make_shared<Noted>(number, notes, consumes);
    }
    std::vector<int> notes;
    CDrawingQueue queue;
};

TEST_F(DrawingQueue, DrawsInPushOrderAndCountsWhatDrewNothing) {
    EXPECT_TRUE(queue.Push(Note(1)));
    EXPECT_TRUE(queue.Push({Note(2), Note(3)}));
    EXPECT_EQ(queue.Draw(nullptr), 3);
    EXPECT_THAT(notes, ElementsAre(1, 2, 3));
}

TEST_F(DrawingQueue, FirstConsumerEndsTheWalk) {
    queue.Push({Note(1), Note(2, true), Note(3, true)});
    EXPECT_TRUE(queue.Interact(nullptr, Event()));
    EXPECT_THAT(notes, ElementsAre(1, 2));
    CDrawingQueue deaf;
    deaf.Push(Note(4));
    EXPECT_FALSE(deaf.Interact(nullptr, Event()));
}

TEST_F(DrawingQueue, LockRefusesToClearButNotToGrow) {
    queue.Push({Note(1), Note(2)});
    queue.SetLocked(true);
    EXPECT_TRUE(queue.Push(Note(3)));
    EXPECT_EQ(queue.Clear(), 0xFFFFFFFFU);
    EXPECT_EQ(queue.Size(), 3U);
    queue.SetLocked(false);
    EXPECT_EQ(queue.Clear(), 3U);
    EXPECT_EQ(queue.Clear(), 0U);
}

TEST_F(DrawingQueue, AssignmentReplacesItemsAndKeepsFlags) {
    queue.Push(Note(1));
    queue.SetLocked(true);
    CDrawingQueue other;
    other.Enable(false);
    other.Push(Note(2));
    queue = other;
    EXPECT_EQ(queue.Items(), other.Items());
    EXPECT_TRUE(queue.IsLocked() && queue.IsEnabled());
    CDrawingQueue const& self = queue;
    queue = self;
    EXPECT_EQ(queue.Size(), 1U);
}

TEST_F(DrawingQueue, ItemsLiveUntilTheLastListLetsGo) {
    auto item = boost::make_shared<Plain>();
    boost::weak_ptr<CWidget> const watch = item;
    queue.Push(item);
    item.reset();
    CDrawingQueue snapshot = queue;
    queue.Clear();
    EXPECT_FALSE(watch.expired());
    snapshot.Clear();
    EXPECT_TRUE(watch.expired());
}

TEST_F(DrawingQueue, PrintsTheNumberAndTheNames) {
    queue.Push({boost::make_shared<Plain>(), boost::make_shared<Named>()});
    tests::CapturedOutput const output;
    queue.Print();
    EXPECT_EQ(output.Text(), "2\nCWidget\nNamed\n");
}

} // namespace
