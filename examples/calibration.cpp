#include "examples/calibration.h"

#include "ui/win/camera/ViewMatrices.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace {

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
    std::replace(list.begin(), list.end(), ',', ' ');
    std::istringstream stream(list);
    return {std::istream_iterator<double>(stream), std::istream_iterator<double>()};
}

} // namespace

Calibration ReadCalibration(std::string const& path) {
    std::ifstream file(path);
    std::string const text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (text.empty()) {
        throw std::runtime_error("cannot read " + path);
    }
    auto const number = [&](char const* key) { return ReadNumbers(text, key).at(0); };
    std::vector<double> const k = ReadNumbers(text, "camera_matrix");
    std::vector<double> const d = ReadNumbers(text, "distortion_coefficients");
    Calibration c{};
    c.extrinsics = ReadNumbers(text, "extrinsic_parameters");
    c.error = ReadNumbers(text, "per_view_reprojection_errors");
    if (k.size() != 9 || d.size() != 5 || c.extrinsics.size() != 6 * c.error.size()) {
        throw std::runtime_error("calibration file: unexpected sizes in " + path);
    }
    c.width = static_cast<unsigned>(number("image_width"));
    c.height = static_cast<unsigned>(number("image_height"));
    c.fx = k[0];
    c.cx = k[2];
    c.fy = k[4];
    c.cy = k[5];
    std::copy(d.begin(), d.end(), c.distortion.begin());
    c.columns = static_cast<int>(number("board_width"));
    c.rows = static_cast<int>(number("board_height"));
    c.squareSize = number("square_size");
    return c;
}

Eigen::Isometry3d BoardToCamera(Calibration const& calibration, std::size_t frame) {
    double const* e = calibration.extrinsics.data() + 6 * frame;
    Eigen::Vector3d const rotation(e[0], e[1], e[2]);
    return Eigen::Translation3d(e[3], e[4], e[5]) *
           Eigen::AngleAxisd(rotation.norm(), rotation.normalized());
}

Eigen::Vector3d BoardPoint(Calibration const& calibration, double column, double row) {
    return {column * calibration.squareSize, row * calibration.squareSize, 0};
}

math::Point2<float> ThroughTheLens(Calibration const& c, double x, double y) {
    double const r2 = x * x + y * y;
    auto const& [k1, k2, p1, p2, k3] = c.distortion;
    double const radial = 1 + r2 * (k1 + r2 * (k2 + r2 * k3));
    double const u = x * radial + 2 * p1 * x * y + p2 * (r2 + 2 * x * x);
    double const v = y * radial + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y;
    // The calibration counts pixel centres as whole numbers; windows count pixel corners.
    return {static_cast<float>(c.fx * u + c.cx + 0.5), static_cast<float>(c.fy * v + c.cy + 0.5)};
}

dev::TCameraParams<double, unsigned int>
CameraOf(Calibration const& c, Eigen::Isometry3d const& worldToCamera) {
    // The y axis of a calibrated camera points down, that of a CCamera3D up.
    math::TMatrix<double, 3, 3> rotation = worldToCamera.linear();
    rotation.row(1) = -rotation.row(1);
    math::Point3<double> const angles = ui::win::RotationAngles(rotation);
    Eigen::Vector3d const position = worldToCamera.inverse().translation();
    dev::TCameraParams<double, unsigned int> camera;
    camera.width = c.width;
    camera.height = c.height;
    camera.ku = c.fx;
    camera.kv = c.fy;
    camera.u0 = c.cx + 0.5;
    camera.v0 = c.cy + 0.5;
    camera.yaw = angles.x;
    camera.pitch = angles.y;
    camera.roll = angles.z;
    camera.x = position.x();
    camera.y = position.y();
    camera.z = position.z();
    return camera;
}

ui::win::CCamera3D::Parameters
SetUpOf(Calibration const& calibration, Eigen::Isometry3d const& worldToCamera) {
    return ui::win::CCamera3D(CameraOf(calibration, worldToCamera), false).Params();
}
