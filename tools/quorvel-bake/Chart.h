#pragma once

#include "ChartVector.h"

#include <array>
#include <vector>

namespace Quorvel
{

/// Triangles laid flat side by side, in world units. As large as they are in the world all together, and each
/// nearly so by itself.
struct Chart
{
    /// Into the mesh.
    std::vector<int> triangles;
    /// The corners of each triangle, counter-clockwise, from (0, 0) to `extent`. The rectangle is the
    /// smallest, and as high as wide or higher.
    std::vector<std::array<Point2, 3>> corners;
    Point2 extent;
};

} // namespace Quorvel
