#pragma once

#include "cimage/CImage.h"

#include <boost/shared_ptr.hpp>

namespace ui::win {

/// Hands an image out as one that nobody changes any more, so that a drawing core may keep from
/// frame to frame what it made of it. The pixels are not copied.
boost::shared_ptr<cimage::CImage const>
MakeConstant(boost::shared_ptr<cimage::CImage const> const& image);

/// Whether an image was handed out so. Any thread.
bool IsConstant(boost::shared_ptr<cimage::CImage const> const& image);

} // namespace ui::win
