#include "ChartClusters.h"

#include "AtlasMesh.h"

#include <algorithm>
#include <limits>
#include <tuple>

namespace Quorvel
{

namespace
{

/// The most that a normal may lean away from the axis of its patch: 92 degrees, so that half a column or
/// three sides of a bar can come to lie in one. Whether they do is not decided here.
constexpr double widestHalfAngle = 1.6;
/// What an outline that stays as long as it was costs, against bending by the whole cone.
constexpr double outlineWeight = 0.35;
/// What it costs to join across a hard edge, so that everything smooth is joined first.
constexpr double hardCost = 2.0;
constexpr double never = std::numeric_limits<double>::infinity();

} // namespace

bool ChartClusters::Offer::operator>(const Offer &other) const
{
    return std::tie(cost, first, second) > std::tie(other.cost, other.first, other.second);
}

ChartClusters::ChartClusters(const AtlasMesh &mesh, double thinWidth) : m_mesh(mesh), m_thinWidth(thinWidth)
{
    makePatches();
    joinPatches();
}

void ChartClusters::makePatches()
{
    const auto &triangles = m_mesh.triangles();
    m_patches.resize(triangles.size());
    for (int t = 0; t < int(triangles.size()); ++t) {
        const AtlasTriangle &triangle = m_mesh.triangle(t);
        if (triangle.isDegenerate())
            continue;
        Patch &patch = m_patches[size_t(t)];
        patch.normals.axis = triangle.normal;
        patch.area = triangle.area;
        patch.tree = t;
        for (int k = 0; k < 3; ++k) {
            const double length = m_mesh.edgeLength(t, k);
            patch.perimeter += length;
            const int neighbour = triangle.neighbours[size_t(k)];
            if (neighbour < 0)
                continue;
            Border &border = patch.borders[neighbour];
            border.length += length;
            if (triangle.hard[size_t(k)])
                border.hardLength += length;
        }
    }
    for (int t = 0; t < int(triangles.size()); ++t) {
        for (const int neighbour : triangles[size_t(t)].neighbours) {
            if (neighbour > t)
                offer(t, neighbour);
        }
    }
}

void ChartClusters::offer(int a, int b)
{
    const Patch &first = m_patches[size_t(std::min(a, b))];
    const Patch &second = m_patches[size_t(std::max(a, b))];
    const double price = cost(first, second, first.borders.at(std::max(a, b)));
    if (price < never)
        m_offers.push({price, std::min(a, b), std::max(a, b), first.version, second.version});
}

double ChartClusters::cost(const Patch &a, const Patch &b, const Border &border) const
{
    const bool hard = border.hardLength > border.length / 2.0;
    if (hard && a.width() > m_thinWidth && b.width() > m_thinWidth)
        return never;
    const double angle = joined(a.normals, b.normals).halfAngle;
    if (angle > widestHalfAngle)
        return never;
    const double shared = border.length / std::min(a.perimeter, b.perimeter);
    return angle / widestHalfAngle + outlineWeight * (1.0 - shared) + (hard ? hardCost : 0.0);
}

ChartClusters::Cone ChartClusters::joined(const Cone &a, const Cone &b)
{
    const double between = std::atan2(length(cross(a.axis, b.axis)), dot(a.axis, b.axis));
    if (between + b.halfAngle <= a.halfAngle)
        return a;
    if (between + a.halfAngle <= b.halfAngle)
        return b;
    const double halfAngle = (a.halfAngle + b.halfAngle + between) / 2.0;
    const double turn = halfAngle - a.halfAngle;
    const Point3 aside = normalized(b.axis - dot(a.axis, b.axis) * a.axis);
    return {normalized(std::cos(turn) * a.axis + std::sin(turn) * aside), halfAngle};
}

void ChartClusters::joinPatches()
{
    while (!m_offers.empty()) {
        const Offer best = m_offers.top();
        m_offers.pop();
        const Patch &first = m_patches[size_t(best.first)];
        const Patch &second = m_patches[size_t(best.second)];
        if (first.tree < 0 || second.tree < 0)
            continue;
        if (first.version != best.firstVersion || second.version != best.secondVersion)
            offer(best.first, best.second);
        else
            join(best.first, best.second);
    }
}

void ChartClusters::join(int a, int b)
{
    if (m_patches[size_t(a)].borders.size() < m_patches[size_t(b)].borders.size())
        std::swap(a, b);
    Patch &kept = m_patches[size_t(a)];
    Patch &gone = m_patches[size_t(b)];
    m_joins.push_back({kept.tree, gone.tree});
    kept.tree = triangleCount() + int(m_joins.size()) - 1;
    gone.tree = -1;
    ++kept.version;
    kept.normals = joined(kept.normals, gone.normals);
    kept.area += gone.area;
    kept.perimeter += gone.perimeter - 2.0 * kept.borders.at(b).length;
    kept.borders.erase(b);
    for (const auto &[neighbour, border] : gone.borders) {
        if (neighbour == a)
            continue;
        Border &mine = kept.borders[neighbour];
        mine.length += border.length;
        mine.hardLength += border.hardLength;
        m_patches[size_t(neighbour)].borders.erase(b);
        m_patches[size_t(neighbour)].borders[a] = mine;
        offer(a, neighbour);
    }
    gone.borders = {};
}

std::vector<int> ChartClusters::roots() const
{
    std::vector<std::pair<int, int>> order;
    for (const Patch &patch : m_patches) {
        if (patch.tree >= 0)
            order.emplace_back(triangles(patch.tree).front(), patch.tree);
    }
    std::sort(order.begin(), order.end());
    std::vector<int> trees;
    trees.reserve(order.size());
    for (const auto &[triangle, tree] : order)
        trees.push_back(tree);
    return trees;
}

bool ChartClusters::split(int tree, int *first, int *second) const
{
    if (tree < triangleCount())
        return false;
    const Join &join = m_joins[size_t(tree - triangleCount())];
    *first = join.first;
    *second = join.second;
    return true;
}

std::vector<int> ChartClusters::triangles(int tree) const
{
    std::vector<int> found;
    std::vector<int> open{tree};
    while (!open.empty()) {
        const int node = open.back();
        open.pop_back();
        int first = 0;
        int second = 0;
        if (!split(node, &first, &second)) {
            found.push_back(node);
            continue;
        }
        open.push_back(second);
        open.push_back(first);
    }
    std::sort(found.begin(), found.end());
    return found;
}

} // namespace Quorvel
