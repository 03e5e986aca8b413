#include "CharacterDevice.h"
#include "OutputFile.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <future>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Quorvel;
using namespace Quorvel::Test;

class TestOutputFile : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void newFileHasTheRightsOfOne();
    void replacedFileLeavesItsRights();
    void linkStaysOne_data();
    void linkStaysOne();
    void pipeGetsEverythingAndStaysOne();
    void deviceStaysOne();
    void fullDeviceIsCalledThat();
    void openFilesAreWrittenThrough_data();
    void openFilesAreWrittenThrough();
    void whatCannotBeWrittenIsRefused_data();
    void whatCannotBeWrittenIsRefused();
    void failedWriteLosesNothing();
    void uncommittedFileGoes();
    void sameFiles_data();
    void sameFiles();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    QByteArray read(const QString &name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
    }
    QStringList files() const
    {
        return QDir(m_folder->path()).entryList(QDir::Files | QDir::System | QDir::Hidden);
    }
    struct stat status(const QString &name) const
    {
        struct stat result = {};
        lstat(QFile::encodeName(path(name)).constData(), &result);
        return result;
    }
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_error;
};

void TestOutputFile::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
    m_error.clear();
}

void TestOutputFile::newFileHasTheRightsOfOne()
{
    const mode_t mask = umask(027);
    const bool written = writeOutput(path("new"), "picture", &m_error);
    umask(mask);
    QVERIFY2(written, qPrintable(m_error));
    QCOMPARE(read("new"), QByteArray("picture"));
    QCOMPARE(int(status("new").st_mode & 07777), 0640);
    QCOMPARE(files(), QStringList("new"));
}

void TestOutputFile::replacedFileLeavesItsRights()
{
    QVERIFY(writeOutput(path("old"), "a longer picture", &m_error));
    QCOMPARE(chmod(QFile::encodeName(path("old")).constData(), 0604), 0);
    // Who has the old file open keeps reading it whole.
    QFile reader(path("old"));
    QVERIFY(reader.open(QIODevice::ReadOnly));
    QVERIFY2(writeOutput(path("old"), "picture", &m_error), qPrintable(m_error));
    QCOMPARE(read("old"), QByteArray("picture"));
    QCOMPARE(reader.readAll(), QByteArray("a longer picture"));
    QCOMPARE(int(status("old").st_mode & 07777), 0604);
    QCOMPARE(files(), QStringList("old"));
}

void TestOutputFile::linkStaysOne_data()
{
    QTest::addColumn<QString>("leadsTo");
    QTest::newRow("a file") << "there.png";
    QTest::newRow("nothing yet") << "new.png";
    QTest::newRow("another link") << "second";
}

void TestOutputFile::linkStaysOne()
{
    QFETCH(QString, leadsTo);
    QVERIFY(writeOutput(path("there.png"), "old", &m_error));
    QVERIFY(QFile::link("there.png", path("second")));
    QVERIFY(QFile::link(leadsTo, path("link")));
    QVERIFY2(writeOutput(path("link"), "picture", &m_error), qPrintable(m_error));
    QVERIFY(S_ISLNK(status("link").st_mode) && S_ISLNK(status("second").st_mode));
    QCOMPARE(read("link"), QByteArray("picture"));
    QCOMPARE(read(leadsTo), QByteArray("picture"));
    QVERIFY(S_ISREG(status("there.png").st_mode));
}

void TestOutputFile::pipeGetsEverythingAndStaysOne()
{
    QCOMPARE(mkfifo(QFile::encodeName(path("pipe")).constData(), 0600), 0);
    // More than a pipe holds.
    const QByteArray bytes(1000000, 'x');
    QVERIFY(canWriteOutput(path("pipe"), &m_error));
    QVERIFY(!isFileOutput(path("pipe")));
    // Otherwise the reader would wait for ever for a pipe that has been replaced.
    const int held = open(QFile::encodeName(path("pipe")).constData(), O_RDWR | O_NONBLOCK);
    QVERIFY(held >= 0);
    std::future<QByteArray> reader = std::async(std::launch::async, [this] { return read("pipe"); });
    const bool written = writeOutput(path("pipe"), bytes, &m_error);
    close(held);
    QVERIFY2(written, qPrintable(m_error));
    QVERIFY(S_ISFIFO(status("pipe").st_mode));
    QVERIFY(reader.get() == bytes);
    QCOMPARE(files(), QStringList("pipe"));
}

void TestOutputFile::deviceStaysOne()
{
    const QString device = characterDevice("null", 3, m_folder->path());
    QVERIFY2(!device.isEmpty(), "this root may not make devices");
    const QStringList before = files();
    QVERIFY(canWriteOutput(device, &m_error));
    QVERIFY2(writeOutput(device, "picture", &m_error), qPrintable(m_error));
    QVERIFY(isCharacterDevice(device));
    QCOMPARE(files(), before);
    QVERIFY(QFile::link(device, path("link")));
    QVERIFY2(writeOutput(path("link"), "picture", &m_error), qPrintable(m_error));
    QVERIFY(isCharacterDevice(device) && S_ISLNK(status("link").st_mode));
    QCOMPARE(files(), QStringList("link") + before);
}

