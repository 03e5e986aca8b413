#include "NumberReader.h"
#include "NumberReference.h"

#include <QTest>
#include <QTextCodec>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

using namespace Quorvel;

namespace
{

QVector<float> rowsOf(const QMatrix4x4 &matrix)
{
    QVector<float> rows(16);
    matrix.copyDataTo(rows.data());
    return rows;
}

template <typename Vectors>
QVector<float> flattened(const Vectors &vectors, int dimension)
{
    QVector<float> floats;
    for (const auto &vector : vectors) {
        for (int i = 0; i < dimension; ++i)
            floats.append(static_cast<float>(vector[i]));
    }
    return floats;
}

/// Bit by bit, so that -0 is not 0; any NaN equals any other.
bool isIdentical(float a, float b)
{
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

bool isIdentical(const QVector<float> &a, const QVector<float> &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](float left, float right) { return isIdentical(left, right); });
}

/// Malformed texts can yield invalid colours and such with NaN components.
bool isIdentical(const QColor &a, const QColor &b)
{
    const auto components = [](const QColor &color) {
        return flattened(
            QVector<std::array<qreal, 4>>{{color.redF(), color.greenF(), color.blueF(), color.alphaF()}}, 4);
    };
    return a.spec() == b.spec() && isIdentical(components(a), components(b));
}

QStringList nastyWords()
{
    QStringList words =
        QStringLiteral(
            "5 +5 -5 --5 +-5 -+5 .5 5. -.5 +.5 -5. . - + -. 1e5 1E5 1e+5 1e-5 1e 1e+ 1.e5 .5e2 5.e2 "
            "e5 1e5.5 1e1e1 1E- nan NaN +nan -NAN inf INF +inf -Inf infinity nano na in n i -i 1nan "
            "nan1 1.#IND -1.#QNAN 1.5abc abc abc1 1,2 1,234.5 1.2.3 1..2 1-2 1-2-3 1+2 1;2 1f 1d5 1L "
            "1e400 -1e400 1e400x 1e-400 1e-310 4.9e-324 2e-324 0e-999 0e999 1e38 3.4028235e38 "
            "3.4028236e38 1e39 1e-45 7e-46 0x10 0X1F 0x1G 0x 0xg -0x10 010 -010 +010 08 0778 0b101 "
            "0B11 0b102 0b 0o17 0 00 -0 -0.0 +0 000 0.1 0.30000001192092896 16777217 "
            "1.00000005960464477539 33554435 2147483647 2147483648 -2147483648 -2147483649 "
            "4294967295 4294967296 999999999999999999 -999999999999999999 9999999999999999999 "
            "-9999999999999999999 9223372036854775808 -9223372036854775808 18446744073709551617 "
            "99999999999999999999999 \"5\" (5) 5% $5 true 1_000 1'000 5\\ /5")
            .split(' ');
    words << QChar(0x1c) + QString("5") << QString("5") + QChar(0x1c) + "6" << QChar(0x1b) + QString("[5m")
          << "5\x7f";
    words << QString(63, '1') << QString(64, '1') << QString(65, '1') << "0." + QString(61, '3')
          << "0." + QString(62, '3') << "0." + QString(63, '3') << QString(122, '1') << QString(123, '2')
          << QString(124, '3') << QString(125, '4') << QString(200, '5') + ".5e3"
          << "0." + QString(200, '3') + "7" << QString(300, '0') + "7" << QString(400, '-')
          << "1" + QString(100, '0') + "e-100";
    words << QString("1") + QChar(0) + "2" << QString(QChar(0)) << QString("5") + QChar(0)
          << QString(QChar(0xd800)) << QString("1") + QChar(0xdc00) + "2" << QString(QChar(0xfffe)) + "1"
          << QString("1") + QChar(0xffff);
    words << QString(QChar(0xfeff)) << QChar(0xfeff) + QString("7") << "7" + QString(QChar(0xfeff)) + "8";
    words << QString::fromUtf8(
                 u8"٣ 1٣ ٣1 ５ 1５.5 −5 ½ ² 1² ∞ ä 1ä 𝟙 1𝟙 \u200b5 5\u200b \u20605 ¿1 ÿþ ÿþ1 þÿ1")
                 .split(' ');
    return words;
}

/// Texts that mix plain numbers, unusual words and all kinds of white space. The same seed gives the same
/// texts.
class TextGenerator
{
public:
    explicit TextGenerator(unsigned seed) : m_random(seed) {}

