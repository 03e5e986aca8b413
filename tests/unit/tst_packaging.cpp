#include <QFileInfo>
#include <QImage>
#include <QMimeDatabase>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <QtTest>

/// What is installed beside the programs lies where desktops look for it, and says what they can read.
class TestPackaging : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void installs_data();
    void installs();
    void unitStartsTheInstalledProgram();
    void launcherIsValid();
    void launcherStartsTheViewer();
    void windowBelongsToLauncher();
    void scenesBelongToLauncher_data();
    void scenesBelongToLauncher();
    void iconsAreOfTheirSize_data();
    void iconsAreOfTheirSize();
    void iconOfAnySize();

private:
    QString installed(const QString &path) const { return m_folder.filePath(path); }
    QString launcher() const { return installed(QStringLiteral("share/applications/quorvel.desktop")); }
    /// The value of a key of the launcher; empty without one.
    QString launcherValue(const QString &key) const;

    QTemporaryDir m_folder;
};

namespace
{

QString readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

struct Answer
{
    int exitCode = -1;
    QString output;
};

Answer ask(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    if (!process.waitForStarted() || !process.waitForFinished() ||
        process.exitStatus() != QProcess::NormalExit)
        return {-1, process.errorString()};
    return {process.exitCode(), QString::fromUtf8(process.readAll())};
}

} // namespace

QString TestPackaging::launcherValue(const QString &key) const
{
    for (const QString &line : readAll(launcher()).split(QLatin1Char('\n'))) {
        if (line.startsWith(key + QLatin1Char('=')))
            return line.mid(key.size() + 1);
    }
    return {};
}

void TestPackaging::initTestCase()
{
    const Answer answer =
        ask(QStringLiteral(QUORVEL_CMAKE),
            {QStringLiteral("-DCMAKE_INSTALL_PREFIX=") + m_folder.path(), QStringLiteral("-P"),
             QStringLiteral(QUORVEL_PACKAGING "/cmake_install.cmake")});
    QVERIFY2(answer.exitCode == 0, qPrintable(answer.output));
    // The toolkit looks for types of files below it.
    qputenv("XDG_DATA_HOME", installed(QStringLiteral("share")).toUtf8());
}

void TestPackaging::installs_data()
{
    QTest::addColumn<QString>("path");
    if (QUORVEL_HAS_BAKER)
        QTest::newRow("baker's page") << QStringLiteral("share/man/man1/quorvel-bake.1");
    for (const char *path : {"share/man/man1/quorvel.1", "share/man/man1/quorvel-render.1",
                             "share/man/man1/quorvel-session.1", "lib/systemd/system/quorvel-session.service",
                             "share/applications/quorvel.desktop", "share/mime/packages/quorvel.xml"})
        QTest::newRow(path) << QString::fromLatin1(path);
}

void TestPackaging::installs()
{
    QFETCH(QString, path);
    QVERIFY(QFileInfo(installed(path)).size() > 0);
}

/// By its absolute name: the system has folders of its own in which it looks for others.
void TestPackaging::unitStartsTheInstalledProgram()
{
    const QString unit = readAll(installed(QStringLiteral("lib/systemd/system/quorvel-session.service")));
    const QRegularExpressionMatch start =
        QRegularExpression(QStringLiteral("^ExecStart=(\\S+)"), QRegularExpression::MultilineOption)
            .match(unit);
    QCOMPARE(start.captured(1), installed(QStringLiteral("bin/quorvel-session")));
}

void TestPackaging::launcherIsValid()
{
    const QString validator = QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate"));
    QVERIFY2(!validator.isEmpty(), "desktop-file-validate is not installed (package desktop-file-utils)");
    const Answer answer = ask(validator, {launcher()});
    QCOMPARE(answer.output, QString());
    QCOMPARE(answer.exitCode, 0);
}

void TestPackaging::launcherStartsTheViewer()
{
    // One word, so that without a file there is an empty name, and not an option that lacks one.
    QCOMPARE(launcherValue(QStringLiteral("Exec")), QStringLiteral("quorvel --open=%f"));
    QCOMPARE(launcherValue(QStringLiteral("Terminal")), QStringLiteral("false"));
    QString manual = readAll(installed(QStringLiteral("share/man/man1/quorvel.1")));
    QVERIFY(manual.remove(QLatin1Char('\\')).contains(QStringLiteral("--open")));
}

void TestPackaging::windowBelongsToLauncher()
{
    const QString program = readAll(QStringLiteral(QUORVEL_SOURCE_DIR "/src/main.cpp"));
    const QString name = QFileInfo(launcher()).completeBaseName();
    QVERIFY(program.contains(QStringLiteral("setDesktopFileName(QStringLiteral(\"%1\"))").arg(name)));
    // On X11 the class of the window is the name of the application.
    const QString windowClass = launcherValue(QStringLiteral("StartupWMClass"));
    QVERIFY(program.contains(QStringLiteral("setApplicationName(QStringLiteral(\"%1\"))").arg(windowClass)));
    QCOMPARE(launcherValue(QStringLiteral("Icon")), name);
}

void TestPackaging::scenesBelongToLauncher_data()
{
    QTest::addColumn<QString>("filename");
    QTest::newRow("by name") << QStringLiteral("room.dae");
    QTest::newRow("by name in capitals") << QStringLiteral("ROOM.DAE");
}

void TestPackaging::scenesBelongToLauncher()
{
    QFETCH(QString, filename);
    const QMimeType type = QMimeDatabase().mimeTypeForFile(filename, QMimeDatabase::MatchExtension);
    QCOMPARE(launcherValue(QStringLiteral("MimeType")), type.name() + QLatin1Char(';'));
    QVERIFY(type.inherits(QStringLiteral("application/xml")));
}

void TestPackaging::iconsAreOfTheirSize_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {16, 32, 48, 128})
        QTest::addRow("%d", size) << size;
}

void TestPackaging::iconsAreOfTheirSize()
{
    QFETCH(int, size);
    const QImage icon(installed(QStringLiteral("share/icons/hicolor/%1x%1/apps/quorvel.png").arg(size)));
    QCOMPARE(icon.size(), QSize(size, size));
}

void TestPackaging::iconOfAnySize()
{
    QXmlStreamReader drawing(
        readAll(installed(QStringLiteral("share/icons/hicolor/scalable/apps/quorvel.svg"))));
    QVERIFY(drawing.readNextStartElement());
    QCOMPARE(drawing.name().toString(), QStringLiteral("svg"));
    const QXmlStreamAttributes attributes = drawing.attributes();
    QVERIFY(attributes.hasAttribute(QStringLiteral("viewBox")));
    QCOMPARE(attributes.value(QStringLiteral("width")), attributes.value(QStringLiteral("height")));
    while (!drawing.atEnd())
        drawing.readNext();
    QVERIFY2(!drawing.hasError(), qPrintable(drawing.errorString()));
}

QTEST_GUILESS_MAIN(TestPackaging)
#include "tst_packaging.moc"
