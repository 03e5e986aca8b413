#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

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
    void quietLeavesDebugLinesOut();

private:
    struct Result
    {
        int status;
        bool crashed;
        QString out;
        QString err;
    };

    Result run(const QStringList &arguments, const QMap<QString, QString> &environment = {}) const;
    QString path(const QString &name) const { return m_home->filePath(name); }
    QString writeScene(const QString &name, bool withCamera = true) const;

    std::unique_ptr<QTemporaryDir> m_home;
};

namespace
{

/// A square of side 2 in the plane z = 0 around the origin, seen from z = 3 straight on, wound clockwise. It
/// has no light, so it shows its ambient colour times 0.4 grey.
const char *const Scene = R"(<?xml version="1.0"?>
<COLLADA version="1.4.1">
  <library_cameras><camera id="cam" name="cam"><optics><technique_common><perspective>
    <xfov>30</xfov><znear>0.1</znear><zfar>100</zfar></perspective></technique_common></optics></camera></library_cameras>
  <library_effects><effect id="fx"><profile_COMMON><technique sid="t"><phong>
    <ambient><color>1 0.5 0 1</color></ambient><diffuse><color>0 0 0 1</color></diffuse>
    <specular><color>0 0 0 1</color></specular><shininess><float>8</float></shininess>
    <transparency><float>1</float></transparency></phong></technique></profile_COMMON></effect></library_effects>
  <library_materials><material id="mat"><instance_effect url="#fx"/></material></library_materials>
  <library_geometries><geometry id="square"><mesh>
    <source id="p"><float_array id="pa" count="12">-1 -1 0 1 -1 0 1 1 0 -1 1 0</float_array></source>
    <source id="n"><float_array id="na" count="3">0 0 1</float_array></source>
    <source id="t"><float_array id="ta" count="3">0 0 0</float_array></source>
    <vertices id="v"><input semantic="POSITION" source="#p"/></vertices>
    <triangles material="m" count="2">
      <input semantic="VERTEX" source="#v" offset="0"/><input semantic="NORMAL" source="#n" offset="1"/>
      <input semantic="TEXCOORD" source="#t" offset="2"/>
      <p>0 0 0 2 0 0 1 0 0 0 0 0 3 0 0 2 0 0</p></triangles>
  </mesh></geometry></library_geometries>
  <library_visual_scenes><visual_scene id="s">
    %CAMERA%
    <node id="square-node"><instance_geometry url="#square"><bind_material><technique_common>
      <instance_material symbol="m" target="#mat"/></technique_common></bind_material></instance_geometry></node>
  </visual_scene></library_visual_scenes>
</COLLADA>
)";

const char *const CameraNode =
    R"(<node id="cam-node"><translate>0 0 3</translate><instance_camera url="#cam"/></node>)";

bool es()
{
    return qEnvironmentVariable("QUORVEL_GL_LANE") == QLatin1String("es");
}

bool near(QRgb pixel, int red, int green, int blue)
{
    return qAbs(qRed(pixel) - red) <= 1 && qAbs(qGreen(pixel) - green) <= 1 && qAbs(qBlue(pixel) - blue) <= 1;
}

} // namespace

void TestRender::init()
{
    m_home = std::make_unique<QTemporaryDir>();
    QVERIFY(m_home->isValid());
}

TestRender::Result TestRender::run(const QStringList &arguments,
                                   const QMap<QString, QString> &environment) const
{
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    variables.remove(QStringLiteral("DISPLAY"));
    variables.insert(QStringLiteral("HOME"), m_home->path());
    for (auto it = environment.cbegin(); it != environment.cend(); ++it)
        variables.insert(it.key(), it.value());
    QProcess process;
    process.setProcessEnvironment(variables);
    process.start(QStringLiteral(QUORVEL_RENDER),
                  QStringList{"--gl", qEnvironmentVariable("QUORVEL_GL_LANE")} + arguments);
    process.waitForFinished(60000);
    return {process.exitCode(), process.exitStatus() == QProcess::CrashExit,
            QString::fromLocal8Bit(process.readAllStandardOutput()),
            QString::fromLocal8Bit(process.readAllStandardError())};
}

QString TestRender::writeScene(const QString &name, bool withCamera) const
{
    QFile file(path(name));
    if (file.open(QIODevice::WriteOnly))
        file.write(QByteArray(Scene).replace("%CAMERA%", withCamera ? CameraNode : ""));
    return file.fileName();
}

void TestRender::drawsAmbientSceneInItsColour()
{
    const Result result = run({"--size", "100x100", writeScene("square.dae"), path("square.png")});
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
    const Result first = run({"--size", "64x48", "--orbit", "40,10", scene, path("first.png")});
    QVERIFY(!first.err.contains("loading from local cache"));
    const Result second = run({"--size", "64x48", "--orbit", "40,10", scene, path("second.png")});
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
    const Result text = run({"--frames", "5", scene, path("f.png")});
    QVERIFY2(QRegularExpression("^median frame time: \\d+\\.\\d{3} ms \\(5 frames\\)\\n$")
                 .match(text.out)
                 .hasMatch(),
             qPrintable(text.out));
    QVERIFY(run({"--frames", "1", scene, path("f.png")}).out.contains("(1 frames)"));
    QVERIFY(run({scene, path("f.png")}).out.isEmpty());
    const Result json = run({"--frames", "4", "--json", scene, path("f.png")});
    const QJsonObject document = QJsonDocument::fromJson(json.out.toUtf8()).object();
    QCOMPARE(document.value("schema").toInt(), 1);
    QCOMPARE(document.value("frames").toInt(), 4);
    QVERIFY(document.value("median_ms").toDouble() > 0.0);
}

