#include "RecordStream.h"

#include <QByteArray>
#include <QDataStream>
#include <QIODevice>
#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace Quorvel
{

namespace
{

constexpr int ChunkElements = 8192;

void encode(float value, char *out)
{
    const double wide = value;
    quint64 bits;
    std::memcpy(&bits, &wide, sizeof bits);
    qToBigEndian(bits, out);
}

float decodeFloat(const char *in)
{
    const quint64 bits = qFromBigEndian<quint64>(in);
    double wide;
    std::memcpy(&wide, &bits, sizeof wide);
    return float(wide);
}

/// Bytes of one element in a record.
template <typename T>
constexpr int elementSize();
template <>
constexpr int elementSize<int>()
{
    return 4;
}
template <>
constexpr int elementSize<QVector2D>()
{
    return 16;
}
template <>
constexpr int elementSize<QVector3D>()
{
    return 24;
}

void encodeElement(const QVector2D &vector, char *out)
{
    encode(vector.x(), out);
    encode(vector.y(), out + 8);
}

void encodeElement(const QVector3D &vector, char *out)
{
    encode(vector.x(), out);
    encode(vector.y(), out + 8);
    encode(vector.z(), out + 16);
}

void decodeElement(const char *in, QVector2D *vector)
{
    *vector = QVector2D(decodeFloat(in), decodeFloat(in + 8));
}

void decodeElement(const char *in, QVector3D *vector)
{
    *vector = QVector3D(decodeFloat(in), decodeFloat(in + 8), decodeFloat(in + 16));
}

void encodeElements(const int *elements, int count, char *out)
{
    qToBigEndian<qint32>(elements, count, out);
}

void decodeElements(const char *in, int count, int *elements)
{
    qFromBigEndian<qint32>(in, count, elements);
}

template <typename Vector>
void encodeElements(const Vector *elements, int count, char *out)
{
    for (int i = 0; i < count; ++i)
        encodeElement(elements[i], out + qptrdiff(i) * elementSize<Vector>());
}

template <typename Vector>
void decodeElements(const char *in, int count, Vector *elements)
{
    for (int i = 0; i < count; ++i)
        decodeElement(in + qptrdiff(i) * elementSize<Vector>(), elements + i);
}

template <typename T>
void writeElements(QDataStream &stream, const QVector<T> &list)
{
    constexpr int size = elementSize<T>();
    stream << quint32(list.size());
    QByteArray chunk(std::min(list.size(), ChunkElements) * size, Qt::Uninitialized);
    for (int begin = 0; begin < list.size(); begin += ChunkElements) {
        const int count = std::min(ChunkElements, list.size() - begin);
        encodeElements(list.constData() + begin, count, chunk.data());
        stream.writeRawData(chunk.constData(), count * size);
    }
}

template <typename T>
void readElements(QDataStream &stream, QVector<T> *list)
{
    constexpr int size = elementSize<T>();
    list->clear();
    quint32 announced = 0;
    stream >> announced;
    const qint64 held = stream.device() ? stream.device()->bytesAvailable() / size : 0;
    const int total = int(std::min<qint64>(announced, held));
    list->reserve(total);
    QByteArray chunk(std::min(total, ChunkElements) * size, Qt::Uninitialized);
    for (int begin = 0; begin < total; begin += ChunkElements) {
        const int count = std::min(ChunkElements, total - begin);
        if (stream.readRawData(chunk.data(), count * size) != count * size) {
            stream.setStatus(QDataStream::ReadPastEnd);
            return;
        }
        // Chunk by chunk, so that what is set to zero first is still in the processor's cache.
        list->resize(begin + count);
        decodeElements(chunk.constData(), count, list->data() + begin);
    }
    if (qint64(announced) > held)
        stream.setStatus(QDataStream::ReadPastEnd);
}

} // namespace

namespace RecordStream
{

void pin(QDataStream &stream)
{
    stream.setVersion(QDataStream::Qt_4_6);
    stream.setByteOrder(QDataStream::BigEndian);
    stream.setFloatingPointPrecision(QDataStream::DoublePrecision);
}

void writeList(QDataStream &stream, const QVector<int> &list)
{
    writeElements(stream, list);
}

void writeList(QDataStream &stream, const QVector<QVector2D> &list)
{
    writeElements(stream, list);
}

void writeList(QDataStream &stream, const QVector<QVector3D> &list)
{
    writeElements(stream, list);
}

void readList(QDataStream &stream, QVector<int> *list)
{
    readElements(stream, list);
}

void readList(QDataStream &stream, QVector<QVector2D> *list)
{
    readElements(stream, list);
}

void readList(QDataStream &stream, QVector<QVector3D> *list)
{
    readElements(stream, list);
}

} // namespace RecordStream

} // namespace Quorvel
