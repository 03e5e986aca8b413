#include "CharacterDevice.h"
#include "ProgramHome.h"
#include "SquareScene.h"

#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <csignal>
#include <future>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Quorvel::Test;

/// quorvel-render as people and scripts call it: a process of its own, a home of its own, no display.
class TestRender : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void drawsAmbientSceneInItsColour();
    void drawsTheSameFromTheCache();
    void sizeIsThePicturesSize();
    void orbitChangesThePicture();
    void framesPrintsTheMedian();
    void diagnoseNamesVersionsAndFolders();
    void manPageNamesEveryOption();
    void usageErrorsExitWithTwo();
    void missingSceneExitsWithThree();
    void unknownCameraExitsWithThree();
    void pictureTooLargeExitsWithTwo();
    void unwritableOutputExitsWithFour();
    void withoutGlExitsWithFive();
    void sceneWithoutCameraAbortsAndExplains();
    void helpAndVersionAreText();
    void lostFiguresAreAnError();
    void saysHowItReadsOnlyWhenAsked();
    void lightMapIsSaidAndCanBeLeftOut();
    void pictureIsNoLightMap();
    void failingSceneDoesNotTakeTheOthersAlong();
    void pictureOfOneColorIsExplained_data();
    void pictureOfOneColorIsExplained();
    void samplesAreTheMeanOfTheirPlaces_data();
    void samplesAreTheMeanOfTheirPlaces();
    void pictureGoesToTheStandardOutput();
    void sceneComesFromTheStandardInput();
    void pipeGetsTheWholePicture();
    void deviceStaysOne();
    void signalLeavesNothingBehind_data();
    void signalLeavesNothingBehind();

private:
    ProgramEnd run(const QStringList &arguments, const QMap<QString, QString> &variables = {},
                   const QByteArray &input = {}) const;
    QString path(const QString &name) const { return m_home->path(name); }
    /// The square without a light, so that it shows its ambient colour times 0.4 grey.
    QString writeScene(const QString &name, bool withCamera = true) const;

    std::unique_ptr<ProgramHome> m_home;
};

