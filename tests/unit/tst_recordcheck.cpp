#include "ColladaLoader.h"
#include "Emulation.h"
#include "FatalExplanation.h"
#include "MessageCapture.h"
#include "RecordRoundTrip.h"
#include "RecordSamples.h"
#include "SceneAssembly.h"
#include "SceneCache.h"
#include "SceneExercise.h"
#include "SceneRecordCheck.h"

#include <QDirIterator>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QtTest>

#include <algorithm>
#include <functional>
#include <limits>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Quorvel;

namespace
{

struct Case
{
    QString name;
    QByteArray record;
};

RecordBytes soundRecord()
{
    return completeRecord(QStringLiteral("n1"));
}

QString fault(const QByteArray &record)
{
    return SceneRecordCheck(record).fault();
}

/// A scene with a camera node and one of what the tests put out of order.
struct SketchedScene
{
    SketchedScene() : assembly(&scene)
    {
        geometry =
            SceneAssembly::group(assembly.geometry(QStringLiteral("g"), {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}),
                                 QStringLiteral("m"), {0, 1, 2});
        mesh = scene.geometries().first();
        mesh->setNormals({{0, 0, 1}});
        mesh->setTexcoords({{0, 0}});
        mesh->setFirstIntegers({0, 0, 0});
        mesh->setSecondIntegers({0, 0, 0});
        light = assembly.light(QStringLiteral("l"));
        assembly.material(QStringLiteral("m"));
        camera = assembly.node(QStringLiteral("c"), nullptr, assembly.camera(QStringLiteral("c")));
        shown = assembly.node(QStringLiteral("n"), nullptr, mesh);
        lit = assembly.node(QStringLiteral("l"), nullptr, light);
    }

    QString fault()
    {
        scene.complete();
        return ::fault(saved(scene));
    }

    Scene scene;
    SceneAssembly assembly;
    Trimesh *geometry;
    Geometry *mesh;
    Light *light;
    Node *camera;
    Node *shown;
    Node *lit;
};

using Change = std::function<void(SketchedScene &)>;

} // namespace

Q_DECLARE_METATYPE(Change)

/// Damaged records are either refused, or do everything that a received scene goes through, in a child
/// process that must come to its end.
class RecordCheckTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void soundRecordPasses();
    void truncated();
    void flippedBits();
    void hostileCounts();
    void hostileWords();
    void foreignBytes();
    void theChildIsWatched();

    void convertedScenesPass_data();
    void convertedScenesPass();

    void faults_data();
    void faults();
    void trailingBytes();
    void sceneWithoutCamera();
    void shortIndexLists();
    void targetsOfLightsThatAreNotShown();
    void indicesOfGeometriesThatAreNotShown();
    void theCacheIsAskedForLess();
    void triangleLimit();
    void sphereLimit();
    void largeRecord();

private:
    /// The number of cases that pass the check; -1 when one of them ends the child.
    int passing(const QVector<Case> &cases, void (*use)(const QByteArray &) = &RecordCheckTest::use);
    static void use(const QByteArray &record);

    QTemporaryFile m_output;
    QString m_failure;
};

void RecordCheckTest::initTestCase()
{
    QVERIFY(m_output.open());
}

void RecordCheckTest::use(const QByteArray &record)
{
    const QByteArray written = exerciseScene(record);
    // What the viewer writes of a scene that passed passes again, and says the same.
    if (!SceneRecordCheck(written).isSound() || exerciseScene(written) != written)
        qFatal("written again, the scene is another one");
}

