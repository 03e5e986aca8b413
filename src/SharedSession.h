#pragma once

#include "MessageReader.h"
#include "NetworkMessage.h"

#include <QObject>
#include <QQueue>
#include <QString>
#include <QTcpSocket>
#include <QThreadPool>

#include <functional>
#include <optional>

class QMatrix4x4;

namespace Quorvel
{

class Scene;

/// A participant's connection to the server of shared sessions: frames (NetworkMessage.h) over TCP.
///
/// After join() the session connects, asks to join by itself, and is active from the moment the server gives
/// it a client id until the server ends the session or the connection breaks. Nothing is retried and no error
/// is reported but in the log.
///
/// Lives on one thread, which it never keeps waiting: what the network does not take yet stays in the
/// socket's buffer, up to MaximumOutput, and scenes are compressed on another thread. What is sent arrives in
/// the order in which it was sent.
class SharedSession : public QObject
{
    Q_OBJECT

public:
    /// Where servers listen.
    static constexpr quint16 DefaultPort = 80;

    /// The most bytes that wait for a server which does not read: one of the largest frames on its way, and
    /// one behind it. Beyond that camera moves are dropped but for the newest, which is sent when there is
    /// room; anything else closes the connection, with a warning.
    static constexpr qint64 MaximumOutput = 2 * (qint64(MaximumFrameSize) + qint64(sizeof(quint32)));

    explicit SharedSession(QObject *parent = nullptr, quint16 port = DefaultPort);
    /// Waits for a scene that is being compressed.
    ~SharedSession() override;

    /// Leaves the server that the session is connected to, if any, and connects to `server`.
    void join(const QString &server, const QString &userName, const QString &sessionNumber);

    /// Whether the server has taken us in. Camera moves and scenes are for sending only while it has.
    bool isActive() const { return m_active; }

    bool isConnected() const { return m_socket.state() == QAbstractSocket::ConnectedState; }

    /// Empty until the server gives one; that of the session before lasts until then.
    QString clientId() const { return m_clientId; }
    QString userName() const { return m_userName; }
    QString sessionNumber() const { return m_sessionNumber; }
    quint16 port() const { return m_port; }

    /// Sends a message behind all that were sent before. One that makes a frame above MaximumFrameSize is
    /// dropped with a warning, any without a connection in silence.
    void send(const NetworkMessage &message);

    /// Sends the local transform of the camera node.
    void sendCamera(const QMatrix4x4 &transform);

    /// Sends the answer to another participant's join request, which names the one who asked.
    void answer(const NetworkMessage &request, bool accepted);

    /// Sends a complete scene as it is now. One above ScenePayload::MaximumRecordSize, or above
    /// MaximumFrameSize when it is compressed, is dropped with a warning and sceneNotSent().
    void sendScene(const Scene &scene);

public slots:
    void sendJoinMessage();
    void deactivate();
    void readData();

signals:
    /// A camera move, a join request or a scene has come in, whether or not the session is active. Known to
    /// string-based connections as messageReceived(NetworkMessage).
    void messageReceived(const NetworkMessage &message);
    /// A scene is larger than a session carries; the sentence, for people, says what the limit is. The
    /// session goes on.
    void sceneNotSent(const QString &sentence);

private:
    /// A message in the queue behind a scene, or the scene itself.
    struct Outgoing
    {
        NetworkMessage message;
        /// Of a scene that is still being compressed; 0 for what is ready to go.
        quint64 compression = 0;
    };

    void resumeReading();
    void handle(const NetworkMessage &message);
    /// What the thread that compresses does.
    std::function<void()> compressionTask(quint64 compression, const QByteArray &record);
    void sceneCompressed(quint64 compression, const QByteArray &data);
    void write(const NetworkMessage &message);
    void dropTooLarge(const NetworkMessage &message, int frameSize);
    void sendHeldMove();

    const quint16 m_port;
    QTcpSocket m_socket;
    MessageReader m_reader;
    bool m_active = false;
    QString m_clientId;
    QString m_userName;
    QString m_sessionNumber;
    QQueue<Outgoing> m_outgoing;
    quint64 m_lastCompression = 0;
    /// The newest camera move that found no room.
    std::optional<NetworkMessage> m_heldMove;
    /// One thread. Last, so that it ends before what it reports to.
    QThreadPool m_compressor;
};

} // namespace Quorvel
