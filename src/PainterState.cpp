#include "PainterState.h"

#include "Camera.h"
#include "GlColor.h"
#include "Light.h"
#include "Node.h"
#include "Scene.h"

#include <algorithm>

namespace Quorvel
{

ClipDistances clipDistances(const Scene &scene, const QMatrix4x4 &worldToEye)
{
    const Node &root = *scene.rootNode();
    const BoundingSphere bounds = root.boundingSphere();
    const QVector3D centre = worldToEye.map(root.worldTransform().map(bounds.centre));
    const float distance = -centre.z();
    return {std::max(distance - bounds.radius, bounds.radius / 30.0f), bounds.radius - centre.z()};
}

void PainterState::update()
{
    Q_ASSERT(m_scene);
    const Node &cameraNode = *m_scene->activeCameraNode();
    m_sceneToView = cameraNode.worldTransform().inverted();

    const ClipDistances clip = clipDistances(*m_scene, m_sceneToView);
    m_znear = clip.near;
    m_zfar = clip.far;

    // Quirk(xfov-vertical): the file gives the horizontal angle, and it is used as the vertical one;
    // scenes are framed by it, and what the height shows does not depend on the window's width.
    m_viewToClip.setToIdentity();
    m_viewToClip.perspective(cameraNode.cameraModel()->fieldOfView(), m_aspect, m_znear, m_zfar);

    m_frustum.update(m_sceneToView, m_viewToClip, m_scene->nodes());
    updateAmbient();
}

void PainterState::updateAmbient()
{
    m_ambient = QVector4D();
    bool lit = false;
    for (const Node *node : qAsConst(*m_scene).nodes()) {
        const Light *light = node->lightModel();
        if (!light)
            continue;
        lit = true;
        if (light->type() == Light::AmbientLight)
            m_ambient += toVector(light->color());
    }
    if (!lit)
        m_ambient = QVector4D(0.4f, 0.4f, 0.4f, 1.0f);
}

} // namespace Quorvel
