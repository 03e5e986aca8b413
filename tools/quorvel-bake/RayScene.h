#pragma once

#include "BakeScene.h"

#include <memory>

namespace Quorvel
{

/// Finds what rays meet. The only file pair that knows the ray tracing library.
///
/// Building runs on the calling thread alone, so that the same triangles always give the same answers; asking
/// is safe from any number of threads. Directions need not have unit length; distances count in their length.
class RayScene
{
public:
    /// Keeps a reference to the scene.
    explicit RayScene(const BakeScene &scene);
    ~RayScene();
    RayScene(const RayScene &) = delete;
    RayScene &operator=(const RayScene &) = delete;

    struct Hit
    {
        /// -1: the ray leaves the scene.
        int triangle = -1;
        float distance = 0.0f;
    };

    /// The first surface that stops the ray. At each surface that lets rays through, `coin` decides: it is a
    /// random number that is changed at every use.
    Hit nearest(const QVector3D &origin, const QVector3D &direction, quint32 coin) const;

    /// Part of the light that gets from origin + direction * length to the origin.
    float transmittance(const QVector3D &origin, const QVector3D &direction, float length) const;

private:
    struct Device;

    const BakeScene &m_scene;
    std::unique_ptr<Device> m_device;
};

} // namespace Quorvel
