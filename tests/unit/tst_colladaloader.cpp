#include "Camera.h"
#include "ColladaLoader.h"
#include "ColladaLoaderThread.h"
#include "ColladaText.h"
#include "DocumentCheck.h"
#include "FatalCase.h"
#include "MessageCapture.h"
#include "Node.h"
#include "Scene.h"
#include "SceneDump.h"

#include <QtTest>

#include <memory>
#include <unistd.h>

using namespace Quorvel;

/// One load from file to scene: the cache, the re-encoded text, the bad files, and the loading thread.
class TestColladaLoader : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void convertedScene();
    void secondLoadComesFromTheCache();
    void cachedTransformsAreTheSameToTheLastBit();
    void cachedFileIsTrusted();
    void identicalBytesShareOneCacheFile();
    void globalCacheBeforeLocalCache();
    void standardDirectories();
    void keyIsTheChecksumOfTheText_data();
    void keyIsTheChecksumOfTheText();
    void utf8IsEncodedTwice();
    void missingDirectoryIsMade();
    void unwritableDirectory();
    void cacheFileIsTheSameEveryTime();
    void firstCameraNodeWins();
    void cachedNodesComeBreadthFirst();
    void sceneIsReplaced();

    void deepestDocument();
    void deepestDocumentInTheThread();
    void badFiles_data();
    void badFiles();
    void unreadableFiles_data();
    void unreadableFiles();
    void sizeLimit_data();
    void sizeLimit();

    void threadDeliversNewScenes();
    void secondLoadInTheThreadIsFatal();

private:
    QString writeFile(const QString &name, const QByteArray &bytes) const;
    QString path(const QString &name) const { return m_directory->filePath(name); }
    SceneCache cache() const { return SceneCache(path("global"), path("home/local/cache")); }
    QStringList cacheFiles() const
    {
        return QDir(path("home/local/cache")).entryList(QDir::Files | QDir::Hidden);
    }
    /// Loads a file and returns its diagnostics.
    QStringList load(Scene *scene, const QString &path) const;

    std::unique_ptr<QTemporaryDir> m_directory;
};

namespace
{

const char *const fatalFileVariable = "QUORVEL_TEST_FILE";
const char *const unprivilegedVariable = "QUORVEL_TEST_UNPRIVILEGED";
const char *const fatalCacheVariable = "QUORVEL_TEST_CACHE";

QString md5(const QByteArray &text)
{
    return QString::fromLatin1(QCryptographicHash::hash(text, QCryptographicHash::Md5).toHex());
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Drops what other threads print, in its scope.
class Silence
{
public:
    Silence()
        : m_previous(qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {}))
    {
    }
    ~Silence() { qInstallMessageHandler(m_previous); }
    Silence(const Silence &) = delete;
    Silence &operator=(const Silence &) = delete;

private:
    QtMessageHandler m_previous;
};

/// Loads the file that the environment names. Runs in a child process, which it must end.
void loadFatally()
{
    // No file is unreadable for root.
    if (geteuid() == 0 && qEnvironmentVariableIsSet(unprivilegedVariable) && seteuid(65534) != 0)
        return;
    Scene scene;
    const QString cacheDirectory = qEnvironmentVariable(fatalCacheVariable);
    const ColladaLoader loader(&scene, qEnvironmentVariable(fatalFileVariable),
                               SceneCache(cacheDirectory + QStringLiteral("/none"), cacheDirectory));
}

void loadTwiceInTheThread()
{
    ColladaLoaderThread thread;
    thread.load(qEnvironmentVariable(fatalFileVariable));
    thread.load(qEnvironmentVariable(fatalFileVariable));
}

} // namespace

void TestColladaLoader::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
    QVERIFY(QDir().mkpath(path("home")));
    qputenv("HOME", path("home").toLocal8Bit());
    qunsetenv("QUORVEL_CACHE");
    qputenv(fatalCacheVariable, path("home/cache").toLocal8Bit());
}

QString TestColladaLoader::writeFile(const QString &name, const QByteArray &bytes) const
{
    QDir().mkpath(QFileInfo(path(name)).path());
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path(name)));
    return path(name);
}

QStringList TestColladaLoader::load(Scene *scene, const QString &path) const
{
    const MessageCapture capture;
    const ColladaLoader loader(scene, path, cache());
    return capture.lines();
}

