#pragma once

#include "cimage/Conversion.h"
#include "drivers/raster/detail/Texture.h"

#include <cstdint>
#include <vector>

namespace drivers::raster::detail {

/// How one axis of the picture runs over one axis of the texture.
struct ImageAxis {
    double pixelFrom = 0;
    double pixelTo = 0;
    double texelFrom = 0;
    double texelTo = 0;

    /// Texels a pixel, below zero where the image is mirrored.
    double Scale() const { return (texelTo - texelFrom) / (pixelTo - pixelFrom); }
    /// Drawn at half size or less: every pixel is the mean of the texels that it covers, because
    /// one or two of them picked out would sparkle.
    bool IsReduced() const;
    TexelPair PairAt(int pixel, int size, bool linear) const;
};

/// Consecutive texels along one axis and their weights, which add up to 65536.
struct TexelRun {
    int first = 0;
    std::size_t count = 0;
    std::size_t weights = 0; ///< place of the first weight
};

/// What the rows of one upright image have in common; read only once it is made, so that several
/// threads may make rows from it.
class ImageRows {
public:
    /// Working storage of one thread.
    struct Scratch {
        /// A row of texels, and what it becomes along the row.
        struct WideRow {
            int row = -1;
            int alpha = 0; ///< of all its texels, or below 0 where it varies
            std::vector<Colour> texels;
            std::vector<std::uint16_t> channels; ///< in 256ths of a count
        };
        WideRow wide[2];
        std::vector<Colour> texels;
        std::vector<std::uint32_t> sums;
        std::vector<std::uint32_t> weights;
    };

    /// Pixels left <= x < right of rows of the texture; left < right.
    void Prepare(
        Texture const& texture,
        bool linear,
        ImageAxis const& across,
        ImageAxis const& down,
        int left,
        int right);

    /// Forgets what a scratch keeps of another image.
    static void Begin(Scratch& scratch) { scratch.wide[0].row = scratch.wide[1].row = -1; }
    /// Row y of the picture, pixels left to right.
    void Make(int y, Colour* out, Scratch& scratch) const;
    /// True when the row is known to be the same as the one above it.
    bool Repeats(int y) const;
    std::size_t Count() const { return m_count; }

private:
    TexelRun
    AreaRun(ImageAxis const& axis, int pixel, int size, std::vector<std::uint32_t>& weights) const;
    TexelPair RowsAt(int y) const { return m_down.PairAt(y, m_texture.height, m_linear); }
    unsigned char const* Row(int y) const {
        return m_texture.pixels + static_cast<std::size_t>(y) * m_texture.stride;
    }
    void ReadTexels(int row, Colour* out) const;
    Scratch::WideRow& Wide(int row, int keep, Scratch& scratch) const;
    void MakeBlended(TexelPair const& rows, Colour* out, Scratch& scratch) const;
    void MakeMeans(int y, Colour* out, Scratch& scratch) const;

    Texture m_texture;
    cimage::RowConverter m_convert = nullptr; ///< texels to colours
    std::size_t m_texelBytes = 0;
    bool m_linear = false;
    bool m_means = false;
    ImageAxis m_across;
    ImageAxis m_down;
    std::size_t m_count = 0;
    int m_firstTexel = 0; ///< of those that the pixels need
    int m_texelCount = 0;
    bool m_blended = false;
    bool m_consecutive = false;
    std::vector<std::uint32_t> m_columns;       ///< first texel of each pixel, from m_firstTexel
    std::vector<std::uint16_t> m_columnWeights; ///< of the texel after it, in 256ths
    std::vector<TexelRun> m_runs;
    std::vector<std::uint32_t> m_runWeights;
};

} // namespace drivers::raster::detail
