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
    /// Where a corner's three parts stand in the geometry.
    struct Triple
    {
        int position;
        int normal;
        int texcoord;
    };

    /// The index triples met so far, numbered in order and chained per position, newest first. Most corners
    /// of a mesh repeat one.
    class TripleMemory
    {
    public:
        /// Triples met before are forgotten: groups share no vertices.
        void startGroup(int positions)
        {
            m_firstOfGroup = end();
            m_newest.reserve(size_t(positions));
        }
        /// The number that the triple has got in the group, or gets now. Its position is not negative.
        int number(const Triple &triple);

        /// Numbers of the group's triples.
        int begin() const { return m_firstOfGroup; }
        int end() const { return int(m_entries.size()); }
        const Triple &triple(int number) const { return m_entries[size_t(number)].triple; }
        int vertex(int number) const { return m_entries[size_t(number)].vertex; }
        void setVertex(int number, int vertex) { m_entries[size_t(number)].vertex = vertex; }

    private:
        struct Entry
        {
            Triple triple;
            int older;
            int vertex;
        };

        std::vector<int> m_newest;
        std::vector<Entry> m_entries;
        int m_firstOfGroup = 0;
    };

    void makeVertices();
    void reserve(int vertices);

    const Geometry &m_geometry;
    TripleMemory m_triples;
    QVector<QVector3D> m_positions;
    QVector<QVector3D> m_normals;
    QVector<QVector2D> m_texcoords;
    QVector<int> m_indices;
};

} // namespace Quorvel
