#include "SharedSession.h"

#include "CameraPayload.h"
#include "Scene.h"
#include "ScenePayload.h"

#include <QDebug>

#include <utility>

namespace Quorvel
{

namespace
{

/// Room for the largest frame and its header; a server that sends more before it is read has to wait.
constexpr qint64 readBufferSize = qint64(MaximumFrameSize) + qint64(sizeof(quint32));

QString notSent(qint64 size, qint64 limit)
{
    constexpr qint64 mebibyte = 1024 * 1024;
    return QStringLiteral(
               "The others do not get this scene: it takes %1 MiB, and a shared session carries %2 MiB.")
        .arg((size + mebibyte - 1) / mebibyte)
        .arg(limit / mebibyte);
}

} // namespace

SharedSession::SharedSession(QObject *parent, quint16 port)
    : QObject(parent), m_port(port), m_reader(&m_socket)
{
    // The name in the signal's signature, which lacks the namespace.
    qRegisterMetaType<NetworkMessage>("NetworkMessage");
    m_compressor.setMaxThreadCount(1);
    m_socket.setReadBufferSize(readBufferSize);
    connect(&m_socket, &QTcpSocket::readyRead, this, &SharedSession::readData);
    connect(&m_socket, &QTcpSocket::connected, this, &SharedSession::sendJoinMessage);
    connect(&m_socket, &QTcpSocket::disconnected, this, &SharedSession::deactivate);
    // Queued, since what has been written may be a part of what is being written.
    connect(&m_socket, &QTcpSocket::bytesWritten, this, &SharedSession::sendHeldMove, Qt::QueuedConnection);
}

SharedSession::~SharedSession()
{
    // The socket says goodbye when it is deleted, to an object that is no session any more by then.
    m_socket.disconnect(this);
}

void SharedSession::join(const QString &server, const QString &userName, const QString &sessionNumber)
{
    deactivate();
    m_userName = userName;
    m_sessionNumber = sessionNumber;
    m_reader.reset();
    m_socket.abort();
    m_socket.connectToHost(server, m_port, QIODevice::ReadWrite);
}

void SharedSession::sendJoinMessage()
{
    m_socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    NetworkMessage request(*this, NetworkMessage::JoinRequest);
    request.data = toTextPayload(m_sessionNumber);
    send(request);
}

void SharedSession::deactivate()
{
    m_active = false;
    m_outgoing.clear();
    m_heldMove.reset();
}

// Receiving

void SharedSession::readData()
{
    while (m_socket.bytesAvailable() > 0) {
        if (m_socket.bytesAvailable() >= readBufferSize)
            QMetaObject::invokeMethod(this, &SharedSession::resumeReading, Qt::QueuedConnection);
        NetworkMessage message;
        switch (m_reader.next(&message)) {
        case MessageReader::Result::Message:
            handle(message);
            break;
        case MessageReader::Result::Malformed:
            qWarning("SharedSession: malformed message");
            break;
        case MessageReader::Result::Incomplete:
            return;
        case MessageReader::Result::TooLarge:
            qWarning("SharedSession: frame of more than %u bytes, connection closed", MaximumFrameSize);
            m_socket.abort();
            return;
        }
    }
}

void SharedSession::resumeReading()
{
    // The toolkit leaves a full buffer alone until it has run empty, which a frame that has begun never lets
    // it; a change of the limit makes it look again.
    const bool widened = m_socket.readBufferSize() > readBufferSize;
    m_socket.setReadBufferSize(widened ? readBufferSize : readBufferSize + 1);
}

void SharedSession::handle(const NetworkMessage &message)
{
    switch (message.kind) {
    case NetworkMessage::ClientId:
        m_clientId = message.clientId;
        // What was received before the connection ended is still read.
        m_active = isConnected();
        qDebug() << "SharedSession: clientId:" << m_clientId;
        break;
    case NetworkMessage::CameraTransform:
    case NetworkMessage::JoinRequest:
    case NetworkMessage::SceneRecord:
        emit messageReceived(message);
        break;
    case NetworkMessage::SessionEnded:
        deactivate();
        break;
    default:
        // Quirk(answer-unheard): the one who asked to join takes the answer for an invalid message;
        // answers are for the server, which lets a participant in by giving it a client id.
        qWarning() << "SharedSession: invalid message" << int(message.kind);
    }
}

// Sending

void SharedSession::send(const NetworkMessage &message)
{
    if (m_outgoing.isEmpty())
        write(message);
    else
        m_outgoing.enqueue({message, 0});
}

void SharedSession::sendCamera(const QMatrix4x4 &transform)
{
    NetworkMessage move(*this, NetworkMessage::CameraTransform);
    move.data = CameraPayload::encode(transform);
    send(move);
}

void SharedSession::answer(const NetworkMessage &request, bool accepted)
{
    NetworkMessage answer(*this, accepted ? NetworkMessage::JoinAccepted : NetworkMessage::JoinRefused);
    answer.clientId = request.clientId;
    answer.userName = request.userName;
    send(answer);
}

void SharedSession::sendScene(const Scene &scene)
{
    const QByteArray record = ScenePayload::record(scene);
    if (record.size() > ScenePayload::MaximumRecordSize) {
        qWarning("SharedSession: a scene of %d bytes is too large to send", record.size());
        emit sceneNotSent(notSent(record.size(), ScenePayload::MaximumRecordSize));
        return;
    }
    const quint64 compression = ++m_lastCompression;
    m_outgoing.enqueue({NetworkMessage(*this, NetworkMessage::SceneRecord), compression});
    m_compressor.start(compressionTask(compression, record));
}

std::function<void()> SharedSession::compressionTask(quint64 compression, const QByteArray &record)
{
    return [this, compression, record] {
        const QByteArray data = ScenePayload::encode(record);
        QMetaObject::invokeMethod(
            this, [this, compression, data] { sceneCompressed(compression, data); }, Qt::QueuedConnection);
    };
}

void SharedSession::sceneCompressed(quint64 compression, const QByteArray &data)
{
    for (Outgoing &outgoing : m_outgoing) {
        if (outgoing.compression == compression) {
            outgoing.compression = 0;
            outgoing.message.data = data;
        }
    }
    while (!m_outgoing.isEmpty() && m_outgoing.head().compression == 0)
        write(m_outgoing.dequeue().message);
}

void SharedSession::write(const NetworkMessage &message)
{
    if (!isConnected())
        return;
    const QByteArray frame = toFrame(message);
    if (frame.size() - int(sizeof(quint32)) > int(MaximumFrameSize)) {
        dropTooLarge(message, frame.size());
        return;
    }
    if (m_socket.bytesToWrite() + frame.size() > MaximumOutput) {
        // The newest move brings what those before it would have, and more.
        if (message.kind == NetworkMessage::CameraTransform) {
            m_heldMove = message;
            return;
        }
        qWarning("SharedSession: more than %lld bytes wait to be sent, connection closed", MaximumOutput);
        m_socket.abort();
        return;
    }
    // A scene brings its own view.
    if (message.kind == NetworkMessage::CameraTransform || message.kind == NetworkMessage::SceneRecord)
        m_heldMove.reset();
    for (int begin = 0; begin < frame.size();) {
        const qint64 written = m_socket.write(frame.constData() + begin, frame.size() - begin);
        if (written <= 0)
            return;
        begin += int(written);
        m_socket.flush();
    }
}

void SharedSession::dropTooLarge(const NetworkMessage &message, int frameSize)
{
    qWarning("SharedSession: a message of %d bytes is too large to send", frameSize);
    if (message.kind == NetworkMessage::SceneRecord)
        emit sceneNotSent(notSent(frameSize, MaximumFrameSize));
}

void SharedSession::sendHeldMove()
{
    // Behind a scene that is being compressed it would come too late.
    if (m_heldMove && m_outgoing.isEmpty())
        write(*std::exchange(m_heldMove, std::nullopt));
}

} // namespace Quorvel
