#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace bench {

/// What a program does that draws one vertex array with OpenGL ES 3 into a picture of its own, and
/// nothing else: Mesa's rasteriser for the CPU, without a window system.
class BareGles {
public:
    enum class Kind {
        Points,  ///< vertices of three floats: position
        Lit,     ///< triangles of six floats: position, normal; lit at each vertex
        Textured ///< triangles of five floats: texture, position
    };

    /// Whether it can be had here.
    static bool IsInstalled();

    /// @param toClip column by column, world to clip coordinates
    /// @param texels of a square texture, where the kind has one
    BareGles(
        Kind kind,
        int width,
        int height,
        float const (&toClip)[16],
        std::vector<float> const& vertices,
        std::vector<std::uint32_t> const& texels = {});
    ~BareGles();
    BareGles(BareGles const&) = delete;
    BareGles& operator=(BareGles const&) = delete;

    /// Clears the picture and its depths, draws the array and waits until that is done.
    void Frame();

private:
    struct Context;
    std::unique_ptr<Context> m_context;
    unsigned m_mode = 0;
    int m_count = 0;
};

} // namespace bench
