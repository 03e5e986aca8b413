#include "TexelMap.h"

#include <QHash>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace Quorvel
{

namespace
{

/// Texels whose centres may lie within `reach` of the triangle; empty where it is outside of the image.
struct TexelRange
{
    TexelRange(const TextureTriangle &shape, double reach, int size)
    {
        const auto [left, right] = std::minmax({shape.cornerX(0), shape.cornerX(1), shape.cornerX(2)});
        const auto [top, bottom] = std::minmax({shape.cornerY(0), shape.cornerY(1), shape.cornerY(2)});
        const auto clamped = [size](double value) {
            return int(std::min(std::max(value, 0.0), double(size)));
        };
        firstX = clamped(std::floor(left - reach - 0.5));
        endX = clamped(std::ceil(right + reach + 0.5));
        firstY = clamped(std::floor(top - reach - 0.5));
        endY = clamped(std::ceil(bottom + reach + 0.5));
    }

    int firstX;
    int endX;
    int firstY;
    int endY;
};

bool isOutside(const BakeTriangle &triangle)
{
    constexpr float slack = 1e-5f;
    return std::any_of(triangle.texcoords.cbegin(), triangle.texcoords.cend(), [](const QVector2D &corner) {
        return corner.x() < -slack || corner.x() > 1.0f + slack || corner.y() < -slack ||
               corner.y() > 1.0f + slack;
    });
}

/// A triangle corner by its place in space and in the texture.
size_t cornerKey(const BakeTriangle &triangle, size_t corner)
{
    const QVector3D &position = triangle.positions[corner];
    const QVector2D &texcoord = triangle.texcoords[corner];
    size_t key = 0;
    for (const float value : {position.x(), position.y(), position.z(), texcoord.x(), texcoord.y()})
        key = key * 0x9e3779b97f4a7c15u + size_t(qHash(value)) + 0x7f4a7c15u;
    return key ^ (key >> 29);
}

struct Edge
{
    size_t low;
    size_t high;
    int triangle;

    bool operator<(const Edge &other) const
    {
        return std::tie(low, high, triangle) < std::tie(other.low, other.high, other.triangle);
    }
    bool joins(const Edge &other) const { return low == other.low && high == other.high; }
};

int rootOf(std::vector<int> *parents, int node)
{
    while ((*parents)[size_t(node)] != node) {
        (*parents)[size_t(node)] = (*parents)[size_t((*parents)[size_t(node)])];
        node = (*parents)[size_t(node)];
    }
    return node;
}

} // namespace

TexelMap::TexelMap(const BakeScene &scene, int size)
    : m_size(size), m_triangles(size_t(size) * size_t(size), -1), m_overlaps(m_triangles.size(), false)
{
    const int count = int(scene.triangles.size());
    m_shapes.reserve(scene.triangles.size());
    for (const BakeTriangle &triangle : scene.triangles) {
        m_shapes.emplace_back(triangle, size);
        m_outsideCount += isOutside(triangle);
        m_thinCount += m_shapes.back().isThin();
    }
    for (int i = 0; i < count; ++i)
        coverCentres(i);
    // Texels that no centre gave away are marked by their distance, 0 for the others.
    std::vector<float> distances(m_triangles.size());
    std::transform(m_triangles.cbegin(), m_triangles.cend(), distances.begin(),
                   [](int owner) { return owner < 0 ? std::numeric_limits<float>::infinity() : 0.0f; });
    for (int i = 0; i < count; ++i)
        measureReach(i, &distances);
    m_coveredCount =
        int(std::count_if(m_triangles.cbegin(), m_triangles.cend(), [](int owner) { return owner >= 0; }));
    m_overlapCount = int(std::count(m_overlaps.cbegin(), m_overlaps.cend(), true));
    m_overlaps = {};
    findCharts(scene);
}

int TexelMap::chartAt(int texel) const
{
    const int triangle = triangleAt(texel);
    return triangle < 0 ? -1 : m_charts[size_t(triangle)];
}

void TexelMap::coverCentres(int triangle)
{
    // Neighbours in a chart may overlap by the rounding of their corners.
    constexpr double wellInside = 0.01;
    const TextureTriangle &shape = m_shapes[size_t(triangle)];
    if (shape.isThin())
        return;
    const TexelRange range(shape, 0.0, m_size);
    for (int y = range.firstY; y < range.endY; ++y) {
        for (int x = range.firstX; x < range.endX; ++x) {
            const double depth = shape.depth(x + 0.5, y + 0.5);
            const size_t texel = size_t(y) * size_t(m_size) + size_t(x);
            if (depth >= 0.0 && m_triangles[texel] < 0)
                m_triangles[texel] = triangle;
            else if (depth > wellInside)
                m_overlaps[texel] = true;
        }
    }
}

void TexelMap::measureReach(int triangle, std::vector<float> *distances)
{
    const TextureTriangle &shape = m_shapes[size_t(triangle)];
    const TexelRange range(shape, 1.0, m_size);
    for (int y = range.firstY; y < range.endY; ++y) {
        for (int x = range.firstX; x < range.endX; ++x) {
            float &least = (*distances)[size_t(y) * size_t(m_size) + size_t(x)];
            if (least == 0.0f || !shape.isReachedFrom(x + 0.5, y + 0.5))
                continue;
            double distance = 0.0;
            shape.nearest(x + 0.5, y + 0.5, &distance);
            // Zero marks texels that a centre gave away.
            const float away = std::max(float(distance), std::numeric_limits<float>::min());
            if (away < least) {
                least = away;
                m_triangles[size_t(y) * size_t(m_size) + size_t(x)] = triangle;
            }
        }
    }
}

void TexelMap::findCharts(const BakeScene &scene)
{
    std::vector<Edge> edges;
    edges.reserve(3 * scene.triangles.size());
    for (size_t i = 0; i < scene.triangles.size(); ++i) {
        std::array<size_t, 3> keys;
        for (size_t k = 0; k < 3; ++k)
            keys[k] = cornerKey(scene.triangles[i], k);
        for (size_t k = 0; k < 3; ++k) {
            const auto [low, high] = std::minmax(keys[k], keys[(k + 1) % 3]);
            edges.push_back({low, high, int(i)});
        }
    }
    std::sort(edges.begin(), edges.end());
    std::vector<int> parents(scene.triangles.size());
    std::iota(parents.begin(), parents.end(), 0);
    for (size_t i = 1; i < edges.size(); ++i) {
        if (edges[i].joins(edges[i - 1]))
            parents[size_t(rootOf(&parents, edges[i].triangle))] = rootOf(&parents, edges[i - 1].triangle);
    }
    m_charts.assign(parents.size(), -1);
    for (size_t i = 0; i < parents.size(); ++i) {
        int &chart = m_charts[size_t(rootOf(&parents, int(i)))];
        if (chart < 0)
            chart = m_chartCount++;
        m_charts[i] = chart;
    }
}

} // namespace Quorvel