    QString text(int wordCount, bool asciiOnly)
    {
        QString text = separator(asciiOnly);
        for (int i = 0; i < wordCount; ++i)
            text += word(asciiOnly) + separator(asciiOnly);
        return text;
    }

private:
    int below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned>(limit)); }

    QString separator(bool asciiOnly)
    {
        static const QString blanks =
            QString::fromUtf8(" \n\t\r\v\f\u00a0\u0085\u2028\u2029\u3000\u1680\u2003");
        QString separator;
        for (int i = 1 + below(2) * below(4); i > 0; --i)
            separator += below(3) == 0 ? blanks.at(below(asciiOnly ? 6 : blanks.size())) : QChar(' ');
        return separator;
    }

    QString word(bool asciiOnly)
    {
        switch (below(8)) {
        case 0:
            return nastyWord(asciiOnly);
        case 1:
            return below(4) == 0 ? nastyWord(asciiOnly) + nastyWord(asciiOnly) : randomCharacters();
        case 2:
        case 3:
            return QString::number(static_cast<int>(m_random()) >> below(32));
        case 4:
            return QString::number(anyDouble(), 'g', 1 + below(17));
        default:
            return QString::number((below(2000001) - 1000000) / 1e4, "feg"[below(3)], below(12));
        }
    }

    QString nastyWord(bool asciiOnly)
    {
        static const QStringList words = nastyWords();
        while (true) {
            const QString &word = words.at(below(words.size()));
            const bool isAscii =
                std::all_of(word.begin(), word.end(), [](QChar c) { return c < QChar(0x80); });
            if (isAscii || !asciiOnly)
                return word;
        }
    }

    QString randomCharacters()
    {
        static const QString characters = QStringLiteral("0123456789012345678900..--+eExXbBnaNAifIF,");
        QString word;
        for (int i = below(10); i >= 0; --i)
            word += characters.at(below(characters.size()));
        return word;
    }

    /// Any bit pattern, most of them near the range of single precision.
    double anyDouble()
    {
        const double mantissa =
            static_cast<double>(m_random()) * 4294967296.0 + static_cast<double>(m_random());
        return std::ldexp(mantissa, below(8) == 0 ? below(2100) - 1140 : below(290) - 210);
    }

    std::mt19937 m_random;
};

void silence(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type != QtWarningMsg || !message.startsWith(QLatin1String("QColor::fromRgbF")))
        std::fprintf(stderr, "%s\n", qPrintable(message));
}

/// Sets the local 8-bit encoding, and keeps quiet what the toolkit says of colours out of range.
class Surroundings
{
public:
    explicit Surroundings(const QByteArray &encoding)
        : m_codec(QTextCodec::codecForLocale()), m_handler(qInstallMessageHandler(silence))
    {
        QTextCodec::setCodecForLocale(QTextCodec::codecForName(encoding));
    }
    ~Surroundings()
    {
        QTextCodec::setCodecForLocale(m_codec);
        qInstallMessageHandler(m_handler);
    }
    Q_DISABLE_COPY_MOVE(Surroundings)

private:
    QTextCodec *const m_codec;
    const QtMessageHandler m_handler;
};

void addEncodings()
{
    QTest::addColumn<QByteArray>("encoding");
    for (const char *encoding : {"UTF-8", "ISO-8859-1", "US-ASCII"})
        QTest::newRow(encoding) << QByteArray(encoding);
}

} // namespace

class TestNumberReader : public QObject
{
    Q_OBJECT

private slots:
    void number_data();
    void number();
    void integer_data();
    void integer();
    void vectors_data();
    void vectors();
    void textureCoordinates_data();
    void textureCoordinates();
    void color_data();
    void color();
    void matrix_data();
    void matrix();
    void indices_data();
    void indices();
    void negativeZeroKeepsItsSign();
    void numbersAreRoundedTwice();
    void fourVectorIsInOrderXyzw();
    void partOfALongerText();
    void capacityIsInProportion_data();
    void capacityIsInProportion();
    void nastyWordsEqualTextStream_data();
    void nastyWordsEqualTextStream();
    void generatedTextsEqualTextStream_data();
    void generatedTextsEqualTextStream();
    void longTextsEqualTextStream();

private:
    void compareWithReference(const QString &text, unsigned which);
};

