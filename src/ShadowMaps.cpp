#include "ShadowMaps.h"

#include "CubeMap.h"
#include "GpuGeometry.h"
#include "Node.h"
#include "PainterState.h"
#include "Scene.h"
#include "ShaderPainter.h"
#include "ShadingPrograms.h"
#include "ShadowMatrices.h"
#include "TargetScope.h"

#include <QGLFramebufferObject>

namespace Quorvel
{

/// How one map sees the world.
struct ShadowMaps::View
{
    QMatrix4x4 toClip;
    /// To the space of the values that are written.
    QMatrix4x4 toLight;
    bool isCube;
};

namespace
{

template <typename Table>
auto find(const Table &table, const Light *light) -> typename Table::mapped_type::pointer
{
    const auto entry = table.find(light);
    return entry == table.end() ? nullptr : entry->second.get();
}

/// To a value that is farther than any surface, as far as the map can hold it: 1.
void clearToFarAway()
{
    constexpr float farAway = 9999999.0f;
    glClearColor(farAway, farAway, farAway, farAway);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
}

} // namespace

ShadowMaps::ShadowMaps(ShadingPrograms &programs, const DebugGroup::EntryPoints &debug)
    : m_programs(programs), m_debug(debug)
{
}

ShadowMaps::~ShadowMaps() = default;

QGLFramebufferObject *ShadowMaps::map(const Light *light) const
{
    return find(m_maps, light);
}

CubeMap *ShadowMaps::cubeMap(const Light *light) const
{
    return find(m_cubeMaps, light);
}

QMatrix4x4 ShadowMaps::matrix(const Light *light) const
{
    const auto entry = m_matrices.find(light);
    return entry == m_matrices.end() ? QMatrix4x4() : entry->second;
}

void ShadowMaps::makeMap(const Light *light)
{
    std::unique_ptr<QGLFramebufferObject> &map = m_maps[light];
    if (!map) {
        map = std::make_unique<QGLFramebufferObject>(QSize(mapSize, mapSize), QGLFramebufferObject::Depth,
                                                     GLenum(GL_TEXTURE_2D), GLenum(GL_RGBA));
    }
}

void ShadowMaps::makeCubeMap(const Light *light)
{
    std::unique_ptr<CubeMap> &map = m_cubeMaps[light];
    if (!map)
        map = std::make_unique<CubeMap>(mapSize, GLenum(GL_RGBA), GLenum(GL_UNSIGNED_BYTE));
}

void ShadowMaps::clear()
{
    m_maps.clear();
    m_cubeMaps.clear();
    m_matrices.clear();
}

void ShadowMaps::draw(const PainterState &state, const Node &lightNode, ShaderPainter &geometry,
                      FrontFace ofScene)
{
    const DebugGroup debugGroup(m_debug, "shadow map");
    const CapabilityScope depthTest(GL_DEPTH_TEST);
    CullingScope culling(state.backfaceCulling(), ofScene);
    const TargetScope target(*map(lightNode.lightModel()));
    clearToFarAway();

    const QMatrix4x4 lightMatrix = shadowMatrix(*state.scene(), lightNode);
    // Quirk(shared-light): of a light on several nodes the last in the list gives map and matrix to all;
    // a map is a light's, as memory is short, and files give each lamp a light of its own.
    m_matrices[lightNode.lightModel()] = lightMatrix;
    drawScene(*state.scene(), {lightMatrix, lightMatrix, false}, geometry, culling);
}

void ShadowMaps::drawCube(const PainterState &state, const Node &lightNode, ShaderPainter &geometry,
                          FrontFace ofScene)
{
    const DebugGroup debugGroup(m_debug, "cube shadow map");
    const CapabilityScope depthTest(GL_DEPTH_TEST);
    CullingScope culling(state.backfaceCulling(), ofScene);
    const CubeShadow shadow = cubeShadow(*state.scene(), lightNode);
    m_matrices[lightNode.lightModel()] = shadow.toLight;

    CubeMap &cube = *cubeMap(lightNode.lightModel());
    for (int face = 0; face < 6; ++face) {
        cube.selectFace(face);
        glViewport(0, 0, cube.size(), cube.size());
        clearToFarAway();
        drawScene(*state.scene(), {shadow.toClip[size_t(face)], shadow.toLight, true}, geometry, culling);
    }
    cube.release();
}

void ShadowMaps::drawScene(const Scene &scene, const View &view, ShaderPainter &geometry,
                           CullingScope &culling)
{
    ShadowMapProgram &program = m_programs.shadowMap();
    if (!program.isLinked())
        return;
    program.bind();
    program.set(ShadowMapUniform::CubeMap, view.isCube);
    for (const Node *node : scene.nodes()) {
        // Quirk(invisible-shadows): glass and things of transparency 1 cast the shadow of solid ones;
        // a map holds one depth per texel, and scenes throw shadows from things out of sight.
        if (!node->geometryModel())
            continue;
        const QMatrix4x4 &modelToScene = node->worldTransform();
        culling.enterNode(modelToScene);
        program.set(ShadowMapUniform::ModelToClip, view.toClip * modelToScene);
        program.set(ShadowMapUniform::LightPosTransform, view.toLight * modelToScene);

        const GpuGeometry &buffers = geometry.geometryData(node->geometryModel(), 0.0f);
        buffers.positions.bind();
        glVertexAttribPointer(GLuint(Attribute::Position), 3, GL_FLOAT, GL_FALSE, 0, nullptr);
        glEnableVertexAttribArray(GLuint(Attribute::Position));
        for (const IndexBuffer &group : buffers.groups) {
            group.bind();
            glDrawElements(GL_TRIANGLES, group.count(), GL_UNSIGNED_INT, nullptr);
        }
        glDisableVertexAttribArray(GLuint(Attribute::Position));
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    }
    program.release();
}

} // namespace Quorvel
