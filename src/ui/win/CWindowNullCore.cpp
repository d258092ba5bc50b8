#include "ui/win/CWindowNullCore.h"

#include "ui/win/Core_Registration.h"

namespace ui::win {

namespace {

Core_Registration<CWindowNullCore> const registrar("None");

} // namespace

bool CWindowNullCore::BindImage(SPImage const&) {
    return false;
}
std::string CWindowNullCore::GetConnectionString() const {
    return {};
}
CWindowCore* CWindowNullCore::Core() {
    return this;
}

} // namespace ui::win
