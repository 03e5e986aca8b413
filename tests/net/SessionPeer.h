#pragma once

#include <QByteArray>
#include <QList>

namespace Quorvel
{

/// A server's end of a shared session, written from the byte layout alone: plain sockets, and none of the
/// viewer's code. Listens on the loopback interface and holds one connection at a time.
///
/// Nothing here waits; the test asks again until what it expects has come.
class SessionPeer
{
public:
    /// One frame's fields, each as its bytes on the wire without their count; null for a count of ffffffff.
    struct Frame
    {
        int kind = 0;
        QByteArray clientId;
        QByteArray userName;
        QByteArray data;
    };

    /// On that port, or a free one.
    explicit SessionPeer(quint16 port = 0);
    ~SessionPeer();
    SessionPeer(const SessionPeer &) = delete;
    SessionPeer &operator=(const SessionPeer &) = delete;

    quint16 port() const { return m_port; }

    /// Takes the connection that waits, in place of the one before. False when none waits.
    bool accept();
    /// Whether the other side has hung up.
    bool isClosed();
    void hangUp();
    /// No connection is refused or taken any more.
    void stopListening();

    /// Gives the network as many of the bytes as it takes, and says how many.
    int send(const QByteArray &bytes);
    void receive();
    QByteArray received() const { return m_received; }
    /// Takes the next frame off what was received. False when there is none yet.
    bool takeFrame(Frame *frame);

    static QByteArray frame(int kind, const QByteArray &clientId = QByteArray(),
                            const QByteArray &userName = QByteArray(), const QByteArray &data = QByteArray());
    /// Latin-1 as UTF-16, big-endian.
    static QByteArray utf16(const char *text);
    static QByteArray word(quint32 value);

private:
    QByteArray takeField(int *at) const;
    quint32 wordAt(int at) const;

    int m_listener = -1;
    int m_connection = -1;
    quint16 m_port = 0;
    QByteArray m_received;
    bool m_closed = false;
};

} // namespace Quorvel
