#include "support/RecordingCore.h"

#include "cimage/Conversion.h"
#include "support/TestParams.h"

#include <algorithm>
#include <cstring>

namespace tests {

RecordingCore::RecordingCore(unsigned width, unsigned height)
    : RecordingCore(MakeParams("", width, height)) {}

RecordingCore::RecordingCore(ui::win::CreationParams const& params) : CWindowCoreManager(params) {}

std::size_t RecordingCore::Count(std::string const& operation) const {
    return static_cast<std::size_t>(
        std::count_if(log.begin(), log.end(), [&operation](std::string const& line) {
            return line.substr(0, line.find(' ')) == operation;
        }));
}

void RecordingCore::SetViewPort(
    ui::win::ViewPortMode mode,
    ui::win::CWindowViewPort* viewPort,
    boost::shared_ptr<ui::win::CCamera> camera) {
    Log("SetViewPort", mode, viewPort != nullptr, camera != nullptr);
    CWindowCoreManager::SetViewPort(mode, viewPort, camera);
}

void RecordingCore::SetFontName(char const* name) {
    Log("SetFontName", name);
    CWindowCoreManager::SetFontName(name);
}

bool RecordingCore::GetTextSize(math::Rect2<double>& rectangle, char const* text) {
    rectangle = {0, 0, 8.0 * static_cast<double>(std::strlen(text)), 16};
    return answer;
}

bool RecordingCore::GetColor(Colour* c) {
    *c = colour;
    return answer;
}

bool RecordingCore::EnableZBuffer(double zNear, double zFar) {
    Log("EnableZBuffer", zNear, zFar);
    return CWindowCoreManager::EnableZBuffer(zNear, zFar);
}

bool RecordingCore::DisableZBuffer() {
    Log("DisableZBuffer");
    return CWindowCoreManager::DisableZBuffer();
}

bool RecordingCore::SetTranslation(double dx, double dy, bool relative) {
    Log("SetTranslation", dx, dy, relative);
    return CWindowCoreManager::SetTranslation(dx, dy, relative);
}

bool RecordingCore::SetBlend(ui::win::_BlendType_t type) {
    Log("SetBlend", type);
    return CWindowCoreManager::SetBlend(type);
}

bool RecordingCore::GetImage(cimage::CImage& image) {
    cimage::TImage<cimage::TRGB<unsigned char>> frame(Width(), Height());
    for (unsigned y = 0; y < frame.Height(); ++y) {
        std::fill_n(frame[y], frame.Width(), frameColour);
    }
    cimage::Convert(frame, image);
    return answer;
}

void RecordingCore::setLastDrawnImageMetadata(boost::property_tree::ptree const* metadata) {
    Log("setLastDrawnImageMetadata", metadata != nullptr);
    CWindowCoreManager::setLastDrawnImageMetadata(metadata);
}

} // namespace tests
