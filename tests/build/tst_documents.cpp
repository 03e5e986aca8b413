#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

namespace
{

const QDir source(QStringLiteral(QUORVEL_SOURCE_DIR));
const QDir build(QStringLiteral(QUORVEL_BINARY_DIR));

QString read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// What is between quotation marks stays together; a comment ends the line.
QStringList words(const QString &line)
{
    QStringList result;
    static const QRegularExpression word(QStringLiteral("'[^']*'|\"[^\"]*\"|[^\\s'\"]+"));
    QRegularExpressionMatchIterator matches = word.globalMatch(line);
    while (matches.hasNext()) {
        const QString text = matches.next().captured();
        if (text.startsWith(QLatin1Char('#')))
            break;
        result.append(text);
    }
    return result;
}

/// The lines of a document that are set as code, and what stands in the text between backticks, as they would
/// be typed: continued lines joined.
QStringList codeOfMarkdown(const QString &text)
{
    QStringList code;
    bool isFenced = false;
    QString prose;
    for (const QString &line : text.split(QLatin1Char('\n'))) {
        if (line.startsWith(QLatin1String("```"))) {
            isFenced = !isFenced;
            continue;
        }
        if (!isFenced && !line.startsWith(QLatin1String("    "))) {
            prose += line + QLatin1Char('\n');
            continue;
        }
        if (!code.isEmpty() && code.last().endsWith(QLatin1Char('\\')))
            code.last() = code.last().chopped(1) + line.trimmed();
        else
            code.append(line.trimmed());
    }
    static const QRegularExpression quoted(QStringLiteral("`([^`]+)`"));
    QRegularExpressionMatchIterator matches = quoted.globalMatch(prose);
    while (matches.hasNext())
        code.append(matches.next().captured(1).simplified());
    return code;
}

/// The lines that a manual page shows as they are.
QStringList codeOfManualPage(const QString &text)
{
    QStringList code;
    bool isExact = false;
    for (const QString &line : text.split(QLatin1Char('\n'))) {
        if (line == QLatin1String(".nf") || line == QLatin1String(".fi"))
            isExact = line == QLatin1String(".nf");
        else if (isExact && !line.startsWith(QLatin1Char('.')))
            code.append(QString(line).remove(QLatin1Char('\\')));
    }
    return code;
}

/// One program with its arguments.
using Command = QStringList;

QVector<Command> commandsIn(const QString &line)
{
    static const QRegularExpression separator(QStringLiteral(" && | \\|\\| | \\| |; "));
    static const QRegularExpression setting(QStringLiteral("^[A-Z_]+="));
    QVector<Command> commands;
    for (const QString &part : line.split(separator)) {
        Command command = words(part);
        while (!command.isEmpty() &&
               (setting.match(command.first()).hasMatch() || command.first() == QLatin1String("do")))
            command.removeFirst();
        if (!command.isEmpty())
            commands.append(command);
    }
    return commands;
}

/// Its path below the build folder; empty if it is none of the programs that are installed.
QString pathOfProgram(const QString &name)
{
    static const QRegularExpression known(QStringLiteral("^quorvel(-[a-z]+)?$"));
    if (!known.match(name).hasMatch())
        return QString();
    return name == QLatin1String("quorvel") ? QStringLiteral("src/quorvel")
                                            : QStringLiteral("tools/%1/%1").arg(name);
}

/// The options of a command: words that begin with a dash, up to "--", without values and the brackets of a
/// synopsis.
QStringList optionsOf(const Command &command)
{
    static const QRegularExpression option(QStringLiteral("^\\[?(-{1,2}[A-Za-z][A-Za-z-]*)"));
    QStringList options;
    for (const QString &word : command.mid(1)) {
        if (word == QLatin1String("--"))
            break;
        const QRegularExpressionMatch match = option.match(word);
        if (match.hasMatch())
            options.append(match.captured(1));
    }
    return options;
}

QStringList missingFrom(const QString &text, const QStringList &options)
{
    QStringList missing;
    for (const QString &option : options) {
        const QRegularExpression wholeWord(QStringLiteral("(^|[^A-Za-z-])%1($|[^A-Za-z-])").arg(option));
        if (!wholeWord.match(text).hasMatch())
            missing.append(option);
    }
    return missing;
}

/// What the program says about itself; its manual page where it is left out of this build.
QString helpOf(const QString &program)
{
    const QString path = build.filePath(pathOfProgram(program));
    if (!QFileInfo::exists(path))
        return read(source.filePath(QStringLiteral("packaging/man/%1.1").arg(program)))
            .remove(QLatin1Char('\\'));
    QProcess process;
    process.start(path, {QStringLiteral("--help")});
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput());
}

