#pragma once

#include <QVector2D>
#include <QVector3D>
#include <QVector>

class QDataStream;

namespace Quorvel
{

/// The encoding of scene records: the toolkit's data stream, pinned to version 12 (big-endian, every float as
/// an 8-byte double), so that records stay readable whatever release the viewer is built on.
namespace RecordStream
{

/// Puts a stream into the record encoding. Every record is read and written in it.
void pin(QDataStream &stream);

/// Lists: a 32-bit count, then the elements; the same bytes as the toolkit's operators, in bulk. A list that
/// announces more than the stream holds reads what is there and leaves the stream's status at ReadPastEnd.
void writeList(QDataStream &stream, const QVector<int> &list);
void writeList(QDataStream &stream, const QVector<QVector2D> &list);
void writeList(QDataStream &stream, const QVector<QVector3D> &list);
void readList(QDataStream &stream, QVector<int> *list);
void readList(QDataStream &stream, QVector<QVector2D> *list);
void readList(QDataStream &stream, QVector<QVector3D> *list);

} // namespace RecordStream

} // namespace Quorvel
