#pragma once

#include "Model.h"

namespace Quorvel
{

/// A perspective camera. It looks along the -z axis of its node.
class Camera : public Model
{
public:
    Camera() : Model(CameraType) {}

    /// Degrees. Stays at 45 until the file's `xfov` sets it.
    float fieldOfView() const { return m_fieldOfView; }
    void setFieldOfView(float degrees) { m_fieldOfView = degrees; }

    /// Distances of the file, in scene units. Carried only: a frame's clip planes follow the scene's bounds.
    float nearPlane() const { return m_nearPlane; }
    void setNearPlane(float distance) { m_nearPlane = distance; }
    float farPlane() const { return m_farPlane; }
    void setFarPlane(float distance) { m_farPlane = distance; }

    /// Id of the node that the camera looks at in the program that exported it; empty without one.
    QString target() const { return m_target; }
    void setTarget(const QString &nodeId) { m_target = nodeId; }

    void write(QDataStream &stream) const override;
    void read(QDataStream &stream) override;

private:
    float m_fieldOfView = 45.0f;
    float m_nearPlane = 0.0f;
    float m_farPlane = 0.0f;
    QString m_target;
};

} // namespace Quorvel
