#include "drivers/raster/detail/Lighting.h"

#include "drivers/raster/detail/Clones.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace drivers::raster::detail {

namespace {

using Vector = math::Point3<double>;

double Dot(Vector const& p, Vector const& q) {
    return p.x * q.x + p.y * q.y + p.z * q.z;
}

Vector Cross(Vector const& p, Vector const& q) {
    return {p.y * q.z - p.z * q.y, p.z * q.x - p.x * q.z, p.x * q.y - p.y * q.x};
}

Vector Row(View const& view, int row) {
    double const* m = view.m + row * 4;
    return {m[0], m[1], m[2]};
}

/// Of length 1; zero where there is no direction.
Vector Direction(Vector const& v) {
    double const square = Dot(v, v);
    return square > 0 && IsFinite(square) ? v * (1 / std::sqrt(square)) : Vector();
}

/// Where the camera is: the point that the three rows of its matrix take to zero (Cramer's rule).
/// A view without perspective looks along the direction that its first two rows do not see.
Vector Eye(View const& view) {
    Vector const p = Row(view, 0);
    Vector const q = Row(view, 1);
    Vector const back = Cross(q, p);
    if (view.affine) {
        return Direction(back);
    }
    Vector const r = Row(view, 2);
    double const determinant = Dot(Cross(p, q), r);
    Vector const sum = Cross(q, r) * view.m[3] + Cross(r, p) * view.m[7] + Cross(p, q) * view.m[11];
    return sum * (-1 / determinant);
}

} // namespace

Lighting::Lighting(View const& view, DrawState const& state) : m_eyeIsFar(view.affine) {
    Vector const eye = Eye(view);
    m_eye[0] = eye.x;
    m_eye[1] = eye.y;
    m_eye[2] = eye.z;
    constexpr float sharpest = 1024;
    float const shininess = state.material.shininess;
    m_power = shininess > 0 ? static_cast<unsigned>(std::min(shininess, sharpest) * 256) : 0;
    auto const channels = [](Colour c, double* out) {
        out[0] = c.r;
        out[1] = c.g;
        out[2] = c.b;
    };
    double surface[3];
    double gloss[3];
    channels(state.colour, surface);
    channels(state.material.specular, gloss);
    channels(state.material.emission, m_base);
    for (Light const& light : state.lights) {
        if (!light.on) {
            continue;
        }
        Lamp& lamp = m_lamps[m_count++];
        lamp.position[0] = light.position.x;
        lamp.position[1] = light.position.y;
        lamp.position[2] = light.position.z;
        double ambient[3];
        channels(light.ambient, ambient);
        channels(light.diffuse, lamp.diffuse);
        channels(light.specular, lamp.specular);
        for (int i = 0; i < 3; ++i) {
            m_base[i] += ambient[i] * surface[i] / 255;
            lamp.diffuse[i] *= surface[i] / 255;
            lamp.specular[i] *= gloss[i] / 255;
            m_shines = m_shines || lamp.specular[i] > 0;
        }
    }
}

