#pragma once

#include "PathTracer.h"

namespace Quorvel
{

/// Smooths the light of the texels within their charts, where it differs by no more than its own noise.
///
/// An edge-avoiding a-trous wavelet filter (Dammertz et al., 2010) with the weights of variance-guided
/// filtering (Schied et al., 2017): B-spline kernel of 5 x 5 texels, spread by 1, 2, 4, ... texels; a texel q
/// counts for p by
///   chart(p) = chart(q), max(0, n_p . n_q)^64, exp(-|l_p - l_q| / (s e_p))
/// with luminance l and standard error e, smoothed over 3 x 3 texels. Direct light: 2 rounds, s = 1; indirect
/// light, which has more noise and no sharp edges: 5 rounds, s = 4.
void denoise(const PathTracer &tracer, const TexelMap &texels, const std::vector<int> &covered,
             std::vector<TexelLight> *light);

} // namespace Quorvel
