#pragma once

#include "kiv/ini/INIFile.h"
#include "ui/win/CWindow.h"

#include <string>

namespace tests {

/// An INI object that all windows use while it lives; the settings of before come back after it.
class IniGuard {
public:
    IniGuard() : m_driver(ui::win::CWindow::getDriver()) { ui::win::CWindow::setINIFile(&ini); }
    ~IniGuard() {
        ui::win::CWindow::setINIFile(nullptr);
        ui::win::CWindow::setDriver(m_driver);
    }
    IniGuard(IniGuard const&) = delete;
    IniGuard& operator=(IniGuard const&) = delete;

    kiv::ini::INIFile ini;

private:
    std::string m_driver;
};

} // namespace tests
