#pragma once

#include "IndexBuffer.h"
#include "VertexBuffer.h"

#include <memory>
#include <vector>

namespace Quorvel
{

/// The GPU's copy of one geometry. Destroyed with the owning GL context current.
struct GpuGeometry
{
    /// Parallel, object space.
    VertexBuffer positions;
    VertexBuffer normals;
    VertexBuffer texcoords;

    /// One per triangle group of the geometry, in its order. Each holds the triangles of all groups up to its
    /// own.
    std::vector<IndexBuffer> groups;

    /// For adjacency-based drawing, which the viewer does not do; null for a geometry without neighbour data.
    std::unique_ptr<VertexBuffer> edgePositions;
    std::unique_ptr<IndexBuffer> edgeIndices;
};

} // namespace Quorvel
