// Shows what a calibration knows in three dimensions. Over each frame it marks the board's corners
// as a CCamera3D of that calibration sees them; where all is well they sit on the printed corners.
// Then it puts the boards of all frames into one scene and orbits it with the mouse.
//
//     board_3d <calibration folder> <output folder>

#include "cimage/ImageIO.h"
#include "cimage/TImage.h"
#include "examples/calibration.h"
#include "ui/win/CWindow.h"
#include "ui/win/camera/CWindowCamera3D.h"

#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <boost/property_tree/ptree.hpp>

#include <cmath>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace ui::win;
using Colour = CWindow::Colour;
using Point3 = math::Point3<float>;
using Grey = cimage::TImage<unsigned char>;
using Rgb = cimage::TImage<cimage::TRGB<unsigned char>>;

constexpr std::size_t photographs = 5; // of the first boards
constexpr int pixelsPerSquare = 24;

constexpr Colour cornerColour(255, 80, 64, 255);
constexpr Colour gridColour(96, 112, 128, 255);
constexpr Colour cameraColour(255, 200, 64, 255);
constexpr Colour labelColour(64, 224, 255, 255);
constexpr Colour skyColour(24, 28, 40, 255);

std::string FramePath(std::string const& folder, std::size_t frame) {
    return folder + "/left0" + std::to_string(frame + 1) + ".jpg";
}

/// The board's corners over the frame: projected by a 3D camera, bent by the lens.
void MarkCorners(CWindow& window, Calibration const& c, std::size_t frame) {
    CCamera3D const camera(CameraOf(c, BoardToCamera(c, frame)), false);
    math::TMatrix<double, 3, 4> projection;
    CCamera3D::KCameraMatrix(projection, camera.Params());
    window.SetColor(cornerColour);
    for (int i = 0; i < c.columns * c.rows; ++i) {
        Eigen::Vector3d const p =
            projection * BoardPoint(c, i % c.columns, i / c.columns).homogeneous();
        math::Point3<float> const ray = camera.NormalizedToCamera(
            {static_cast<float>(p.x() / p.z()), static_cast<float>(p.y() / p.z())});
        math::Point2<float> const pixel = ThroughTheLens(c, ray.x / ray.z, -ray.y / ray.z);
        window.DrawCross(pixel.x, pixel.y, 9);
        window.DrawCircle(pixel.x, pixel.y, 6, false);
    }
}

/// Grey value between the pixel centres of an image; white outside.
unsigned char ValueAt(Grey const& image, math::Point2<float> const& place) {
    float const x = place.x - 0.5F;
    float const y = place.y - 0.5F;
    auto const width = static_cast<float>(image.Width());
    auto const height = static_cast<float>(image.Height());
    if (!(x >= 0 && y >= 0 && x < width - 1 && y < height - 1)) {
        return 255;
    }
    auto const column = static_cast<unsigned>(x);
    auto const row = static_cast<unsigned>(y);
    float const fx = x - static_cast<float>(column);
    float const fy = y - static_cast<float>(row);
    auto const between = [fx](unsigned char const* p) {
        return static_cast<float>(p[0]) * (1 - fx) + static_cast<float>(p[1]) * fx;
    };
    float const above = between(image[row] + column);
    float const below = between(image[row + 1] + column);
    return static_cast<unsigned char>(std::lround(above * (1 - fy) + below * fy));
}

/// A light colour of its own for every board.
math::Point3<double> PaperOf(std::size_t frame) {
    auto const channel = [frame](int third) {
        return 0.78 + 0.22 * std::cos(2.4 * static_cast<double>(frame) + 2.1 * third);
    };
    return {channel(0), channel(1), channel(2)};
}

/// The board with a border of one square, seen straight on: cut out of its photograph, or printed
/// where there is none; on paper of its own colour.
boost::shared_ptr<Rgb>
BoardPicture(Calibration const& c, std::size_t frame, std::string const& folder) {
    Grey photograph;
    if (frame < photographs) {
        boost::property_tree::ptree metadata;
        cimage::Load(FramePath(folder, frame), photograph, metadata);
    }
    Eigen::Isometry3d const pose = BoardToCamera(c, frame);
    math::Point3<double> const paper = PaperOf(frame);
    auto const picture = boost::make_shared<Rgb>(
        static_cast<unsigned>((c.columns + 1) * pixelsPerSquare),
        static_cast<unsigned>((c.rows + 1) * pixelsPerSquare));
    for (unsigned y = 0; y < picture->Height(); ++y) {
        for (unsigned x = 0; x < picture->Width(); ++x) {
            double const column = (x + 0.5) / pixelsPerSquare - 1;
            double const row = (y + 0.5) / pixelsPerSquare - 1;
            Eigen::Vector3d const p = pose * BoardPoint(c, column, row);
            bool const isWhite = (x / pixelsPerSquare + y / pixelsPerSquare) % 2 == 0;
            double const value =
                photograph.Empty()
                    ? (isWhite ? 235 : 20)
                    : ValueAt(photograph, ThroughTheLens(c, p.x() / p.z(), p.y() / p.z()));
            (*picture)[y][x] = {
                static_cast<unsigned char>(value * paper.x),
                static_cast<unsigned char>(value * paper.y),
                static_cast<unsigned char>(value * paper.z)};
        }
    }
    return picture;
}

/// The scene's world: the calibrated camera stands at the origin and looks along x, z is up.
Point3 ToScene(Eigen::Vector3d const& camera) {
    return {
        static_cast<float>(camera.z()),
        static_cast<float>(-camera.x()),
        static_cast<float>(-camera.y())};
}

