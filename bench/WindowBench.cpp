#include "bench/Compare.h"
#include "ui/win/CWindow.h"
#include "ui/win/CWindowNullCore.h"
#include "ui/win/drawables/CWidgets.h"

#include <boost/make_shared.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include <malloc.h>

#include <memory>
#include <utility>
#include <vector>

namespace bench {

namespace {

using ui::win::CWidget;
using ui::win::CWindow;
using ui::win::Event;
using ui::win::SPDrawingObject;

using Items = std::vector<SPDrawingObject>;

CWindow MakeWindow(char const* driver) {
    ui::win::CreationParams params;
    params.driver = driver;
    params.title = "bench";
    params.width = 640;
    params.height = 480;
    return CWindow(params);
}

Items MakeBoxes(std::size_t count) {
    Items items;
    items.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        items.push_back(boost::make_shared<ui::win::Box>(1.0, 2.0, 3.0, 4.0));
    }
    return items;
}

void Push(benchmark::State& state) {
    CWindow window = MakeWindow("None");
    for (auto _ : state) {
        for (int i = 0; i < 1000000; ++i) {
            window.DrawBox(1.0, 2.0, 3.0, 4.0, true);
        }
        state.PauseTiming();
        window.ClearAllLayers();
        state.ResumeTiming();
    }
}

void PushBack(benchmark::State& state) {
    for (auto _ : state) {
        Items items;
        for (int i = 0; i < 1000000; ++i) {
            items.push_back(boost::make_shared<ui::win::Box>(1.0, 2.0, 3.0, 4.0));
        }
        benchmark::DoNotOptimize(items.data());
        state.PauseTiming();
        items = Items();
        state.ResumeTiming();
    }
}

void HandOver(benchmark::State& state) {
    CWindow window = MakeWindow("None");
    window.Layer(0).Push(MakeBoxes(100000));
    for (auto _ : state) {
        window.Refresh();
    }
}

void CopyTwice(benchmark::State& state) {
    Items const items = MakeBoxes(100000);
    Items kept;
    for (auto _ : state) {
        auto const command = std::make_unique<Items const>(items);
        Items adopted = *command;
        kept.swap(adopted); // the copy of the refresh before goes
        benchmark::DoNotOptimize(kept.data());
    }
}

void RoundTrip(benchmark::State& state) {
    CWindow window = MakeWindow("Offscreen");
    int x = 0;
    int y = 0;
    for (auto _ : state) {
        window.GetPosition(x, y);
    }
    benchmark::DoNotOptimize(x + y);
}

/// A request to another thread and its answer, with nothing around them.
void HandOff(benchmark::State& state) {
    boost::mutex mutex;
    boost::condition_variable changed;
    bool asked = false;
    bool answered = false;
    bool ended = false;
    boost::thread worker([&] {
        boost::unique_lock<boost::mutex> lock(mutex);
        while (!ended) {
            while (!asked && !ended) {
                changed.wait(lock);
            }
            asked = false;
            answered = true;
            changed.notify_all();
        }
    });
    for (auto _ : state) {
        boost::unique_lock<boost::mutex> lock(mutex);
        asked = true;
        answered = false;
        changed.notify_all();
        while (!answered) {
            changed.wait(lock);
        }
    }
    {
        boost::lock_guard<boost::mutex> const lock(mutex);
        ended = true;
    }
    changed.notify_all();
    worker.join();
}

/// Does nothing but count the boxes that reach it.
class CountingCore : public ui::win::CWindowNullCore {
public:
    using CWindowNullCore::CWindowNullCore;
    bool DrawBox(double, double, double, double, bool) override {
        ++boxes;
        return true;
    }
    std::size_t boxes = 0;
};

ui::win::CreationParams CoreParams() {
    ui::win::CreationParams params;
    params.width = 640;
    params.height = 480;
    return params;
}

void Replay(benchmark::State& state) {
    CountingCore core(CoreParams());
    core.DrawerList().Layers()[0].Push(MakeBoxes(1000000));
    for (auto _ : state) {
        core.Draw();
    }
    benchmark::DoNotOptimize(core.boxes);
}

void BareReplay(benchmark::State& state) {
    CountingCore core(CoreParams());
    Items const items = MakeBoxes(1000000);
    for (auto _ : state) {
        for (SPDrawingObject const& item : items) {
            item->Draw(&core);
        }
    }
    benchmark::DoNotOptimize(core.boxes);
}

class Declining : public CWidget {
public:
    bool Interact(ui::win::CWindowCoreManager*, Event const& event) override {
        asked += event.type;
        return false;
    }
    std::size_t asked = 0;
};

constexpr int pluginCount = 20;
constexpr int layerCount = 10;
constexpr int itemsPerLayer = 1000;

Items MakeDeclining(int count) {
    Items items;
    for (int i = 0; i < count; ++i) {
        items.push_back(boost::make_shared<Declining>());
    }
    return items;
}

Event Motion() {
    Event event;
    event.type = ui::win::EventMotion;
    event.screenX = 100;
    event.screenY = 100;
    return event;
}

void OfferEvent(benchmark::State& state) {
    CountingCore core(CoreParams());
    for (SPDrawingObject const& plugin : MakeDeclining(pluginCount)) {
        core.InsertPlugin(plugin, true);
    }
    for (int layer = 0; layer < layerCount; ++layer) {
        core.DrawerList().Layers()[layer].Push(MakeDeclining(itemsPerLayer));
    }
    core.Draw(); // layers take events where they were drawn
    Event event = Motion();
    for (auto _ : state) {
        benchmark::DoNotOptimize(core.InteractOrPush(event));
    }
}

void BareOffer(benchmark::State& state) {
    CountingCore core(CoreParams());
    std::vector<Items> lists;
    lists.push_back(MakeDeclining(pluginCount));
    for (int layer = 0; layer < layerCount; ++layer) {
        lists.push_back(MakeDeclining(itemsPerLayer));
    }
    Event const event = Motion();
    for (auto _ : state) {
        bool consumed = false;
        for (Items const& items : lists) {
            for (SPDrawingObject const& item : items) {
                consumed = item->Interact(&core, event) || consumed;
            }
        }
        benchmark::DoNotOptimize(consumed);
    }
}

double AllocatedBytes() {
    struct mallinfo2 const info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

constexpr unsigned bigWidth = 1920;
constexpr unsigned bigHeight = 1080;

/// Bytes that an Offscreen window holds after a refresh, in frame buffers of its size.
double WindowMemory() {
    ui::win::CreationParams params = CoreParams();
    params.driver = "Offscreen";
    params.width = bigWidth;
    params.height = bigHeight;
    CWindow const warmUp(params); // loads the driver
    double const before = AllocatedBytes();
    CWindow window(params);
    window.Refresh(true);
    double const after = AllocatedBytes();
    return (after - before) / (4.0 * bigWidth * bigHeight);
}

/// Bytes left over by a hundred windows that came and went, in frame buffers of one.
double WindowLeftOver() {
    ui::win::CreationParams params = CoreParams();
    params.driver = "Offscreen";
    double before = 0;
    for (int i = 0; i < 101; ++i) {
        CWindow window(params);
        window.DrawText(10, 10, "text");
        window.Refresh(true);
        if (i == 0) {
            before = AllocatedBytes();
        } else if (i == 100) {
            return (AllocatedBytes() - before) / (4.0 * params.width * params.height);
        }
    }
    return 0;
}

} // namespace

void RegisterWindowFigures() {
    Compare("push 1,000,000 drawables", "make_shared + push_back", 1.3, Push, PushBack);
    Compare("Refresh of 100,000 drawables", "copying the vectors twice", 1.2, HandOver, CopyTwice);
    Compare("waited-for command on Offscreen", "a bare hand-off", 1.5, RoundTrip, HandOff);
    Compare("replay 1,000,000 drawables", "a bare loop of calls", 1.2, Replay, BareReplay);
    Compare(
        "event past 20 plugins, 10 layers of 1,000",
        "a bare loop of calls",
        1.5,
        OfferEvent,
        BareOffer);
    Report("memory of a 1080p window", "its RGBA frame", 1.2, WindowMemory);
    Report("memory left by 100 windows", "one RGBA frame", 0.1, WindowLeftOver);
}

} // namespace bench