void TestColladaLoader::convertedScene()
{
    Scene scene;
    const QString file = writeFile("simple.dae", ColladaText::simple());
    const QStringList lines = load(&scene, file);
    QCOMPARE(scene.name(), file);
    QCOMPARE(scene.rootNode()->id(), QStringLiteral("node-SceneRoot"));
    QCOMPARE(scene.rootNode()->children(), scene.nodes());
    QCOMPARE(scene.nodes().size(), 2);
    QCOMPARE(scene.activeCameraNode(), scene.findNode(QStringLiteral("view")));
    QVERIFY(scene.findNode(QStringLiteral("thing"))->geometryModel());
    QVERIFY(lines.contains(QStringLiteral("Scene:")));
    QCOMPARE(lines.filter(QStringLiteral("ColladaLoader:")), QStringList());
    QCOMPARE(lines.filter(QStringLiteral("simple.dae: ")), QStringList());
    QVERIFY(QRegularExpression("^Load time: [0-9]+\\.[0-9]{6}s$").match(lines.last()).hasMatch());
}

void TestColladaLoader::secondLoadComesFromTheCache()
{
    const QString file = writeFile("simple.dae", ColladaText::simple());
    Scene converted;
    Scene cached;
    load(&converted, file);
    const QStringList lines = load(&cached, file);
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.first(), QStringLiteral("ColladaLoader: loading from local cache"));
    QVERIFY(lines.last().startsWith(QStringLiteral("Load time: ")));
    QCOMPARE(cached.name(), file);
    QCOMPARE(dumpScene(cached), dumpScene(converted));
}

void TestColladaLoader::cachedTransformsAreTheSameToTheLastBit()
{
    const QByteArray turned = "<rotate>0 0.6 0.8 33</rotate><translate>1.1 2.3 -4.7</translate>"
                              "<rotate>1 0 0 -71</rotate>";
    const QString file = writeFile(
        "turned.dae", ColladaText::document(ColladaText::camera("camera"),
                                            "<node id=\"outer\">" + turned + "<node id=\"inner\">" + turned +
                                                "<scale>1 3 1</scale></node><node id=\"view\">" + turned +
                                                "<instance_camera url=\"#camera\"/></node></node>"));
    Scene converted;
    Scene cached;
    load(&converted, file);
    load(&cached, file);
    for (const char *id : {"outer", "inner", "view"}) {
        const QMatrix4x4 &world = converted.findNode(id)->worldTransform();
        const QMatrix4x4 &cachedWorld = cached.findNode(id)->worldTransform();
        QVERIFY2(memcmp(world.constData(), cachedWorld.constData(), 16 * sizeof(float)) == 0, id);
        // The toolkit inverts a matrix by its kind, so this differs where the kinds do.
        const QMatrix4x4 view = world.inverted();
        const QMatrix4x4 cachedView = cachedWorld.inverted();
        QVERIFY2(memcmp(view.constData(), cachedView.constData(), 16 * sizeof(float)) == 0, id);
    }
}

void TestColladaLoader::cachedFileIsTrusted()
{
    const QByteArray text = ColladaText::simple();
    const QString file = writeFile("simple.dae", text);
    const QString other = writeFile("other.dae", ColladaText::simple("elsewhere"));
    Scene scene;
    load(&scene, file);
    load(&scene, other);
    QVERIFY(QFile::remove(cache().localPath(md5(text))));
    QVERIFY(
        QFile::copy(cache().localPath(md5(ColladaText::simple("elsewhere"))), cache().localPath(md5(text))));
    load(&scene, file);
    QCOMPARE(scene.activeCameraNode()->id(), QStringLiteral("elsewhere"));
    QCOMPARE(scene.name(), file);
}

void TestColladaLoader::identicalBytesShareOneCacheFile()
{
    Scene scene;
    load(&scene, writeFile("one.dae", ColladaText::simple()));
    const QString second = writeFile("folder/two.xml", ColladaText::simple());
    const QStringList lines = load(&scene, second);
    QCOMPARE(lines.first(), QStringLiteral("ColladaLoader: loading from local cache"));
    QCOMPARE(scene.name(), second);
    QCOMPARE(cacheFiles(), QStringList{md5(ColladaText::simple()) + ".qvm"});
}

