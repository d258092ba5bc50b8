#include "drivers/raster/detail/Clones.h"
#include "drivers/raster/detail/UprightImage.h"

#include <algorithm>

namespace drivers::raster::detail {

namespace {

/// Corners in order, the first side along a row.
bool IsUpright(Vertex<2> const& a, Vertex<2> const& b, Vertex<2> const& c, Vertex<2> const& d) {
    return a.y == b.y && c.y == d.y && b.x == c.x && d.x == a.x && a.a[1] == b.a[1] &&
           c.a[1] == d.a[1] && b.a[0] == c.a[0] && d.a[0] == a.a[0];
}

/// How an upright quad lies: the axes, and the pixels inside the clip.
struct Placing {
    ImageAxis across;
    ImageAxis down;
    math::Rect2<int> area;
};

int FirstPixel(ImageAxis const& axis, int lo, int hi) {
    return FirstCentre(std::min(axis.pixelFrom, axis.pixelTo), lo, hi);
}
int EndPixel(ImageAxis const& axis, int lo, int hi) {
    return FirstCentre(std::max(axis.pixelFrom, axis.pixelTo), lo, hi);
}

bool Place(math::Rect2<int> const& clip, Vertex<2> const* corners, Placing& placing) {
    int first = 0;
    if (!IsUpright(corners[0], corners[1], corners[2], corners[3])) {
        if (!IsUpright(corners[1], corners[2], corners[3], corners[0])) {
            return false;
        }
        first = 1;
    }
    Vertex<2> const& a = corners[first];
    Vertex<2> const& b = corners[first + 1];
    Vertex<2> const& c = corners[first + 2];
    for (double const v : {a.x, b.x, b.y, c.y, a.a[0], b.a[0], b.a[1], c.a[1]}) {
        if (!IsFinite(v)) {
            return false;
        }
    }
    placing.across = {a.x, b.x, a.a[0], b.a[0]};
    placing.down = {b.y, c.y, b.a[1], c.a[1]};
    placing.area = {
        FirstPixel(placing.across, clip.left, clip.right),
        FirstPixel(placing.down, clip.top, clip.bottom),
        EndPixel(placing.across, clip.left, clip.right),
        EndPixel(placing.down, clip.top, clip.bottom)};
    return true;
}

bool LeavesTexelsAsTheyAre(DrawState const& state) {
    return !state.blend && Opaque(state.colour) == Colour(255, 255, 255, 255);
}

/// Multiplies by the current colour.
RASTER_CLONES void ModulateRow(Colour* row, std::size_t count, Colour colour) {
    for (std::size_t i = 0; i < count; ++i) {
        row[i] = Modulate(row[i], colour);
    }
}

/// Blends colours over what is there, each with its own alpha.
RASTER_CLONES void
BlendOver(Colour const* __restrict from, std::size_t count, Colour* __restrict out) {
    for (std::size_t i = 0; i < count; ++i) {
        BlendPixel(out[i], from[i], from[i].a);
    }
}

/// Draws rows top <= y < bottom of a prepared image whose pixels begin at `left`.
void DrawRows(
    Target const& target,
    DrawState const& state,
    ImageRows const& image,
    int left,
    int top,
    int bottom,
    ImageScratch& scratch) {
    std::size_t const count = image.Count();
    bool const asTheyAre = LeavesTexelsAsTheyAre(state);
    bool const hasAlpha = HasAlpha(state.texture.format);
    scratch.row.resize(std::max(scratch.row.size(), count));
    ImageRows::Begin(scratch.rows);
    for (int y = top; y < bottom; ++y) {
        Colour* const out = target.At(left, y);
        bool const repeats = y > top && image.Repeats(y);
        if (asTheyAre && repeats) {
            std::copy_n(target.At(left, y - 1), count, out);
            continue;
        }
        Colour* const row = asTheyAre ? out : scratch.row.data();
        if (!repeats) {
            image.Make(y, row, scratch.rows);
            if (!asTheyAre) {
                ModulateRow(row, count, state.colour);
            }
        }
        if (state.blend) {
            BlendOver(row, count, out);
            continue;
        }
        if (!asTheyAre) {
            std::copy_n(row, count, out);
        }
        if (!asTheyAre || hasAlpha) {
            MakeOpaque(out, count);
        }
    }
}

} // namespace

bool IsUprightImage(Vertex<2> const* corners) {
    Placing placing;
    return Place({}, corners, placing);
}

math::Rect2<int> UprightArea(math::Rect2<int> const& clip, Vertex<2> const* corners) {
    Placing placing;
    return Place(clip, corners, placing) ? placing.area : math::Rect2<int>();
}

bool DrawUprightImage(
    Target const& target, DrawState const& state, Vertex<2> const* corners, ImageScratch& scratch) {
    Placing placing;
    if (!Place(target.clip, corners, placing)) {
        return false;
    }
    auto const& [left, top, right, bottom] = placing.area;
    if (left < right && top < bottom) {
        scratch.image.Prepare(
            state.texture, state.bilinear, placing.across, placing.down, left, right);
        DrawRows(target, state, scratch.image, left, top, bottom, scratch);
    }
    return true;
}

} // namespace drivers::raster::detail