int RecordCheckTest::passing(const QVector<Case> &cases, void (*use)(const QByteArray &))
{
    QVector<Case> sound;
    std::copy_if(cases.begin(), cases.end(), std::back_inserter(sound),
                 [](const Case &c) { return SceneRecordCheck(c.record).isSound(); });
    void *const shared =
        mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto *const reached = static_cast<volatile int *>(shared);
    const pid_t child = fork();
    if (child == 0) {
        const rlimit noCoreFile{0, 0};
        setrlimit(RLIMIT_CORE, &noCoreFile);
        for (const int number : {SIGABRT, SIGSEGV, SIGPROF})
            signal(number, SIG_DFL);
        installDiagnostics();
        for (int i = 0; i < sound.size(); ++i) {
            if (ftruncate(m_output.handle(), 0) != 0 || dup2(m_output.handle(), STDERR_FILENO) < 0 ||
                lseek(STDERR_FILENO, 0, SEEK_SET) != 0)
                _exit(3);
            const itimerval fiveSeconds{{0, 0}, {5, 0}};
            setitimer(ITIMER_PROF, &fiveSeconds, nullptr);
            *reached = i;
            use(sound[i].record);
        }
        _exit(0);
    }
    int status = -1;
    const bool ended = child > 0 && waitpid(child, &status, 0) == child;
    const int last = *reached;
    munmap(shared, sizeof(int));
    if (!ended || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        m_output.seek(0);
        m_failure = QStringLiteral("%1: %2").arg(sound[last].name,
                                                 QString::fromLocal8Bit(m_output.readAll().right(2000)));
        return -1;
    }
    return sound.size();
}

void RecordCheckTest::soundRecordPasses()
{
    QCOMPARE(fault(soundRecord().bytes()), QString());
    QVERIFY2(passing({{QStringLiteral("sound"), soundRecord().bytes()}}) == 1, qPrintable(m_failure));
}

void RecordCheckTest::truncated()
{
    const QByteArray record = soundRecord().bytes();
    for (int length = 0; length < record.size(); ++length)
        QVERIFY2(!SceneRecordCheck(record.left(length)).isSound(), qPrintable(QString::number(length)));
}

void RecordCheckTest::flippedBits()
{
    const QByteArray record = soundRecord().bytes();
    QVector<Case> cases;
    for (int bit = 0; bit < record.size() * 8; ++bit) {
        QByteArray flipped = record;
        flipped[bit / 8] = char(flipped[bit / 8] ^ (0x80 >> bit % 8));
        cases.append({QStringLiteral("byte %1, bit %2").arg(bit / 8).arg(7 - bit % 8), flipped});
    }
    const int passed = passing(cases);
    QVERIFY2(passed >= 0, qPrintable(m_failure));
    qInfo("%d of %d records pass", passed, cases.size());
    // Most of the bytes are numbers that may be anything.
    QVERIFY(passed > cases.size() / 2);
    QVERIFY(passed < cases.size());
}

static QByteArray withWord(QByteArray record, int offset, quint32 value)
{
    RecordBytes word;
    word.uint32(value);
    return record.replace(offset, 4, word.bytes());
}

void RecordCheckTest::hostileCounts()
{
    const RecordBytes record = soundRecord();
    QVERIFY(record.counts().size() > 30);
    QVector<Case> cases;
    for (const RecordBytes::Count &count : record.counts()) {
        for (const quint32 value : {0u, 1u, count.value - 1, count.value + 1, 0x00ffffffu, 0x10000000u,
                                    0x7fffffffu, 0x80000000u, 0xfffffffeu, 0xffffffffu}) {
            cases.append({QStringLiteral("%1 at %2: %3").arg(count.name).arg(count.offset).arg(value, 0, 16),
                          withWord(record.bytes(), count.offset, value)});
        }
    }
    const int passed = passing(cases);
    QVERIFY2(passed >= 0, qPrintable(m_failure));
    qInfo("%d of %d records pass", passed, cases.size());
    QVERIFY(passed < cases.size() / 2);
}

void RecordCheckTest::hostileWords()
{
    const QByteArray record = soundRecord().bytes();
    QVector<Case> cases;
    for (int offset = 0; offset + 4 <= record.size(); ++offset) {
        for (const quint32 value : {0u, 1u, 2u, 3u, 6u, 0x7fffffffu, 0x80000000u, 0xffffffffu}) {
            cases.append({QStringLiteral("word at %1: %2").arg(offset).arg(value, 0, 16),
                          withWord(record, offset, value)});
        }
    }
    const int passed = passing(cases);
    QVERIFY2(passed >= 0, qPrintable(m_failure));
    qInfo("%d of %d records pass", passed, cases.size());
    QVERIFY(passed < cases.size());
}

