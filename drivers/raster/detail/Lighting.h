#pragma once

#include "drivers/raster/DrawState.h"
#include "drivers/raster/detail/View.h"

namespace drivers::raster::detail {

/// Points of surfaces that are lit together.
struct LitPoints {
    static constexpr std::size_t Most = 96;

    std::size_t count = 0;
    double position[3][Most]; ///< x, y, z
    double normal[3][Most]; ///< of any length; without one only ambient light and emission are seen
    double colour[3][Most]; ///< red, green, blue, 0 to 255

    void SetPosition(std::size_t i, math::Point3<double> const& p) { Set(position, i, p); }
    void SetNormal(std::size_t i, math::Point3<double> const& n) { Set(normal, i, n); }

private:
    static void Set(double (&to)[3][Most], std::size_t i, math::Point3<double> const& v) {
        to[0][i] = v.x;
        to[1][i] = v.y;
        to[2][i] = v.z;
    }
};

/// What the lights of a state make of a surface in its material: emission, and for each light its
/// ambient, diffuse (Lambert) and specular part (Blinn's halfway vector).
class Lighting {
public:
    Lighting(View const& view, DrawState const& state);

    /// Sets the points' colours. Makes their normals 1 long.
    void LightUp(LitPoints& points) const;

    /// A light, its colours multiplied by the material's.
    struct Lamp {
        double position[3];
        double diffuse[3];
        double specular[3];
    };

private:
    double m_base[3]; ///< emission and all ambient light
    Lamp m_lamps[DrawState::Lights];
    std::size_t m_count = 0;
    bool m_shines = false; ///< some light has a specular part
    unsigned m_power;      ///< of the specular part, in 256ths
    double m_eye[3];       ///< a point, or a direction where the view has no perspective
    bool m_eyeIsFar;
};

} // namespace drivers::raster::detail
