#include "NormalDepthPass.h"

#include "Geometry.h"
#include "GpuGeometry.h"
#include "Node.h"
#include "PainterState.h"
#include "RenderTargets.h"
#include "ShaderPainter.h"
#include "ShadingPrograms.h"
#include "TargetScope.h"

namespace Quorvel
{

namespace
{

void feed(const VertexBuffer &buffer, Attribute attribute)
{
    buffer.bind();
    glVertexAttribPointer(GLuint(attribute), 3, GL_FLOAT, GL_FALSE, 0, nullptr);
    glEnableVertexAttribArray(GLuint(attribute));
}

} // namespace

NormalDepthPass::NormalDepthPass(ShadingPrograms &programs, const DebugGroup::EntryPoints &debug)
    : m_programs(programs), m_debug(debug)
{
}

void NormalDepthPass::draw(const PainterState &state, RenderTargets &targets, ShaderPainter &geometry,
                           FrontFace ofScene)
{
    const DebugGroup debugGroup(m_debug, "normals and depth");
    const TargetScope target(targets.normalDepth());
    const CapabilityScope depthTest(GL_DEPTH_TEST);
    CullingScope culling(state.backfaceCulling(), ofScene);
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);

    NormalDepthProgram &program = m_programs.normalDepth();
    if (!program.isLinked())
        return;
    program.bind();
    // Quirk(depth-range): depths are divided by the far distance itself, not by far minus near;
    // the tolerances of the passes that read them are chosen for that.
    program.set(NormalDepthUniform::ZRange, state.zfar());
    program.set(NormalDepthUniform::ZNear, state.znear());
    drawItems(state, geometry, culling);
    program.release();
}

void NormalDepthPass::drawItems(const PainterState &state, ShaderPainter &geometry, CullingScope &culling)
{
    for (const VisibleItem &item : state.frustum().visibleItems()) {
        // Quirk(invisible-normals): an item of transparency 1, which is nowhere drawn, is drawn here;
        // hidden things in scenes keep their outlines by it.
        if (item.transparency > 1.0f)
            continue;
        culling.enterNode(item.node->worldTransform());
        drawNode(state, geometry, *item.node);
    }
}

void NormalDepthPass::drawNode(const PainterState &state, ShaderPainter &geometry, const Node &node)
{
    NormalDepthProgram &program = m_programs.normalDepth();
    const QMatrix4x4 modelToView = state.sceneToView() * node.worldTransform();
    program.set(NormalDepthUniform::ModelToView, modelToView);
    program.set(NormalDepthUniform::ModelToViewNormal, modelToView.normalMatrix());
    program.set(NormalDepthUniform::ModelToClip, state.viewToClip() * modelToView);

    const GpuGeometry &data = geometry.geometryData(node.geometryModel(), 0.0f);
    feed(data.positions, Attribute::Position);
    feed(data.normals, Attribute::Normal);
    for (const IndexBuffer &group : data.groups) {
        group.bind();
        glDrawElements(GL_TRIANGLES, group.count(), GL_UNSIGNED_INT, nullptr);
        group.release();
    }
    for (const Attribute attribute : {Attribute::Position, Attribute::Normal})
        glDisableVertexAttribArray(GLuint(attribute));
    data.normals.release();
}

} // namespace Quorvel
