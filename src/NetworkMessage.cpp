#include "NetworkMessage.h"

#include <QDataStream>

namespace Quorvel
{

QDataStream &operator<<(QDataStream &stream, const NetworkMessage &message)
{
    return stream << message.kind << message.clientId << message.userName << message.data;
}

QDataStream &operator>>(QDataStream &stream, NetworkMessage &message)
{
    return stream >> message.kind >> message.clientId >> message.userName >> message.data;
}

QByteArray toFrame(const NetworkMessage &message)
{
    QByteArray frame;
    QDataStream stream(&frame, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_4_0);
    stream << quint32(0) << message;
    stream.device()->seek(0);
    stream << quint32(frame.size() - int(sizeof(quint32)));
    return frame;
}

} // namespace Quorvel
