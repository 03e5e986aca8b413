#include "ChartRelaxation.h"

#include <algorithm>

namespace Quorvel
{

namespace
{

constexpr int mostSteps = 30;
constexpr int mostSolverSteps = 40;
/// A step that lowers the energy by less than this fraction is the last.
constexpr double smallestGain = 0.02;
/// Energy below this fraction of the springs' own counts as flat.
constexpr double flatEnergy = 1e-7;
constexpr double solverPrecision = 1e-2;
constexpr double smallestCotangent = 0.01;
constexpr double largestCotangent = 100.0;

double sum(const std::vector<Point2> &a, const std::vector<Point2> &b)
{
    double total = 0.0;
    for (size_t i = 0; i < a.size(); ++i)
        total += dot(a[i], b[i]);
    return total;
}

} // namespace

ChartRelaxation::ChartRelaxation(const std::vector<Triangle> &triangles, int pointCount)
    : m_diagonal(size_t(pointCount), 0.0)
{
    m_springs.reserve(3 * triangles.size());
    for (const Triangle &triangle : triangles) {
        for (size_t k = 0; k < 3; ++k) {
            const size_t next = (k + 1) % 3;
            const Point2 &top = triangle.rest[(k + 2) % 3];
            const Point2 a = triangle.rest[k] - top;
            const Point2 b = triangle.rest[next] - top;
            const double cotangent = dot(a, b) / std::abs(cross(a, b));
            const double weight = std::clamp(cotangent, smallestCotangent, largestCotangent);
            m_springs.push_back(
                {triangle.points[k], triangle.points[next], weight, triangle.rest[next] - triangle.rest[k]});
            m_diagonal[size_t(triangle.points[k])] += weight;
            m_diagonal[size_t(triangle.points[next])] += weight;
        }
    }
}

void ChartRelaxation::relax(std::vector<Point2> *points) const
{
    double flat = 0.0;
    for (const Spring &spring : m_springs)
        flat += flatEnergy * spring.weight * dot(spring.rest, spring.rest);
    std::vector<Point2> pull(points->size());
    double energy = fitRotations(*points, &pull);
    for (int step = 0; step < mostSteps && energy > flat; ++step) {
        solve(pull, points);
        const double previous = energy;
        energy = fitRotations(*points, &pull);
        if (energy > (1.0 - smallestGain) * previous)
            break;
    }
}

/// Turns each triangle at rest so that it matches the points best, sums up at each point where its springs
/// want it to be, and returns the energy that is left.
double ChartRelaxation::fitRotations(const std::vector<Point2> &points, std::vector<Point2> *pull) const
{
    double energy = 0.0;
    std::fill(pull->begin(), pull->end(), Point2{});
    for (size_t first = 0; first < m_springs.size(); first += 3) {
        double along = 0.0;
        double across = 0.0;
        for (size_t i = first; i < first + 3; ++i) {
            const Spring &s = m_springs[i];
            const Point2 now = points[size_t(s.to)] - points[size_t(s.from)];
            along += s.weight * dot(s.rest, now);
            across += s.weight * cross(s.rest, now);
        }
        const double l = std::hypot(along, across);
        const double c = l > 0.0 ? along / l : 1.0;
        const double d = l > 0.0 ? across / l : 0.0;
        for (size_t i = first; i < first + 3; ++i) {
            const Spring &s = m_springs[i];
            const Point2 turned{c * s.rest.x - d * s.rest.y, d * s.rest.x + c * s.rest.y};
            const Point2 off = points[size_t(s.to)] - points[size_t(s.from)] - turned;
            energy += s.weight * dot(off, off);
            (*pull)[size_t(s.to)] = (*pull)[size_t(s.to)] + s.weight * turned;
            (*pull)[size_t(s.from)] = (*pull)[size_t(s.from)] - s.weight * turned;
        }
    }
    return energy;
}

void ChartRelaxation::apply(const std::vector<Point2> &points, std::vector<Point2> *result) const
{
    std::fill(result->begin(), result->end(), Point2{});
    for (const Spring &s : m_springs) {
        const Point2 pull = s.weight * (points[size_t(s.to)] - points[size_t(s.from)]);
        (*result)[size_t(s.to)] = (*result)[size_t(s.to)] + pull;
        (*result)[size_t(s.from)] = (*result)[size_t(s.from)] - pull;
    }
}

/// Conjugate gradients with the diagonal as preconditioner, for both coordinates at once. The springs leave
/// the whole chart free to move, which these steps never do.
void ChartRelaxation::solve(const std::vector<Point2> &pull, std::vector<Point2> *points) const
{
    const size_t count = points->size();
    std::vector<Point2> residual(count);
    std::vector<Point2> scaled(count);
    std::vector<Point2> product(count);
    apply(*points, &product);
    for (size_t i = 0; i < count; ++i) {
        residual[i] = pull[i] - product[i];
        scaled[i] = (1.0 / m_diagonal[i]) * residual[i];
    }
    std::vector<Point2> direction = scaled;
    double rho = sum(residual, scaled);
    const double enough = rho * solverPrecision * solverPrecision;
    for (int step = 0; step < mostSolverSteps && rho > enough; ++step) {
        apply(direction, &product);
        const double curvature = sum(direction, product);
        if (!(curvature > 0.0))
            return;
        const double alpha = rho / curvature;
        for (size_t i = 0; i < count; ++i) {
            (*points)[i] = (*points)[i] + alpha * direction[i];
            residual[i] = residual[i] - alpha * product[i];
            scaled[i] = (1.0 / m_diagonal[i]) * residual[i];
        }
        const double next = sum(residual, scaled);
        const double beta = next / rho;
        rho = next;
        for (size_t i = 0; i < count; ++i)
            direction[i] = scaled[i] + beta * direction[i];
    }
}

} // namespace Quorvel
