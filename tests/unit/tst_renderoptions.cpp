#include "Camera.h"
#include "Node.h"
#include "RenderOptions.h"
#include "Rendering.h"
#include "Scene.h"

#include <QtTest>

using namespace Quorvel;

class TestRenderOptions : public QObject
{
    Q_OBJECT

private slots:
    void defaultsAreTheViewers();
    void everyOptionIsRead();
    void refusedCommandLines_data();
    void refusedCommandLines();
    void picturesAreNamedAfterTheirScenes();
    void outputsThatAreNoFilesHaveAnyName();
    void versionAndHelpNeedNoScene();
    void cameraIsFoundByIdBeforeNumber();
    void orbitTurnsAboutTheSceneCentre();
    void medianIsTheMiddleOrItsMean();
};

void TestRenderOptions::defaultsAreTheViewers()
{
    RenderOptions options;
    QString error;
    QVERIFY(parseRenderOptions({"room.dae", "room.png"}, &options, &error));
    QCOMPARE(options.jobs.size(), 1);
    QCOMPARE(options.jobs.at(0).scene, QStringLiteral("room.dae"));
    QCOMPARE(options.jobs.at(0).output, QStringLiteral("room.png"));
    QVERIFY(options.lightMap && !options.verbose && !options.quiet);
    QCOMPARE(options.samples, 1);
    QCOMPARE(options.size, QSize(640, 480));
    QVERIFY(options.shadows && options.backfaceCulling);
    QVERIFY(!options.ambientOcclusion && !options.outlines && !options.lowQuality);
    QVERIFY(options.api == OffscreenContext::Api::Es2);
    QCOMPARE(options.frames, 1);
}

void TestRenderOptions::everyOptionIsRead()
{
    RenderOptions options;
    QString error;
    QVERIFY2(parseRenderOptions({"--size",
                                 "320x200",
                                 "--no-shadows",
                                 "--ambient-occlusion",
                                 "--outlines",
                                 "--low-quality",
                                 "--no-backface-culling",
                                 "--orbit",
                                 "-30,12.5",
                                 "--frames",
                                 "7",
                                 "--camera",
                                 "front",
                                 "--gl",
                                 "desktop",
                                 "-q",
                                 "--json",
                                 "-v",
                                 "--no-light-map",
                                 "--samples",
                                 "16",
                                 "--force",
                                 "a.dae",
                                 "a.png"},
                                &options, &error),
             qPrintable(error));
    QCOMPARE(options.size, QSize(320, 200));
    QVERIFY(!options.shadows && !options.backfaceCulling);
    QVERIFY(options.ambientOcclusion && options.outlines && options.lowQuality && options.quiet &&
            options.json);
    QVERIFY(options.verbose && !options.lightMap);
    QCOMPARE(options.samples, 16);
    QCOMPARE(options.orbit, QPointF(-30.0, 12.5));
    QCOMPARE(options.frames, 7);
    QCOMPARE(options.camera, QStringLiteral("front"));
    QVERIFY(options.api == OffscreenContext::Api::Desktop);
}

void TestRenderOptions::refusedCommandLines_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("complaint");
    QTest::newRow("no arguments") << QStringList() << "a scene and an output file are needed";
    QTest::newRow("one argument") << QStringList{"a.dae"} << "a scene and an output file are needed";
    QTest::newRow("three arguments") << QStringList{"a", "b", "c"} << "a scene and an output file are needed";
    QTest::newRow("unknown option") << QStringList{"--fast", "a", "b"} << "fast";
    QTest::newRow("size of one number") << QStringList{"--size", "640", "a", "b"}
                                        << "--size 640: expected WIDTHxHEIGHT from 1x1 to 99999x99999";
    QTest::newRow("size of zero") << QStringList{"--size", "0x10", "a", "b"}
                                  << "--size 0x10: expected WIDTHxHEIGHT from 1x1";
    QTest::newRow("orbit of one angle") << QStringList{"--orbit", "3", "a", "b"} << "--orbit 3: expected H,V";
    QTest::newRow("orbit not finite") << QStringList{"--orbit", "nan,1", "a", "b"} << "--orbit nan,1";
    QTest::newRow("no frames") << QStringList{"--frames", "0", "a", "b"}
                               << "--frames 0: expected a whole number from 1 to 1000000";
    for (const char *samples : {"0", "3", "512", "-4", "x"})
        QTest::addRow("%s samples", samples)
            << QStringList{"--samples", samples, "a", "b"}
            << QStringLiteral("--samples %1: expected 1, 2, 4, 8, 16, ").arg(QLatin1String(samples));
    QTest::newRow("another image format")
        << QStringList{"a.dae", "a.jpg"} << "a.jpg: pictures are PNG files, and their names end in .png";
    QTest::newRow("the scene") << QStringList{"a", "./a"} << "./a: this would replace the scene itself";
    QTest::newRow("the light map") << QStringList{"a.dae", "./a.dae.png"}
                                   << "./a.dae.png: this name is that of the light map of a.dae";
    QTest::newRow("a light map in a folder") << QStringList{"--output-dir", ".", "a.dae", "room"}
                                             << "./room.png: this name is that of the light map";
    QTest::newRow("pictures of one name")
        << QStringList{"--output-dir", "out", "a/room.dae", "b.dae", "b/room.xml"}
        << "a/room.dae and b/room.xml would both be drawn into out/room.png";
    QTest::newRow("a folder and no scene") << QStringList{"--output-dir", "out"} << "no scene is given";
    QTest::newRow("a folder without a name")
        << QStringList{"--output-dir=", "a.dae"} << "--output-dir: expected the name of a folder";
    QTest::newRow("a folder for a scene without a name")
        << QStringList{"--output-dir", "out", "-"} << "has no name for its picture";
    QTest::newRow("times of several scenes")
        << QStringList{"--output-dir", "out", "--frames", "2", "a.dae"} << "--frames times one scene";
    QTest::newRow("unknown context") << QStringList{"--gl", "metal", "a", "b"}
                                     << "--gl metal: expected es or desktop";
}

