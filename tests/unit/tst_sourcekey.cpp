#include "HeldFile.h"
#include "SourceText.h"

#include <QtTest>

#include <future>

using namespace Quorvel;

namespace
{

/// What is read at a time.
constexpr int part = 4 * 1024 * 1024;
constexpr int threeParts = 2 * part + 1024 * 1024;

/// Lines of eight bytes, each its number.
QByteArray numbered(int size)
{
    static const QByteArray lines = [] {
        QByteArray bytes;
        for (int i = 0; bytes.size() < threeParts; ++i)
            bytes += QByteArray::number(i).rightJustified(7, '0') + '\n';
        return bytes;
    }();
    return lines.left(size);
}

/// Three parts of them, with other bytes at a place.
QByteArray numbered(int at, const QByteArray &others)
{
    return numbered(threeParts).replace(at, others.size(), others);
}

/// The text of a file, by way of the toolkit's strings.
QByteArray reencoded(const QByteArray &bytes)
{
    const int nul = bytes.indexOf('\0');
    return QString::fromLatin1(nul < 0 ? bytes : bytes.left(nul)).toUtf8();
}

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

} // namespace

/// The text and the key of files that are read in several parts. The keys are md5sum's, of the texts.
class TestSourceKey : public QObject
{
    Q_OBJECT

private slots:
    void largeFiles_data();
    void largeFiles();
    void pipe_data();
    void pipe();

private:
    static void addRow(const char *name, const QByteArray &bytes, const QByteArray &key)
    {
        QTest::newRow(name) << bytes << key;
    }
};

void TestSourceKey::largeFiles_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("key");
    addRow("one part", numbered(part), "aa97cfe642298dce5492c6e4beae0013");
    addRow("one byte more", numbered(part + 1), "7a2cf2ee87f0e623f920bb2959a92d36");
    addRow("two parts", numbered(2 * part), "fe4287ec6bfbf81b18f472bc281a37ae");
    addRow("three parts", numbered(threeParts), "bed87db1d955dda29f808d548fc99ece");

    addRow("accent in the first part", numbered(5, "\xe9"), "6e34b5ce88ba62fb665b9620f1b391c6");
    addRow("accent in the last part", numbered(2 * part + 5, "\xe9"), "fbdf2f8f2386488a63de76484ec58176");
    addRow("character across the first part's end", numbered(part - 1, "\xc3\xa9"),
           "7d1676eaf386bd7855edd8d28d6207e0");
    addRow("character across the second part's end", numbered(2 * part - 1, "\xc3\xa9"),
           "fe808e12c295da7d0525ef5f7578a692");

    addRow("accent as the last byte", numbered(part + 2) + '\xe9', "df16fff4fdb4b1f27dc9cc4a0074d1ac");

    const QByteArray nul(1, '\0');
    addRow("NUL in the second part", numbered(part + 100, nul), "42b19bb2f6faba4d81f3e319f1a6a055");
    addRow("NUL at the second part's start", numbered(part, nul), "aa97cfe642298dce5492c6e4beae0013");
    addRow("NUL at the first part's end", numbered(part - 1, nul), "3f87733b6a173da8c2b1783782822157");
    addRow("NUL as the last byte", numbered(part + 2) + nul, "865b8956323ff4bea1d77b9e8f6369f5");
    addRow("NUL in the last part, behind an accent", numbered(2 * part + 100, nul).replace(5, 1, "\xe9"),
           "e908ba4d6aec9c8a69926e8b25327beb");
    addRow("NUL in the second part, an accent in the last",
           numbered(part + 100, nul).replace(2 * part + 5, 1, "\xe9"), "42b19bb2f6faba4d81f3e319f1a6a055");
    addRow("NUL behind a character across a part's end", numbered(part - 1, "\xc3\xa9" + nul),
           "96578c674f1a6e2113eb62d26f619677");
}

void TestSourceKey::largeFiles()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, key);
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("large.dae"));
    write(path, bytes);
    const SourceText source = readSourceText(path);
    QVERIFY(source.text == reencoded(bytes));
    QCOMPARE(source.key.toLatin1(), key);
    QCOMPARE(source.error, QString());
}

void TestSourceKey::pipe_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("key");
    addRow("three parts", numbered(threeParts), "bed87db1d955dda29f808d548fc99ece");
    addRow("accent in the last part", numbered(2 * part + 5, "\xe9"), "fbdf2f8f2386488a63de76484ec58176");
    addRow("NUL in the second part", numbered(part + 100, QByteArray(1, '\0')),
           "42b19bb2f6faba4d81f3e319f1a6a055");
}

/// A pipe does not say how much is to come, and gives a little at a time.
void TestSourceKey::pipe()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, key);
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("large.dae"));
    write(path, bytes);
    HeldFile held(QStringLiteral("held.dae"));
    const std::future<void> delivery = std::async(std::launch::async, [&held, path] { held.deliver(path); });
    const SourceText source = readSourceText(held.path());
    QVERIFY(source.text == reencoded(bytes));
    QCOMPARE(source.key.toLatin1(), key);
}

QTEST_GUILESS_MAIN(TestSourceKey)
#include "tst_sourcekey.moc"
