#include "ColladaLoader.h"
#include "ColladaText.h"
#include "MessageCapture.h"
#include "RecordRoundTrip.h"
#include "RecordSamples.h"
#include "SceneAssembly.h"
#include "SceneCache.h"
#include "SceneDump.h"

#include <QtTest>

#include <limits>
#include <memory>

using namespace Quorvel;

/// What the cache does with copies that do not read back whole, and which directories it takes.
class TestSceneCache : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void everyCutIsSeen();
    void cutsAreConvertedAnew_data();
    void cutsAreConvertedAnew();
    void damagedCopies_data();
    void damagedCopies();
    void directoryInPlaceOfACopy();
    void flippedBitsEndNothing();
    void wholeCopiesAreTrusted_data();
    void wholeCopiesAreTrusted();
    void damagedGlobalCopy();

    void directories_data();
    void directories();
    void directoryOfTheVariableIsMade();
    void directoryThatCannotBeMadeIsSaid();
    void offNeitherReadsNorWrites();
    void homeIsNotMade();

private:
    /// Loads a small scene through the standard cache and returns what was said.
    QStringList loadStandard() const;
    QString path(const QString &name) const { return m_directory->filePath(name); }
    SceneCache cache() const { return SceneCache(path("global"), path("local")); }
    static void write(const QString &path, const QByteArray &bytes);
    static QByteArray bytes(const QString &path);
    /// Loads a file and returns its dump.
    QString load(const QString &path, QStringList *lines) const;

    std::unique_ptr<QTemporaryDir> m_directory;
};

namespace
{

const QString logo = QStringLiteral(":/models/logo.DAE");
const QString key = QStringLiteral("key");

/// The warnings about copies that were not used; their paths are part of them.
QStringList complaints(const QStringList &lines, const QString &path)
{
    return lines.filter(QStringLiteral("ColladaLoader: the converted scene %1 cannot be used (").arg(path));
}

QByteArray withWord(QByteArray record, int offset, quint32 value)
{
    RecordBytes word;
    word.uint32(value);
    return record.replace(offset, 4, word.bytes());
}

int offsetOf(const RecordBytes &record, const QString &count)
{
    for (const RecordBytes::Count &candidate : record.counts()) {
        if (candidate.name == count)
            return candidate.offset;
    }
    qFatal("the record has no %s", qPrintable(count));
}

} // namespace

void TestSceneCache::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
    QVERIFY(QDir().mkpath(path("home")));
    qputenv("HOME", path("home").toLocal8Bit());
    qunsetenv("QUORVEL_CACHE");
}

