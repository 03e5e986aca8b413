#include "LightUniforms.h"

#include "FatalExplanation.h"
#include "GlColor.h"
#include "Light.h"
#include "Node.h"
#include "PainterState.h"
#include "Scene.h"

#include <algorithm>
#include <cmath>

namespace Quorvel
{

namespace
{

QVector3D mapNormal(const QMatrix3x3 &matrix, const QVector3D &normal)
{
    return {matrix(0, 0) * normal.x() + matrix(0, 1) * normal.y() + matrix(0, 2) * normal.z(),
            matrix(1, 0) * normal.x() + matrix(1, 1) * normal.y() + matrix(1, 2) * normal.z(),
            matrix(2, 0) * normal.x() + matrix(2, 1) * normal.y() + matrix(2, 2) * normal.z()};
}

float cosOfHalf(float degrees)
{
    constexpr double radiansPerDegree = 0.017453292519943295;
    return float(std::cos(double(degrees) / 2.0 * radiansPerDegree));
}

LightUniforms lightUniforms(const PainterState &state, const Node &node, LightTargets &targets)
{
    const Light &light = *node.lightModel();
    const QMatrix4x4 &sceneToView = state.sceneToView();
    const QVector3D position = (sceneToView * node.worldTransform()).map(QVector3D());
    const QVector3D direction =
        mapNormal(sceneToView.normalMatrix(), lightDirection(*state.scene(), node, targets));

    LightUniforms uniforms;
    uniforms.node = &node;
    // Quirk(light-multiplier): the light's multiplier does not enter;
    // it is carried with the scene, and scenes are lit by their colours alone.
    uniforms.color = toVector(light.color());
    uniforms.position = QVector4D(position, 1.0f);
    if (light.type() == Light::DirectionalLight) {
        uniforms.kind = LightUniforms::Kind::Directional;
        uniforms.position = QVector4D(-direction, 0.0f);
    } else if (light.type() == Light::SpotLight) {
        uniforms.kind = LightUniforms::Kind::Spot;
        uniforms.direction = direction;
        uniforms.cosHotspot = cosOfHalf(light.hotspotBeam());
        uniforms.cosFalloff = cosOfHalf(spotFalloff(light));
    }
    return uniforms;
}

} // namespace

const Node *LightTargets::find(const Scene &scene, const Light &light)
{
    Target &target = m_targets[&light];
    if (!target.node || target.id != light.target()) {
        const Node *lightTarget = scene.findNode(light.target());
        if (!lightTarget) {
            explainFatal(
                QStringLiteral("the light \"%1\" aims at \"%2\", but the scene has no node of that name: "
                               "give the light's target a node, or take the target away")
                    .arg(light.id(), light.target()));
        }
        Q_ASSERT(lightTarget != 0); // NOLINT(modernize-use-nullptr): the text is known to users
        target = {light.target(), lightTarget};
    }
    return target.node;
}

QVector3D lightDirection(const Scene &scene, const Node &lightNode, LightTargets &targets)
{
    const Light &light = *lightNode.lightModel();
    const QMatrix4x4 &world = lightNode.worldTransform();
    if (light.target().isEmpty())
        return mapNormal(world.normalMatrix(), QVector3D(0.0f, 0.0f, -1.0f)).normalized();
    const QMatrix4x4 &targetWorld = targets.find(scene, light)->worldTransform();
    return (targetWorld.map(QVector3D()) - world.map(QVector3D())).normalized();
}

float spotFalloff(const Light &light)
{
    // Quirk(inverted-cone): a spot whose falloff is below its hotspot lights all but its cone;
    // given angles are used as given, and exporters keep the hotspot the narrower one.
    if (light.falloff() != 0.0f)
        return light.falloff();
    return light.hotspotBeam() + std::max(1.0f, 0.1f * light.hotspotBeam());
}

FrameLights frameLights(const PainterState &state, LightTargets &targets)
{
    FrameLights frame;
    for (const Node *node : qAsConst(*state.scene()).nodes()) {
        if (frame.count == MaxLights)
            break;
        const Light *light = node->lightModel();
        if (light && light->type() != Light::AmbientLight)
            frame.lights[size_t(frame.count++)] = lightUniforms(state, *node, targets);
    }
    return frame;
}

} // namespace Quorvel
