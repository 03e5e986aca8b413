#include "ColladaLoader.h"
#include "MessageCapture.h"
#include "Scene.h"
#include "SceneDump.h"

#include <QtTest>

using namespace Quorvel;

/// Every folder of tests/fixtures/collada with an expected.txt is a row: its input.dae is converted, and then
/// read back from the cache, and the whole scene is compared both times. A new folder is a new row.
///
/// With QUORVEL_UPDATE_EXPECTED set, the files are written instead of compared: read what changed before
/// keeping it. Folders that hold a file named not-loadable are left to other tests.
class TestConversion : public QObject
{
    Q_OBJECT

private slots:
    void scenes_data();
    void scenes();
};

namespace
{

const char *const updateVariable = "QUORVEL_UPDATE_EXPECTED";

QDir fixtures()
{
    return QDir(QStringLiteral(QUORVEL_FIXTURES "/collada"));
}

QString load(const QString &file, const SceneCache &cache, QStringList *lines)
{
    const MessageCapture capture;
    Scene scene;
    const ColladaLoader loader(&scene, file, cache);
    *lines = capture.lines();
    return dumpScene(scene);
}

QString readText(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

void TestConversion::scenes_data()
{
    QTest::addColumn<QString>("folder");
    const bool update = qEnvironmentVariableIsSet(updateVariable);
    int rows = 0;
    for (const QString &name : fixtures().entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QDir folder(fixtures().filePath(name));
        if (folder.exists(QStringLiteral("not-loadable")))
            continue;
        if (!update && !folder.exists(QStringLiteral("expected.txt")))
            continue;
        QTest::newRow(qPrintable(name)) << folder.path();
        ++rows;
    }
    QVERIFY2(rows > 0, "no fixture folders found");
}

void TestConversion::scenes()
{
    QFETCH(QString, folder);

    const QString input = folder + QStringLiteral("/input.dae");
    const QTemporaryDir directory;
    const SceneCache cache(directory.filePath(QStringLiteral("global")),
                           directory.filePath(QStringLiteral("local")));
    QStringList lines;
    const QString converted = load(input, cache, &lines);
    QVERIFY(lines.contains(QStringLiteral("Scene:")));
    const QString cached = load(input, cache, &lines);
    QVERIFY(lines.contains(QStringLiteral("ColladaLoader: loading from local cache")));
    QCOMPARE(cached, converted);

    QFile expected(folder + QStringLiteral("/expected.txt"));
    if (qEnvironmentVariableIsSet(updateVariable)) {
        QVERIFY(expected.open(QIODevice::WriteOnly));
        expected.write(converted.toUtf8());
        return;
    }
    const QStringList wanted = readText(expected.fileName()).split(QLatin1Char('\n'));
    const QStringList got = converted.split(QLatin1Char('\n'));
    for (int i = 0; i < qMax(wanted.size(), got.size()); ++i)
        QCOMPARE(got.value(i), wanted.value(i));
}

QTEST_GUILESS_MAIN(TestConversion)
#include "tst_conversion.moc"
