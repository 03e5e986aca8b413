#pragma once

#include <QVector3D>

#include <cmath>

namespace Quorvel::VectorMath
{

// What the toolkit's functions of these names give, to the last bit; those are not inline, which counts where
// they run over every triangle of a mesh.

inline QVector3D crossProduct(const QVector3D &a, const QVector3D &b)
{
    return {a.y() * b.z() - a.z() * b.y(), a.z() * b.x() - a.x() * b.z(), a.x() * b.y() - a.y() * b.x()};
}

inline float dotProduct(const QVector3D &a, const QVector3D &b)
{
    return a.x() * b.x() + a.y() * b.y() + a.z() * b.z();
}

inline float length(const QVector3D &vector)
{
    const double x = double(vector.x());
    const double y = double(vector.y());
    const double z = double(vector.z());
    return float(std::sqrt(x * x + y * y + z * z));
}

} // namespace Quorvel::VectorMath
