// Reviews a camera calibration: draws the chessboard that the calibration predicts over each frame
// that it was made from. Where the calibration is good the grid sits on the printed corners.
//
//     calibration_review <ini file> <calibration folder> <output folder>

#include "examples/calibration.h"
#include "kiv/ini/INIFile.h"
#include "math/Point2.h"
#include "ui/win/CWindow.h"
#include "ui/win/CWindowCommands.h"
#include "ui/win/camera/CWindowCamera2D.h"

#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>

#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace ui::win;
using Colour = CWindow::Colour;
using Point = math::Point2<float>;

constexpr unsigned frameCount = 5;
constexpr int frameWidth = 640;
constexpr int frameHeight = 480;

constexpr Colour gridColour(64, 255, 96, 255);
constexpr Colour boardColour(0, 64, 160, 120);
constexpr Colour originColour(255, 80, 64, 255);
constexpr Colour paperColour(16, 24, 32, 200);
constexpr Colour textColour(255, 255, 255, 255);

/// Where a point of the board appears in a frame.
/// @param column,row board coordinates in squares, (0, 0) is the first inner corner
Point Project(Calibration const& c, unsigned frame, double column, double row) {
    Eigen::Vector3d const p = BoardToCamera(c, frame) * BoardPoint(c, column, row);
    return ThroughTheLens(c, p.x() / p.z(), p.y() / p.z());
}

/// A curve along the board: straight there, bent by the lens in the frame.
void DrawBoardLine(
    CWindow& window,
    Calibration const& c,
    unsigned frame,
    math::Point2<double> from,
    math::Point2<double> to) {
    constexpr int steps = 16;
    std::vector<Point> points;
    for (int i = 0; i <= steps; ++i) {
        math::Point2<double> const p = from + (to - from) * (static_cast<double>(i) / steps);
        points.push_back(Project(c, frame, p.x, p.y));
    }
    window._DrawPolygon(points, false);
}

void DrawGrid(CWindow& window, Calibration const& c, unsigned frame) {
    window.SetLineSmoothing(true);
    window.SetLineWidth(1.5);
    window.SetColor(gridColour);
    for (int row = 0; row < c.rows; ++row) {
        DrawBoardLine(window, c, frame, {0.0, 1.0 * row}, {c.columns - 1.0, 1.0 * row});
    }
    for (int column = 0; column < c.columns; ++column) {
        DrawBoardLine(window, c, frame, {1.0 * column, 0.0}, {1.0 * column, c.rows - 1.0});
    }
}

void DrawCorners(CWindow& window, Calibration const& c, unsigned frame) {
    window.SetFontSize(11, false);
    window.SetTextAlign(AlignLeft, AlignBaseline);
    for (int i = 0; i < c.columns * c.rows; ++i) {
        Point const p = Project(c, frame, i % c.columns, i / c.columns);
        window.SetColor(i == 0 ? originColour : gridColour);
        window.DrawCircle(p.x, p.y, i == 0 ? 4 : 2, false);
        window.SetColor(textColour);
        window.DrawShadowText(p.x + 3, p.y - 2, std::to_string(i));
    }
}

/// The board with the border of squares around its inner corners, as a translucent surface.
void DrawBoardSurface(CWindow& window, Calibration const& c, unsigned frame) {
    window.SetBlend(BlendAlpha);
    window.SetColor(boardColour);
    std::vector<Point> quads;
    for (int row = -1; row < c.rows; ++row) {
        for (int column = -1; column < c.columns; ++column) {
            quads.push_back(Project(c, frame, column, row));
            quads.push_back(Project(c, frame, column + 1, row));
            quads.push_back(Project(c, frame, column + 1, row + 1));
            quads.push_back(Project(c, frame, column, row + 1));
        }
    }
    window._DrawQuads(quads);
}

