#include "NetworkMessage.h"

#include "RecordStream.h"
#include "SharedSession.h"

#include <QDataStream>

namespace Quorvel
{

NetworkMessage::NetworkMessage(const SharedSession &session, quint8 kind)
    : kind(kind), clientId(session.clientId()), userName(session.userName())
{
}

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

QByteArray toTextPayload(const QString &text)
{
    QByteArray data;
    QDataStream stream(&data, QIODevice::WriteOnly);
    RecordStream::pin(stream);
    stream << text;
    return data;
}

QString fromTextPayload(const QByteArray &data)
{
    QDataStream stream(data);
    RecordStream::pin(stream);
    QString text;
    stream >> text;
    return text;
}

} // namespace Quorvel
