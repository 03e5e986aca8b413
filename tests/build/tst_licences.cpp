#include "ProgramHome.h"

#include <QtTest>

using namespace Quorvel::Test;

/// REUSE.toml says of every file whose it is and under which licence, and of nothing else.
class TestLicences : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyFileHasALicence();
    void everyEntryHasFilesAndAnOwner();
    void everyLicenceHasItsText();
    void letteringHasTheLicenceOfItsFont_data();
    void letteringHasTheLicenceOfItsFont();

private:
    struct Entry
    {
        QStringList patterns;
        QStringList owners;
        QStringList licences;
    };

    /// The last entry that names the file.
    const Entry *entryOf(const QString &file) const;

    QVector<Entry> m_entries;
    /// Those that the repository keeps, but for the licences and the list of them.
    QStringList m_files;
};

namespace
{

QString readAll(const QString &path)
{
    QFile file(QStringLiteral(QUORVEL_SOURCE_DIR "/") + path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// The strings of `key = "..."` and `key = ["...", ...]`.
QStringList valuesOf(const QString &key, const QString &entry)
{
    const QRegularExpression assignment(
        QStringLiteral("^%1 = (\\[[^\\]]*\\]|\"[^\"]*\")").arg(QRegularExpression::escape(key)),
        QRegularExpression::MultilineOption);
    QStringList values;
    QRegularExpressionMatchIterator strings =
        QRegularExpression(QStringLiteral("\"([^\"]*)\"")).globalMatch(assignment.match(entry).captured(1));
    while (strings.hasNext())
        values.append(strings.next().captured(1));
    return values;
}

/// "**" stands for any text, "*" for any without a slash.
bool matches(const QString &pattern, const QString &file)
{
    QString expression = QRegularExpression::escape(pattern);
    expression.replace(QStringLiteral("\\*\\*"), QStringLiteral(".*"));
    expression.replace(QStringLiteral("\\*"), QStringLiteral("[^/]*"));
    return QRegularExpression(QRegularExpression::anchoredPattern(expression)).match(file).hasMatch();
}

} // namespace

const TestLicences::Entry *TestLicences::entryOf(const QString &file) const
{
    const Entry *found = nullptr;
    for (const Entry &entry : m_entries) {
        for (const QString &pattern : entry.patterns) {
            if (matches(pattern, file))
                found = &entry;
        }
    }
    return found;
}

void TestLicences::initTestCase()
{
    const ProgramHome home;
    // The folder may belong to somebody else than who runs the tests.
    const ProgramEnd end =
        home.run(QStringLiteral("git"),
                 {QStringLiteral("-c"), QStringLiteral("safe.directory=*"), QStringLiteral("-c"),
                  QStringLiteral("core.quotePath=off"), QStringLiteral("-C"),
                  QStringLiteral(QUORVEL_SOURCE_DIR), QStringLiteral("ls-files")});
    QVERIFY2(end.status == 0, qPrintable(end.err));
    const QRegularExpression aboutLicences(QStringLiteral("^(LICENSES/.*|LICENSE|REUSE\\.toml)$"));
    for (const QString &file : end.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        if (!aboutLicences.match(file).hasMatch())
            m_files.append(file);
    }
    QVERIFY(m_files.contains(QStringLiteral("src/main.cpp")));

    const QStringList parts =
        readAll(QStringLiteral("REUSE.toml")).split(QStringLiteral("\n[[annotations]]\n")).mid(1);
    for (const QString &part : parts) {
        const QString licence = valuesOf(QStringLiteral("SPDX-License-Identifier"), part).value(0);
        m_entries.append({valuesOf(QStringLiteral("path"), part),
                          valuesOf(QStringLiteral("SPDX-FileCopyrightText"), part),
                          licence.split(QRegularExpression(QStringLiteral(" (AND|OR|WITH) ")))});
    }
    QVERIFY(!m_entries.isEmpty());
}

void TestLicences::everyFileHasALicence()
{
    QStringList without;
    for (const QString &file : m_files) {
        if (!entryOf(file))
            without.append(file);
    }
    QVERIFY2(without.isEmpty(), qPrintable(without.join(QLatin1Char(' '))));
}

void TestLicences::everyEntryHasFilesAndAnOwner()
{
    for (const Entry &entry : m_entries) {
        QVERIFY2(!entry.owners.isEmpty(), qPrintable(entry.patterns.join(QLatin1Char(' '))));
        for (const QString &pattern : entry.patterns) {
            const auto isNamed = [&pattern](const QString &file) { return matches(pattern, file); };
            QVERIFY2(std::any_of(m_files.cbegin(), m_files.cend(), isNamed), qPrintable(pattern));
        }
    }
}

void TestLicences::everyLicenceHasItsText()
{
    QSet<QString> named;
    for (const Entry &entry : m_entries) {
        for (const QString &licence : entry.licences)
            named.insert(licence + QStringLiteral(".txt"));
    }
    const QStringList texts = QDir(QStringLiteral(QUORVEL_SOURCE_DIR "/LICENSES")).entryList(QDir::Files);
    QCOMPARE(QSet<QString>(texts.cbegin(), texts.cend()), named);
}

void TestLicences::letteringHasTheLicenceOfItsFont_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<QString>("font");
    const QRegularExpression letters(QStringLiteral("The letters are ([^(]*) \\("));
    for (const QString &file : m_files) {
        const QFileInfo program(file);
        if (program.path() != QLatin1String("samples") || program.suffix() != QLatin1String("py"))
            continue;
        const QString text = readAll(file);
        if (text.contains(QStringLiteral("\nFONT = ")))
            QTest::newRow(qPrintable(file))
                << QStringLiteral("resources/models/%1.DAE").arg(program.completeBaseName())
                << letters.match(text).captured(1);
    }
}

void TestLicences::letteringHasTheLicenceOfItsFont()
{
    QFETCH(QString, model);
    QFETCH(QString, font);
    QVERIFY(!font.isEmpty());
    const Entry *entry = entryOf(model);
    QVERIFY(entry);
    QVERIFY(!entry->owners.filter(font).isEmpty());
    QVERIFY(entry->licences.size() > 1);
}

QTEST_GUILESS_MAIN(TestLicences)
#include "tst_licences.moc"
