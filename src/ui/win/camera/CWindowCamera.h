#pragma once

#include "math/TMatrix.h"
#include "ui/win/Event.h"

#include <boost/thread/mutex.hpp>

namespace ui::win {

class CWindowCore;
class CWindowCoreManager;

/// Decides how the world coordinates of what is drawn map onto a window, and may take the mouse.
///
/// Held by boost::shared_ptr in layers and cores. Two backends of one window share a camera, each
/// drawing and delivering events on its own thread: an implementation guards what it changes.
class CCamera {
public:
    virtual ~CCamera() = default;

    /// World (x, y, z, 1) to homogeneous normalised device coordinates: -1 .. +1, y upwards.
    virtual void GetMatrix(CWindowCore* core, math::TMatrix<double, 3u, 4u>& matrix) = 0;
    /// Device coordinates to the world of the view at rest, before the user moved it.
    virtual void
    GetRestInverseUVWMatrix(CWindowCore* core, math::TMatrix<double, 3u, 4u>& matrix) = 0;
    /// Offers an input event. @return true when the camera consumed it
    virtual bool Interact(CWindowCoreManager* manager, Event const& event) = 0;
    /// Called by each layer after its view was set, before its drawables.
    virtual void Draw(CWindowCore* core) = 0;

    /// The part of the window that this camera draws into: four doubles (x, y, width, height) in
    /// window pixels, owned by the camera and valid until the next call.
    double const* GetViewPort(CWindowCore* core);
    /// The same four numbers written to the caller's array, for backends that share a camera.
    void ResolveViewPort(CWindowCore const* core, double (&part)[4]) const;
    /// Chooses that part, as fractions of the window's size when normalised, else in pixels.
    void SetViewPort(float x, float y, float width, float height, bool normalised);
    bool CoversWholeWindow() const;

private:
    mutable boost::mutex m_viewPortLock; // guards what follows
    float m_viewPort[4] = {0.0F, 0.0F, 1.0F, 1.0F};
    double m_resolvedViewPort[4] = {0.0, 0.0, 0.0, 0.0};
    bool m_normalised = true;
};

} // namespace ui::win
