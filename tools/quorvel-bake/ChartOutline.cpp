#include "ChartOutline.h"

#include <algorithm>
#include <limits>

namespace Quorvel
{

namespace
{

/// A square grid over the plane that lists the segments that pass through each cell.
class SegmentGrid
{
public:
    SegmentGrid(Point2 low, Point2 high, size_t segments)
        : m_low(low)
        , m_side(std::max(1, int(std::sqrt(double(segments)))))
        , m_cell{std::max(high.x - low.x, 1e-300) / m_side, std::max(high.y - low.y, 1e-300) / m_side}
        , m_lists(size_t(m_side) * size_t(m_side))
    {
    }

    /// Calls visit(list) for every cell that the segment may touch, until it returns true.
    template <typename Visit>
    bool walk(Point2 a, Point2 b, Visit visit)
    {
        if (a.y > b.y)
            std::swap(a, b);
        const int firstRow = row(a.y);
        const int lastRow = row(b.y);
        for (int r = firstRow; r <= lastRow; ++r) {
            const double x0 = r == firstRow ? a.x : xAt(a, b, m_low.y + r * m_cell.y);
            const double x1 = r == lastRow ? b.x : xAt(a, b, m_low.y + (r + 1) * m_cell.y);
            const double slack = 1e-6 * m_cell.x;
            const int last = column(std::max(x0, x1) + slack);
            for (int c = column(std::min(x0, x1) - slack); c <= last; ++c) {
                if (visit(&m_lists[size_t(r) * size_t(m_side) + size_t(c)]))
                    return true;
            }
        }
        return false;
    }

private:
    static double xAt(Point2 a, Point2 b, double y) { return a.x + (b.x - a.x) * (y - a.y) / (b.y - a.y); }
    int clamped(double cell) const { return int(std::clamp(cell, 0.0, double(m_side - 1))); }
    int row(double y) const { return clamped((y - m_low.y) / m_cell.y); }
    int column(double x) const { return clamped((x - m_low.x) / m_cell.x); }

    Point2 m_low;
    int m_side;
    Point2 m_cell;
    std::vector<std::vector<int>> m_lists;
};

/// Side of the line a-b that c lies on: 1, -1, or 0 where rounding leaves it open.
int side(Point2 a, Point2 b, Point2 c)
{
    const double area = cross(b - a, c - a);
    const double noise = 1e-9 * (dot(b - a, b - a) + dot(c - a, c - a));
    return area > noise ? 1 : area < -noise ? -1 : 0;
}

} // namespace

ChartOutline::ChartOutline(const std::vector<Point2> &points, std::vector<Segment> segments)
    : m_points(points), m_segments(std::move(segments))
{
}

bool ChartOutline::cross(const Segment &a, const Segment &b) const
{
    if (a.from == b.from || a.from == b.to || a.to == b.from || a.to == b.to)
        return false;
    return side(point(a.from), point(a.to), point(b.from)) * side(point(a.from), point(a.to), point(b.to)) <
               0 &&
           side(point(b.from), point(b.to), point(a.from)) * side(point(b.from), point(b.to), point(a.to)) <
               0;
}

bool ChartOutline::crossesItself() const
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    Point2 low{infinity, infinity};
    Point2 high{-infinity, -infinity};
    for (const Segment &segment : m_segments) {
        const Point2 &p = point(segment.from);
        low = {std::min(low.x, p.x), std::min(low.y, p.y)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    }
    SegmentGrid grid(low, high, m_segments.size());
    for (int i = 0; i < int(m_segments.size()); ++i) {
        const Segment &segment = m_segments[size_t(i)];
        const bool crosses = grid.walk(point(segment.from), point(segment.to), [&](std::vector<int> *cell) {
            for (const int other : *cell) {
                if (cross(segment, m_segments[size_t(other)]))
                    return true;
            }
            cell->push_back(i);
            return false;
        });
        if (crosses)
            return true;
    }
    return false;
}

/// Counter-clockwise, by monotone chains (Andrew 1979).
std::vector<Point2> ChartOutline::hull() const
{
    std::vector<Point2> sorted;
    sorted.reserve(m_segments.size());
    for (const Segment &segment : m_segments)
        sorted.push_back(point(segment.from));
    std::sort(sorted.begin(), sorted.end(),
              [](Point2 a, Point2 b) { return a.x != b.x ? a.x < b.x : a.y < b.y; });
    std::vector<Point2> chain;
    const auto append = [&chain](Point2 p, size_t floor) {
        while (chain.size() >= floor + 2 &&
               Quorvel::cross(chain.back() - chain[chain.size() - 2], p - chain.back()) <= 0.0)
            chain.pop_back();
        chain.push_back(p);
    };
    for (const Point2 &p : sorted)
        append(p, 0);
    const size_t floor = chain.size() - 1;
    for (auto p = sorted.rbegin() + 1; p != sorted.rend(); ++p)
        append(*p, floor);
    chain.pop_back();
    return chain;
}

Point2 ChartOutline::uprightDirection() const
{
    Point2 best{0.0, 1.0};
    if (m_segments.empty())
        return best;
    double smallest = std::numeric_limits<double>::infinity();
    const std::vector<Point2> corners = hull();
    for (size_t i = 0; i < corners.size(); ++i) {
        const Point2 edge = corners[(i + 1) % corners.size()] - corners[i];
        const double l = length(edge);
        if (!(l > 0.0))
            continue;
        const Point2 along = (1.0 / l) * edge;
        double low = 0.0;
        double high = 0.0;
        double depth = 0.0;
        for (const Point2 &p : corners) {
            const Point2 d = p - corners[i];
            low = std::min(low, dot(along, d));
            high = std::max(high, dot(along, d));
            depth = std::max(depth, Quorvel::cross(along, d));
        }
        // Nearly the same size counts as the same, so that the first edge wins and not rounding.
        if ((high - low) * depth < smallest * (1.0 - 1e-6)) {
            smallest = (high - low) * depth;
            best = high - low >= depth ? along : Point2{-along.y, along.x};
        }
    }
    return best;
}

} // namespace Quorvel
