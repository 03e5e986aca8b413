#include "TextureTriangle.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Quorvel
{

TextureTriangle::TextureTriangle(const BakeTriangle &triangle, int size)
{
    for (size_t k = 0; k < 3; ++k) {
        m_x[k] = double(triangle.texcoords[k].x()) * size;
        m_y[k] = (1.0 - double(triangle.texcoords[k].y())) * size;
    }
    m_doubleArea = (m_x[1] - m_x[0]) * (m_y[2] - m_y[0]) - (m_x[2] - m_x[0]) * (m_y[1] - m_y[0]);
}

double TextureTriangle::edge(size_t from, double x, double y) const
{
    const size_t to = (from + 1) % 3;
    return (m_x[to] - m_x[from]) * (y - m_y[from]) - (m_y[to] - m_y[from]) * (x - m_x[from]);
}

double TextureTriangle::depth(double x, double y) const
{
    double least = std::numeric_limits<double>::infinity();
    for (size_t from = 0; from < 3; ++from) {
        const size_t to = (from + 1) % 3;
        const double length = std::hypot(m_x[to] - m_x[from], m_y[to] - m_y[from]);
        least = std::min(least, std::copysign(1.0, m_doubleArea) * edge(from, x, y) / length);
    }
    return least;
}

bool TextureTriangle::isReachedFrom(double x, double y) const
{
    const auto [left, right] = std::minmax({m_x[0], m_x[1], m_x[2]});
    const auto [top, bottom] = std::minmax({m_y[0], m_y[1], m_y[2]});
    if (x <= left - 1.0 || x >= right + 1.0 || y <= top - 1.0 || y >= bottom + 1.0)
        return false;
    // Separating axes: the square lies beyond an edge when its corner nearest to the inside does.
    for (size_t from = 0; from < 3; ++from) {
        const size_t to = (from + 1) % 3;
        const double reach = std::abs(m_x[to] - m_x[from]) + std::abs(m_y[to] - m_y[from]);
        const double sign = m_doubleArea < 0.0 ? -1.0 : 1.0;
        if (!isThin() && sign * edge(from, x, y) <= -reach)
            return false;
        if (isThin() && std::abs(edge(from, x, y)) > reach)
            return false;
    }
    return true;
}

CornerWeights TextureTriangle::nearest(double x, double y, double *distance) const
{
    if (!isThin()) {
        const double first = edge(1, x, y) / m_doubleArea;
        const double second = edge(2, x, y) / m_doubleArea;
        const double third = 1.0 - first - second;
        if (first >= 0.0 && second >= 0.0 && third >= 0.0) {
            if (distance)
                *distance = 0.0;
            return {float(first), float(second), float(third)};
        }
    }
    CornerWeights weights = {};
    double least = std::numeric_limits<double>::infinity();
    for (size_t from = 0; from < 3; ++from) {
        const size_t to = (from + 1) % 3;
        const double alongX = m_x[to] - m_x[from];
        const double alongY = m_y[to] - m_y[from];
        const double squared = alongX * alongX + alongY * alongY;
        const double part =
            squared > 0.0 ? ((x - m_x[from]) * alongX + (y - m_y[from]) * alongY) / squared : 0.0;
        const double clamped = std::min(std::max(part, 0.0), 1.0);
        const double away = std::hypot(m_x[from] + clamped * alongX - x, m_y[from] + clamped * alongY - y);
        if (away < least) {
            least = away;
            weights = {};
            weights[from] = float(1.0 - clamped);
            weights[to] = float(clamped);
        }
    }
    if (distance)
        *distance = least;
    return weights;
}

} // namespace Quorvel
