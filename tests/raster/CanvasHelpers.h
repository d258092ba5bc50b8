#pragma once

#include "drivers/raster/Canvas.h"
#include "math/Point2.h"
#include "math/Point3.h"
#include "support/PictureCompare.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

namespace tests {

using drivers::raster::Canvas;
using drivers::raster::Colour;
using drivers::raster::Texture;
using drivers::raster::VertexArray;

constexpr Colour kBlack(0, 0, 0, 255);
constexpr Colour kWhite(255, 255, 255, 255);

/// Points of two or three coordinates.
template <class P>
VertexArray Vertices(std::vector<P> const& points) {
    VertexArray v;
    v.position = &points.data()->x;
    v.dimension = sizeof(P) / sizeof(float);
    v.strideBytes = sizeof(P);
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

/// A vertex with its texture coordinates in front.
struct TextureVertex {
    float s = 0;
    float t = 0;
    float x = 0;
    float y = 0;
    float z = 0;
};

inline VertexArray Vertices(std::vector<ColourVertex> const& points) {
    VertexArray v = Vertices<ColourVertex>(points);
    v.dimension = 3;
    v.colour = &points.data()->colour.r;
    return v;
}

inline VertexArray Vertices(std::vector<TextureVertex> const& points) {
    VertexArray v = Vertices<TextureVertex>(points);
    v.dimension = 3;
    v.texture = &points.data()->s;
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

/// Calls visit(x, y, colour) for each pixel, row by row, as long as nothing fails fatally.
template <class Visit>
void ForPixels(Canvas const& canvas, Visit const& visit) {
    for (int y = 0; y < canvas.Height() && !testing::Test::HasFatalFailure(); ++y) {
        for (int x = 0; x < canvas.Width(); ++x) {
            visit(x, y, canvas.Read(x, y));
        }
    }
}

/// Two pictures that differ by no more than `most` in any channel.
inline void ExpectSame(Canvas const& a, Canvas const& b, int most, std::string const& what) {
    ForPixels(a, [&](int x, int y, Colour p) {
        Colour const q = b.Read(x, y);
        int const off = std::max(
            {std::abs(p.r - q.r), std::abs(p.g - q.g), std::abs(p.b - q.b), std::abs(p.a - q.a)});
        ASSERT_LE(off, most) << what << " at " << x << ", " << y;
    });
}

/// Pixels that are not black.
inline int LitPixels(Canvas const& canvas) {
    int lit = 0;
    ForPixels(canvas, [&](int, int, Colour c) { lit += c != kBlack; });
    return lit;
}

/// One character a pixel, '.' where it is black; rows end in a line end.
inline std::string Map(Canvas const& canvas) {
    std::string map;
    ForPixels(canvas, [&](int x, int, Colour c) {
        map += c == kBlack ? '.' : '#';
        map += x + 1 == canvas.Width() ? "\n" : "";
    });
    return map;
}

inline Picture PictureOf(Canvas const& canvas) {
    Picture picture(static_cast<unsigned>(canvas.Width()), static_cast<unsigned>(canvas.Height()));
    canvas.CopyTo(picture.Row<Colour>(0), picture.Stride());
    return picture;
}

} // namespace tests
