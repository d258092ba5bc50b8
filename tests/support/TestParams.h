#pragma once

#include "ui/win/CreationParams.h"

#include <string>

namespace tests {

inline ui::win::CreationParams MakeParams(
    std::string const& driver, unsigned width = 64, unsigned height = 48, unsigned flags = 0) {
    ui::win::CreationParams params;
    params.driver = driver;
    params.title = "Test";
    params.width = width;
    params.height = height;
    params.flags = flags;
    return params;
}

} // namespace tests