QString complaint(const Command &command, const QStringList &options)
{
    return options.isEmpty()
               ? QString()
               : QStringLiteral("%1 has no %2").arg(command.first(), options.join(QLatin1String(", ")));
}

QString faultOfProgram(const Command &command)
{
    const QString name = QFileInfo(command.first()).fileName();
    const QString help = helpOf(name);
    if (help.isEmpty())
        return QStringLiteral("there is no program %1").arg(name);
    return complaint(command, missingFrom(help, optionsOf(command)));
}

/// Whether files are there that the name stands for: samples/<scene>.py, icons/*.svg.
bool standsForFiles(QString path)
{
    static const QRegularExpression placeholder(QStringLiteral("<[^>]*>"));
    const QFileInfo pattern(path.replace(placeholder, QStringLiteral("*")));
    return !pattern.dir().entryList({pattern.fileName()}).isEmpty();
}

/// Of a file of the project, or of one that the build makes, whatever the preset.
QString faultOfFile(const Command &command)
{
    static const QRegularExpression built(QStringLiteral("^build/[a-z0-9]+/(.*)$"));
    const QRegularExpressionMatch match = built.match(command.first());
    if (match.hasMatch()) {
        const QString name = QFileInfo(command.first()).fileName();
        if (pathOfProgram(name) == match.captured(1))
            return faultOfProgram(command);
        return QFileInfo::exists(build.filePath(match.captured(1)))
                   ? QString()
                   : QStringLiteral("nothing makes %1").arg(command.first());
    }
    // A test function is named behind its file.
    const QString path = source.filePath(command.first().section(QStringLiteral("::"), 0, 0));
    if (!QFileInfo::exists(path) && !standsForFiles(path))
        return QStringLiteral("there is no %1").arg(command.first());
    return QFileInfo(path).isFile() ? complaint(command, missingFrom(read(path), optionsOf(command)))
                                    : QString();
}

/// The presets, and the targets, that a command for the build names.
QString faultOfBuildCommand(const Command &command)
{
    const QByteArray presets = read(source.filePath(QStringLiteral("CMakePresets.json"))).toUtf8();
    const QJsonArray known =
        QJsonDocument::fromJson(presets).object().value(QStringLiteral("configurePresets")).toArray();
    const int preset = command.indexOf(QStringLiteral("--preset"));
    if (preset > 0) {
        const bool exists = std::any_of(known.begin(), known.end(), [&](const QJsonValue &value) {
            return value.toObject().value(QStringLiteral("name")).toString() == command.value(preset + 1);
        });
        if (!exists)
            return QStringLiteral("there is no preset %1").arg(command.value(preset + 1));
    }
    const int target = command.indexOf(QStringLiteral("--target"));
    if (target < 0)
        return QString();
    const QString ninja = read(build.filePath(QStringLiteral("build.ninja")));
    for (const QString &name : command.mid(target + 1)) {
        if (!ninja.contains(QStringLiteral("\nbuild %1: phony").arg(name)))
            return QStringLiteral("there is no target %1").arg(name);
    }
    return QString();
}

/// What is wrong with a command of this project; empty for those of others.
QString faultOf(const Command &command)
{
    static const QRegularExpression ours(
        QStringLiteral("^(build|scripts|samples|benchmarks|tests|tools|\\.ci)/"));
    const QString program = command.first();
    if (program == QLatin1String("cmake") || program == QLatin1String("ctest"))
        return faultOfBuildCommand(command);
    if (ours.match(program).hasMatch())
        return faultOfFile(command);
    return pathOfProgram(program).isEmpty() ? QString() : faultOfProgram(command);
}

} // namespace

/// Every program, script, option, preset and target that the documents tell people to use.
class TestDocuments : public QObject
{
    Q_OBJECT

private slots:
    void commandsExist_data();
    void commandsExist();
    void readmeNamesThePackages();
    void faultsAreFound_data();
    void faultsAreFound();
};

