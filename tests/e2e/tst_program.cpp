#include "HeldFile.h"
#include "ProgramHome.h"
#include "StillPicture.h"
#include "ViewerProcess.h"
#include "VirtualScreen.h"
#include "Wall.h"

#include <QColor>
#include <QCoreApplication>
#include <QImage>
#include <QtTest>

using namespace Quorvel;
using namespace Quorvel::Desktop;
using namespace Quorvel::Test;

namespace
{

const QString room = QStringLiteral(QUORVEL_FIXTURES "/window/room.dae");

const QString startTitle = QStringLiteral("Quorvel");
const QString roomTitle = QStringLiteral("/room.dae - Quorvel");

ProgramEnd runWithoutDisplay(const QStringList &arguments, const QMap<QString, QString> &variables = {})
{
    return ProgramHome().run(QStringLiteral(QUORVEL_PROGRAM), arguments, variables);
}

} // namespace

class TestProgram : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void answersWithoutDisplay();
    void namesTheMissingDisplay_data();
    void namesTheMissingDisplay();
    void manPageNamesEveryOption();
    void refusesWrongUsage_data();
    void refusesWrongUsage();
    void startsWithoutScene();
    void saysWhenFileIsMissing_data();
    void saysWhenFileIsMissing();
    void opensSceneOnceTheEngineIsUp();
    void plainSceneEndsOnTheScreen_data();
    void plainSceneEndsOnTheScreen();
    void keysLeaveFullScreenAndQuit();
    void pointerAndWheelMoveThePicture();
    void endsDuringLoad_data();
    void endsDuringLoad();
};

void TestProgram::init()
{
    point({QStringLiteral("mousemove"), QStringLiteral("640"), QStringLiteral("400")});
}

void TestProgram::answersWithoutDisplay()
{
    const ProgramEnd version = runWithoutDisplay({QStringLiteral("--version")});
    QCOMPARE(version.status, 0);
    QCOMPARE(version.out, QStringLiteral("Quorvel " QUORVEL_VERSION "\n"));

    const ProgramEnd help = runWithoutDisplay({QStringLiteral("--help")});
    QCOMPARE(help.status, 0);
    QVERIFY(help.out.contains(QStringLiteral("--open <FILE>")));
    QVERIFY(help.out.contains(QStringLiteral("[scene]")));
    QCOMPARE(help.err, QString());

    const ProgramEnd full = runWithoutDisplay({QStringLiteral("--help-all")});
    QCOMPARE(full.status, 0);
    QVERIFY(full.out.contains(QStringLiteral("--open <FILE>")));
    QVERIFY(full.out.contains(QStringLiteral("--platform <platformName[:options]>")));
    QCOMPARE(full.err, QString());
}

void TestProgram::namesTheMissingDisplay_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("display");
    QTest::addColumn<QString>("sentence");
    const QString advice = QStringLiteral(". quorvel-render draws scenes without one\n");
    QTest::newRow("none") << QStringList{} << QString()
                          << QStringLiteral("quorvel: there is no display: DISPLAY is not set") + advice;
    QTest::newRow("a scene and none")
        << QStringList{room} << QString()
        << QStringLiteral("quorvel: there is no display: DISPLAY is not set") + advice;
    QTest::newRow("one that is gone")
        << QStringList{} << QStringLiteral(":4711")
        << QStringLiteral("quorvel: the display \":4711\" does not answer") + advice;
    QTest::newRow("one that is gone, by option")
        << QStringList{QStringLiteral("-display"), QStringLiteral(":4711")} << QString()
        << QStringLiteral("quorvel: the display \":4711\" does not answer") + advice;
    QTest::newRow("a kind that is unknown")
        << QStringList{QStringLiteral("-platform"), QStringLiteral("wall")} << QString()
        << QStringLiteral("quorvel: there is no display \"wall\"") + advice;
}

void TestProgram::namesTheMissingDisplay()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, display);
    QFETCH(QString, sentence);
    const ProgramEnd end = runWithoutDisplay(arguments, {{QStringLiteral("DISPLAY"), display}});
    QVERIFY(!end.crashed);
    QCOMPARE(end.status, 5);
    QVERIFY2(end.err.endsWith(sentence), qPrintable(end.err));
}

void TestProgram::manPageNamesEveryOption()
{
    const QString help = runWithoutDisplay({QStringLiteral("--help")}).out;
    QCOMPARE(optionsNotInManPage(QStringLiteral("quorvel"), help), QStringList());
}

