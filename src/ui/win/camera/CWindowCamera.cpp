#include "ui/win/camera/CWindowCamera.h"

#include "ui/win/CWindowCore.h"

#include <boost/thread/lock_guard.hpp>

namespace ui::win {

double const* CCamera::GetViewPort(CWindowCore* core) {
    ResolveViewPort(core, m_resolvedViewPort);
    return m_resolvedViewPort;
}

void CCamera::ResolveViewPort(CWindowCore const* core, double (&part)[4]) const {
    boost::lock_guard<boost::mutex> const lock(m_viewPortLock);
    float const extent[2] = {static_cast<float>(core->Width()), static_cast<float>(core->Height())};
    for (int i = 0; i < 4; ++i) {
        // The product is formed in single precision before it is widened.
        float const pixels = m_normalised ? extent[i % 2] * m_viewPort[i] : m_viewPort[i];
        part[i] = pixels;
    }
}

void CCamera::SetViewPort(float x, float y, float width, float height, bool normalised) {
    boost::lock_guard<boost::mutex> const lock(m_viewPortLock);
    m_viewPort[0] = x;
    m_viewPort[1] = y;
    m_viewPort[2] = width;
    m_viewPort[3] = height;
    m_normalised = normalised;
}

bool CCamera::CoversWholeWindow() const {
    boost::lock_guard<boost::mutex> const lock(m_viewPortLock);
    return m_normalised && m_viewPort[0] == 0.0F && m_viewPort[1] == 0.0F &&
           m_viewPort[2] == 1.0F && m_viewPort[3] == 1.0F;
}

} // namespace ui::win
