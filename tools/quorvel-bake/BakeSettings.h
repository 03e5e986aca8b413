#pragma once

#include <QtGlobal>

namespace Quorvel
{

/// How a light map is computed. Lengths are in scene units, angles in degrees.
struct BakeSettings
{
    static constexpr int SmallestSize = 16;
    static constexpr int LargestSize = 8192;

    /// Width and height of the image in texels.
    int size = 1024;
    /// Paths per texel.
    int samples = 64;
    /// Surfaces that light may be reflected by on its way to the one that is seen.
    int bounces = 3;
    /// Texels by which charts are widened.
    int padding = 8;
    quint32 seed = 1;
    /// 0: one per processor.
    int threads = 0;
    bool denoise = false;

    /// Radius of point and spot lights; negative: one hundredth of the scene's bounding radius.
    float lightRadius = -1.0f;
    /// Angle under which a directional light's disc is seen.
    float sunAngle = 1.0f;
    /// Distance at which a point or spot light has lost half of its light; 0: it keeps all of it.
    float halfDistance = 0.0f;
    /// Factor on the light of surfaces that glow.
    float glow = 1.0f;

    /// Powers of two by which the picture is made brighter.
    float exposure = 0.0f;
    /// Rolls highlights off instead of clipping them.
    bool softHighlights = false;
};

} // namespace Quorvel
