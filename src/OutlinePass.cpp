#include "OutlinePass.h"

#include "PainterState.h"
#include "RenderTargets.h"
#include "ScreenQuad.h"
#include "ShadingPrograms.h"
#include "TargetScope.h"
#include "TextureScope.h"

#include <QGLFramebufferObject>

namespace Quorvel
{

namespace
{

/// Which texture unit each sampler reads.
enum TextureUnit { NormalDepthUnit = 0, PhongUnit = 1 };

} // namespace

OutlinePass::OutlinePass(ShadingPrograms &programs, const ScreenQuad &quad,
                         const DebugGroup::EntryPoints &debug)
    : m_programs(programs), m_quad(quad), m_debug(debug)
{
}

void OutlinePass::draw(const PainterState &state, RenderTargets &targets, const QGLFramebufferObject &phong)
{
    const DebugGroup debugGroup(m_debug, "outlines");
    OutlineProgram &program = m_programs.outline();
    if (!program.isLinked())
        return;
    setScreenViewport(state.viewport());
    glDisable(GL_DEPTH_TEST);
    const TextureScope textures;
    textures.bind(NormalDepthUnit, targets.normalDepth().texture(), GL_NEAREST);
    textures.bind(PhongUnit, phong.texture(), GL_LINEAR);

    program.bind();
    program.set(OutlineUniform::NormalDepthMap, int(NormalDepthUnit));
    program.set(OutlineUniform::PhongMap, int(PhongUnit));
    program.set(OutlineUniform::ScreenW, float(phong.width()));
    program.set(OutlineUniform::ScreenH, float(phong.height()));
    m_quad.draw();
    program.release();
}

} // namespace Quorvel
