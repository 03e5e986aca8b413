#pragma once

#include <QByteArray>
#include <QMatrix4x4>
#include <QString>
#include <QVector>

#include <cstring>

namespace Quorvel
{

/// Writes a scene record byte by byte, without the toolkit's data stream: big-endian, floats as 8-byte
/// doubles, strings as byte length and UTF-16. Remembers where the counts stand.
class RecordBytes
{
public:
    struct Count
    {
        QString name;
        int offset;
        quint32 value;
    };

    void byte(quint8 value) { m_bytes.append(char(value)); }
    void uint16(quint16 value)
    {
        byte(quint8(value >> 8));
        byte(quint8(value));
    }
    void uint32(quint32 value)
    {
        uint16(quint16(value >> 16));
        uint16(quint16(value));
    }
    void int32(qint32 value) { uint32(quint32(value)); }
    void real(double value)
    {
        quint64 bits;
        std::memcpy(&bits, &value, sizeof bits);
        uint32(quint32(bits >> 32));
        uint32(quint32(bits));
    }
    void count(const QString &name, quint32 value)
    {
        m_counts.append({name, m_bytes.size(), value});
        uint32(value);
    }
    void nullString() { uint32(0xffffffffu); }
    void string(const QString &text)
    {
        count(QStringLiteral("length of string '%1'").arg(text), quint32(text.size() * 2));
        for (const QChar c : text)
            uint16(c.unicode());
    }
    void rgb(quint16 red, quint16 green, quint16 blue)
    {
        byte(1);
        for (const quint16 channel : {quint16(0xffff), red, green, blue, quint16(0)})
            uint16(channel);
    }
    void vector(double x, double y, double z)
    {
        real(x);
        real(y);
        real(z);
    }
    void integers(const QString &name, const QVector<int> &values)
    {
        count(name, quint32(values.size()));
        for (const int value : values)
            int32(value);
    }
    void matrix(const QMatrix4x4 &matrix)
    {
        for (int row = 0; row < 4; ++row)
            for (int column = 0; column < 4; ++column)
                real(double(matrix(row, column)));
    }

    const QByteArray &bytes() const { return m_bytes; }
    const QVector<Count> &counts() const { return m_counts; }

private:
    QByteArray m_bytes;
    QVector<Count> m_counts;
};

} // namespace Quorvel
