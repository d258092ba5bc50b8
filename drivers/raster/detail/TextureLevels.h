#pragma once

#include "drivers/raster/DrawState.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace drivers::raster::detail {

/// A texture at half its size (level 1), a quarter (level 2) and so on, down to one texel.
///
/// A texel is the mean of two by two of the level before, by their alpha where they have some. They
/// begin with the texture's first one; beyond an odd edge the last ones go on.
class TextureLevels {
public:
    static constexpr int Most = 31; ///< of any texture
    static constexpr std::size_t MostBytes = std::size_t{32} << 20;

    struct Level {
        Texture texture;
        double scale; ///< its texels a texel of the texture
    };

    /// Forgets what was made, and is of another texture from now on.
    void Start(Texture const& texture);
    bool IsOf(Texture const& texture) const;
    bool IsMade() const { return m_made; }
    /// A level above 0; the nearest one where it is too large to be kept or too small to be there.
    /// All are made when the first is asked for; any number of threads may do that at a time.
    Level const& At(int level);

private:
    void Make();
    void MakeRow(int level, int y, unsigned char* out) const;
    unsigned char const* Row(int level, int y, std::vector<unsigned char>& room) const;
    std::size_t RowBytes(int level) const;

    Texture m_texture;
    std::atomic<bool> m_made{false};
    std::mutex m_making;
    int m_first = 1; ///< the finest that is kept
    std::vector<Level> m_levels;
    std::vector<unsigned char> m_texels;
};

/// The levels of the textures that were used last. Belongs to one canvas.
class LevelsInUse {
public:
    LevelsInUse() = default;
    /// A canvas that is copied makes its own.
    LevelsInUse(LevelsInUse const& /*other*/) {}
    LevelsInUse& operator=(LevelsInUse const& /*other*/) {
        Forget();
        return *this;
    }

    /// Those of a texture, valid until the next call.
    TextureLevels& Of(Texture const& texture);
    /// Forgets all, for textures may have changed. Memory stays where it was needed since the last
    /// time.
    void Forget();

private:
    std::array<std::unique_ptr<TextureLevels>, 4> m_levels;
    std::size_t m_next = 0; // the place of the next texture
};

} // namespace drivers::raster::detail
