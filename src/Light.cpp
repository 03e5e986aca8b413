#include "Light.h"

#include <QDataStream>

namespace Quorvel
{

void Light::write(QDataStream &stream) const
{
    Model::write(stream);
    stream << m_color << m_multiplier << m_falloff << m_hotspotBeam << m_target << m_lightVector << m_shadow;
}

void Light::read(QDataStream &stream)
{
    Model::read(stream);
    stream >> m_color >> m_multiplier >> m_falloff >> m_hotspotBeam >> m_target >> m_lightVector >> m_shadow;
}

} // namespace Quorvel
