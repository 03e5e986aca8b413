#pragma once

#include "BakeScene.h"

namespace Quorvel
{

/// Weights of a triangle's three corners; they add up to 1.
using CornerWeights = std::array<float, 3>;

/// A triangle where it lies in the light map, in texels from the image's top left corner, y down.
///
/// Texture coordinate t = 0 is the image's bottom row, which is how the viewer loads it.
class TextureTriangle
{
public:
    TextureTriangle(const BakeTriangle &triangle, int size);

    double cornerX(size_t corner) const { return m_x[corner]; }
    double cornerY(size_t corner) const { return m_y[corner]; }

    /// In texels.
    double area() const { return std::abs(m_doubleArea) / 2.0; }
    /// Without enough area to tell inside from outside.
    bool isThin() const { return area() < 1e-9; }

    /// Distance in texels from the nearest edge's line, positive inside. Not for thin triangles.
    double depth(double x, double y) const;
    /// Whether the square of side 2 around the point, which linear filtering reaches, meets the triangle.
    bool isReachedFrom(double x, double y) const;
    /// Of the nearest point of the triangle; `distance`, if given, gets how far that is, in texels.
    CornerWeights nearest(double x, double y, double *distance = nullptr) const;

private:
    double edge(size_t from, double x, double y) const;

    std::array<double, 3> m_x;
    std::array<double, 3> m_y;
    double m_doubleArea;
};

} // namespace Quorvel
