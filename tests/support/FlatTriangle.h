#pragma once

#include <QVector2D>
#include <QVector3D>
#include <QVector>

#include <array>
#include <vector>

namespace Quorvel
{
class Node;
class Scene;
} // namespace Quorvel

namespace Quorvel::Test
{

struct Corner
{
    QVector3D position;
    QVector3D normal;
    QVector2D texcoord;
};

/// What a node shows, group after group; positions and normals in object space.
QVector<QVector<Corner>> shownCorners(const Node &node);

/// A shown triangle in the image, in texels.
struct FlatTriangle
{
    std::array<double, 3> x;
    std::array<double, 3> y;
    double worldArea;
    int chart;

    /// Less than 0 when the triangle is mirrored.
    double area() const;
    /// Whether a point lies inside, at least `margin` away from the edges.
    bool holds(double px, double py, double margin) const;
};

/// All shown triangles in an image of that size. Those whose corners share coordinates are one chart.
std::vector<FlatTriangle> flatTriangles(const Scene &scene, int size);
/// Without the degenerate ones. A triangle that is one of them in the image must be one in the world.
std::vector<FlatTriangle> drawnTriangles(const Scene &scene, int size);

} // namespace Quorvel::Test
