#include "FlatTriangle.h"

#include "Geometry.h"
#include "MeshSketch.h"
#include "Node.h"
#include "Scene.h"
#include "Trimesh.h"

#include <cmath>
#include <map>
#include <numeric>

namespace Quorvel::Test
{

namespace
{

Vec toVec(const QVector3D &v)
{
    return {double(v.x()), double(v.y()), double(v.z())};
}

} // namespace

QVector<QVector<Corner>> shownCorners(const Node &node)
{
    const Geometry &geometry = *node.geometryModel();
    QVector<QVector<Corner>> groups;
    for (const Trimesh *group : geometry.trimeshes()) {
        QVector<Corner> corners;
        for (int i = 0; i < group->indices().size(); ++i)
            corners.append({geometry.vertices().at(group->indices().at(i)),
                            geometry.normals().value(group->normalIndices().at(i)),
                            geometry.texcoords().at(group->texcoordIndices().at(i))});
        groups.append(corners);
    }
    return groups;
}

double FlatTriangle::area() const
{
    return ((x[1] - x[0]) * (y[2] - y[0]) - (x[2] - x[0]) * (y[1] - y[0])) / 2.0;
}

bool FlatTriangle::holds(double px, double py, double margin) const
{
    const double sign = area() < 0.0 ? -1.0 : 1.0;
    for (size_t k = 0; k < 3; ++k) {
        const size_t n = (k + 1) % 3;
        const double ex = x[n] - x[k];
        const double ey = y[n] - y[k];
        if (sign * (ex * (py - y[k]) - ey * (px - x[k])) < margin * std::hypot(ex, ey))
            return false;
    }
    return true;
}

std::vector<FlatTriangle> flatTriangles(const Scene &scene, int size)
{
    std::vector<FlatTriangle> flats;
    std::vector<std::array<std::pair<const void *, std::pair<float, float>>, 3>> keys;
    for (const Node *node : scene.nodes()) {
        if (!node->geometryModel())
            continue;
        for (const auto &corners : shownCorners(*node)) {
            for (int i = 0; i + 2 < corners.size(); i += 3) {
                FlatTriangle flat{};
                std::array<Vec, 3> world{};
                keys.emplace_back();
                for (int k = 0; k < 3; ++k) {
                    const Corner &corner = corners.at(i + k);
                    flat.x[size_t(k)] = double(corner.texcoord.x()) * size;
                    flat.y[size_t(k)] = double(corner.texcoord.y()) * size;
                    world[size_t(k)] = toVec(node->worldTransform() * corner.position);
                    keys.back()[size_t(k)] = {node, {corner.texcoord.x(), corner.texcoord.y()}};
                }
                flat.worldArea = length(cross(world[1] - world[0], world[2] - world[0])) / 2.0;
                flats.push_back(flat);
            }
        }
    }
    std::vector<int> parents(flats.size());
    std::iota(parents.begin(), parents.end(), 0);
    const auto root = [&parents](int i) {
        while (parents[size_t(i)] != i)
            i = parents[size_t(i)] = parents[size_t(parents[size_t(i)])];
        return i;
    };
    std::map<std::pair<const void *, std::pair<float, float>>, int> owners;
    for (int i = 0; i < int(flats.size()); ++i) {
        for (const auto &key : keys[size_t(i)]) {
            const int owner = owners.emplace(key, i).first->second;
            parents[size_t(root(i))] = root(owner);
        }
    }
    for (int i = 0; i < int(flats.size()); ++i)
        flats[size_t(i)].chart = root(i);
    return flats;
}

std::vector<FlatTriangle> drawnTriangles(const Scene &scene, int size)
{
    std::vector<FlatTriangle> drawn;
    for (const FlatTriangle &flat : flatTriangles(scene, size)) {
        if (flat.area() == 0.0 && flat.worldArea > 1e-9)
            qFatal("a triangle of area %g has no room", flat.worldArea);
        if (flat.area() != 0.0)
            drawn.push_back(flat);
    }
    return drawn;
}

} // namespace Quorvel::Test
