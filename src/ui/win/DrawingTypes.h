#pragma once

#include "cimage/PixelTypes.h"

#include <array>
#include <cstdint>
#include <type_traits>

namespace ui::win {

/// A coloured vertex: colour bytes (red, green, blue, alpha), then position.
struct C4UB_V3F_t {
    std::uint8_t r = 255;
    std::uint8_t g = 255;
    std::uint8_t b = 255;
    std::uint8_t a = 255;
    float x = 0;
    float y = 0;
    float z = 0;
};

/// A textured vertex: texture coordinates (0, 0 is the image's first pixel's corner, 1, 1 the
/// last one's), then position.
struct T2F_V3F_t {
    float s = 0;
    float t = 0;
    float x = 0;
    float y = 0;
    float z = 0;
};

static_assert(sizeof(C4UB_V3F_t) == 16 && std::is_trivially_copyable<C4UB_V3F_t>::value, "");
static_assert(sizeof(T2F_V3F_t) == 20 && std::is_trivially_copyable<T2F_V3F_t>::value, "");

/// How coordinates of drawing calls are mapped onto the window.
enum ViewPortMode : std::int32_t {
    ViewPortKeep = 0,      ///< passed to SetViewPort: the mode in force stays; a fresh layer's mode
    ViewPortPixels = 1,    ///< window pixels, y downwards
    ViewPortFractions = 2, ///< fractions 0..1 of the view port, y downwards
    ViewPortCamera = 3     ///< through the view's camera
};

enum _BlendType_t : std::int32_t {
    BlendOpaque = 0,
    BlendAlpha = 1 ///< with the colour's alpha byte
};

/// Text alignment; horizontal: 0 left, 1 centre, 2 right; vertical: 0 top, 1 centre, 2 baseline.
enum _TextAlign_t : std::int32_t { AlignLeft = 0, AlignCentre = 1, AlignRight = 2 };
constexpr _TextAlign_t AlignTop = AlignLeft;
constexpr _TextAlign_t AlignBaseline = AlignRight;

/// The colours that counts of one-channel images are shown in, from the low count to the high one.
enum ColorMap : std::int32_t {
    ColorMapOff = 0,      ///< grey, by the image library's own conversion
    ColorMapGrey = 1,     ///< black to white
    ColorMapInverted = 2, ///< white to black
    ColorMapJet = 3,      ///< dark blue, cyan, yellow, dark red
    ColorMapViridis = 4   ///< violet, green, yellow: brightness and hue rise evenly
};

/// The counts of one-channel images that are shown darkest and brightest (window and level):
/// counts beyond them are cut off, those between are spread evenly.
struct ImageRange {
    enum Kind : std::int32_t {
        Off = 0,        ///< the whole range of the pixel type
        Counts = 1,     ///< low and high are counts; low above high turns the colours around
        Percentiles = 2 ///< low and high are percentiles (0..100) of the image's own counts
    };
    Kind kind = Off;
    double low = 0;
    double high = 0;
};

/// What an image stores at one of its pixels, whatever it is shown as.
struct ImageCounts {
    unsigned x = 0; ///< pixel of the image, counted from its first one
    unsigned y = 0;
    unsigned channels = 0;                ///< 1 grey or mosaic, 3 red green blue, 4 with alpha
    std::array<std::int32_t, 4> values{}; ///< in the order of TRGBA
};

/// The colours of frames, buttons and menus, used by position.
struct Theme {
    std::array<cimage::TRGBA<unsigned char>, 6> colors = {{
        {224, 224, 224, 255}, ///< light edge of a frame, fill of a pressed one
        {96, 96, 96, 255},    ///< dark edge of a frame
        {176, 176, 176, 255}, ///< background of a frame
        {48, 96, 160, 255},   ///< highlight bar of a menu
        {255, 255, 255, 255}, ///< highlighted text of a menu
        {0, 0, 0, 255}        ///< plain text
    }};
};

} // namespace ui::win
