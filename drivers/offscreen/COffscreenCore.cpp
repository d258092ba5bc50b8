#include "drivers/offscreen/COffscreenCore.h"

#include "drivers/support/RenderThread.h"
#include "ui/win/Core_Registration.h"

#include <boost/make_shared.hpp>

namespace drivers::offscreen {

namespace {

ui::win::Core_Registration<COffscreenCore> const registrar("Offscreen");

} // namespace

COffscreenCore::COffscreenCore(ui::win::CreationParams const& params)
    : CRasterCoreManager(params, boost::make_shared<support::RenderThread>()) {}

COffscreenCore::~COffscreenCore() {
    Shutdown();
}

std::string COffscreenCore::GetConnectionString() const {
    return "offscreen:";
}

} // namespace drivers::offscreen
