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

} // namespace

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

void SurfaceCopy::Convert(raster::Colour const* from, int width, SDL_PixelFormat const& format) {
    if (IsSwapped(format.format)) {
        SwapRedAndBlue(from, m_row.data(), width);
        return;
    }
    Check(
        SDL_ConvertPixels(
            width,
            1,
            SDL_PIXELFORMAT_RGBA32,
            from,
            width * 4,
            format.format,
            m_row.data(),
            width * format.BytesPerPixel) == 0,
        "SDL_ConvertPixels");
}

void SurfaceCopy::CopyChanges(int y, int width, unsigned char* shown, int pixelBytes) {
    auto const at = [pixelBytes](int x) { return std::ptrdiff_t{x} * pixelBytes; };
    auto const differs = [&](int begin, int end) {
        auto const bytes = static_cast<std::size_t>(at(end - begin));
        return std::memcmp(shown + at(begin), m_row.data() + at(begin), bytes) != 0;
    };
    int left = 0;
    while (left < width && !differs(left, std::min(left + blockPixels, width))) {
        left += blockPixels;
    }
    if (left >= width) {
        return;
    }
    int right = width;
    while (right - blockPixels > left && !differs(right - blockPixels, right)) {
        right -= blockPixels;
    }
    std::memcpy(
        shown + at(left), m_row.data() + at(left), static_cast<std::size_t>(at(right - left)));
    Include(y, left, right);
}

std::vector<SDL_Rect> const&
SurfaceCopy::Update(raster::Canvas const& picture, SDL_Surface& surface, bool all) {
    m_changed.clear();
    int const width = std::min(picture.Width(), surface.w);
    int const height = std::min(picture.Height(), surface.h);
    int const pixelBytes = surface.format->BytesPerPixel;
    m_row.resize(static_cast<std::size_t>(width) * 4);
    for (int y = 0; y < height; ++y) {
        Convert(picture.Row(y), width, *surface.format);
        auto* const shown =
            static_cast<unsigned char*>(surface.pixels) + std::ptrdiff_t{y} * surface.pitch;
        if (all) {
            std::memcpy(shown, m_row.data(), static_cast<std::size_t>(width * pixelBytes));
        } else {
            CopyChanges(y, width, shown, pixelBytes);
        }
    }
    if (all) {
        m_changed.push_back({0, 0, surface.w, surface.h});
    }
    return m_changed;
}

} // namespace drivers::sdl