void DrawBoards(CWindow& window, Calibration const& c, std::string const& folder) {
    for (std::size_t frame = 0; frame < c.Frames(); ++frame) {
        Eigen::Isometry3d const pose = BoardToCamera(c, frame);
        Point3 const corners[] = {
            ToScene(pose * BoardPoint(c, c.columns, -1)),
            ToScene(pose * BoardPoint(c, -1, -1)),
            ToScene(pose * BoardPoint(c, -1, c.rows)),
            ToScene(pose * BoardPoint(c, c.columns, c.rows))};
        window.DrawImage(corners, CWindow::SPImage(BoardPicture(c, frame, folder)));
        window.SetColor(labelColour);
        window.DrawText(corners[1].x, corners[1].y, corners[1].z, std::to_string(frame + 1));
    }
}

/// The calibrated camera as a pyramid over what it sees, and the ground.
void DrawSurroundings(CWindow& window, Calibration const& c) {
    constexpr float ground = -0.25F;
    std::vector<Point3> grid;
    for (int i = 0; i <= 10; ++i) {
        float const along = 0.1F * static_cast<float>(i) - 0.3F;
        float const across = 0.1F * static_cast<float>(i) - 0.5F;
        grid.insert(grid.end(), {{along, -0.5F, ground}, {along, 0.5F, ground}});
        grid.insert(grid.end(), {{-0.3F, across, ground}, {0.7F, across, ground}});
    }
    window.SetColor(gridColour);
    window._DrawLines(grid);
    constexpr double distance = 0.12;
    double const left = -c.cx / c.fx * distance;
    double const right = (c.width - c.cx) / c.fx * distance;
    double const top = -c.cy / c.fy * distance;
    double const bottom = (c.height - c.cy) / c.fy * distance;
    Point3 const rim[] = {
        ToScene({left, top, distance}),
        ToScene({right, top, distance}),
        ToScene({right, bottom, distance}),
        ToScene({left, bottom, distance})};
    window.SetColor(cameraColour);
    window.SetLineWidth(2);
    window.DrawPolygon(rim, 4, true);
    for (Point3 const& corner : rim) {
        window.DrawLine(Point3(0, 0, 0), corner);
    }
    window.SetLineWidth(1);
}

/// A drag with the left button, as a user would make it; what it moved is shown when it returns.
void Drag(CWindow& window, int fromX, int fromY, int toX, int toY) {
    constexpr int steps = 10;
    Event event;
    event.button = ButtonLeft;
    for (int i = 0; i <= steps; ++i) {
        event.type = i == 0 ? EventPress : EventMotion;
        event.screenX = fromX + (toX - fromX) * i / steps;
        event.screenY = fromY + (toY - fromY) * i / steps;
        window.InjectEvent(event);
    }
    event.type = EventRelease;
    window.InjectEvent(event);
    window.Refresh(true);
}

void ShowCorners(Calibration const& c, std::string const& folder) {
    CWindow window("Corners", c.width, c.height, StateVisible);
    for (std::size_t frame = 0; frame < photographs; ++frame) {
        window.Clear();
        window.DrawImageFile(
            FramePath(folder, frame),
            0,
            0,
            static_cast<float>(c.width),
            static_cast<float>(c.height));
        window.SetLineSmoothing(true);
        MarkCorners(window, c, frame);
        window.Refresh(true);
        window.Dump("corners-" + std::to_string(frame + 1) + ".png");
    }
}

void ShowScene(Calibration const& c, std::string const& folder) {
    CWindow window("Boards", c.width, c.height, StateVisible);
    // Behind the calibrated camera and above it, looking at the middle of the boards.
    auto const camera =
        boost::make_shared<CCamera3D>(0.30, 0.23, 0.0, 0.0, 0.0, 0.35, 0.0, -0.45, 0.0, 0.30, true);
    camera->LookAt({0.35, 0, 0});
    window.SetCamera(camera);
    window.SetBackgroundColor(skyColour);
    window.EnableZBuffer(0.05, 10);
    DrawSurroundings(window, c);
    DrawBoards(window, c, folder);
    window.Refresh(true);
    window.Dump("boards-1.png");
    struct {
        int x, y;
    } const ways[] = {{240, 0}, {240, 40}, {-480, 60}, {-300, -180}};
    int picture = 2;
    for (auto const& [dx, dy] : ways) {
        int const x = static_cast<int>(c.width) / 2 - dx / 2;
        int const y = static_cast<int>(c.height) / 2 - dy / 2;
        Drag(window, x, y, x + dx, y + dy);
        window.Dump("boards-" + std::to_string(picture++) + ".png");
    }
}

} // namespace

int main(int argc, char** argv) try {
    if (argc != 3) {
        std::cerr << "usage: " << argv[0] << " <calibration folder> <output folder>\n";
        return 2;
    }
    CWindow::setDriver("Offscreen");
    boost::filesystem::create_directories(argv[2]);
    CWindow::setOutputPath(argv[2]);
    Calibration const calibration = ReadCalibration(argv[1] + std::string("/left_intrinsics.yml"));
    if (calibration.Frames() < photographs) {
        throw std::runtime_error("calibration file: frames are missing");
    }
    ShowCorners(calibration, argv[1]);
    ShowScene(calibration, argv[1]);
    std::cout << "Pictures are in " << argv[2] << '\n';
    return 0;
} catch (std::exception const& error) {
    std::cerr << "board_3d: " << error.what() << '\n';
    return 1;
}
