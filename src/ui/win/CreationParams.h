#pragma once

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>

namespace ui::win {

class CCamera;

/// What a window backend is built from.
struct CreationParams {
    std::uint64_t reserved = 0; ///< carried along, not interpreted
    std::string driver;         ///< driver list, separated by commas; empty takes the default
    std::string title;
    std::int32_t x = -1; ///< window position in screen pixels; (-1, -1) leaves it to the driver
    std::int32_t y = -1;
    std::uint32_t width = 0; ///< client size in pixels; CWindow refuses 0
    std::uint32_t height = 0;
    boost::shared_ptr<CCamera> camera; ///< the window's default camera; may be empty
    std::uint32_t flags = 0;           ///< initial WindowState bits
    std::int32_t extra = 0;            ///< not read by this library
};

} // namespace ui::win