void TestProgram::refusesWrongUsage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    QTest::newRow("unknown option") << QStringList{QStringLiteral("--colour")}
                                    << QStringLiteral("quorvel: Unknown option 'colour'.\n");
    QTest::newRow("no file") << QStringList{QStringLiteral("--open")}
                             << QStringLiteral("quorvel: Missing value after '--open'.\n");
    QTest::newRow("a scene and --open") << QStringList{QStringLiteral("--open"), room, room}
                                        << QStringLiteral("quorvel: give a scene or --open FILE, not both\n");
    QTest::newRow("two scenes") << QStringList{room, room}
                                << QStringLiteral("quorvel: one scene at a time\n");
    QTest::newRow("--open twice") << QStringList{QStringLiteral("--open"), room, QStringLiteral("--open"),
                                                 room}
                                  << QStringLiteral("quorvel: one scene at a time\n");
    QTest::newRow("behind an option of the toolkit")
        << QStringList{QStringLiteral("-platform"), QStringLiteral("xcb"), QStringLiteral("--colour")}
        << QStringLiteral("quorvel: Unknown option 'colour'.\n");
}

void TestProgram::refusesWrongUsage()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    Viewer viewer(arguments);
    QCOMPARE(viewer.exitCode(), 2);
    QCOMPARE(QString::fromUtf8(viewer.process().readAllStandardError()), message);

    const ProgramEnd withoutDisplay = runWithoutDisplay(arguments);
    QCOMPARE(withoutDisplay.status, 2);
    QCOMPARE(withoutDisplay.err, message);
}

void TestProgram::startsWithoutScene()
{
    Viewer viewer({});
    QVERIFY(Viewer::waitForWindow(startTitle));
    const QByteArray window = Viewer::window(startTitle);
    QTRY_COMPARE(Viewer::size(window), QSize(640, 480));
    QVERIFY(!Viewer::isFullScreen(window));
    Viewer::close(window);
    QCOMPARE(viewer.exitCode(), 0);
}

void TestProgram::saysWhenFileIsMissing_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("complaint");
    const QByteArray missing = "quorvel: nowhere/room.dae: no such file\n";
    QTest::newRow("scene") << QStringList{QStringLiteral("nowhere/room.dae")} << missing;
    QTest::newRow("--open") << QStringList{QStringLiteral("--open"), QStringLiteral("nowhere/room.dae")}
                            << missing;
    QTest::newRow("folder") << QStringList{QStringLiteral("--open"), QStringLiteral("/")}
                            << QByteArray("quorvel: /: is a folder\n");
}

void TestProgram::saysWhenFileIsMissing()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, complaint);
    Viewer viewer(arguments);
    QVERIFY(Viewer::waitForWindow(startTitle));
    QTRY_COMPARE(Viewer::size(Viewer::window(startTitle)), QSize(640, 480));
    QCOMPARE(viewer.quit(), 0);
    QVERIFY(viewer.process().readAllStandardError().contains(complaint));
}

void TestProgram::opensSceneOnceTheEngineIsUp()
{
    Viewer viewer({QStringLiteral("--open"), room});
    QVERIFY(Viewer::waitForWindow(roomTitle));
    const QByteArray window = Viewer::window(roomTitle);
    QTRY_VERIFY(Viewer::isFullScreen(window));
    QTRY_COMPARE(Viewer::size(window), QSize(1280, 800));

    // Ambient light alone shows each material's ambient colour, and the camera's 45 degrees are the height:
    // the wall's four units, seen from ten, are 4 / (20 tan 22.5) of the height above the status bar.
    QTRY_VERIFY(isNear(screenshot().pixelColor(640 - 90, 400 - 90), red));
    const QImage screen = screenshot();
    QVERIFY(isNear(screen.pixelColor(640 + 90, 400 - 90), green));
    QVERIFY(isNear(screen.pixelColor(640 - 90, 400 + 70), blue));
    QVERIFY(isNear(screen.pixelColor(640 + 90, 400 + 70), yellow));
    QVERIFY(isNear(screen.pixelColor(640, 100), black));
    QVERIFY(isNear(screen.pixelColor(640, 700), black));
    QVERIFY(isNear(screen.pixelColor(100, 400), black));
    QVERIFY(isNear(screen.pixelColor(1180, 400), black));
    const Wall wall(screen);
    int surface = 0;
    for (int y = 0; y < screen.height(); ++y)
        surface += isNear(screen.pixelColor(100, y), black);
    QVERIFY2(qAbs(wall.width() - surface * 0.482843) <= 2, qPrintable(QString::number(wall.width())));
    QVERIFY(qAbs(wall.width() - wall.height(600)) <= 2);

    QCOMPARE(viewer.quit(), 0);
}

void TestProgram::plainSceneEndsOnTheScreen_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("not seen before") << QStringList{room};
    QTest::newRow("cached") << QStringList{room};
    QTest::newRow("beside an option of the toolkit")
        << QStringList{QStringLiteral("-style"), QStringLiteral("windows"), room};
}

