#pragma once

#include "drivers/raster/CRasterCoreManager.h"

#include <string>

namespace drivers::offscreen {

/// The driver "Offscreen": a window in memory with a thread of its own. What it shows is read back
/// with GrabImage, dumped, or delivered to subscribers; input comes from CWindow::InjectEvent.
///
/// There is no screen: its geometry is unknown, and full screen, decoration and visibility are
/// remembered without effect on the picture.
class COffscreenCore : public raster::CRasterCoreManager {
public:
    /// @throws std::runtime_error for a size beyond what a picture can have
    explicit COffscreenCore(ui::win::CreationParams const& params);
    ~COffscreenCore() override;

    std::string GetConnectionString() const override;
};

} // namespace drivers::offscreen
