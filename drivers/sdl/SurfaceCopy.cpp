#include "drivers/sdl/SurfaceCopy.h"

#include "drivers/sdl/SdlThread.h"

#include <algorithm>
#include <cstring>

// The best of the machine that the program meets; AArch64 has it from the start.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) &&                             \
    !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
#define QUARN_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define QUARN_CLONES
#endif

namespace drivers::sdl {

namespace {

constexpr int blockPixels = 64;
constexpr int joinedGap = 16; // rows between two changes that are cheaper to show with them

/// Red and blue change places; SDL's 32-bit formats without alpha ignore the fourth byte.
QUARN_CLONES void SwapRedAndBlue(raster::Colour const* from, unsigned char* to, int count) {
    for (int i = 0; i < count; ++i) {
        Uint32 p = 0;
        std::memcpy(&p, from + i, sizeof p);
        p = (p & 0xFF00FF00U) | (p & 0xFFU) << 16 | (p >> 16 & 0xFFU);
        std::memcpy(to + std::size_t{4} * static_cast<unsigned>(i), &p, sizeof p);
    }
}

bool IsSwapped(Uint32 format) {
    return SDL_BYTEORDER == SDL_LIL_ENDIAN &&
           (format == SDL_PIXELFORMAT_RGB888 || format == SDL_PIXELFORMAT_ARGB8888);
}

void Convert(raster::Colour const* from, unsigned char* to, int count, Uint32 format) {
    if (IsSwapped(format)) {
        SwapRedAndBlue(from, to, count);
        return;
    }
    int const pitch = count * static_cast<int>(SDL_BYTESPERPIXEL(format));
    Check(
        SDL_ConvertPixels(count, 1, SDL_PIXELFORMAT_RGBA32, from, count * 4, format, to, pitch) ==
            0,
        "SDL_ConvertPixels");
}

} // namespace

/// Brings a row up to the picture's.
/// @return what of it changed, to the block: the first pixel and the one after the last
std::pair<int, int> SurfaceCopy::CopyChanges(
    raster::Colour const* from, unsigned char* shown, int width, Uint32 format) {
    // SDL's conversions begin slowly.
    int const step = IsSwapped(format) ? blockPixels : width;
    m_block.resize(static_cast<std::size_t>(step) * sizeof(Uint32));
    auto const at = [&](int x) { return shown + std::ptrdiff_t{x} * SDL_BYTESPERPIXEL(format); };
    auto const differs = [&](int begin, int end) {
        Convert(from + begin, m_block.data(), end - begin, format);
        auto const bytes = static_cast<std::size_t>(at(end) - at(begin));
        return std::memcmp(at(begin), m_block.data(), bytes) != 0;
    };
    int left = 0;
    while (left < width && !differs(left, std::min(left + step, width))) {
        left += step;
    }
    int right = width;
    while (right - step > left && !differs(right - step, right)) {
        right -= step;
    }
    if (left < right) {
        Convert(from + left, at(left), right - left, format);
    }
    return {left, right};
}

void SurfaceCopy::Include(int y, int left, int right) {
    if (!m_changed.empty()) {
        SDL_Rect& last = m_changed.back();
        if (y - (last.y + last.h) < joinedGap) {
            int const end = std::max(last.x + last.w, right);
            last.x = std::min(last.x, left);
            last.w = end - last.x;
            last.h = y + 1 - last.y;
            return;
        }
    }
    m_changed.push_back({left, y, right - left, 1});
}

std::vector<SDL_Rect> const&
SurfaceCopy::Update(raster::Canvas const& picture, SDL_Surface& surface, bool all) {
    int const width = std::min(picture.Width(), surface.w);
    int const height = std::min(picture.Height(), surface.h);
    Uint32 const format = surface.format->format;
    m_changed.clear();
    for (int y = 0; y < height; ++y) {
        auto* const shown =
            static_cast<unsigned char*>(surface.pixels) + std::ptrdiff_t{y} * surface.pitch;
        if (all) {
            Convert(picture.Row(y), shown, width, format);
            continue;
        }
        auto const [left, right] = CopyChanges(picture.Row(y), shown, width, format);
        if (left < right) {
            Include(y, left, right);
        }
    }
    if (all) {
        m_changed.push_back({0, 0, surface.w, surface.h});
    }
    return m_changed;
}

} // namespace drivers::sdl
