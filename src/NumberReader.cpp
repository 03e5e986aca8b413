#include "NumberReader.h"

#include <QString>
#include <QTextStream>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <memory>

namespace Quorvel
{

namespace
{

/// Takes one number after the other from a text. Plain numbers are read here; every other word is left to the
/// toolkit's text stream, whose results are the measure. Linear in the length of the text.
///
/// Refers to the text, which has to outlive it.
class NumberText
{
public:
    explicit NumberText(const QStringRef &text);

    bool atEnd() const { return !m_wordStream && m_position == m_end; }
    /// Correctly rounded to double precision, 0 at the end.
    double real();
    /// Modulo 2^32, in base 16, 8 or 2 after the prefix 0x, 0 or 0b; 0 at the end.
    int integer();

private:
    bool isWordEnd(const QChar *position) const { return position == m_end || position->isSpace(); }
    void skipBlanks();
    bool readPlainReal(double &value);
    bool readPlainInteger(int &value);
    template <typename Number>
    Number readFromWordStream();

    QString m_decoded;
    const QChar *m_position = nullptr;
    const QChar *m_end = nullptr;
    QString m_word;
    std::unique_ptr<QTextStream> m_wordStream; ///< Set while part of an unusual word is still to be read.
};

bool isAscii(const QStringRef &text)
{
    ushort bits = 0;
    for (const QChar unit : text)
        bits |= unit.unicode();
    return bits < 0x80;
}

/// What a text stream makes of the text's local 8-bit form: drops a byte-order mark, replaces what the
/// encoding lacks. Bytes that decode to nothing become a blank, as the stream is not at its end before them.
QString localForm(const QStringRef &text)
{
    const QByteArray bytes = text.toLocal8Bit();
    const QString decoded = QTextStream(bytes).readAll();
    return decoded.isEmpty() && !bytes.isEmpty() ? QStringLiteral(" ") : decoded;
}

NumberText::NumberText(const QStringRef &text)
{
    QStringRef trimmed = text.trimmed();
    if (!isAscii(trimmed)) {
        m_decoded = localForm(trimmed);
        trimmed = QStringRef(&m_decoded);
    }
    m_position = trimmed.begin();
    m_end = trimmed.end();
}

double NumberText::real()
{
    double value = 0;
    if (!m_wordStream && readPlainReal(value))
        return value;
    return readFromWordStream<double>();
}

int NumberText::integer()
{
    int value = 0;
    if (!m_wordStream && readPlainInteger(value))
        return value;
    return readFromWordStream<int>();
}

void NumberText::skipBlanks()
{
    while (m_position != m_end && m_position->isSpace())
        ++m_position;
}

// std::from_chars takes all that the text stream takes of these characters, but for a leading plus and for an
// exponent right behind the point ("5.e2"), at which the text stream ends the number.
bool NumberText::readPlainReal(double &value)
{
    skipBlanks();
    std::array<char, 64> digits;
    auto out = digits.begin();
    const QChar *position = m_position;
    for (; position != m_end && out != digits.end(); ++position, ++out) {
        const ushort unit = position->unicode();
        if (unit < '0' || unit > '9') {
            const bool isExponent = unit == 'e' || unit == 'E';
            if (isExponent && out != digits.begin() && *(out - 1) == '.')
                return false;
            if (!isExponent && unit != '.' && unit != '-' && unit != '+')
                break;
        }
        *out = static_cast<char>(unit);
    }
    if (!isWordEnd(position))
        return false;
    const char *const end = digits.data() + (out - digits.begin());
    const std::from_chars_result result = std::from_chars(digits.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end)
        return false;
    m_position = position;
    return true;
}

bool NumberText::readPlainInteger(int &value)
{
    skipBlanks();
    const QChar *position = m_position;
    const bool isNegative = position != m_end && *position == QLatin1Char('-');
    if (isNegative)
        ++position;
    const QChar *const firstDigit = position;
    const QChar *const limit = position + std::min<std::ptrdiff_t>(18, m_end - position);
    qint64 magnitude = 0;
    for (; position != limit && position->unicode() >= '0' && position->unicode() <= '9'; ++position)
        magnitude = magnitude * 10 + (position->unicode() - '0');
    const auto digitCount = position - firstDigit;
    // Quirk(octal-indices): an unsigned integer with a leading zero is left to the word stream, 010 reads as
    // 8; the text stream that sets the measure finds out the base from the prefix, unlike readInteger().
    const bool hasBasePrefix = !isNegative && digitCount > 1 && *firstDigit == QLatin1Char('0');
    if (digitCount == 0 || hasBasePrefix || !isWordEnd(position))
        return false;
    value = static_cast<int>(isNegative ? -magnitude : magnitude);
    m_position = position;
    return true;
}

template <typename Number>
Number NumberText::readFromWordStream()
{
    if (!m_wordStream) {
        if (m_position == m_end)
            return 0;
        const QChar *const wordEnd =
            std::find_if(m_position, m_end, [](QChar unit) { return unit.isSpace(); });
        m_word = QString(m_position, static_cast<int>(wordEnd - m_position));
        m_wordStream = std::make_unique<QTextStream>(&m_word, QIODevice::ReadOnly);
        m_position = wordEnd;
    }
    Number value = 0;
    *m_wordStream >> value;
    // Quirk(split-words): one word can yield several numbers, "1-2" is 1 and -2, "1.5abc" is 1.5 and 0;
    // the text stream ends a number where it must, and only what it can not read at all ends the word.
    if (m_wordStream->status() != QTextStream::Ok || m_wordStream->atEnd())
        m_wordStream.reset();
    return value;
}

float readFloat(NumberText &numbers)
{
    return static_cast<float>(numbers.real());
}

QVector3D readVector3(NumberText &numbers)
{
    const float x = readFloat(numbers);
    const float y = readFloat(numbers);
    const float z = readFloat(numbers);
    return QVector3D(x, y, z);
}

/// A number of entries to reserve for, in proportion to the text.
int expectedEntries(const QStringRef &text, int numbersPerEntry)
{
    const int usualNumberLength = 8;
    return text.size() / usualNumberLength / std::max(1, numbersPerEntry);
}

template <typename T>
void dropExcessCapacity(QVector<T> &entries)
{
    if (entries.capacity() / 4 > entries.size() / 3)
        entries.squeeze();
}

} // namespace

float NumberReader::readNumber(const QStringRef &text)
{
    return static_cast<float>(text.trimmed().toDouble());
}

int NumberReader::readInteger(const QStringRef &text)
{
    return text.trimmed().toInt(nullptr, 10);
}

QVector3D NumberReader::readVector3(const QStringRef &text)
{
    NumberText numbers(text);
    return Quorvel::readVector3(numbers);
}

QVector4D NumberReader::readVector4(const QStringRef &text)
{
    NumberText numbers(text);
    const QVector3D xyz = Quorvel::readVector3(numbers);
    return QVector4D(xyz, readFloat(numbers));
}

QColor NumberReader::readColor(const QStringRef &text)
{
    NumberText numbers(text);
    const double red = numbers.real();
    const double green = numbers.real();
    const double blue = numbers.real();
    const double alpha = numbers.atEnd() ? 1.0 : numbers.real();
    return QColor::fromRgbF(red, green, blue, alpha);
}

QMatrix4x4 NumberReader::readMatrix(const QStringRef &text)
{
    NumberText numbers(text);
    QMatrix4x4 columns;
    float *const elements = columns.data();
    for (int i = 0; i < 16 && !numbers.atEnd(); ++i)
        elements[i] = readFloat(numbers);
    return columns.transposed();
}

QVector<QVector3D> NumberReader::readVectors3(const QStringRef &text)
{
    NumberText numbers(text);
    QVector<QVector3D> vectors;
    vectors.reserve(expectedEntries(text, 3));
    while (!numbers.atEnd())
        vectors.append(Quorvel::readVector3(numbers));
    dropExcessCapacity(vectors);
    return vectors;
}

QVector<QVector2D> NumberReader::readVectors2(const QStringRef &text, int numbersPerEntry)
{
    NumberText numbers(text);
    QVector<QVector2D> vectors;
    vectors.reserve(expectedEntries(text, numbersPerEntry));
    while (!numbers.atEnd()) {
        const float s = readFloat(numbers);
        const float t = readFloat(numbers);
        vectors.append(QVector2D(s, t));
        for (int i = 2; i < numbersPerEntry && !numbers.atEnd(); ++i)
            numbers.real();
    }
    dropExcessCapacity(vectors);
    return vectors;
}

QVector<int> NumberReader::readIndices(const QStringRef &text, int stride, int keep)
{
    Q_ASSERT(stride >= 1);
    NumberText numbers(text);
    QVector<int> indices;
    indices.reserve(expectedEntries(text, 1));
    int wholeGroups = 0;
    for (int k = 0; !numbers.atEnd();) {
        const int index = numbers.integer();
        if (k < keep)
            indices.append(index);
        if (++k == stride) {
            k = 0;
            wholeGroups = indices.size();
        }
    }
    indices.resize(wholeGroups);
    dropExcessCapacity(indices);
    return indices;
}

} // namespace Quorvel
