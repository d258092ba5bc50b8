#pragma once

#include "support/RecordingCore.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace tests {

inline ui::win::Event PointerEvent(std::uint32_t type, float x, float y, std::uint32_t button) {
    ui::win::Event event;
    event.type = type;
    event.worldX = x;
    event.worldY = y;
    event.button = button;
    return event;
}
inline ui::win::Event Press(float x, float y, std::uint32_t button = ui::win::ButtonLeft) {
    return PointerEvent(ui::win::EventPress, x, y, button);
}
inline ui::win::Event Release(float x, float y) {
    return PointerEvent(ui::win::EventRelease, x, y, ui::win::ButtonLeft);
}
inline ui::win::Event Motion(float x, float y, std::uint32_t held = 0) {
    ui::win::Event event = PointerEvent(ui::win::EventMotion, x, y, 0);
    event.state = held;
    return event;
}
inline ui::win::Event Key(std::uint32_t key, std::uint32_t state = 0) {
    ui::win::Event event;
    event.type = ui::win::EventKey;
    event.key = key;
    event.state = state;
    return event;
}

/// An event, whether the widget consumes it, and the widget after it.
struct WidgetStep {
    ui::win::Event event;
    bool consumed;
    std::string state;
    std::size_t refreshes;
};

/// Offers the events of a table in order; `state` describes the widget.
inline void ExpectSteps(
    RecordingCore& core,
    ui::win::CWidget& widget,
    std::function<std::string()> const& state,
    std::vector<WidgetStep> const& steps) {
    for (std::size_t i = 0; i < steps.size(); ++i) {
        WidgetStep const& step = steps[i];
        SCOPED_TRACE("step " + std::to_string(i));
        core.log.clear();
        EXPECT_EQ(widget.Interact(&core, step.event), step.consumed);
        EXPECT_EQ(state(), step.state);
        EXPECT_EQ(core.log, std::vector<std::string>(step.refreshes, "Refresh 0"));
    }
}

} // namespace tests
