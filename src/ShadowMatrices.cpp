#include "ShadowMatrices.h"

#include "Light.h"
#include "LightUniforms.h"
#include "Node.h"
#include "PainterState.h"
#include "Scene.h"

#include <algorithm>

namespace Quorvel
{

namespace
{

struct Face
{
    QVector3D direction;
    QVector3D up;
};

const std::array<Face, 6> &faces()
{
    static const std::array<Face, 6> faces = {{
        {{1, 0, 0}, {0, -1, 0}},
        {{-1, 0, 0}, {0, -1, 0}},
        {{0, 1, 0}, {0, 0, 1}},
        {{0, -1, 0}, {0, 0, -1}},
        {{0, 0, 1}, {0, -1, 0}},
        {{0, 0, -1}, {0, -1, 0}},
    }};
    return faces;
}

float extentAround(const Scene &scene, const QVector3D &position)
{
    float extent = 0.0f;
    for (const Node *node : scene.nodes()) {
        const BoundingSphere bounds = node->boundingSphere();
        if (bounds.radius > 0.0f)
            extent = std::max(extent, (bounds.centre - position).length() + bounds.radius);
    }
    return extent > 0.0f ? extent : 1.0f;
}

} // namespace

QMatrix4x4 lightProjection(const Light &light, const ClipDistances &clip)
{
    QMatrix4x4 projection;
    if (light.type() == Light::DirectionalLight) {
        // Quirk(directional-window): a directional light sees 1000 x 1000 units, however large the scene is;
        // files are lit for it, and a window that is fitted to the scene would change their shadows.
        projection.ortho(-500.0f, 500.0f, -500.0f, 500.0f, clip.near, clip.far);
    } else {
        projection.perspective(spotFalloff(light), 1.0f, clip.near, clip.far);
    }
    return projection;
}

QMatrix4x4 shadowMatrix(const Scene &scene, const Node &lightNode)
{
    // Quirk(spot-shadow-axis): a light with a target aims there, but its map looks along the node's -z axis;
    // exporters that write a target turn the node to it as well, and others' shadows stay as they were.
    const QMatrix4x4 lightView = lightNode.worldTransform().inverted();
    const ClipDistances clip = clipDistances(scene, lightView);
    // Quirk(behind-the-light): with z scaled down, the near plane hardly cuts any more, and things behind a
    // directional light cast shadows too; such a light stands nowhere, so nothing can be behind it.
    // Quirk(scaled-clipping): below a far distance of 1 it is scaled up, and casters leave the clip volume;
    // one matrix serves map and receivers, and scenes that small in their own units are rare.
    QMatrix4x4 depthScale;
    depthScale.scale(1.0f, 1.0f, 1.0f / clip.far);
    return depthScale * lightProjection(*lightNode.lightModel(), clip) * lightView;
}

CubeShadow cubeShadow(const Scene &scene, const Node &lightNode)
{
    const QVector3D position = lightNode.worldTransform().map(QVector3D());
    CubeShadow shadow;
    shadow.extent = extentAround(scene, position);
    shadow.toLight.scale(1.0f / shadow.extent);
    shadow.toLight.translate(-position);

    QMatrix4x4 projection;
    projection.perspective(90.0f, 1.0f, scene.rootNode()->boundingSphere().radius / 30.0f, shadow.extent);
    for (size_t i = 0; i < shadow.toClip.size(); ++i) {
        QMatrix4x4 view;
        view.lookAt(position, position + faces()[i].direction, faces()[i].up);
        shadow.toClip[i] = projection * view;
    }
    return shadow;
}

} // namespace Quorvel