void TestSceneCache::write(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

QByteArray TestSceneCache::bytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString TestSceneCache::load(const QString &path, QStringList *lines) const
{
    const MessageCapture capture;
    Scene scene;
    const ColladaLoader loader(&scene, path, cache());
    *lines = capture.lines();
    return dumpScene(scene);
}

void TestSceneCache::everyCutIsSeen()
{
    QStringList lines;
    load(logo, &lines);
    const QStringList files = QDir(path("local")).entryList(QDir::Files);
    QCOMPARE(files.size(), 1);
    const QString name = files.first().section(QLatin1Char('.'), 0, 0);
    QFile copy(cache().localPath(name));
    const qint64 whole = copy.size();
    QVector<qint64> lengths;
    for (qint64 cut = 1; cut <= 2000; ++cut)
        lengths.append(whole - cut);
    for (qint64 length = whole - 2000; length > 0; length -= 9973)
        lengths.append(length);
    lengths.append(0);
    for (const qint64 length : qAsConst(lengths)) {
        QVERIFY(copy.resize(length));
        const MessageCapture capture;
        Scene scene;
        scene.setName(QStringLiteral("before"));
        const QByteArray title = QByteArray::number(length) + " of " + QByteArray::number(whole);
        QVERIFY2(!cache().load(&scene, name), title.constData());
        QVERIFY2(complaints(capture.lines(), copy.fileName()).size() == 1 && capture.lines().size() == 1,
                 title.constData());
        QCOMPARE(scene.name(), QStringLiteral("before"));
    }
}

void TestSceneCache::cutsAreConvertedAnew_data()
{
    QTest::addColumn<int>("cut");
    for (const int cut : {1, 2, 3, 4, 8, 100, 500, 1000, 2000, 20000, std::numeric_limits<int>::max()})
        QTest::newRow(qPrintable(QString::number(cut))) << cut;
}

void TestSceneCache::cutsAreConvertedAnew()
{
    QFETCH(int, cut);
    QStringList lines;
    const QString converted = load(logo, &lines);
    QFile copy(path("local/") + QDir(path("local")).entryList(QDir::Files).value(0));
    const QByteArray record = bytes(copy.fileName());
    QVERIFY(copy.resize(qMax(0, record.size() - cut)));

    QCOMPARE(load(logo, &lines), converted);
    QCOMPARE(complaints(lines, copy.fileName()).size(), 1);
    QVERIFY(complaints(lines, copy.fileName())
                .first()
                .endsWith(QStringLiteral("): the scene is converted anew")));
    QVERIFY(lines.filter(QStringLiteral("loading from")).isEmpty());
    QCOMPARE(bytes(copy.fileName()), record);

    QCOMPARE(load(logo, &lines), converted);
    QCOMPARE(lines.first(), QStringLiteral("ColladaLoader: loading from local cache"));
    QCOMPARE(lines.size(), 2);
}

void TestSceneCache::damagedCopies_data()
{
    QTest::addColumn<QByteArray>("copy");
    QTest::addColumn<QString>("fault");
    const RecordBytes record = completeRecord(QStringLiteral("n1"));
    const QByteArray whole = record.bytes();
    const auto row = [](const char *name, const QByteArray &copy, const char *fault) {
        QTest::newRow(name) << copy << QString::fromLatin1(fault);
    };
    row("empty", QByteArray(), "the record ends");
    row("one byte more", whole + '\0', "1 bytes follow the last node");
    row("twice", whole + whole, "bytes follow the last node");
    row("another file", ColladaText::simple(), "does not fit into");
    row("too many vertices", withWord(whole, offsetOf(record, QStringLiteral("vertices")), 0x7fffffff),
        "vertices do not fit into");
    row("no nodes", withWord(whole, offsetOf(record, QStringLiteral("nodes")), 0),
        "bytes follow the last node");
    const int corners = offsetOf(record, QStringLiteral("indices"));
    row("corner past the vertices", withWord(whole, corners + 4, 3), "there is no position 3, only 3");
    row("corner before the vertices", withWord(whole, corners + 8, 0xffffffffu),
        "there is no position -1, only 3");
    row("normal past the end", withWord(whole, offsetOf(record, QStringLiteral("first integers")) + 4, 1),
        "there is no normal 1, only 1");
    // The last node: 128 bytes of matrix, the id, the parent, the kind, the light, the number of bindings.
    row("light past the end", withWord(whole, whole.size() - 8, 1), "there is no model 1 of kind 5");
    row("kind of another light", withWord(whole, whole.size() - 12, 4), "a light of type 5 is called 4");
    row("parent after its child", withWord(whole, whole.size() - 16, 2),
        "the parent 2 does not stand before its child");
}

void TestSceneCache::damagedCopies()
{
    QFETCH(QByteArray, copy);
    QFETCH(QString, fault);
    const QByteArray text = ColladaText::simple();
    write(path("simple.dae"), text);
    QStringList lines;
    const QString converted = load(path("simple.dae"), &lines);
    const QString file = path("local/") + QDir(path("local")).entryList(QDir::Files).value(0);
    const QByteArray record = bytes(file);
    write(file, copy);

    QCOMPARE(load(path("simple.dae"), &lines), converted);
    QCOMPARE(complaints(lines, file).size(), 1);
    QVERIFY2(complaints(lines, file).first().contains(fault), qPrintable(lines.join(QLatin1Char('\n'))));
    QCOMPARE(bytes(file), record);
}

void TestSceneCache::directoryInPlaceOfACopy()
{
    QVERIFY(QDir().mkpath(cache().localPath(key)));
    Scene scene;
    const MessageCapture capture;
    QVERIFY(!cache().load(&scene, key));
    QCOMPARE(complaints(capture.lines(), cache().localPath(key)).size(), 1);
}

void TestSceneCache::flippedBitsEndNothing()
{
    const QByteArray record = completeRecord(QStringLiteral("n1")).bytes();
    write(cache().localPath(key), record);
    QFile copy(cache().localPath(key));
    QVERIFY(copy.open(QIODevice::ReadWrite | QIODevice::Unbuffered));
    const auto put = [&copy](int at, char byte) { return copy.seek(at) && copy.putChar(byte); };
    int loaded = 0;
    for (int bit = 0; bit < record.size() * 8; ++bit) {
        const char whole = record.at(bit / 8);
        QVERIFY(put(bit / 8, char(whole ^ (0x80 >> bit % 8))));
        const MessageCapture capture;
        Scene scene;
        const bool isLoaded = cache().load(&scene, key);
        QCOMPARE(complaints(capture.lines(), copy.fileName()).size(), isLoaded ? 0 : 1);
        QCOMPARE(scene.activeCameraNode() != nullptr, isLoaded);
        loaded += isLoaded;
        QVERIFY(put(bit / 8, whole));
    }
    QVERIFY(loaded > 0 && loaded < record.size() * 8);
}

void TestSceneCache::wholeCopiesAreTrusted_data()
{
    QTest::addColumn<QByteArray>("record");
    const auto row = [](const char *name, void (*change)(SceneAssembly * assembly, Node * node)) {
        Scene scene;
        SceneAssembly assembly(&scene);
        assembly.node(QStringLiteral("c"), nullptr, assembly.camera(QStringLiteral("c")));
        change(&assembly, assembly.node(QStringLiteral("n")));
        scene.complete();
        QTest::newRow(name) << saved(scene);
    };
    row("a sound scene", [](SceneAssembly *, Node *) {});
    row("infinite matrix", [](SceneAssembly *, Node *node) {
        node->setLocalTransform(QMatrix4x4() * std::numeric_limits<float>::infinity());
    });
    row("light that aims at nothing", [](SceneAssembly *assembly, Node *node) {
        Light *const light = assembly->light(QStringLiteral("l"), Light::SpotLight);
        light->setTarget(QStringLiteral("x"));
        node->setModel(light);
    });
    row("geometry that no node shows", [](SceneAssembly *assembly, Node *) {
        SceneAssembly::group(assembly->geometry(QStringLiteral("g")), QStringLiteral("m"), {0, 1, 2});
    });
}

void TestSceneCache::wholeCopiesAreTrusted()
{
    QFETCH(QByteArray, record);
    for (const QString &file : {cache().localPath(key), cache().globalPath(key)}) {
        write(file, record);
        Scene scene;
        const MessageCapture capture;
        QVERIFY(cache().load(&scene, key));
        QVERIFY2(capture.lines().size() == 1, qPrintable(capture.lines().join(QLatin1Char('\n'))));
        QCOMPARE(saved(scene), record);
    }
}

void TestSceneCache::damagedGlobalCopy()
{
    write(path("simple.dae"), ColladaText::simple());
    QStringList lines;
    const QString converted = load(path("simple.dae"), &lines);
    const QString name = QDir(path("local")).entryList(QDir::Files).value(0);
    const QByteArray record = bytes(path("local/") + name);
    const QByteArray damaged = record.left(record.size() - 1);
    const QString globalFile = path("global/") + name;
    write(globalFile, damaged);

    QCOMPARE(load(path("simple.dae"), &lines), converted);
    QCOMPARE(complaints(lines, globalFile).size(), 1);
    QVERIFY(lines.contains(QStringLiteral("ColladaLoader: loading from local cache")));

    QVERIFY(QFile::remove(path("local/") + name));
    QCOMPARE(load(path("simple.dae"), &lines), converted);
    QCOMPARE(complaints(lines, globalFile).size(), 1);
    QVERIFY(lines.filter(QStringLiteral("loading from")).isEmpty());
    QCOMPARE(bytes(path("local/") + name), record);
    QCOMPARE(bytes(globalFile), damaged);
}

void TestSceneCache::directories_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("expected");
    const QString home = QStringLiteral("DIR/home/.quorvel/cache");
    QTest::newRow("unset") << QString() << home;
    QTest::newRow("empty") << QStringLiteral("") << home;
    QTest::newRow("off") << QStringLiteral("off") << QString();
    QTest::newRow("folder") << QStringLiteral("DIR/some/where") << QStringLiteral("DIR/some/where");
    QTest::newRow("slash at the end") << QStringLiteral("DIR/where/") << QStringLiteral("DIR/where");
    QTest::newRow("relative") << QStringLiteral("some/where") << QStringLiteral("DIR/home/some/where");
    QTest::newRow("a folder called off") << QStringLiteral("./off") << QStringLiteral("DIR/home/off");
    QTest::newRow("beyond ASCII") << QStringLiteral("DIR/caf\u00e9") << QStringLiteral("DIR/caf\u00e9");
}

