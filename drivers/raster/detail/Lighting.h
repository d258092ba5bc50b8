#pragma once

#include "drivers/raster/DrawState.h"
#include "drivers/raster/detail/View.h"

namespace drivers::raster::detail {

/// What the lights of a state make of a surface in its material: emission, and for each light its
/// ambient, diffuse (Lambert) and specular part (Blinn's halfway vector).
class Lighting {
public:
    Lighting(View const& view, DrawState const& state);

    /// The colour of a point of a surface.
    /// @param normal of any length; without one only ambient light and emission are seen
    /// @param colour red, green, blue, 0 to 255
    void
    At(math::Point3<double> const& position, math::Point3<double> normal, double* colour) const;

private:
    /// A light, its colours multiplied by the material's.
    struct Lamp {
        math::Point3<double> position;
        double diffuse[3];
        double specular[3];
    };
    math::Point3<double> TowardsEye(math::Point3<double> const& position) const;
    double Shine(double cosine) const;

    double m_base[3]; ///< emission and all ambient light
    Lamp m_lamps[DrawState::Lights];
    std::size_t m_count = 0;
    bool m_shines = false;      ///< some light has a specular part
    unsigned m_power;           ///< of the specular part, in 256ths
    math::Point3<double> m_eye; ///< a point, or a direction where the view has no perspective
    bool m_eyeIsFar;
};

} // namespace drivers::raster::detail
