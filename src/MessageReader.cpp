#include "MessageReader.h"

#include "NetworkMessage.h"

#include <QDataStream>
#include <QIODevice>

namespace Quorvel
{

MessageReader::Result MessageReader::next(NetworkMessage *message)
{
    *message = NetworkMessage();
    if (m_blockSize == 0 && !readHeader())
        return Result::Incomplete;
    if (m_blockSize > MaximumFrameSize)
        return Result::TooLarge;
    if (m_device->bytesAvailable() < m_blockSize)
        return Result::Incomplete;

    // Read from the frame's own bytes: wrong lengths inside it cannot reach into the next frame.
    const QByteArray frame = m_device->read(m_blockSize);
    m_blockSize = 0;
    QDataStream stream(frame);
    stream.setVersion(QDataStream::Qt_4_0);
    stream >> *message;
    return stream.status() == QDataStream::Ok ? Result::Message : Result::Malformed;
}

bool MessageReader::readHeader()
{
    // Quirk(header-threshold): two bytes are enough to try to read a header of four;
    // kept with the protocol's other numbers, and harmless: a try that finds less puts back what it took.
    constexpr int threshold = 2;
    if (m_device->bytesAvailable() < threshold)
        return false;
    QDataStream stream(m_device);
    stream.setVersion(QDataStream::Qt_4_0);
    stream.startTransaction();
    stream >> m_blockSize;
    return stream.commitTransaction();
}

} // namespace Quorvel
