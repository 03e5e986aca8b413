#pragma once

#include "Chart.h"
#include "ChartRelaxation.h"

#include <vector>

namespace Quorvel
{

class AtlasMesh;

/// Lays connected patches of a mesh flat.
class ChartFlattener
{
public:
    explicit ChartFlattener(const AtlasMesh &mesh);

    /// False when the patch cannot be laid flat as it is: a triangle would be turned over, parts would cover
    /// each other, or more than a little of it would be stretched or shrunk by over a tenth. A single
    /// triangle always can.
    bool flatten(const std::vector<int> &triangles, Chart *chart);

private:
    enum class Result {
        Usable,
        /// Triangles are too far off their shapes.
        Stretched,
        /// A triangle is turned over, or the outline crosses itself.
        Folded
    };

    void number(const std::vector<int> &triangles);
    bool isFlat() const;
    std::vector<Point2> projected() const;
    std::vector<Point2> unfolded() const;
    Result judged(const std::vector<Point2> &points) const;
    bool windsAround(const std::vector<Point2> &points) const;
    Result judgedAlone(const std::vector<Point2> &points) const;
    void finish(std::vector<Point2> points, const std::vector<int> &triangles, Chart *chart) const;
    Point3 axis() const;
    int middleTriangle() const;
    int localNeighbour(int triangle, int k) const;
    double areaScale(const std::vector<Point2> &points) const;

    const AtlasMesh &m_mesh;
    /// For each triangle of the mesh its place in the present patch, or -1.
    std::vector<int> m_places;

    /// The present patch: its triangles with their points, the points' positions. A vertex where the patch
    /// meets itself without sharing an edge is several points.
    std::vector<int> m_triangles;
    std::vector<ChartRelaxation::Triangle> m_shapes;
    std::vector<Point3> m_positions;
    double m_area = 0.0;
};

} // namespace Quorvel
