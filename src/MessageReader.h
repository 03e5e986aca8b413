#pragma once

#include <QtGlobal>

class QIODevice;

namespace Quorvel
{

struct NetworkMessage;

/// Takes frames (NetworkMessage.h) off a sequential device, in whatever pieces their bytes arrive.
class MessageReader
{
public:
    enum class Result {
        /// A message was read.
        Message,
        /// The rest of a frame has yet to arrive.
        Incomplete,
        /// A whole frame was taken off that holds no message. The next one is not affected.
        Malformed,
        /// A frame announces more than MaximumFrameSize. Nothing on the device can be read any more.
        TooLarge
    };

    /// `device` must outlive the reader.
    explicit MessageReader(QIODevice *device) : m_device(device) {}

    /// Takes the next frame off the device, or as much of it as there is use in taking.
    Result next(NetworkMessage *message);

    /// Forgets a frame that has begun, for a device that starts anew.
    void reset() { m_blockSize = 0; }

private:
    bool readHeader();

    QIODevice *m_device;
    /// What the frame's header announces; 0 while no header has been read.
    quint32 m_blockSize = 0;
};

} // namespace Quorvel
