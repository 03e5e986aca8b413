#pragma once

#include "ChartVector.h"

#include <vector>

namespace Quorvel
{

/// Where the rectangles around charts lie in a square image, all at one density.
///
/// A chart's rectangle is whole texels wide and high and the chart keeps half a texel away from its sides, so
/// that looking it up with linear filtering stays within the rectangle. Between two rectangles, and between a
/// rectangle and the border of the image, lie at least `padding` texels.
class AtlasPacking
{
public:
    /// The charts' widths and heights are in world units.
    AtlasPacking(std::vector<Point2> extents, int size, int padding);

    /// False when the charts do not fit however small they are drawn; there are no positions then.
    bool fits() const { return m_density > 0.0; }
    /// Texels per world unit; 0 when the charts do not fit.
    double density() const { return m_density; }
    /// Of a point of a chart, which lies between (0, 0) and the chart's extent: in texels from the image's
    /// corner.
    Point2 place(size_t chart, Point2 point) const;

private:
    struct Cell
    {
        int x = 0;
        int y = 0;
    };
    enum class Posture { Upright, Lying };

    bool pack(double density, Posture posture, int heuristic);
    void search(Posture posture, int heuristic);

    std::vector<Point2> m_extents;
    int m_size;
    int m_padding;
    double m_densest = 0.0;
    double m_density = 0.0;
    Posture m_posture = Posture::Upright;
    std::vector<Cell> m_cells;
};

} // namespace Quorvel
