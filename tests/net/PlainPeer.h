#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>

#include <cstring>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

/// A peer of a session made of plain sockets and the frames' byte layout alone; it shares no code with the
/// programs that it talks to. Everything waits at most ten seconds.
class PlainPeer
{
public:
    enum class Family { V4, V6 };

    struct Message
    {
        int kind = 0;
        QString clientId;
        QString userName;
        QByteArray data;
        /// The frame as it came.
        QByteArray bytes;
    };

    /// Connects to loopback. A small receive buffer makes a slow peer soon.
    explicit PlainPeer(quint16 port, Family family = Family::V4, int receiveBuffer = 0)
    {
        m_descriptor = socket(family == Family::V4 ? AF_INET : AF_INET6, SOCK_STREAM, 0);
        if (receiveBuffer > 0)
            setsockopt(m_descriptor, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
        m_connected = family == Family::V4 ? connectV4(port) : connectV6(port);
    }
    ~PlainPeer() { close(); }
    PlainPeer(const PlainPeer &) = delete;
    PlainPeer &operator=(const PlainPeer &) = delete;

    bool isConnected() const { return m_connected; }

    void close()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
        m_descriptor = -1;
    }

    static QByteArray number(quint32 value)
    {
        const char bytes[] = {char(value >> 24), char(value >> 16), char(value >> 8), char(value)};
        return QByteArray(bytes, 4);
    }

    static QByteArray text(const QString &text)
    {
        QByteArray bytes = number(quint32(2 * text.size()));
        for (const QChar character : text) {
            bytes.append(char(character.unicode() >> 8));
            bytes.append(char(character.unicode()));
        }
        return bytes;
    }

    static QByteArray frame(int kind, const QString &clientId, const QString &userName,
                            const QByteArray &data)
    {
        const QByteArray fields =
            char(kind) + text(clientId) + text(userName) + number(quint32(data.size())) + data;
        return number(quint32(fields.size())) + fields;
    }

    static QByteArray joinRequest(const QString &userName, const QString &session)
    {
        return frame(3, QString(), userName, text(session));
    }

    /// A camera move whose 16 doubles are all zero but the first bytes, which hold a number.
    static QByteArray move(quint32 number)
    {
        return frame(2, QStringLiteral("x"), QStringLiteral("y"),
                     PlainPeer::number(number) + QByteArray(124, '\0'));
    }
    static quint32 numberOf(const QByteArray &data)
    {
        quint32 value = 0;
        for (int i = 0; i < 4; ++i)
            value = value << 8 | quint8(data.at(i));
        return value;
    }

    bool write(const QByteArray &bytes)
    {
        for (int sent = 0; sent < bytes.size();) {
            if (!wait(POLLOUT, Patience))
                return false;
            const ssize_t size =
                ::send(m_descriptor, bytes.constData() + sent, size_t(bytes.size() - sent), MSG_NOSIGNAL);
            if (size <= 0)
                return false;
            sent += int(size);
        }
        return true;
    }

    void shutDownWriting() { shutdown(m_descriptor, SHUT_WR); }

    /// The next message; kind 0 when none comes in time, -1 at the end of the stream.
    Message read(int milliseconds = Patience)
    {
        QElapsedTimer timer;
        timer.start();
        while (!isWhole()) {
            const int left = int(qMax<qint64>(0, milliseconds - timer.elapsed()));
            if (!wait(POLLIN, left))
                return Message();
            char buffer[65536];
            const ssize_t size = recv(m_descriptor, buffer, sizeof buffer, 0);
            if (size <= 0)
                return {-1, {}, {}, {}, {}};
            m_received.append(buffer, int(size));
        }
        return takeMessage();
    }

    /// Whether nothing comes for a moment.
    bool isQuiet(int milliseconds = 100) { return read(milliseconds).kind == 0; }
    /// Whether the stream ends, with nothing before its end.
    bool isEnded() { return read().kind == -1; }

    /// Asks for admission and answers what the relay says, a client id when it admits.
    Message join(const QString &userName, const QString &session)
    {
        return write(joinRequest(userName, session)) ? read() : Message();
    }

private:
    static constexpr int Patience = 10000;

    bool connectV4(quint16 port)
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return connect(m_descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    }

    bool connectV6(quint16 port)
    {
        sockaddr_in6 address = {};
        address.sin6_family = AF_INET6;
        address.sin6_port = htons(port);
        address.sin6_addr = in6addr_loopback;
        return connect(m_descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    }

    bool wait(short events, int milliseconds) const
    {
        pollfd poll = {m_descriptor, events, 0};
        return ::poll(&poll, 1, milliseconds) > 0;
    }

    bool isWhole() const
    {
        return m_received.size() >= 4 && m_received.size() - 4 >= int(numberOf(m_received));
    }

    Message takeMessage()
    {
        Message message;
        message.bytes = m_received.left(4 + int(numberOf(m_received)));
        m_received.remove(0, message.bytes.size());
        message.kind = quint8(message.bytes.at(4));
        int position = 5;
        message.clientId = takeText(message.bytes, &position);
        message.userName = takeText(message.bytes, &position);
        message.data = takeField(message.bytes, &position);
        return message;
    }

    static QByteArray takeField(const QByteArray &bytes, int *position)
    {
        const quint32 size = numberOf(bytes.mid(*position, 4));
        *position += 4;
        if (size == 0xffffffff)
            return QByteArray();
        QByteArray field = bytes.mid(*position, int(size));
        *position += int(size);
        return field;
    }

    static QString takeText(const QByteArray &bytes, int *position)
    {
        const QByteArray field = takeField(bytes, position);
        QString text;
        for (int i = 0; i + 1 < field.size(); i += 2)
            text.append(QChar(quint8(field.at(i)) << 8 | quint8(field.at(i + 1))));
        return text;
    }

    int m_descriptor = -1;
    bool m_connected = false;
    QByteArray m_received;
};