/// Layer 1: a box of text in the lower left of the window, in fractions of its own view port.
void DrawLegend(CWindow& window, Calibration const& c, unsigned frame) {
    window.SetLayer(1);
    window.SetViewport(CWindowViewPort::Fractions(0.02F, 0.80F, 0.50F, 0.98F));
    window.SetViewportMode(ViewPortFractions);
    window.SetBlend(BlendAlpha);
    window.SetColor(paperColour);
    window.DrawBox(0, 0, 1, 1, true);
    window.SetColor(textColour);
    window.DrawRectangle(0, 0, 1, 1);
    window.SetTextAlign(AlignLeft, AlignCentre);
    window.SetFontSize(20, false);
    window.DrawTextf(0.04, 0.2, "Frame %u: chessboard %d × %d", frame + 1, c.columns, c.rows);
    window.SetFontSize(15, false);
    window.DrawTextf(
        0.04, 0.46, "f = (%.1f, %.1f) px, c = (%.1f, %.1f) px", c.fx, c.fy, c.cx, c.cy);
    window.DrawTextf(
        0.04, 0.65, "k = (%.4f, %.4f, %.4f)", c.distortion[0], c.distortion[1], c.distortion[4]);
    window.DrawTextf(0.04, 0.84, "reprojection error %.3f px", c.error[frame]);
}

/// Layer 2: what layer 0 shows around the board's first corner, eight times as large.
void DrawInset(CWindow& window, Calibration const& c, unsigned frame) {
    constexpr double zoom = 8;
    Point const corner = Project(c, frame, 0, 0);
    auto const camera = boost::make_shared<CCamera2D>(0, 0, frameWidth, frameHeight, 0.0);
    camera->SetZoom(zoom);
    camera->SetTranslation({frameWidth / 2.0 - corner.x, frameHeight / 2.0 - corner.y});
    window.SetLayer(2);
    window.SetViewport(CWindowViewPort::Fractions(0.68F, 0.68F, 0.98F, 0.98F));
    window.SetCamera(camera);
    window.Layer(2).Push(window.Layer(0).Items()); // the same drawables, shared
    window.SetLayer(3);
    window.SetViewportMode(ViewPortFractions);
    window.SetBlend(BlendOpaque);
    window.SetColor(textColour);
    window.SetLineWidth(3);
    window.DrawRectangle(0, 0, 1, 1);
}

void DrawFrame(CWindow& window, Calibration const& c, unsigned frame, std::string const& folder) {
    window.ClearAllLayers();
    window.SetLayer(0);
    window.SetVirtualView(unsigned{frameWidth}, unsigned{frameHeight});
    std::string const path = folder + "/left0" + std::to_string(frame + 1) + ".jpg";
    window.DrawImageFile(path, 0, 0, frameWidth, frameHeight);
    DrawBoardSurface(window, c, frame);
    DrawGrid(window, c, frame);
    DrawCorners(window, c, frame);
    DrawLegend(window, c, frame);
    DrawInset(window, c, frame);
}

void RestorePlace(CWindow& window) {
    window.SendCommand(
        boost::make_shared<CWndCommand_Call>(
            [](CWindowCoreManager* manager) { manager->LoadAndApplyStatusFromDisk(); }),
        0);
}

void Review(kiv::ini::INIFile& ini, std::string const& folder) {
    Calibration const calibration = ReadCalibration(folder + "/left_intrinsics.yml");
    if (calibration.Frames() < frameCount) {
        throw std::runtime_error("calibration file: frames are missing");
    }
    CWindow window("Calibration review", frameWidth, frameHeight, StateVisible);
    RestorePlace(window);
    for (unsigned frame = 0; frame < frameCount; ++frame) {
        DrawFrame(window, calibration, frame, folder);
        window.Refresh(true);
        window.Dump(""); // named by the INI file's pattern
    }

    CreationParams params;
    params.driver = ini.Get("OVERVIEW DRIVERS", "Offscreen,Offscreen");
    params.title = "Overview";
    params.width = frameWidth;
    params.height = frameHeight;
    CWindow overview(params);
    overview.Layers() = window.Layers();
    overview.Refresh(true);
    for (std::size_t i = 0; i < overview.BackendCount(); ++i) {
        overview.Dump(
            "overview-backend-" + std::to_string(i) + (i == 0 ? ".png" : ".ppm"),
            static_cast<int>(i));
    }
}

} // namespace

int main(int argc, char** argv) try {
    if (argc != 4) {
        std::cerr << "usage: " << argv[0] << " <ini file> <calibration folder> <output folder>\n";
        return 2;
    }
    kiv::ini::INIFile ini(argv[1]);
    CWindow::setINIFile(&ini);
    boost::filesystem::create_directories(argv[3]);
    CWindow::setOutputPath(argv[3]);
    Review(ini, argv[2]); // returns once every file was written
    std::cout << "Pictures are in " << argv[3] << '\n';
    return 0;
} catch (std::exception const& error) {
    std::cerr << "calibration_review: " << error.what() << '\n';
    return 1;
}
