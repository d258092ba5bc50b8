#pragma once

namespace dev {

/// Pin-hole camera: image size, intrinsic and extrinsic parameters. T is the type of the real
/// numbers, U that of the image size; used as TCameraParams<double, unsigned int>.
template <class T, class U>
struct TCameraParams {
    U width{};  ///< image width in pixels
    U height{}; ///< image height in pixels

    T ku{}; ///< focal length along the image's x axis, in pixels
    T kv{}; ///< focal length along the image's y axis, in pixels
    T u0{}; ///< principal point, pixels from the left edge
    T v0{}; ///< principal point, pixels from the top edge

    T yaw{};   ///< radians
    T pitch{}; ///< radians
    T roll{};  ///< radians

    T x{}; ///< position of the optical centre, world units
    T y{};
    T z{};
};

} // namespace dev
