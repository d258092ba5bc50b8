#pragma once

#include "ui/win/CWindow.h"

#include <string>
#include <vector>

/// One picture of the contact sheet: what a function makes of a small window of its own, on
/// "Offscreen". The window is refreshed once more before its picture is taken.
struct Cell {
    char const* title;
    unsigned width;
    unsigned height;
    void (*draw)(ui::win::CWindow& window);
};

/// Cells under a heading. Each group has a file of its own; a further one is named in
/// contact_sheet.cpp.
struct Section {
    char const* title;
    std::vector<Cell> cells;
};

Section GadgetSection();
Section WidgetSection();

/// A button or the pointer at a place of the cell's window, as its user would move it.
ui::win::Event
PointerEvent(ui::win::CWindowEvents_ID type, int x, int y, unsigned buttonsAndModifiers = 0);
