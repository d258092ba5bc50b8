#pragma once

#include "cimage/Conversion.h"

#include <boost/property_tree/ptree_fwd.hpp>
#include <boost/shared_ptr.hpp>

#include <string>

namespace cimage {

/// Reads an image file: PGM and PPM (text and binary), PNG, JPEG, TIFF, recognised by content.
///
/// The image has the file's own pixel type: counts of 8 or 16 bits (smaller ones are widened to
/// their whole range, as PNM counts of any other maximum than 255 and 65535 are), grey, RGB or
/// RGBA; grey with alpha becomes RGBA, and a TIFF file of signed counts a signed type. Of a TIFF
/// file the first page is read. Rows are taken as stored, whatever side the file says is up. The
/// file's texts (PNG text entries, TIFF description and text tags, comments of the others) are
/// the image's Metadata().
///
/// @param options what is not set has its default:
///                - "max pixels" (2^28): larger images are refused before they are decoded
///                - "max text bytes" (2^24): files whose texts take more in memory are refused; an
///                  entry counts its key, its value and 64 bytes
///
/// Throws std::runtime_error with the path and the reason.
boost::shared_ptr<CImage>
CreateFromFile(std::string const& path, boost::property_tree::ptree const& options);

/// As CreateFromFile with no options; metadata is replaced by the file's.
boost::shared_ptr<CImage> Load(std::string const& path, boost::property_tree::ptree& metadata);

/// As above, converted to the pixel type of an image that the caller has (Conversion.h).
void Load(std::string const& path, CImage& image, boost::property_tree::ptree& metadata);

/// Writes an image file in the format of the path's extension: pgm, ppm, pnm, png, jpg, jpeg, tif
/// or tiff, in any case of letters.
///
/// The pixel type decides what is stored: grey, RGB or RGBA of 8 or 16 bits; signed counts are
/// shifted onto the unsigned range, a Bayer mosaic is stored as its counts. What a format cannot
/// hold is converted (Conversion.h): PNM files drop alpha, pgm is always grey and ppm always
/// colour, JPEG (quality 95, full colour resolution) has 8 bits. PNG, TIFF and PNM keep every bit.
///
/// Each node of the metadata that has data is written as a text of the file, nested keys joined
/// by dots, so that CreateFromFile gives the same tree back, bytes of all kinds in its texts but
/// NUL; nodes whose key is empty or starts with '_' are left out with all below them, and so is
/// what a format cannot hold: keys that are no PNG keywords, elsewhere keys of over 79 bytes,
/// with ": ", a tab or a line end, texts longer than a JPEG comment.
///
/// The file appears whole or not at all, in place of an earlier one. Throws std::runtime_error
/// with the path and the reason, also for an image without pixels.
void Save(
    std::string const& path, CImage const& image, boost::property_tree::ptree const& metadata);

} // namespace cimage
