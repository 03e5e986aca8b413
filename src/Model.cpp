#include "Model.h"

#include <QDataStream>

namespace Quorvel
{

void Model::write(QDataStream &stream) const
{
    stream << qint32(m_type) << m_id;
}

void Model::read(QDataStream &stream)
{
    qint32 type = 0;
    stream >> type >> m_id;
    m_type = type;
}

} // namespace Quorvel
