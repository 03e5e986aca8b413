#include "BakeOptions.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

using namespace Quorvel;

class TestBakeOptions : public QObject
{
    Q_OBJECT

private slots:
    void defaultsAreStated();
    void everyOptionIsRead();
    void refusedCommandLines_data();
    void refusedCommandLines();
    void outputsAreNamed_data();
    void outputsAreNamed();
    void sceneIsNeverReplaced();
    void versionAndHelpNeedNoScene();
    void manualNamesEveryOption();
};

void TestBakeOptions::defaultsAreStated()
{
    BakeOptions options;
    QString error;
    QVERIFY(parseBakeOptions({"room.dae"}, &options, &error));
    QCOMPARE(options.scene, QStringLiteral("room.dae"));
    QCOMPARE(options.settings.size, 1024);
    QCOMPARE(options.settings.samples, 64);
    QCOMPARE(options.settings.bounces, 3);
    QCOMPARE(options.settings.padding, 8);
    QCOMPARE(options.settings.seed, 1u);
    QCOMPARE(options.settings.threads, 0);
    QVERIFY(options.settings.lightRadius < 0.0f);
    QCOMPARE(options.settings.sunAngle, 1.0f);
    QCOMPARE(options.settings.halfDistance, 0.0f);
    QCOMPARE(options.settings.glow, 1.0f);
    QCOMPARE(options.settings.exposure, 0.0f);
    QVERIFY(!options.settings.denoise && !options.settings.softHighlights);
    QVERIFY(!options.quiet && !options.json && !options.verbose);
    QVERIFY(options.atlas == BakeOptions::Atlas::Keep);
}

void TestBakeOptions::everyOptionIsRead()
{
    BakeOptions options;
    QString error;
    QVERIFY2(parseBakeOptions({"--size",     "2048",
                               "--samples",  "256",
                               "--bounces",  "5",
                               "--padding",  "4",
                               "--seed",     "4294967295",
                               "--threads",  "3",
                               "--denoise",  "--atlas",
                               "new",        "--light-radius",
                               "0.25",       "--sun-angle",
                               "3.5",        "--half-distance",
                               "7",          "--glow",
                               "2",          "--exposure",
                               "-0.5",       "--soft-highlights",
                               "-q",         "-v",
                               "--json",     "--force",
                               "room.dae",   "-o",
                               "lit.dae.png"},
                              &options, &error),
             qPrintable(error));
    QCOMPARE(options.settings.size, 2048);
    QCOMPARE(options.settings.samples, 256);
    QCOMPARE(options.settings.bounces, 5);
    QCOMPARE(options.settings.padding, 4);
    QCOMPARE(options.settings.seed, 4294967295u);
    QCOMPARE(options.settings.threads, 3);
    QCOMPARE(options.settings.lightRadius, 0.25f);
    QCOMPARE(options.settings.sunAngle, 3.5f);
    QCOMPARE(options.settings.halfDistance, 7.0f);
    QCOMPARE(options.settings.glow, 2.0f);
    QCOMPARE(options.settings.exposure, -0.5f);
    QVERIFY(options.settings.denoise && options.settings.softHighlights);
    QVERIFY(options.quiet && options.verbose && options.json && options.force);
    QVERIFY(options.atlas == BakeOptions::Atlas::New);
    QCOMPARE(options.output, QStringLiteral("lit.dae.png"));
    QCOMPARE(options.copy, QStringLiteral("lit.dae"));
}

void TestBakeOptions::refusedCommandLines_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("complaint");
    QTest::newRow("no arguments") << QStringList() << "one scene is needed";
    QTest::newRow("two scenes") << QStringList{"a.dae", "b.dae"} << "one scene is needed";
    QTest::newRow("unknown option") << QStringList{"--fast", "a.dae"} << "fast";
    QTest::newRow("a scene without a name, and no name for its light map")
        << QStringList{"-"} << "needs a name for its light map: --output FILE.png";
    QTest::newRow("value missing") << QStringList{"a.dae", "--size"} << "size";
    struct Refusal
    {
        QString option;
        QString allowed;
        QStringList values;
    };
    const QVector<Refusal> bad = {
        {"--size", "a whole number from 16 to 8192", {"big", "15", "8193", "-64", ""}},
        {"--samples", "a whole number from 1 to 65536", {"0", "many", "65537"}},
        {"--bounces", "a whole number from 0 to 64", {"-1", "65", "1.5"}},
        {"--padding", "a whole number from 2 to 256", {"1", "-3", "257"}},
        {"--seed", "a whole number from 0 to 4294967295", {"-1", "4294967296", "x"}},
        {"--threads", "a whole number from 1 to 1024", {"0", "-1", "1025"}},
        {"--atlas", "keep or new", {"old", ""}},
        {"--light-radius", "a number that is not negative", {"-0.1", "nan", "wide"}},
        {"--sun-angle", "a number from 0 to 90", {"-1", "91", "inf"}},
        {"--half-distance", "a number above 0", {"0", "-2"}},
        {"--glow", "a number that is not negative", {"-1", "nan"}},
        {"--exposure", "a number from -32 to 32", {"33", "-33", "nan"}},
    };
    for (const Refusal &refusal : bad) {
        for (const QString &value : refusal.values)
            QTest::addRow("%s %s", qPrintable(refusal.option), qPrintable(value))
                << QStringList{refusal.option + "=" + value, "a.dae"}
                << refusal.option + " " + value + ": expected " + refusal.allowed;
    }
    QTest::newRow("a copy without a name of its own")
        << QStringList{"--atlas", "new", "a.dae", "-o", "a"} << "must end in .png";
    QTest::newRow("another image format") << QStringList{"a.dae", "-o", "a.jpg"}
                                          << "a.jpg: pictures are PNG files, and their names end in .png";
    QTest::newRow("a copy without any name")
        << QStringList{"--atlas", "new", "a.dae", "-o", "there/.png"} << "must end in .png";
    QTest::newRow("the copy is the scene")
        << QStringList{"--atlas", "new", "a.dae", "-o", "a.dae.png"} << "would replace the scene itself";
    QTest::newRow("the light map is the scene")
        << QStringList{"room", "-o", "./room"} << "would replace the scene itself";
}

