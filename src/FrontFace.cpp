#include "FrontFace.h"

#include "Geometry.h"
#include "Node.h"
#include "Scene.h"
#include "Trimesh.h"
#include "VectorMath.h"

#include <QMatrix4x4>

namespace Quorvel
{

namespace
{

/// World-space area whose normals agree with either sense.
struct Vote
{
    double clockwise = 0.0;
    double counterClockwise = 0.0;
};

/// Maps the cross product of two object-space edges to the cross product of the world-space edges, but for a
/// factor of -1 if the transform mirrors: the cofactor matrix of the upper 3x3.
class AreaTransform
{
public:
    explicit AreaTransform(const QMatrix4x4 &world)
    {
        const QVector3D x = world.column(0).toVector3D();
        const QVector3D y = world.column(1).toVector3D();
        const QVector3D z = world.column(2).toVector3D();
        m_yz = VectorMath::crossProduct(y, z);
        m_zx = VectorMath::crossProduct(z, x);
        m_xy = VectorMath::crossProduct(x, y);
    }

    QVector3D map(const QVector3D &area) const { return area.x() * m_yz + area.y() * m_zx + area.z() * m_xy; }

private:
    QVector3D m_yz;
    QVector3D m_zx;
    QVector3D m_xy;
};

void count(const Geometry &geometry, const Trimesh &group, const AreaTransform &toWorld, Vote *vote)
{
    const QVector<int> &corners = group.indices();
    const QVector<int> &normalIndices = group.normalIndices();
    const QVector<QVector3D> &positions = geometry.vertices();
    const QVector<QVector3D> &normals = geometry.normals();
    const int cornerCount = qMin(corners.size(), normalIndices.size()) / 3 * 3;
    for (int i = 0; i < cornerCount; i += 3) {
        const QVector3D origin = positions.at(corners[i]);
        // Points at the eye that sees the corners run counter-clockwise; twice the triangle's area long.
        const QVector3D area = VectorMath::crossProduct(positions.at(corners[i + 1]) - origin,
                                                        positions.at(corners[i + 2]) - origin);
        const QVector3D normal = normals.at(normalIndices[i]) + normals.at(normalIndices[i + 1]) +
                                 normals.at(normalIndices[i + 2]);
        const float lengths = VectorMath::length(area) * VectorMath::length(normal);
        if (!(lengths > 0.0f))
            continue;
        const float agreement = VectorMath::dotProduct(area, normal) / lengths;
        const double weight = double(VectorMath::length(toWorld.map(area)) * qAbs(agreement));
        (agreement > 0.0f ? vote->counterClockwise : vote->clockwise) += weight;
    }
}

} // namespace

FrontFace sceneFrontFace(const Scene &scene)
{
    Vote vote;
    for (const Node *node : scene.nodes()) {
        const Geometry *geometry = node->geometryModel();
        if (!geometry)
            continue;
        const AreaTransform toWorld(node->worldTransform());
        for (const Trimesh *group : geometry->trimeshes())
            count(*geometry, *group, toWorld, &vote);
    }
    return vote.counterClockwise > 2.0 * vote.clockwise ? FrontFace::CounterClockwise : FrontFace::Clockwise;
}

bool isMirrored(const QMatrix4x4 &worldTransform)
{
    const QVector3D x = worldTransform.column(0).toVector3D();
    const QVector3D y = worldTransform.column(1).toVector3D();
    const QVector3D z = worldTransform.column(2).toVector3D();
    return QVector3D::dotProduct(QVector3D::crossProduct(x, y), z) < 0.0f;
}

FrontFace nodeFrontFace(FrontFace ofScene, const QMatrix4x4 &worldTransform)
{
    if (!isMirrored(worldTransform))
        return ofScene;
    return ofScene == FrontFace::Clockwise ? FrontFace::CounterClockwise : FrontFace::Clockwise;
}

} // namespace Quorvel
