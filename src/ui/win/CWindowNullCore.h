#pragma once

#include "ui/win/CWindowCoreManager.h"

namespace ui::win {

/// The driver "None": keeps all the books of a window and shows nothing, so that a program runs
/// without a display. Executes every command at once on the caller's thread.
class CWindowNullCore : public CWindowCoreManager {
public:
    using CWindowCoreManager::CWindowCoreManager;

    bool BindImage(SPImage const& image) override;
    std::string GetConnectionString() const override;
    /// The drawing core of this window: the object itself.
    virtual CWindowCore* Core();
};

} // namespace ui::win
