#pragma once

#include <QBuffer>
#include <QColor>
#include <QString>
#include <QTextStream>
#include <QVector>

namespace Quorvel
{

/// The rules written down as plainly as the toolkit allows: a text stream over the trimmed text's local 8-bit
/// form. A number that the stream can not read is 0, and what is left of its word is passed over.
class ReferenceStream
{
public:
    explicit ReferenceStream(const QString &text) : m_bytes(text.trimmed().toLocal8Bit()), m_buffer(&m_bytes)
    {
        m_buffer.open(QIODevice::ReadOnly);
        m_stream.setDevice(&m_buffer);
    }

    bool atEnd() const { return m_stream.atEnd() && !m_hasBlankLeft; }

    template <typename Number>
    Number next()
    {
        Number value = 0;
        m_hasBlankLeft = false;
        m_stream.resetStatus();
        m_stream >> value;
        if (m_stream.status() == QTextStream::ReadCorruptData)
            skipWord();
        return value;
    }

private:
    void skipWord()
    {
        while (!m_stream.atEnd()) {
            if (m_stream.read(1).at(0).isSpace()) {
                m_hasBlankLeft = m_stream.atEnd();
                break;
            }
        }
    }

    QByteArray m_bytes;
    QBuffer m_buffer;
    QTextStream m_stream;
    bool m_hasBlankLeft = false; ///< One taken behind the last word; the encoding can drop what followed it.
};

inline QVector<float> referenceFloats(const QString &text, int numbersPerEntry, int keep)
{
    ReferenceStream stream(text);
    QVector<float> floats;
    while (!stream.atEnd()) {
        for (int i = 0; i < numbersPerEntry; ++i) {
            const float number = stream.next<float>();
            if (i < keep)
                floats.append(number);
        }
    }
    return floats;
}

inline QVector<int> referenceIndices(const QString &text, int stride, int keep)
{
    ReferenceStream stream(text);
    QVector<int> all;
    while (!stream.atEnd())
        all.append(stream.next<int>());
    QVector<int> kept;
    for (int k = 0; k < all.size() - all.size() % stride; ++k) {
        if (k % stride < keep)
            kept.append(all.at(k));
    }
    return kept;
}

inline QColor referenceColor(const QString &text)
{
    ReferenceStream stream(text);
    const qreal red = stream.next<qreal>();
    const qreal green = stream.next<qreal>();
    const qreal blue = stream.next<qreal>();
    return QColor::fromRgbF(red, green, blue, stream.atEnd() ? 1.0 : stream.next<qreal>());
}

inline QVector<float> referenceMatrix(const QString &text)
{
    ReferenceStream stream(text);
    QVector<float> rows{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    for (int i = 0; i < rows.size() && !stream.atEnd(); ++i)
        rows[i] = stream.next<float>();
    return rows;
}

} // namespace Quorvel
