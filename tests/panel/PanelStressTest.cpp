#include "examples/panel_terminal.h"
#include "kiv/ini/INIFile.h"
#include "tests/panel/RecordingListener.h"
#include "ui/panel/Conf.h"
#include "ui/panel/PanelManager.h"
#include "ui/panel/Value.h"
#include "ui/panel/Widget.h"

#include <boost/thread/barrier.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/thread.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <sstream>
#include <string>

namespace {

using ui::null_guid;
using ui::PanelManagerInstance;
using ui::var::Value;
using ui::wgt::Widget;

constexpr int kRounds = 300;

std::size_t WidgetCount() {
    boost::lock_guard<boost::mutex> const lock(PanelManagerInstance()->Mutex());
    std::ostringstream dump;
    dump << *PanelManagerInstance();
    return std::stoul(dump.str());
}

// Everything that a client does with handles, on widgets of its own and one that all share.
void UseHandles(Widget const& shared, Value<double> value, int number) {
    for (int i = 0; i < kRounds; ++i) {
        Widget panel("panel", null_guid);
        Value<int> item(number, {0, 100, {}});
        Widget const copy(shared);
        {
            Widget child("child", null_guid);
            child.Add(Widget(item.GUID()));
            panel.Add(child);
        }
        panel.Ref(shared.GUID()).Attr("visible", "TRUE");
        item = i % 100;
        value = i * 0.5;
        EXPECT_EQ(item, i % 100);
        EXPECT_GE(value.Get(), 0.0);
        Widget const clone = panel.Clone();
        Widget const clonedAgain = clone;
        EXPECT_EQ(copy.Class(), "shared");
        // Made by whoever comes first, freed by whoever goes last, and pointed at meanwhile.
        Widget const common("common", 1000000);
        panel.Ref(common.GUID());
        EXPECT_EQ(common.Class(), "common");
        EXPECT_EQ(Widget(item.GUID()).Parent().Parent().GUID(), panel.GUID());
        panel.IsActive();
        panel.Ref(item.GUID()).Attr("visible", i % 2 ? "TRUE" : "FALSE");
    }
}

// Listeners that come and go.
void Listen() {
    for (int i = 0; i < kRounds; ++i) {
        RecordingListener listener(i % 2 != 0);
        int const slot = PanelManagerInstance()->Register(&listener);
        boost::this_thread::yield();
        PanelManagerInstance()->UnRegister(slot);
    }
}

TEST(PanelStress, ManyThreadsLeaveExactCountsAndNothingBehind) {
    testing::internal::CaptureStdout();
    {
        kiv::ini::INIFile ini;
        Widget shared("shared", null_guid);
        Value<double> const value("GAIN", &ini, 1.0);
        value.Get();
        std::istringstream noInput;
        std::ostringstream output;
        PanelTerminal terminal(noInput, output);
        shared.Attr("visible", "TRUE");
        boost::thread_group threads;
        for (int i = 0; i < 4; ++i) {
            threads.create_thread([&, i] { UseHandles(shared, value, i); });
        }
        threads.create_thread(Listen);
        threads.create_thread(Listen);
        threads.create_thread([&] {
            for (int i = 0; i < kRounds; ++i) {
                ui::conf::Save(&ini);
                ui::conf::Load(&ini);
                PanelManagerInstance()->CreateGUID(true); // collected below
            }
        });
        threads.join_all();
        EXPECT_EQ(PanelManagerInstance()->RefCount(shared.GUID()), 1U);
        EXPECT_EQ(PanelManagerInstance()->RefCount(value.GUID()), 1U);
        EXPECT_EQ(WidgetCount(), kRounds + 2U);
        shared = Widget("last", null_guid);
    }
    PanelManagerInstance()->Cleanup();
    EXPECT_EQ(WidgetCount(), 0U);
    testing::internal::GetCapturedStdout();
}

} // namespace