void TestColladaLoader::globalCacheBeforeLocalCache()
{
    const QByteArray text = ColladaText::simple();
    const QString file = writeFile("simple.dae", text);
    Scene scene;
    load(&scene, file);
    load(&scene, writeFile("other.dae", ColladaText::simple("global")));
    QVERIFY(!QFile::exists(path("global")));
    writeFile("global/" + md5(text) + ".qvm", readAll(cache().localPath(md5(ColladaText::simple("global")))));

    const QStringList lines = load(&scene, file);
    QCOMPARE(lines.first(), QStringLiteral("ColladaLoader: loading from global cache"));
    QCOMPARE(lines.size(), 2);
    QCOMPARE(scene.activeCameraNode()->id(), QStringLiteral("global"));
}

void TestColladaLoader::standardDirectories()
{
    const SceneCache standard = SceneCache::standard();
    QCOMPARE(standard.globalPath("key"), QStringLiteral("/opt/quorvel/cache/key.qvm"));
    QCOMPARE(standard.localPath("key"), path("home/.quorvel/cache/key.qvm"));

    Scene scene;
    const MessageCapture capture;
    const ColladaLoader loader(&scene, writeFile("simple.dae", ColladaText::simple("standard")));
    QVERIFY(QFile::exists(standard.localPath(md5(ColladaText::simple("standard")))));
}

void TestColladaLoader::keyIsTheChecksumOfTheText_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("nodeId");

    const QByteArray plain = ColladaText::simple("plain");
    QTest::newRow("ASCII") << plain << plain << QStringLiteral("plain");
    QTest::newRow("NUL byte") << plain + '\0' + ColladaText::simple("after") << plain
                              << QStringLiteral("plain");
    const QString accented = QStringLiteral("caf\u00e9\u00ff");
    QTest::newRow("Latin-1") << ColladaText::simple(accented.toLatin1())
                             << ColladaText::simple(accented.toUtf8()) << accented;
    QTest::newRow("Latin-1 and NUL") << ColladaText::simple(accented.toLatin1()) + '\0' + "\xe9"
                                     << ColladaText::simple(accented.toUtf8()) << accented;
}

void TestColladaLoader::keyIsTheChecksumOfTheText()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, text);

    Scene scene;
    load(&scene, writeFile("scene.dae", bytes));
    QCOMPARE(cacheFiles(), QStringList{md5(text) + ".qvm"});
    QTEST(scene.activeCameraNode()->id(), "nodeId");
}

void TestColladaLoader::utf8IsEncodedTwice()
{
    const QByteArray bytes = ColladaText::simple("caf\xc3\xa9");
    Scene scene;
    load(&scene, writeFile("scene.dae", bytes));
    QCOMPARE(scene.activeCameraNode()->id(), QStringLiteral("caf\u00c3\u00a9"));
    QCOMPARE(cacheFiles(), QStringList{md5(QString::fromLatin1(bytes).toUtf8()) + ".qvm"});
}

void TestColladaLoader::missingDirectoryIsMade()
{
    QVERIFY(!QFile::exists(path("home/local")));
    Scene scene;
    load(&scene, writeFile("simple.dae", ColladaText::simple()));
    QCOMPARE(cacheFiles().size(), 1);
}

void TestColladaLoader::unwritableDirectory()
{
    writeFile("home/local", "a file where the directory should be");
    Scene scene;
    const QStringList lines = load(&scene, writeFile("simple.dae", ColladaText::simple()));
    QVERIFY(scene.activeCameraNode());
    QVERIFY(lines.last().startsWith(QStringLiteral("Load time: ")));
    QVERIFY(lines.contains(QStringLiteral("Scene:")));
}

void TestColladaLoader::cacheFileIsTheSameEveryTime()
{
    QByteArray materials;
    for (int i = 0; i < 40; ++i)
        materials += "<material id=\"m" + QByteArray::number(i) + "\"/>";
    const QByteArray text = ColladaText::document(ColladaText::camera("camera") + "<library_materials>" +
                                                      materials + "</library_materials>",
                                                  ColladaText::cameraNode("view"));
    const QString file = writeFile("materials.dae", text);
    QSet<QByteArray> records;
    for (int i = 0; i < 3; ++i) {
        qSetGlobalQHashSeed(i % 2 ? 0 : -1); // -1 draws a new one
        Scene scene;
        load(&scene, file);
        const QString cacheFile = cache().localPath(md5(text));
        records += readAll(cacheFile);
        QVERIFY(QFile::remove(cacheFile));
    }
    QCOMPARE(records.size(), 1);
    QVERIFY(!records.contains(QByteArray()));
}

