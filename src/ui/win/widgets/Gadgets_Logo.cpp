#include "cimage/ImageIO.h"
#include "kiv/Diagnostics.h"
#include "ui/win/CWidget_Registration.h"
#include "ui/win/CWindowCoreManager.h"
#include "ui/win/detail/Truncate.h"
#include "ui/win/widgets/Gadgets.h"

#include <boost/current_function.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/property_tree/ptree.hpp>

#include <algorithm>
#include <cmath>
#include <exception>

namespace ui::win {

char const* const logolocation[logoLocationCount] = {
    "N", "NE", "E", "SE", "S", "SW", "W", "NW", "CENTER"};

namespace {

CWidget_Registration<Logo> const registrar("LOGO");

constexpr std::int32_t southWest = 5;
constexpr double margin = 5;
constexpr char defaultImage[] = "/System/dravelico.png";
constexpr std::uint32_t caseBit = 0x20;

struct RotationName {
    char const* name;
    float speed;
};
constexpr RotationName rotations[] = {{"NONE", 0}, {"SLOW", 0.25F}, {"NORMAL", 1}, {"FAST", 4}};

/// A number of the section; one that cannot be read or is not finite is reported, as by the
/// function of that signature, and not taken.
template <class T>
T ReadNumber(
    char const* signature, kiv::ini::INIFile const& section, char const* key, T defaultValue) {
    T value = defaultValue;
    bool readable = true;
    try {
        section.Lookup(key, value);
        readable = std::isfinite(static_cast<double>(value));
    } catch (boost::bad_lexical_cast const&) {
        readable = false;
    }
    if (!readable) {
        kiv::Diagnose(
            "[WW]",
            signature,
            std::string("`") + key + "' of section " + section.Name() +
                " is no number: " + section.Find(key).value_or(""));
    }
    return readable ? value : defaultValue;
}

/// @return index into the location table
std::int32_t FindLocation(std::string const& name) {
    auto const found = std::find(std::begin(logolocation), std::end(logolocation), name);
    return found == std::end(logolocation)
               ? southWest
               : static_cast<std::int32_t>(found - std::begin(logolocation));
}

/// The file as it is named, or else the one below the resource path.
std::string FindResource(std::string const& name) {
    std::string const& folder = CWindowCoreManager::g_resourcePath;
    boost::system::error_code ignored;
    bool const asNamed = folder.empty() || boost::filesystem::exists(name, ignored);
    return asNamed ? name : folder + "/" + name;
}

enum Side { Near, Middle, Far };
/// Where each place lies across and down the window.
constexpr Side columns[logoLocationCount] = {
    Middle, Far, Far, Far, Middle, Near, Near, Near, Middle};
constexpr Side rows[logoLocationCount] = {Near, Near, Middle, Far, Far, Far, Middle, Near, Middle};

/// Coordinate of a logo of a size in the window's extent.
double Coordinate(Side side, double extent, double size) {
    if (side == Near) {
        return margin;
    }
    return side == Middle ? (extent - size) / 2 : extent - margin - size;
}

} // namespace

Logo::Logo(kiv::ini::INIFile& section) : m_configuration(&section) {
    m_width = ReadNumber(BOOST_CURRENT_FUNCTION, section, "SIZE", 32.0F);
    m_location = FindLocation(section.Get("LOCATE", logolocation[southWest]));
    m_alpha = ReadNumber(BOOST_CURRENT_FUNCTION, section, "ALPHA", 127);
    ReadRotation();
    LoadImage();
}

void Logo::ReadRotation() {
    std::string name;
    m_configuration->Lookup("ROTATION", name);
    for (RotationName const& rotation : rotations) {
        if (name == rotation.name) {
            m_rotationSpeed = rotation.speed;
            m_rotating = true;
        }
    }
}

void Logo::LoadImage() {
    std::string name = defaultImage;
    m_configuration->Lookup("NAME", name);
    try {
        boost::property_tree::ptree metadata;
        m_image = cimage::Load(FindResource(name), metadata);
        m_height = static_cast<float>(m_width) * static_cast<float>(m_image->Height()) /
                   static_cast<float>(m_image->Width());
    } catch (std::exception const& error) {
        m_trouble = error.what();
    }
}

math::Point2<double> Logo::Place(double windowWidth, double windowHeight) const {
    if (m_location < 0 || m_location >= logoLocationCount) {
        return {0, 0};
    }
    return {
        Coordinate(columns[m_location], windowWidth, m_width),
        Coordinate(rows[m_location], windowHeight, m_height)};
}

int Logo::Draw(CWindowCore* core) {
    if (!m_image) {
        // Said here, so that windows that never show a logo do not miss it.
        if (!m_trouble.empty()) {
            kiv::Diagnose("[EE]", BOOST_CURRENT_FUNCTION, "no logo: " + m_trouble);
            m_trouble.clear();
        }
        return 0;
    }
    math::Point2<double> const from = Place(core->Width(), core->Height());
    math::Point2<double> const to = from + math::Point2<double>(m_width, m_height);
    m_rectangle = {
        detail::Truncate(from.x),
        detail::Truncate(from.y),
        detail::Truncate(to.x),
        detail::Truncate(to.y)};
    core->SetBlend(BlendAlpha);
    auto const opacity = static_cast<unsigned char>(std::clamp(m_alpha, 0, 255));
    core->SetColor({255, 255, 255, opacity});
    core->RunExtension("soft-image");
    core->DrawImage(math::Point2<float>(from), math::Point2<float>(to), m_image);
    core->RunExtension("no-soft-image");
    return 1;
}

bool Logo::Contains(std::int32_t x, std::int32_t y) const {
    return m_image && x >= m_rectangle.left && x <= m_rectangle.right && y >= m_rectangle.top &&
           y <= m_rectangle.bottom;
}

bool Logo::Interact(CWindowCoreManager* manager, Event const& event) {
    bool const moves = event.type == EventKey && (event.key & ~caseBit) == 'J';
    bool const clicks = event.type == EventPress && event.button == ButtonLeft &&
                        Contains(event.screenX, event.screenY);
    if (moves) {
        m_location = m_location < logoLocationCount - 1 ? m_location + 1 : 0;
    } else if (clicks) {
        m_clicked = true;
    } else {
        return false;
    }
    manager->Refresh(false);
    return true;
}

} // namespace ui::win
