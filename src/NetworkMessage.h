#pragma once

#include <QByteArray>
#include <QMetaType>
#include <QString>

class QDataStream;

namespace Quorvel
{

class SharedSession;

/// The most bytes that a frame may announce, its length field not counted. Who announces more is hung up on.
constexpr quint32 MaximumFrameSize = 64 * 1024 * 1024;

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
        /// Data: the session number, or what the server puts in its place, a QString in the record encoding.
        JoinRequest = 3,
        JoinAccepted = 4,
        JoinRefused = 5,
        /// Data: the scene record, compressed by qCompress.
        SceneRecord = 6,
        SessionEnded = 7
    };

    NetworkMessage() = default;
    explicit NetworkMessage(quint8 kind) : kind(kind) {}
    /// From the participant that the session makes us.
    NetworkMessage(const SharedSession &session, quint8 kind);

    quint8 kind = 0;
    QString clientId;
    QString userName;
    QByteArray data;
};

QDataStream &operator<<(QDataStream &stream, const NetworkMessage &message);
QDataStream &operator>>(QDataStream &stream, NetworkMessage &message);

/// The message as one frame, its length in front.
QByteArray toFrame(const NetworkMessage &message);

/// The data of a join request: a QString in the record encoding. Of damaged data, what can be read.
QByteArray toTextPayload(const QString &text);
QString fromTextPayload(const QByteArray &data);

} // namespace Quorvel

Q_DECLARE_METATYPE(Quorvel::NetworkMessage)
