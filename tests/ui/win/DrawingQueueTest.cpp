#include "support/CapturedOutput.h"
#include "ui/win/CDrawingQueue.h"

#include <boost/make_shared.hpp>

#include <gtest/gtest.h>

using namespace ui::win;

namespace {

class Plain : public CWidget {};
class Named : public CWidget {
public:
    char const* getName() const override { return "Named"; }
};

TEST(DrawingQueue, LockRefusesToClearButNotToGrow) {
    CDrawingQueue queue;
    queue.Push({boost::make_shared<Plain>(), boost::make_shared<Plain>()});
    queue.SetLocked(true);
    EXPECT_TRUE(queue.Push(boost::make_shared<Plain>()));
    EXPECT_EQ(queue.Clear(), 0xFFFFFFFFU);
    EXPECT_EQ(queue.Size(), 3U);
    queue.SetLocked(false);
    EXPECT_EQ(queue.Clear(), 3U);
    EXPECT_EQ(queue.Clear(), 0U);
}

TEST(DrawingQueue, AssignmentReplacesItemsAndKeepsFlags) {
    CDrawingQueue queue;
    queue.Push(boost::make_shared<Plain>());
    queue.SetLocked(true);
    CDrawingQueue other;
    other.Enable(false);
    other.Push(boost::make_shared<Plain>());
    queue = other;
    EXPECT_EQ(queue.Items(), other.Items());
    EXPECT_TRUE(queue.IsLocked() && queue.IsEnabled());
    CDrawingQueue const& self = queue;
    queue = self;
    EXPECT_EQ(queue.Size(), 1U);
}

TEST(DrawingQueue, PrintsTheNumberAndTheNames) {
    CDrawingQueue queue;
    queue.Push({boost::make_shared<Plain>(), boost::make_shared<Named>()});
    tests::CapturedOutput const output;
    queue.Print();
    EXPECT_EQ(output.Text(), "2\nCWidget\nNamed\n");
}

} // namespace
