#pragma once

#include "ChartVector.h"

#include <vector>

namespace Quorvel
{

/// The border of a flattened chart: directed segments between numbered points of the plane.
class ChartOutline
{
public:
    struct Segment
    {
        int from;
        int to;
    };

    ChartOutline(const std::vector<Point2> &points, std::vector<Segment> segments);

    /// Whether two segments cross. If they do not, no triangle of the chart is turned over and those around
    /// each point go around it once at most, then the chart covers no place twice: its turning numbers add up
    /// to its Euler characteristic, which leaves one outer loop and holes.
    ///
    /// Near to linear where segments are short against the outline.
    bool crossesItself() const;

    /// Direction of the longer side of the smallest rectangle around the points; (0, 1) when they are all
    /// one.
    Point2 uprightDirection() const;

private:
    bool cross(const Segment &a, const Segment &b) const;
    std::vector<Point2> hull() const;
    const Point2 &point(int index) const { return m_points[size_t(index)]; }

    const std::vector<Point2> &m_points;
    std::vector<Segment> m_segments;
};

} // namespace Quorvel
