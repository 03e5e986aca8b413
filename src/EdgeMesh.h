#pragma once

#include <QVector4D>
#include <QVector>

namespace Quorvel
{

class Geometry;

/// A geometry's triangles with the vertices across their edges, for adjacency-based drawing. Object space.
struct EdgeMesh
{
    /// Every position with w = 1, then one vertex (0, 0, 0, 0).
    QVector<QVector4D> positions;
    /// Corner and neighbour in turn. A corner without a neighbour is followed by the length of the corner
    /// list.
    QVector<int> indices;
};

/// Empty where the geometry has no more than two neighbour entries.
EdgeMesh edgeMesh(const Geometry &geometry);

} // namespace Quorvel
