#pragma once

#include "ui/win/CWidget.h"

#include <boost/function.hpp>

namespace ui::win {

/// Invisible: hands every key press to a callback. A plugin; the callback runs on the backend's
/// thread.
class KeyboardEventWidget : public CWidget {
public:
    /// @return whether the key was used; the window is redrawn then, and nobody else is asked
    using KeyCallback = boost::function<bool(int key)>;

    explicit KeyboardEventWidget(KeyCallback callback);
    char const* getName() const override { return "KeyboardEventWidget"; }
    /// @return 0
    int Draw(CWindowCore* core) override;
    /// @throws boost::bad_function_call for a key with an empty callback, and what it throws
    bool Interact(CWindowCoreManager* manager, Event const& event) override;

private:
    KeyCallback m_callback;
};

} // namespace ui::win
