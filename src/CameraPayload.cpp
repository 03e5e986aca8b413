#include "CameraPayload.h"

#include "RecordStream.h"

#include <QDataStream>

#include <algorithm>
#include <cmath>

namespace Quorvel
{

namespace CameraPayload
{

QByteArray encode(const QMatrix4x4 &transform)
{
    QByteArray data;
    QDataStream stream(&data, QIODevice::WriteOnly);
    RecordStream::pin(stream);
    stream << transform;
    return data;
}

std::optional<QMatrix4x4> decode(const QByteArray &data)
{
    QDataStream stream(data);
    RecordStream::pin(stream);
    QMatrix4x4 transform;
    stream >> transform;
    const float *const numbers = transform.constData();
    const bool finite =
        std::all_of(numbers, numbers + 16, [](float number) { return std::isfinite(number); });
    if (stream.status() != QDataStream::Ok || !finite)
        return std::nullopt;
    return transform;
}

} // namespace CameraPayload

} // namespace Quorvel
