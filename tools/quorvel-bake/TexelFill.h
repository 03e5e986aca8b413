#pragma once

#include "PathTracer.h"

namespace Quorvel
{

/// Gives texels that lie inside of solids the light of their neighbours in the chart, so that linear
/// filtering shows no dark fringe where a solid comes out of a surface. Those with no lit texel in their
/// chart keep what they have. Returns how many got another light.
int unearth(const TexelMap &texels, std::vector<TexelLight> *light);

/// Grows the charts by `padding` texels, one ring after the other: a texel of a ring is the mean of its
/// neighbours, of eight, that were filled before.
void dilate(const TexelMap &texels, int padding, std::vector<QVector3D> *light);

} // namespace Quorvel
