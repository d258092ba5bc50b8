// Draws every gadget in each of its states into one picture.
//
//     contact_sheet <resource folder> <output folder>

#include "examples/contact_sheet.h"

#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <exception>
#include <iostream>

using namespace ui::win;

namespace {

constexpr unsigned sheetWidth = 1248;
constexpr unsigned margin = 12;
constexpr unsigned titleHeight = 16;
constexpr unsigned headingHeight = 34;

constexpr CWindow::Colour paper(244, 244, 240, 255);
constexpr CWindow::Colour ink(24, 32, 40, 255);

/// Where a cell lies on the sheet, in pixels.
struct Place {
    Cell const* cell;
    unsigned x;
    unsigned y;
};

struct Heading {
    char const* text;
    unsigned y;
};

/// Rows of cells from left to right, as many in a row as fit.
struct Layout {
    explicit Layout(std::vector<Section> const& sections) {
        for (Section const& section : sections) {
            headings.push_back({section.title, height});
            height += headingHeight;
            PlaceCells(section.cells);
        }
    }

    std::vector<Heading> headings;
    std::vector<Place> places;
    unsigned height = 0;

private:
    void PlaceCells(std::vector<Cell> const& cells) {
        unsigned x = margin;
        unsigned rowHeight = 0;
        for (Cell const& cell : cells) {
            if (x + cell.width + margin > sheetWidth) {
                x = margin;
                height += rowHeight;
                rowHeight = 0;
            }
            places.push_back({&cell, x, height});
            x += cell.width + margin;
            rowHeight = std::max(rowHeight, cell.height + titleHeight + margin);
        }
        height += rowHeight;
    }
};

boost::shared_ptr<cimage::CImage const> Picture(Cell const& cell) {
    CWindow window(cell.title, cell.width, cell.height, StateVisible);
    cell.draw(window);
    window.Refresh(true);
    return window.GrabImage();
}

void DrawSheet(CWindow& sheet, Layout const& layout) {
    sheet.SetColor(ink);
    sheet.SetTextAlign(AlignLeft, AlignBaseline);
    sheet.SetFontSize(20, false);
    for (Heading const& heading : layout.headings) {
        sheet.DrawText(margin, heading.y + 24, heading.text);
    }
    sheet.SetFontSize(11, false);
    for (Place const& place : layout.places) {
        Cell const& cell = *place.cell;
        sheet.DrawImage(place.x, place.y, Picture(cell));
        sheet.DrawText(place.x, place.y + cell.height + 12, cell.title);
    }
}

} // namespace

Event PointerEvent(CWindowEvents_ID type, int x, int y, unsigned buttonsAndModifiers) {
    Event event;
    event.type = type;
    event.screenX = x;
    event.screenY = y;
    event.state = buttonsAndModifiers;
    event.button = type == EventMotion ? 0U : ButtonLeft;
    return event;
}

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::cerr << "usage: " << argv[0] << " <resource folder> <output folder>\n";
        return 2;
    }
    CWindow::setDriver("Offscreen");
    CWindow::setResourcePath(argv[1]);
    boost::filesystem::create_directories(argv[2]);
    CWindow::setOutputPath(argv[2]);

    std::vector<Section> const sections = {GadgetSection(), WidgetSection()};
    Layout const layout(sections);
    CWindow sheet("Contact sheet", sheetWidth, layout.height, StateVisible);
    sheet.SetBackgroundColor(paper);
    DrawSheet(sheet, layout);
    sheet.Refresh(true);
    sheet.Dump("contact-sheet.png");
    return 0;
} catch (std::exception const& error) {
    std::cerr << "contact_sheet: " << error.what() << '\n';
    return 1;
}