void TestSceneCache::directories()
{
    QFETCH(QString, value);
    QFETCH(QString, expected);
    if (!value.isNull())
        qputenv("QUORVEL_CACHE",
                QFile::encodeName(value.replace(QStringLiteral("DIR"), m_directory->path())));
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(path("home")));
    const SceneCache standard = SceneCache::standard();
    QVERIFY(QDir::setCurrent(before));
    QCOMPARE(standard.localDirectory(), expected.replace(QStringLiteral("DIR"), m_directory->path()));
    QCOMPARE(standard.globalDirectory(), QStringLiteral("/opt/quorvel/cache"));
}

QStringList TestSceneCache::loadStandard() const
{
    write(path("simple.dae"), ColladaText::simple());
    const MessageCapture capture;
    Scene scene;
    const ColladaLoader loader(&scene, path("simple.dae"));
    return capture.lines();
}

void TestSceneCache::directoryOfTheVariableIsMade()
{
    qputenv("QUORVEL_CACHE", QFile::encodeName(path("some/where")));
    loadStandard();
    QCOMPARE(QDir(path("some/where")).entryList(QDir::Files).size(), 1);
    QCOMPARE(loadStandard().first(), QStringLiteral("ColladaLoader: loading from local cache"));
    QVERIFY(!QFile::exists(path("home/.quorvel")));
}

