#include "ReferenceRenderer.h"

#include <QColor>

#include <algorithm>
#include <cmath>

namespace Quorvel::Test::Reference
{

namespace
{

Vector operator+(const Vector &a, const Vector &b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

Vector operator-(const Vector &a, const Vector &b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

Vector operator*(double s, const Vector &v)
{
    return {s * v.x, s * v.y, s * v.z};
}

Vector times(const Vector &a, const Vector &b)
{
    return {a.x * b.x, a.y * b.y, a.z * b.z};
}

double dot(const Vector &a, const Vector &b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vector cross(const Vector &a, const Vector &b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Vector unit(const Vector &v)
{
    return 1.0 / std::sqrt(dot(v, v)) * v;
}

double radians(double degrees)
{
    return degrees * std::acos(-1.0) / 180.0;
}

Vector clamped(const Vector &v)
{
    return {std::clamp(v.x, 0.0, 1.0), std::clamp(v.y, 0.0, 1.0), std::clamp(v.z, 0.0, 1.0)};
}

struct Hit
{
    double distance = 0.0;
    double weights[3] = {0.0, 0.0, 0.0};
};

// Moeller and Trumbore, "Fast, Minimum Storage Ray/Triangle Intersection" (1997), without culling.
std::optional<Hit> intersect(const Vector &origin, const Vector &direction, const Triangle &triangle)
{
    const Vector edge1 = triangle.positions[1] - triangle.positions[0];
    const Vector edge2 = triangle.positions[2] - triangle.positions[0];
    const Vector p = cross(direction, edge2);
    const double determinant = dot(edge1, p);
    if (determinant == 0.0)
        return std::nullopt;
    const Vector t = origin - triangle.positions[0];
    const Vector q = cross(t, edge1);
    const double u = dot(t, p) / determinant;
    const double v = dot(direction, q) / determinant;
    const double distance = dot(edge2, q) / determinant;
    if (u < 0.0 || v < 0.0 || u + v > 1.0 || distance <= 0.0)
        return std::nullopt;
    return Hit{distance, {1.0 - u - v, u, v}};
}

/// Not normalised: the light stands at 1, unless it is directional.
Vector towards(const Light &light, const Vector &position)
{
    return light.kind == Light::Kind::Directional ? -1.0 * light.direction : light.position - position;
}

/// As above, from where its shadows fall.
Vector towardsShadowOrigin(const Light &light, const Vector &position)
{
    return light.shadowOrigin ? *light.shadowOrigin - position : towards(light, position);
}

bool isHidden(const Picture &picture, const Item &receiver, const Light &light, const Vector &position)
{
    const double end = light.kind == Light::Kind::Directional ? HUGE_VAL : 1.0;
    for (const Item &item : picture.items) {
        if (&item == &receiver || !item.castsShadow)
            continue;
        for (const Triangle &triangle : item.triangles) {
            const std::optional<Hit> hit =
                intersect(position, towardsShadowOrigin(light, position), triangle);
            if (hit && hit->distance < end)
                return true;
        }
    }
    return false;
}

/// Whether places within the penumbra's width disagree on being hidden from the light.
bool isPenumbra(const Picture &picture, const Item &receiver, const Light &light, const Vector &position)
{
    const Vector ray = unit(towardsShadowOrigin(light, position));
    const Vector across = unit(std::abs(ray.x) < 0.9 ? cross(ray, {1, 0, 0}) : cross(ray, {0, 1, 0}));
    const Vector other = cross(ray, across);
    const bool hidden = isHidden(picture, receiver, light, position);
    constexpr int directions = 16;
    for (int i = 0; i < directions; ++i) {
        const double angle = radians(360.0 * i / directions);
        const Vector offset = light.penumbra * (std::cos(angle) * across + std::sin(angle) * other);
        if (isHidden(picture, receiver, light, position + offset) != hidden)
            return true;
    }
    return false;
}

Vector lit(const Picture &picture, const Item &item, const Vector &position, const Vector &normal)
{
    const Surface &surface = item.surface;
    Vector color = surface.ambient;
    const Vector n = unit(normal);
    const Vector toEye = unit(picture.eye - position);
    for (const Light &light : picture.lights) {
        const Vector toLight = unit(towards(light, position));
        const double lambert = dot(n, toLight);
        if (lambert <= 0.0 || (light.castsShadows && isHidden(picture, item, light, position)))
            continue;
        double cone = 1.0;
        if (light.kind == Light::Kind::Spot) {
            const double inner = std::cos(radians(light.hotspot / 2));
            const double outer = std::cos(radians(light.falloff / 2));
            cone = std::clamp((dot(-1.0 * toLight, light.direction) - outer) / (inner - outer), 0.0, 1.0);
        }
        const Vector halfway = unit(toLight + toEye);
        const double highlight = std::pow(std::max(dot(n, halfway), 0.0), surface.shininess);
        color = color + cone * times(light.color, lambert * surface.diffuse + highlight * surface.specular);
    }
    return clamped(color);
}

Vector surfaceColor(const Picture &picture, const Item &item, const Triangle &triangle, const Hit &hit)
{
    Vector position;
    Vector normal;
    Vector cornerColor;
    for (int i = 0; i < 3; ++i) {
        position = position + hit.weights[i] * triangle.positions[i];
        normal = normal + hit.weights[i] * triangle.normals[i];
        if (picture.perVertex)
            cornerColor =
                cornerColor + hit.weights[i] * lit(picture, item, triangle.positions[i], triangle.normals[i]);
    }
    return picture.perVertex ? cornerColor : lit(picture, item, position, normal);
}

struct Sample
{
    Vector color;
    /// Items and triangles that were drawn here, in order.
    std::vector<const Triangle *> shown;
    /// Of the last opaque one, or of anything blended over it.
    bool shadowed = false;
    bool penumbra = false;
};

/// `x` and `y` in pixels, from the top left.
Sample sample(const Picture &picture, double x, double y, bool withColor)
{
    const double halfHeight = std::tan(radians(picture.fieldOfView / 2));
    const double halfWidth = halfHeight * picture.size.width() / picture.size.height();
    const Vector direction = picture.forward +
                             (2 * x / picture.size.width() - 1) * halfWidth * picture.right +
                             (1 - 2 * y / picture.size.height()) * halfHeight * picture.up;
    Sample result;
    result.color = picture.background;
    double nearest = HUGE_VAL;
    for (const Item &item : picture.items) {
        for (const Triangle &triangle : item.triangles) {
            const std::optional<Hit> hit = intersect(picture.eye, direction, triangle);
            if (!hit || hit->distance >= nearest)
                continue;
            result.shown.push_back(&triangle);
            if (!item.blended)
                nearest = hit->distance;
            if (!withColor)
                continue;
            const Vector color = surfaceColor(picture, item, triangle, *hit);
            const Vector position = picture.eye + hit->distance * direction;
            if (!item.blended)
                result.shadowed = result.penumbra = false;
            for (const Light &light : picture.lights) {
                if (!light.castsShadows)
                    continue;
                result.shadowed = result.shadowed || isHidden(picture, item, light, position);
                result.penumbra = result.penumbra || isPenumbra(picture, item, light, position);
            }
            result.color = item.blended
                               ? item.surface.opacity * color + (1 - item.surface.opacity) * result.color
                               : color;
        }
    }
    return result;
}

int byte(double value)
{
    return int(std::lround(value * 255.0));
}

} // namespace

std::vector<Triangle> quad(const QVector3D &origin, const QVector3D &u, const QVector3D &v)
{
    const Vector normal = QVector3D::crossProduct(u, v).normalized();
    return {{{origin, origin + u, origin + u + v}, {normal, normal, normal}},
            {{origin, origin + u + v, origin + v}, {normal, normal, normal}}};
}

Comparison compare(const Picture &picture, const QImage &drawn, int tolerance)
{
    Comparison comparison;
    for (int y = 0; y < picture.size.height(); ++y) {
        for (int x = 0; x < picture.size.width(); ++x) {
            const Sample centre = sample(picture, x + 0.5, y + 0.5, true);
            bool uniform = !centre.penumbra;
            for (const double dx : {-0.1, 1.1}) {
                for (const double dy : {-0.1, 1.1})
                    uniform = uniform && sample(picture, x + dx, y + dy, false).shown == centre.shown;
            }
            if (!uniform)
                continue;
            ++comparison.compared;
            comparison.onSurfaces += centre.shown.empty() ? 0 : 1;
            comparison.shadowed += centre.shadowed ? 1 : 0;
            const QColor actual = drawn.pixelColor(x, y);
            const QColor expected(byte(centre.color.x), byte(centre.color.y), byte(centre.color.z));
            const int difference = std::max({std::abs(actual.red() - expected.red()),
                                             std::abs(actual.green() - expected.green()),
                                             std::abs(actual.blue() - expected.blue())});
            comparison.largestDifference = std::max(comparison.largestDifference, difference);
            if (difference <= tolerance)
                continue;
            if (comparison.differing++ == 0)
                comparison.example = QStringLiteral("pixel %1, %2 is %3, expected %4")
                                         .arg(x)
                                         .arg(y)
                                         .arg(actual.name(), expected.name());
        }
    }
    return comparison;
}

} // namespace Quorvel::Test::Reference
