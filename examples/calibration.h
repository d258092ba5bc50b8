#pragma once

#include "dev/TCameraParams.h"
#include "math/Point2.h"
#include "ui/win/camera/CWindowCamera3D.h"

#include <Eigen/Geometry>

#include <array>
#include <string>
#include <vector>

/// What a calibration file says of a camera and of the chessboard that it looked at.
struct Calibration {
    unsigned width, height;           // pixels
    double fx, fy, cx, cy;            // pixels, whole numbers at pixel centres
    std::array<double, 5> distortion; // k1, k2, p1, p2, k3
    int columns, rows;                // inner corners of the board
    double squareSize;                // metres
    std::vector<double> extrinsics;   // six a frame: rotation vector, translation
    std::vector<double> error;        // reprojection error a frame, pixels

    std::size_t Frames() const { return error.size(); }
};

/// @throws std::runtime_error when the file cannot be read or is not what is expected
Calibration ReadCalibration(std::string const& path);

/// Takes points of the board to the camera's axes of calibrations: x right, y down, z forward.
Eigen::Isometry3d BoardToCamera(Calibration const& calibration, std::size_t frame);

/// A point of the board in metres. @param column,row in squares from the first inner corner
Eigen::Vector3d BoardPoint(Calibration const& calibration, double column, double row);

/// Where the lens takes a direction (x right, y down, 1 forward) in the frame, by radial and
/// tangential distortion (Brown, "Decentering distortion of lenses", 1966); window pixels, which
/// count corners.
math::Point2<float> ThroughTheLens(Calibration const& calibration, double x, double y);

/// The camera without its lens distortion, for a view of the whole frame.
/// @param worldToCamera takes the world to the camera's axes of calibrations
dev::TCameraParams<double, unsigned int>
CameraOf(Calibration const& calibration, Eigen::Isometry3d const& worldToCamera);

/// The same as the set-up of a 3D camera.
ui::win::CCamera3D::Parameters
SetUpOf(Calibration const& calibration, Eigen::Isometry3d const& worldToCamera);