void TestBakeOptions::refusedCommandLines()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, complaint);
    BakeOptions options;
    QString error;
    QVERIFY(!parseBakeOptions(arguments, &options, &error));
    QVERIFY2(error.contains(complaint), qPrintable(error));
}

void TestBakeOptions::outputsAreNamed_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("copy");
    QTest::newRow("beside the scene") << QStringList{"in/room.dae"} << "in/room.dae.png"
                                      << "";
    QTest::newRow("as told") << QStringList{"in/room.dae", "-o", "out/x.png"} << "out/x.png"
                             << "";
    QTest::newRow("any name") << QStringList{"in/room.dae", "-o", "light"} << "light"
                              << "";
    QTest::newRow("copy beside the scene")
        << QStringList{"--atlas", "new", "in/room.dae"} << "in/room-lit.dae.png"
        << "in/room-lit.dae";
    QTest::newRow("copy of a scene without a suffix")
        << QStringList{"--atlas", "new", "in.d/room"} << "in.d/room-lit.png"
        << "in.d/room-lit";
    QTest::newRow("copy of a scene with dots")
        << QStringList{"--atlas", "new", "a.b.DAE"} << "a.b-lit.DAE.png"
        << "a.b-lit.DAE";
    QTest::newRow("copy as told") << QStringList{"--atlas", "new", "room.dae", "-o", "out/x.dae.png"}
                                  << "out/x.dae.png"
                                  << "out/x.dae";
}

void TestBakeOptions::outputsAreNamed()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, output);
    QFETCH(QString, copy);
    BakeOptions options;
    QString error;
    QVERIFY2(parseBakeOptions(arguments, &options, &error), qPrintable(error));
    QCOMPARE(options.output, output);
    QCOMPARE(options.copy, copy);
}

void TestBakeOptions::sceneIsNeverReplaced()
{
    const QTemporaryDir folder;
    QFile scene(folder.filePath("room.dae"));
    QVERIFY(scene.open(QIODevice::WriteOnly));
    QVERIFY(QFile::link(scene.fileName(), folder.filePath("link.png")));
    BakeOptions options;
    QString error;
    QVERIFY(!parseBakeOptions({scene.fileName(), "-o", folder.filePath("link.png")}, &options, &error));
    QVERIFY2(error.contains("would replace the scene itself"), qPrintable(error));
}

void TestBakeOptions::versionAndHelpNeedNoScene()
{
    BakeOptions options;
    QString error;
    QVERIFY(parseBakeOptions({"--version"}, &options, &error));
    QVERIFY(options.request == BakeOptions::Request::Text);
    QCOMPARE(options.text, QStringLiteral("quorvel-bake " QUORVEL_VERSION "\n"));
    QVERIFY(parseBakeOptions({"-h"}, &options, &error));
    QVERIFY(options.text.contains("--soft-highlights"));
}

void TestBakeOptions::manualNamesEveryOption()
{
    QFile manual(QStringLiteral(QUORVEL_SOURCE_DIR "/packaging/man/quorvel-bake.1"));
    QVERIFY(manual.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(manual.readAll()).remove('\\');
    BakeOptions options;
    QString error;
    QVERIFY(parseBakeOptions({"--help"}, &options, &error));
    const QRegularExpression option(QStringLiteral("--[a-z]+(-[a-z]+)*"));
    QRegularExpressionMatchIterator found = option.globalMatch(options.text);
    int count = 0;
    for (; found.hasNext(); ++count) {
        const QString name = found.next().captured();
        QVERIFY2(text.contains(name + ' ') || text.contains(name + '\n'), qPrintable(name));
    }
    QVERIFY(count >= 20);
}

QTEST_GUILESS_MAIN(TestBakeOptions)
#include "tst_bakeoptions.moc"
