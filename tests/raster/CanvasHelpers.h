#pragma once

#include "drivers/raster/Canvas.h"
#include "math/Point2.h"
#include "math/Point3.h"
#include "support/PictureCompare.h"

#include <string>
#include <vector>

namespace tests {

using drivers::raster::Canvas;
using drivers::raster::Colour;
using drivers::raster::Texture;
using drivers::raster::VertexArray;

constexpr Colour kBlack(0, 0, 0, 255);
constexpr Colour kWhite(255, 255, 255, 255);

inline VertexArray Vertices(std::vector<math::Point2<float>> const& points) {
    VertexArray v;
    v.position = &points.data()->x;
    v.strideBytes = sizeof points[0];
    v.count = points.size();
    return v;
}

inline VertexArray Vertices(std::vector<math::Point3<float>> const& points) {
    VertexArray v;
    v.position = &points.data()->x;
    v.dimension = 3;
    v.strideBytes = sizeof points[0];
    v.count = points.size();
    return v;
}

/// A vertex with its colour in front.
struct ColourVertex {
    Colour colour;
    float x = 0;
    float y = 0;
    float z = 0;
};

inline VertexArray Vertices(std::vector<ColourVertex> const& points) {
    VertexArray v;
    v.position = &points.data()->x;
    v.dimension = 3;
    v.strideBytes = sizeof points[0];
    v.colour = &points.data()->colour.r;
    v.count = points.size();
    return v;
}

/// A vertex with its texture coordinates in front.
struct TextureVertex {
    float s = 0;
    float t = 0;
    float x = 0;
    float y = 0;
    float z = 0;
};

inline VertexArray Vertices(std::vector<TextureVertex> const& points) {
    VertexArray v;
    v.position = &points.data()->x;
    v.dimension = 3;
    v.strideBytes = sizeof points[0];
    v.texture = &points.data()->s;
    v.count = points.size();
    return v;
}

/// The whole texture over a box, one texture corner a vertex.
inline std::vector<TextureVertex> ImageQuad(float x0, float y0, float x1, float y1) {
    return {{1, 0, x1, y0, 0}, {0, 0, x0, y0, 0}, {0, 1, x0, y1, 0}, {1, 1, x1, y1, 0}};
}

/// A canvas of one size, black.
inline Canvas MakeCanvas(int width = 64, int height = 64) {
    Canvas canvas;
    canvas.Resize(width, height);
    return canvas;
}

inline math::TMatrix<double, 3, 4> Matrix(std::initializer_list<double> rows) {
    math::TMatrix<double, 3, 4> m;
    std::copy(rows.begin(), rows.end(), m.data());
    return m;
}

/// Pixels that are not black.
inline int LitPixels(Canvas const& canvas) {
    int lit = 0;
    for (int y = 0; y < canvas.Height(); ++y) {
        for (int x = 0; x < canvas.Width(); ++x) {
            lit += canvas.Read(x, y) != kBlack;
        }
    }
    return lit;
}

/// One character a pixel, '.' where it is black; rows end in a line end.
inline std::string Map(Canvas const& canvas) {
    std::string map;
    for (int y = 0; y < canvas.Height(); ++y) {
        for (int x = 0; x < canvas.Width(); ++x) {
            map += canvas.Read(x, y) == kBlack ? '.' : '#';
        }
        map += '\n';
    }
    return map;
}

inline Picture PictureOf(Canvas const& canvas) {
    Picture picture(static_cast<unsigned>(canvas.Width()), static_cast<unsigned>(canvas.Height()));
    canvas.CopyTo(picture.Row<Colour>(0), picture.Stride());
    return picture;
}

} // namespace tests
