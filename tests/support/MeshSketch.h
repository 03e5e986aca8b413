#pragma once

#include <QByteArray>

#include <map>
#include <vector>

namespace Quorvel::Test
{

struct Vec
{
    double x, y, z;
};

Vec operator-(Vec a, Vec b);
Vec cross(Vec a, Vec b);
double length(Vec a);

/// Positions with a normal each, and triangles by material symbol.
struct MeshSketch
{
    std::vector<Vec> positions;
    std::vector<Vec> normals;
    std::map<QByteArray, std::vector<int>> groups;

    /// The corner's number.
    int add(Vec position, Vec normal);
    /// Of four corners, counter-clockwise.
    void quad(const QByteArray &group, int a, int b, int c, int d);
};

/// Shapes whose triangles are all of the group "paint".
MeshSketch box(Vec low, Vec high);
MeshSketch cylinder();
MeshSketch sphere();
MeshSketch torus();
/// Two turns, which from above cover each other.
MeshSketch ramp();
/// One turn of a flat ring that does not quite close.
MeshSketch ring();
MeshSketch hills();
/// Both sides of a bent sheet in one place.
MeshSketch sheet();

/// A geometry with positions and normals, and without texture coordinates.
QByteArray geometry(const QByteArray &id, const MeshSketch &mesh);
/// A document with these geometries and nodes, and a camera.
QByteArray scene(const QByteArray &geometries, const QByteArray &nodes);
/// A node with that geometry; the transform is made of elements.
QByteArray shownBy(const QByteArray &node, const QByteArray &geometryId, const QByteArray &transform = {});
QByteArray sceneOf(const MeshSketch &mesh);
/// Boxes of all sizes, thin ones among them.
QByteArray crowd();
/// A scene of each shape, and the crowd, by name.
const std::map<QByteArray, QByteArray> &scenes();

} // namespace Quorvel::Test