void TestSceneCache::directoryThatCannotBeMadeIsSaid()
{
    write(path("file"), "in the way");
    qputenv("QUORVEL_CACHE", QFile::encodeName(path("file/cache")));
    const QStringList said = loadStandard().filter(QStringLiteral("converted scenes cannot be kept in"));
    QCOMPARE(said.size(), 1);
    QVERIFY2(said.first().contains(path("file/cache")), qPrintable(said.first()));

    // Nobody has asked for the folder in the home.
    qunsetenv("QUORVEL_CACHE");
    write(path("home/.quorvel"), "in the way");
    QCOMPARE(loadStandard().filter(QStringLiteral("cannot be kept")), QStringList());
}

void TestSceneCache::offNeitherReadsNorWrites()
{
    qputenv("QUORVEL_CACHE", "off");
    loadStandard();
    QVERIFY(!QFile::exists(path("home/.quorvel")));
    const QString name =
        QString::fromLatin1(QCryptographicHash::hash(ColladaText::simple(), QCryptographicHash::Md5).toHex());
    QVERIFY(!QFile::exists(SceneCache::standard().localPath(name)));

    qunsetenv("QUORVEL_CACHE");
    loadStandard();
    const QString file = SceneCache::standard().localPath(name);
    QCOMPARE(loadStandard().first(), QStringLiteral("ColladaLoader: loading from local cache"));
    write(file, "not to be touched");
    qputenv("QUORVEL_CACHE", "off");
    QVERIFY(loadStandard().filter(QStringLiteral("ColladaLoader")).isEmpty());
    QCOMPARE(bytes(file), QByteArray("not to be touched"));
}

void TestSceneCache::homeIsNotMade()
{
    qputenv("HOME", path("nobody").toLocal8Bit());
    QVERIFY(loadStandard().contains(QStringLiteral("Scene:")));
    QVERIFY(!QFile::exists(path("nobody")));
    QCOMPARE(SceneCache::standard().localDirectory(), QString());
    // What is asked for by name is made, wherever it is.
    qputenv("QUORVEL_CACHE", QFile::encodeName(path("nobody/cache")));
    loadStandard();
    QCOMPARE(QDir(path("nobody/cache")).entryList(QDir::Files).size(), 1);
}

QTEST_GUILESS_MAIN(TestSceneCache)
#include "tst_scenecache.moc"
