#include "FrameSplitter.h"

#include "NetworkMessage.h"

#include <QtEndian>

#include <algorithm>

namespace Quorvel
{

namespace
{

constexpr int FirstReserve = 64 * 1024;

} // namespace

FrameSplitter::FrameSplitter(const Limits &limits) : m_limits(limits) {}

int FrameSplitter::take(const char *bytes, int size, WireFrame *frame)
{
    *frame = WireFrame();
    if (m_fault != Fault::None)
        return size;
    int taken = takeHead(bytes, size);
    if (m_fault != Fault::None)
        return size;
    if (m_headSize < HeadSize)
        return taken;

    const int more = std::min(size - taken, m_total - m_bytes.size());
    makeRoom(more);
    m_bytes.append(bytes + taken, more);
    taken += more;
    if (m_bytes.size() < m_total)
        return taken;

    WireFrame whole(m_bytes);
    m_bytes = QByteArray();
    m_headSize = 0;
    m_total = 0;
    if (whole.isWellFormed())
        *frame = whole;
    else
        m_fault = Fault::Malformed;
    return taken;
}

int FrameSplitter::takeHead(const char *bytes, int size)
{
    int taken = 0;
    while (m_headSize < HeadSize && taken < size && m_fault == Fault::None) {
        m_head[m_headSize++] = bytes[taken++];
        if (m_headSize == WireFrame::LengthSize)
            checkLength();
        else if (m_headSize == HeadSize)
            checkKind();
    }
    return taken;
}

void FrameSplitter::checkLength()
{
    const quint32 length = qFromBigEndian<quint32>(m_head);
    if (length < WireFrame::SmallestLength)
        m_fault = Fault::Malformed;
    else if (length > std::max(m_limits.scene, m_limits.other))
        m_fault = Fault::TooLong;
    else
        m_total = WireFrame::LengthSize + int(length);
}

void FrameSplitter::checkKind()
{
    const bool scene = quint8(m_head[WireFrame::LengthSize]) == NetworkMessage::SceneRecord;
    if (quint32(m_total - WireFrame::LengthSize) > (scene ? m_limits.scene : m_limits.other)) {
        m_fault = Fault::TooLong;
        return;
    }
    m_bytes.reserve(std::min(m_total, FirstReserve));
    m_bytes.append(m_head, HeadSize);
}

void FrameSplitter::makeRoom(int more)
{
    const qint64 needed = qint64(m_bytes.size()) + more;
    if (needed <= m_bytes.capacity())
        return;
    const qint64 doubled = 2 * qint64(m_bytes.capacity());
    m_bytes.reserve(int(std::min(qint64(m_total), std::max(needed, doubled))));
}

} // namespace Quorvel