void TestRender::diagnoseNamesVersionsAndFolders()
{
    const Result result = run({"--diagnose", "--json"});
    QCOMPARE(result.status, 0);
    const QJsonObject document = QJsonDocument::fromJson(result.out.toUtf8()).object();
    QCOMPARE(document.value("toolkit").toString(), QString::fromLatin1(qVersion()));
    QCOMPARE(document.value("context").toString(), QLatin1String(es() ? "OpenGL ES" : "desktop OpenGL"));
    QCOMPARE(document.value("gl_version").toString().startsWith("OpenGL ES 2.0"), es());
    QVERIFY(!document.value("gl_vendor").toString().isEmpty());
    QCOMPARE(document.value("global_cache").toString(), QStringLiteral("/opt/quorvel/cache"));
    QCOMPARE(document.value("local_cache").toString(), m_home->filePath(".quorvel/cache"));
}

void TestRender::manPageNamesEveryOption()
{
    QFile page(QStringLiteral(QUORVEL_SOURCE_DIR "/packaging/man/quorvel-render.1"));
    QVERIFY(page.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(page.readAll()).remove(QLatin1Char('\\'));
    const QString help = run({QStringLiteral("--help")}).out;
    const QRegularExpression option(QStringLiteral("^  (?:-., )?(--[a-z-]+)"),
                                    QRegularExpression::MultilineOption);
    QRegularExpressionMatchIterator options = option.globalMatch(help);
    QVERIFY(options.hasNext());
    while (options.hasNext()) {
        const QString name = options.next().captured(1);
        QVERIFY2(text.contains(name), qPrintable(name));
    }
}

void TestRender::usageErrorsExitWithTwo()
{
    const Result result = run({"--size", "big", "a.dae", "a.png"});
    QCOMPARE(result.status, 2);
    QVERIFY2(result.err.startsWith("quorvel-render: --size big"), qPrintable(result.err));
    QCOMPARE(run({}).status, 2);
}

void TestRender::missingSceneExitsWithThree()
{
    const Result result = run({path("nothing.dae"), path("out.png")});
    QCOMPARE(result.status, 3);
    QVERIFY2(result.err.contains("nothing.dae: no such file"), qPrintable(result.err));
}

void TestRender::unknownCameraExitsWithThree()
{
    const Result result = run({"--camera", "side", writeScene("square.dae"), path("out.png")});
    QCOMPARE(result.status, 3);
    QVERIFY2(result.err.contains("no camera \"side\""), qPrintable(result.err));
    QCOMPARE(run({"--camera", "cam-node", writeScene("square.dae"), path("out.png")}).status, 0);
}

void TestRender::pictureTooLargeExitsWithTwo()
{
    const Result result = run({"--size", "99999x99999", writeScene("square.dae"), path("out.png")});
    QCOMPARE(result.status, 2);
    QVERIFY2(result.err.contains("--size: 99999x99999 pixels are more than"), qPrintable(result.err));
}

void TestRender::unwritableOutputExitsWithFour()
{
    const Result result = run({writeScene("square.dae"), path("no/such/folder/out.png")});
    QCOMPARE(result.status, 4);
    QVERIFY2(result.err.contains("out.png"), qPrintable(result.err));
}

void TestRender::withoutGlExitsWithFive()
{
    const Result result =
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
    const Result result = run({writeScene("blind.dae", false), path("out.png")});
    QVERIFY(result.crashed);
    QCOMPARE(result.status, SIGABRT);
    QVERIFY2(
        result.err.contains("ASSERT: \"scene->m_activeCameraNode\" in file src/ColladaLoader.cpp, line "),
        qPrintable(result.err));
    QVERIFY2(result.err.contains("blind.dae: the scene has no camera node"), qPrintable(result.err));
    QVERIFY(!QFile::exists(path("out.png")));
}

void TestRender::quietLeavesDebugLinesOut()
{
    const QString scene = writeScene("square.dae");
    QVERIFY(run({scene, path("out.png")}).err.contains("Load time: "));
    QVERIFY(!run({"--quiet", scene, path("out.png")}).err.contains("Load time: "));
}

void TestRender::helpAndVersionAreText()
{
    const Result help = run({"--help"});
    QVERIFY2(help.status == 0 && !help.crashed, qPrintable(help.err));
    QVERIFY2(help.out.contains("--ambient-occlusion"), qPrintable(help.out));
    QCOMPARE(help.err, QString());
    const Result version = run({"--version"});
    QCOMPARE(version.out.trimmed(), QStringLiteral("quorvel-render " QUORVEL_VERSION));
}

QTEST_GUILESS_MAIN(TestRender)
#include "tst_render.moc"
