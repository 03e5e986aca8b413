#include "Camera.h"

#include <QDataStream>

namespace Quorvel
{

void Camera::write(QDataStream &stream) const
{
    Model::write(stream);
    stream << m_fieldOfView << m_nearPlane << m_farPlane << m_target;
}

void Camera::read(QDataStream &stream)
{
    Model::read(stream);
    stream >> m_fieldOfView >> m_nearPlane >> m_farPlane >> m_target;
}

} // namespace Quorvel
