#pragma once

#include <QByteArray>
#include <QString>

class QDataStream;

namespace Quorvel
{

/// What the participants of a shared session exchange. A plain value.
///
/// On the wire (data-stream version 7, big-endian), each frame is:
///
///     bytes     field
///     4         number of bytes that follow in this frame
///     1         kind
///     4 + n     client id: byte count (0xffffffff for none), then UTF-16
///     4 + n     user name, likewise
///     4 + n     data: byte count (0xffffffff for none), then the payload, by kind
struct NetworkMessage
{
    enum Kind : quint8 {
        /// The server gives the receiver its client id; no data.
        ClientId = 1,
        /// Data: a QMatrix4x4 in the record encoding, the camera node's local transform.
        CameraTransform = 2,
        /// Data: the session number, a QString in the record encoding.
        JoinRequest = 3,
        JoinAccepted = 4,
        JoinRefused = 5,
        /// Data: the scene record, compressed by qCompress.
        SceneRecord = 6,
        SessionEnded = 7
    };

    NetworkMessage() = default;
    explicit NetworkMessage(quint8 kind) : kind(kind) {}

    quint8 kind = 0;
    QString clientId;
    QString userName;
    QByteArray data;
};

QDataStream &operator<<(QDataStream &stream, const NetworkMessage &message);
QDataStream &operator>>(QDataStream &stream, NetworkMessage &message);

/// The message as one frame, its length in front.
QByteArray toFrame(const NetworkMessage &message);

} // namespace Quorvel
