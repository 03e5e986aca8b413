#pragma once

#include <QMatrix4x4>

namespace Quorvel
{

class Node;
class Scene;

/// Moves the active camera node of a scene about the centre of the scene's bounds. A view of the scene, to be
/// made anew for each use. Does nothing where there is no active camera node.
///
/// Angles are degrees; distances are multiples of the camera's distance to the centre.
class SceneCamera
{
public:
    explicit SceneCamera(Scene *scene);

    void setTransform(const QMatrix4x4 &local);
    void roll(float angle);
    void orbitHorizontal(float angle);
    void orbitVertical(float angle);
    /// Away from the centre.
    void zoom(float amount);
    void move(float right, float up);

private:
    QVector3D centre() const;

    Scene *m_scene;
    Node *m_node;
};

} // namespace Quorvel
