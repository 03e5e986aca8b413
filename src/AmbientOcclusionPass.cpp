#include "AmbientOcclusionPass.h"

#include "PainterState.h"
#include "RenderTargets.h"
#include "ScreenQuad.h"
#include "ShadingPrograms.h"
#include "TargetScope.h"
#include "TextureScope.h"

#include <QGLFramebufferObject>

#include <optional>

namespace Quorvel
{

namespace
{

/// Which texture unit each sampler reads.
enum TextureUnit { NormalDepthUnit = 0, RandomNormalUnit = 1, OcclusionUnit = 1, LightingUnit = 2 };

/// Depth of the scene's origin in units of the clip range.
float originDepth(const PainterState &state)
{
    // Quirk(origin-radius): how far samples spread follows the scene's origin and not the pixel;
    // scenes stand around their origin, so that the effect keeps its size as the eye comes closer.
    const QVector4D origin = state.sceneToView() * QVector4D(0, 0, 0, 1);
    return -origin.z() / (state.zfar() - state.znear());
}

} // namespace

AmbientOcclusionPass::AmbientOcclusionPass(ShadingPrograms &programs, const ScreenQuad &quad,
                                           const DebugGroup::EntryPoints &debug)
    : m_programs(programs), m_quad(quad), m_debug(debug)
{
}

void AmbientOcclusionPass::draw(const PainterState &state, RenderTargets &targets,
                                const QGLFramebufferObject &randomNormals, bool intoTexture)
{
    const DebugGroup debugGroup(m_debug, "ambient occlusion");
    if (!m_programs.ambientOcclusion().isLinked() || !m_programs.occlusionBlur().isLinked())
        return;
    glClearColor(0, 0, 0, 0);
    glDisable(GL_DEPTH_TEST);
    drawOcclusion(state, targets, randomNormals);
    blurVertically(targets);
    blurHorizontally(state, targets, intoTexture);
}

void AmbientOcclusionPass::drawOcclusion(const PainterState &state, RenderTargets &targets,
                                         const QGLFramebufferObject &randomNormals)
{
    const TargetScope target(targets.occlusion());
    const TextureScope textures;
    textures.bind(NormalDepthUnit, targets.normalDepth().texture(), GL_NEAREST);
    textures.bind(RandomNormalUnit, randomNormals.texture(), GL_NEAREST, GL_REPEAT);

    OcclusionProgram &program = m_programs.ambientOcclusion();
    program.bind();
    program.set(OcclusionUniform::ViewZ, originDepth(state));
    program.set(OcclusionUniform::NormalDepthMap, int(NormalDepthUnit));
    program.set(OcclusionUniform::RandomNormalMap, int(RandomNormalUnit));
    program.set(OcclusionUniform::ViewToClip, state.viewToClip());
    program.set(OcclusionUniform::ViewToClipInverse, state.viewToClip().inverted());
    m_quad.draw();
    program.release();
}

void AmbientOcclusionPass::blurVertically(RenderTargets &targets)
{
    const TargetScope target(targets.blur());
    const TextureScope textures;
    textures.bind(NormalDepthUnit, targets.normalDepth().texture(), GL_NEAREST);
    textures.bind(OcclusionUnit, targets.occlusion().texture(), GL_LINEAR);
    drawBlur(targets.size(), false);
}

void AmbientOcclusionPass::blurHorizontally(const PainterState &state, RenderTargets &targets,
                                            bool intoTexture)
{
    std::optional<TargetScope> target;
    if (intoTexture)
        target.emplace(targets.occlusion());
    else
        setScreenViewport(state.viewport());
    const TextureScope textures;
    textures.bind(NormalDepthUnit, targets.normalDepth().texture(), GL_NEAREST);
    textures.bind(OcclusionUnit, targets.blur().texture(), GL_LINEAR);
    textures.bind(LightingUnit, targets.lighting().texture(), GL_LINEAR);
    drawBlur(targets.size(), true);
}

void AmbientOcclusionPass::drawBlur(const QSize &size, bool horizontally)
{
    BlurProgram &program = m_programs.occlusionBlur();
    program.bind();
    program.set(BlurUniform::NormalDepthMap, int(NormalDepthUnit));
    program.set(BlurUniform::SsaoMap, int(OcclusionUnit));
    program.set(BlurUniform::DirectLightingMap, int(LightingUnit));
    program.set(BlurUniform::BlurX, horizontally);
    program.set(BlurUniform::ScreenW, float(size.width()));
    program.set(BlurUniform::ScreenH, float(size.height()));
    m_quad.draw();
    program.release();
}

} // namespace Quorvel
