#pragma once

#include "drivers/raster/Canvas.h"

#include <SDL2/SDL.h>

#include <vector>

namespace drivers::sdl {

/// Brings a window's surface up to a picture and tells what changed, as a few rectangles. Where
/// their sizes differ, the part that both have.
class SurfaceCopy {
public:
    /// @param all everything counts as changed: what the surface holds is not on the screen
    std::vector<SDL_Rect> const&
    Update(raster::Canvas const& picture, SDL_Surface& surface, bool all);

private:
    /// One row of the picture in the surface's format.
    void Convert(raster::Colour const* from, int width, SDL_PixelFormat const& format);
    void CopyChanges(int y, int width, unsigned char* shown, int pixelBytes);
    void Include(int y, int left, int right);

    std::vector<SDL_Rect> m_changed;
    std::vector<unsigned char> m_row;
};

} // namespace drivers::sdl
