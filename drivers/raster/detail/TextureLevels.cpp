#include "drivers/raster/detail/TextureLevels.h"

#include "drivers/raster/detail/Clones.h"
#include "drivers/raster/detail/Texture.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace drivers::raster::detail {

namespace {

/// Halves two rows of texels of so many channels each, none of which is alpha.
template <std::size_t Channels>
inline void Halve(
    unsigned char const* __restrict upper,
    unsigned char const* __restrict lower,
    std::size_t pairs,
    unsigned char* __restrict out) {
    for (std::size_t i = 0; i < pairs; ++i) {
        for (std::size_t c = 0; c < Channels; ++c) {
            std::size_t const left = 2 * Channels * i + c;
            std::size_t const right = left + Channels;
            out[Channels * i + c] = static_cast<unsigned char>(
                (upper[left] + upper[right] + lower[left] + lower[right] + 2) / 4);
        }
    }
}

RASTER_CLONES void HalveGrey(
    unsigned char const* upper, unsigned char const* lower, std::size_t pairs, unsigned char* out) {
    Halve<1>(upper, lower, pairs, out);
}

RASTER_CLONES void HalveColour(
    unsigned char const* upper, unsigned char const* lower, std::size_t pairs, unsigned char* out) {
    Halve<3>(upper, lower, pairs, out);
}

/// The same with alpha in the fourth channel.
void HalveByAlpha(
    unsigned char const* upper, unsigned char const* lower, std::size_t pairs, unsigned char* out) {
    for (std::size_t i = 0; i < pairs; ++i) {
        Colour four[4];
        std::memcpy(static_cast<void*>(four), upper + 8 * i, 8);
        std::memcpy(static_cast<void*>(four + 2), lower + 8 * i, 8);
        ColourMean<true> mean;
        for (Colour const& c : four) {
            mean.Add(c);
        }
        Colour const result = mean.Mean();
        std::memcpy(out + 4 * i, &result, 4);
    }
}

/// Halves two rows of texels; the last one goes on when their number is odd.
void HalveRows(
    std::size_t texelBytes,
    unsigned char const* upper,
    unsigned char const* lower,
    std::size_t width,
    unsigned char* out) {
    auto const halve = texelBytes == 1 ? HalveGrey : texelBytes == 3 ? HalveColour : HalveByAlpha;
    std::size_t const pairs = width / 2;
    halve(upper, lower, pairs, out);
    if (width % 2 != 0) {
        unsigned char edge[2][8];
        std::size_t const last = (width - 1) * texelBytes;
        for (std::size_t i = 0; i < 2 * texelBytes; ++i) {
            edge[0][i] = upper[last + i % texelBytes];
            edge[1][i] = lower[last + i % texelBytes];
        }
        halve(edge[0], edge[1], 1, out + pairs * texelBytes);
    }
}

int Halved(int size, int level) {
    long long const whole = 1LL << level;
    return static_cast<int>((size + whole - 1) / whole);
}

} // namespace

void TextureLevels::Start(Texture const& texture) {
    m_texture = texture;
    m_made = false;
}

bool TextureLevels::IsOf(Texture const& texture) const {
    return m_texture.pixels == texture.pixels && m_texture.width == texture.width &&
           m_texture.height == texture.height && m_texture.stride == texture.stride &&
           m_texture.format == texture.format;
}

TextureLevels::Level const& TextureLevels::At(int level) {
    if (!m_made) {
        std::lock_guard<std::mutex> const lock(m_making);
        if (!m_made) {
            Make();
            m_made = true;
        }
    }
    int const last = static_cast<int>(m_levels.size()) - 1;
    return m_levels[static_cast<std::size_t>(std::clamp(level - m_first, 0, last))];
}

unsigned char const* TextureLevels::Row(int level, int y, std::vector<unsigned char>& room) const {
    if (level > 0 && level < m_first) {
        room.resize(RowBytes(level));
        MakeRow(level, y, room.data());
        return room.data();
    }
    Texture const& kept =
        level == 0 ? m_texture : m_levels[static_cast<std::size_t>(level - m_first)].texture;
    return kept.pixels + static_cast<std::size_t>(y) * kept.stride;
}

void TextureLevels::MakeRow(int level, int y, unsigned char* out) const {
    std::vector<unsigned char> rooms[2]; // for levels that are not kept
    int const last = Halved(m_texture.height, level - 1) - 1;
    unsigned char const* const upper = Row(level - 1, 2 * y, rooms[0]);
    unsigned char const* const lower = 2 * y < last ? Row(level - 1, 2 * y + 1, rooms[1]) : upper;
    auto const width = static_cast<std::size_t>(Halved(m_texture.width, level - 1));
    HalveRows(BytesOfTexel(m_texture.format), upper, lower, width, out);
}

std::size_t TextureLevels::RowBytes(int level) const {
    return static_cast<std::size_t>(Halved(m_texture.width, level)) *
           BytesOfTexel(m_texture.format);
}

void TextureLevels::Make() {
    auto const bytesOf = [this](int level) {
        return RowBytes(level) * static_cast<std::size_t>(Halved(m_texture.height, level));
    };
    m_levels.clear();
    m_first = 1;
    while (bytesOf(m_first) > MostBytes / 4 * 3) { // those after it take another third
        ++m_first;
    }
    std::size_t bytes = 0;
    int const most = std::max(m_texture.width, m_texture.height);
    int last = m_first;
    while (Halved(most, last) > 1) {
        bytes += bytesOf(last++);
    }
    m_texels.resize(bytes + bytesOf(last));
    unsigned char* out = m_texels.data();
    for (int level = m_first; level <= last; ++level) {
        int const height = Halved(m_texture.height, level);
        Texture const halved{
            out, Halved(m_texture.width, level), height, RowBytes(level), m_texture.format};
        m_levels.push_back({halved, std::ldexp(1.0, -level)});
        for (int y = 0; y < height; ++y, out += halved.stride) {
            MakeRow(level, y, out);
        }
    }
}

TextureLevels& LevelsInUse::Of(Texture const& texture) {
    for (auto const& levels : m_levels) {
        if (levels && levels->IsMade() && levels->IsOf(texture)) {
            return *levels;
        }
    }
    // Only what was made is worth its place.
    if (m_levels[m_next] && m_levels[m_next]->IsMade()) {
        m_next = (m_next + 1) % m_levels.size();
    }
    auto& place = m_levels[m_next];
    if (!place) {
        place = std::make_unique<TextureLevels>();
    }
    place->Start(texture);
    return *place;
}

void LevelsInUse::Forget() {
    for (auto& levels : m_levels) {
        if (levels && levels->IsMade()) {
            levels->Start({});
        } else {
            levels.reset();
        }
    }
}

} // namespace drivers::raster::detail
