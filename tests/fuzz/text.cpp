// Texts of any bytes are drawn, measured and shortened, at any size and place.

#include "drivers/raster/TextRenderer.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

using namespace drivers::raster;

/// Takes masks, and reads every byte of them.
struct Sum final : GlyphSink {
    void BlendMask(
        int /*x*/,
        int /*y*/,
        unsigned char const* coverage,
        int width,
        int height,
        std::ptrdiff_t stride) override {
        for (int row = 0; row < height; ++row) {
            for (int column = 0; column < width; ++column) {
                sum += coverage[row * stride + column];
            }
        }
    }
    unsigned long sum = 0;
};

} // namespace

/// The patterns of fontconfig's own configuration point to their elements by distances, which the
/// leak checker cannot follow.
extern "C" char const* __lsan_default_suppressions();
extern "C" char const* __lsan_default_suppressions() {
    return "leak:libfontconfig.so";
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static TextRenderer text;
    float numbers[6] = {};
    std::uint8_t flags = 0;
    if (size < sizeof numbers + 1) {
        return 0;
    }
    std::memcpy(numbers, data, sizeof numbers);
    flags = data[sizeof numbers];
    std::string_view const string(
        reinterpret_cast<char const*>(data) + sizeof numbers + 1, size - sizeof numbers - 1);
    TextStyle style;
    style.width = flags & 1 ? double{numbers[0]} : 12;
    style.height = flags & 2 ? double{numbers[1]} : 12;
    style.alignX = static_cast<TextAlignX>(flags >> 2 & 3);
    style.alignY = static_cast<TextAlignY>(flags >> 4 & 3);
    TextTransform transform;
    if (flags & 64) {
        transform.xy = double{numbers[4]};
        transform.yx = double{numbers[5]};
    }
    Sum sink;
    text.DrawTo(
        sink, {double{numbers[2]}, double{numbers[3]}}, style, string, transform, {0, 0, 200, 100});
    double const width = text.Measure(style, string, transform).Width();
    std::string const brief = text.Ellipsize(style, string, double{numbers[2]});
    bool const fits = brief == string || brief.empty() ||
                      text.Measure(style, brief).Width() <= double{numbers[2]} * (1 + 1e-9);
    if (!(width >= 0) || !fits || text.CachedBytes() > (25U << 20)) {
        std::abort();
    }
    return 0;
}
