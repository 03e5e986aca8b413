#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <QtTest>

/// Sources, docs/quirks.md and tests tell the same story: every `Quirk(tag)` comment has a row, and every row
/// has its comment in the file it names and a test function of the name it gives.
class TestQuirks : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyCommentHasARow();
    void everyRowHasItsComment_data();
    void everyRowHasItsComment();
    void everyRowHasItsTest_data();
    void everyRowHasItsTest();

private:
    struct Row
    {
        QString file;
        QString testFile;
        QString testFunction;
        /// The fixture folder that the last column names, if it does.
        QString fixture;
    };

    void addRows() const;

    QMap<QString, Row> m_rows;
    /// Tag to the files that carry its comment, relative to the project's root.
    QMap<QString, QStringList> m_comments;
};

namespace
{

QString readAll(const QString &relativePath)
{
    QFile file(QStringLiteral(QUORVEL_SOURCE_DIR "/") + relativePath);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

void TestQuirks::initTestCase()
{
    const QRegularExpression row(QStringLiteral("^\\| `([a-z0-9-]+)` \\| `([^`]+)` \\| `([^`:]+)::([^`]+)` "
                                                "\\|"));
    const QRegularExpression fixture(QStringLiteral("\\(fixture `([^`]+)`\\)"));
    for (const QString &line : readAll(QStringLiteral("docs/quirks.md")).split(QLatin1Char('\n'))) {
        const QRegularExpressionMatch match = row.match(line);
        if (match.hasMatch())
            m_rows.insert(match.captured(1), {match.captured(2), match.captured(3), match.captured(4),
                                              fixture.match(line).captured(1)});
    }
    QVERIFY(!m_rows.isEmpty());

    const QRegularExpression comment(QStringLiteral("Quirk\\(([a-z0-9-]+)\\):"));
    const QDir root(QStringLiteral(QUORVEL_SOURCE_DIR));
    for (const char *folder : {"src", "resources/shaders", "resources/xquery", "tools"}) {
        QDirIterator files(root.filePath(QLatin1String(folder)), QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = root.relativeFilePath(files.next());
            QRegularExpressionMatchIterator matches = comment.globalMatch(readAll(path));
            while (matches.hasNext())
                m_comments[matches.next().captured(1)].append(path);
        }
    }
}

void TestQuirks::everyCommentHasARow()
{
    for (const QString &tag : m_comments.keys())
        QVERIFY2(m_rows.contains(tag), qPrintable(QStringLiteral("no row in docs/quirks.md for ") + tag));
}

void TestQuirks::addRows() const
{
    QTest::addColumn<QString>("tag");
    for (const QString &tag : m_rows.keys())
        QTest::newRow(qPrintable(tag)) << tag;
}

void TestQuirks::everyRowHasItsComment_data()
{
    addRows();
}

void TestQuirks::everyRowHasItsComment()
{
    QFETCH(QString, tag);
    QVERIFY2(m_comments.value(tag).contains(m_rows.value(tag).file), qPrintable(m_rows.value(tag).file));
}

void TestQuirks::everyRowHasItsTest_data()
{
    addRows();
}

void TestQuirks::everyRowHasItsTest()
{
    QFETCH(QString, tag);
    const Row row = m_rows.value(tag);
    const QString source = readAll(row.testFile);
    QVERIFY2(!source.isEmpty(), qPrintable(row.testFile));
    QVERIFY2(source.contains(QLatin1String("::") + row.testFunction + QLatin1String("()")),
             qPrintable(row.testFunction));
    QVERIFY2(row.fixture.isEmpty() ||
                 QDir(QStringLiteral(QUORVEL_FIXTURES "/collada/") + row.fixture).exists(),
             qPrintable(row.fixture));
}

QTEST_GUILESS_MAIN(TestQuirks)
#include "tst_quirks.moc"
