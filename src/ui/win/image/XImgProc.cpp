#include "ui/win/image/XImgProc.h"

#include <array>
#include <cstdint>

namespace ui::win {

namespace {

/// An alpha value without its fraction. Values that no 32-bit integer holds have no bits left in
/// the low byte, which is all that counts.
std::int64_t Truncate(float alpha) {
    constexpr float limit = 2147483648.0F;
    return alpha > -limit && alpha < limit ? static_cast<std::int64_t>(alpha) : 0;
}

unsigned char LowByte(std::int64_t value) {
    return static_cast<unsigned char>(value & 0xFF);
}

} // namespace

void XImgProc(XColour const& input, XColorKey const& option, XOutput<XColorKey>::type& output) {
    unsigned char const keyAlpha = LowByte(Truncate(option.keyAlpha));
    unsigned char const otherAlpha = LowByte(Truncate(option.otherAlpha));
    for (unsigned y = 0; y < input.Height(); ++y) {
        auto const* const source = input[y];
        auto* const target = output[y];
        for (unsigned x = 0; x < input.Width(); ++x) {
            auto const& p = source[x];
            target[x] = {p.r, p.g, p.b, p == option.key ? keyAlpha : otherAlpha};
        }
    }
}

void XImgProc(XGrey const& input, XOpacity const& option, XOutput<XOpacity>::type& output) {
    std::int64_t const alpha0 = Truncate(option.alpha0);
    std::int64_t const range = Truncate(option.alpha255) - alpha0;
    std::array<cimage::TRGBA<unsigned char>, 256> ramp;
    for (std::int64_t grey = 0; grey < 256; ++grey) {
        // Divided by 256, not 255: grey 255 stays just below alpha255, as users' alphas expect.
        unsigned char const alpha = LowByte(alpha0 + ((grey * range) >> 8));
        auto const& c = option.colour;
        ramp[static_cast<std::size_t>(grey)] = {c.r, c.g, c.b, alpha};
    }
    for (unsigned y = 0; y < input.Height(); ++y) {
        unsigned char const* const source = input[y];
        auto* const target = output[y];
        for (unsigned x = 0; x < input.Width(); ++x) {
            target[x] = ramp[source[x]];
        }
    }
}

} // namespace ui::win
