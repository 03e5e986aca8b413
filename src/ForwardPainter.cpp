#include "ForwardPainter.h"

#include "Geometry.h"
#include "GlErrors.h"
#include "GpuGeometry.h"
#include "MaterialUniforms.h"
#include "Node.h"
#include "PainterState.h"
#include "Scene.h"

#include <QFile>

#include <algorithm>

namespace Quorvel
{

namespace
{

/// Which texture unit each sampler of the lighting programs reads.
enum TextureUnit {
    ShadowMapUnit = 0,
    CubeShadowMapUnit = 3,
    OcclusionMapUnit = 6,
    PcfRotationUnit = 7,
    UnitCount = 8
};

void activate(int unit)
{
    glActiveTexture(GLenum(GL_TEXTURE0 + unit));
}

void setViewport(const QRectF &viewport)
{
    glViewport(GLint(viewport.x()), GLint(viewport.y()), GLsizei(viewport.width()),
               GLsizei(viewport.height()));
}

void clear(const QColor &color)
{
    glClearColor(GLclampf(color.redF()), GLclampf(color.greenF()), GLclampf(color.blueF()),
                 GLclampf(color.alphaF()));
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

/// Leaves no texture behind on the units of the lighting programs.
void unbindTextures()
{
    for (int unit = 0; unit < UnitCount; ++unit) {
        activate(unit);
        const bool isCube = unit >= CubeShadowMapUnit && unit < OcclusionMapUnit;
        glBindTexture(isCube ? GL_TEXTURE_CUBE_MAP : GL_TEXTURE_2D, 0);
    }
    activate(0);
}

void feed(const VertexBuffer &buffer, Attribute attribute, int components)
{
    buffer.bind();
    glVertexAttribPointer(GLuint(attribute), components, GL_FLOAT, GL_FALSE, 0, nullptr);
    glEnableVertexAttribArray(GLuint(attribute));
}

void setLight(ShaderProgram &program, int i, const LightUniforms &light)
{
    program.set(element(Uniform::LightsColor, i), light.color);
    program.set(element(Uniform::LightsShadowMap, i), false);
    program.set(element(Uniform::LightsCubeShadowMap, i), false);
    program.set(element(Uniform::LightsPos, i), light.position);
    switch (light.kind) {
    case LightUniforms::Kind::Spot:
        program.set(element(Uniform::LightsDirection, i), light.direction);
        program.set(element(Uniform::LightsCosHotspot, i), light.cosHotspot);
        program.set(element(Uniform::LightsCosFalloff, i), light.cosFalloff);
        program.set(element(Uniform::LightsIsSpot, i), true);
        break;
    case LightUniforms::Kind::Point:
        program.set(element(Uniform::LightsIsSpot, i), false);
        break;
    case LightUniforms::Kind::Directional:
        // Quirk(directional-spot-flag): a directional light keeps the spot flag that its slot held last;
        // the flag starts cleared, and only a scene shown after another can meet it set.
        break;
    }
}

void setMaterial(ShaderProgram &program, const MaterialUniforms &material)
{
    program.set(Uniform::MaterialAmbient, material.ambient);
    program.set(Uniform::MaterialDiffuse, material.diffuse);
    program.set(Uniform::MaterialSpecular, material.specular);
    program.set(Uniform::MaterialShininess, material.shininess);
    program.set(Uniform::MaterialTransparency, material.transparency);
}

/// The sketch look's paper colour and its extra light.
void applyOutlineLook(PainterState *frame)
{
    frame->setBackgroundColor(QColor(200, 208, 220, 255));
    frame->setAmbient(frame->ambient() + QVector4D(0.2f, 0.2f, 0.2f, 0.2f));
}

} // namespace

ForwardPainter::ForwardPainter() : m_programs(ShadingPrograms::ofCurrentContext())
{
    m_programs.buildLighting();
}

void ForwardPainter::paint(PainterState &state)
{
    PainterState frame(state);
    if (frame.outlines())
        applyOutlineLook(&frame);
    ShaderPainter::paint(frame);
    if (frame.viewport() != m_lastViewport) {
        createRenderTargets(frame);
        m_lastViewport = frame.viewport();
    }
    setViewport(frame.viewport());
    lightingPass(frame);
}

void ForwardPainter::prepare(PainterState &state)
{
    ShaderPainter::prepare(state);
    createRenderTargets(state);
}

void ForwardPainter::release()
{
    ShaderPainter::release();
    m_lightMap = LightMap();
    m_lightTargets = LightTargets();
    m_lastViewport = QRectF();
}

void ForwardPainter::createRenderTargets(const PainterState &state)
{
    const QString lightMapFile = LightMap::fileName(state.scene()->name());
    if (!m_lightMap.isLoaded() && QFile::exists(lightMapFile)) {
        if (m_lightMap.load(lightMapFile))
            logGlError(__FILE__, __LINE__);
    }
}

void ForwardPainter::lightingPass(const PainterState &state)
{
    const DebugGroup debugGroup(m_debug, "lighting");
    clear(state.backgroundColor());
    const CapabilityScope depthTest(GL_DEPTH_TEST);
    CullingScope culling(state.backfaceCulling(), frontFace());

    const bool singlePassLinked = m_programs.program(Shading::SinglePassPhong).isLinked();
    ShaderProgram &program =
        m_programs.program(chooseShading(state.lowQuality(), m_lightMap.isLoaded(), singlePassLinked));
    program.bind();
    setSamplers(program);
    setLights(state, program);
    drawOpaque(state, program, culling);
    drawTransparent(state, program, culling);
    program.release();
    unbindTextures();
}

void ForwardPainter::setSamplers(ShaderProgram &program) const
{
    for (int i = 0; i < MaxLights; ++i) {
        program.set(element(Uniform::ShadowMap0, i), ShadowMapUnit + i);
        program.set(element(Uniform::CubeShadowMap0, i), CubeShadowMapUnit + i);
    }
    program.set(Uniform::OcclusionMap, int(OcclusionMapUnit));
    program.set(Uniform::PcfRotationMap, int(PcfRotationUnit));
    if (m_lightMap.isLoaded()) {
        activate(OcclusionMapUnit);
        m_lightMap.bind();
    }
    program.set(Uniform::Occlusion, false);
}

void ForwardPainter::setLights(const PainterState &state, ShaderProgram &program)
{
    const FrameLights frame = frameLights(state, m_lightTargets);
    for (int i = 0; i < frame.count; ++i)
        setLight(program, i, frame.lights[size_t(i)]);
    program.set(Uniform::LightCount, frame.count);
}

void ForwardPainter::drawOpaque(const PainterState &state, ShaderProgram &program, CullingScope &culling)
{
    for (const VisibleItem &item : state.frustum().visibleItems()) {
        if (!qFuzzyCompare(item.transparency, 0.0f))
            continue;
        culling.enterNode(item.node->worldTransform());
        drawNode(state, program, *item.node);
    }
}

void ForwardPainter::drawTransparent(const PainterState &state, ShaderProgram &program, CullingScope &culling)
{
    const TransparencyScope transparency;
    const QVector<VisibleItem> &items = state.frustum().visibleItems();
    // Quirk(item-transparency): one transparent group makes its whole item so, unsorted, and hidden at 1;
    // scenes hide things with it, and sorting would change how they look.
    std::for_each(items.crbegin(), items.crend(), [&](const VisibleItem &item) {
        if (qFuzzyCompare(item.transparency, 0.0f) || !(item.transparency < 1.0f))
            return;
        culling.enterNode(item.node->worldTransform());
        drawNode(state, program, *item.node);
    });
}

void ForwardPainter::drawNode(const PainterState &state, ShaderProgram &program, const Node &node)
{
    const QMatrix4x4 &modelToScene = node.worldTransform();
    const QMatrix4x4 modelToView = state.sceneToView() * modelToScene;
    program.set(Uniform::ModelToScene, modelToScene);
    program.set(Uniform::ModelToView, modelToView);
    program.set(Uniform::ModelToViewNormal, modelToView.normalMatrix());
    program.set(Uniform::ModelToClip, state.viewToClip() * modelToView);

    const GpuGeometry &geometry = geometryData(node.geometryModel(), 0.0f);
    feed(geometry.positions, Attribute::Position, 3);
    feed(geometry.normals, Attribute::Normal, 3);
    feed(geometry.texcoords, Attribute::Texcoord, 2);
    const QVector<Material *> &materials = node.groupMaterials();
    for (size_t i = 0; i < geometry.groups.size(); ++i) {
        const IndexBuffer &group = geometry.groups[i];
        setMaterial(program, materialUniforms(materials.value(int(i)), state.ambient()));
        group.bind();
        glDrawElements(GL_TRIANGLES, group.count(), GL_UNSIGNED_INT, nullptr);
    }
    for (const Attribute attribute : {Attribute::Position, Attribute::Normal, Attribute::Texcoord})
        glDisableVertexAttribArray(GLuint(attribute));
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
}

} // namespace Quorvel
