#include "drivers/raster/detail/Lighting.h"

#include <algorithm>
#include <cmath>

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

Lighting::Lighting(View const& view, DrawState const& state)
    : m_eye(Eye(view)), m_eyeIsFar(view.affine) {
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
        lamp.position = {light.position.x, light.position.y, light.position.z};
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

Vector Lighting::TowardsEye(Vector const& position) const {
    return m_eyeIsFar ? m_eye : Direction(m_eye - position);
}

/// The cosine to the power of the shininess: by squares and roots, which every machine computes
/// alike, unlike std::pow.
double Lighting::Shine(double cosine) const {
    double result = 1;
    double square = cosine;
    for (unsigned whole = m_power >> 8; whole > 0; whole >>= 1) {
        result *= whole & 1 ? square : 1;
        square *= square;
    }
    double root = cosine;
    for (unsigned part = m_power & 255; part > 0; part = (part << 1) & 255) {
        root = std::sqrt(root);
        result *= part & 128 ? root : 1;
    }
    return result;
}

void Lighting::At(Vector const& position, Vector normal, double* colour) const {
    normal = Direction(normal);
    Vector const eye = m_shines ? TowardsEye(position) : Vector();
    double sum[3] = {m_base[0], m_base[1], m_base[2]};
    for (std::size_t l = 0; l < m_count; ++l) {
        Lamp const& lamp = m_lamps[l];
        Vector const towards = Direction(lamp.position - position);
        double const cosine = Dot(normal, towards);
        if (!(cosine > 0)) {
            continue; // from behind, or not a number
        }
        double const half = m_shines ? Dot(normal, Direction(towards + eye)) : 0;
        double const shine = half > 0 ? Shine(half) : 0;
        for (int i = 0; i < 3; ++i) {
            sum[i] += lamp.diffuse[i] * cosine + lamp.specular[i] * shine;
        }
    }
    for (int i = 0; i < 3; ++i) {
        colour[i] = std::min(sum[i], 255.0);
    }
}

} // namespace drivers::raster::detail
