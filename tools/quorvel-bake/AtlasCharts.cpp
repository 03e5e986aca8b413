#include "AtlasCharts.h"

#include "AtlasMesh.h"
#include "ChartClusters.h"
#include "ChartFlattener.h"

#include <iterator>

namespace Quorvel
{

namespace
{

/// A patch that is narrower than this and half the padding, in texels, is thin.
constexpr double thinTexels = 1.0;
/// A chart that covers this part of its rectangle is left alone.
constexpr double goodFill = 0.65;
/// What cutting a chart up must bring its rectangles down to.
constexpr double worthwhile = 0.8;

/// Charts, and the texels that their rectangles and the padding around them take up.
struct Cut
{
    std::vector<Chart> charts;
    double cost = 0.0;

    void append(Cut &&other)
    {
        cost += other.cost;
        std::move(other.charts.begin(), other.charts.end(), std::back_inserter(charts));
    }
};

/// Cuts the patches of a mesh as far as they need it to lie flat, and on where that saves room.
class Cutting
{
public:
    Cutting(const AtlasMesh &mesh, const ChartScale &scale)
        : m_mesh(mesh)
        , m_scale(scale)
        , m_clusters(mesh, (thinTexels + scale.padding / 2.0) / scale.density)
        , m_flattener(mesh)
    {
    }

    std::vector<Chart> charts()
    {
        Cut all;
        for (const int tree : m_clusters.roots())
            all.append(cut(tree));
        return std::move(all.charts);
    }

private:
    Cut cut(int tree)
    {
        Cut result;
        std::vector<int> open{tree};
        while (!open.empty()) {
            const int patch = open.back();
            open.pop_back();
            Chart chart;
            int first = 0;
            int second = 0;
            if (m_flattener.flatten(m_clusters.triangles(patch), &chart)) {
                result.append(cheaper(patch, std::move(chart)));
            } else if (m_clusters.split(patch, &first, &second)) {
                open.push_back(second);
                open.push_back(first);
            }
        }
        return result;
    }

    Cut cheaper(int tree, Chart chart)
    {
        Cut whole;
        whole.cost = cost(chart);
        const bool good = area(chart) > goodFill * chart.extent.x * chart.extent.y;
        whole.charts.push_back(std::move(chart));
        int first = 0;
        int second = 0;
        if (good || !m_clusters.split(tree, &first, &second))
            return whole;
        // Two halves with room around them cost at least that much.
        if (whole.cost < 2.0 * m_scale.padding * m_scale.padding)
            return whole;
        Cut parts = cut(first);
        parts.append(cut(second));
        return parts.cost < worthwhile * whole.cost ? parts : whole;
    }

    double cost(const Chart &chart) const
    {
        const double room = 1.0 + m_scale.padding;
        return (m_scale.density * chart.extent.x + room) * (m_scale.density * chart.extent.y + room);
    }

    double area(const Chart &chart) const
    {
        double total = 0.0;
        for (const int t : chart.triangles)
            total += m_mesh.triangle(t).area;
        return total;
    }

    const AtlasMesh &m_mesh;
    ChartScale m_scale;
    ChartClusters m_clusters;
    ChartFlattener m_flattener;
};

} // namespace

std::vector<Chart> makeCharts(const AtlasMesh &mesh, const ChartScale &scale)
{
    return Cutting(mesh, scale).charts();
}

} // namespace Quorvel
