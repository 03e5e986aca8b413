#include "Atlas.h"

#include "AtlasCharts.h"
#include "AtlasMesh.h"

#include <algorithm>
#include <cmath>

namespace Quorvel
{

namespace
{

/// The part of the image that charts come to cover, as a first guess.
constexpr double expectedFill = 0.5;
/// How often the charts are cut anew for the density that the ones before reached.
constexpr int rounds = 3;
/// Not for a change that is a smaller part of it.
constexpr double sameDensity = 0.1;

AtlasPacking packed(const std::vector<Chart> &charts, int size, int padding)
{
    std::vector<Point2> extents;
    extents.reserve(charts.size());
    for (const Chart &chart : charts)
        extents.push_back(chart.extent);
    return AtlasPacking(std::move(extents), size, padding);
}

} // namespace

Atlas::Atlas(const AtlasMesh &mesh, int size, int padding)
    : m_mesh(mesh), m_size(size), m_packing({}, size, padding)
{
    if (mesh.area() > 0.0)
        cut(size, padding);
}

/// What is thin depends on the density, and that on how the charts are cut. The densest of a few rounds
/// stays.
void Atlas::cut(int size, int padding)
{
    double density = std::sqrt(expectedFill / m_mesh.area()) * size;
    for (int round = 0; round < rounds; ++round) {
        std::vector<Chart> charts = makeCharts(m_mesh, {density, padding});
        AtlasPacking packing = packed(charts, size, padding);
        if (packing.density() > m_packing.density() || round == 0) {
            m_charts = std::move(charts);
            m_packing = packing;
        }
        const double reached = packing.fits() ? packing.density() : density / 4.0;
        if (std::abs(reached - density) < sameDensity * density)
            return;
        density = reached;
    }
}

std::vector<std::array<Point2, 3>> Atlas::coordinates() const
{
    constexpr Point2 middle{0.5, 0.5};
    std::vector<std::array<Point2, 3>> coordinates(m_mesh.triangles().size(), {middle, middle, middle});
    std::vector<bool> placed(coordinates.size(), false);
    for (size_t c = 0; c < m_charts.size(); ++c) {
        for (size_t i = 0; i < m_charts[c].triangles.size(); ++i) {
            const auto t = size_t(m_charts[c].triangles[i]);
            for (size_t k = 0; k < 3; ++k)
                coordinates[t][k] = (1.0 / m_size) * m_packing.place(c, m_charts[c].corners[i][k]);
            placed[t] = true;
        }
    }
    placeDegenerate(placed, &coordinates);
    return coordinates;
}

void Atlas::placeDegenerate(const std::vector<bool> &placed,
                            std::vector<std::array<Point2, 3>> *coordinates) const
{
    const auto any = std::find(placed.begin(), placed.end(), true);
    if (any == placed.end())
        return;
    std::vector<int> triangleAt(m_mesh.positions().size(), -1);
    for (size_t t = 0; t < placed.size(); ++t) {
        for (const int vertex : m_mesh.triangles()[t].vertices) {
            if (placed[t])
                triangleAt[size_t(vertex)] = int(t);
        }
    }
    for (size_t t = 0; t < placed.size(); ++t) {
        if (placed[t])
            continue;
        auto host = size_t(any - placed.begin());
        for (const int vertex : m_mesh.triangles()[t].vertices) {
            if (triangleAt[size_t(vertex)] >= 0)
                host = size_t(triangleAt[size_t(vertex)]);
        }
        const auto &corners = (*coordinates)[host];
        const Point2 centre = (1.0 / 3.0) * (corners[0] + corners[1] + corners[2]);
        (*coordinates)[t] = {centre, centre, centre};
    }
}

} // namespace Quorvel