void RecordCheckTest::foreignBytes()
{
    for (int value = 0; value < 256; ++value)
        QVERIFY(!SceneRecordCheck(QByteArray(4096, char(value))).isSound());
    QVERIFY(!SceneRecordCheck(QByteArray()).isSound());
    QVERIFY(!SceneRecordCheck(QByteArray("<?xml version=\"1.0\"?><COLLADA></COLLADA>")).isSound());
    const QByteArray record = soundRecord().bytes();
    for (int shift = 1; shift < record.size(); ++shift)
        QVERIFY(!SceneRecordCheck(record.mid(shift)).isSound());
}

void RecordCheckTest::theChildIsWatched()
{
    const QVector<Case> one{{QStringLiteral("one"), soundRecord().bytes()}};
    QCOMPARE(passing(one, [](const QByteArray &) { qFatal("told"); }), -1);
    QVERIFY2(m_failure.contains(QLatin1String("told")), qPrintable(m_failure));
    QCOMPARE(passing(one, [](const QByteArray &) { raise(SIGSEGV); }), -1);
}

void RecordCheckTest::convertedScenesPass_data()
{
    QTest::addColumn<QString>("file");
    QDirIterator files({QStringLiteral(QUORVEL_FIXTURES)}, {QStringLiteral("*.dae")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QFileInfo file(files.next());
        if (!QFile::exists(file.dir().filePath(QStringLiteral("not-loadable"))))
            QTest::newRow(qPrintable(file.dir().dirName() + QLatin1Char('/') + file.fileName()))
                << file.filePath();
    }
    for (const QString &name :
         QDir(QStringLiteral(":/models")).entryList({QStringLiteral("*.DAE"), QStringLiteral("*.dae")}))
        QTest::newRow(qPrintable(name)) << QStringLiteral(":/models/") + name;
}

void RecordCheckTest::convertedScenesPass()
{
    QFETCH(QString, file);
    const QTemporaryDir directory;
    const SceneCache cache(directory.filePath(QStringLiteral("global")),
                           directory.filePath(QStringLiteral("local")));
    Scene scene;
    const MessageCapture capture;
    const ColladaLoader loader(&scene, file, cache);
    QCOMPARE(fault(saved(scene)), QString());
}

// One thing wrong at a time

void RecordCheckTest::faults_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char *name, const Change &change, const char *expected) {
        QTest::newRow(name) << change << QString::fromLatin1(expected);
    };
    const float infinity = std::numeric_limits<float>::infinity();
    const float nan = std::numeric_limits<float>::quiet_NaN();

    row(
        "nothing", [](SketchedScene &) {}, "");
    row(
        "position past the end",
        [](SketchedScene &s) {
            s.geometry->setIndices({0, 1, 3});
        },
        "there is no position 3, only 3");
    row(
        "negative position",
        [](SketchedScene &s) {
            s.geometry->setIndices({0, 1, -1});
        },
        "there is no position -1, only 3");
    row(
        "normal past the end",
        [](SketchedScene &s) {
            s.mesh->setFirstIntegers({0, 0, 1});
        },
        "there is no normal 1, only 1");
    row(
        "no normals", [](SketchedScene &s) { s.mesh->setNormals({}); }, "there is no normal 0, only 0");
    row(
        "texture coordinate past the end",
        [](SketchedScene &s) {
            s.mesh->setSecondIntegers({7, 0, 0});
        },
        "there is no texture coordinate 7, only 1");
    row(
        "no texture coordinates", [](SketchedScene &s) { s.mesh->setTexcoords({}); },
        "there is no texture coordinate 0, only 0");
    row(
        "neighbours",
        [](SketchedScene &s) {
            s.geometry->setAdjacency({-1, 0, 2});
        },
        "");
    row(
        "neighbour past the end", [](SketchedScene &s) { s.geometry->setAdjacency({3}); },
        "there is no neighbour 3, only 3");
    row(
        "neighbour below none", [](SketchedScene &s) { s.geometry->setAdjacency({-2}); },
        "there is no neighbour -2, only 3");
    row(
        "invalid face",
        [](SketchedScene &s) {
            s.geometry->setInvalidFaces({0, 0});
        },
        "");
    row(
        "invalid face past the end", [](SketchedScene &s) { s.geometry->setInvalidFaces({1}); },
        "there is no invalid face 1, only 1");
    row(
        "infinite vertex",
        [=](SketchedScene &s) {
            s.mesh->setVertices({{0, 0, 0}, {0, infinity, 0}, {0, 0, 0}});
        },
        "");
    row(
        "vertex that is no number",
        [=](SketchedScene &s) {
            s.mesh->setVertices({{0, 0, 0}, {0, 0, 0}, {0, 0, nan}});
        },
        "");
    row(
        "normal that is no number",
        [=](SketchedScene &s) {
            s.mesh->setNormals({{nan, nan, nan}});
        },
        "");
    row(
        "infinite matrix", [=](SketchedScene &s) { s.shown->setLocalTransform(QMatrix4x4() * infinity); },
        "a matrix is not finite");
    row(
        "colour of four numbers", [](SketchedScene &s) { s.light->setColor(QColor::fromRgbF(2, 1, 0)); }, "");
    row(
        "invalid colour", [](SketchedScene &s) { s.light->setColor(QColor()); }, "");
    row(
        "colour of another kind", [](SketchedScene &s) { s.light->setColor(QColor::fromHsv(1, 2, 3)); },
        "2 is no kind of colour");
    row(
        "light that aims at a node", [](SketchedScene &s) { s.light->setTarget(QStringLiteral("n")); }, "");
    row(
        "light that aims at nothing", [](SketchedScene &s) { s.light->setTarget(QStringLiteral("x")); },
        "a light aims at a node that does not exist");
    row(
        "unbound material", [](SketchedScene &s) { s.shown->bindMaterial(QStringLiteral("x"), nullptr); },
        "");
}

