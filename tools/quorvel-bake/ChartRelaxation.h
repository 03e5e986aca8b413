#pragma once

#include "ChartVector.h"

#include <array>
#include <vector>

namespace Quorvel
{

/// Moves the points of a flattened chart so that each triangle keeps its own shape and size as far as the
/// others let it.
///
/// The method is that of Liu, Zhang, Xu, Gotsman and Gortler, "A Local/Global Approach to Mesh
/// Parameterization" (2008), as-rigid-as-possible, with negative cotangents raised to a small positive
/// weight.
class ChartRelaxation
{
public:
    /// Three of the points, and where they would lie without the other triangles.
    struct Triangle
    {
        std::array<int, 3> points;
        std::array<Point2, 3> rest;
    };

    explicit ChartRelaxation(const std::vector<Triangle> &triangles, int pointCount);

    /// Improves the points step by step until little changes. The chart must be connected.
    void relax(std::vector<Point2> *points) const;

private:
    struct Spring
    {
        int from;
        int to;
        double weight;
        /// From `from` to `to` where the triangle lies at rest.
        Point2 rest;
    };

    double fitRotations(const std::vector<Point2> &points, std::vector<Point2> *pull) const;
    void solve(const std::vector<Point2> &pull, std::vector<Point2> *points) const;
    void apply(const std::vector<Point2> &points, std::vector<Point2> *result) const;

    /// Three for each triangle.
    std::vector<Spring> m_springs;
    std::vector<double> m_diagonal;
};

} // namespace Quorvel
