#include "Frustum.h"

#include "Geometry.h"
#include "Material.h"
#include "Node.h"

#include <algorithm>
#include <cmath>

namespace Quorvel
{

VisibleItem::VisibleItem(Node *node, float depth, float transparency)
    : node(node), depth(depth), transparency(transparency)
{
    Q_ASSERT(node->geometryModel());
}

void Frustum::update(const QMatrix4x4 &view, const QMatrix4x4 &projection, const QList<Node *> &nodes)
{
    extractPlanes(projection * view);
    // Shrinks nothing and frees nothing, so that a steady view allocates nothing either.
    m_visibleItems.resize(0);
    for (Node *node : nodes) {
        if (!node->geometryModel())
            continue;
        const BoundingSphere sphere = node->boundingSphere();
        if (!sphereTest(sphere.centre, sphere.radius))
            continue;
        float transparency = 0.0f;
        for (const Material *material : node->groupMaterials()) {
            if (material)
                transparency = std::max(transparency, material->transparency());
        }
        m_visibleItems.append(VisibleItem(node, view.map(sphere.centre).z(), transparency));
    }
}

// Gribb and Hartmann, "Fast Extraction of Viewing Frustum Planes from the World-View-Projection Matrix"
// (2001).
void Frustum::extractPlanes(const QMatrix4x4 &viewProjection)
{
    const QVector4D x = viewProjection.row(0);
    const QVector4D y = viewProjection.row(1);
    const QVector4D z = viewProjection.row(2);
    const QVector4D w = viewProjection.row(3);
    const std::array<QVector4D, PlaneCount> rows = {w - x, w + x, w + y, w - y, w - z, w + z};
    for (int i = 0; i < PlaneCount; ++i) {
        const QVector4D &row = rows[size_t(i)];
        const float length = std::sqrt(row.x() * row.x() + row.y() * row.y() + row.z() * row.z());
        m_planes[size_t(i)] = {row.x() / length, row.y() / length, row.z() / length, row.w() / length};
    }
}

bool Frustum::sphereTest(const QVector3D &centre, float radius) const
{
    return std::none_of(m_planes.cbegin(), m_planes.cend(), [&](const ClipPlane &plane) {
        return plane.a * centre.x() + plane.b * centre.y() + plane.c * centre.z() + plane.d <= -radius;
    });
}

} // namespace Quorvel