void TestDocuments::commandsExist_data()
{
    QTest::addColumn<QString>("path");
    for (const char *const path : {"README.md", "CONTRIBUTING.md", "benchmarks/README.md"})
        QTest::newRow(path) << QString::fromLatin1(path);
    for (const QString &name :
         QDir(source.filePath(QStringLiteral("docs"))).entryList({QStringLiteral("*.md")}))
        QTest::newRow(qPrintable(name)) << QStringLiteral("docs/") + name;
    for (const QString &name :
         QDir(source.filePath(QStringLiteral("packaging/man"))).entryList({QStringLiteral("*.1")}))
        QTest::newRow(qPrintable(name)) << QStringLiteral("packaging/man/") + name;
}

void TestDocuments::commandsExist()
{
    QFETCH(QString, path);
    const QString text = read(source.filePath(path));
    QVERIFY(!text.isEmpty());
    const QStringList code =
        path.endsWith(QLatin1String(".md")) ? codeOfMarkdown(text) : codeOfManualPage(text);
    QStringList faults;
    for (const QString &line : code) {
        for (const Command &command : commandsIn(line)) {
            const QString fault = faultOf(command);
            if (!fault.isEmpty())
                faults.append(QStringLiteral("%1: %2").arg(line, fault));
        }
    }
    QVERIFY2(faults.isEmpty(), qPrintable(faults.join(QLatin1Char('\n'))));
}

void TestDocuments::readmeNamesThePackages()
{
    const QString scripts = read(source.filePath(QStringLiteral("scripts/common.sh")));
    const QString readme = read(source.filePath(QStringLiteral("README.md")));
    static const QRegularExpression lists(QStringLiteral("\n(?:build|companion)_packages=\\(([^)]*)\\)"));
    QRegularExpressionMatchIterator matches = lists.globalMatch(scripts);
    QStringList packages;
    while (matches.hasNext())
        packages += words(matches.next().captured(1));
    QVERIFY(packages.size() > 10);
    for (const QString &package : qAsConst(packages))
        QVERIFY2(readme.contains(package), qPrintable(package));
}

void TestDocuments::faultsAreFound_data()
{
    QTest::addColumn<QString>("document");
    QTest::addColumn<QString>("fault");
    QTest::newRow("option") << "    quorvel-render --colour room.dae room.png"
                            << "quorvel-render has no --colour";
    QTest::newRow("option by half") << "    quorvel-render --out room.dae"
                                    << "quorvel-render has no --out";
    QTest::newRow("behind a setting and another command") << "    cd x && HOME=/x quorvel --nothing"
                                                          << "quorvel has no --nothing";
    QTest::newRow("continued line") << "```\nquorvel-session \\\n  --nothing\n```"
                                    << "quorvel-session has no --nothing";
    QTest::newRow("program") << "Use `quorvel-paint`."
                             << "there is no program quorvel-paint";
    QTest::newRow("program of the build") << "    build/default/tools/quorvel-paint/quorvel-paint"
                                          << "there is no program quorvel-paint";
    QTest::newRow("other file of the build") << "    build/default/nothing"
                                             << "nothing makes build/default/nothing";
    QTest::newRow("script") << "    scripts/nothing"
                            << "there is no scripts/nothing";
    QTest::newRow("option of a script") << "    scripts/test --nothing # comment"
                                        << "scripts/test has no --nothing";
    QTest::newRow("preset") << "    cmake --preset nothing"
                            << "there is no preset nothing";
    QTest::newRow("target") << "    cmake --build --preset default --target nothing"
                            << "there is no target nothing";
    QTest::newRow("none") << "    quorvel-render --size 10x10 room.dae room.png # --nothing"
                          << "";
}

void TestDocuments::faultsAreFound()
{
    QFETCH(QString, document);
    QFETCH(QString, fault);
    QString found;
    for (const QString &line : codeOfMarkdown(document)) {
        for (const Command &command : commandsIn(line))
            found += faultOf(command);
    }
    QCOMPARE(found, fault);
}

QTEST_GUILESS_MAIN(TestDocuments)

#include "tst_documents.moc"
