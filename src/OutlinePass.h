#pragma once

#include "GlScope.h"

class QGLFramebufferObject;

namespace Quorvel
{

class PainterState;
class RenderTargets;
class ScreenQuad;
class ShadingPrograms;

/// Darkens a picture where normals or depths jump, for the sketch look.
///
/// GUI thread; needs the GL context of the programs current. Keeps references to what it is made from.
class OutlinePass
{
public:
    OutlinePass(ShadingPrograms &programs, const ScreenQuad &quad, const DebugGroup::EntryPoints &debug);

    /// Reads the normal-depth target and `phong`, the picture to be outlined, both of which must exist and
    /// have the same size; writes the state's viewport of the framebuffer that is bound.
    void draw(const PainterState &state, RenderTargets &targets, const QGLFramebufferObject &phong);

private:
    ShadingPrograms &m_programs;
    const ScreenQuad &m_quad;
    const DebugGroup::EntryPoints &m_debug;
};

} // namespace Quorvel
