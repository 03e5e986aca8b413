#pragma once

#include "GlScope.h"

class QGLFramebufferObject;
class QSize;

namespace Quorvel
{

class PainterState;
class RenderTargets;
class ScreenQuad;
class ShadingPrograms;

/// Darkens the lit scene where other surfaces stand close before its own.
///
/// GUI thread; needs the GL context of the programs current. Keeps references to what it is made from.
class AmbientOcclusionPass
{
public:
    AmbientOcclusionPass(ShadingPrograms &programs, const ScreenQuad &quad,
                         const DebugGroup::EntryPoints &debug);

    /// Reads the normal-depth and lighting targets and a texture of random bytes, whose sides must be powers
    /// of two; writes the blur and occlusion targets and, unless `intoTexture`, the state's viewport of the
    /// default framebuffer. The targets must exist. With `intoTexture` the result is in the occlusion target.
    /// Leaves the default framebuffer bound.
    void draw(const PainterState &state, RenderTargets &targets, const QGLFramebufferObject &randomNormals,
              bool intoTexture);

private:
    void drawOcclusion(const PainterState &state, RenderTargets &targets,
                       const QGLFramebufferObject &randomNormals);
    void blurVertically(RenderTargets &targets);
    void blurHorizontally(const PainterState &state, RenderTargets &targets, bool intoTexture);
    void drawBlur(const QSize &size, bool horizontally);

    ShadingPrograms &m_programs;
    const ScreenQuad &m_quad;
    const DebugGroup::EntryPoints &m_debug;
};

} // namespace Quorvel
