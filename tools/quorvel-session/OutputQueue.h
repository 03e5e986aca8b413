#pragma once

#include <QByteArray>

#include <deque>

struct iovec;

namespace Quorvel
{

/// What one peer is still to be sent. Frames are shared with other queues, never copied.
///
/// While the peer is slow, a camera move replaces the moves that wait: only the newest matters, as every
/// viewer has one camera. Nothing else is ever dropped.
class OutputQueue
{
public:
    enum class Progress { Drained, Waiting, Failed };

    /// As many moves may wait for a peer that is not slow before the newest replaces them: more gather only
    /// when the relay itself is behind.
    static constexpr int MaximumMoves = 64;

    void push(const QByteArray &frame);
    void pushMove(const QByteArray &frame);

    /// Writes to a socket that does not block, as much as it takes but no more than a turn's share. Failed:
    /// `errno` says why.
    Progress write(int descriptor);

    bool isEmpty() const { return m_frames.empty(); }
    /// Whether the socket refused bytes and what it refused is still here.
    bool isSlow() const { return m_slow; }
    qint64 pendingBytes() const { return m_pendingBytes; }
    quint64 sentBytes() const { return m_sentBytes; }
    quint64 supersededMoves() const { return m_supersededMoves; }

private:
    struct Pending
    {
        QByteArray bytes;
        /// A move of which nothing was sent.
        bool replaceable = false;
    };

    int gather(iovec *parts, qint64 *size) const;
    void consume(qint64 size);
    void dropMoves();

    std::deque<Pending> m_frames;
    /// Bytes of the first frame that were sent.
    int m_offset = 0;
    int m_moves = 0;
    bool m_slow = false;
    qint64 m_pendingBytes = 0;
    quint64 m_sentBytes = 0;
    quint64 m_supersededMoves = 0;
};

} // namespace Quorvel
