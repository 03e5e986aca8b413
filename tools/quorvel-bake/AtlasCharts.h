#pragma once

#include "Chart.h"

#include <vector>

namespace Quorvel
{

class AtlasMesh;

/// The image that charts are cut for.
struct ChartScale
{
    /// Texels per world unit.
    double density = 0.0;
    /// Texels between charts.
    int padding = 0;
};

/// Cuts a mesh into charts. Every triangle that is not degenerate is in exactly one.
///
/// What is but a few texels wide is not worth an edge of its own there, and a chart that fills little of its
/// rectangle, such as a ring, is cut further where that saves more than it costs.
std::vector<Chart> makeCharts(const AtlasMesh &mesh, const ChartScale &scale);

} // namespace Quorvel
