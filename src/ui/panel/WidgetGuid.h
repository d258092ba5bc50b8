#pragma once

namespace ui {

/// The number of a panel widget, unique in the process and never used again.
using widget_guid_t = long;
static_assert(sizeof(widget_guid_t) == 8, "panel widgets are numbered with 64 bits");

/// The GUID of no widget.
inline constexpr widget_guid_t null_guid = -1;

} // namespace ui
