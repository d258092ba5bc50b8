#pragma once

#include "cimage/PixelTypes.h"
#include "cimage/TImage.h"

namespace ui::win {

/// Makes one colour of an image transparent.
struct XColorKey {
    cimage::TRGB<unsigned char> key;
    float keyAlpha = 0;     ///< alpha of pixels that equal the key
    float otherAlpha = 255; ///< alpha of all others
};

/// Turns a grey image into one colour of varying opacity.
struct XOpacity {
    cimage::TRGB<unsigned char> colour;
    float alpha0 = 0;   ///< alpha at grey 0
    float alpha255 = 0; ///< alpha approached at grey 255
};

/// Declared hooks without processing: the output image stays as it was allocated.
struct XConversion {};
struct XFilter {};

/// The type of image that an option makes.
template <class X>
struct XOutput {
    using type = cimage::TImage<cimage::TRGBA<unsigned char>>;
};
template <>
struct XOutput<XFilter> {
    using type = cimage::TImage<cimage::TRGB<unsigned char>>;
};

using XGrey = cimage::TImage<unsigned char>;
using XColour = cimage::TImage<cimage::TRGB<unsigned char>>;

/// Fills an output of the input's size as the option says. Of a colour key's alpha value, the whole
/// part's low byte counts; an opacity's are the ends of a ramp.
void XImgProc(XColour const& input, XColorKey const& option, XOutput<XColorKey>::type& output);
void XImgProc(XGrey const& input, XOpacity const& option, XOutput<XOpacity>::type& output);

// The combinations that are hooks.
inline void XImgProc(XGrey const&, XColorKey const&, XOutput<XColorKey>::type&) {}
inline void XImgProc(XColour const&, XConversion const&, XOutput<XConversion>::type&) {}
inline void XImgProc(XGrey const&, XConversion const&, XOutput<XConversion>::type&) {}
inline void XImgProc(XColour const&, XFilter const&, XOutput<XFilter>::type&) {}
inline void XImgProc(XGrey const&, XFilter const&, XOutput<XFilter>::type&) {}

} // namespace ui::win
