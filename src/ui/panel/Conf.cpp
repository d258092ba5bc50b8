#include "ui/panel/Conf.h"

#include "ui/panel/PanelManager.h"

namespace ui::conf {

bool Bind(widget_guid_t guid, std::string const& key, kiv::ini::INIFile* ini) {
    return PanelManagerInstance()->Bind(guid, key, ini);
}

bool Bind(
    widget_guid_t guid,
    std::string const& key,
    kiv::ini::INIFile* ini,
    std::string const& defaultText) {
    return PanelManagerInstance()->Bind(guid, key, ini, defaultText);
}

bool Bind(
    widget_guid_t guid, std::string const& key, kiv::ini::INIFile* ini, char const* defaultText) {
    return Bind(guid, key, ini, std::string(defaultText));
}

bool Bind(
    widget_guid_t guid,
    std::string const& key,
    kiv::ini::INIFile* ini,
    boost::any const& defaultValue) {
    return PanelManagerInstance()->Bind(guid, key, ini, defaultValue);
}

void Load(kiv::ini::INIFile* ini) {
    PanelManagerInstance()->Reload(ini);
}

void Save(kiv::ini::INIFile* ini) {
    PanelManagerInstance()->Save(ini, true);
}

} // namespace ui::conf