void TestColladaLoader::firstCameraNodeWins()
{
    const QByteArray text =
        ColladaText::document("<library_cameras><camera id=\"a\"/><camera id=\"b\"/></library_cameras>",
                              "<node id=\"outer\">" + ColladaText::cameraNode("inner", "b") + "</node>" +
                                  ColladaText::cameraNode("later", "a"));
    Scene scene;
    load(&scene, writeFile("two.dae", text));
    QCOMPARE(scene.activeCameraNode()->id(), QStringLiteral("inner"));
}

void TestColladaLoader::cachedNodesComeBreadthFirst()
{
    const QByteArray text =
        ColladaText::document("<library_cameras><camera id=\"a\"/><camera id=\"b\"/></library_cameras>",
                              "<node id=\"outer\">" + ColladaText::cameraNode("inner", "b") + "</node>" +
                                  ColladaText::cameraNode("later", "a"));
    const QString file = writeFile("two.dae", text);
    Scene converted;
    load(&converted, file);
    QCOMPARE(converted.activeCameraNode()->id(), QStringLiteral("inner"));
    Scene cached;
    load(&cached, file);
    QCOMPARE(cached.nodes().first()->id(), QStringLiteral("outer"));
    QCOMPARE(cached.nodes().at(1)->id(), QStringLiteral("later"));
    QCOMPARE(cached.activeCameraNode()->id(), QStringLiteral("later"));
}

void TestColladaLoader::sceneIsReplaced()
{
    const QString file = writeFile("simple.dae", ColladaText::simple());
    Scene scene;
    load(&scene, writeFile("other.dae", ColladaText::simple("other")));
    load(&scene, file);
    QCOMPARE(scene.nodes().size(), 2);
    QCOMPARE(scene.geometries().size(), 1);
    load(&scene, file);
    QCOMPARE(scene.nodes().size(), 2);
    QCOMPARE(scene.geometries().size(), 1);
}

void TestColladaLoader::deepestDocument()
{
    Scene scene;
    load(&scene, writeFile("deep.dae", ColladaText::nested(DocumentCheck::DepthLimit)));
    QCOMPARE(scene.nodes().size(), DocumentCheck::DepthLimit - 4);
    QCOMPARE(scene.activeCameraNode(), scene.nodes().last());
}

void TestColladaLoader::deepestDocumentInTheThread()
{
    const Silence silence;
    std::unique_ptr<Scene> scene;
    ColladaLoaderThread thread;
    connect(&thread, &ColladaLoaderThread::completed, this,
            [&](Scene *completed) { scene.reset(completed); });
    thread.load(writeFile("deep.dae", ColladaText::nested(DocumentCheck::DepthLimit)));
    QTRY_VERIFY_WITH_TIMEOUT(scene, 60000);
    QVERIFY(thread.wait());
    QCOMPARE(scene->nodes().size(), DocumentCheck::DepthLimit - 4);
}

