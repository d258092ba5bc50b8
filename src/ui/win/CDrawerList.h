#pragma once

#include "ui/win/CWindowLayer.h"

#include <map>

namespace ui::win {

/// The layers of a window by number, drawn in ascending order and asked for events in descending
/// order. Copying it copies views and lists of items; the items stay shared. One thread at a time.
class CDrawerList {
public:
    /// @return sum of the layers' counts
    int Draw(CWindowCore* core);
    /// @return true when a layer consumed the event; those below it were not asked then
    bool Interact(CWindowCoreManager* manager, Event& event) const;
    /// Nothing; CDrawingQueue::Print shows a layer.
    void Print() const {}

    std::map<int, CWindowLayer>& Layers() { return m_layers; }
    std::map<int, CWindowLayer> const& Layers() const { return m_layers; }

private:
    std::map<int, CWindowLayer> m_layers;
};

} // namespace ui::win
