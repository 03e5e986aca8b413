#pragma once

#include "FlatTriangle.h"

#include <algorithm>
#include <functional>

namespace Quorvel::Test
{

/// Marks points of the image, `scale` to a texel each way, with what covers them.
class TexelRaster
{
public:
    TexelRaster(int size, int scale)
        : m_side(size * scale), m_scale(scale), m_owners(size_t(m_side) * size_t(m_side), -1)
    {
    }

    /// Calls visit(owner) for every point inside the triangle.
    void cover(const FlatTriangle &flat, double margin, const std::function<void(int *)> &visit)
    {
        const auto [lowX, highX] = std::minmax_element(flat.x.begin(), flat.x.end());
        const auto [lowY, highY] = std::minmax_element(flat.y.begin(), flat.y.end());
        for (int j = first(*lowY); j <= last(*highY); ++j) {
            for (int i = first(*lowX); i <= last(*highX); ++i) {
                if (flat.holds((i + 0.5) / m_scale, (j + 0.5) / m_scale, margin))
                    visit(&m_owners[size_t(j) * size_t(m_side) + size_t(i)]);
            }
        }
    }
    int owner(int x, int y) const
    {
        const bool inside = x >= 0 && y >= 0 && x < m_side && y < m_side;
        return inside ? m_owners[size_t(y) * size_t(m_side) + size_t(x)] : -1;
    }
    void setOwner(int x, int y, int owner) { m_owners[size_t(y) * size_t(m_side) + size_t(x)] = owner; }

private:
    int first(double at) const { return std::max(0, int(at * m_scale) - 1); }
    int last(double at) const { return std::min(m_side - 1, int(at * m_scale) + 1); }

    int m_side;
    int m_scale;
    std::vector<int> m_owners;
};

/// What linear filtering reads anywhere on the triangle's edges and corners, as calls of visit(x, y).
void footprint(const FlatTriangle &flat, const std::function<void(int, int)> &visit);

} // namespace Quorvel::Test
