#include "MeshAnalysis.h"

#include "VectorMath.h"

#include <QDebug>

#include <algorithm>
#include <numeric>

namespace Quorvel
{

void MeshEdge::AdjacentVertices::insert(int triangle, int vertex)
{
    Q_ASSERT(m_count < 3);
    int position = m_count++;
    for (; position > 0 && m_triangles[position - 1] > triangle; --position) {
        m_triangles[position] = m_triangles[position - 1];
        m_vertices[position] = m_vertices[position - 1];
    }
    m_triangles[position] = triangle;
    m_vertices[position] = vertex;
}

int MeshEdge::AdjacentVertices::lookUp(int triangle)
{
    for (int i = 0; i < m_count; ++i) {
        if (m_triangles[i] == triangle)
            return m_vertices[i];
    }
    insert(triangle, 0);
    return 0;
}

MeshEdge::Addition MeshEdge::addAdjacentVertex(int f, int v)
{
    if (adjacentVertices.values().size() == 2)
        return Addition::ThirdTriangle;
    if (adjacentVertices.values().size() == 0) {
        adjacentVertices.insert(f, v);
        return Addition::Stored;
    }
    Q_ASSERT(adjacentVertices.values().size() <= 1);
    const int face = adjacentVertices.firstTriangle();
    const int vertex = adjacentVertices.firstVertex();
    adjacentVertices.clear();
    if (face == f)
        return Addition::SameTriangle;
    if (vertex == v)
        return Addition::SameOppositeVertex;
    Q_ASSERT(face != f);
    Q_ASSERT(vertex != v);
    adjacentVertices.insert(face, v);
    adjacentVertices.insert(f, vertex);
    Q_ASSERT(adjacentVertices.values().size() <= 2);
    return Addition::Stored;
}

MeshAnalysis::MeshAnalysis(const QVector<QVector3D> &vertices, const QVector<int> &indices)
    : m_indices(indices), m_triangleCount(indices.size() / 3), m_adjacency(indices.size(), -1)
{
    findDegenerateTriangles(vertices);
    gatherHalfEdges();
    followEdges();
    report();
}

/// Vertex at corner k + offset of triangle f, for half-edge 3f+k: offsets 0 and 1 are the edge's ends, 2 is
/// the corner opposite.
int MeshAnalysis::corner(int halfEdge, int offset) const
{
    const int triangle = halfEdge / 3;
    return m_indices.at(3 * triangle + (halfEdge - 3 * triangle + offset) % 3);
}

void MeshAnalysis::findDegenerateTriangles(const QVector<QVector3D> &vertices)
{
    m_degenerate.fill(false, m_triangleCount);
    for (int f = 0; f < m_triangleCount; ++f) {
        const QVector3D &a = vertices.at(m_indices.at(3 * f));
        const QVector3D &b = vertices.at(m_indices.at(3 * f + 1));
        const QVector3D &c = vertices.at(m_indices.at(3 * f + 2));
        if (VectorMath::length(VectorMath::crossProduct(a - b, a - c)) <= 0.0f) {
            m_degenerate[f] = true;
            m_findings.append({3 * f, Finding::DegenerateTriangle, f});
        }
    }
}

template <typename Visit>
void MeshAnalysis::forEachHalfEdge(Visit visit) const
{
    const int *corners = m_indices.constData();
    for (int i = 0; i < 3 * m_triangleCount; i += 3, corners += 3) {
        visit(i, corners[0], corners[1]);
        visit(i + 1, corners[1], corners[2]);
        visit(i + 2, corners[2], corners[0]);
    }
}

/// Counting sort of the half-edges by their edge's lower vertex, over the range of vertices that occur:
/// groups of one geometry use few of its vertices each.
void MeshAnalysis::gatherHalfEdges()
{
    const int halfEdgeCount = 3 * m_triangleCount;
    if (halfEdgeCount == 0)
        return;
    const auto [least, greatest] =
        std::minmax_element(m_indices.cbegin(), m_indices.cbegin() + halfEdgeCount);
    m_firstVertex = *least;

    // Counts move on to beginnings, and these, as half-edges are put in, to ends.
    m_endOfLowerVertex.fill(0, *greatest - *least + 2);
    int *const places = m_endOfLowerVertex.data();
    const auto lowerVertex = [this](int u, int v) { return std::min(u, v) - m_firstVertex; };
    forEachHalfEdge([&](int, int u, int v) { ++places[lowerVertex(u, v) + 1]; });
    std::partial_sum(m_endOfLowerVertex.cbegin(), m_endOfLowerVertex.cend(), m_endOfLowerVertex.begin());
    m_halfEdges.resize(halfEdgeCount);
    HalfEdge *const halfEdges = m_halfEdges.data();
    forEachHalfEdge([&](int number, int u, int v) {
        halfEdges[places[lowerVertex(u, v)]++] = HalfEdge(std::max(u, v), number);
    });
}

void MeshAnalysis::followEdges()
{
    HalfEdge *first = m_halfEdges.data();
    for (int vertex = 0; vertex + 1 < m_endOfLowerVertex.size(); ++vertex) {
        HalfEdge *const end = m_halfEdges.data() + m_endOfLowerVertex.at(vertex);
        std::sort(first, end);
        while (first != end) {
            const int upper = first->upperVertex();
            HalfEdge *last = first + 1;
            while (last != end && last->upperVertex() == upper)
                ++last;
            if (upper == m_firstVertex + vertex)
                refuseEdges(first, last);
            else if (!pairTriangles(first, last))
                followEdge(first, last);
            first = last;
        }
    }
}

/// From a vertex to itself: no edges.
void MeshAnalysis::refuseEdges(const HalfEdge *first, const HalfEdge *last)
{
    for (const HalfEdge *halfEdge = first; halfEdge != last; ++halfEdge) {
        if (!m_degenerate.at(halfEdge->number() / 3))
            m_findings.append({halfEdge->number(), Finding::InvalidEdge, halfEdge->number() / 3});
    }
}

/// What followEdge() comes to on nearly every edge, at a fraction of the cost: two sound triangles are each
/// other's neighbours. False, with nothing done, for any other edge.
bool MeshAnalysis::pairTriangles(const HalfEdge *first, const HalfEdge *last)
{
    if (last - first != 2)
        return false;
    const int one = first[0].number();
    const int other = first[1].number();
    const int oneOpposite = corner(one, 2);
    const int otherOpposite = corner(other, 2);
    if (one / 3 == other / 3 || oneOpposite == otherOpposite || m_degenerate.at(one / 3) ||
        m_degenerate.at(other / 3))
        return false;
    m_adjacency[one] = otherOpposite;
    m_adjacency[other] = oneOpposite;
    return true;
}

void MeshAnalysis::followEdge(const HalfEdge *first, const HalfEdge *last)
{
    MeshEdge record;
    MeshEdge *const edge = &record;
    if (!registerTriangles(edge, first, last))
        return;

    Q_ASSERT(edge->adjacentVertices.values().size() <= 2);
    if (edge->adjacentVertices.values().size() < 2)
        m_twoManifold = false;

    for (const HalfEdge *halfEdge = first; halfEdge != last; ++halfEdge) {
        // Quirk(adjacency-lookup): asking for a triangle that the edge refused enters it under vertex 0, and
        // from then on the edge answers -1 to all; kept, since converted scenes already hold these values.
        if (edge->adjacentVertices.values().size() == 2)
            m_adjacency[halfEdge->number()] = edge->adjacentVertices.lookUp(halfEdge->number() / 3);
    }
}

/// False when only degenerate triangles lie on the edge, which do not register.
bool MeshAnalysis::registerTriangles(MeshEdge *edge, const HalfEdge *first, const HalfEdge *last)
{
    bool registered = false;
    for (const HalfEdge *halfEdge = first; halfEdge != last; ++halfEdge) {
        const int f = halfEdge->number() / 3;
        if (m_degenerate.at(f))
            continue;
        registered = true;
        const int firstTriangle = edge->adjacentVertices.firstTriangle();
        switch (edge->addAdjacentVertex(f, corner(halfEdge->number(), 2))) {
        case MeshEdge::Addition::Stored:
            break;
        case MeshEdge::Addition::ThirdTriangle:
            m_findings.append({halfEdge->number(), Finding::ThirdTriangle, firstTriangle});
            break;
        case MeshEdge::Addition::SameTriangle:
            m_findings.append({halfEdge->number(), Finding::SameTriangle, firstTriangle});
            break;
        case MeshEdge::Addition::SameOppositeVertex:
            m_findings.append({halfEdge->number(), Finding::SameOppositeVertex, firstTriangle});
            break;
        }
    }
    return registered;
}

void MeshAnalysis::report()
{
    std::sort(m_findings.begin(), m_findings.end(),
              [](const Finding &a, const Finding &b) { return a.number < b.number; });
    for (const Finding &finding : qAsConst(m_findings)) {
        const int f = finding.number / 3;
        const int w = corner(finding.number, 2);
        m_invalidFaces.append(finding.triangle);
        switch (finding.kind) {
        case Finding::DegenerateTriangle:
            break;
        case Finding::InvalidEdge:
            qDebug() << "warning 3: invalid edge    " << corner(finding.number, 0) << "to"
                     << corner(finding.number, 1) << "of face" << f;
            break;
        case Finding::ThirdTriangle:
            qDebug() << "warning 1: invalid adjacent vertex" << w << "of face" << f;
            m_invalidFaces.append(f);
            break;
        case Finding::SameTriangle:
            qDebug() << "warning 2: invalid adjacent vertex" << w << "of face" << f;
            break;
        // Quirk(doubled-triangle): the first of two equal triangles is listed once per edge, the second
        // never; kept, it is the first whose neighbours are lost, and a triangle may stand in the list more
        // than once.
        case Finding::SameOppositeVertex:
            qDebug() << "warning 5: invalid adjacent vertex" << w << "of face" << f;
            break;
        }
    }
    qDebug() << "Two-manifold mesh: " << (m_twoManifold ? "true" : "false");
}

} // namespace Quorvel
