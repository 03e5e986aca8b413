#include "ChartFlattener.h"

#include "AtlasMesh.h"
#include "ChartOutline.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace Quorvel
{

namespace
{

/// Normals that lean less than that from the axis make a patch flat: 1.5 degrees.
constexpr double flatCosine = 0.99966;
/// Projecting along the axis turns no triangle over that faces it at all.
constexpr double facingCosine = 0.05;
/// How far texels per length of a triangle may be off its chart's mean.
constexpr double densityTolerance = 0.1;
/// How much longer than wide a square may become.
constexpr double shearTolerance = 1.5;
/// The part of a chart's area that may be outside the tolerances.
constexpr double outsideTolerance = 0.01;

/// With room for rounding.
constexpr double fullTurn = 2.0 * 3.14159265358979323846 + 1e-6;

/// Where the corners of a triangle lie on its own plane, the first edge along x, counter-clockwise.
std::array<Point2, 3> restShape(Point3 a, Point3 b, Point3 c)
{
    const double l = length(b - a);
    const Point3 x = (1.0 / l) * (b - a);
    const double along = dot(c - a, x);
    return {Point2{0.0, 0.0}, Point2{l, 0.0}, Point2{along, length((c - a) - along * x)}};
}

/// The roots of a union-find forest over corners.
class Corners
{
public:
    explicit Corners(size_t count) : m_parents(count) { std::iota(m_parents.begin(), m_parents.end(), 0); }
    size_t root(size_t corner)
    {
        while (m_parents[corner] != corner)
            corner = m_parents[corner] = m_parents[m_parents[corner]];
        return corner;
    }
    void join(size_t a, size_t b) { m_parents[std::max(root(a), root(b))] = std::min(root(a), root(b)); }

private:
    std::vector<size_t> m_parents;
};

/// The stretch of a triangle from its rest shape to the points: the larger and the smaller factor, negative
/// when it is turned over.
void stretches(const std::array<Point2, 3> &rest, Point2 a, Point2 b, Point2 c, double *larger,
               double *smaller)
{
    const double w = 1.0 / rest[1].x;
    const double h = 1.0 / rest[2].y;
    const Point2 du = w * (b - a);
    const Point2 dv = h * ((c - a) - rest[2].x * du);
    const double sum = std::hypot(du.x + dv.y, du.y - dv.x);
    const double difference = std::hypot(du.x - dv.y, du.y + dv.x);
    *larger = (sum + difference) / 2.0;
    *smaller = (sum - difference) / 2.0;
}

} // namespace

ChartFlattener::ChartFlattener(const AtlasMesh &mesh) : m_mesh(mesh), m_places(mesh.triangles().size(), -1) {}

bool ChartFlattener::flatten(const std::vector<int> &triangles, Chart *chart)
{
    number(triangles);
    std::vector<Point2> points;
    Result result = Result::Folded;
    if (isFlat()) {
        points = projected();
        result = judged(points);
    } else {
        const ChartRelaxation relaxation(m_shapes, int(m_positions.size()));
        points = unfolded();
        if (judgedAlone(points) != Result::Usable)
            relaxation.relax(&points);
        result = judged(points);
        // What is stretched only would come out the same from anywhere.
        if (result == Result::Folded) {
            points = projected();
            relaxation.relax(&points);
            result = judged(points);
        }
    }
    const bool usable = result == Result::Usable;
    if (usable)
        finish(points, triangles, chart);
    for (const int t : triangles)
        m_places[size_t(t)] = -1;
    return usable;
}

int ChartFlattener::localNeighbour(int triangle, int k) const
{
    const int neighbour = m_mesh.triangle(m_triangles[size_t(triangle)]).neighbours[size_t(k)];
    return neighbour < 0 ? -1 : m_places[size_t(neighbour)];
}

/// Makes the patch the present one.
void ChartFlattener::number(const std::vector<int> &triangles)
{
    m_triangles = triangles;
    m_shapes.assign(triangles.size(), {});
    m_positions.clear();
    m_area = 0.0;
    for (size_t i = 0; i < triangles.size(); ++i)
        m_places[size_t(triangles[i])] = int(i);

    Corners corners(3 * triangles.size());
    for (int i = 0; i < int(triangles.size()); ++i) {
        for (int k = 0; k < 3; ++k) {
            const int other = localNeighbour(i, k);
            if (other < 0)
                continue;
            const auto &neighbours = m_mesh.triangle(m_triangles[size_t(other)]).neighbours;
            const auto edge = size_t(std::find(neighbours.begin(), neighbours.end(), m_triangles[size_t(i)]) -
                                     neighbours.begin());
            // Across an edge the neighbour's corners run the other way.
            corners.join(3 * size_t(i) + size_t(k), 3 * size_t(other) + (edge + 1) % 3);
            corners.join(3 * size_t(i) + size_t((k + 1) % 3), 3 * size_t(other) + edge);
        }
    }
    std::vector<int> numbers(3 * triangles.size(), -1);
    for (size_t i = 0; i < triangles.size(); ++i) {
        const int t = triangles[i];
        for (size_t k = 0; k < 3; ++k) {
            int &point = numbers[corners.root(3 * i + k)];
            if (point < 0) {
                point = int(m_positions.size());
                m_positions.push_back(m_mesh.corner(t, int(k)));
            }
            m_shapes[i].points[k] = point;
        }
        m_shapes[i].rest = restShape(m_mesh.corner(t, 0), m_mesh.corner(t, 1), m_mesh.corner(t, 2));
        m_area += m_mesh.triangle(t).area;
    }
}

Point3 ChartFlattener::axis() const
{
    Point3 sum;
    for (const int t : m_triangles)
        sum = sum + m_mesh.triangle(t).area * m_mesh.triangle(t).normal;
    return normalized(sum);
}

bool ChartFlattener::isFlat() const
{
    const Point3 up = axis();
    return std::all_of(m_triangles.begin(), m_triangles.end(),
                       [&](int t) { return dot(m_mesh.triangle(t).normal, up) > flatCosine; });
}

std::vector<Point2> ChartFlattener::projected() const
{
    const Point3 up = axis();
    const Point3 aside = std::abs(up.x) < 0.6 ? Point3{1.0, 0.0, 0.0} : Point3{0.0, 1.0, 0.0};
    const Point3 x = normalized(cross(aside, up));
    const Point3 y = cross(up, x);
    std::vector<Point2> points;
    points.reserve(m_positions.size());
    for (const Point3 &position : m_positions) {
        const Point3 p = position - m_positions.front();
        points.push_back({dot(p, x), dot(p, y)});
    }
    return points;
}

int ChartFlattener::middleTriangle() const
{
    const auto centre = [this](int i) {
        const auto &points = m_shapes[size_t(i)].points;
        return (1.0 / 3.0) * (m_positions[size_t(points[0])] + m_positions[size_t(points[1])] +
                              m_positions[size_t(points[2])]);
    };
    Point3 middle;
    for (int i = 0; i < int(m_triangles.size()); ++i)
        middle = middle + (m_mesh.triangle(m_triangles[size_t(i)]).area / m_area) * centre(i);
    int best = 0;
    double nearest = std::numeric_limits<double>::infinity();
    for (int i = 0; i < int(m_triangles.size()); ++i) {
        const double distance = length(centre(i) - middle);
        if (distance < nearest) {
            nearest = distance;
            best = i;
        }
    }
    return best;
}

/// Lays triangle after triangle beside one that lies already, from the middle outwards. Exact for what can be
/// bent flat without stretching, such as cylinders and cones.
std::vector<Point2> ChartFlattener::unfolded() const
{
    std::vector<Point2> points(m_positions.size());
    std::vector<bool> placed(m_positions.size(), false);
    std::vector<bool> reached(m_triangles.size(), false);
    std::vector<int> order{middleTriangle()};
    const auto &firstShape = m_shapes[size_t(order.front())];
    for (size_t k = 0; k < 3; ++k) {
        points[size_t(firstShape.points[k])] = firstShape.rest[k];
        placed[size_t(firstShape.points[k])] = true;
    }
    reached[size_t(order.front())] = true;
    for (size_t next = 0; next < order.size(); ++next) {
        for (int k = 0; k < 3; ++k) {
            const int other = localNeighbour(order[next], k);
            if (other < 0 || reached[size_t(other)])
                continue;
            reached[size_t(other)] = true;
            order.push_back(other);
            const auto &neighbours = m_mesh.triangle(m_triangles[size_t(other)]).neighbours;
            const auto edge =
                size_t(std::find(neighbours.begin(), neighbours.end(), m_triangles[size_t(order[next])]) -
                       neighbours.begin());
            const auto &shape = m_shapes[size_t(other)];
            const auto top = size_t(shape.points[(edge + 2) % 3]);
            if (placed[top])
                continue;
            placed[top] = true;
            const Point2 from = points[size_t(shape.points[edge])];
            const Point2 to = points[size_t(shape.points[(edge + 1) % 3])];
            const Point2 base = shape.rest[(edge + 1) % 3] - shape.rest[edge];
            const Point2 rise = shape.rest[(edge + 2) % 3] - shape.rest[edge];
            const double along = dot(base, rise) / dot(base, base);
            const double across = cross(base, rise) / dot(base, base);
            const Point2 side = to - from;
            points[top] = from + along * side + across * Point2{-side.y, side.x};
        }
    }
    return points;
}

/// What makes the points' area that of the patch.
double ChartFlattener::areaScale(const std::vector<Point2> &points) const
{
    double area = 0.0;
    for (const auto &shape : m_shapes) {
        const Point2 &a = points[size_t(shape.points[0])];
        area += cross(points[size_t(shape.points[1])] - a, points[size_t(shape.points[2])] - a) / 2.0;
    }
    return area > 0.0 ? std::sqrt(m_area / area) : 0.0;
}

/// Of the triangles each by itself.
ChartFlattener::Result ChartFlattener::judgedAlone(const std::vector<Point2> &points) const
{
    const double scale = areaScale(points);
    double outside = 0.0;
    for (const auto &shape : m_shapes) {
        double larger = 0.0;
        double smaller = 0.0;
        stretches(shape.rest, points[size_t(shape.points[0])], points[size_t(shape.points[1])],
                  points[size_t(shape.points[2])], &larger, &smaller);
        if (!(smaller > 0.0))
            return Result::Folded;
        const double density = scale * std::sqrt(larger * smaller);
        if (std::abs(density - 1.0) > densityTolerance || larger > shearTolerance * smaller)
            outside += shape.rest[1].x * shape.rest[2].y / 2.0;
    }
    return outside <= outsideTolerance * m_area ? Result::Usable : Result::Stretched;
}

/// Whether the triangles around some point go more than once around it.
bool ChartFlattener::windsAround(const std::vector<Point2> &points) const
{
    std::vector<double> angles(points.size(), 0.0);
    for (const auto &shape : m_shapes) {
        for (size_t k = 0; k < 3; ++k) {
            const Point2 &at = points[size_t(shape.points[k])];
            const Point2 a = points[size_t(shape.points[(k + 1) % 3])] - at;
            const Point2 b = points[size_t(shape.points[(k + 2) % 3])] - at;
            angles[size_t(shape.points[k])] += std::atan2(cross(a, b), dot(a, b));
        }
    }
    return std::any_of(angles.begin(), angles.end(), [](double angle) { return angle > fullTurn; });
}

ChartFlattener::Result ChartFlattener::judged(const std::vector<Point2> &points) const
{
    const Result alone = judgedAlone(points);
    if (alone != Result::Usable)
        return alone;
    if (windsAround(points))
        return Result::Folded;
    std::vector<ChartOutline::Segment> segments;
    for (int i = 0; i < int(m_triangles.size()); ++i) {
        for (int k = 0; k < 3; ++k) {
            if (localNeighbour(i, k) < 0)
                segments.push_back(
                    {m_shapes[size_t(i)].points[size_t(k)], m_shapes[size_t(i)].points[size_t((k + 1) % 3)]});
        }
    }
    const bool closed = segments.empty();
    return closed || ChartOutline(points, std::move(segments)).crossesItself() ? Result::Folded
                                                                               : Result::Usable;
}

void ChartFlattener::finish(std::vector<Point2> points, const std::vector<int> &triangles, Chart *chart) const
{
    std::vector<ChartOutline::Segment> segments;
    for (int i = 0; i < int(m_triangles.size()); ++i) {
        for (int k = 0; k < 3; ++k) {
            if (localNeighbour(i, k) < 0)
                segments.push_back({m_shapes[size_t(i)].points[size_t(k)], 0});
        }
    }
    const Point2 up = ChartOutline(points, std::move(segments)).uprightDirection();
    const double scale = areaScale(points);
    Point2 low{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
    Point2 high = -1.0 * low;
    for (Point2 &p : points) {
        p = scale * Point2{dot(Point2{up.y, -up.x}, p), dot(up, p)};
        low = {std::min(low.x, p.x), std::min(low.y, p.y)};
        high = {std::max(high.x, p.x), std::max(high.y, p.y)};
    }
    chart->triangles = triangles;
    chart->extent = high - low;
    chart->corners.clear();
    chart->corners.reserve(triangles.size());
    for (const auto &shape : m_shapes) {
        chart->corners.push_back({points[size_t(shape.points[0])] - low,
                                  points[size_t(shape.points[1])] - low,
                                  points[size_t(shape.points[2])] - low});
    }
}

} // namespace Quorvel
