#pragma once

#include <QVector3D>

#include <cmath>

namespace Quorvel
{

inline float dot(const QVector3D &a, const QVector3D &b)
{
    return a.x() * b.x() + a.y() * b.y() + a.z() * b.z();
}

inline QVector3D cross(const QVector3D &a, const QVector3D &b)
{
    return {a.y() * b.z() - a.z() * b.y(), a.z() * b.x() - a.x() * b.z(), a.x() * b.y() - a.y() * b.x()};
}

/// Unit vector along `v`, however short that is; null for null.
inline QVector3D unit(const QVector3D &v)
{
    const double squared =
        double(v.x()) * double(v.x()) + double(v.y()) * double(v.y()) + double(v.z()) * double(v.z());
    if (!(squared > 0.0))
        return {};
    return v * float(1.0 / std::sqrt(squared));
}

/// Two unit vectors that make a right-handed frame with the unit vector `axis` as the third (Duff et al.,
/// "Building an Orthonormal Basis, Revisited", 2017).
inline void frameAround(const QVector3D &axis, QVector3D *x, QVector3D *y)
{
    const float sign = std::copysign(1.0f, axis.z());
    const float a = -1.0f / (sign + axis.z());
    const float b = axis.x() * axis.y() * a;
    *x = {1.0f + sign * axis.x() * axis.x() * a, sign * b, -sign * axis.x()};
    *y = {b, sign + axis.y() * axis.y() * a, -axis.y()};
}

} // namespace Quorvel
