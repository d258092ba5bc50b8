#pragma once

#include "cimage/PixelTypes.h"
#include "drivers/raster/DrawState.h"
#include "drivers/raster/Workers.h"
#include "drivers/raster/detail/MeshRows.h"
#include "drivers/raster/detail/OutlineScratch.h"
#include "drivers/raster/detail/PointBatch.h"
#include "drivers/raster/detail/RowBands.h"
#include "drivers/raster/detail/TextureLevels.h"
#include "drivers/raster/detail/UprightImage.h"
#include "math/Point2.h"
#include "math/Rect2.h"
#include "math/TMatrix.h"

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace drivers::raster {

namespace detail {
struct HPoint;
struct Target;
struct View;
} // namespace detail

/// A picture in memory and the operations that draw into it.
///
/// Belongs to one thread at a time. Everything is drawn at once, into pixels that the canvas owns;
/// nothing of what is passed in is kept but the state, whose texture is borrowed.
///
///     Canvas canvas;
///     canvas.Resize(640, 480);
///     canvas.Clear({0, 0, 0, 255});
///     canvas.State().colour = {255, 0, 0, 255};
///     canvas.Line(10, 10, 600, 400);
///
/// Where things fall, in pixels, y down:
/// - Pixel (i, j) covers [i, i+1) x [j, j+1); its centre is (i + 0.5, j + 0.5).
/// - A point lights pixel (floor x, floor y); a size n > 1 (rounded) gives n x n pixels, from
///   n / 2 pixels left of and above that one.
/// - Aliased lines are addressed by pixel: ends floor to pixels and both end pixels are drawn.
///   Width 1 is a Bresenham line, the same pixels in both directions. Wider ones (rounded to whole
///   pixels) are rectangles around the line between the pixel centres, with mitred joins (rounded
///   where the angle is sharp). The corners of an outlined box or ellipse floor to pixels likewise
///   as long as the view keeps the axes.
/// - With lineSmooth, lines and outlines are the exact rectangle of that width around the exact
///   line with butt ends, each pixel covered by the area inside: a line of no length is not seen.
///   So are the edges of filled shapes, triangles and quads (but not with the depth test: a share
///   has no depth): those of one call add up in a pixel, so that shared edges are not seen.
/// - Filled shapes cover the pixels whose centre is inside; a centre on an edge belongs to the
///   shape on its right, or below a horizontal edge. So a box with whole-numbered corners covers
///   exactly (x1 - x0) * (y1 - y0) pixels, and shapes that share an edge share no pixel.
/// - Texture (0, 0) is the outer corner of the first texel, (1, 1) the far corner of the last, so
///   an image drawn one to one is an exact copy. Outside, the edge texels go on. Upright images
///   without perspective keep hard edges.
///
/// The picture is opaque. With blending off, colours are stored and their alpha is ignored; with
/// blending on, each channel becomes (colour * a + old * (255 - a)) / 255, rounded to nearest. A
/// polyline or outline is blended as one shape: where its segments meet nothing is blended twice.
///
/// Points nearer to the camera than NearDistance, or behind it, are not there: lines and polygons
/// are cut. A point, segment or shape with a coordinate that is not finite is left out; huge
/// coordinates are cut without loss of what is visible.
///
/// With depthTest, in views with perspective, a pixel is drawn where nothing nearer was drawn
/// before with it, and what lies outside of the range of distances is cut off as well. Translucent
/// pixels take their place in the depths too; of an anti-aliased edge and of a mask, those that are
/// covered by half. Views without perspective have no distances, and draw over everything.
class Canvas {
public:
    static constexpr int MaxSize = 32767;
    static constexpr double NearDistance = detail::NearDistance;

    int Width() const { return m_width; }
    int Height() const { return m_height; }

    /// Makes the picture width x height opaque black pixels; either may be 0. Resets the view to
    /// pixels and the clip to the whole picture. Throws std::length_error above MaxSize.
    void Resize(int width, int height);
    /// Fills the whole picture, whatever the clip, and forgets all depths; it stays opaque. From
    /// here to the next time no pixel of a texture may change.
    void Clear(Colour colour);
    /// Forgets the depths in a rectangle: what is drawn there next is seen.
    void ClearDepth(math::Rect2<int> const& area);

    /// Sets how world coordinates become pixels and where drawing is allowed.
    ///
    /// @param worldToPixel (X, Y, W) = M * (x, y, z, 1), pixel = (X / W, Y / W); W is the distance
    ///                     in front of the camera, or 1 everywhere (last row 0 0 0 1) for views
    ///                     without perspective, which are faster
    /// @param clip         pixels, right and bottom just outside; cut to the picture
    void SetView(math::TMatrix<double, 3, 4> const& worldToPixel, math::Rect2<int> const& clip);
    /// The view in which world coordinates are pixels, z ignored, and nothing is clipped.
    void SetPixelView();
    /// Whether depths are compared: the state wants it and the view has distances.
    bool TestsDepth() const { return m_state.depthTest && !m_affine; }
    /// Whether what is so far in front of the camera is drawn, as far as the distance goes.
    bool IsDrawnAt(double distance) const;
    /// The clip as it stands, cut to the picture.
    math::Rect2<int> const& Clip() const { return m_clip; }

    /// Lets threads help with what is large; null: none. The picture is the same for any number.
    void SetWorkers(std::shared_ptr<Workers> workers) { m_workers = std::move(workers); }
    /// From about how many pixels on a pass is shared with the workers: fewer are drawn sooner than
    /// a thread wakes up.
    void SetWorthSharing(double pixels) { m_worthSharing = pixels; }

    /// What the operations below draw with; lasts until it is changed.
    DrawState& State() { return m_state; }
    DrawState const& State() const { return m_state; }

    /// Draws each vertex as a point: in its own colour, in the colour of its texel, or in the
    /// current colour.
    void Points(VertexArray const& vertices);
    /// Draws vertices 0-1, 2-3, ... as separate lines; with colours these run from end to end.
    void Lines(VertexArray const& vertices);
    void Line(double x0, double y0, double x1, double y1);
    /// Joins the vertices in the current colour; closed adds the way back. One vertex is a line of
    /// no length.
    void Polyline(VertexArray const& vertices, bool closed);
    /// A box by two opposite corners, filled or outlined.
    void Box(double x0, double y0, double x1, double y1, bool filled);
    /// An ellipse in a bounding box: the points centre + (rx cos a, ry sin a) for a from start to
    /// end, in radians and in world axes; the whole one where the angles are 2 pi or more apart.
    /// A part is filled as a pie, and outlined with its two radii.
    void Ellipse(double x0, double y0, double x1, double y1, double start, double end, bool filled);
    /// Fills vertices 0-1-2, 3-4-5, ...: vertex colours or textures are interpolated, a texture is
    /// multiplied by the current colour. With normals, and while a light is on, the vertices are
    /// lit and their colours interpolated. Incomplete triangles at the end are left out.
    void Triangles(VertexArray const& vertices);
    /// Fills convex quads of four vertices in order around them; as Triangles.
    void Quads(VertexArray const& vertices);
    /// Draws the current colour through a mask of 8-bit coverage whose first pixel lies at (x, y).
    /// Always blended: coverage times alpha with blending on, coverage alone with blending off.
    /// Lies at the state's maskDistance for the depth test.
    void BlendMask(
        int x, int y, unsigned char const* coverage, int width, int height, std::ptrdiff_t stride);

    /// Finds the last of some textured triangles (corners 3) or convex quads (corners 4) that
    /// covers a pixel, and is not hidden in the depths there. Draws nothing.
    /// @param texture s and t at the pixel's centre
    /// @return false, changing nothing, where none of them is
    bool FindTexture(
        VertexArray const& vertices,
        std::size_t corners,
        int x,
        int y,
        math::Point2<double>& texture);

    /// Row y from its first pixel, 0 <= y < Height().
    Colour* Row(int y) {
        ClearExcept({});
        return m_pixels.data() + RowStart(y);
    }
    Colour const* Row(int y) const {
        ClearExcept({});
        return m_pixels.data() + RowStart(y);
    }
    /// One pixel, all zero outside the picture.
    Colour Read(int x, int y) const;
    /// Copies the picture to rows that are strideBytes apart.
    void CopyTo(cimage::TRGBA<unsigned char>* out, std::size_t strideBytes) const;
    void CopyTo(cimage::TRGB<unsigned char>* out, std::size_t strideBytes) const;

private:
    std::size_t RowStart(int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width);
    }
    void ClearExcept(math::Rect2<int> const& overwritten) const;
    detail::Target MakeTarget();
    detail::View MakeView() const;

    int m_width = 0;
    int m_height = 0;
    // Clearing waits until the picture is drawn into or read: mostly an image covers all of it.
    mutable std::vector<Colour> m_pixels;
    mutable bool m_clearing = false;
    Colour m_clearColour;
    std::vector<float> m_nearness; // 1 / distance a pixel; empty until the first depth test
    math::TMatrix<double, 3, 4> m_worldToPixel = math::TMatrix<double, 3, 4>::Identity();
    bool m_affine = false;
    math::Rect2<int> m_clip;
    DrawState m_state;
    /// Working storage of a thread.
    struct Scratch {
        detail::OutlineScratch outline;
        detail::ImageScratch image;
        detail::MeshScratch mesh;
        detail::PointBatch points;
    };
    /// Calls draw(target, scratch): once, or, when about so many pixels are to be drawn that it
    /// pays, for bands of the clip on all workers. No pixel depends on where the clip ends, so the
    /// picture is the same.
    template <class Draw>
    void InBands(double pixels, Draw const& draw);
    /// Calls work(0) ... work(count - 1), on all workers where there are any.
    template <class Work>
    void Share(int count, Work const& work);
    /// Calls draw(band, scratch) for each of m_rowBands, shared on all workers or on this thread.
    template <class Draw>
    void ShareBands(bool shared, Draw const& draw);
    double PixelsOf(VertexArray const& vertices, std::size_t corners) const;
    double PixelsWithin(math::Point2<double> const* corners, std::size_t count) const;
    template <int Corners>
    bool DrawSmoothMesh(VertexArray const& vertices);
    void FillShape(detail::View const& view, std::vector<detail::HPoint> const& outline);

    std::vector<Scratch> m_scratch = std::vector<Scratch>(1); // one a band
    detail::RowBands m_rowBands;                              // working storage
    detail::LevelsInUse m_levels;
    double m_worthSharing = 1 << 16;
    std::shared_ptr<Workers> m_workers; // null: no helping threads
};

} // namespace drivers::raster
