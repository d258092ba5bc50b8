#include "ui/win/CWidget_Registration.h"
#include "ui/win/CWindowCoreManager.h"
#include "ui/win/detail/Truncate.h"
#include "ui/win/image/ColorSpaceConversions.h"
#include "ui/win/widgets/Gadgets.h"

#include <boost/property_tree/ptree.hpp>

#include <cmath>
#include <cstdlib>
#include <locale>
#include <sstream>

namespace ui::win {

namespace {

using Colour = CWindowCore::Colour;
using boost::posix_time::ptime;

CWidget_Registration<StatusBar> const registrar("StatusBar");

constexpr Colour white(255, 255, 255, 255);
constexpr Colour green(0, 255, 0, 255);

constexpr int singleLineHeight = 18;
constexpr int propertyLineHeight = 14;
constexpr int propertyMargin = 4;
constexpr double degreesPerRadian = 57.29577951308232;
constexpr double microsecondsPerSecond = 1000000;

constexpr std::array<char const*, 8> titles = {
    "", "Window", "Ruler", "Mouse", "Refresh", "Performance", "User", "Image Property"};

/// A stream that writes numbers the same in every locale.
struct PlainStream : std::ostringstream {
    PlainStream() { imbue(std::locale::classic()); }
};

ptime Now() {
    return boost::posix_time::microsec_clock::universal_time();
}

std::int64_t Distance(std::int32_t a, std::int32_t b) {
    return std::abs(std::int64_t{a} - b);
}

/// Share of an extent, in single precision as layers locate events.
float Fraction(std::int32_t position, int from, int to) {
    return static_cast<float>(std::int64_t{position} - from) /
           static_cast<float>(std::int64_t{to} - from);
}

/// World position of a pixel as the highest layer shows it; without layers, pixels are the world.
math::Point2<float> Unproject(CWindowCoreManager& manager, math::Point2<std::int32_t> const& p) {
    auto const& layers = manager.DrawerList().Layers();
    if (layers.empty()) {
        return math::Point2<float>(p);
    }
    CWindowLayer const& top = layers.rbegin()->second;
    math::Rect2<int> const& r = top.LastPixelRectangle();
    float const u = 2.0F * Fraction(p.x, r.left, r.right) - 1.0F;
    float const v = 1.0F - 2.0F * Fraction(p.y, r.top, r.bottom);
    math::TMatrix<double, 3, 3> const& m = top.LastInverseTransform();
    auto const row = [&](int i) { return static_cast<float>(m(i, 0) * u + m(i, 1) * v + m(i, 2)); };
    float const w = row(2);
    return {row(0) / w, row(1) / w};
}

std::string WindowText(CWindowCore const& core) {
    PlainStream out;
    out << "Win Pos:" << core.X() << ',' << core.Y() << " Size:" << core.Width() << ','
        << core.Height();
    return out.str();
}

std::string RefreshText(CWindowCore const& core) {
    PlainStream out;
    out << "RefreshCount: " << core.DrawCount() << '/' << core.ReplaceCount()
        << ((core.Flags() & StateDumpFrames) != 0 ? "*" : "")
        << " DumpCount:" << static_cast<std::uint64_t>(core.DumpCount());
    return out.str();
}

std::string PerformanceText(CWindowCore const& core) {
    double const seconds = core.DrawTime();
    bool const isShort = seconds <= 0.01;
    PlainStream out;
    out << "FPS: " << 1.0F / core.FrameInterval()
        << " DrawTime:" << std::llround(seconds * (isShort ? 1000000 : 1000))
        << (isShort ? "usec" : "msec") << " DrawQueue:" << core.DrawQueueLength();
    return out.str();
}

std::string PropertyText(CWindowCore& core) {
    std::string text;
    boost::property_tree::ptree const* const metadata = core.getLastDrawnImageMetadata();
    if (metadata == nullptr) {
        return text;
    }
    for (auto const& [key, node] : *metadata) {
        text += text.empty() ? "" : "\n";
        text += key + ": ";
        if (!node.empty()) {
            text += "[subnode]";
        } else {
            text += key.compare(0, 1, "_") == 0 ? "[binary data]" : node.data();
        }
    }
    return text;
}

void DrawText(CWindowCore* core, double size, int x, int y, std::string const& text) {
    core->SetFontSizeEx(size, size, false);
    core->DrawText({static_cast<double>(x), static_cast<double>(y), 0}, text.c_str());
}

} // namespace

StatusBar::StatusBar(kiv::ini::INIFile&) : m_start(Now()) {}

bool StatusBar::Interact(CWindowCoreManager* manager, Event const& event) {
    if (event.type == EventMotion) {
        m_pointer = {event.screenX, event.screenY};
        if (m_mode == ModeMouse) {
            m_pointerWorld = math::Point2<double>(Unproject(*manager, m_pointer));
            manager->GetPixel(&m_colour, m_pointer.x, m_pointer.y);
            manager->Refresh(false);
        }
        bool const drags = m_mode == ModeRuler && (event.state & ButtonLeft) != 0;
        return drags && DragRuler(manager, (event.state & StateShift) != 0);
    }
    if (event.type == EventPress && m_mode == ModeRuler && (event.button & ButtonLeft) != 0) {
        m_rulerActive = true;
        m_pixelStart = m_pixelEnd = {event.screenX, event.screenY};
        m_worldStart = m_worldEnd = Unproject(*manager, m_pixelStart);
        m_pointerWorld = math::Point2<double>(m_worldStart);
        manager->Refresh(false);
        return true;
    }
    return false;
}

/// Draws the segment out to the pointer, @param snap along the axis that it is nearer to.
bool StatusBar::DragRuler(CWindowCoreManager* manager, bool snap) {
    m_pixelEnd = m_pointer;
    if (snap) {
        bool const level =
            Distance(m_pixelEnd.x, m_pixelStart.x) > Distance(m_pixelEnd.y, m_pixelStart.y);
        (level ? m_pixelEnd.y : m_pixelEnd.x) = level ? m_pixelStart.y : m_pixelStart.x;
    }
    m_worldEnd = Unproject(*manager, m_pixelEnd);
    manager->Refresh(false);
    return true;
}

int StatusBar::Draw(CWindowCore* core) {
    if (m_mode <= ModeNone) {
        return 0;
    }
    m_left = 0;
    m_right = static_cast<std::int32_t>(core->Width());
    std::string const text = Text(*core);
    if (m_mode == ModeRuler) {
        core->SetColor(green);
        core->DrawLine(m_pixelStart.x, m_pixelStart.y, m_pixelEnd.x, m_pixelEnd.y);
    }
    m_height = BarHeight(*core);
    Place(*core);
    core->SetColor(BackgroundAt(m_start, Now()));
    core->DrawBox(m_left, m_top, m_right, m_top + m_height, true);
    core->DrawQuads(m_tab.data(), 1);
    core->SetColor(white);
    core->SetTextAlign(AlignLeft, AlignBaseline);
    DrawText(core, 13.5, m_left + 2, m_top + 14, text);
    DrawText(core, 8, m_left + 12, m_titleBaseline, Title());
    return 1;
}

std::string StatusBar::Title() const {
    auto const index = static_cast<std::size_t>(m_mode);
    return index < titles.size() ? titles[index] : "(none)";
}

std::string StatusBar::Text(CWindowCore& core) {
    switch (m_mode) {
    case ModeWindow:
        return WindowText(core);
    case ModeRuler:
        return RulerText();
    case ModeMouse:
        return MouseText();
    case ModeRefresh:
        return RefreshText(core);
    case ModePerformance:
        return PerformanceText(core);
    case ModeUser:
        return core.CustomStatus();
    case ModeImageProperty:
        return PropertyText(core);
    default:
        return {};
    }
}

std::string StatusBar::RulerText() const {
    if (!m_rulerActive) {
        return "Press Left Mouse Button to Begin Measurement";
    }
    double const dx = static_cast<double>(m_worldEnd.x) - m_worldStart.x;
    double const dy = static_cast<double>(m_worldEnd.y) - m_worldStart.y;
    // Counter-clockwise, while y grows downwards; a level segment to the right reads "-0".
    double const angle = std::atan2(-dy, dx) * degreesPerRadian;
    PlainStream out;
    out << "Ruler: " << detail::Truncate(m_worldStart.x) << ',' << detail::Truncate(m_worldStart.y)
        << " - " << detail::Truncate(m_worldEnd.x) << ',' << detail::Truncate(m_worldEnd.y) << ": "
        << static_cast<float>(std::sqrt(dx * dx + dy * dy)) << "px, " << static_cast<float>(angle)
        << " degree";
    return out.str();
}

std::string StatusBar::MouseText() {
    PlainStream out;
    out << "Mouse: " << m_pointerWorld.x << ',' << m_pointerWorld.y << "  Color Under ";
    cimage::TRGB<unsigned char> const rgb(m_colour.r, m_colour.g, m_colour.b);
    if (m_notation == NotationHLS) {
        HLS const c = pix_rgb_to_hls(rgb);
        out << "H:" << c.h << ",L:" << c.l << ",S:" << c.s;
    } else if (m_notation == NotationHSV) {
        HSV const c = pix_rgb_to_hsv(rgb);
        out << "H:" << c.h << ",S:" << c.s << ",V:" << c.v;
    } else {
        m_notation = NotationRGB;
        out << "R:" << int{rgb.r} << ",G:" << int{rgb.g} << ",B:" << int{rgb.b};
    }
    return out.str();
}

int StatusBar::BarHeight(CWindowCore& core) const {
    if (m_mode != ModeImageProperty) {
        return singleLineHeight;
    }
    boost::property_tree::ptree const* const metadata = core.getLastDrawnImageMetadata();
    int const lines = metadata == nullptr ? 0 : static_cast<int>(metadata->size());
    return propertyLineHeight * lines + propertyMargin;
}

void StatusBar::Place(CWindowCore const& core) {
    auto const windowHeight = static_cast<std::int32_t>(core.Height());
    bool const onTop = m_pointer.y > windowHeight / 2.0;
    m_top = onTop ? 0 : windowHeight - m_height;
    auto const inner = static_cast<float>(onTop ? m_height : m_top);
    float const outer = inner + (onTop ? 10.0F : -10.0F);
    m_tab = {{{0, inner}, {10, outer}, {170, outer}, {180, inner}}};
    m_titleBaseline = detail::Truncate(onTop ? inner + 8 : inner - 2);
}

math::Rect2<std::int32_t> StatusBar::BarRectangle() const {
    return {m_left, m_top, m_right, m_top + m_height};
}

Colour StatusBar::BackgroundAt(ptime const& start, ptime const& now) {
    if (start.is_special()) {
        unsigned char const grey = start.is_pos_infinity() ? 31 : 32;
        return {grey, grey, grey, 191};
    }
    double const t =
        static_cast<double>((now - start).total_microseconds()) / microsecondsPerSecond;
    auto const component = [t](int frequency) {
        return static_cast<unsigned char>(std::sin(frequency * t) * 15 + 32);
    };
    return {component(1), component(2), component(3), 191};
}

} // namespace ui::win
