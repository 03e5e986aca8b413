#pragma once

#include "BakeSettings.h"
#include "RayScene.h"
#include "SampleSequence.h"
#include "TexelMap.h"

namespace Quorvel
{

/// Light that arrives at a texel, linear, in units of what a white surface sends out under it.
struct TexelLight
{
    /// Straight from the lights.
    QVector3D direct;
    /// From other surfaces and the surroundings.
    QVector3D indirect;
    /// Squared standard errors of the luminances.
    float directVariance = 0.0f;
    float indirectVariance = 0.0f;
    /// The texel lies inside of a solid, where nothing is to be seen.
    bool isBuried = false;
};

/// Where a texel lies in the scene. World space.
struct TexelPlace
{
    QVector3D position;
    /// Interpolated from the corners, unit length.
    QVector3D normal;
    /// Unit normal of the triangle on the same side.
    QVector3D facing;
};

/// Follows light backwards from texels.
///
/// A surface point x with normal n receives, from a light of colour c in direction l,
///   direct = c (n . l) spot fade visible
/// with spot = clamp((cos - cosFalloff) / (cosHotspot - cosFalloff), 0, 1) as the viewer has it and
/// fade = 1 / (1 + (distance / halfDistance)^2); and from its surroundings the mean, weighted by the cosine,
/// of
///   L = emission + albedo (direct + indirect)
/// where rays meet surfaces, of the ambient light where they leave the scene. Behind the last bounce the
/// ambient light stands for all that is not followed.
class PathTracer
{
public:
    PathTracer(const BakeScene &scene, const RayScene &rays, const TexelMap &texels,
               const BakeSettings &settings);

    /// For a texel that belongs to a triangle. Counts the rays that were needed. Safe from any thread; the
    /// result depends on the settings and the texel alone.
    TexelLight lightAt(int texel, quint64 *rayCount) const;

    TexelPlace placeOf(int texel) const;

private:
    struct Sample;

    TexelPlace placeAt(int triangle, const CornerWeights &nearest) const;
    /// Off the surface, so that a ray does not start by meeting it.
    QVector3D rayOrigin(const QVector3D &position, const QVector3D &facing) const;
    /// Reads the light as if nothing stood in its way. `toward` is where to look for what does.
    QVector3D arriving(const BakeLight &light, const QVector3D &position, const QVector3D &normal,
                       const SamplePoint &point, QVector3D *toward, float *length) const;
    /// No less than the luminance that arriving() can have.
    float brightest(const BakeLight &light, const QVector3D &position, const QVector3D &normal) const;
    QVector3D fromLight(const BakeLight &light, const QVector3D &origin, const TexelPlace &place,
                        const SamplePoint &point, Sample *sample) const;
    QVector3D fromAnyLight(const TexelPlace &place, quint32 pair, Sample *sample) const;
    QVector3D fromSurroundings(const TexelPlace &place, Sample *sample) const;
    float fade(float squaredDistance) const;

    const BakeScene &m_scene;
    const RayScene &m_rays;
    const TexelMap &m_texels;
    const BakeSettings m_settings;
    float m_lightRadius;
    float m_sunRadius;
    float m_offset;
};

} // namespace Quorvel