namespace {

using Numbers = double[LitPoints::Most];

/// Makes vectors 1 long, and those without a direction zero.
inline void Normalise(std::size_t count, Numbers* v) {
    for (std::size_t i = 0; i < count; ++i) {
        double const x = v[0][i];
        double const y = v[1][i];
        double const z = v[2][i];
        double const square = x * x + y * y + z * z;
        double const scale = 1 / std::sqrt(square);
        bool const has = square > 0 && square <= std::numeric_limits<double>::max();
        v[0][i] = has ? x * scale : 0;
        v[1][i] = has ? y * scale : 0;
        v[2][i] = has ? z * scale : 0;
    }
}

inline void Towards(double const* to, std::size_t count, Numbers const* from, Numbers* out) {
    for (int axis = 0; axis < 3; ++axis) {
        for (std::size_t i = 0; i < count; ++i) {
            out[axis][i] = to[axis] - from[axis][i];
        }
    }
    Normalise(count, out);
}

/// The cosines of the angles between vectors; 0 where those are no sharp ones.
inline void Cosines(std::size_t count, Numbers const* p, Numbers const* q, double* out) {
    for (std::size_t i = 0; i < count; ++i) {
        double const cosine = p[0][i] * q[0][i] + p[1][i] * q[1][i] + p[2][i] * q[2][i];
        out[i] = cosine > 0 ? cosine : 0; // not a number is dark too
    }
}

/// Cosines to the power of the shininess: by squares and roots, which every machine computes
/// alike, unlike std::pow.
inline void Shine(unsigned power, std::size_t count, double* cosine) {
    Numbers result;
    Numbers factor;
    for (std::size_t i = 0; i < count; ++i) {
        result[i] = cosine[i] > 0 ? 1 : 0;
        factor[i] = cosine[i];
    }
    for (unsigned whole = power >> 8; whole > 0; whole >>= 1) {
        for (std::size_t i = 0; i < count; ++i) {
            result[i] *= whole & 1 ? factor[i] : 1;
            factor[i] *= factor[i];
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        factor[i] = cosine[i];
    }
    for (unsigned part = power & 255; part > 0; part = (part << 1) & 255) {
        for (std::size_t i = 0; i < count; ++i) {
            factor[i] = std::sqrt(factor[i]);
            result[i] *= part & 128 ? factor[i] : 1;
        }
    }
    std::copy(result, result + count, cosine);
}

/// Adds the light of one lamp. @param eye directions; null where nothing shines
RASTER_CLONES void
AddLamp(Lighting::Lamp const& lamp, unsigned power, Numbers const* eye, LitPoints& points) {
    std::size_t const count = points.count;
    Numbers towards[3];
    Numbers diffuse;
    Numbers shine;
    Towards(lamp.position, count, points.position, towards);
    Cosines(count, points.normal, towards, diffuse);
    if (eye != nullptr) {
        for (int axis = 0; axis < 3; ++axis) {
            for (std::size_t i = 0; i < count; ++i) {
                towards[axis][i] += eye[axis][i];
            }
        }
        Normalise(count, towards);
        Cosines(count, points.normal, towards, shine);
        Shine(power, count, shine);
    }
    for (int channel = 0; channel < 3; ++channel) {
        double const matt = lamp.diffuse[channel];
        double const gloss = lamp.specular[channel];
        double* const sum = points.colour[channel];
        for (std::size_t i = 0; i < count; ++i) {
            // What is lit from behind does not shine either.
            double const shining = eye != nullptr && diffuse[i] > 0 ? gloss * shine[i] : 0;
            sum[i] += matt * diffuse[i] + shining;
        }
    }
}

RASTER_CLONES void NormaliseAll(std::size_t count, Numbers* v) {
    Normalise(count, v);
}

RASTER_CLONES void
TowardsAll(double const* to, std::size_t count, Numbers const* from, Numbers* out) {
    Towards(to, count, from, out);
}

} // namespace

void Lighting::LightUp(LitPoints& points) const {
    std::size_t const count = points.count;
    Numbers eye[3];
    if (m_shines && !m_eyeIsFar) {
        TowardsAll(m_eye, count, points.position, eye);
    }
    for (int i = 0; i < 3; ++i) {
        std::fill_n(points.colour[i], count, m_base[i]);
        if (m_shines && m_eyeIsFar) {
            std::fill_n(eye[i], count, m_eye[i]);
        }
    }
    NormaliseAll(count, points.normal);
    for (std::size_t l = 0; l < m_count; ++l) {
        AddLamp(m_lamps[l], m_power, m_shines ? eye : nullptr, points);
    }
    for (double(&channel)[LitPoints::Most] : points.colour) {
        for (std::size_t i = 0; i < count; ++i) {
            channel[i] = std::min(channel[i], 255.0);
        }
    }
}

} // namespace drivers::raster::detail
