#include "AtlasMesh.h"

#include "Geometry.h"
#include "Node.h"
#include "Trimesh.h"

#include <QMatrix4x4>

#include <algorithm>
#include <numeric>
#include <tuple>

namespace Quorvel
{

namespace
{

/// Of the square of the longest edge: below it a triangle's normal is rounding noise.
constexpr double smallestArea = 1e-9;
/// A bend of less than 15 degrees never cuts.
constexpr double bendCosine = 0.966;
/// Shading normals that are less than 10 degrees apart hide a bend.
constexpr double shadingCosine = 0.985;
/// More triangles than that at an edge are a bundle without inside and outside, and are not joined.
constexpr size_t mostTrianglesAtAnEdge = 8;

bool isFinite(Point3 p)
{
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

} // namespace

struct AtlasMesh::HalfEdge
{
    int low;
    int high;
    int triangle;
    int edge;
    /// From the lower to the higher vertex.
    bool ascending;

    bool joins(const HalfEdge &other) const { return low == other.low && high == other.high; }
};

AtlasMesh::AtlasMesh(const std::vector<const Node *> &nodes)
{
    for (const Node *node : nodes)
        appendSurface(*node);
    connect();
}

std::vector<int> AtlasMesh::weldVertices(const Node &node)
{
    const QVector<QVector3D> &vertices = node.geometryModel()->vertices();
    std::vector<int> order(size_t(vertices.size()));
    std::iota(order.begin(), order.end(), 0);
    // Adding zero gives both zeros one sign; what is not a number goes last and is never equal.
    const auto key = [&vertices](int i) {
        const QVector3D &v = vertices.at(i);
        return std::make_tuple(!isFinite(toPoint3(v)), v.x() + 0.0f, v.y() + 0.0f, v.z() + 0.0f);
    };
    const auto numbers = std::stable_partition(
        order.begin(), order.end(), [&vertices](int i) { return isFinite(toPoint3(vertices.at(i))); });
    std::sort(order.begin(), numbers,
              [&key](int a, int b) { return key(a) != key(b) ? key(a) < key(b) : a < b; });

    std::vector<int> welded(order.size());
    for (auto i = order.begin(); i != order.end(); ++i) {
        if (i == order.begin() || key(*i) != key(*(i - 1)))
            m_positions.push_back(toPoint3(node.worldTransform() * vertices.at(*i)));
        welded[size_t(*i)] = int(m_positions.size()) - 1;
    }
    return welded;
}

void AtlasMesh::appendSurface(const Node &node)
{
    const Geometry &geometry = *node.geometryModel();
    const QMatrix3x3 normalMatrix = node.worldTransform().normalMatrix();
    const auto worldNormal = [&normalMatrix](const QVector3D &n) {
        const auto row = [&](int r) {
            return double(normalMatrix(r, 0) * n.x() + normalMatrix(r, 1) * n.y() +
                          normalMatrix(r, 2) * n.z());
        };
        return normalized(Point3{row(0), row(1), row(2)});
    };
    const std::vector<int> welded = weldVertices(node);
    for (int g = 0; g < geometry.trimeshes().size(); ++g) {
        const Trimesh &group = *geometry.trimeshes().at(g);
        for (int i = 0; i + 2 < group.indices().size(); i += 3) {
            AtlasTriangle triangle;
            triangle.material = node.groupMaterials().at(g);
            for (int k = 0; k < 3; ++k) {
                triangle.vertices[size_t(k)] = welded[size_t(group.indices().at(i + k))];
                triangle.shading[size_t(k)] =
                    worldNormal(geometry.normals().value(group.normalIndices().at(i + k)));
            }
            measure(&triangle);
            m_area += triangle.area;
            m_triangles.push_back(triangle);
        }
    }
}

void AtlasMesh::measure(AtlasTriangle *triangle) const
{
    const Point3 &a = m_positions[size_t(triangle->vertices[0])];
    const Point3 &b = m_positions[size_t(triangle->vertices[1])];
    const Point3 &c = m_positions[size_t(triangle->vertices[2])];
    const Point3 normal = cross(b - a, c - a);
    const double longest = std::max({dot(b - a, b - a), dot(c - b, c - b), dot(a - c, a - c)});
    const double area = length(normal) / 2.0;
    if (!std::isfinite(area) || !(area > smallestArea * longest))
        return;
    triangle->area = area;
    triangle->normal = normalized(normal);
}

void AtlasMesh::connect()
{
    std::vector<HalfEdge> edges;
    edges.reserve(3 * m_triangles.size());
    for (int t = 0; t < int(m_triangles.size()); ++t) {
        if (triangle(t).isDegenerate())
            continue;
        for (int k = 0; k < 3; ++k) {
            const int from = triangle(t).vertices[size_t(k)];
            const int to = triangle(t).vertices[size_t((k + 1) % 3)];
            edges.push_back({std::min(from, to), std::max(from, to), t, k, from < to});
        }
    }
    std::sort(edges.begin(), edges.end(), [](const HalfEdge &a, const HalfEdge &b) {
        return std::tie(a.low, a.high, a.triangle, a.edge) < std::tie(b.low, b.high, b.triangle, b.edge);
    });
    for (size_t begin = 0, end = 0; begin < edges.size(); begin = end) {
        while (end < edges.size() && edges[end].joins(edges[begin]))
            ++end;
        if (end - begin <= mostTrianglesAtAnEdge)
            connect(edges, begin, end);
    }
}

/// Joins the triangles of one edge in pairs, the flattest pair first.
void AtlasMesh::connect(const std::vector<HalfEdge> &edges, size_t begin, size_t end)
{
    std::vector<std::tuple<double, size_t, size_t>> pairs;
    for (size_t i = begin; i < end; ++i) {
        for (size_t j = i + 1; j < end; ++j) {
            const AtlasTriangle &a = triangle(edges[i].triangle);
            const AtlasTriangle &b = triangle(edges[j].triangle);
            if (edges[i].ascending != edges[j].ascending && a.material == b.material)
                pairs.emplace_back(-dot(a.normal, b.normal), i, j);
        }
    }
    std::sort(pairs.begin(), pairs.end());
    for (const auto &[cost, i, j] : pairs) {
        AtlasTriangle &a = m_triangles[size_t(edges[i].triangle)];
        AtlasTriangle &b = m_triangles[size_t(edges[j].triangle)];
        if (a.neighbours[size_t(edges[i].edge)] >= 0 || b.neighbours[size_t(edges[j].edge)] >= 0)
            continue;
        a.neighbours[size_t(edges[i].edge)] = edges[j].triangle;
        b.neighbours[size_t(edges[j].edge)] = edges[i].triangle;
        const bool hard = isHard(edges[i], edges[j]);
        a.hard[size_t(edges[i].edge)] = hard;
        b.hard[size_t(edges[j].edge)] = hard;
    }
}

bool AtlasMesh::isHard(const HalfEdge &a, const HalfEdge &b) const
{
    const AtlasTriangle &left = triangle(a.triangle);
    const AtlasTriangle &right = triangle(b.triangle);
    if (dot(left.normal, right.normal) > bendCosine)
        return false;
    for (int k = 0; k < 2; ++k) {
        const Point3 &here = left.shading[size_t((a.edge + k) % 3)];
        const Point3 &there = right.shading[size_t((b.edge + 1 - k) % 3)];
        if (dot(here, there) < shadingCosine)
            return true;
    }
    return false;
}

} // namespace Quorvel
