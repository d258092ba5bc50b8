#pragma once

#include "cimage/CImage.h"

#include <string>
#include <vector>

/// The image files that these paths name, in their order; of a folder all that it holds, in the
/// order of their names, where frame2 comes before frame10. Without paths: the current folder.
/// A path that is not there is taken for a file, so that opening it tells why.
std::vector<std::string> FindImageFiles(std::vector<std::string> const& paths);

/// Such as "RGB, 16 bit".
std::string PixelTypeName(cimage::CImage const& image);
