#pragma once

#include <QString>
#include <QStringList>
#include <QVector2D>
#include <QVector3D>

#include <array>
#include <vector>

namespace Quorvel
{

class Scene;
struct BakeSettings;

/// World space.
struct BakeTriangle
{
    std::array<QVector3D, 3> positions;
    /// Unit length, or the facing where the file's normal has none.
    std::array<QVector3D, 3> normals;
    std::array<QVector2D, 3> texcoords;
    /// Unit normal of the plane, on the side of the corners' normals; null for a triangle without area.
    QVector3D facing;
    int surface = 0;
};

/// How a surface reflects and sends out light, linear.
struct BakeSurface
{
    QVector3D albedo;
    QVector3D emission;
    /// Part of the rays that pass through.
    float transparency = 0.0f;
};

/// World space, linear colour with the multiplier in it.
struct BakeLight
{
    enum class Kind { Directional, Point, Spot };

    Kind kind = Kind::Point;
    QVector3D color;
    QVector3D position;
    /// Unit vector along which a directional or spot light shines.
    QVector3D direction;
    /// Cosines of a spot light's half angles.
    float cosHotspot = 0.0f;
    float cosFalloff = 0.0f;
};

/// A scene as the baker needs it: one list of triangles in world space, and linear light.
struct BakeScene
{
    std::vector<BakeTriangle> triangles;
    std::vector<BakeSurface> surfaces;
    std::vector<BakeLight> lights;
    /// Sum of the ambient lights; the viewer's grey where the scene has no light at all.
    QVector3D ambient;
    /// Of the smallest box around the triangles.
    QVector3D centre;
    float radius = 0.0f;
};

/// False, with a sentence for the user, when a light aims at a node that the scene lacks or when there is
/// nothing to light. The scene must be complete.
bool buildBakeScene(const Scene &scene, const BakeSettings &settings, BakeScene *result, QString *error);

} // namespace Quorvel
