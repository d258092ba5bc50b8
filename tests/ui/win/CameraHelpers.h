#pragma once

#include "support/TestParams.h"
#include "ui/win/CWindowNullCore.h"

namespace tests {

/// Counts refreshes; its window size and flags can differ from what it was made with.
class CountingManager : public ui::win::CWindowNullCore {
public:
    CountingManager(unsigned width, unsigned height)
        : CWindowNullCore(MakeParams("None", width, height)) {}

    bool Refresh(bool wait) override {
        ++(wait ? waited : queued);
        return true;
    }
    void WindowSize(unsigned width, unsigned height) {
        m_width = width;
        m_height = height;
    }
    void Flags(std::uint32_t flags) { m_flags = flags; }

    int waited = 0;
    int queued = 0;
};

/// An event at a device position.
inline ui::win::Event
At(std::uint32_t type, float x, float y, std::uint32_t button = 0, std::uint32_t state = 0) {
    ui::win::Event event;
    event.type = type;
    event.button = button;
    event.state = state;
    event.deviceX = x;
    event.deviceY = y;
    return event;
}

} // namespace tests
