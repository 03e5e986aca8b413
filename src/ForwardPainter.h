#pragma once

#include "GlScope.h"
#include "LightMap.h"
#include "LightUniforms.h"
#include "ShaderPainter.h"
#include "ShadingPrograms.h"

#include <QRectF>

namespace Quorvel
{

class Node;

/// Draws a scene with Phong lighting of up to three lights in one pass, or with its light map.
///
/// Programs are shared with all other painters; everything else on the GPU is the painter's own.
class ForwardPainter : public ShaderPainter
{
public:
    /// Compiles the lighting programs if no painter has done so yet.
    ForwardPainter();

    void paint(PainterState &state) override;
    void prepare(PainterState &state) override;
    void release() override;

private:
    void createRenderTargets(const PainterState &state);

    /// Reads the scene, its GPU data and the light map; writes colour and depth of the bound framebuffer.
    void lightingPass(const PainterState &state);
    void setSamplers(ShaderProgram &program) const;
    void setLights(const PainterState &state, ShaderProgram &program);
    void drawOpaque(const PainterState &state, ShaderProgram &program, CullingScope &culling);
    void drawTransparent(const PainterState &state, ShaderProgram &program, CullingScope &culling);
    void drawNode(const PainterState &state, ShaderProgram &program, const Node &node);

    ShadingPrograms &m_programs;
    DebugGroup::EntryPoints m_debug;
    QRectF m_lastViewport;
    LightMap m_lightMap;
    LightTargets m_lightTargets;
};

} // namespace Quorvel
