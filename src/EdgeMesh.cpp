#include "EdgeMesh.h"

#include "Geometry.h"

namespace Quorvel
{

EdgeMesh edgeMesh(const Geometry &geometry)
{
    EdgeMesh mesh;
    const QVector<int> neighbours = geometry.neighbourIndices();
    if (neighbours.size() <= 2)
        return mesh;

    // Quirk(edge-infinity-index): an open edge names the number of corners, not the point at infinity;
    // the buffers are laid out for adjacency-based drawing elsewhere, and nothing here draws them.
    const QVector<int> corners = geometry.triangleIndices();
    mesh.indices.reserve(2 * corners.size());
    for (int i = 0; i < corners.size(); ++i) {
        const int neighbour = neighbours.value(i, -1);
        mesh.indices.append(corners[i]);
        mesh.indices.append(neighbour == -1 ? corners.size() : neighbour);
    }

    mesh.positions.reserve(geometry.vertices().size() + 1);
    for (const QVector3D &position : geometry.vertices())
        mesh.positions.append(QVector4D(position, 1.0f));
    mesh.positions.append(QVector4D());
    return mesh;
}

} // namespace Quorvel
