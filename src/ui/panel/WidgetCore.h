#pragma once

#include "kiv/ini/INIFile.h"
#include "ui/panel/Serializable.h"
#include "ui/panel/WidgetGuid.h"

#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace ui::detail {

/// The record of one panel widget. Owned by the panel manager, whose registry mutex guards it.
struct WidgetCore {
    std::string cls; ///< the widget's class text, chosen by the handle that creates it
    std::map<std::string, std::string> attributes;
    widget_guid_t parent = null_guid;
    std::vector<widget_guid_t> children; ///< attached below this one, in the order of attaching
    std::vector<widget_guid_t> links;    ///< each holds a reference that ends with this widget
    bool flag = false;                   ///< for the application; the manager only copies it
    kiv::ini::INIFile* ini = nullptr; ///< the file or section that the value is bound to, borrowed
    std::string key;                  ///< the key there
    std::unique_ptr<Serializable> serializer; ///< the value; null for a widget without one
    std::uint32_t listeners = 0;              ///< bit i: listener i has been told of this widget
    std::uint32_t references = 1;
    bool visible = false;
};

/// The record's address, its class and its attributes, as one line without its end.
std::ostream& operator<<(std::ostream& out, WidgetCore const& core);

} // namespace ui::detail
