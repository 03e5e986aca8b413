#include "ForwardPainter.h"

#include "CubeMap.h"
#include "Geometry.h"
#include "GlErrors.h"
#include "GpuGeometry.h"
#include "Light.h"
#include "MaterialUniforms.h"
#include "Node.h"
#include "PainterState.h"
#include "RandomTextures.h"
#include "Scene.h"
#include "TargetScope.h"

#include <QFile>
#include <QGLFramebufferObject>

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

/// Binds a texture to a unit; the filter serves both ways.
void bindTexture(int unit, GLenum target, GLuint texture, GLint filter, GLint wrap)
{
    activate(unit);
    glBindTexture(target, texture);
    glTexParameteri(target, GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(target, GL_TEXTURE_MAG_FILTER, filter);
    glTexParameteri(target, GL_TEXTURE_WRAP_S, wrap);
    glTexParameteri(target, GL_TEXTURE_WRAP_T, wrap);
}

/// Whole pixels, at least one each way: a window that is squeezed flat still has targets.
QSize targetSize(const QRectF &viewport)
{
    return QSize(int(viewport.width()), int(viewport.height())).expandedTo(QSize(1, 1));
}

bool castsMappedShadow(const Light &light)
{
    return light.shadow() && (light.type() == Light::SpotLight || light.type() == Light::DirectionalLight);
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
        // every painter starts from cleared flags, so only lights that change while it draws can meet one
        // set.
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

ForwardPainter::ForwardPainter()
    : m_programs(ShadingPrograms::ofCurrentContext())
    , m_normalDepthPass(m_programs, m_debug)
    , m_ambientOcclusionPass(m_programs, m_quad, m_debug)
    , m_outlinePass(m_programs, m_quad, m_debug)
    , m_shadowMaps(m_programs, m_debug)
{
    m_programs.buildLighting();
    m_programs.clearSpotFlags();
}

ForwardPainter::~ForwardPainter() = default;

void ForwardPainter::paint(PainterState &state)
{
    PainterState frame(state);
    if (frame.outlines())
        applyOutlineLook(&frame);
    ShaderPainter::paint(frame);
    const bool needsTargets = frame.ambientOcclusion() || frame.outlines();
    if (frame.viewport() != m_lastViewport || (needsTargets && !m_targets.exist()) || !m_random) {
        createRenderTargets(frame);
        m_lastViewport = frame.viewport();
    }

    if (!frame.lowQuality() && frame.castShadows() && !m_lightMap.isLoaded())
        renderShadowMaps(frame);

    if (frame.ambientOcclusion() && !frame.lowQuality()) {
        lightingPassIntoTarget(frame);
        m_normalDepthPass.draw(frame, m_targets, *this, frontFace());
        m_ambientOcclusionPass.draw(frame, m_targets, m_random->normals(), frame.outlines());
        if (frame.outlines())
            m_outlinePass.draw(frame, m_targets, m_targets.occlusion());
    } else if (!frame.outlines() || frame.lowQuality()) {
        setScreenViewport(frame.viewport());
        lightingPass(frame);
    } else {
        lightingPassIntoTarget(frame);
        m_normalDepthPass.draw(frame, m_targets, *this, frontFace());
        m_outlinePass.draw(frame, m_targets, m_targets.lighting());
    }
}

void ForwardPainter::prepare(PainterState &state)
{
    ShaderPainter::prepare(state);
    createRenderTargets(state);
}

void ForwardPainter::release()
{
    ShaderPainter::release();
    m_targets.clear();
    m_random.reset();
    m_shadowMaps.clear();
    m_lightMap = LightMap();
    m_lightTargets = LightTargets();
    m_lastViewport = QRectF();
}

void ForwardPainter::createRenderTargets(const PainterState &state)
{
    const QSize size = targetSize(state.viewport());
    if (state.ambientOcclusion() || state.outlines())
        m_targets.resize(size);
    else if (m_targets.exist() && m_targets.size() != size)
        m_targets.clear();
    if (!m_random)
        m_random = std::make_unique<RandomTextures>();
    loadLightMap(state);
}

void ForwardPainter::loadLightMap(const PainterState &state)
{
    const QString lightMapFile = LightMap::fileName(state.scene()->name());
    if (m_lightMapUsed && !m_lightMap.isLoaded() && QFile::exists(lightMapFile)) {
        if (m_lightMap.load(lightMapFile))
            logGlError(__FILE__, __LINE__);
    }
}

void ForwardPainter::renderShadowMaps(const PainterState &state)
{
    // Quirk(point-shadows): a point light casts no shadows, though its cube map could be drawn;
    // six more views of the scene are too much for a frame of the devices this is made for.
    for (const Node *node : qAsConst(*state.scene()).nodes()) {
        const Light *light = node->lightModel();
        if (!light || !castsMappedShadow(*light))
            continue;
        m_shadowMaps.makeMap(light);
        renderShadowMap(state, *node);
    }
}

void ForwardPainter::renderShadowMap(const PainterState &state, const Node &lightNode)
{
    const Light *light = lightNode.lightModel();
    Q_ASSERT(light && light->type() != Light::PointLight);
    const QGLFramebufferObject *shadowMap = m_shadowMaps.map(light);
    Q_ASSERT(shadowMap);
    m_shadowMaps.draw(state, lightNode, *this, frontFace());
}

void ForwardPainter::renderCubeShadowMap(const PainterState &state, const Node &lightNode)
{
    const Light *light = lightNode.lightModel();
    Q_ASSERT(light && light->type() == Light::PointLight);
    const CubeMap *cubemap = m_shadowMaps.cubeMap(light);
    Q_ASSERT(cubemap);
    m_shadowMaps.drawCube(state, lightNode, *this, frontFace());
}

void ForwardPainter::lightingPassIntoTarget(const PainterState &state)
{
    const TargetScope target(m_targets.lighting());
    lightingPass(state);
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
    if (!program.isLinked())
        return;
    const TexturingScope texturing(state.castShadows());
    program.bind();
    setSamplers(state, program);
    setLights(state, program);
    drawOpaque(state, program, culling);
    drawTransparent(state, program, culling);
    program.release();
    unbindTextures();
}

void ForwardPainter::setSamplers(const PainterState &state, ShaderProgram &program)
{
    for (int i = 0; i < MaxLights; ++i) {
        program.set(element(Uniform::ShadowMap0, i), ShadowMapUnit + i);
        program.set(element(Uniform::CubeShadowMap0, i), CubeShadowMapUnit + i);
    }
    program.set(Uniform::OcclusionMap, int(OcclusionMapUnit));
    program.set(Uniform::PcfRotationMap, int(PcfRotationUnit));

    const bool occlusion = state.ambientOcclusion() && !m_lightMap.isLoaded();
    if (m_lightMap.isLoaded()) {
        activate(OcclusionMapUnit);
        m_lightMap.bind();
    } else if (occlusion) {
        bindTexture(OcclusionMapUnit, GL_TEXTURE_2D, m_targets.occlusion().texture(), GL_LINEAR,
                    GL_CLAMP_TO_EDGE);
    }
    program.set(Uniform::Occlusion, occlusion);
    if (state.castShadows()) {
        bindTexture(PcfRotationUnit, GL_TEXTURE_2D, m_random->rotations().texture(), GL_NEAREST, GL_REPEAT);
    }
}

void ForwardPainter::setLights(const PainterState &state, ShaderProgram &program)
{
    const FrameLights frame = frameLights(state, m_lightTargets);
    for (int i = 0; i < frame.count; ++i) {
        const LightUniforms &uniforms = frame.lights[size_t(i)];
        setLight(program, i, uniforms);
        const Light &light = *uniforms.node->lightModel();
        if (state.castShadows() && light.shadow())
            bindShadow(i, light, *uniforms.node, program);
    }
    program.set(Uniform::LightCount, frame.count);
}

void ForwardPainter::bindShadow(int i, const Light &light, const Node &lightNode,
                                ShaderProgram &program) const
{
    const QMatrix4x4 shadowMatrix = m_shadowMaps.matrix(&light);
    if (const QGLFramebufferObject *map = m_shadowMaps.map(&light)) {
        bindTexture(ShadowMapUnit + i, GL_TEXTURE_2D, map->texture(), GL_NEAREST, GL_CLAMP_TO_EDGE);
        program.set(element(Uniform::LightsShadowMatrix, i), shadowMatrix);
        program.set(element(Uniform::LightsShadowMap, i), true);
    } else if (const CubeMap *cubeMap = m_shadowMaps.cubeMap(&light)) {
        const QVector4D position(lightNode.worldTransform().map(QVector3D()), 1.0f);
        bindTexture(CubeShadowMapUnit + i, GL_TEXTURE_CUBE_MAP, cubeMap->texture(), GL_NEAREST,
                    GL_CLAMP_TO_EDGE);
        program.set(element(Uniform::LightsScenePos, i), shadowMatrix * position);
        program.set(element(Uniform::LightsShadowMatrix, i), shadowMatrix);
        program.set(element(Uniform::LightsCubeShadowMap, i), true);
    }
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
