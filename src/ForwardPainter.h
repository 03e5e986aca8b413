#pragma once

#include "AmbientOcclusionPass.h"
#include "GlScope.h"
#include "LightMap.h"
#include "LightUniforms.h"
#include "NormalDepthPass.h"
#include "OutlinePass.h"
#include "RenderTargets.h"
#include "ScreenQuad.h"
#include "ShaderPainter.h"
#include "ShadingPrograms.h"
#include "ShadowMaps.h"

#include <QRectF>

#include <memory>

namespace Quorvel
{

class Light;
class Node;
class RandomTextures;

/// Draws a scene with Phong lighting of up to three lights in one pass, or with its light map; with shadows,
/// ambient occlusion and outlines where the state asks for them.
///
/// Programs are shared with all other painters of the context's group; everything else on the GPU is the
/// painter's own.
class ForwardPainter : public ShaderPainter
{
public:
    /// Compiles the lighting programs if no painter has done so yet, and clears what an earlier one left in
    /// their spot flags.
    ForwardPainter();
    ~ForwardPainter() override;

    void paint(PainterState &state) override;
    void prepare(PainterState &state) override;
    void release() override;

    /// Whether a light map that lies beside the scene is used, as is the default. Before prepare().
    void setLightMapUsed(bool used) { m_lightMapUsed = used; }
    /// Whether the scene is lit by a light map; known once prepared.
    bool isLightMapped() const { return m_lightMap.isLoaded(); }

    /// Draws the map of a spot or directional light; it must have been made.
    void renderShadowMap(const PainterState &state, const Node &lightNode);
    /// Draws the cube map of a point light; it must have been made. No frame does: point lights cast no
    /// shadows, but a light whose cube map is there is lit with it bound.
    void renderCubeShadowMap(const PainterState &state, const Node &lightNode);

    ShadowMaps &shadowMaps() { return m_shadowMaps; }

private:
    /// Makes what the frame needs and is not there, or has another size than the viewport.
    void createRenderTargets(const PainterState &state);
    void loadLightMap(const PainterState &state);

    /// Reads the scene and its GPU data; writes one shadow map for each spot or directional light that casts
    /// shadows.
    void renderShadowMaps(const PainterState &state);
    /// Reads the scene, its GPU data, shadow maps with the rotations of their taps, and the light map (or
    /// binds the last frame's occlusion target in its place); writes colour and depth of the bound
    /// framebuffer.
    void lightingPass(const PainterState &state);
    /// As above; writes the lighting target.
    void lightingPassIntoTarget(const PainterState &state);
    void setSamplers(const PainterState &state, ShaderProgram &program);
    void bindShadow(int i, const Light &light, const Node &lightNode, ShaderProgram &program) const;
    void setLights(const PainterState &state, ShaderProgram &program);
    void drawOpaque(const PainterState &state, ShaderProgram &program, CullingScope &culling);
    void drawTransparent(const PainterState &state, ShaderProgram &program, CullingScope &culling);
    void drawNode(const PainterState &state, ShaderProgram &program, const Node &node);

    ShadingPrograms &m_programs;
    DebugGroup::EntryPoints m_debug;
    ScreenQuad m_quad;
    NormalDepthPass m_normalDepthPass;
    AmbientOcclusionPass m_ambientOcclusionPass;
    OutlinePass m_outlinePass;

    QRectF m_lastViewport;
    RenderTargets m_targets;
    std::unique_ptr<RandomTextures> m_random;
    bool m_lightMapUsed = true;
    LightMap m_lightMap;
    LightTargets m_lightTargets;
    ShadowMaps m_shadowMaps;
};

} // namespace Quorvel
