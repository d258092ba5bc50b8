#pragma once

#include "ui/panel/WidgetGuid.h"

#include <boost/any.hpp>

#include <string>

namespace kiv::ini {
class INIFile;
}

/// Panel values in configuration files: shorthand for the panel manager's operations, which say
/// what is printed and thrown.
namespace ui::conf {

/// Binds a widget's value to a key of a file or section and loads it.
/// @param ini borrowed; must outlive the binding
/// @param defaultText, defaultValue taken, and written to the key, where the key is missing or its
///     text is no value
/// @return false for an unknown GUID
bool Bind(widget_guid_t guid, std::string const& key, kiv::ini::INIFile* ini);
bool Bind(
    widget_guid_t guid,
    std::string const& key,
    kiv::ini::INIFile* ini,
    std::string const& defaultText);
bool Bind(
    widget_guid_t guid, std::string const& key, kiv::ini::INIFile* ini, char const* defaultText);
bool Bind(
    widget_guid_t guid,
    std::string const& key,
    kiv::ini::INIFile* ini,
    boost::any const& defaultValue);

/// Takes over what the keys of the file and its sections hold; the file itself is not read.
void Load(kiv::ini::INIFile* ini);
/// Puts every bound value into the file and its sections; the file itself is not written.
void Save(kiv::ini::INIFile* ini);

} // namespace ui::conf