void TestColladaLoader::badFiles_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("sentence");

    const auto row = [](const char *name, const QByteArray &bytes, const char *sentence) {
        QTest::newRow(name) << bytes << QStringLiteral("bad.dae: ") + QLatin1String(sentence);
    };
    const QByteArray simple = ColladaText::simple();
    const QByteArray node = "<node id=\"n\"/>";
    row("empty", "", "the file is empty: export the scene again");
    row("NUL first", QByteArray("\0", 1) + simple, "the file is empty: export the scene again");
    row("gzip", QByteArray("\x1f\x8b\x08\x00\x00\x00\x00\x00", 8), "the file is compressed (gzip): ");
    row("zip", QByteArray("PK\x03\x04\x14\x00\x00\x00", 8), "the file is compressed (a ZIP archive): ");
    row("JPEG", QByteArray("\xff\xd8\xff\xe0\x00\x10JFIF\x00", 11), "the file is a JPEG picture: ");
    row("PNG", QByteArray("\x89PNG\r\n\x1a\n\x00\x00\x00\rIHDR", 16), "the file is a PNG picture: ");
    row("other binary",
        "\x7f"
        "ELF\x02\x01\x01",
        "the file is not text: ");
    row("UTF-16", "\xff\xfe<\x3f", "the file is UTF-16 text: ");
    row("byte-order mark", "\xef\xbb\xbf" + simple, "the file starts with a byte-order mark: ");
    row("cut off in its encoding", "<?xml encoding=", "the file is damaged or not XML (line 1, column ");
    row("text", "Once upon a time\n", "the file is damaged or not XML (line 1, column ");
    row("malformed", QByteArray(simple).replace("</node>\n<node", "</nod>\n<node"),
        "the file is damaged or not XML (line 7, column ");
    // The long list is taken out before parsing, with its line ends; the place has to be that in the file.
    row("malformed behind a long list",
        QByteArray(simple)
            .replace("0 0 1 0 2 0", QByteArray("0 0 1 0 2 0\n").repeated(50))
            .replace("</node>\n<node", "</nod>\n<node"),
        "the file is damaged or not XML (line 57, column ");
    row("cut off", simple.left(simple.size() / 2), "the file is damaged or not XML (line ");
    row("HTML", "<html><body/></html>",
        "the file is a document of kind \"html\" and not a COLLADA scene: export the scene as COLLADA");
    row("no camera", ColladaText::document(ColladaText::triangle("t"), node),
        "the scene has no camera node, so there is no view to open it with: add a camera in the program that "
        "exported it");
    row("no camera node", ColladaText::document(ColladaText::camera("c"), node),
        "the scene has no camera node, ");
    row("too deep", ColladaText::nested(DocumentCheck::DepthLimit + 1),
        qPrintable(
            QStringLiteral("the elements of the file nest %1 deep, and %2 is the most that can be read: ")
                .arg(DocumentCheck::DepthLimit + 1)
                .arg(DocumentCheck::DepthLimit)));
    row("far too deep", ColladaText::nested(200000), "the elements of the file nest 200000 deep, ");
}

void TestColladaLoader::badFiles()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, sentence);

    qputenv(fatalFileVariable, writeFile("bad.dae", bytes).toLocal8Bit());
    const FatalEnd end = FatalCases::end("load");
    QVERIFY(end.aborted);
    QVERIFY2(end.text.contains(QStringLiteral("ASSERT: \"scene->m_activeCameraNode\" in file ")),
             qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1Char('\n') + sentence), qPrintable(end.text));
    QVERIFY2(!end.text.contains(QStringLiteral("<p>")), qPrintable(end.text));
    const QRegularExpressionMatch place =
        QRegularExpression("\\(line (\\d+), column (\\d+): (.+)\\)").match(end.text);
    if (place.hasMatch()) {
        const QString line = QStringLiteral("bad.dae:%1:%2: %3\n")
                                 .arg(place.captured(1), place.captured(2), place.captured(3));
        QVERIFY2(end.text.startsWith(line), qPrintable(end.text));
    }
    QVERIFY(!QFile::exists(path("home/cache")));
}

void TestColladaLoader::unreadableFiles_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("sentence");

    const QString usualAdvice = QStringLiteral("): check that it is a file, and readable for you");
    const auto row = [&](const char *title, const char *file, const char *name, const char *reason,
                         const QString &advice) {
        QTest::newRow(title) << QString::fromLatin1(file)
                             << QStringLiteral("%1: the file cannot be read (").arg(QLatin1String(name)) +
                                    QLatin1String(reason) + advice;
    };
    row("missing", "missing.dae", "missing.dae", "No such file or directory", usualAdvice);
    row("directory", "folder.dae", "folder.dae", "file to open is a directory", usualAdvice);
    row("forbidden", "forbidden.dae", "forbidden.dae", "Permission denied", usualAdvice);
    row("no name", "", "(no name)", "No file name specified", usualAdvice);
    row("too large", "large.dae", "large.dae",
        "it takes more than 2139095039 bytes, the most that can be read",
        QStringLiteral("): export the scene in parts, or with less detail"));
}

