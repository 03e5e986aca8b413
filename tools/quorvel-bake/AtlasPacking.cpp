#include "AtlasPacking.h"

#include <algorithm>
#include <cstdlib>

namespace Quorvel
{

namespace
{

/// Sorts the packer's rectangles so that those of one size keep their order, whatever the C library's qsort
/// does.
template <typename Rectangle, typename Compare>
void stableSort(Rectangle *rectangles, int count, Compare compare)
{
    std::stable_sort(rectangles, rectangles + count,
                     [compare](const Rectangle &a, const Rectangle &b) { return compare(&a, &b) < 0; });
}

} // namespace

} // namespace Quorvel

#define STB_RECT_PACK_IMPLEMENTATION
#define STBRP_STATIC
#define STBRP_SORT(rectangles, count, bytes, compare) Quorvel::stableSort(rectangles, count, compare)
#include <stb/stb_rect_pack.h>

namespace Quorvel
{

namespace
{

/// The density is found to within this part of itself.
constexpr double densityPrecision = 0.002;

/// With half a texel on either side, for a chart that is that many texels long.
int texels(double length)
{
    return int(std::ceil(length - 1e-9)) + 1;
}

} // namespace

AtlasPacking::AtlasPacking(std::vector<Point2> extents, int size, int padding)
    : m_extents(std::move(extents)), m_size(size), m_padding(padding)
{
    double area = 0.0;
    for (const Point2 &extent : m_extents)
        area += extent.x * extent.y;
    m_densest = area > 0.0 ? size / std::sqrt(area) : 0.0;
    for (const Posture posture : {Posture::Upright, Posture::Lying}) {
        for (const int heuristic :
             {STBRP_HEURISTIC_Skyline_BL_sortHeight, STBRP_HEURISTIC_Skyline_BF_sortHeight})
            search(posture, heuristic);
    }
}

/// Raises the density as far as this way of packing goes, if that is any further at all.
void AtlasPacking::search(Posture posture, int heuristic)
{
    double low = std::max(m_density * (1.0 + densityPrecision), m_densest * 1e-4);
    if (low > m_densest || !pack(low, posture, heuristic))
        return;
    double high = m_densest;
    while (high - low > densityPrecision * low) {
        const double middle = (low + high) / 2.0;
        (pack(middle, posture, heuristic) ? low : high) = middle;
    }
}

bool AtlasPacking::pack(double density, Posture posture, int heuristic)
{
    const int side = m_size - m_padding;
    if (side < 1)
        return false;
    std::vector<stbrp_rect> rectangles(m_extents.size());
    for (size_t i = 0; i < m_extents.size(); ++i) {
        const int across = texels(density * m_extents[i].x) + m_padding;
        const int along = texels(density * m_extents[i].y) + m_padding;
        if (across > side || along > side)
            return false;
        rectangles[i].id = int(i);
        rectangles[i].w = stbrp_coord(posture == Posture::Upright ? across : along);
        rectangles[i].h = stbrp_coord(posture == Posture::Upright ? along : across);
    }
    std::vector<stbrp_node> nodes(size_t(side) + 1);
    stbrp_context context;
    stbrp_init_target(&context, side, side, nodes.data(), int(nodes.size()));
    stbrp_setup_heuristic(&context, heuristic);
    if (!stbrp_pack_rects(&context, rectangles.data(), int(rectangles.size())))
        return false;
    m_density = density;
    m_posture = posture;
    m_cells.resize(m_extents.size());
    for (const stbrp_rect &rectangle : rectangles)
        m_cells[size_t(rectangle.id)] = {int(rectangle.x) + m_padding, int(rectangle.y) + m_padding};
    return true;
}

Point2 AtlasPacking::place(size_t chart, Point2 point) const
{
    const Cell &cell = m_cells[chart];
    const Point2 &extent = m_extents[chart];
    // A quarter turn, which keeps the chart's handedness.
    const bool lying = m_posture == Posture::Lying;
    const Point2 turned = lying ? Point2{extent.y - point.y, point.x} : point;
    const Point2 size = lying ? Point2{extent.y, extent.x} : extent;
    // What rounding up to whole texels leaves over lies on both sides.
    const auto start = [this](int texel, double length) {
        return texel + (texels(m_density * length) - m_density * length) / 2.0;
    };
    return {start(cell.x, size.x) + m_density * turned.x, start(cell.y, size.y) + m_density * turned.y};
}

} // namespace Quorvel
