#include "PathTracer.h"

#include "ColorCoding.h"
#include "VectorMath.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Quorvel
{

namespace
{

constexpr float TwoPi = 6.28318531f;
/// How near, in parts of the scene's radius, the inside of a solid shows what buries a texel.
constexpr float BuriedReach = 0.1f;
/// Sample sequences: one for the place in the texel, one per light, three per bounce.
constexpr quint32 PlacePair = 0;
constexpr quint32 FirstLightPair = 1;
constexpr quint32 PairsPerBounce = 3;

/// A point of the unit disc.
SamplePoint onDisc(const SamplePoint &point)
{
    const float radius = std::sqrt(point.x);
    const float angle = TwoPi * point.y;
    return {radius * std::cos(angle), radius * std::sin(angle)};
}

QVector3D onDiscAround(const QVector3D &axis, const SamplePoint &point)
{
    const SamplePoint place = onDisc(point);
    QVector3D x;
    QVector3D y;
    frameAround(axis, &x, &y);
    return x * place.x + y * place.y;
}

/// A direction around the normal, as likely as the cosine is large, turned back to the side of `facing`.
QVector3D cosineDirection(const QVector3D &normal, const QVector3D &facing, const SamplePoint &point)
{
    const QVector3D direction = onDiscAround(normal, point) + normal * std::sqrt(1.0f - point.x);
    const float side = dot(direction, facing);
    return side < 0.0f ? direction - facing * (2.0f * side) : direction;
}

/// Keeps a point off the triangle's border, where another wall may stand, by `distance`; by less in a
/// triangle so thin that the point would move far along it.
CornerWeights offBorder(const BakeTriangle &triangle, CornerWeights weights, float distance)
{
    const auto &positions = triangle.positions;
    std::array<float, 3> opposite;
    for (size_t k = 0; k < 3; ++k)
        opposite[k] = (positions[(k + 1) % 3] - positions[(k + 2) % 3]).length();
    const float longest = std::max({opposite[0], opposite[1], opposite[2]});
    const float doubleArea = cross(positions[1] - positions[0], positions[2] - positions[0]).length();
    if (!(doubleArea > 0.0f))
        return weights;
    for (size_t k = 0; k < 3; ++k)
        weights[k] =
            std::max(weights[k],
                     std::min({distance * opposite[k] / doubleArea, 4.0f * distance / longest, 1.0f / 6.0f}));
    const float sum = weights[0] + weights[1] + weights[2];
    for (float &weight : weights)
        weight /= sum;
    return weights;
}

/// Moves a point of a triangle out to where the surface would be that the normals stand on, so that a coarse
/// round shape does not shade itself (J. Hanika, "Hacking the Shadow Terminator", 2021). Corners whose
/// normals lean by more than 60 degrees belong to no round shape.
QVector3D onRoundedSurface(const BakeTriangle &triangle, const QVector3D &position,
                           const CornerWeights &weights)
{
    QVector3D lifted = position;
    for (size_t k = 0; k < 3; ++k) {
        const QVector3D &normal = triangle.normals[k];
        const float depth = dot(position - triangle.positions[k], normal);
        if (depth < 0.0f && dot(normal, triangle.facing) > 0.5f)
            lifted -= normal * (depth * weights[k]);
    }
    return lifted;
}

float spotFactor(const BakeLight &light, const QVector3D &fromLight)
{
    const float cosAngle = dot(fromLight, light.direction);
    const float range = light.cosHotspot - light.cosFalloff;
    if (range == 0.0f)
        return cosAngle >= light.cosFalloff ? 1.0f : 0.0f;
    return std::min(std::max((cosAngle - light.cosFalloff) / range, 0.0f), 1.0f);
}

/// Sum, and sum of squares for the standard error.
struct Tally
{
    void add(const QVector3D &light)
    {
        const double value = double(luminance(light));
        red += double(light.x());
        green += double(light.y());
        blue += double(light.z());
        sum += value;
        squares += value * value;
    }
    QVector3D mean(int count) const
    {
        return {float(red / count), float(green / count), float(blue / count)};
    }
    float varianceOfMean(int count) const
    {
        const double value = sum / count;
        // One sample tells nothing about its error.
        if (count < 2)
            return float(value * value);
        return float(std::max(squares / count - value * value, 0.0) / (count - 1));
    }

    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    double sum = 0.0;
    double squares = 0.0;
};

} // namespace

struct PathTracer::Sample
{
    SamplePoint point(quint32 pair) const { return sequence.point(pair, index); }

    const SampleSequence &sequence;
    quint32 index;
    quint64 rays = 0;
    /// The first ray met the inside of something, close by.
    bool meetsInside = false;
};

PathTracer::PathTracer(const BakeScene &scene, const RayScene &rays, const TexelMap &texels,
                       const BakeSettings &settings)
    : m_scene(scene)
    , m_rays(rays)
    , m_texels(texels)
    , m_settings(settings)
    , m_lightRadius(settings.lightRadius < 0.0f ? scene.radius / 100.0f : settings.lightRadius)
    , m_sunRadius(std::tan(settings.sunAngle * 0.5f * 0.0174532925f))
{
    const QVector3D centre = scene.centre;
    const float farthest = std::max({std::abs(centre.x()), std::abs(centre.y()), std::abs(centre.z())});
    m_offset = std::max(scene.radius * 1e-4f, (farthest + scene.radius) * 2e-6f);
}

QVector3D PathTracer::rayOrigin(const QVector3D &position, const QVector3D &facing) const
{
    return position + facing * m_offset;
}

TexelPlace PathTracer::placeAt(int triangle, const CornerWeights &nearest) const
{
    const BakeTriangle &corners = m_scene.triangles[size_t(triangle)];
    const CornerWeights weights = offBorder(corners, nearest, 4.0f * m_offset);
    TexelPlace place;
    QVector3D normal;
    for (size_t k = 0; k < 3; ++k) {
        place.position += corners.positions[k] * weights[k];
        normal += corners.normals[k] * weights[k];
    }
    place.position = onRoundedSurface(corners, place.position, weights);
    place.normal = unit(normal);
    place.facing = corners.facing.isNull() ? place.normal : corners.facing;
    if (place.normal.isNull())
        place.normal = place.facing;
    return place;
}

TexelPlace PathTracer::placeOf(int texel) const
{
    const int triangle = m_texels.triangleAt(texel);
    const int x = texel % m_texels.size();
    const int y = texel / m_texels.size();
    return placeAt(triangle, m_texels.shape(triangle).nearest(x + 0.5, y + 0.5));
}

float PathTracer::fade(float squaredDistance) const
{
    const float half = m_settings.halfDistance;
    return half > 0.0f ? 1.0f / (1.0f + squaredDistance / (half * half)) : 1.0f;
}

QVector3D PathTracer::arriving(const BakeLight &light, const QVector3D &position, const QVector3D &normal,
                               const SamplePoint &point, QVector3D *toward, float *length) const
{
    if (light.kind == BakeLight::Kind::Directional) {
        *toward = onDiscAround(light.direction, point) * m_sunRadius - light.direction;
        *length = std::numeric_limits<float>::infinity();
        return light.color * std::max(dot(normal, *toward), 0.0f);
    }
    const QVector3D path = light.position - position;
    const float squaredDistance = dot(path, path);
    const float distance = std::sqrt(squaredDistance);
    if (!(distance > 0.0f))
        return {};
    const QVector3D axis = path / distance;
    *toward = path + onDiscAround(axis, point) * m_lightRadius;
    *length = 0.9999f;
    // The mean over the disc is the cosine towards its centre, unless a part of it has set.
    float strength = std::max(dot(normal, *toward), 0.0f) / distance * fade(squaredDistance);
    if (light.kind == BakeLight::Kind::Spot)
        strength *= spotFactor(light, -axis);
    return light.color * strength;
}

float PathTracer::brightest(const BakeLight &light, const QVector3D &position, const QVector3D &normal) const
{
    const float brightness = luminance(light.color);
    if (light.kind == BakeLight::Kind::Directional)
        return brightness * std::max(m_sunRadius - dot(normal, light.direction), 0.0f);
    const QVector3D path = light.position - position;
    const float squaredDistance = dot(path, path);
    const float distance = std::sqrt(squaredDistance);
    if (!(distance > 0.0f))
        return 0.0f;
    float strength = std::max(dot(normal, path) + m_lightRadius, 0.0f) / distance * fade(squaredDistance);
    if (light.kind == BakeLight::Kind::Spot)
        strength *= spotFactor(light, path / -distance);
    return brightness * strength;
}

QVector3D PathTracer::fromLight(const BakeLight &light, const QVector3D &origin, const TexelPlace &place,
                                const SamplePoint &point, Sample *sample) const
{
    QVector3D toward;
    float length = 0.0f;
    const QVector3D color = arriving(light, place.position, place.normal, point, &toward, &length);
    if (color.isNull())
        return {};
    ++sample->rays;
    return color * m_rays.transmittance(origin, toward, length);
}

QVector3D PathTracer::fromAnyLight(const TexelPlace &place, quint32 pair, Sample *sample) const
{
    if (m_scene.lights.empty())
        return {};
    const QVector3D origin = rayOrigin(place.position, place.facing);
    if (m_scene.lights.size() == 1)
        return fromLight(m_scene.lights.front(), origin, place, sample->point(pair), sample);
    float total = 0.0f;
    for (const BakeLight &light : m_scene.lights)
        total += brightest(light, place.position, place.normal);
    if (!(total > 0.0f))
        return {};
    float left = unitFloat(sample->sequence.coin(pair, sample->index)) * total;
    const BakeLight *chosen = nullptr;
    float weight = 0.0f;
    for (const BakeLight &light : m_scene.lights) {
        const float brightness = brightest(light, place.position, place.normal);
        if (brightness <= 0.0f)
            continue;
        chosen = &light;
        weight = brightness;
        left -= brightness;
        if (left < 0.0f)
            break;
    }
    return fromLight(*chosen, origin, place, sample->point(pair), sample) * (total / weight);
}

QVector3D PathTracer::fromSurroundings(const TexelPlace &start, Sample *sample) const
{
    QVector3D light;
    QVector3D throughput(1.0f, 1.0f, 1.0f);
    TexelPlace place = start;
    for (int bounce = 0; bounce < m_settings.bounces; ++bounce) {
        const quint32 pair =
            FirstLightPair + quint32(m_scene.lights.size()) + quint32(bounce) * PairsPerBounce;
        const QVector3D direction = cosineDirection(place.normal, place.facing, sample->point(pair));
        ++sample->rays;
        const RayScene::Hit hit = m_rays.nearest(rayOrigin(place.position, place.facing), direction,
                                                 sample->sequence.coin(pair, sample->index));
        if (hit.triangle < 0)
            break;
        const BakeTriangle &triangle = m_scene.triangles[size_t(hit.triangle)];
        const BakeSurface &surface = m_scene.surfaces[size_t(triangle.surface)];
        const bool inside = dot(triangle.facing, direction) > 0.0f;
        if (bounce == 0)
            sample->meetsInside = inside && hit.distance < BuriedReach * m_scene.radius;
        light += throughput * surface.emission;
        throughput *= surface.albedo;
        if (throughput.isNull())
            return light;
        place.position = rayOrigin(place.position, place.facing) + direction * hit.distance;
        place.facing = inside ? -triangle.facing : triangle.facing;
        place.normal = place.facing;
        light += throughput * fromAnyLight(place, pair + 1, sample);
    }
    return light + throughput * m_scene.ambient;
}

TexelLight PathTracer::lightAt(int texel, quint64 *rayCount) const
{
    const int triangle = m_texels.triangleAt(texel);
    const TextureTriangle &shape = m_texels.shape(triangle);
    const int x = texel % m_texels.size();
    const int y = texel / m_texels.size();
    const SampleSequence sequence(m_settings.seed, quint32(texel));
    Tally direct;
    Tally indirect;
    int insides = 0;
    for (int i = 0; i < m_settings.samples; ++i) {
        Sample sample = {sequence, quint32(i)};
        const SamplePoint within = sample.point(PlacePair);
        const TexelPlace place = placeAt(triangle, shape.nearest(x + double(within.x), y + double(within.y)));
        const QVector3D origin = rayOrigin(place.position, place.facing);
        QVector3D fromLights;
        for (size_t k = 0; k < m_scene.lights.size(); ++k)
            fromLights += fromLight(m_scene.lights[k], origin, place,
                                    sample.point(FirstLightPair + quint32(k)), &sample);
        direct.add(fromLights);
        indirect.add(fromSurroundings(place, &sample));
        insides += sample.meetsInside;
        *rayCount += sample.rays;
    }
    const int count = m_settings.samples;
    TexelLight light;
    light.direct = direct.mean(count);
    light.indirect = indirect.mean(count);
    light.directVariance = direct.varianceOfMean(count);
    light.indirectVariance = indirect.varianceOfMean(count);
    light.isBuried = 2 * insides > count && light.direct.isNull();
    return light;
}

} // namespace Quorvel
