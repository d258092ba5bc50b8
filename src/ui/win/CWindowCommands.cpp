#include "ui/win/CWindowCommands.h"

#include "kiv/Diagnostics.h"

#include <cstring>
#include <type_traits>

namespace ui::win {

void CWndCommand_InjectEvent::Execute(CWindowCoreManager* manager) {
    Event event = m_event; // layers write their coordinates into it
    manager->OnEvent(event);
}

void CWndCommand_SetWindowShape::Alloc(unsigned width, unsigned height) {
    m_mask.reset();
    m_stride = (width + 7U) & ~7U;
    m_height = height;
    // A byte a pixel although the rows, packed, fill an eighth of it: the size is part of what
    // drivers are promised.
    m_mask.reset(new unsigned char[static_cast<std::size_t>(m_stride) * height]());
}

template <class P>
void CWndCommand_SetWindowShape::ImportMask(
    P const* pixels, unsigned width, unsigned height, cimage::TRGBA<unsigned char> const& key) {
    Alloc(width, height);
    if constexpr (std::is_same_v<P, cimage::TRGB<unsigned char>>) {
        unsigned const rowBytes = m_stride / 8;
        std::memset(m_mask.get(), 0, static_cast<std::size_t>(rowBytes) * height);
        for (unsigned y = 0; y < height; ++y) {
            unsigned char* const row = m_mask.get() + static_cast<std::size_t>(y) * rowBytes;
            P const* const source = pixels + static_cast<std::size_t>(y) * width;
            for (unsigned x = 0; x < width; ++x) {
                if (source[x] != P(key.r, key.g, key.b)) {
                    row[x / 8] = static_cast<unsigned char>(row[x / 8] | 1U << (x % 8));
                }
            }
        }
    } else {
        // Shapes by grey level or by alpha: what the mask should be was never agreed upon.
        kiv::PrintLine(" Unimplemente Yet ");
    }
}

template void CWndCommand_SetWindowShape::ImportMask<cimage::TRGB<unsigned char>>(
    cimage::TRGB<unsigned char> const*, unsigned, unsigned, cimage::TRGBA<unsigned char> const&);
template void CWndCommand_SetWindowShape::ImportMask<cimage::TRGBA<unsigned char>>(
    cimage::TRGBA<unsigned char> const*, unsigned, unsigned, cimage::TRGBA<unsigned char> const&);
template void CWndCommand_SetWindowShape::ImportMask<unsigned char>(
    unsigned char const*, unsigned, unsigned, cimage::TRGBA<unsigned char> const&);

void CWndCommand_SetWindowShape::Execute(CWindowCoreManager* manager) {
    manager->SetWindowShape(m_mask.get(), m_stride, m_height);
}

void CWndQuery::Close() {
    boost::lock_guard<boost::mutex> const lock(m_mutex);
    m_open = false;
}

void CWndCommand_GetTitle::Execute(CWindowCoreManager* manager) {
    Answer([&] { title = manager->Title(); });
}

void CWndCommand_GetPosition::Execute(CWindowCoreManager* manager) {
    Answer([&] {
        x = manager->X();
        y = manager->Y();
    });
}

void CWndCommand_GetSize::Execute(CWindowCoreManager* manager) {
    Answer([&] {
        *m_width = manager->Width();
        *m_height = manager->Height();
    });
}

void CWndCommand_GetScreenGeometry::Execute(CWindowCoreManager* manager) {
    ScreenGeometry screen;
    bool const known = manager->GetScreenGeometry(&screen);
    Answer([&] {
        success = known;
        geometry = screen;
    });
}

void CWndCommand_GetColorUnderMouse::Execute(CWindowCoreManager* manager) {
    cimage::TRGBA<unsigned char> colour;
    if (manager->GetHighlightColor(&colour)) {
        Answer([&] { *m_colour = colour; });
    }
}

void CWndCommand_GetImageCounts::Execute(CWindowCoreManager* manager) {
    ImageCounts stored;
    bool const found = manager->GetImageCounts(m_x, m_y, stored);
    Answer([&] {
        success = found;
        counts = stored;
    });
}

void CWndCommand_GrabImage::Execute(CWindowCoreManager* manager) {
    auto const picture = boost::make_shared<CImageRGB>(manager->Width(), manager->Height());
    manager->GetImage(*picture);
    Answer([&] { image = picture; });
}

} // namespace ui::win
