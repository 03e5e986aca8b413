#pragma once

#include <QVector3D>

#include <cmath>

namespace Quorvel
{

/// A point or direction of a flattened chart, in double precision: slivers lose their shape in single.
struct Point2
{
    double x = 0.0;
    double y = 0.0;
};

inline Point2 operator+(Point2 a, Point2 b)
{
    return {a.x + b.x, a.y + b.y};
}
inline Point2 operator-(Point2 a, Point2 b)
{
    return {a.x - b.x, a.y - b.y};
}
inline Point2 operator*(double s, Point2 a)
{
    return {s * a.x, s * a.y};
}
inline double dot(Point2 a, Point2 b)
{
    return a.x * b.x + a.y * b.y;
}
/// Positive when b lies counter-clockwise of a.
inline double cross(Point2 a, Point2 b)
{
    return a.x * b.y - a.y * b.x;
}
inline double length(Point2 a)
{
    return std::sqrt(dot(a, a));
}

/// A point or direction in world space.
struct Point3
{
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

inline Point3 toPoint3(const QVector3D &v)
{
    return {double(v.x()), double(v.y()), double(v.z())};
}
inline Point3 operator+(Point3 a, Point3 b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Point3 operator-(Point3 a, Point3 b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Point3 operator*(double s, Point3 a)
{
    return {s * a.x, s * a.y, s * a.z};
}
inline double dot(Point3 a, Point3 b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Point3 cross(Point3 a, Point3 b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double length(Point3 a)
{
    return std::sqrt(dot(a, a));
}
/// The zero vector stays as it is.
inline Point3 normalized(Point3 a)
{
    const double l = length(a);
    return l > 0.0 ? (1.0 / l) * a : a;
}

} // namespace Quorvel
