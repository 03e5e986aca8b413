#pragma once

#include "GlScope.h"

namespace Quorvel
{

class Node;
class PainterState;
class RenderTargets;
class ShaderPainter;
class ShadingPrograms;

/// Draws what the effects on the finished picture look at: normals and depth of the visible items.
///
/// GUI thread; needs the GL context of the programs current. Keeps references to what it is made from.
class NormalDepthPass
{
public:
    NormalDepthPass(ShadingPrograms &programs, const DebugGroup::EntryPoints &debug);

    /// Reads the state's visible items and their buffers; writes the normal-depth target, which must exist.
    /// Leaves the default framebuffer bound and the viewport over the target.
    void draw(const PainterState &state, RenderTargets &targets, ShaderPainter &geometry, FrontFace ofScene);

private:
    void drawItems(const PainterState &state, ShaderPainter &geometry, CullingScope &culling);
    void drawNode(const PainterState &state, ShaderPainter &geometry, const Node &node);

    ShadingPrograms &m_programs;
    const DebugGroup::EntryPoints &m_debug;
};

} // namespace Quorvel