void TestColladaLoader::unreadableFiles()
{
    QFETCH(QString, file);
    QFETCH(QString, sentence);

    QVERIFY(QDir().mkpath(path("folder.dae")));
    QVERIFY(
        QFile::setPermissions(writeFile("forbidden.dae", ColladaText::simple()), QFileDevice::Permissions()));
    QFile large(writeFile("large.dae", ColladaText::simple()));
    QVERIFY(large.resize(qint64(2200) << 20));
    if (file.startsWith("forbidden"))
        qputenv(unprivilegedVariable, "1");
    qputenv(fatalFileVariable, file.isEmpty() ? QByteArray() : path(file).toLocal8Bit());
    const FatalEnd end = FatalCases::end("load");
    qunsetenv(unprivilegedVariable);
    QVERIFY(end.aborted);
    QVERIFY2(end.text.contains(QStringLiteral("ASSERT: \"scene->m_activeCameraNode\" in file ")),
             qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1Char('\n') + sentence), qPrintable(end.text));
    // Not what the parser says of a text that is not there.
    QVERIFY2(!end.text.contains(QStringLiteral(":1:0: ")), qPrintable(end.text));
}

void TestColladaLoader::sizeLimit_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("limit");
    QTest::addColumn<bool>("isRead");
    QTest::newRow("as large as can be") << QByteArray("12345678") << 8 << true;
    QTest::newRow("one byte more") << QByteArray("123456789") << 8 << false;
    QTest::newRow("as large as can be in UTF-8") << QByteArray("12345\xe9\x37") << 8 << true;
    QTest::newRow("one byte more in UTF-8") << QByteArray("12345\xe9\x37\x38") << 8 << false;
    QTest::newRow("one byte more after a NUL") << QByteArray("12345\0", 6) + "\xe9\x37\x38" << 8 << false;
}

void TestColladaLoader::sizeLimit()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, limit);
    QFETCH(bool, isRead);
    const SourceText source = readSourceText(writeFile("scene.dae", bytes), limit);
    QCOMPARE(source.error.isEmpty(), isRead);
    QCOMPARE(source.advice.isEmpty(), isRead);
    QCOMPARE(source.text.isEmpty(), !isRead);
    QCOMPARE(source.key, md5(source.text));
    // A file that says that it has no bytes, as pipes do.
    const SourceText sizeless = readSourceText("/proc/self/status", limit);
    QVERIFY(sizeless.text.isEmpty());
    QCOMPARE(sizeless.key, md5(QByteArray()));
    QCOMPARE(sizeless.error, QStringLiteral("it takes more than 8 bytes, the most that can be read"));
}

void TestColladaLoader::threadDeliversNewScenes()
{
    const QString file = writeFile("simple.dae", ColladaText::simple());
    const Silence silence;
    QVector<Scene *> scenes;
    QVector<QThread *> threads;
    ColladaLoaderThread thread;
    connect(&thread, &ColladaLoaderThread::completed, this, [&](Scene *scene) {
        scenes += scene;
        threads += QThread::currentThread();
    });
    for (int count = 1; count <= 2; ++count) {
        thread.load(file);
        QTRY_COMPARE(scenes.size(), count);
        QVERIFY(thread.wait());
    }
    QVERIFY(scenes.at(0) != scenes.at(1));
    QCOMPARE(threads, (QVector<QThread *>{QThread::currentThread(), QThread::currentThread()}));
    QCOMPARE(dumpScene(*scenes.at(0)), dumpScene(*scenes.at(1)));
    QCOMPARE(scenes.at(0)->name(), file);
    qDeleteAll(scenes);
}

void TestColladaLoader::secondLoadInTheThreadIsFatal()
{
    qputenv(fatalFileVariable, writeFile("simple.dae", ColladaText::simple()).toLocal8Bit());
    const FatalEnd end = FatalCases::end("load twice");
    QVERIFY(end.aborted);
    QVERIFY2(
        end.text.contains(QStringLiteral("ASSERT: \"!isRunning()\" in file src/ColladaLoaderThread.cpp")),
        qPrintable(end.text));
}

int main(int argc, char **argv)
{
    const FatalCases cases{{"load", loadFatally}, {"load twice", loadTwiceInTheThread}};
    if (cases.runRequested(argc, argv))
        return 0;
    QCoreApplication application(argc, argv);
    TestColladaLoader test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_colladaloader.moc"
