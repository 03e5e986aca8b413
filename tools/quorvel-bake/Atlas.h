#pragma once

#include "AtlasPacking.h"
#include "Chart.h"

#include <array>
#include <vector>

namespace Quorvel
{

class AtlasMesh;

/// Charts for all of a mesh, packed into a square image.
class Atlas
{
public:
    /// `size` of the image and `padding` between charts are in texels.
    Atlas(const AtlasMesh &mesh, int size, int padding);

    /// False when the charts do not fit however small they are drawn.
    bool fits() const { return m_charts.empty() || m_packing.fits(); }
    int chartCount() const { return int(m_charts.size()); }
    /// Texels per world unit; 0 without charts.
    double density() const { return m_packing.density(); }

    /// For each triangle of the mesh the texture coordinates of its corners, within 0 and 1. All corners of a
    /// degenerate triangle lie at one place inside a chart, one that meets the triangle if there is any.
    std::vector<std::array<Point2, 3>> coordinates() const;

private:
    void cut(int size, int padding);
    void placeDegenerate(const std::vector<bool> &placed,
                         std::vector<std::array<Point2, 3>> *coordinates) const;

    const AtlasMesh &m_mesh;
    int m_size;
    std::vector<Chart> m_charts;
    AtlasPacking m_packing;
};

} // namespace Quorvel
