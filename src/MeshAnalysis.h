#pragma once

#include <QVector3D>
#include <QVector>

#include <vector>

namespace Quorvel
{

/// What an edge knows of the triangles on it: for each, the vertex across the edge in the other one.
///
/// Built up triangle by triangle; an edge that a triangle broke starts again from nothing.
class MeshEdge
{
public:
    enum class Addition { Stored, ThirdTriangle, SameTriangle, SameOppositeVertex };

    /// A table from triangle number to vertex index, in ascending order of triangles. It holds at most the
    /// three entries that an edge can come to have.
    class AdjacentVertices
    {
    public:
        struct Values
        {
            int count;
            int size() const { return count; }
        };
        Values values() const { return {m_count}; }
        int firstTriangle() const { return m_triangles[0]; }
        int firstVertex() const { return m_vertices[0]; }
        void clear() { m_count = 0; }
        void insert(int triangle, int vertex);
        /// The vertex stored under `triangle`; a triangle that is not in the table is entered with vertex 0.
        int lookUp(int triangle);

    private:
        int m_count = 0;
        int m_triangles[3] = {};
        int m_vertices[3] = {};
    };

    /// Registers triangle `f`, whose corner opposite this edge is vertex `v`. Anything but Stored names what
    /// is wrong with it.
    Addition addAdjacentVertex(int f, int v);

    AdjacentVertices adjacentVertices;
};

/// The adjacency analysis of one triangle list; see Geometry::analyze(). Runs in time linear in the number of
/// triangles and in the range of the vertices they use, but for edges that share their lower vertex, which
/// are sorted.
///
/// A half-edge is numbered 3f+k: edge k of triangle f. Edges are gathered by their lower vertex, each is then
/// followed through the half-edges on it in ascending order, as if triangles had been registered one by one.
class MeshAnalysis
{
public:
    MeshAnalysis(const QVector<QVector3D> &vertices, const QVector<int> &indices);

    const QVector<int> &adjacency() const { return m_adjacency; }
    const QVector<int> &invalidFaces() const { return m_invalidFaces; }
    bool isTwoManifold() const { return m_twoManifold; }

private:
    /// One number, so that half-edges are sorted by upper vertex, and by their own number in that.
    class HalfEdge
    {
    public:
        HalfEdge() = default;
        HalfEdge(int upperVertex, int number) : m_key(quint64(upperVertex) << 32 | quint32(number)) {}
        int upperVertex() const { return int(m_key >> 32); }
        int number() const { return int(quint32(m_key)); }
        bool operator<(const HalfEdge &other) const { return m_key < other.m_key; }

    private:
        quint64 m_key = 0;
    };

    /// Something to report, at the half-edge where it was found.
    struct Finding
    {
        enum Kind { DegenerateTriangle, InvalidEdge, ThirdTriangle, SameTriangle, SameOppositeVertex };
        int number;
        Kind kind;
        /// The first triangle on the edge.
        int triangle;
    };

    int corner(int halfEdge, int offset) const;
    void findDegenerateTriangles(const QVector<QVector3D> &vertices);
    template <typename Visit>
    void forEachHalfEdge(Visit visit) const;
    void gatherHalfEdges();
    void followEdges();
    void refuseEdges(const HalfEdge *first, const HalfEdge *last);
    bool pairTriangles(const HalfEdge *first, const HalfEdge *last);
    void followEdge(const HalfEdge *first, const HalfEdge *last);
    bool registerTriangles(MeshEdge *edge, const HalfEdge *first, const HalfEdge *last);
    void report();

    const QVector<int> m_indices;
    const int m_triangleCount;
    QVector<int> m_adjacency;
    QVector<int> m_invalidFaces;
    bool m_twoManifold = true;

    QVector<bool> m_degenerate;
    /// The lowest vertex that occurs; the table of ends starts there.
    int m_firstVertex = 0;
    /// Per lower vertex, where its half-edges end and those of the next one begin.
    QVector<int> m_endOfLowerVertex;
    std::vector<HalfEdge> m_halfEdges;
    QVector<Finding> m_findings;
};

} // namespace Quorvel
