// Drawing calls with any numbers end, write into the picture only and leave it opaque, and draw the
// same in bands as in one piece.

#include "drivers/raster/Canvas.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

namespace {

using drivers::raster::Canvas;
using drivers::raster::Colour;
using drivers::raster::Texture;
using drivers::raster::VertexArray;

constexpr int kWidth = 96;
constexpr int kHeight = 64;

/// Takes values from the input; zeros behind its end.
class Input {
public:
    Input(std::uint8_t const* data, std::size_t size) : m_data(data), m_left(size) {}

    bool Empty() const { return m_left == 0; }
    template <class T>
    T Take() {
        T value{};
        std::size_t const count = std::min(sizeof value, m_left);
        std::memcpy(&value, m_data, count);
        m_data += count;
        m_left -= count;
        return value;
    }
    std::uint8_t Byte() { return Take<std::uint8_t>(); }
    /// Often somewhere in the picture, else any bits at all or a number with a name.
    float Number() {
        constexpr float named[] = {
            0,
            -0.0F,
            std::numeric_limits<float>::infinity(),
            -std::numeric_limits<float>::infinity(),
            std::numeric_limits<float>::quiet_NaN(),
            std::numeric_limits<float>::denorm_min(),
            std::numeric_limits<float>::max(),
            -1e30F};
        std::uint8_t const kind = Byte();
        if (kind < 200) {
            return static_cast<float>(Take<std::int16_t>()) / 256;
        }
        return kind < 230 ? Take<float>() : named[kind % 8];
    }
    Colour AnyColour() { return {Byte(), Byte(), Byte(), Byte()}; }

private:
    std::uint8_t const* m_data;
    std::size_t m_left;
};

/// Colour, texture, normal and position beside each other.
struct Vertex {
    Colour colour;
    float s, t;
    float nx, ny, nz;
    float x, y, z;
};

std::vector<Vertex> TakeVertices(Input& input) {
    std::vector<Vertex> vertices(input.Byte() % 16 + 1U);
    for (Vertex& v : vertices) {
        v = {input.AnyColour(), input.Number(), input.Number(), 0, 0, 0, 0, 0, 0};
        v.nx = input.Number();
        v.nz = v.s;
        v.x = input.Number();
        v.y = input.Number();
        v.z = input.Number();
    }
    return vertices;
}

VertexArray ArrayOf(std::vector<Vertex> const& vertices, unsigned parts) {
    VertexArray array;
    array.position = &vertices[0].x;
    array.dimension = parts & 1 ? 3 : 2;
    array.colour = parts & 2 ? &vertices[0].colour.r : nullptr;
    array.texture = parts & 4 ? &vertices[0].s : nullptr;
    array.normal = parts & 8 ? &vertices[0].nx : nullptr;
    array.strideBytes = sizeof(Vertex);
    array.count = vertices.size();
    return array;
}

void SetView(Canvas& canvas, Input& input) {
    math::TMatrix<double, 3, 4> m;
    std::uint8_t const kind = input.Byte();
    for (int i = 0; i < 12; ++i) {
        m.data()[i] = double{input.Number()};
    }
    if (kind & 1) {
        m.row(2) << 0, 0, 0, 1;
    }
    int const left = input.Byte() - 20;
    int const top = input.Byte() - 20;
    canvas.SetView(m, {left, top, left + input.Byte(), top + input.Byte()});
    canvas.State().depthTest = (kind & 2) != 0;
    canvas.State().depthNear = double{input.Number()};
    canvas.State().depthFar = double{input.Number()};
}

void SetState(Canvas& canvas, Input& input, Texture const& texture) {
    auto& state = canvas.State();
    std::uint8_t const flags = input.Byte();
    state.blend = (flags & 1) != 0;
    state.lineSmooth = (flags & 2) != 0;
    state.bilinear = (flags & 4) != 0;
    state.texture = flags & 8 ? texture : Texture();
    state.lights[0].on = (flags & 16) != 0;
    state.lights[0].position = {input.Number(), 1, -3};
    state.material.shininess = input.Number();
    state.colour = input.AnyColour();
    state.lineWidth = input.Number();
    state.pointSize = input.Number();
}

void DrawShape(Canvas& canvas, Input& input, bool ellipse, bool filled) {
    double v[6];
    for (double& value : v) {
        value = double{input.Number()};
    }
    if (ellipse) {
        canvas.Ellipse(v[0], v[1], v[2], v[3], v[4], v[5], filled);
    } else {
        canvas.Box(v[0], v[1], v[2], v[3], filled);
    }
}

void DrawAll(Canvas& canvas, Input input, Texture const& texture) {
    for (int calls = 0; !input.Empty() && calls < 32; ++calls) {
        std::uint8_t const kind = input.Byte();
        unsigned const parts = kind >> 4;
        switch (kind % 12) {
        case 0:
            SetView(canvas, input);
            break;
        case 1:
            SetState(canvas, input, texture);
            break;
        case 2:
            canvas.Points(ArrayOf(TakeVertices(input), parts));
            break;
        case 3:
            canvas.Lines(ArrayOf(TakeVertices(input), parts));
            break;
        case 4:
            canvas.Polyline(ArrayOf(TakeVertices(input), parts), (parts & 2) != 0);
            break;
        case 5:
        case 6:
            canvas.Triangles(ArrayOf(TakeVertices(input), parts));
            break;
        case 7:
            canvas.Quads(ArrayOf(TakeVertices(input), parts));
            break;
        case 8: {
            std::vector<unsigned char> const mask(64, input.Byte());
            int const x = input.Take<std::int32_t>();
            canvas.BlendMask(x, static_cast<int>(input.Take<std::int8_t>()), mask.data(), 7, 8, 8);
            break;
        }
        default:
            DrawShape(canvas, input, (parts & 1) != 0, (parts & 2) != 0);
        }
    }
}

Canvas Fresh() {
    Canvas canvas;
    canvas.Resize(kWidth, kHeight);
    return canvas;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    static std::vector<unsigned char> const texels(5 * 4 * 4, 200);
    Texture const texture{texels.data(), 5, 4, 20, Texture::Format::RGBA8};
    static auto const workers = std::make_shared<drivers::raster::Workers>(3);
    Canvas one = Fresh();
    DrawAll(one, Input(data, size), texture);
    Canvas bands = Fresh();
    bands.SetWorkers(workers);
    bands.SetWorthSharing(1);
    DrawAll(bands, Input(data, size), texture);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            Colour const c = one.Read(x, y);
            if (c.a != 255 || c != bands.Read(x, y)) {
                std::abort();
            }
        }
    }
    return 0;
}