void TestNumberReader::number_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<float>("expected");
    QTest::newRow("plain") << "0.75" << 0.75f;
    QTest::newRow("blanks around") << " \n\t-1.5e2 \r" << -150.0f;
    QTest::newRow("two numbers are none") << "0.5 0.7" << 0.0f;
    QTest::newRow("trailing letters") << "1.5abc" << 0.0f;
    QTest::newRow("word") << "half" << 0.0f;
    QTest::newRow("empty") << "" << 0.0f;
    QTest::newRow("only blanks") << " \n " << 0.0f;
    QTest::newRow("narrowed to single precision") << "0.1" << 0.1f;
    QTest::newRow("beyond single precision") << "1e39" << std::numeric_limits<float>::infinity();
    QTest::newRow("hexadecimal") << "0x10" << 0.0f;
}

void TestNumberReader::number()
{
    QFETCH(QString, text);
    QFETCH(float, expected);
    QVERIFY(isIdentical(NumberReader::readNumber(QStringRef(&text)), expected));
}

void TestNumberReader::integer_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("expected");
    QTest::newRow("plain") << "3" << 3;
    QTest::newRow("blanks around") << "\n -42\t" << -42;
    QTest::newRow("leading zero is decimal") << "010" << 10;
    QTest::newRow("hexadecimal") << "0x10" << 0;
    QTest::newRow("fraction") << "3.0" << 0;
    QTest::newRow("two integers are none") << "3 4" << 0;
    QTest::newRow("past the range") << "2147483648" << 0;
    QTest::newRow("empty") << "" << 0;
}

void TestNumberReader::integer()
{
    QFETCH(QString, text);
    QFETCH(int, expected);
    QCOMPARE(NumberReader::readInteger(QStringRef(&text)), expected);
}

void TestNumberReader::vectors_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVector<float>>("expected");
    QTest::newRow("empty") << "" << QVector<float>{};
    QTest::newRow("only blanks") << " \n\t " << QVector<float>{};
    QTest::newRow("one") << "1 2 3" << QVector<float>{1, 2, 3};
    QTest::newRow("any white space") << "\t1\n2\r\n3\v4\f5  6 " << QVector<float>{1, 2, 3, 4, 5, 6};
    QTest::newRow("two short of a whole vector") << "1 2 3 4" << QVector<float>{1, 2, 3, 4, 0, 0};
    QTest::newRow("one short of a whole vector") << "1 2 3 4 5" << QVector<float>{1, 2, 3, 4, 5, 0};
    QTest::newRow("malformed word") << "1 two 3" << QVector<float>{1, 0, 3};
    QTest::newRow("only malformed words") << "a b c d" << QVector<float>{0, 0, 0, 0, 0, 0};
    QTest::newRow("malformed word at the end") << "1 2 x" << QVector<float>{1, 2, 0};
    QTest::newRow("exponent without digits") << "1e 2 3" << QVector<float>{0, 2, 3};
    QTest::newRow("past double precision") << "1e400 2 -1e400" << QVector<float>{0, 2, 0};
    QTest::newRow("split: letters behind a number") << "1.5abc 2" << QVector<float>{1.5f, 0, 2};
    QTest::newRow("split: comma") << "1,2 3" << QVector<float>{1, 0, 3};
    QTest::newRow("split: two in one word") << "1-2 3" << QVector<float>{1, -2, 3};
    QTest::newRow("signs and bare points") << "+1 -.5 2." << QVector<float>{1, -0.5f, 2};
    QTest::newRow("exponents") << "1e2 2E-1 +3e+0" << QVector<float>{100, 0.2f, 3};
    QTest::newRow("no hexadecimal") << "0x10 2" << QVector<float>{0, 0, 2};
    QTest::newRow("no octal") << "010 2 3" << QVector<float>{10, 2, 3};
    QTest::newRow("no-break spaces") << QString::fromUtf8("1\u00a02\u00a03") << QVector<float>{1, 2, 3};
    QTest::newRow("byte-order mark") << QChar(0xfeff) + QStringLiteral("1 2 3") << QVector<float>{1, 2, 3};
}

void TestNumberReader::vectors()
{
    QFETCH(QString, text);
    QFETCH(QVector<float>, expected);
    QCOMPARE(flattened(NumberReader::readVectors3(QStringRef(&text)), 3), expected);

    const QVector<float> first = expected.isEmpty() ? QVector<float>{0, 0, 0} : expected.mid(0, 3);
    const QVector3D vector = NumberReader::readVector3(QStringRef(&text));
    QCOMPARE(vector, QVector3D(first.at(0), first.at(1), first.at(2)));
}

