#pragma once

#include "Scene.h"

#include <QColor>
#include <QMatrix4x4>
#include <QVector3D>

#include <memory>

namespace Quorvel
{
class Light;
class Trimesh;
} // namespace Quorvel

namespace Quorvel::Test
{

/// A parallelogram: origin, origin + u, origin + u + v, origin + v run counter-clockwise around the side that
/// the normal, u x v, points to. Texture coordinates run from (0, 0) to (1, 1) along u and v.
struct Quad
{
    QVector3D origin;
    QVector3D u;
    QVector3D v;

    QVector3D normal() const { return QVector3D::crossProduct(u, v).normalized(); }
};

/// In which sense the triangles of a quad run around the side that its normal points to.
enum class Winding { Clockwise, CounterClockwise };

/// Puts small scenes together in code.
class SceneSketch
{
public:
    SceneSketch();
    ~SceneSketch();

    Node *node(const QString &id, const QMatrix4x4 &local, Node *parent = nullptr);
    Node *camera(const QMatrix4x4 &local = {}, float fieldOfView = 45.0f, Node *parent = nullptr);
    Light *light(int type, const QColor &color, const QMatrix4x4 &local = {}, Node *parent = nullptr);
    /// Every colour black, to be changed by the caller.
    Material *material(const QString &name);
    Geometry *geometry();
    /// A new group of that symbol, with the corners' normals all the quad's unless four others are given.
    Trimesh *addQuad(Geometry *geometry, const QString &symbol, const Quad &quad,
                     Winding winding = Winding::Clockwise, const QVector<QVector3D> &normals = {});
    /// A node with a geometry of one quad in one material.
    Node *quadNode(const Quad &quad, Material *material, const QMatrix4x4 &local = {},
                   Winding winding = Winding::Clockwise);
    /// A node with a geometry that has a group for each quad, in that quad's material.
    Node *groupsNode(const QVector<QPair<Quad, Material *>> &groups);

    /// The scene as it stands.
    Scene &incomplete() { return *m_scene; }
    /// Finishes the scene: adds a camera if there is none, and completes it.
    Scene &scene();

private:
    std::unique_ptr<Scene> m_scene;
    bool m_complete = false;
};

QMatrix4x4 translation(float x, float y, float z);
/// Counter-clockwise about the axis, as seen from its tip.
QMatrix4x4 rotation(float degrees, float x, float y, float z);

} // namespace Quorvel::Test
