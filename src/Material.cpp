#include "Material.h"

#include <QDataStream>

namespace Quorvel
{

void Material::write(QDataStream &stream) const
{
    stream << m_name << m_ambient << m_diffuse << m_specular << m_reflective << m_transparent << m_shininess
           << m_transparency << m_specularLevel;
}

void Material::read(QDataStream &stream)
{
    stream >> m_name >> m_ambient >> m_diffuse >> m_specular >> m_reflective >> m_transparent >>
        m_shininess >> m_transparency >> m_specularLevel;
}

} // namespace Quorvel
