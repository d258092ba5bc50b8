#pragma once

#include "cimage/PixelTypes.h"
#include "math/Point3.h"

#include <array>
#include <cstddef>

namespace drivers::raster {

using Colour = cimage::TRGBA<unsigned char>;

/// Pixels to sample from, borrowed: whoever sets them keeps them alive and unchanged while drawing.
struct Texture {
    enum class Format { Grey8, RGB8, RGBA8, BGRA8 };

    unsigned char const* pixels = nullptr;
    int width = 0;
    int height = 0;
    std::size_t stride = 0; ///< bytes from one row to the next
    Format format = Format::RGBA8;

    bool Empty() const { return pixels == nullptr || width <= 0 || height <= 0; }
};

/// A lamp at a point of the world that shines evenly in all directions, however far.
struct Light {
    bool on = false;
    math::Point3<float> position;
    Colour ambient{0, 0, 0, 255};
    Colour diffuse{255, 255, 255, 255};
    Colour specular{0, 0, 0, 255};
};

/// What a surface makes of light beside the current colour, which is its ambient and diffuse one.
struct Material {
    Colour specular{0, 0, 0, 255};
    Colour emission{0, 0, 0, 255};
    float shininess = 0; ///< exponent of the specular part, 0 to 1024
};

/// What a canvas draws with.
struct DrawState {
    static constexpr std::size_t Lights = 8;

    Colour colour{255, 255, 255, 255};
    bool blend = false;
    float lineWidth = 1;     ///< pixels; values that are no widths count as 1
    float pointSize = 1;     ///< pixels; values below 1 count as 1
    bool lineSmooth = false; ///< anti-aliased lines, outlines and edges
    bool bilinear = false;   ///< how textures are sampled; off: the nearest texel
    Texture texture;
    bool depthTest = false;  ///< counts in views with perspective only
    double depthNear = 0;    ///< nearest distance that is drawn with the depth test
    double depthFar = 0;     ///< farthest; a range that is none leaves all before the camera
    double maskDistance = 1; ///< how far away masks are
    Material material;
    std::array<Light, Lights> lights;
};

/// Vertices that lie anywhere in memory at equal distances; borrowed for one call. Colours and
/// texture coordinates are optional and have the same stride. Texture coordinates count only while
/// a texture is set, and then before colours.
struct VertexArray {
    float const* position = nullptr;
    unsigned dimension = 2;                ///< 2 (z = 0) or 3 floats
    std::size_t strideBytes = 0;           ///< from one vertex to the next
    unsigned char const* colour = nullptr; ///< red, green, blue, alpha
    float const* texture = nullptr;        ///< s, t
    float const* normal = nullptr;         ///< x, y, z of any length; counts while a light is on
    std::size_t count = 0;
};

} // namespace drivers::raster