void RecordCheckTest::faults()
{
    QFETCH(Change, change);
    QFETCH(QString, expected);
    SketchedScene sketch;
    change(sketch);
    const QString got = sketch.fault();
    if (expected.isEmpty()) {
        QCOMPARE(got, QString());
        QVERIFY2(passing({{QStringLiteral("sketch"), saved(sketch.scene)}}) == 1, qPrintable(m_failure));
    } else {
        QVERIFY2(got.endsWith(QLatin1String(": ") + expected), qPrintable(got));
    }
}

void RecordCheckTest::trailingBytes()
{
    QVERIFY(fault(soundRecord().bytes() + '\0').endsWith(QLatin1String("1 bytes follow the last node")));
}

void RecordCheckTest::sceneWithoutCamera()
{
    SketchedScene sketch;
    sketch.camera->setModel(nullptr);
    QVERIFY(sketch.fault().endsWith(QLatin1String("no node holds a camera")));
}

void RecordCheckTest::shortIndexLists()
{
    // The record's first and second integer list with nothing in them: every corner has normal 0.
    SketchedScene sketch;
    sketch.scene.complete();
    QByteArray record = saved(sketch.scene);
    const QByteArray list = QByteArray::fromHex("00000003000000000000000000000000");
    const int first = record.indexOf(list + list);
    QVERIFY(first > 0);
    record.replace(first, 2 * list.size(), QByteArray(8, '\0'));
    QCOMPARE(fault(record), QString());
    QVERIFY2(passing({{QStringLiteral("short lists"), record}}) == 1, qPrintable(m_failure));
}

void RecordCheckTest::targetsOfLightsThatAreNotShown()
{
    SketchedScene unshown;
    unshown.light->setTarget(QStringLiteral("x"));
    unshown.lit->setModel(nullptr);
    QCOMPARE(unshown.fault(), QString());

    SketchedScene ambient;
    Light *const light = ambient.assembly.light(QStringLiteral("a"), Light::AmbientLight);
    light->setTarget(QStringLiteral("x"));
    ambient.lit->setModel(light);
    QCOMPARE(ambient.fault(), QString());
}

