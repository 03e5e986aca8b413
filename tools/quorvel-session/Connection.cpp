#include "Connection.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Quorvel
{

namespace
{

constexpr int ReadSize = 256 * 1024;
/// Output that the kernel holds unsent: little, so that camera moves wait here, where the newest replaces
/// them.
constexpr int UnsentSize = 64 * 1024;
constexpr int SlowestBytesPerSecond = 16 * 1024;
constexpr qint64 FinishMilliseconds = 2000;
constexpr int KeepAliveProbes = 3;

template <typename T>
void setOption(int descriptor, int level, int name, T value)
{
    setsockopt(descriptor, level, name, &value, sizeof value);
}

QString peerName(int descriptor)
{
    sockaddr_storage storage = {};
    socklen_t size = sizeof storage;
    auto *address = reinterpret_cast<sockaddr *>(&storage);
    if (getpeername(descriptor, address, &size) != 0)
        return QStringLiteral("?");
    const QHostAddress host(address);
    if (address->sa_family == AF_INET6)
        return QStringLiteral("[%1]:%2")
            .arg(host.toString())
            .arg(ntohs(reinterpret_cast<sockaddr_in6 *>(address)->sin6_port));
    return QStringLiteral("%1:%2")
        .arg(host.toString())
        .arg(ntohs(reinterpret_cast<sockaddr_in *>(address)->sin_port));
}

QString faultText(FrameSplitter::Fault fault)
{
    return fault == FrameSplitter::Fault::TooLong ? QStringLiteral("frame too long")
                                                  : QStringLiteral("malformed frame");
}

} // namespace

Connection::Connection(qintptr descriptor, SocketWatch *watch, const FrameSplitter::Limits &limits,
                       int idleTimeout, QObject *parent)
    : QObject(parent)
    , m_descriptor(int(descriptor))
    , m_peer(peerName(m_descriptor))
    , m_reader(limits)
    , m_watch(watch)
    , m_idleMilliseconds(1000LL * idleTimeout)
{
    prepare(idleTimeout);
    m_watch->add(m_descriptor, this);
    m_sinceInput.start();
}

Connection::~Connection()
{
    close();
}

void Connection::prepare(int idleTimeout)
{
    fcntl(m_descriptor, F_SETFL, fcntl(m_descriptor, F_GETFL) | O_NONBLOCK);
    fcntl(m_descriptor, F_SETFD, FD_CLOEXEC);
    setOption(m_descriptor, IPPROTO_TCP, TCP_NODELAY, 1);
    setOption(m_descriptor, IPPROTO_TCP, TCP_NOTSENT_LOWAT, UnsentSize);
    setOption(m_descriptor, SOL_SOCKET, SO_KEEPALIVE, 1);
    setOption(m_descriptor, IPPROTO_TCP, TCP_KEEPIDLE, std::max(1, idleTimeout / 2));
    setOption(m_descriptor, IPPROTO_TCP, TCP_KEEPINTVL, std::max(1, idleTimeout / (2 * KeepAliveProbes)));
    setOption(m_descriptor, IPPROTO_TCP, TCP_KEEPCNT, KeepAliveProbes);
}

void Connection::flush()
{
    if (m_descriptor < 0)
        return;
    const quint64 sentBefore = m_output.sentBytes();
    const OutputQueue::Progress progress = m_output.write(m_descriptor);
    if (progress == OutputQueue::Progress::Failed) {
        end(QString::fromLocal8Bit(strerror(errno)));
        return;
    }
    if (m_output.sentBytes() != sentBefore || !m_sinceOutput.isValid())
        m_sinceOutput.start();
    if (progress == OutputQueue::Progress::Drained) {
        m_sinceOutput.invalidate();
        if (m_sinceFinish.isValid() && !m_saidLast) {
            shutdown(m_descriptor, SHUT_WR);
            m_saidLast = true;
        }
    }
    const bool waits = progress == OutputQueue::Progress::Waiting;
    if (waits != m_watchesOutput)
        m_watch->watchOutput(m_descriptor, this, waits);
    m_watchesOutput = waits;
}

void Connection::finish()
{
    if (!m_sinceFinish.isValid())
        m_sinceFinish.start();
}

void Connection::close()
{
    if (m_descriptor < 0)
        return;
    m_watch->remove(m_descriptor, this);
    ::close(m_descriptor);
    m_descriptor = -1;
}

QString Connection::overdue() const
{
    if (m_sinceFinish.isValid())
        return m_sinceFinish.hasExpired(FinishMilliseconds) ? QStringLiteral("did not close") : QString();
    if (m_sinceOutput.isValid() && m_sinceOutput.hasExpired(m_idleMilliseconds))
        return QStringLiteral("takes no output");
    if (!m_reader.isInsideFrame())
        return QString();
    const qint64 forBytes = 1000LL * m_reader.frameSize() / SlowestBytesPerSecond;
    if (m_sinceInput.hasExpired(m_idleMilliseconds) ||
        m_sinceFrameBegan.hasExpired(m_idleMilliseconds + forBytes))
        return QStringLiteral("unfinished frame");
    return QString();
}

void Connection::socketReadable()
{
    static char buffer[ReadSize];
    const ssize_t size = recv(m_descriptor, buffer, sizeof buffer, MSG_DONTWAIT);
    if (size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR))
        return;
    if (size < 0) {
        end(QString::fromLocal8Bit(strerror(errno)));
    } else if (size == 0) {
        end(QStringLiteral("closed by peer"));
    } else {
        m_receivedBytes += quint64(size);
        m_sinceInput.start();
        if (!m_sinceFinish.isValid())
            takeInput(buffer, int(size));
    }
}

void Connection::takeInput(const char *bytes, int size)
{
    WireFrame frame;
    while (size > 0 && m_descriptor >= 0 && !m_sinceFinish.isValid()) {
        if (!m_reader.isInsideFrame())
            m_sinceFrameBegan = m_sinceInput;
        const int taken = m_reader.take(bytes, size, &frame);
        bytes += taken;
        size -= taken;
        if (m_reader.fault() != FrameSplitter::Fault::None)
            end(faultText(m_reader.fault()));
        else if (!frame.isEmpty())
            emit frameReceived(frame);
    }
}

void Connection::end(const QString &reason)
{
    close();
    emit ended(reason);
}

} // namespace Quorvel