void TestProgram::plainSceneEndsOnTheScreen()
{
    QFETCH(QStringList, arguments);
    Viewer viewer(arguments);
    // It may come and go before the engine is up. Then it stays.
    QVERIFY(Viewer::waitForWindow(roomTitle));
    const QImage atRest = stillPicture(screenshot, 10000);
    QVERIFY(Viewer::isFullScreen(Viewer::window(roomTitle)));
    QVERIFY(isNear(atRest.pixelColor(640 - 90, 400 - 90), red));
    QVERIFY(isNear(atRest.pixelColor(640 + 90, 400 - 90), green));
    QCOMPARE(viewer.quit(), 0);
}

void TestProgram::keysLeaveFullScreenAndQuit()
{
    Viewer viewer({QStringLiteral("--open"), room});
    QVERIFY(Viewer::waitForWindow(roomTitle));
    const QByteArray window = Viewer::window(roomTitle);
    QTRY_VERIFY(Viewer::isFullScreen(window));
    key(QStringLiteral("Escape"));
    QTRY_VERIFY(!Viewer::isFullScreen(window));
    QTRY_COMPARE(Viewer::size(window), QSize(640, 480));
    key(QStringLiteral("Escape"));
    key(QStringLiteral("f"));
    QTRY_VERIFY(Viewer::isFullScreen(window));
    key(QStringLiteral("f"));
    QTRY_VERIFY(!Viewer::isFullScreen(window));
    QTRY_COMPARE(Viewer::size(window), QSize(640, 480));
    QCOMPARE(viewer.quit(), 0);
}

void TestProgram::pointerAndWheelMoveThePicture()
{
    Viewer viewer({QStringLiteral("--open"), room});
    QVERIFY(Viewer::waitForWindow(roomTitle));
    QTRY_VERIFY(Viewer::isFullScreen(Viewer::window(roomTitle)));
    QTRY_VERIFY(isNear(screenshot().pixelColor(640 + 90, 400 - 90), green));
    const Wall before(screenshot());

    // One notch forward goes from 10 to 8.8 units.
    point({QStringLiteral("click"), QStringLiteral("4")});
    QTRY_VERIFY(qAbs(Wall(screenshot()).width() - before.width() / 0.88) <= 2);
    // The same way back and a little further: 8.8 to 9.856.
    point({QStringLiteral("click"), QStringLiteral("5")});
    QTRY_VERIFY(qAbs(Wall(screenshot()).width() - before.width() / 0.9856) <= 2);

    // 100 pixels to the right turn the camera 40 degrees to the left, where the wall's left edge is nearer.
    point({QStringLiteral("mousedown"), QStringLiteral("1"), QStringLiteral("mousemove_relative"),
           QStringLiteral("100"), QStringLiteral("0"), QStringLiteral("mouseup"), QStringLiteral("1")});
    QTRY_VERIFY(Wall(screenshot()).width() < before.width() * 9 / 10);
    const Wall turned(screenshot());
    QVERIFY(turned.height(turned.left + 3) > turned.height(turned.right - 3) + 20);

    // Another 125 pixels make 90 degrees, and the wall is seen edge-on.
    point({QStringLiteral("mousemove"), QStringLiteral("500"), QStringLiteral("400"),
           QStringLiteral("mousedown"), QStringLiteral("1"), QStringLiteral("mousemove_relative"),
           QStringLiteral("125"), QStringLiteral("0"), QStringLiteral("mouseup"), QStringLiteral("1")});
    QTRY_VERIFY(Wall(screenshot()).width() <= 2);
    QCOMPARE(viewer.quit(), 0);
}

void TestProgram::endsDuringLoad_data()
{
    QTest::addColumn<bool>("byKey");
    QTest::newRow("Q") << true;
    QTest::newRow("window closed") << false;
}

void TestProgram::endsDuringLoad()
{
    QFETCH(bool, byKey);
    HeldFile held(QStringLiteral("held.dae"));
    Viewer viewer({held.path()});
    QVERIFY(Viewer::waitForWindow(startTitle));
    QTRY_VERIFY(held.isAwaited());
    if (byKey)
        key(QStringLiteral("q"));
    else
        Viewer::close(Viewer::window(startTitle));

    // The window goes at once; the program waits for the load.
    QTRY_VERIFY(Viewer::window(startTitle).isEmpty());
    QCOMPARE(viewer.process().state(), QProcess::Running);
    held.deliver(room);
    QCOMPARE(viewer.exitCode(), 0);
    QVERIFY(viewer.process().readAllStandardError().contains("Load time: "));
}

int main(int argc, char *argv[])
{
    return runOnVirtualScreenAs<TestProgram, QCoreApplication>(argc, argv);
}

#include "tst_program.moc"
