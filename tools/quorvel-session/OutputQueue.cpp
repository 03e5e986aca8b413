#include "OutputQueue.h"

#include <algorithm>
#include <cerrno>

#include <sys/socket.h>
#include <sys/uio.h>

namespace Quorvel
{

namespace
{

constexpr int MaximumParts = 256;
/// Bytes that one write call may send before the other peers have their turn.
constexpr qint64 TurnBytes = 1 << 20;

} // namespace

void OutputQueue::push(const QByteArray &frame)
{
    m_frames.push_back({frame, false});
    m_pendingBytes += frame.size();
}

void OutputQueue::pushMove(const QByteArray &frame)
{
    if (m_moves > 0 && (m_slow || m_moves >= MaximumMoves))
        dropMoves();
    m_frames.push_back({frame, true});
    m_pendingBytes += frame.size();
    ++m_moves;
}

OutputQueue::Progress OutputQueue::write(int descriptor)
{
    qint64 written = 0;
    while (!m_frames.empty()) {
        if (written >= TurnBytes)
            return Progress::Waiting;
        iovec parts[MaximumParts];
        qint64 size = 0;
        msghdr message = {};
        message.msg_iov = parts;
        message.msg_iovlen = size_t(gather(parts, &size));
        const ssize_t sent = sendmsg(descriptor, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent < 0 && errno != EAGAIN && errno != EWOULDBLOCK)
            return Progress::Failed;
        if (sent > 0)
            consume(sent);
        if (sent < size) {
            m_slow = true;
            return Progress::Waiting;
        }
        written += sent;
    }
    m_slow = false;
    return Progress::Drained;
}

int OutputQueue::gather(iovec *parts, qint64 *size) const
{
    int count = 0;
    int offset = m_offset;
    for (const Pending &pending : m_frames) {
        const int left = pending.bytes.size() - offset;
        if (count == MaximumParts || *size >= TurnBytes)
            break;
        parts[count].iov_base = const_cast<char *>(pending.bytes.constData()) + offset;
        parts[count].iov_len = size_t(left);
        *size += left;
        ++count;
        offset = 0;
    }
    return count;
}

void OutputQueue::consume(qint64 size)
{
    m_sentBytes += quint64(size);
    m_pendingBytes -= size;
    while (size > 0) {
        Pending &first = m_frames.front();
        const qint64 left = first.bytes.size() - m_offset;
        if (first.replaceable) {
            first.replaceable = false;
            --m_moves;
        }
        if (size < left) {
            m_offset += int(size);
            return;
        }
        size -= left;
        m_offset = 0;
        m_frames.pop_front();
    }
}

void OutputQueue::dropMoves()
{
    const auto kept = std::remove_if(m_frames.begin(), m_frames.end(), [this](const Pending &pending) {
        if (pending.replaceable)
            m_pendingBytes -= pending.bytes.size();
        return pending.replaceable;
    });
    m_supersededMoves += quint64(m_frames.end() - kept);
    m_frames.erase(kept, m_frames.end());
    m_moves = 0;
}

} // namespace Quorvel