namespace
{

bool es()
{
    return qEnvironmentVariable("QUORVEL_GL_LANE") == QLatin1String("es");
}

bool near(QRgb pixel, int red, int green, int blue)
{
    return qAbs(qRed(pixel) - red) <= 1 && qAbs(qGreen(pixel) - green) <= 1 && qAbs(qBlue(pixel) - blue) <= 1;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

void TestRender::init()
{
    m_home = std::make_unique<ProgramHome>();
    QVERIFY(m_home->isValid());
}

ProgramEnd TestRender::run(const QStringList &arguments, const QMap<QString, QString> &variables,
                           const QByteArray &input) const
{
    return m_home->run(QStringLiteral(QUORVEL_RENDER),
                       QStringList{"--gl", qEnvironmentVariable("QUORVEL_GL_LANE")} + arguments, variables,
                       input);
}

QString TestRender::writeScene(const QString &name, bool withCamera) const
{
    SquareScene scene;
    scene.ambient = "1 0.5 0";
    scene.hasCamera = withCamera;
    return m_home->write(name, scene.text());
}

void TestRender::drawsAmbientSceneInItsColour()
{
    const ProgramEnd result = run({"--size", "100x100", writeScene("square.dae"), path("square.png")});
    QVERIFY2(result.status == 0 && !result.crashed, qPrintable(result.err));
    const QImage picture(path("square.png"));
    QCOMPARE(picture.size(), QSize(100, 100));
    // 0.4 * (1, 0.5, 0) * 255 = (102, 51, 0).
    QVERIFY2(near(picture.pixel(50, 50), 102, 51, 0), qPrintable(QString::number(picture.pixel(50, 50), 16)));
    // 3 * tan(15 degrees) = 0.80: the square of half side 1 covers the whole picture.
    QVERIFY(near(picture.pixel(1, 1), 102, 51, 0));
    QVERIFY(near(picture.pixel(98, 98), 102, 51, 0));
}

void TestRender::drawsTheSameFromTheCache()
{
    const QString scene = writeScene("square.dae");
    const ProgramEnd first = run({"-v", "--size", "64x48", "--orbit", "40,10", scene, path("first.png")});
    QVERIFY(!first.err.contains("loading from local cache"));
    const ProgramEnd second = run({"-v", "--size", "64x48", "--orbit", "40,10", scene, path("second.png")});
    QVERIFY2(second.err.contains("ColladaLoader: loading from local cache"), qPrintable(second.err));
    const QImage picture(path("first.png"));
    QVERIFY(!picture.isNull());
    QCOMPARE(QImage(path("second.png")), picture);
}

void TestRender::sizeIsThePicturesSize()
{
    QCOMPARE(run({writeScene("square.dae"), path("default.png")}).status, 0);
    QCOMPARE(QImage(path("default.png")).size(), QSize(640, 480));
    QCOMPARE(run({"--size", "1000x600", writeScene("square.dae"), path("wide.png")}).status, 0);
    QCOMPARE(QImage(path("wide.png")).size(), QSize(1000, 600));
}

void TestRender::orbitChangesThePicture()
{
    const QString scene = writeScene("square.dae");
    QCOMPARE(run({"--size", "100x100", "--orbit", "60,0", scene, path("turned.png")}).status, 0);
    const QImage picture(path("turned.png"));
    // Seen at 60 degrees the square is half as wide and leaves the sides of the picture black.
    QVERIFY(near(picture.pixel(50, 50), 102, 51, 0));
    QVERIFY(near(picture.pixel(2, 50), 0, 0, 0));
    QVERIFY(near(picture.pixel(97, 50), 0, 0, 0));
}

void TestRender::framesPrintsTheMedian()
{
    const QString scene = writeScene("square.dae");
    const ProgramEnd text = run({"--frames", "5", scene, path("f.png")});
    QVERIFY2(QRegularExpression("^median frame time: \\d+\\.\\d{3} ms \\(5 frames\\)\\n$")
                 .match(text.out)
                 .hasMatch(),
             qPrintable(text.out));
    QVERIFY(run({"--frames", "1", scene, path("f.png")}).out.contains("(1 frames)"));
    QVERIFY(run({scene, path("f.png")}).out.isEmpty());
    const ProgramEnd json = run({"--frames", "4", "--json", scene, path("f.png")});
    const QJsonObject document = QJsonDocument::fromJson(json.out.toUtf8()).object();
    QCOMPARE(document.value("schema").toInt(), 1);
    QCOMPARE(document.value("frames").toInt(), 4);
    QVERIFY(document.value("median_ms").toDouble() > 0.0);
}

void TestRender::diagnoseNamesVersionsAndFolders()
{
    const ProgramEnd result = run({"--diagnose", "--json"});
    QCOMPARE(result.status, 0);
    const QJsonObject document = QJsonDocument::fromJson(result.out.toUtf8()).object();
    QCOMPARE(document.value("toolkit").toString(), QString::fromLatin1(qVersion()));
    QCOMPARE(document.value("context").toString(), QLatin1String(es() ? "OpenGL ES" : "desktop OpenGL"));
    QCOMPARE(document.value("gl_version").toString().startsWith("OpenGL ES 2.0"), es());
    QVERIFY(!document.value("gl_vendor").toString().isEmpty());
    QCOMPARE(document.value("global_cache").toString(), QStringLiteral("/opt/quorvel/cache"));
    QCOMPARE(document.value("local_cache").toString(), path(".quorvel/cache"));
}

void TestRender::manPageNamesEveryOption()
{
    const QString help = run({QStringLiteral("--help")}).out;
    QCOMPARE(optionsNotInManPage(QStringLiteral("quorvel-render"), help), QStringList());
}

void TestRender::usageErrorsExitWithTwo()
{
    const ProgramEnd result = run({"--size", "big", "a.dae", "a.png"});
    QCOMPARE(result.status, 2);
    QVERIFY2(result.err.startsWith("quorvel-render: --size big"), qPrintable(result.err));
    QCOMPARE(run({}).status, 2);
}

void TestRender::missingSceneExitsWithThree()
{
    const ProgramEnd result = run({path("nothing.dae"), path("out.png")});
    QCOMPARE(result.status, 3);
    QVERIFY2(result.err.contains("nothing.dae: no such file"), qPrintable(result.err));
}

void TestRender::unknownCameraExitsWithThree()
{
    const ProgramEnd result = run({"--camera", "side", writeScene("square.dae"), path("out.png")});
    QCOMPARE(result.status, 3);
    QVERIFY2(result.err.contains("no camera \"side\""), qPrintable(result.err));
    QCOMPARE(run({"--camera", "cam-node", writeScene("square.dae"), path("out.png")}).status, 0);
}

void TestRender::pictureTooLargeExitsWithTwo()
{
    const ProgramEnd result = run({"--size", "99999x99999", writeScene("square.dae"), path("out.png")});
    QCOMPARE(result.status, 2);
    QVERIFY2(result.err.contains("--size: 99999x99999 pixels are more than"), qPrintable(result.err));
}

void TestRender::unwritableOutputExitsWithFour()
{
    const ProgramEnd result = run({writeScene("square.dae"), path("no/such/folder/out.png")});
    QCOMPARE(result.status, 4);
    QVERIFY2(result.err.contains("out.png"), qPrintable(result.err));
}

void TestRender::withoutGlExitsWithFive()
{
    const ProgramEnd result =
        run({writeScene("square.dae"), path("out.png")},
            {{"LIBGL_DRIVERS_PATH", "/nonexistent"}, {"__EGL_VENDOR_LIBRARY_DIRS", "/nonexistent"}});
    QVERIFY2(!result.crashed && result.status == 5, qPrintable(result.err));
    QVERIFY2(result.err.contains(es() ? "quorvel-render: no OpenGL ES 2.0 context: "
                                      : "quorvel-render: no desktop OpenGL context: "),
             qPrintable(result.err));
    QVERIFY(!QFile::exists(path("out.png")));
}

void TestRender::sceneWithoutCameraAbortsAndExplains()
{
    const ProgramEnd result = run({writeScene("blind.dae", false), path("out.png")});
    QVERIFY(result.crashed);
    QCOMPARE(result.status, SIGABRT);
    QVERIFY2(
        result.err.contains("ASSERT: \"scene->m_activeCameraNode\" in file src/ColladaLoader.cpp, line "),
        qPrintable(result.err));
    QVERIFY2(result.err.contains("blind.dae: the scene has no camera node"), qPrintable(result.err));
    QVERIFY(!QFile::exists(path("out.png")));
}

void TestRender::saysHowItReadsOnlyWhenAsked()
{
    const QString scene = writeScene("square.dae");
    QCOMPARE(run({"--orbit", "60,0", scene, path("out.png")}).err, QString());
    // From the cache now; another place, and it is converted once more.
    QVERIFY(QDir(path(".quorvel")).removeRecursively());
    const QString said = run({"--verbose", "--orbit", "60,0", scene, path("out.png")}).err;
    QVERIFY2(said.contains("Scene:") && said.contains("Load time: "), qPrintable(said));
}

void TestRender::lightMapIsSaidAndCanBeLeftOut()
{
    const QString scene = writeScene("square.dae");
    QCOMPARE(run({"--size", "64x64", "--orbit", "60,0", scene, path("unlit.png")}).status, 0);
    QImage map(8, 8, QImage::Format_RGB888);
    map.fill(Qt::blue);
    QVERIFY(map.save(path("square.dae.png")));
    const QStringList view = {"--size", "64x64", "--orbit", "60,0", scene, path("out.png")};
    QCOMPARE(run(view).err, QStringLiteral("quorvel-render: %1: lit by its light map %1.png\n").arg(scene));
    QVERIFY(near(QImage(path("out.png")).pixel(32, 32), 0, 0, 255));
    QCOMPARE(run(QStringList("--quiet") + view).err, QString());
    QVERIFY(near(QImage(path("out.png")).pixel(32, 32), 0, 0, 255));
    QCOMPARE(run(QStringList("--no-light-map") + view).err, QString());
    QCOMPARE(contents(path("out.png")), contents(path("unlit.png")));
}

void TestRender::pictureIsNoLightMap()
{
    const QString scene = writeScene("square.dae");
    const QStringList trap = {"--orbit", "60,0", scene, scene + ".png"};
    const ProgramEnd refused = run(trap);
    QCOMPARE(refused.status, 2);
    QVERIFY2(refused.err.contains("that of the light map of ") && refused.err.contains("--force"),
             qPrintable(refused.err));
    QVERIFY(!QFile::exists(scene + ".png"));
    QCOMPARE(run(QStringList("--force") + trap).status, 0);
    QVERIFY(QFile::exists(scene + ".png"));

    // Nor is it that of a scene beside it.
    const QString other = writeScene("other.dae");
    QCOMPARE(run({scene, other + ".png"}).status, 2);
    QVERIFY(!QFile::exists(other + ".png"));
    // What was baked stays, under whichever name.
    QImage map(4, 4, QImage::Format_RGB888);
    map.fill(Qt::red);
    map.setText("Software", "quorvel-bake 0.9");
    QVERIFY(map.save(path("kept.png")));
    const QByteArray before = contents(path("kept.png"));
    QCOMPARE(run({scene, path("kept.png")}).status, 2);
    QCOMPARE(contents(path("kept.png")), before);
    QCOMPARE(run({"--force", scene, path("kept.png")}).status, 0);
    QVERIFY(contents(path("kept.png")) != before);
}

void TestRender::failingSceneDoesNotTakeTheOthersAlong()
{
    const QString scene = writeScene("a.dae");
    writeScene("blind.dae", false);
    writeScene("b.dae");
    const ProgramEnd result = run({"--size", "64x64", "--orbit", "60,0", "--output-dir", "new/out", "a.dae",
                                   "blind.dae", "missing.dae", "b.dae"});
    QVERIFY(!result.crashed);
    QCOMPARE(result.status, 3);
    QCOMPARE(QDir(path("new/out")).entryList(QDir::Files), QStringList({"a.png", "b.png"}));
    QVERIFY(!QImage(path("new/out/a.png")).isNull());
    QCOMPARE(contents(path("new/out/a.png")), contents(path("new/out/b.png")));
    QVERIFY2(result.err.contains("blind.dae: the scene has no camera node") &&
                 result.err.contains("missing.dae: no such file") &&
                 result.err.contains("2 of 4 scenes could not be drawn: blind.dae, missing.dae"),
             qPrintable(result.err));
    QCOMPARE(run({"--output-dir", ".", "--orbit", "60,0", "a.dae", "b.dae"}).status, 0);
    QCOMPARE(run({"--output-dir", "a.dae/out", "b.dae"}).status, 4);
}

void TestRender::pictureOfOneColorIsExplained_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("light");
    QTest::addColumn<QByteArray>("ambient");
    QTest::addColumn<QString>("reason");
    const QByteArray black =
        R"(<light id="lamp"><technique_common><point><color>0 0 0</color></point></technique_common></light>)";
    QTest::newRow("black light") << QStringList() << black << QByteArray("1 1 1")
                                 << "all of the scene's lights that count are black";
    QTest::newRow("no light") << QStringList() << QByteArray() << QByteArray("0 0 0")
                              << "the scene has no light, and its materials reflect no ambient light";
    QTest::newRow("from behind") << QStringList{"--orbit", "180,0"} << QByteArray() << QByteArray("1 1 1")
                                 << "the camera sees only the backs of surfaces";
    QTest::newRow("a wall") << QStringList() << QByteArray() << QByteArray("1 1 1")
                            << "what is in view has the same colour everywhere";
}

void TestRender::pictureOfOneColorIsExplained()
{
    QFETCH(QStringList, options);
    QFETCH(QByteArray, light);
    QFETCH(QByteArray, ambient);
    QFETCH(QString, reason);
    SquareScene scene;
    scene.ambient = ambient;
    scene.light = light;
    m_home->write("square.dae", scene.text());
    const QStringList arguments =
        QStringList{"--quiet", "--size", "64x64"} + options + QStringList{"square.dae", "out.png"};
    const ProgramEnd result = run(arguments);
    QCOMPARE(result.status, 0);
    const QString warning =
        QStringLiteral("quorvel-render: square.dae: warning: the picture is of one colour: ");
    QVERIFY2(result.err.startsWith(warning + reason), qPrintable(result.err));
    QCOMPARE(result.err.count('\n'), 1);
    QVERIFY(QFile::exists(path("out.png")));
}

void TestRender::samplesAreTheMeanOfTheirPlaces_data()
{
    QTest::addColumn<QByteArray>("way");
    QTest::addColumn<QPoint>("covered");
    QTest::addColumn<QPoint>("edge");
    QTest::addColumn<QPoint>("free");
    QTest::newRow("upright edge") << QByteArray("1.16559 0 0") << QPoint(61, 50) << QPoint(60, 50)
                                  << QPoint(59, 50);
    QTest::newRow("level edge") << QByteArray("0 1.16559 0") << QPoint(50, 38) << QPoint(50, 39)
                                << QPoint(50, 40);
}

void TestRender::samplesAreTheMeanOfTheirPlaces()
{
    QFETCH(QByteArray, way);
    QFETCH(QPoint, covered);
    QFETCH(QPoint, edge);
    QFETCH(QPoint, free);
    // Half a picture is 3 tan(15 degrees) = 0.80385 wide: an edge 0.16559 beside the middle lies 10.3 of 50
    // pixels from there, and covers 0.7 of that pixel.
    SquareScene scene;
    scene.ambient = "1 0.5 0";
    scene.nodes.replace("<instance_geometry", "<translate>" + way + "</translate><instance_geometry");
    m_home->write("square.dae", scene.text());
    QCOMPARE(run({"--size", "100x100", "--samples", "16", "square.dae", "smooth.png"}).status, 0);
    const QImage picture(path("smooth.png"));
    QVERIFY(near(picture.pixel(covered), 102, 51, 0));
    QVERIFY(near(picture.pixel(free), 0, 0, 0));
    // Of 16 columns, or rows, the middles of 11 lie beyond 0.3.
    QVERIFY2(near(picture.pixel(edge), 102 * 11 / 16, 51 * 11 / 16, 0),
             qPrintable(QString::number(picture.pixel(edge), 16)));
    QCOMPARE(run({"--size", "100x100", "--samples", "16", "square.dae", "again.png"}).status, 0);
    QCOMPARE(contents(path("again.png")), contents(path("smooth.png")));
}

void TestRender::lostFiguresAreAnError()
{
    QProcess process;
    m_home->prepare(&process);
    process.setStandardOutputFile(QStringLiteral("/dev/full"));
    process.start(QStringLiteral(QUORVEL_RENDER), {"--version"});
    QVERIFY(process.waitForFinished(30000));
    QCOMPARE(process.exitCode(), 4);
    QCOMPARE(process.readAllStandardError(),
             QByteArray("quorvel-render: standard output: No space left on device\n"));
}

void TestRender::helpAndVersionAreText()
{
    const ProgramEnd help = run({"--help"});
    QVERIFY2(help.status == 0 && !help.crashed, qPrintable(help.err));
    QVERIFY2(help.out.contains("--ambient-occlusion"), qPrintable(help.out));
    QCOMPARE(help.err, QString());
    const ProgramEnd version = run({"--version"});
    QCOMPARE(version.out.trimmed(), QStringLiteral("quorvel-render " QUORVEL_VERSION));
}

void TestRender::pictureGoesToTheStandardOutput()
{
    const QString scene = writeScene("square.dae");
    QCOMPARE(run({scene, path("file.png")}).status, 0);
    const QByteArray picture = contents(path("file.png"));
    QVERIFY(picture.startsWith("\x89PNG"));
    for (const char *output : {"-", "/dev/stdout"}) {
        const ProgramEnd result = run({"--frames", "1", "--json", scene, output});
        QCOMPARE(result.status, 0);
        QVERIFY(result.bytes == picture);
        QVERIFY2(result.err.contains("\"median_ms\""), qPrintable(result.err));
    }
}

void TestRender::sceneComesFromTheStandardInput()
{
    const QString scene = writeScene("square.dae");
    QCOMPARE(run({scene, path("file.png")}).status, 0);
    QCOMPARE(run({"-", path("piped.png")}, {}, contents(scene)).status, 0);
    QCOMPARE(contents(path("piped.png")), contents(path("file.png")));
    const ProgramEnd nothing = run({"-", path("nothing.png")});
    QVERIFY2(nothing.err.contains("stdin: the file is empty"), qPrintable(nothing.err));
    QVERIFY(!QFile::exists(path("nothing.png")));
}

void TestRender::pipeGetsTheWholePicture()
{
    const QString scene = writeScene("square.dae");
    QCOMPARE(run({"--size", "1000x700", scene, path("file.png")}).status, 0);
    const QByteArray pipe = QFile::encodeName(path("pipe"));
    QCOMPARE(mkfifo(pipe.constData(), 0600), 0);
    // Otherwise the reader would wait for ever for a pipe that has been replaced.
    const int held = open(pipe.constData(), O_RDWR | O_NONBLOCK);
    QVERIFY(held >= 0);
    std::future<QByteArray> reader =
        std::async(std::launch::async, [this] { return contents(path("pipe")); });
    const ProgramEnd result = run({"--size", "1000x700", scene, path("pipe")});
    close(held);
    QVERIFY2(result.status == 0, qPrintable(result.err));
    QVERIFY(reader.get() == contents(path("file.png")));
    struct stat status = {};
    QVERIFY(lstat(pipe.constData(), &status) == 0 && S_ISFIFO(status.st_mode));
}

void TestRender::deviceStaysOne()
{
    const QString scene = writeScene("square.dae");
    const QString device = characterDevice("full", 7, m_home->path());
    QVERIFY2(!device.isEmpty(), "this root may not make devices");
    const ProgramEnd result = run({scene, device});
    QCOMPARE(result.status, 4);
    QVERIFY2(result.err.contains("full: No space left on device"), qPrintable(result.err));
    QVERIFY(isCharacterDevice(device));
}

void TestRender::signalLeavesNothingBehind_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<QStringList>("output");
    QTest::newRow("interrupted") << SIGINT << QStringList{"square.dae", "out.png"};
    QTest::newRow("terminated") << SIGTERM << QStringList{"square.dae", "out.png"};
    QTest::newRow("terminated, of several") << SIGTERM << QStringList{"--output-dir", ".", "square.dae"};
}

void TestRender::signalLeavesNothingBehind()
{
    QFETCH(int, signal);
    QFETCH(QStringList, output);
    writeScene("square.dae");
    const QStringList busy = {"-v", "--size", "2000x2000", "--ambient-occlusion", "--samples", "256"};
    const ProgramEnd result =
        m_home->signalled(QStringLiteral(QUORVEL_RENDER), busy + output, "Load time", signal);
    QVERIFY2(!result.crashed, qPrintable(result.err));
    QCOMPARE(result.status, 128 + signal);
    QVERIFY2(result.err.contains("quorvel-render: interrupted"), qPrintable(result.err));
    QVERIFY(!m_home->isWorkedIn());
    QCOMPARE(m_home->files(), QStringList("square.dae"));
}

QTEST_GUILESS_MAIN(TestRender)
#include "tst_render.moc"
