#pragma once

#include "drivers/raster/Canvas.h"

#include <SDL2/SDL.h>

#include <utility>
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
    std::pair<int, int>
    CopyChanges(raster::Colour const* from, unsigned char* shown, int width, Uint32 format);
    void Include(int y, int left, int right);

    std::vector<SDL_Rect> m_changed;
    std::vector<unsigned char> m_block; // as the picture would have it shown
};

} // namespace drivers::sdl
