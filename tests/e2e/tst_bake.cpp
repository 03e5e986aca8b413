#include "CharacterDevice.h"
#include "ProgramHome.h"
#include "SquareScene.h"

#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include <csignal>

#include <sys/stat.h>

using namespace Quorvel::Test;

/// quorvel-bake as people and scripts call it: a process of its own, a home of its own.
class TestBake : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void lightMapLiesBesideTheScene();
    void litSurfaceHasItsOwnColor();
    void viewerShowsTheMapTheRightWayUp();
    void outputIsWhereItWasAskedFor();
    void bytesAreTheSameForAnyNumberOfThreads();
    void jsonSumsUp();
    void quietIsQuiet();
    void overlapIsWarnedAbout();
    void triangleWithoutAreaIsWarnedAbout_data();
    void triangleWithoutAreaIsWarnedAbout();
    void freshAtlasGoesIntoACopy();
    void usageErrorsExitWithTwo();
    void unreadableScenesExitWithThree();
    void sceneWithoutTextureCoordinatesExitsWithThree();
    void unwritableOutputExitsWithFour();
    void sceneWithoutCameraAbortsAndExplains();
    void imageOfAnotherHandStays();
    void copyOfAnotherHandStays();
    void signalLeavesNothingBehind_data();
    void signalLeavesNothingBehind();
    void lightMapGoesToTheStandardOutput();
    void sceneComesFromTheStandardInput();
    void deviceStaysOne();
    void versionAndHelpGoToStdout();

private:
    ProgramEnd bake(const QStringList &arguments) const
    {
        return m_home->run(QStringLiteral(QUORVEL_BAKE), arguments);
    }
    ProgramEnd render(const QStringList &arguments) const
    {
        return m_home->run(QStringLiteral(QUORVEL_RENDER), arguments);
    }
    QString path(const QString &name) const { return m_home->path(name); }
    QString write(const QString &name, const QByteArray &text) const { return m_home->write(name, text); }
    QStringList files() const { return m_home->files(); }

    std::unique_ptr<ProgramHome> m_home;
};

