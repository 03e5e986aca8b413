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
/// Works on UTF-8 in which only ASCII characters are white space. Bytes that it is made from have to outlive
/// it.
class NumberText
{
public:
    explicit NumberText(const QStringRef &text);
    explicit NumberText(std::string_view ascii) { setText(ascii); }

    bool atEnd() const { return !m_wordStream && m_position == m_end; }
    /// Correctly rounded to double precision, 0 at the end.
    double real();
    /// Modulo 2^32, in base 16, 8 or 2 after the prefix 0x, 0 or 0b; 0 at the end.
    int integer();

private:
    void setText(std::string_view text);
    bool isWordEnd(const char *position) const { return position == m_end || isBlank(*position); }
    static bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
    static bool isDigit(char c) { return c >= '0' && c <= '9'; }
    void skipBlanks();
    bool readShortDecimal(double &value);
    bool readPlainReal(double &value);
    bool readPlainInteger(int &value);
    template <typename Number>
    Number readFromWordStream();

    QByteArray m_bytes;
    const char *m_position = nullptr;
    const char *m_end = nullptr;
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
/// All white space becomes blanks, and a byte-order mark elsewhere the sign of something unreadable, which it
/// is.
QByteArray localForm(const QStringRef &text)
{
    const QByteArray bytes = text.toLocal8Bit();
    QString decoded = QTextStream(bytes).readAll();
    if (decoded.isEmpty() && !bytes.isEmpty())
        return QByteArrayLiteral(" ");
    for (QChar &unit : decoded) {
        if (unit.isSpace())
            unit = QLatin1Char(' ');
        else if (unit.unicode() == QChar::ByteOrderMark)
            unit = QChar::ReplacementCharacter;
    }
    return decoded.toUtf8();
}

NumberText::NumberText(const QStringRef &text)
{
    const QStringRef trimmed = text.trimmed();
    m_bytes = isAscii(trimmed) ? trimmed.toLatin1() : localForm(trimmed);
    setText({m_bytes.constData(), size_t(m_bytes.size())});
}

void NumberText::setText(std::string_view text)
{
    m_position = text.data();
    m_end = text.data() + text.size();
}

double NumberText::real()
{
    double value = 0;
    if (!m_wordStream && (readShortDecimal(value) || readPlainReal(value)))
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
    while (m_position != m_end && isBlank(*m_position))
        ++m_position;
}

/// Digits with or without a point: both the digits as an integer and the power of ten are exact in double
/// precision, so that their quotient is rounded correctly (Clinger, "How to Read Floating Point Numbers
/// Accurately", 1990).
bool NumberText::readShortDecimal(double &value)
{
    constexpr std::ptrdiff_t mostDigits = 15;
    constexpr std::array<double, mostDigits + 1> powersOfTen = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                                1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    skipBlanks();
    const char *position = m_position;
    const bool isNegative = position != m_end && *position == '-';
    position += isNegative ? 1 : 0;
    quint64 digits = 0;
    const auto readDigits = [&] {
        const char *const first = position;
        for (; position != m_end && isDigit(*position); ++position)
            digits = digits * 10 + quint64(*position - '0');
        return position - first;
    };
    const std::ptrdiff_t whole = readDigits();
    std::ptrdiff_t fraction = 0;
    if (position != m_end && *position == '.') {
        ++position;
        fraction = readDigits();
    }
    const std::ptrdiff_t count = whole + fraction;
    if (count == 0 || count > mostDigits || !isWordEnd(position))
        return false;
    const double magnitude = double(digits) / powersOfTen[size_t(fraction)];
    value = isNegative ? -magnitude : magnitude;
    m_position = position;
    return true;
}

// std::from_chars takes all that the text stream takes of these characters, but for a leading plus and for an
// exponent right behind the point ("5.e2"), at which the text stream ends the number.
bool NumberText::readPlainReal(double &value)
{
    skipBlanks();
    constexpr std::ptrdiff_t longestNumber = 64;
    const char *const limit = m_position + std::min(longestNumber, m_end - m_position);
    const char *position = m_position;
    for (; position != limit; ++position) {
        const char c = *position;
        const bool isExponent = c == 'e' || c == 'E';
        if (isExponent && position != m_position && *(position - 1) == '.')
            return false;
        if (!isDigit(c) && !isExponent && c != '.' && c != '-' && c != '+')
            break;
    }
    if (!isWordEnd(position))
        return false;
    const std::from_chars_result result = std::from_chars(m_position, position, value);
    if (result.ec != std::errc() || result.ptr != position)
        return false;
    m_position = position;
    return true;
}

bool NumberText::readPlainInteger(int &value)
{
    skipBlanks();
    const char *position = m_position;
    const bool isNegative = position != m_end && *position == '-';
    if (isNegative)
        ++position;
    const char *const firstDigit = position;
    const char *const limit = position + std::min<std::ptrdiff_t>(18, m_end - position);
    qint64 magnitude = 0;
    for (; position != limit && isDigit(*position); ++position)
        magnitude = magnitude * 10 + (*position - '0');
    const auto digitCount = position - firstDigit;
    // Quirk(octal-indices): an unsigned integer with a leading zero is left to the word stream, 010 reads as
    // 8; the text stream that sets the measure finds out the base from the prefix, unlike readInteger().
    const bool hasBasePrefix = !isNegative && digitCount > 1 && *firstDigit == '0';
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
        const char *const wordEnd = std::find_if(m_position, m_end, isBlank);
        m_word = QString::fromUtf8(m_position, static_cast<int>(wordEnd - m_position));
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

/// With the blank behind them. Of a large list's indices few are shorter: making room for more later would
/// take a second copy of it.
constexpr int usualNumberLength = 8;
constexpr int usualIndexLength = 6;

/// A number of entries to reserve for, in proportion to the text.
template <typename Text>
int expectedEntries(const Text &text, int numbersPerEntry, int numberLength = usualNumberLength)
{
    return int(text.size()) / numberLength / std::max(1, numbersPerEntry);
}

template <typename T>
void dropExcessCapacity(QVector<T> &entries)
{
    if (entries.capacity() / 4 > entries.size() / 3)
        entries.squeeze();
}

template <typename Text>
QVector<QVector3D> vectors3(const Text &text)
{
    NumberText numbers(text);
    QVector<QVector3D> vectors;
    vectors.reserve(expectedEntries(text, 3));
    while (!numbers.atEnd())
        vectors.append(readVector3(numbers));
    dropExcessCapacity(vectors);
    return vectors;
}

template <typename Text>
QVector<QVector2D> vectors2(const Text &text, int numbersPerEntry)
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

template <typename Text>
QVector<int> indexGroups(const Text &text, int stride, int keep)
{
    Q_ASSERT(stride >= 1);
    NumberText numbers(text);
    QVector<int> indices;
    indices.reserve(expectedEntries(text, 1, usualIndexLength));
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
    return vectors3(text);
}

QVector<QVector3D> NumberReader::readVectors3(std::string_view ascii)
{
    return vectors3(ascii);
}

QVector<QVector2D> NumberReader::readVectors2(const QStringRef &text, int numbersPerEntry)
{
    return vectors2(text, numbersPerEntry);
}

QVector<QVector2D> NumberReader::readVectors2(std::string_view ascii, int numbersPerEntry)
{
    return vectors2(ascii, numbersPerEntry);
}

QVector<int> NumberReader::readIndices(const QStringRef &text, int stride, int keep)
{
    return indexGroups(text, stride, keep);
}

QVector<int> NumberReader::readIndices(std::string_view ascii, int stride, int keep)
{
    return indexGroups(ascii, stride, keep);
}

} // namespace Quorvel
