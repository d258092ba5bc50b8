#pragma once

#include "math/Point2.h"
#include "math/Point3.h"
#include "ui/win/CWidget.h"
#include "ui/win/CWindowCore.h"
#include "ui/win/DrawingTypes.h"

#include <cstddef>
#include <vector>

namespace ui::win {

/// What the drawables over arrays of vertices share: the array and the ways to fill it.
/// V is math::Point2<float>, math::Point3<float>, C4UB_V3F_t or T2F_V3F_t.
template <class V>
class VertexArray : public CWidget {
public:
    VertexArray(V const* vertices, unsigned count) : m_vertices(vertices, vertices + count) {}
    explicit VertexArray(std::vector<V> const& vertices) : m_vertices(vertices) {}
    /// Takes the caller's storage and leaves the vector empty.
    explicit VertexArray(std::vector<V>& vertices) { m_vertices.swap(vertices); }

    std::vector<V> const& Vertices() const { return m_vertices; }
    /// For filling in allocated vertices, before the object is pushed.
    std::vector<V>& Vertices() { return m_vertices; }

protected:
    VertexArray() = default;

    unsigned Primitives(unsigned verticesEach) const {
        return static_cast<unsigned>(m_vertices.size() / verticesEach);
    }

private:
    std::vector<V> m_vertices;
};

/// A core operation that draws primitives from an array.
template <class V>
using ArrayOperation = bool (CWindowCore::*)(V const* vertices, unsigned primitives);

/// An array drawn by one core operation as primitives of so many vertices each; vertices that do
/// not make a whole primitive are left out.
template <class V, ArrayOperation<V> Operation, unsigned VerticesEach>
class PrimitiveArray : public VertexArray<V> {
public:
    using VertexArray<V>::VertexArray;

    /// @return 1
    int Draw(CWindowCore* core) override {
        (core->*Operation)(this->Vertices().data(), this->Primitives(VerticesEach));
        return 1;
    }
};

/// Separate points.
template <class V>
class Pixels : public PrimitiveArray<V, &CWindowCore::DrawPixels, 1> {
    using Base = PrimitiveArray<V, &CWindowCore::DrawPixels, 1>;

public:
    using Base::Base;
    explicit Pixels(V const& vertex) : Base(&vertex, 1) {}
    explicit Pixels(unsigned count) { this->Vertices().resize(count); }
    char const* getName() const override { return "Pixels"; }
};

/// Separate segments of two vertices.
template <class V>
class LineStream : public PrimitiveArray<V, &CWindowCore::DrawLineStream, 2> {
    using Base = PrimitiveArray<V, &CWindowCore::DrawLineStream, 2>;

public:
    using Base::Base;
    explicit LineStream(unsigned segments) { this->Vertices().resize(2 * std::size_t{segments}); }
    char const* getName() const override { return "LineStream"; }
};

/// Separate filled triangles.
template <class V>
class Triangles : public PrimitiveArray<V, &CWindowCore::DrawTriangles, 3> {
    using Base = PrimitiveArray<V, &CWindowCore::DrawTriangles, 3>;

public:
    using Base::Base;
    char const* getName() const override { return "Triangles"; }
};

/// Separate filled quads, the vertices in order around each.
template <class V>
class Boxes : public PrimitiveArray<V, &CWindowCore::DrawQuads, 4> {
    using Base = PrimitiveArray<V, &CWindowCore::DrawQuads, 4>;

public:
    using Base::Base;
    char const* getName() const override { return "Boxes"; }
};

/// A line through all vertices; `closed` adds the segment from the last to the first.
/// V is math::Point2<float> or math::Point3<float>.
template <class V>
class PolyLine : public VertexArray<V> {
public:
    explicit PolyLine(bool closed) : m_closed(closed) {}
    PolyLine(V const* vertices, unsigned count, bool closed)
        : VertexArray<V>(vertices, count), m_closed(closed) {}
    PolyLine(std::vector<V> const& vertices, bool closed)
        : VertexArray<V>(vertices), m_closed(closed) {}
    /// Takes the caller's storage and leaves the vector empty.
    PolyLine(std::vector<V>& vertices, bool closed) : VertexArray<V>(vertices), m_closed(closed) {}
    PolyLine(V const& p0, V const& p1) : m_closed(false) { this->Vertices() = {p0, p1}; }
    PolyLine(double x0, double y0, double x1, double y1)
        : PolyLine(InPlane(x0, y0), InPlane(x1, y1)) {}

    /// @return 1
    int Draw(CWindowCore* core) override {
        core->DrawPolyLine(this->Vertices().data(), this->Primitives(1), m_closed);
        return 1;
    }

private:
    static V InPlane(double x, double y) {
        V vertex;
        vertex.x = static_cast<float>(x);
        vertex.y = static_cast<float>(y);
        return vertex;
    }

    bool const m_closed;
};

extern template class Pixels<math::Point2<float>>;
extern template class Pixels<math::Point3<float>>;
extern template class Pixels<C4UB_V3F_t>;
extern template class Pixels<T2F_V3F_t>;
extern template class LineStream<math::Point2<float>>;
extern template class LineStream<math::Point3<float>>;
extern template class LineStream<C4UB_V3F_t>;
extern template class Triangles<math::Point2<float>>;
extern template class Triangles<math::Point3<float>>;
extern template class Triangles<C4UB_V3F_t>;
extern template class Triangles<T2F_V3F_t>;
extern template class Boxes<math::Point2<float>>;
extern template class Boxes<math::Point3<float>>;
extern template class Boxes<C4UB_V3F_t>;
extern template class Boxes<T2F_V3F_t>;
extern template class PolyLine<math::Point2<float>>;
extern template class PolyLine<math::Point3<float>>;

} // namespace ui::win