namespace
{

const char *const BackNode =
    R"(<node id="back"><translate>0 0 -5</translate><instance_geometry url="#square"/></node>)";
const char *const Sun =
    R"(<light id="lamp"><technique_common><directional><color>1 1 1</color></directional></technique_common></light>)";
const char *const Lamp =
    R"(<light id="lamp"><technique_common><point><color>1 1 1</color></point></technique_common></light>)";

/// A square whose texture coordinates run from 0 to 1, s along x and t along y.
SquareScene square(const QByteArray &light = Sun, const QByteArray &place = "0 0 2")
{
    SquareScene scene;
    scene.diffuse = "1 0.6 0.2";
    scene.texcoords = "0 0 0 1 0 0 1 1 0 0 1 0";
    scene.light = light;
    scene.place = place;
    return scene;
}

QByteArray twoSquares()
{
    SquareScene scene = square();
    scene.nodes += BackNode;
    return scene.text();
}

bool near(QRgb pixel, int red, int green, int blue, int tolerance)
{
    return qAbs(qRed(pixel) - red) <= tolerance && qAbs(qGreen(pixel) - green) <= tolerance &&
           qAbs(qBlue(pixel) - blue) <= tolerance;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

void TestBake::init()
{
    m_home = std::make_unique<ProgramHome>();
    QVERIFY(m_home->isValid());
}

void TestBake::lightMapLiesBesideTheScene()
{
    write("square.dae", square().text());
    const ProgramEnd result = bake({"--size", "32", "--samples", "4", "square.dae"});
    QVERIFY2(result.status == 0 && !result.crashed, qPrintable(result.err));
    const QImage map(path("square.dae.png"));
    QCOMPARE(map.size(), QSize(32, 32));
    QVERIFY(!map.hasAlphaChannel());
    QCOMPARE(files(), QStringList({"square.dae", "square.dae.png"}));
    QVERIFY(result.out.isEmpty());
}

void TestBake::litSurfaceHasItsOwnColor()
{
    const QString scene = write("square.dae", square().text());
    const ProgramEnd unlit = render({"--size", "64x64", scene, path("lit.png")});
    QVERIFY2(unlit.status == 0, qPrintable(unlit.err));
    QCOMPARE(bake({"--size", "32", "--samples", "4", scene}).status, 0);
    QCOMPARE(render({"--size", "64x64", scene, path("baked.png")}).status, 0);
    for (const char *name : {"lit.png", "baked.png"}) {
        const QImage picture(path(name));
        for (const QPoint &place : {QPoint(32, 32), QPoint(4, 4), QPoint(60, 4), QPoint(4, 60)})
            QVERIFY2(near(picture.pixel(place), 255, 153, 51, 2),
                     qPrintable(name + QStringLiteral(" ") + QString::number(picture.pixel(place), 16)));
    }
}

void TestBake::viewerShowsTheMapTheRightWayUp()
{
    // Close above the square's lower left corner, as the camera sees it.
    const QString scene = write("square.dae", square(Lamp, "-0.6 -0.4 0.1").text());
    QCOMPARE(bake({"--size", "64", "--samples", "16", scene}).status, 0);
    QCOMPARE(render({"--size", "100x100", scene, path("view.png")}).status, 0);
    const QImage picture(path("view.png"));
    // Half a picture is 3 tan(15 degrees) = 0.804 wide.
    const auto at = [&picture](double x, double y) {
        return qRed(picture.pixel(int(50 + 50 * x / 0.804), int(50 - 50 * y / 0.804)));
    };
    QVERIFY2(at(-0.6, -0.4) > 245, qPrintable(QString::number(at(-0.6, -0.4))));
    QVERIFY(at(0.6, -0.4) < 120);
    QVERIFY(at(-0.6, 0.4) < 120);
    QVERIFY(at(0.6, 0.4) < 120);
    QVERIFY(at(-0.4, -0.6) > at(-0.4, 0.6) && at(-0.4, -0.6) < at(-0.6, -0.4));
}

void TestBake::outputIsWhereItWasAskedFor()
{
    const QString scene = write("square.dae", square().text());
    QVERIFY(QDir(m_home->path()).mkdir("out"));
    QCOMPARE(bake({"--size", "16", "--samples", "1", scene, "-o", "out/light.png"}).status, 0);
    QCOMPARE(QImage(path("out/light.png")).size(), QSize(16, 16));
    QCOMPARE(files(), QStringList("square.dae"));
    // A file that is there is replaced.
    QCOMPARE(bake({"--size", "20", "--samples", "1", scene, "-o", "out/light.png"}).status, 0);
    QCOMPARE(QImage(path("out/light.png")).size(), QSize(20, 20));
}

void TestBake::bytesAreTheSameForAnyNumberOfThreads()
{
    const QString scene = write("square.dae", square(Lamp, "-0.6 -0.4 0.1").text());
    for (const char *threads : {"1", "2", "7"})
        QCOMPARE(bake({"--size", "64", "--samples", "4", "--denoise", "--threads", threads, scene, "-o",
                       QStringLiteral("%1.png").arg(threads)})
                     .status,
                 0);
    QVERIFY(!contents(path("1.png")).isEmpty());
    QCOMPARE(contents(path("2.png")), contents(path("1.png")));
    QCOMPARE(contents(path("7.png")), contents(path("1.png")));
}

void TestBake::jsonSumsUp()
{
    const QString scene = write("square.dae", square().text());
    const ProgramEnd result = bake({"--size", "32", "--samples", "8", "--bounces", "2", "--json", scene});
    QCOMPARE(result.status, 0);
    const QJsonObject document = QJsonDocument::fromJson(result.out.toUtf8()).object();
    QCOMPARE(document.value("schema").toInt(), 1);
    QCOMPARE(document.value("scene").toString(), scene);
    QCOMPARE(document.value("light_map").toString(), scene + ".png");
    QCOMPARE(document.value("size").toInt(), 32);
    QCOMPARE(document.value("samples").toInt(), 8);
    QCOMPARE(document.value("bounces").toInt(), 2);
    QCOMPARE(document.value("seed").toInt(), 1);
    QCOMPARE(document.value("denoised").toBool(true), false);
    QCOMPARE(document.value("triangles").toInt(), 2);
    QCOMPARE(document.value("charts").toInt(), 1);
    QCOMPARE(document.value("texels").toInt(), 32 * 32);
    QCOMPARE(document.value("overlapping_texels").toInt(), 0);
    // One shadow ray and one into the surroundings per sample.
    QCOMPARE(document.value("rays").toInt(), 2 * 8 * 32 * 32);
    QVERIFY(document.value("seconds").isDouble() && document.value("noise").isDouble());
}

void TestBake::quietIsQuiet()
{
    const QString scene = write("square.dae", square().text());
    const ProgramEnd quiet = bake({"-q", "--size", "16", "--samples", "1", scene});
    QVERIFY2(quiet.out.isEmpty() && quiet.err.isEmpty(), qPrintable(quiet.err));
    const ProgramEnd plain = bake({"--size", "16", "--samples", "1", scene});
    QVERIFY(plain.err.contains("square.dae.png: 256 texels in 1 charts"));
    // No line for a terminal where there is none, and no details of loading.
    QVERIFY(!plain.err.contains('\r') && !plain.err.contains("Load time"));
    QVERIFY(bake({"-v", "--size", "16", "--samples", "1", scene}).err.contains("Load time"));
}

void TestBake::overlapIsWarnedAbout()
{
    const QString scene = write("two.dae", twoSquares());
    const ProgramEnd result = bake({"--size", "16", "--samples", "1", scene});
    QCOMPARE(result.status, 0);
    QVERIFY2(result.err.contains("two.dae: warning: triangles overlap in ") &&
                 result.err.contains("--atlas new"),
             qPrintable(result.err));
}

void TestBake::triangleWithoutAreaIsWarnedAbout_data()
{
    QTest::addColumn<QString>("atlas");
    QTest::addColumn<QString>("meaning");
    QTest::newRow("the scene's coordinates") << "keep"
                                             << "; --atlas new makes room for each\n";
    QTest::newRow("fresh coordinates")
        << "new"
        << ": they have none in the scene either, or too little for this --size\n";
}

void TestBake::triangleWithoutAreaIsWarnedAbout()
{
    QFETCH(QString, atlas);
    QFETCH(QString, meaning);
    // One more triangle whose corners are one.
    QByteArray text = square().text();
    write("point.dae", text.replace("</p>", " 0 0 0 0 0 0 0 0 0</p>"));
    const ProgramEnd result =
        bake({"-q", "--size", "32", "--samples", "1", "--padding", "2", "--atlas", atlas, "point.dae"});
    QCOMPARE(result.status, 0);
    QCOMPARE(result.err, "quorvel-bake: point.dae: warning: 1 of 3 triangles have no area in the light map "
                         "and show the light of a line or a point" +
                             meaning);
}

void TestBake::freshAtlasGoesIntoACopy()
{
    const QByteArray text = twoSquares();
    write("two.dae", text);
    const ProgramEnd result =
        bake({"--atlas", "new", "--size", "64", "--samples", "1", "--padding", "2", "--json", "two.dae"});
    QVERIFY2(result.status == 0, qPrintable(result.err));
    QVERIFY2(!result.err.contains("overlap"), qPrintable(result.err));
    QCOMPARE(files(), QStringList({"two-lit.dae", "two-lit.dae.png", "two.dae"}));
    QCOMPARE(contents(path("two.dae")), text);
    const QJsonObject document = QJsonDocument::fromJson(result.out.toUtf8()).object();
    QCOMPARE(document.value("copy").toString(), QStringLiteral("two-lit.dae"));
    QCOMPARE(document.value("light_map").toString(), QStringLiteral("two-lit.dae.png"));
    QCOMPARE(document.value("overlapping_texels").toInt(), 0);
    QCOMPARE(QFile::permissions(path("two-lit.dae")), QFile::permissions(path("two-lit.dae.png")));
    // The copy opens and shows its light.
    QCOMPARE(render({"--size", "64x64", "two-lit.dae", "view.png"}).status, 0);
    QVERIFY(near(QImage(path("view.png")).pixel(32, 32), 255, 153, 51, 2));
}

void TestBake::usageErrorsExitWithTwo()
{
    const ProgramEnd result = bake({"--size", "big", "a.dae"});
    QCOMPARE(result.status, 2);
    QCOMPARE(result.err, QStringLiteral("quorvel-bake: --size big: expected a whole number from 16 to 8192 "
                                        "(see quorvel-bake --help)\n"));
    QCOMPARE(bake({}).status, 2);
    QCOMPARE(bake({"a.dae", "b.dae"}).status, 2);
}

void TestBake::unreadableScenesExitWithThree()
{
    const ProgramEnd missing = bake({"nothing.dae"});
    QCOMPARE(missing.status, 3);
    QVERIFY2(missing.err.contains("nothing.dae: no such file"), qPrintable(missing.err));
    QVERIFY(QDir(m_home->path()).mkdir("folder.dae"));
    QCOMPARE(bake({"folder.dae"}).status, 3);
}

void TestBake::sceneWithoutTextureCoordinatesExitsWithThree()
{
    SquareScene scene = square();
    scene.texcoords = SquareScene().texcoords;
    write("plain.dae", scene.text());
    const ProgramEnd result = bake({"--size", "16", "plain.dae"});
    QCOMPARE(result.status, 3);
    QVERIFY2(result.err.contains("plain.dae: the scene has no texture coordinates") &&
                 result.err.contains("--atlas new"),
             qPrintable(result.err));
    QCOMPARE(files(), QStringList("plain.dae"));
    QCOMPARE(bake({"--size", "16", "--samples", "1", "--padding", "2", "--atlas", "new", "plain.dae"}).status,
             0);
}

void TestBake::unwritableOutputExitsWithFour()
{
    const QString scene = write("square.dae", square().text());
    const ProgramEnd result = bake({scene, "-o", "no/such/folder/out.png"});
    QCOMPARE(result.status, 4);
    QVERIFY2(result.err.contains("out.png: "), qPrintable(result.err));
    QVERIFY(QDir(m_home->path()).mkdir("out.png"));
    QCOMPARE(bake({scene, "-o", "out.png"}).status, 4);
}

void TestBake::sceneWithoutCameraAbortsAndExplains()
{
    SquareScene scene = square();
    scene.hasCamera = false;
    write("blind.dae", scene.text());
    const ProgramEnd result = bake({"blind.dae"});
    QVERIFY(result.crashed);
    QCOMPARE(result.status, SIGABRT);
    QVERIFY2(result.err.contains("blind.dae: the scene has no camera node"), qPrintable(result.err));
}

void TestBake::imageOfAnotherHandStays()
{
    const QString scene = write("square.dae", square().text());
    const QStringList quick = {"--size", "16", "--samples", "1", scene};
    QImage picture(4, 4, QImage::Format_RGB888);
    picture.fill(Qt::red);
    QVERIFY(picture.save(path("square.dae.png")));
    const QByteArray before = contents(path("square.dae.png"));
    const ProgramEnd refused = bake(quick);
    QCOMPARE(refused.status, 2);
    QVERIFY2(refused.err.contains("square.dae.png: this file is there already") &&
                 refused.err.contains("--force"),
             qPrintable(refused.err));
    QCOMPARE(contents(path("square.dae.png")), before);
    QCOMPARE(bake(QStringList("--force") + quick).status, 0);
    const QByteArray map = contents(path("square.dae.png"));
    QCOMPARE(QImage::fromData(map).text("Software"), QStringLiteral("quorvel-bake " QUORVEL_VERSION));
    // Its own ones it replaces.
    QCOMPARE(bake(quick).status, 0);
    QCOMPARE(contents(path("square.dae.png")), map);
}

void TestBake::copyOfAnotherHandStays()
{
    write("two.dae", twoSquares());
    write("two-lit.dae", "a day's work");
    const QStringList quick = {"--atlas", "new",       "--size", "64",     "--samples",
                               "1",       "--padding", "2",      "two.dae"};
    const ProgramEnd refused = bake(quick);
    QCOMPARE(refused.status, 2);
    QVERIFY2(refused.err.contains("two-lit.dae: this file is there already"), qPrintable(refused.err));
    QCOMPARE(contents(path("two-lit.dae")), QByteArray("a day's work"));
    QCOMPARE(bake(QStringList("--force") + quick).status, 0);
    const QByteArray copy = contents(path("two-lit.dae"));
    QVERIFY(copy.contains("COLLADA") && copy.endsWith("<!-- made by quorvel-bake " QUORVEL_VERSION " -->\n"));
    QCOMPARE(bake(quick).status, 0);
    QCOMPARE(contents(path("two-lit.dae")), copy);

    // A scene of that name is not the program's work because its light map is.
    const QByteArray own = twoSquares() + "<!-- by hand -->";
    write("two-lit.dae", own);
    QCOMPARE(bake({"--size", "64", "--samples", "1", "two-lit.dae"}).status, 0);
    QCOMPARE(bake(quick).status, 2);
    QCOMPARE(contents(path("two-lit.dae")), own);
}

void TestBake::signalLeavesNothingBehind_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<QStringList>("more");
    QTest::newRow("interrupted") << SIGINT << QStringList();
    QTest::newRow("interrupted, with a copy") << SIGINT << QStringList{"--atlas", "new"};
    QTest::newRow("terminated") << SIGTERM << QStringList();
    QTest::newRow("terminated, with a copy") << SIGTERM << QStringList{"--atlas", "new"};
}

void TestBake::signalLeavesNothingBehind()
{
    QFETCH(int, signal);
    QFETCH(QStringList, more);
    write("square.dae", square(Lamp, "0 0 1").text());
    // It says so when the scene is loaded; from then on it is busy for hours.
    const ProgramEnd result =
        m_home->signalled(QStringLiteral(QUORVEL_BAKE),
                          QStringList({"--size", "2048", "--samples", "65536", "-v", "square.dae"}) + more,
                          "Load time", signal);
    QVERIFY2(!result.crashed, qPrintable(result.err));
    QCOMPARE(result.status, 128 + signal);
    QVERIFY2(result.err.contains("quorvel-bake: interrupted; nothing was written"), qPrintable(result.err));
    QCOMPARE(files(), QStringList("square.dae"));
}

void TestBake::lightMapGoesToTheStandardOutput()
{
    const QString scene = write("square.dae", square().text());
    QCOMPARE(bake({"--size", "16", "--samples", "1", scene, "-o", "file.png"}).status, 0);
    for (const char *output : {"-", "/dev/stdout"}) {
        const ProgramEnd result = bake({"--size", "16", "--samples", "1", "--json", scene, "-o", output});
        QCOMPARE(result.status, 0);
        QCOMPARE(result.bytes, contents(path("file.png")));
        QVERIFY2(result.err.contains("\"schema\": 1"), qPrintable(result.err));
    }
}

void TestBake::sceneComesFromTheStandardInput()
{
    const QByteArray text = twoSquares();
    write("two.dae", text);
    const QStringList options = {"--atlas", "new", "--size", "64", "--samples", "1", "--padding", "2"};
    QCOMPARE(bake(options + QStringList{"two.dae"}).status, 0);
    QCOMPARE(
        m_home->run(QStringLiteral(QUORVEL_BAKE), options + QStringList{"-", "-o", "piped.dae.png"}, {}, text)
            .status,
        0);
    QCOMPARE(contents(path("piped.dae")), contents(path("two-lit.dae")));
    QCOMPARE(contents(path("piped.dae.png")), contents(path("two-lit.dae.png")));
}

void TestBake::deviceStaysOne()
{
    const QString scene = write("square.dae", square().text());
    const QString device = characterDevice("full", 7, m_home->path());
    QVERIFY2(!device.isEmpty(), "this root may not make devices");
    const ProgramEnd result = bake({"--size", "16", "--samples", "1", scene, "-o", device});
    QCOMPARE(result.status, 4);
    QVERIFY2(result.err.contains("full: No space left on device"), qPrintable(result.err));
    QVERIFY(isCharacterDevice(device));
}

void TestBake::versionAndHelpGoToStdout()
{
    QVERIFY(bake({"--version"}).out.startsWith("quorvel-bake "));
    const ProgramEnd help = bake({"--help"});
    QCOMPARE(help.status, 0);
    QVERIFY(help.out.contains("--half-distance"));
    QVERIFY(help.err.isEmpty());
}

QTEST_GUILESS_MAIN(TestBake)
#include "tst_bake.moc"
