#pragma once

#include <QColor>
#include <QMatrix4x4>
#include <QStringRef>
#include <QVector2D>
#include <QVector3D>
#include <QVector4D>
#include <QVector>

#include <string_view>

namespace Quorvel
{

/// The text-to-number rules that every receiver shares. Numbers are separated by white space; a malformed
/// word reads as 0 and the reading goes on with the next word; what is missing at the end reads as 0.
///
/// Results equal those of a QTextStream over the text's local 8-bit form, at several times its speed.
namespace NumberReader
{

/// The whole trimmed text as one number, 0 when it is not exactly one.
float readNumber(const QStringRef &text);
/// The whole trimmed text as one decimal integer, 0 when it is not exactly one.
int readInteger(const QStringRef &text);

QVector3D readVector3(const QStringRef &text);
/// In the order x, y, z, w.
QVector4D readVector4(const QStringRef &text);
/// r g b, each 0 to 1, then alpha, 1 when the text has only three numbers.
QColor readColor(const QStringRef &text);
/// Sixteen numbers, row by row. Fewer leave the rest as in the identity, more are ignored.
QMatrix4x4 readMatrix(const QStringRef &text);

// Lists are read from a text of the toolkit's or from ASCII bytes, with the same results.

QVector<QVector3D> readVectors3(const QStringRef &text);
QVector<QVector3D> readVectors3(std::string_view ascii);
/// The first two of every `numbersPerEntry` numbers.
QVector<QVector2D> readVectors2(const QStringRef &text, int numbersPerEntry);
QVector<QVector2D> readVectors2(std::string_view ascii, int numbersPerEntry);
/// The first `keep` of every `stride` integers, up to the last whole group. `stride` is at least 1. Unlike
/// readInteger(), takes the prefixes 0x, 0b and 0 for bases 16, 2 and 8, and wraps around past 32 bits.
QVector<int> readIndices(const QStringRef &text, int stride, int keep);
QVector<int> readIndices(std::string_view ascii, int stride, int keep);

} // namespace NumberReader

} // namespace Quorvel
