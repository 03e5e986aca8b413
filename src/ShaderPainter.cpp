#include "ShaderPainter.h"

#include "EdgeMesh.h"
#include "FatalExplanation.h"
#include "Geometry.h"
#include "GpuGeometry.h"
#include "MergedMesh.h"
#include "Node.h"
#include "PainterState.h"
#include "Scene.h"
#include "Trimesh.h"

namespace Quorvel
{

namespace
{

template <typename Buffer, typename Data>
void fill(Buffer &buffer, const Data &data)
{
    buffer.bind();
    buffer.upload(data);
    buffer.release();
}

void assertParallel(const Trimesh &group)
{
    const QVector<int> &vertexIndices = group.indices();
    const QVector<int> &normalIndices = group.normalIndices();
    const QVector<int> &texcoordIndices = group.texcoordIndices();
    Q_ASSERT(vertexIndices.size() == normalIndices.size());
    Q_ASSERT(vertexIndices.size() == texcoordIndices.size());
}

void uploadMesh(const Geometry &geometry, GpuGeometry *data)
{
    MergedMesh mesh(geometry);
    data->groups.reserve(size_t(geometry.trimeshes().size()));
    for (const Trimesh *group : geometry.trimeshes()) {
        assertParallel(*group);
        mesh.addGroup(*group);
        // Quirk(cumulative-groups): each group's buffer repeats the triangles of the groups before it;
        // scenes are made for it: where groups overlap in depth, the first material drawn stays.
        fill(data->groups.emplace_back(), mesh.indices());
    }
    fill(data->positions, mesh.positions());
    fill(data->normals, mesh.normals());
    fill(data->texcoords, mesh.texcoords());
}

void uploadEdges(const Geometry &geometry, GpuGeometry *data)
{
    const EdgeMesh edges = edgeMesh(geometry);
    if (edges.indices.isEmpty())
        return;
    data->edgePositions = std::make_unique<VertexBuffer>();
    data->edgeIndices = std::make_unique<IndexBuffer>();
    fill(*data->edgePositions, edges.positions);
    fill(*data->edgeIndices, edges.indices);
}

std::unique_ptr<GpuGeometry> buildGeometry(const Geometry &geometry)
{
    const FatalExplanation explanation(
        QStringLiteral(
            "a triangle group of the geometry \"%1\" has too few indices, or one past the end of its "
            "positions, normals or texture coordinates: export the scene again")
            .arg(geometry.id()));
    auto data = std::make_unique<GpuGeometry>();
    uploadMesh(geometry, data.get());
    uploadEdges(geometry, data.get());
    return data;
}

} // namespace

ShaderPainter::ShaderPainter() = default;
ShaderPainter::~ShaderPainter() = default;

void ShaderPainter::paint(PainterState &state)
{
    buildMissing(*state.scene());
}

void ShaderPainter::prepare(PainterState &state)
{
    buildMissing(*state.scene());
}

void ShaderPainter::release()
{
    m_geometries.clear();
    m_frontFace.reset();
}

const GpuGeometry &ShaderPainter::geometryData(const Geometry *geometry, float)
{
    std::unique_ptr<GpuGeometry> &data = m_geometries[geometry];
    if (!data)
        data = buildGeometry(*geometry);
    return *data;
}

void ShaderPainter::buildMissing(const Scene &scene)
{
    const float radius = scene.rootNode()->boundingSphere().radius;
    for (const Node *node : scene.nodes()) {
        if (const Geometry *geometry = node->geometryModel())
            geometryData(geometry, radius);
    }
    if (!m_frontFace)
        m_frontFace = sceneFrontFace(scene);
}

} // namespace Quorvel
