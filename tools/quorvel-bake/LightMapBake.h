#pragma once

#include "BakeScene.h"
#include "BakeSettings.h"

#include <QImage>

#include <functional>

namespace Quorvel
{

/// What a bake found out about the scene and itself.
struct BakeStatistics
{
    int triangles = 0;
    int charts = 0;
    /// Texels that belong to a triangle.
    int texels = 0;
    /// Of these, those that lie well inside two triangles or more.
    int overlappingTexels = 0;
    /// Of these, those inside of solids, which took their neighbours' light.
    int buriedTexels = 0;
    /// Triangles that reach out of the image.
    int outsideTriangles = 0;
    /// Triangles without area in the texture.
    int thinTriangles = 0;
    quint64 rays = 0;
    /// Root mean square over the texels of the light's estimated standard error, before any denoising;
    /// 1 is the light that makes a white surface white.
    double noise = 0.0;
    double seconds = 0.0;
};

struct BakeResult
{
    /// Light that each texel sends out, linear, by rows from the image's top left; padded, not exposed.
    std::vector<QVector3D> light;
    /// The light map as the viewer shows it.
    QImage image;
    BakeStatistics statistics;
};

/// Gets the part that is done, 0 to 1; called from any thread, one at a time. May be empty.
using BakeProgress = std::function<void(double part)>;

/// Whether the scene's texture coordinates span any part of an image.
bool hasTextureArea(const BakeScene &scene);

/// Computes the light map of a scene. Same scene and settings, same result, whatever the number of threads.
BakeResult bakeLightMap(const BakeScene &scene, const BakeSettings &settings,
                        const BakeProgress &progress = {});

} // namespace Quorvel
