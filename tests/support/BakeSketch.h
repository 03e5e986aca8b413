#pragma once

#include "BakeScene.h"
#include "BakeSettings.h"
#include "LightMapBake.h"
#include "VectorMath.h"

#include <QRectF>

namespace Quorvel::Test
{

/// Puts small scenes for the baker together.
struct BakeSketch
{
    /// Its number.
    int surface(const QVector3D &albedo, const QVector3D &emission = {}, float transparency = 0.0f)
    {
        scene.surfaces.push_back({albedo, emission, transparency});
        return int(scene.surfaces.size()) - 1;
    }

    void triangle(const std::array<QVector3D, 3> &positions, const std::array<QVector2D, 3> &texcoords,
                  int surface, const std::array<QVector3D, 3> &normals = {})
    {
        BakeTriangle triangle;
        triangle.positions = positions;
        triangle.texcoords = texcoords;
        triangle.surface = surface;
        triangle.facing = unit(cross(positions[1] - positions[0], positions[2] - positions[0]));
        triangle.normals = normals;
        if (normals[0].isNull())
            triangle.normals = {triangle.facing, triangle.facing, triangle.facing};
        else if (dot(triangle.facing, normals[0] + normals[1] + normals[2]) < 0.0f)
            triangle.facing = -triangle.facing;
        scene.triangles.push_back(triangle);
    }

    /// Facing u x v; the texture coordinates run along u and v through the rectangle, t upwards.
    void quad(const QVector3D &origin, const QVector3D &u, const QVector3D &v, int surface,
              const QRectF &place = QRectF(0, 0, 1, 1))
    {
        const QVector2D low(place.topLeft());
        const QVector2D s(float(place.width()), 0.0f);
        const QVector2D t(0.0f, float(place.height()));
        triangle({origin, origin + u, origin + u + v}, {low, low + s, low + s + t}, surface);
        triangle({origin, origin + u + v, origin + v}, {low, low + s + t, low + t}, surface);
    }

    /// Six walls around the origin, each with a sixth of the texture.
    void box(float half, int surface, bool facesInwards)
    {
        int cell = 0;
        for (int axis = 0; axis < 3; ++axis) {
            for (const float side : {-1.0f, 1.0f}) {
                QVector3D normal;
                QVector3D u;
                QVector3D v;
                normal[axis] = facesInwards ? -side : side;
                u[(axis + 1) % 3] = 2.0f * half;
                v[(axis + 2) % 3] = 2.0f * half;
                QVector3D origin = (u + v) * -0.5f;
                origin[axis] = side * half;
                if (normal[axis] < 0.0f)
                    std::swap(u, v);
                quad(origin, u, v, surface,
                     QRectF(cell % 3 / 3.0 + 0.02, cell / 3 / 2.0 + 0.02, 1 / 3.0 - 0.04, 0.5 - 0.04));
                ++cell;
            }
        }
    }

    BakeLight &light(BakeLight::Kind kind, const QVector3D &color, const QVector3D &position,
                     const QVector3D &direction = {0, -1, 0})
    {
        scene.lights.push_back({kind, color, position, unit(direction), 0.0f, 0.0f});
        return scene.lights.back();
    }

    /// The scene as it stands, with its bounds.
    const BakeScene &finished()
    {
        QVector3D low = scene.triangles.front().positions[0];
        QVector3D high = low;
        for (const BakeTriangle &triangle : scene.triangles) {
            for (const QVector3D &position : triangle.positions) {
                for (int axis = 0; axis < 3; ++axis) {
                    low[axis] = std::min(low[axis], position[axis]);
                    high[axis] = std::max(high[axis], position[axis]);
                }
            }
        }
        scene.centre = (low + high) * 0.5f;
        scene.radius = (high - low).length() * 0.5f;
        return scene;
    }

    BakeResult bake(const BakeSettings &settings) { return bakeLightMap(finished(), settings); }

    BakeScene scene;
};

/// A quick bake without noise from the light's size.
inline BakeSettings quickSettings(int size, int samples, int bounces)
{
    BakeSettings settings;
    settings.size = size;
    settings.samples = samples;
    settings.bounces = bounces;
    settings.lightRadius = 0.0f;
    settings.sunAngle = 0.0f;
    return settings;
}

} // namespace Quorvel::Test
