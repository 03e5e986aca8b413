#include "SessionPeer.h"

#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Quorvel
{

SessionPeer::SessionPeer(quint16 port)
{
    m_listener = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const int reuse = 1;
    setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(m_listener, reinterpret_cast<sockaddr *>(&address), size) == 0 && listen(m_listener, 4) == 0 &&
        getsockname(m_listener, reinterpret_cast<sockaddr *>(&address), &size) == 0)
        m_port = ntohs(address.sin_port);
}

SessionPeer::~SessionPeer()
{
    hangUp();
    stopListening();
}

bool SessionPeer::accept()
{
    const int connection = accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (connection < 0)
        return false;
    hangUp();
    m_connection = connection;
    m_received.clear();
    m_closed = false;
    return true;
}

bool SessionPeer::isClosed()
{
    receive();
    return m_closed;
}

void SessionPeer::hangUp()
{
    if (m_connection >= 0)
        close(m_connection);
    m_connection = -1;
}

void SessionPeer::stopListening()
{
    if (m_listener >= 0)
        close(m_listener);
    m_listener = -1;
}

int SessionPeer::send(const QByteArray &bytes)
{
    const ssize_t sent = ::send(m_connection, bytes.constData(), size_t(bytes.size()), MSG_NOSIGNAL);
    if (sent < 0 && errno != EAGAIN)
        m_closed = true;
    return sent < 0 ? 0 : int(sent);
}

void SessionPeer::receive()
{
    QByteArray chunk(1 << 20, Qt::Uninitialized);
    ssize_t size = 0;
    while ((size = recv(m_connection, chunk.data(), size_t(chunk.size()), 0)) > 0)
        m_received.append(chunk.constData(), int(size));
    if (size == 0 || (size < 0 && errno != EAGAIN))
        m_closed = true;
}

quint32 SessionPeer::wordAt(int at) const
{
    const auto byte = [this](int i) { return quint32(quint8(m_received.at(i))); };
    return byte(at) << 24 | byte(at + 1) << 16 | byte(at + 2) << 8 | byte(at + 3);
}

QByteArray SessionPeer::takeField(int *at) const
{
    const quint32 size = wordAt(*at);
    *at += 4;
    if (size == 0xffffffffu)
        return QByteArray();
    const QByteArray field = m_received.mid(*at, int(size));
    *at += int(size);
    return field;
}

bool SessionPeer::takeFrame(Frame *frame)
{
    receive();
    if (m_received.size() < 4 || quint32(m_received.size() - 4) < wordAt(0))
        return false;
    const int end = 4 + int(wordAt(0));
    int at = 5;
    frame->kind = quint8(m_received.at(4));
    frame->clientId = takeField(&at);
    frame->userName = takeField(&at);
    frame->data = takeField(&at);
    m_received.remove(0, end);
    return at == end;
}

QByteArray SessionPeer::word(quint32 value)
{
    QByteArray bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes.append(char(value >> shift));
    return bytes;
}

QByteArray SessionPeer::utf16(const char *text)
{
    QByteArray bytes("");
    for (; *text; ++text)
        bytes.append('\0').append(*text);
    return bytes;
}

QByteArray SessionPeer::frame(int kind, const QByteArray &clientId, const QByteArray &userName,
                              const QByteArray &data)
{
    QByteArray fields(1, char(kind));
    for (const QByteArray &field : {clientId, userName, data})
        fields += word(field.isNull() ? 0xffffffffu : quint32(field.size())) + field;
    return word(quint32(fields.size())) + fields;
}

} // namespace Quorvel
