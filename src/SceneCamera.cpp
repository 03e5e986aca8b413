#include "SceneCamera.h"

#include "CameraMotion.h"
#include "Node.h"
#include "Scene.h"

namespace Quorvel
{

SceneCamera::SceneCamera(Scene *scene) : m_scene(scene), m_node(scene->activeCameraNode()) {}

QVector3D SceneCamera::centre() const
{
    return m_scene->rootNode()->boundingSphere().centre;
}

void SceneCamera::setTransform(const QMatrix4x4 &local)
{
    if (m_node)
        m_node->setLocalTransform(local);
}

void SceneCamera::roll(float angle)
{
    if (m_node)
        setTransform(CameraMotion::roll(m_node->localTransform(), angle));
}

void SceneCamera::orbitHorizontal(float angle)
{
    if (m_node)
        setTransform(CameraMotion::orbitHorizontal(m_node->localTransform(), m_node->worldTransform(),
                                                   centre(), angle));
}

void SceneCamera::orbitVertical(float angle)
{
    if (m_node)
        setTransform(
            CameraMotion::orbitVertical(m_node->localTransform(), m_node->worldTransform(), centre(), angle));
}

void SceneCamera::zoom(float amount)
{
    if (m_node)
        setTransform(
            CameraMotion::zoom(m_node->localTransform(), m_node->worldTransform(), centre(), amount));
}

void SceneCamera::move(float right, float up)
{
    if (m_node)
        setTransform(
            CameraMotion::move(m_node->localTransform(), m_node->worldTransform(), centre(), right, up));
}

} // namespace Quorvel
