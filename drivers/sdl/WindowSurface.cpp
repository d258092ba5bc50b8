#include "drivers/sdl/WindowSurface.h"

#include "drivers/sdl/SdlThread.h"

namespace drivers::sdl {

namespace {

constexpr Uint32 textureFormat = SDL_PIXELFORMAT_RGB888;

} // namespace

void WindowSurface::Attach(SDL_Window* window) {
    m_window = window;
    if (SDL_GetWindowSurface(window) == nullptr) {
        m_renderer = SDL_CreateRenderer(window, -1, 0);
        Check(m_renderer != nullptr, "SDL_CreateRenderer");
    }
}

void WindowSurface::Detach() {
    if (m_renderer != nullptr) {
        SDL_DestroyRenderer(m_renderer);
    }
    m_renderer = nullptr;
    m_texture = nullptr;
    m_shown.reset();
}

void WindowSurface::Show(raster::Canvas const& picture, bool all) {
    if (m_renderer != nullptr) {
        ShowTexture(picture, all);
        return;
    }
    SDL_Surface* const surface = SDL_GetWindowSurface(m_window);
    Check(surface != nullptr, "SDL_GetWindowSurface");
    std::vector<SDL_Rect> const& changed = m_copy.Update(picture, *surface, all);
    if (!changed.empty()) {
        Check(
            SDL_UpdateWindowSurfaceRects(
                m_window, changed.data(), static_cast<int>(changed.size())) == 0,
            "SDL_UpdateWindowSurfaceRects");
    }
}

void WindowSurface::ShowTexture(raster::Canvas const& picture, bool all) {
    bool const isNew = FitTexture();
    std::vector<SDL_Rect> const& changed = m_copy.Update(picture, *m_shown, all || isNew);
    for (SDL_Rect const& r : changed) {
        auto const* const pixels = static_cast<unsigned char const*>(m_shown->pixels) +
                                   std::ptrdiff_t{r.y} * m_shown->pitch + std::ptrdiff_t{r.x} * 4;
        Check(SDL_UpdateTexture(m_texture, &r, pixels, m_shown->pitch) == 0, "SDL_UpdateTexture");
    }
    if (!changed.empty()) {
        Check(SDL_RenderCopy(m_renderer, m_texture, nullptr, nullptr) == 0, "SDL_RenderCopy");
        SDL_RenderPresent(m_renderer);
    }
}

/// @return whether the texture is a new one
bool WindowSurface::FitTexture() {
    int width = 0;
    int height = 0;
    Check(SDL_GetRendererOutputSize(m_renderer, &width, &height) == 0, "SDL_GetRendererOutputSize");
    if (m_shown && m_shown->w == width && m_shown->h == height) {
        return false;
    }
    if (m_texture != nullptr) {
        SDL_DestroyTexture(m_texture);
    }
    m_texture =
        SDL_CreateTexture(m_renderer, textureFormat, SDL_TEXTUREACCESS_STREAMING, width, height);
    Check(m_texture != nullptr, "SDL_CreateTexture");
    m_shown.reset(SDL_CreateRGBSurfaceWithFormat(0, width, height, 32, textureFormat));
    Check(m_shown != nullptr, "SDL_CreateRGBSurfaceWithFormat");
    return true;
}

} // namespace drivers::sdl
