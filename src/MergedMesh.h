#pragma once

#include <QVector2D>
#include <QVector3D>
#include <QVector>

#include <vector>

namespace Quorvel
{

class Geometry;
class Trimesh;

/// Parallel vertex arrays with one index per triangle corner, made from a geometry whose corners index
/// positions, normals and texture coordinates separately. Object space. Touches no GL.
///
/// Corners of one group that agree in all eight numbers, each within a hundred-thousandth of its magnitude,
/// share a vertex; corners of different groups never do.
class MergedMesh
{
public:
    /// Starts empty. `geometry` must outlive the mesh.
    explicit MergedMesh(const Geometry &geometry) : m_geometry(geometry) {}

    /// Appends a group's corners. Its three index lists must be equally long; an index out of range is fatal.
    /// Takes time linear in the number of corners.
    void addGroup(const Trimesh &group);

    const QVector<QVector3D> &positions() const { return m_positions; }
    const QVector<QVector3D> &normals() const { return m_normals; }
    const QVector<QVector2D> &texcoords() const { return m_texcoords; }

    /// The corners of all groups added so far, in order.
    const QVector<int> &indices() const { return m_indices; }

private:
    /// Index triples that have been turned into a vertex already, chained per position index, newest first.
    /// Most corners of a mesh repeat one.
    class TripleMemory
    {
    public:
        /// The vertex made for the triple, or -1 if there is none, or only one numbered below `firstVertex`.
        int find(int vertexIndex, int normalIndex, int texcoordIndex, int firstVertex) const;
        void insert(int vertexIndex, int normalIndex, int texcoordIndex, int vertex);

    private:
        struct Entry
        {
            int normalIndex;
            int texcoordIndex;
            int vertex;
            int older;
        };

        std::vector<int> m_newest;
        std::vector<Entry> m_entries;
    };

    const Geometry &m_geometry;
    TripleMemory m_triples;
    QVector<QVector3D> m_positions;
    QVector<QVector3D> m_normals;
    QVector<QVector2D> m_texcoords;
    QVector<int> m_indices;
};

} // namespace Quorvel
