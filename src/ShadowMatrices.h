#pragma once

#include <QMatrix4x4>

#include <array>

namespace Quorvel
{

class Light;
class Node;
class Scene;
struct ClipDistances;

/// View to clip space for a camera that stands in for a spot or directional light. A directional light sees a
/// window of 1000 x 1000 units around its axis; a spot light sees its outer cone.
QMatrix4x4 lightProjection(const Light &light, const ClipDistances &clip);

/// World space to the scaled clip space of a spot or directional light: clip space with z divided by the far
/// distance. The light looks along its node's -z axis, with near and far as for a camera at its place.
QMatrix4x4 shadowMatrix(const Scene &scene, const Node &lightNode);

/// How the six faces of a cube map around a point light see the scene.
struct CubeShadow
{
    /// World space to space around the light, axes as in the world, 1 at the scene's extent.
    QMatrix4x4 toLight;
    /// World to clip space, in GL's order of faces.
    std::array<QMatrix4x4, 6> toClip;
    /// Distance from the light within which the bounding spheres of all nodes lie; 1 if there are none. World
    /// units.
    float extent;
};

/// Faces look from the node's world position along the world's axes. They see from a thirtieth of the scene's
/// radius, where a camera amidst the scene begins to see, to the extent.
CubeShadow cubeShadow(const Scene &scene, const Node &lightNode);

} // namespace Quorvel