void TestRenderOptions::refusedCommandLines()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, complaint);
    RenderOptions options;
    QString error;
    QVERIFY(!parseRenderOptions(arguments, &options, &error));
    QVERIFY2(error.contains(complaint), qPrintable(error));
}

void TestRenderOptions::picturesAreNamedAfterTheirScenes()
{
    RenderOptions options;
    QString error;
    QVERIFY2(parseRenderOptions({"--output-dir", "out", "in/room.dae", "a.b.DAE", ":/models/logo.DAE"},
                                &options, &error),
             qPrintable(error));
    QCOMPARE(options.outputFolder, QStringLiteral("out"));
    QStringList outputs;
    for (const RenderJob &job : qAsConst(options.jobs))
        outputs.append(job.scene + " > " + job.output);
    QCOMPARE(outputs, QStringList({"in/room.dae > out/room.png", "a.b.DAE > out/a.b.png",
                                   ":/models/logo.DAE > out/logo.png"}));
}

void TestRenderOptions::outputsThatAreNoFilesHaveAnyName()
{
    for (const char *output : {"-", "/dev/stdout", "/dev/null", "picture", "picture.PNG"}) {
        RenderOptions options;
        QString error;
        QVERIFY2(parseRenderOptions({"a.dae", output}, &options, &error), qPrintable(error));
    }
}

void TestRenderOptions::versionAndHelpNeedNoScene()
{
    RenderOptions options;
    QString error;
    QVERIFY(parseRenderOptions({"--version"}, &options, &error));
    QCOMPARE(options.text, QStringLiteral("quorvel-render " QUORVEL_VERSION "\n"));
    QVERIFY(parseRenderOptions({"--help"}, &options, &error));
    QVERIFY(options.text.contains("--ambient-occlusion"));
}

void TestRenderOptions::cameraIsFoundByIdBeforeNumber()
{
    Scene scene;
    for (const char *id : {"front", "1", "back"}) {
        auto *camera = new Camera;
        camera->setId(QString::fromLatin1(id) + "-camera");
        scene.cameras().append(camera);
        auto *node = new Node;
        node->setId(QString::fromLatin1(id));
        node->setModel(camera);
        scene.nodes().append(new Node);
        scene.nodes().append(node);
    }
    scene.complete();
    QCOMPARE(findCamera(scene, "back")->id(), QStringLiteral("back"));
    QCOMPARE(findCamera(scene, "front-camera")->id(), QStringLiteral("front"));
    QCOMPARE(findCamera(scene, "1")->id(), QStringLiteral("1"));
    QCOMPARE(findCamera(scene, "2")->id(), QStringLiteral("back"));
    QCOMPARE(findCamera(scene, "0")->id(), QStringLiteral("front"));
    QVERIFY(!findCamera(scene, "3"));
    QVERIFY(!findCamera(scene, "-1"));
    QVERIFY(!findCamera(scene, "side"));
}

void TestRenderOptions::orbitTurnsAboutTheSceneCentre()
{
    Scene scene;
    auto *camera = new Camera;
    scene.cameras().append(camera);
    auto *node = new Node;
    node->setModel(camera);
    QMatrix4x4 place;
    place.translate(0.0f, 0.0f, 10.0f);
    node->setLocalTransform(place);
    scene.nodes().append(node);
    scene.complete();

    // A quarter turn about the y axis through the origin takes (0, 0, 10) to (10, 0, 0).
    orbit(&scene, QPointF(90.0, 0.0));
    const QVector3D eye = node->worldTransform().map(QVector3D());
    QVERIFY2((eye - QVector3D(10.0f, 0.0f, 0.0f)).length() < 1e-4f,
             qPrintable(QString::number(double(eye.x()))));
    // It still looks at the centre: its -z axis points to -x.
    const QVector3D ahead = node->worldTransform().mapVector(QVector3D(0.0f, 0.0f, -1.0f));
    QVERIFY((ahead - QVector3D(-1.0f, 0.0f, 0.0f)).length() < 1e-5f);
}

void TestRenderOptions::medianIsTheMiddleOrItsMean()
{
    QCOMPARE(median({3.0, 1.0, 2.0}), 2.0);
    QCOMPARE(median({4.0, 1.0, 2.0, 3.0}), 2.5);
    QCOMPARE(median({5.0}), 5.0);
}

QTEST_GUILESS_MAIN(TestRenderOptions)
#include "tst_renderoptions.moc"
