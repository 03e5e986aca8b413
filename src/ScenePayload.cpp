#include "ScenePayload.h"

#include "Scene.h"
#include "SceneRecordCheck.h"

#include <QDataStream>
#include <QString>
#include <QtEndian>

#include <zlib.h>

namespace Quorvel
{

namespace ScenePayload
{

namespace
{

constexpr int headerSize = 4;

/// No stream of the compression says more than 1032 bytes with one of its own.
constexpr qint64 greatestRatio = 1032;

/// The toolkit's qUncompress would go on reserving memory past the announced size for as long as the stream
/// goes on.
std::optional<QByteArray> decompress(const QByteArray &payload, QString *fault)
{
    if (payload.size() <= headerSize) {
        *fault = QStringLiteral("%1 bytes are too few for a compressed scene").arg(payload.size());
        return std::nullopt;
    }
    const quint32 announced = qFromBigEndian<quint32>(payload.constData());
    const int compressedSize = payload.size() - headerSize;
    if (announced > quint32(MaximumRecordSize)) {
        *fault = QStringLiteral("a scene of %1 bytes is announced, %2 are the most that is accepted")
                     .arg(announced)
                     .arg(MaximumRecordSize);
        return std::nullopt;
    }
    if (announced > greatestRatio * compressedSize) {
        *fault = QStringLiteral("%1 bytes of scene are announced, more than %2 compressed bytes can hold")
                     .arg(announced)
                     .arg(compressedSize);
        return std::nullopt;
    }
    QByteArray record(int(announced), Qt::Uninitialized);
    uLongf size = announced;
    const int result =
        uncompress(reinterpret_cast<Bytef *>(record.data()), &size,
                   reinterpret_cast<const Bytef *>(payload.constData() + headerSize), uLong(compressedSize));
    if (result != Z_OK || size != announced) {
        *fault = QStringLiteral("the compressed scene is damaged");
        return std::nullopt;
    }
    return record;
}

} // namespace

QByteArray record(const Scene &scene)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    scene.save(stream);
    return bytes;
}

QByteArray encode(const QByteArray &record)
{
    return qCompress(record);
}

std::optional<QByteArray> decode(const QByteArray &payload, QString *fault)
{
    std::optional<QByteArray> record = decompress(payload, fault);
    if (!record)
        return std::nullopt;
    const SceneRecordCheck check(*record);
    if (!check.isSound()) {
        *fault = check.fault();
        return std::nullopt;
    }
    return record;
}

} // namespace ScenePayload

} // namespace Quorvel
