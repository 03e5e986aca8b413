#pragma once

#include "ChartVector.h"

#include <array>
#include <vector>

namespace Quorvel
{

class Material;
class Node;

/// One triangle of the scene as it is shown, in world space.
struct AtlasTriangle
{
    /// Into AtlasMesh::positions(); corners of one surface at one place share a number.
    std::array<int, 3> vertices{};
    /// Shading normals of the corners, of unit length or zero.
    std::array<Point3, 3> shading{};
    /// The triangle across edge k, from corner k to corner k + 1, or -1. Only triangles of one surface and
    /// one material are neighbours, and only where their windings agree.
    std::array<int, 3> neighbours{-1, -1, -1};
    /// Whether the surface is seen to break at edge k: it bends there and is not shaded as if it did not.
    std::array<bool, 3> hard{};
    /// By the winding, of unit length; zero for a degenerate triangle.
    Point3 normal;
    double area = 0.0;
    const Material *material = nullptr;

    /// Without an area to speak of, or with a corner that is not a number.
    bool isDegenerate() const { return area <= 0.0; }
};

/// All triangles of the surfaces that a scene shows, with what charts are cut by. Every node that shows a
/// geometry is a surface of its own.
class AtlasMesh
{
public:
    /// The nodes must show geometries. Their triangles follow one another node after node, group after group.
    explicit AtlasMesh(const std::vector<const Node *> &nodes);

    const std::vector<Point3> &positions() const { return m_positions; }
    const std::vector<AtlasTriangle> &triangles() const { return m_triangles; }
    const AtlasTriangle &triangle(int index) const { return m_triangles[size_t(index)]; }
    const Point3 &corner(int triangle, int k) const
    {
        return m_positions[size_t(m_triangles[size_t(triangle)].vertices[size_t(k)])];
    }
    double edgeLength(int triangle, int k) const
    {
        return length(corner(triangle, (k + 1) % 3) - corner(triangle, k));
    }
    /// Of all triangles, in world units squared.
    double area() const { return m_area; }

private:
    struct HalfEdge;

    void appendSurface(const Node &node);
    std::vector<int> weldVertices(const Node &node);
    void measure(AtlasTriangle *triangle) const;
    void connect();
    void connect(const std::vector<HalfEdge> &edges, size_t begin, size_t end);
    bool isHard(const HalfEdge &a, const HalfEdge &b) const;

    std::vector<Point3> m_positions;
    std::vector<AtlasTriangle> m_triangles;
    double m_area = 0.0;
};

} // namespace Quorvel
