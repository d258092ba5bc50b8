// Reviews a camera calibration: draws the chessboard that the calibration predicts over each frame
// that it was made from. Where the calibration is good the grid sits on the printed corners.
//
//     calibration_review <ini file> <calibration folder> <output folder>

#include "kiv/ini/INIFile.h"
#include "math/Point2.h"
#include "ui/win/CWindow.h"
#include "ui/win/CWindowCommands.h"
#include "ui/win/camera/CWindowCamera2D.h"

#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>

#include <Eigen/Geometry>

#include <array>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
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
constexpr int boardColumns = 9;
constexpr int boardRows = 6;

constexpr Colour gridColour(64, 255, 96, 255);
constexpr Colour boardColour(0, 64, 160, 120);
constexpr Colour originColour(255, 80, 64, 255);
constexpr Colour paperColour(16, 24, 32, 200);
constexpr Colour textColour(255, 255, 255, 255);

struct Calibration {
    double fx, fy, cx, cy;
    std::array<double, 5> distortion; // k1, k2, p1, p2, k3
    double squareSize;                // metres
    std::vector<double> extrinsics;   // six a frame: rotation vector, translation
    std::vector<double> error;        // reprojection error a frame, pixels
};

/// The numbers of `key` in a calibration file: of its value, or of the "data" of its matrix.
std::vector<double> ReadNumbers(std::string const& text, std::string const& key) {
    std::size_t const found = text.find("\n" + key + ":");
    if (found == std::string::npos) {
        throw std::runtime_error("calibration file: no " + key);
    }
    std::size_t begin = found + key.size() + 2;
    std::size_t end = text.find('\n', begin);
    if (text.compare(begin, 2, " !") == 0) {
        begin = text.find('[', begin) + 1;
        end = text.find(']', begin);
    }
    std::string list = text.substr(begin, end - begin);
    for (char& c : list) {
        c = c == ',' ? ' ' : c;
    }
    std::istringstream stream(list);
    return {std::istream_iterator<double>(stream), std::istream_iterator<double>()};
}

Calibration ReadCalibration(std::string const& path) {
    std::ifstream file(path);
    std::string const text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (text.empty()) {
        throw std::runtime_error("cannot read " + path);
    }
    std::vector<double> const k = ReadNumbers(text, "camera_matrix");
    std::vector<double> const d = ReadNumbers(text, "distortion_coefficients");
    Calibration c{};
    c.extrinsics = ReadNumbers(text, "extrinsic_parameters");
    c.error = ReadNumbers(text, "per_view_reprojection_errors");
    if (k.size() != 9 || d.size() != 5 || c.extrinsics.size() < 6 * frameCount ||
        c.error.size() < frameCount) {
        throw std::runtime_error("calibration file: unexpected sizes in " + path);
    }
    c.fx = k[0];
    c.cx = k[2];
    c.fy = k[4];
    c.cy = k[5];
    std::copy(d.begin(), d.end(), c.distortion.begin());
    c.squareSize = ReadNumbers(text, "square_size").at(0);
    return c;
}

/// Where a point of the board appears in a frame, by the pinhole model with radial and tangential
/// lens distortion (Brown, "Decentering distortion of lenses", 1966).
/// @param column,row board coordinates in squares, (0, 0) is the first inner corner
Point Project(Calibration const& c, unsigned frame, double column, double row) {
    double const* e = c.extrinsics.data() + std::size_t{6} * frame;
    Eigen::Vector3d const rotation(e[0], e[1], e[2]);
    Eigen::AngleAxisd const turn(rotation.norm(), rotation.normalized());
    Eigen::Vector3d const p = turn * Eigen::Vector3d(column * c.squareSize, row * c.squareSize, 0) +
                              Eigen::Vector3d(e[3], e[4], e[5]);
    double const x = p.x() / p.z();
    double const y = p.y() / p.z();
    double const r2 = x * x + y * y;
    auto const& [k1, k2, p1, p2, k3] = c.distortion;
    double const radial = 1 + r2 * (k1 + r2 * (k2 + r2 * k3));
    double const u = x * radial + 2 * p1 * x * y + p2 * (r2 + 2 * x * x);
    double const v = y * radial + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y;
    // The calibration counts pixel centres as whole numbers; windows count pixel corners.
    return {static_cast<float>(c.fx * u + c.cx + 0.5), static_cast<float>(c.fy * v + c.cy + 0.5)};
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
    for (int row = 0; row < boardRows; ++row) {
        DrawBoardLine(window, c, frame, {0.0, 1.0 * row}, {boardColumns - 1.0, 1.0 * row});
    }
    for (int column = 0; column < boardColumns; ++column) {
        DrawBoardLine(window, c, frame, {1.0 * column, 0.0}, {1.0 * column, boardRows - 1.0});
    }
}

void DrawCorners(CWindow& window, Calibration const& c, unsigned frame) {
    window.SetFontSize(11, false);
    window.SetTextAlign(AlignLeft, AlignBaseline);
    for (int i = 0; i < boardColumns * boardRows; ++i) {
        Point const p = Project(c, frame, i % boardColumns, i / boardColumns);
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
    for (int row = -1; row < boardRows; ++row) {
        for (int column = -1; column < boardColumns; ++column) {
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
    window.SetViewport(CWindowViewPort::Fractions(0.02F, 0.80F, 0.40F, 0.98F));
    window.SetViewportMode(ViewPortFractions);
    window.SetBlend(BlendAlpha);
    window.SetColor(paperColour);
    window.DrawBox(0, 0, 1, 1, true);
    window.SetColor(textColour);
    window.DrawRectangle(0, 0, 1, 1);
    window.SetTextAlign(AlignLeft, AlignCentre);
    window.SetFontSize(20, false);
    window.DrawTextf(0.04, 0.2, "Frame %u: chessboard %d × %d", frame + 1, boardColumns, boardRows);
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