void TestNumberReader::textureCoordinates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("numbersPerEntry");
    QTest::addColumn<QVector<float>>("expected");
    QTest::newRow("empty") << "" << 3 << QVector<float>{};
    QTest::newRow("third number skipped") << "0 0 0 1 1 0" << 3 << QVector<float>{0, 0, 1, 1};
    QTest::newRow("third number missing") << "1 2 3 4 5" << 3 << QVector<float>{1, 2, 4, 5};
    QTest::newRow("second number missing") << "1 2 3 4" << 3 << QVector<float>{1, 2, 4, 0};
    QTest::newRow("pairs") << "1 2 3 4" << 2 << QVector<float>{1, 2, 3, 4};
    QTest::newRow("four per entry") << "1 2 3 4 5 6 7 8 9" << 4 << QVector<float>{1, 2, 5, 6, 9, 0};
    QTest::newRow("malformed skipped number") << "1 2 x 4 5 y" << 3 << QVector<float>{1, 2, 4, 5};
    QTest::newRow("malformed kept number") << "u 2 3 4 v 6" << 3 << QVector<float>{0, 2, 4, 0};
}

void TestNumberReader::textureCoordinates()
{
    QFETCH(QString, text);
    QFETCH(int, numbersPerEntry);
    QFETCH(QVector<float>, expected);
    QCOMPARE(flattened(NumberReader::readVectors2(QStringRef(&text), numbersPerEntry), 2), expected);
}

void TestNumberReader::color_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QColor>("expected");
    QTest::newRow("three numbers are opaque") << "1 0 0" << QColor::fromRgbF(1, 0, 0, 1);
    QTest::newRow("three numbers and blanks") << " 1 0 0 \n" << QColor::fromRgbF(1, 0, 0, 1);
    QTest::newRow("fourth number is alpha") << "1 0 0 0.5" << QColor::fromRgbF(1, 0, 0, 0.5);
    QTest::newRow("fifth number ignored") << "0.7 0.3 0.1 0.5 0.9" << QColor::fromRgbF(0.7, 0.3, 0.1, 0.5);
    QTest::newRow("two numbers") << "1 0.5" << QColor::fromRgbF(1, 0.5, 0, 1);
    QTest::newRow("malformed component") << "1 x 1" << QColor::fromRgbF(1, 0, 1, 1);
    QTest::newRow("malformed alpha") << "1 1 1 x" << QColor::fromRgbF(1, 1, 1, 0);
    QTest::newRow("empty") << "" << QColor::fromRgbF(0, 0, 0, 1);
    QTest::newRow("component above 1") << "1.5 0 0" << QColor::fromRgbF(1.5, 0, 0, 1);
    QTest::newRow("component below 0") << "-0.5 0 0 1" << QColor::fromRgbF(-0.5, 0, 0, 1);
}

void TestNumberReader::color()
{
    QFETCH(QString, text);
    QFETCH(QColor, expected);
    QCOMPARE(NumberReader::readColor(QStringRef(&text)), expected);
}

