#pragma once

#include <QBuffer>

namespace Quorvel
{

/// A buffer that empties its bytes when the last of them has been read, so that a large text does not stay in
/// memory beside what was made of it. Good for one reading from beginning to end.
class ReadOnceBuffer : public QBuffer
{
protected:
    qint64 readData(char *data, qint64 maximum) override;
};

} // namespace Quorvel