void RecordCheckTest::indicesOfGeometriesThatAreNotShown()
{
    SketchedScene sketch;
    sketch.geometry->setIndices({0, 1, 3});
    QVERIFY(sketch.fault().endsWith(QLatin1String("there is no position 3, only 3")));
    SketchedScene unshown;
    unshown.geometry->setIndices({0, 1, 3});
    unshown.shown->setModel(nullptr);
    QCOMPARE(unshown.fault(), QString());
    QVERIFY2(passing({{QStringLiteral("unshown"), saved(unshown.scene)}}) == 1, qPrintable(m_failure));
}

void RecordCheckTest::theCacheIsAskedForLess()
{
    const auto cacheFault = [](SketchedScene *sketch) {
        sketch->scene.complete();
        const QByteArray record = saved(sketch->scene);
        return SceneRecordCheck({record.constData(), size_t(record.size())}, SceneRecordCheck::Origin::Cache)
            .fault();
    };
    SketchedScene infinite;
    infinite.shown->setLocalTransform(QMatrix4x4() * std::numeric_limits<float>::infinity());
    QCOMPARE(cacheFault(&infinite), QString());
    SketchedScene aimless;
    aimless.light->setTarget(QStringLiteral("x"));
    QCOMPARE(cacheFault(&aimless), QString());
    SketchedScene outside;
    outside.geometry->setIndices({0, 1, 3});
    QVERIFY(cacheFault(&outside).endsWith(QLatin1String("there is no position 3, only 3")));
    SketchedScene viewless;
    viewless.camera->setModel(nullptr);
    QVERIFY(cacheFault(&viewless).endsWith(QLatin1String("no node holds a camera")));
}

void RecordCheckTest::triangleLimit()
{
    // Every group draws the groups before it once more: 16385 groups of one corner make 16385 * 16386 / 2 of
    // them, and one for each group.
    const auto faultOf = [](int groups) {
        SketchedScene sketch;
        for (int i = 1; i < groups; ++i)
            SceneAssembly::group(sketch.mesh, QString(), {0});
        sketch.geometry->setIndices({0});
        sketch.mesh->setFirstIntegers(QVector<int>(groups));
        sketch.mesh->setSecondIntegers(QVector<int>(groups));
        return sketch.fault();
    };
    QCOMPARE(faultOf(16381), QString());
    QVERIFY(faultOf(16385).endsWith(QLatin1String("the scene has too many triangles to draw")));
}

void RecordCheckTest::sphereLimit()
{
    // A chain of nodes: the spheres of n of them look at n * (n + 3) / 2 nodes.
    const auto faultOf = [](int nodes) {
        SketchedScene sketch;
        Node *parent = sketch.shown;
        for (int i = 0; i < nodes; ++i)
            parent = sketch.assembly.node(QString(), parent);
        return sketch.fault();
    };
    QCOMPARE(faultOf(23000), QString());
    QVERIFY(faultOf(23200).endsWith(QLatin1String("too many vertices in too deep a tree")));
}

void RecordCheckTest::largeRecord()
{
    SketchedScene sketch;
    constexpr int corners = 1500000;
    sketch.mesh->setVertices(QVector<QVector3D>(corners, QVector3D(1, 2, 3)));
    sketch.geometry->setIndices(QVector<int>(corners));
    sketch.mesh->setFirstIntegers(QVector<int>(corners));
    sketch.mesh->setSecondIntegers(QVector<int>(corners));
    sketch.scene.complete();
    const QByteArray record = saved(sketch.scene);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(fault(record), QString());
    qInfo("%d MiB in %lld ms", record.size() >> 20, timer.elapsed());
    QVERIFY(timer.elapsed() < 2000 * Test::patience);
}

QTEST_GUILESS_MAIN(RecordCheckTest)
#include "tst_recordcheck.moc"
