#pragma once

#include <QString>
#include <QVector>

namespace Quorvel
{

/// One triangle group of a geometry: the triangles drawn with one material.
///
/// The three index lists are parallel, one entry per triangle corner, into the geometry's positions, normals
/// and texture coordinates.
class Trimesh
{
public:
    Trimesh() = default;
    virtual ~Trimesh() = default;
    Trimesh(const Trimesh &) = delete;
    Trimesh &operator=(const Trimesh &) = delete;

    /// The symbol that the node's material bindings resolve.
    QString materialName() const { return m_materialName; }
    void setMaterialName(const QString &symbol) { m_materialName = symbol; }

    const QVector<int> &indices() const { return m_indices; }
    const QVector<int> &normalIndices() const { return m_normalIndices; }
    const QVector<int> &texcoordIndices() const { return m_texcoordIndices; }
    void setIndices(const QVector<int> &indices) { m_indices = indices; }
    void setNormalIndices(const QVector<int> &indices) { m_normalIndices = indices; }
    void setTexcoordIndices(const QVector<int> &indices) { m_texcoordIndices = indices; }

    void reserveIndices(int corners);
    void appendIndex(int index) { m_indices.append(index); }
    void appendNormalIndex(int index) { m_normalIndices.append(index); }
    void appendTexcoordIndex(int index) { m_texcoordIndices.append(index); }

    void appendIndices(const QVector<int> &indices, const QVector<int> &normalIndices,
                       const QVector<int> &texcoordIndices);

    /// Entry 3f+k: the vertex across edge k of triangle f in the neighbouring triangle, or -1 where no clean
    /// neighbour exists. Edge 0 joins corners 0 and 1, edge 1 corners 1 and 2, edge 2 corners 2 and 0.
    const QVector<int> &adjacency() const { return m_adjacency; }
    void setAdjacency(const QVector<int> &adjacency) { m_adjacency = adjacency; }

    /// Triangles that break a clean surface; a triangle may occur more than once.
    const QVector<int> &invalidFaces() const { return m_invalidFaces; }
    void setInvalidFaces(const QVector<int> &faces) { m_invalidFaces = faces; }

private:
    QString m_materialName;
    QVector<int> m_indices;
    QVector<int> m_normalIndices;
    QVector<int> m_texcoordIndices;
    QVector<int> m_adjacency;
    QVector<int> m_invalidFaces;
};

} // namespace Quorvel