void TestNumberReader::matrix_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVector<float>>("rows");
    const QVector<float> counted{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    QTest::newRow("translation") << "1 0 0 5 0 1 0 0 0 0 1 0 0 0 0 1"
                                 << QVector<float>{1, 0, 0, 5, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    QTest::newRow("row by row") << "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16" << counted;
    QTest::newRow("seventeen") << "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17" << counted;
    QTest::newRow("six") << "1 2 3 4 5 6" << QVector<float>{1, 2, 3, 4, 5, 6, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    QTest::newRow("empty") << "" << QVector<float>{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    QTest::newRow("malformed diagonal")
        << "x 0 0 5" << QVector<float>{0, 0, 0, 5, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
}

void TestNumberReader::matrix()
{
    QFETCH(QString, text);
    QFETCH(QVector<float>, rows);
    const QMatrix4x4 matrix = NumberReader::readMatrix(QStringRef(&text));
    QCOMPARE(rowsOf(matrix), rows);
    // The kind of matrix that the toolkit has noted must fit its elements.
    QCOMPARE(matrix * QVector4D(1, 2, 3, 1), QMatrix4x4(rows.constData()) * QVector4D(1, 2, 3, 1));
}

void TestNumberReader::indices_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("stride");
    QTest::addColumn<int>("keep");
    QTest::addColumn<QVector<int>>("expected");
    QTest::newRow("first two of three") << "0 1 2 3 4 5" << 3 << 2 << QVector<int>{0, 1, 3, 4};
    QTest::newRow("all of three") << "0 1 2 3 4 5" << 3 << 3 << QVector<int>{0, 1, 2, 3, 4, 5};
    QTest::newRow("first of one") << "4 5 6" << 1 << 1 << QVector<int>{4, 5, 6};
    QTest::newRow("first three of five") << "0 1 2 3 4 5 6 7 8 9" << 5 << 3 << QVector<int>{0, 1, 2, 5, 6, 7};
    QTest::newRow("keep none") << "0 1 2 3" << 2 << 0 << QVector<int>{};
    QTest::newRow("begun group dropped") << "0 1 2 3 4" << 3 << 3 << QVector<int>{0, 1, 2};
    QTest::newRow("begun group dropped, kept part whole") << "0 1 2 3 4" << 3 << 2 << QVector<int>{0, 1};
    QTest::newRow("less than one group") << "0 1" << 3 << 2 << QVector<int>{};
    QTest::newRow("empty") << "" << 3 << 3 << QVector<int>{};
    QTest::newRow("only blanks") << " \n" << 1 << 1 << QVector<int>{};
    QTest::newRow("negative") << "-1 -0 +2" << 1 << 1 << QVector<int>{-1, 0, 2};
    QTest::newRow("malformed word") << "0 x 2" << 1 << 1 << QVector<int>{0, 0, 2};
    QTest::newRow("only malformed words") << "x y" << 1 << 1 << QVector<int>{0, 0};
    QTest::newRow("split: fraction") << "1.5 2" << 1 << 1 << QVector<int>{1, 0, 2};
    QTest::newRow("split: two in one word") << "1-2" << 1 << 1 << QVector<int>{1, -2};
    QTest::newRow("octal") << "010 -010 08" << 1 << 1 << QVector<int>{8, -10, 8};
    QTest::newRow("hexadecimal") << "0x10 0XfF" << 1 << 1 << QVector<int>{16, 255};
    QTest::newRow("binary") << "0b101" << 1 << 1 << QVector<int>{5};
    QTest::newRow("past the range") << "2147483648 4294967297" << 1 << 1
                                    << QVector<int>{std::numeric_limits<int>::min(), 1};
}

void TestNumberReader::indices()
{
    QFETCH(QString, text);
    QFETCH(int, stride);
    QFETCH(int, keep);
    QFETCH(QVector<int>, expected);
    QCOMPARE(NumberReader::readIndices(QStringRef(&text), stride, keep), expected);
}

void TestNumberReader::negativeZeroKeepsItsSign()
{
    const QString text = QStringLiteral("-0 -0.0 0");
    const QVector3D vector = NumberReader::readVector3(QStringRef(&text));
    QVERIFY(std::signbit(vector.x()));
    QVERIFY(std::signbit(vector.y()));
    QVERIFY(!std::signbit(vector.z()));
}

void TestNumberReader::numbersAreRoundedTwice()
{
    // Just above the middle of two neighbours: rounded once it is the upper one, but in double precision it
    // is exactly the middle, which then goes to the even one below.
    const QString text = QStringLiteral("1.000000059604644775390626");
    QVERIFY(isIdentical(std::strtof("1.000000059604644775390626", nullptr), 1.00000012f));
    QVERIFY(isIdentical(NumberReader::readVector3(QStringRef(&text)).x(), 1.0f));
}

void TestNumberReader::fourVectorIsInOrderXyzw()
{
    const QString text = QStringLiteral(" 1 2 3 4 5");
    QCOMPARE(NumberReader::readVector4(QStringRef(&text)), QVector4D(1, 2, 3, 4));
    const QString shortText = QStringLiteral("1 2");
    QCOMPARE(NumberReader::readVector4(QStringRef(&shortText)), QVector4D(1, 2, 0, 0));
}

void TestNumberReader::partOfALongerText()
{
    const QString text = QStringLiteral("91 2 345");
    QCOMPARE(NumberReader::readVector3(QStringRef(&text, 1, 5)), QVector3D(1, 2, 3));
    QCOMPARE(NumberReader::readNumber(QStringRef(&text, 5, 2)), 34.0f);
    QCOMPARE(NumberReader::readIndices(QStringRef(), 1, 1), QVector<int>());
}

void TestNumberReader::capacityIsInProportion_data()
{
    QTest::addColumn<QString>("word");
    QTest::newRow("short words") << "0 ";
    QTest::newRow("long words") << "-1.23456789012345678 ";
    QTest::newRow("much white space") << "1" + QString(200, ' ');
}

void TestNumberReader::capacityIsInProportion()
{
    QFETCH(QString, word);
    const QString text = word.repeated(30000);
    const QVector<QVector3D> vectors = NumberReader::readVectors3(QStringRef(&text));
    QCOMPARE(vectors.size(), 10000);
    QVERIFY(vectors.capacity() <= 13400);
    const QVector<QVector2D> pairs = NumberReader::readVectors2(QStringRef(&text), 3);
    QCOMPARE(pairs.size(), 10000);
    QVERIFY(pairs.capacity() <= 13400);
    const QVector<int> indices = NumberReader::readIndices(QStringRef(&text), 3, 1);
    QVERIFY(indices.capacity() <= indices.size() * 1.34);
}

void TestNumberReader::compareWithReference(const QString &text, unsigned which)
{
    const QStringRef ref(&text);
    const QByteArray shown = text.toUtf8().toPercentEncoding(" +,;()");
    const auto triples = flattened(NumberReader::readVectors3(ref), 3);
    QVERIFY2(isIdentical(triples, referenceFloats(text, 3, 3)), shown.constData());
    const auto integers = NumberReader::readIndices(ref, 1, 1);
    QVERIFY2(integers == referenceIndices(text, 1, 1), shown.constData());
    const int stride = static_cast<int>(2 + which / 4 % 3);
    const int keep = static_cast<int>(which / 12 % 4);
    switch (which % 4) {
    case 0: {
        const auto pairs = flattened(NumberReader::readVectors2(ref, stride), 2);
        QVERIFY2(isIdentical(pairs, referenceFloats(text, stride, 2)), shown.constData());
        break;
    }
    case 1:
        QVERIFY2(NumberReader::readIndices(ref, stride, keep) == referenceIndices(text, stride, keep),
                 shown.constData());
        break;
    case 2:
        QVERIFY2(isIdentical(rowsOf(NumberReader::readMatrix(ref)), referenceMatrix(text)),
                 shown.constData());
        break;
    default:
        QVERIFY2(isIdentical(NumberReader::readColor(ref), referenceColor(text)), shown.constData());
        break;
    }
}

void TestNumberReader::nastyWordsEqualTextStream_data()
{
    addEncodings();
}

void TestNumberReader::nastyWordsEqualTextStream()
{
    QFETCH(QByteArray, encoding);
    const Surroundings surroundings(encoding);
    const QStringList words = nastyWords();
    for (const QString &word : words) {
        for (const QString &text : {word, "7 " + word + " 8", word + word, word + "\n" + word + " 1 2 3"}) {
            for (unsigned which = 0; which < 4; ++which) {
                compareWithReference(text, which);
                if (QTest::currentTestFailed())
                    return;
            }
        }
    }
}

void TestNumberReader::generatedTextsEqualTextStream_data()
{
    addEncodings();
}

void TestNumberReader::generatedTextsEqualTextStream()
{
    QFETCH(QByteArray, encoding);
    const Surroundings surroundings(encoding);
    TextGenerator generator(20100);
    const unsigned textCount = encoding == "UTF-8" ? 20000 : 1500;
    for (unsigned i = 0; i < textCount; ++i) {
        compareWithReference(generator.text(static_cast<int>(i % 23), i % 3 != 0), i);
        if (QTest::currentTestFailed())
            return;
    }
}

void TestNumberReader::longTextsEqualTextStream()
{
    // Longer than the blocks in which a text stream takes its bytes, so that words and characters straddle
    // them.
    const Surroundings surroundings("UTF-8");
    TextGenerator generator(7);
    for (unsigned i = 0; i < 12; ++i) {
        const QString text = generator.text(6000, i % 2 == 0);
        QVERIFY(text.size() > 2 * 16384);
        compareWithReference(text, i);
        if (QTest::currentTestFailed())
            return;
    }
}

QTEST_GUILESS_MAIN(TestNumberReader)
#include "tst_numberreader.moc"
