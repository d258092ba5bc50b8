#include "drivers/TestWindow.h"
#include "drivers/TestedDrivers.h"
#include "support/CapturedOutput.h"

#include <boost/thread/thread.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <random>

namespace {

using namespace ui::win;
using namespace tests;

/// One application thread: windows come and go while it pushes, refreshes, queries and injects.
void UseWindows(unsigned seed, std::atomic<unsigned>& frames) {
    std::mt19937 random(seed);
    auto const image = boost::make_shared<cimage::TImage<RGB> const>(32, 32);
    for (int round = 0; round < 6; ++round) {
        std::string const driver = DrawingDrivers().front();
        CWindow window(MakeParams(random() % 3 == 0 ? driver + ",None" : driver));
        window.SetEventMask(EventPress | EventMotion);
        window.Subscribe_RefreshComplete([&](cimage::CImage const&) { ++frames; });
        for (int step = 0; step < 60; ++step) {
            int const x = static_cast<int>(random() % 64);
            switch (random() % 10) {
            case 0:
                window.DrawImage(x, x, boost::shared_ptr<cimage::CImage const>(image));
                break;
            case 1:
                window.DrawText(x, x, "stress");
                break;
            case 2:
                window.Refresh(false);
                break;
            case 3:
                window.Refresh(true);
                break;
            case 4:
                window.InjectEvent(MakeEvent(EventPress, x, x));
                window.InjectEvent(MakeEvent(EventMotion, x, x));
                window.InjectEvent(MakeEvent(EventRelease, x, x));
                break;
            case 5: {
                std::string title;
                EXPECT_TRUE(window.GetTitle(title));
                EXPECT_EQ(title, "Test");
                break;
            }
            case 6:
                EXPECT_EQ(window.GrabImage()->Width() % 8, 0U);
                break;
            case 7:
                window.SetSize(static_cast<unsigned>(8 + 8 * (x % 9)), 48);
                break;
            case 8: {
                window.FlushEvent();
                Event event;
                while (window.GetNextEvent(event)) {
                    EXPECT_NE(event.type, static_cast<std::uint32_t>(EventRelease));
                }
                break;
            }
            default:
                window.Clear();
                break;
            }
        }
        if (random() % 2 == 0) {
            window.ResetWindow(MakeParams(DrawingDrivers().front()));
            window.Refresh(false);
        } // and gone, with whatever is still queued
    }
}

TEST(Stress, ManyThreadsWithWindowsOfTheirOwn) {
    CapturedOutput output;
    std::atomic<unsigned> frames{0};
    boost::thread_group threads;
    for (unsigned seed = 1; seed <= 4; ++seed) {
        threads.create_thread([seed, &frames] { UseWindows(seed, frames); });
    }
    threads.join_all();
    EXPECT_GT(frames, 0U);
}

/// Several threads use one window's backend at once through what may be called from any thread.
TEST(Stress, ManyThreadsOnOneBackend) {
    CapturedOutput output;
    auto window = boost::make_shared<CWindow>(MakeParams(DrawingDrivers().front()));
    window->SetEventMask(EventKey);
    boost::shared_ptr<CWindowCoreManager> backend;
    OnBackend(*window, [&](CWindowCoreManager& manager) { backend = manager.shared_from_this(); });
    CDrawerList layers = *window;
    std::atomic<unsigned> refused{0};
    std::atomic<unsigned> received{0};
    boost::thread_group threads;
    for (int i = 0; i < 3; ++i) {
        threads.create_thread([&] {
            for (int step = 0; step < 200; ++step) {
                auto const refresh = boost::make_shared<CWndCommand_Refresh>(layers);
                auto const title = boost::make_shared<CWndCommand_GetTitle>();
                Event key = MakeEvent(EventKey);
                bool const accepted =
                    backend->PushCommand(refresh) && backend->PushCommand(title) &&
                    backend->PushCommand(boost::make_shared<CWndCommand_InjectEvent>(key));
                if (!accepted) {
                    ++refused;
                    continue;
                }
                title->Suspend(); // never left asleep, whatever becomes of the backend
            }
        });
    }
    threads.create_thread([&] {
        std::deque<Event> events;
        while (backend->WaitForEvent(events)) {
            received += static_cast<unsigned>(events.size());
            events.clear();
        }
    });
    threads.create_thread([&] {
        while (received < 100) {
            boost::this_thread::yield();
        }
        backend->PushCommand(boost::make_shared<CWndCommand_Quit>());
    });
    threads.join_all();
    window.reset();
    backend.reset();
    EXPECT_GE(received, 100U);
}

} // namespace
