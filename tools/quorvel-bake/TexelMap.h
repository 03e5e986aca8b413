#pragma once

#include "TextureTriangle.h"

#include <vector>

namespace Quorvel
{

/// Which triangle each texel of a light map belongs to.
///
/// A texel whose centre lies in a triangle belongs to the first such triangle. Of the others, each one that
/// linear filtering may read inside some triangle belongs to the nearest of those triangles, so that even the
/// thinnest triangle is seen in its own light.
class TexelMap
{
public:
    TexelMap(const BakeScene &scene, int size);

    int size() const { return m_size; }
    int texelCount() const { return m_size * m_size; }
    /// -1: the texel belongs to none. Texels count by rows from the image's top left corner.
    int triangleAt(int texel) const { return m_triangles[size_t(texel)]; }
    /// -1: none. Triangles that share an edge, in space and in the texture, are of one chart.
    int chartAt(int texel) const;
    const TextureTriangle &shape(int triangle) const { return m_shapes[size_t(triangle)]; }

    int chartCount() const { return m_chartCount; }
    /// Texels that belong to a triangle.
    int coveredCount() const { return m_coveredCount; }
    /// Texels whose centres lie well inside two triangles or more.
    int overlapCount() const { return m_overlapCount; }
    /// Triangles that reach out of the image, where the viewer repeats the texels of its border.
    int outsideCount() const { return m_outsideCount; }
    /// Triangles without area in the texture.
    int thinCount() const { return m_thinCount; }

private:
    void coverCentres(int triangle);
    void measureReach(int triangle, std::vector<float> *distances);
    void findCharts(const BakeScene &scene);

    int m_size;
    int m_chartCount = 0;
    int m_coveredCount = 0;
    int m_overlapCount = 0;
    int m_outsideCount = 0;
    int m_thinCount = 0;
    std::vector<TextureTriangle> m_shapes;
    std::vector<int> m_triangles;
    std::vector<bool> m_overlaps;
    std::vector<int> m_charts;
};

} // namespace Quorvel
