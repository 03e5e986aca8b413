#pragma once

#include "GlScope.h"

#include <QMatrix4x4>

#include <memory>
#include <unordered_map>

class QGLFramebufferObject;

namespace Quorvel
{

class CubeMap;
class Light;
class Node;
class PainterState;
class Scene;
class ShaderPainter;
class ShadingPrograms;

/// What the lights of one scene see, as depth-like values, for the lighting pass to compare with.
///
/// A map is made once for a light, reused and drawn anew for every frame; a light on several nodes has one
/// all the same. GUI thread; every member needs the GL context of the programs current, the destructor
/// included. Keeps references to what it is made from.
class ShadowMaps
{
public:
    /// Edge in texels.
    static constexpr int mapSize = 512;

    ShadowMaps(ShadingPrograms &programs, const DebugGroup::EntryPoints &debug);
    ShadowMaps(const ShadowMaps &) = delete;
    ShadowMaps &operator=(const ShadowMaps &) = delete;
    ~ShadowMaps();

    /// The light's map, null if it was never made.
    QGLFramebufferObject *map(const Light *light) const;
    CubeMap *cubeMap(const Light *light) const;
    /// World space to the space of the light's map, from when that was last drawn: scaled clip space (see
    /// shadowMatrix()) or, for a cube map, scaled space around the light (see CubeShadow).
    QMatrix4x4 matrix(const Light *light) const;

    /// Makes the light's map unless it is there. Its contents are undefined.
    void makeMap(const Light *light);
    void makeCubeMap(const Light *light);
    void clear();

    /// Reads the scene and its buffers; writes the map of the node's spot or directional light, which must
    /// exist, and the light's matrix. Texels hold z of the scaled clip space, clamped to 0..1, or 1 where
    /// nothing is. Leaves the default framebuffer bound and the viewport over the map.
    void draw(const PainterState &state, const Node &lightNode, ShaderPainter &geometry, FrontFace ofScene);
    /// As above for the cube map of a point light. Texels hold the squared distance over the squared extent.
    void drawCube(const PainterState &state, const Node &lightNode, ShaderPainter &geometry,
                  FrontFace ofScene);

private:
    struct View;
    void drawScene(const Scene &scene, const View &view, ShaderPainter &geometry, CullingScope &culling);

    ShadingPrograms &m_programs;
    const DebugGroup::EntryPoints &m_debug;
    std::unordered_map<const Light *, std::unique_ptr<QGLFramebufferObject>> m_maps;
    std::unordered_map<const Light *, std::unique_ptr<CubeMap>> m_cubeMaps;
    std::unordered_map<const Light *, QMatrix4x4> m_matrices;
};

} // namespace Quorvel
