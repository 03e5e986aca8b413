#pragma once

#include <QImage>
#include <QSize>
#include <QVector2D>
#include <QVector3D>

#include <optional>
#include <vector>

/// A second opinion on what a picture must look like: a ray caster that shares no code with the viewer and
/// works out the lighting formula in double precision, in world space. It knows nothing of nodes, programs or
/// buffers; a test describes the picture to it a second time, in world coordinates and in the order of
/// drawing.
namespace Quorvel::Test::Reference
{

struct Vector
{
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    Vector() = default;
    Vector(double x, double y, double z) : x(x), y(y), z(z) {}
    // Test data is written down once, as the toolkit's vectors.
    Vector(const QVector3D &v) : x(double(v.x())), y(double(v.y())), z(double(v.z())) {}
};

struct Surface
{
    /// Ambient light times ambient colour.
    Vector ambient;
    Vector diffuse;
    Vector specular;
    double shininess = 1.0;
    double opacity = 1.0;
};

struct Light
{
    enum class Kind { Directional, Point, Spot };

    Kind kind = Kind::Point;
    Vector color;
    Vector position;
    /// Along which the light shines; unit length.
    Vector direction;
    /// Full angles in degrees.
    double hotspot = 0.0;
    double falloff = 0.0;
    bool castsShadows = false;
    /// Where its shadows fall from, if that is not where it shines from.
    std::optional<Vector> shadowOrigin;
    /// How far, across the light's rays, the soft edge of a shadow may reach to either side.
    double penumbra = 0.0;
};

struct Triangle
{
    Vector positions[3];
    Vector normals[3];
};

/// Drawn over what is there where it is nearer than it; a blended item leaves depths alone.
struct Item
{
    std::vector<Triangle> triangles;
    Surface surface;
    bool blended = false;
    /// On other items; an item never lies in its own shadow.
    bool castsShadow = true;
};

struct Picture
{
    QSize size;
    Vector eye;
    /// Unit axes of the view.
    Vector right = {1, 0, 0};
    Vector up = {0, 1, 0};
    Vector forward = {0, 0, -1};
    /// Full vertical angle in degrees.
    double fieldOfView = 45.0;
    Vector background;
    std::vector<Light> lights;
    std::vector<Item> items;
    /// Lighting is worked out at the corners and spread between them.
    bool perVertex = false;
};

/// Two triangles with the quad's corners at `origin`, + u, + u + v, + v, all with the normal u x v.
std::vector<Triangle> quad(const QVector3D &origin, const QVector3D &u, const QVector3D &v);

/// What differs between a picture as drawn and as computed.
struct Comparison
{
    /// Pixels that lie wholly on the same triangles or wholly on none, and not on the edge of a shadow;
    /// others are not compared.
    int compared = 0;
    /// Compared pixels that show at least one triangle.
    int onSurfaces = 0;
    /// Compared pixels that some light does not reach for something that stands in its way.
    int shadowed = 0;
    int differing = 0;
    int largestDifference = 0;
    /// The first differing pixel, for people.
    QString example;
};

Comparison compare(const Picture &picture, const QImage &drawn, int tolerance);

} // namespace Quorvel::Test::Reference