void TestOutputFile::fullDeviceIsCalledThat()
{
    const QString device = characterDevice("full", 7, m_folder->path());
    QVERIFY2(!device.isEmpty(), "this root may not make devices");
    QVERIFY(!writeOutput(device, "picture", &m_error));
    QCOMPARE(m_error, QStringLiteral("No space left on device"));
}

void TestOutputFile::openFilesAreWrittenThrough_data()
{
    QTest::addColumn<bool>("throughLink");
    QTest::newRow("by the name of the open file") << false;
    QTest::newRow("by a link to that") << true;
}

void TestOutputFile::openFilesAreWrittenThrough()
{
    QFETCH(bool, throughLink);
    QFile log(path("log"));
    QVERIFY(log.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    log.write("before ");
    QString name = QStringLiteral("/dev/fd/%1").arg(log.handle());
    if (throughLink) {
        QVERIFY(QFile::link(name, path("link")));
        name = path("link");
    }
    QVERIFY2(writeOutput(name, "picture", &m_error), qPrintable(m_error));
    log.write(" after");
    QCOMPARE(read("log"), QByteArray("before picture after"));
    QVERIFY(!isFileOutput(name) && !isStandardOutput(name));
    for (const char *standard : {"-", "/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"})
        QVERIFY(isStandardOutput(QLatin1String(standard)) && !isFileOutput(QLatin1String(standard)));
}

void TestOutputFile::whatCannotBeWrittenIsRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");
    QTest::newRow("folder") << "folder"
                            << "Is a directory";
    QTest::newRow("no folder") << "no/such/folder/x.png"
                               << "No such file or directory";
    QTest::newRow("a file for a folder") << "file/x.png"
                                         << "Not a directory";
    QTest::newRow("a file that is not open") << "/dev/fd/999"
                                             << "Bad file descriptor";
}

void TestOutputFile::whatCannotBeWrittenIsRefused()
{
    QFETCH(QString, name);
    QFETCH(QString, reason);
    QVERIFY(QDir(m_folder->path()).mkdir("folder"));
    QVERIFY(writeOutput(path("file"), "x", &m_error));
    const QString output = name.startsWith('/') ? name : path(name);
    QVERIFY(!canWriteOutput(output, &m_error));
    QCOMPARE(m_error, reason);
    m_error.clear();
    QVERIFY(!writeOutput(output, "picture", &m_error));
    QCOMPARE(m_error, reason);
    QCOMPARE(files(), QStringList("file"));
}

void TestOutputFile::failedWriteLosesNothing()
{
    QVERIFY(writeOutput(path("old"), "whole", &m_error));
    rlimit before = {};
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small = {1000, before.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool written = writeOutput(path("old"), QByteArray(100000, 'x'), &m_error);
    setrlimit(RLIMIT_FSIZE, &before);
    QVERIFY(!written);
    QCOMPARE(m_error, QStringLiteral("File too large"));
    QCOMPARE(read("old"), QByteArray("whole"));
    QCOMPARE(files(), QStringList("old"));
}

void TestOutputFile::uncommittedFileGoes()
{
    {
        UnfinishedFile file;
        QVERIFY(file.open(path("copy")));
        QVERIFY(file.write("half"));
        QCOMPARE(QFileInfo(file.path()).absolutePath(), m_folder->path());
        QVERIFY(QFile::exists(file.path()) && !QFile::exists(path("copy")));
    }
    QCOMPARE(files(), QStringList());
}

void TestOutputFile::sameFiles_data()
{
    QTest::addColumn<QString>("a");
    QTest::addColumn<QString>("b");
    QTest::addColumn<bool>("same");
    QTest::newRow("itself") << "room.dae"
                            << "room.dae" << true;
    QTest::newRow("another") << "room.dae"
                             << "room.png" << false;
    QTest::newRow("another way there") << "folder/../room.dae"
                                       << "./room.dae" << true;
    QTest::newRow("a link") << "link"
                            << "room.dae" << true;
    QTest::newRow("not there yet") << "new.png"
                                   << "./new.png" << true;
    QTest::newRow("not there yet, behind links") << "link-to-folder/new.png"
                                                 << "folder/new.png" << true;
    QTest::newRow("not there yet, a link to it") << "link-to-new"
                                                 << "new.png" << true;
    QTest::newRow("neither there") << "new.png"
                                   << "newer.png" << false;
}

void TestOutputFile::sameFiles()
{
    QFETCH(QString, a);
    QFETCH(QString, b);
    QFETCH(bool, same);
    QVERIFY(writeOutput(path("room.dae"), "x", &m_error) && writeOutput(path("room.png"), "x", &m_error));
    QVERIFY(QDir(m_folder->path()).mkdir("folder"));
    QVERIFY(QFile::link("room.dae", path("link")) && QFile::link("new.png", path("link-to-new")) &&
            QFile::link("folder", path("link-to-folder")));
    QCOMPARE(fileIdentity(path(a)) == fileIdentity(path(b)), same);
}

QTEST_GUILESS_MAIN(TestOutputFile)
#include "tst_outputfile.moc"
