#pragma once

#include "cimage/TImage.h"

namespace cimage {

/// Converts the pixels of one image to another's type, between any two of the types in
/// PixelTypes.h.
///
/// The destination is brought to the source's size (its buffer is used again when the size is
/// right already) and keeps its own metadata. Rules, which make every conversion to a wider type
/// and back return the same pixels:
/// - Depth: 16 to 8 bits keeps the high byte, 8 to 16 bits multiplies by 257.
/// - Sign: the whole signed range is shifted onto the unsigned one, the minimum becoming 0.
/// - Grey to colour: red = green = blue = grey. Colour to grey: ITU-R BT.601 luma
///   (0.299 R + 0.587 G + 0.114 B), rounded, computed at the greater of the two depths; a colour
///   with equal channels gives exactly that grey.
/// - Alpha: the type's maximum when the source has none, dropped when the destination has none.
/// - Bayer to anything else: bilinear demosaicing (the mean of the nearest counts of each missing
///   colour, mirrored at the borders) to RGB of the same depth, then as above. A mosaic of a single
///   row or column has no full colour cell and is read as grey.
/// - Anything to Bayer: each pixel keeps the count of the colour that its filter lets through.
///
/// Throws std::invalid_argument for a type that is not in PixelTypes.h.
void Convert(CImage const& source, CImage& destination);

/// As Convert, with the source viewed as pixels of type sourceType (PixelTypeNumber<P>::value),
/// which must be of the same size: a Bayer mosaic viewed as its plain counts is not demosaiced.
/// Throws std::invalid_argument when it is not, and for an image converted to itself as another
/// type.
void ConvertAs(unsigned sourceType, CImage const& source, CImage& destination);

/// Converts `width` pixels of one plain type to another by the same rules.
using RowConverter = void (*)(void const* source, void* destination, unsigned width);

/// The converter between two pixel types; null for mosaics and for numbers that name no type. The
/// same type is copied.
RowConverter FindRowConverter(unsigned sourceType, unsigned destinationType);

/// As Convert, with the types known to the compiler. Returns destination.
template <class S, class D>
TImage<D>& operator>>(TImage<S> const& source, TImage<D>& destination) {
    ConvertAs(TImage<S>::StaticType, source, destination);
    return destination;
}

} // namespace cimage
