#include "ReadOnceBuffer.h"

namespace Quorvel
{

qint64 ReadOnceBuffer::readData(char *data, qint64 maximum)
{
    const qint64 count = QBuffer::readData(data, maximum);
    if (pos() + count >= size())
        buffer().clear();
    return count;
}

} // namespace Quorvel
