#include "HeldFile.h"
#include "ViewerProcess.h"
#include "VirtualScreen.h"
#include "Wall.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSettings>
#include <QtTest>

using namespace Quorvel;
using namespace Quorvel::Desktop;

namespace
{

const QString fixtures = QStringLiteral(QUORVEL_FIXTURES "/window");
const QString startTitle = QStringLiteral("Quorvel");
const QString room = fixtures + QStringLiteral("/room.dae");

constexpr int startTimeout = 30000; // milliseconds

QByteArray windowOf(const QString &scene)
{
    return Viewer::window(QStringLiteral("/%1 - Quorvel").arg(scene));
}

/// Whether a window has been there for a completed load: titled, active and full screen.
bool isOpen(const QString &scene)
{
    const QByteArray window = windowOf(scene);
    return Viewer::isActive(window) && Viewer::isFullScreen(window);
}

/// The middle of the screen, where the window stands; its drawing surface is there in every state.
QImage middle()
{
    return screenshot().copy(440, 320, 400, 200);
}

/// Whether the logo on the start screen turns, within a while.
bool logoTurns()
{
    const QImage before = middle();
    return QTest::qWaitFor([&before] { return middle() != before; });
}

void drag(const QPoint &from, const QPoint &by)
{
    point({"mousemove", QString::number(from.x()), QString::number(from.y()), "mousedown", "1",
           "mousemove_relative", "--", QString::number(by.x()), QString::number(by.y()), "mouseup", "1"});
}

void type(const QString &text)
{
    point({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("5"), text});
}

} // namespace

/// The program as somebody uses it who has never seen it: only through pointer, keys and windows.
class TestUsage : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void startsWithTheSpinningLogo();
    void everySampleOpens_data();
    void everySampleOpens();
    void backAndForth();
    void lateSceneReplacesTheStartScreen();
    void openDialogTypedInto();
    void aboutDialogAndKeysAfterIt();
    void mnemonicTogglesOnce();
    void zoomMoveAndRoll();
    void closingStoresTheSize();
    void missingHomeIsNotMade();
};

void TestUsage::init()
{
    point({QStringLiteral("mousemove"), QStringLiteral("640"), QStringLiteral("700")});
}

void TestUsage::startsWithTheSpinningLogo()
{
    Viewer viewer({});
    QVERIFY(Viewer::waitForWindow(startTitle));
    const auto spins = [] {
        const QImage before = middle();
        QTest::qWait(50);
        return middle() != before;
    };
    QTRY_VERIFY(spins());
    QVERIFY(spins());
    QCOMPARE(Viewer::size(Viewer::window(startTitle)), QSize(640, 480));
    QCOMPARE(viewer.quit(), 0);
    QVERIFY(!viewer.process().readAllStandardError().contains("GL Error"));
}

void TestUsage::everySampleOpens_data()
{
    QTest::addColumn<QString>("keyName");
    QTest::addColumn<QString>("scene");
    QTest::newRow("A") << "a"
                       << "bedroom.DAE";
    QTest::newRow("S") << "s"
                       << "spiral.DAE";
    QTest::newRow("D") << "d"
                       << "quorvel.DAE";
    QTest::newRow("F") << "f"
                       << "microscope.DAE";
    QTest::newRow("G") << "g"
                       << "objects.DAE";
}

void TestUsage::everySampleOpens()
{
    QFETCH(QString, keyName);
    QFETCH(QString, scene);
    Viewer viewer({});
    QVERIFY(Viewer::waitForWindow(startTitle));
    QVERIFY(logoTurns());
    key(keyName);
    QTRY_VERIFY_WITH_TIMEOUT(isOpen(scene), startTimeout);

    // And once more with the pointer: back to the start screen, whose thumbnails are 128 pixels wide.
    key(QStringLiteral("b"));
    QTRY_VERIFY(!Viewer::isFullScreen(windowOf(scene)));
    QTRY_COMPARE(Viewer::size(windowOf(scene)), QSize(640, 480));
    const QRect frame = Viewer::geometry(windowOf(scene));
    const int thumbnail = QStringLiteral("asdfg").indexOf(keyName);
    QVERIFY(logoTurns());
    point({"mousemove", QString::number(frame.left() + 64 + 128 * thumbnail),
           QString::number(frame.top() + 70), "click", "1"});
    QTRY_VERIFY_WITH_TIMEOUT(isOpen(scene), startTimeout);
    QCOMPARE(viewer.quit(), 0);
}

void TestUsage::backAndForth()
{
    Viewer viewer({QStringLiteral("--open"), room});
    QTRY_VERIFY_WITH_TIMEOUT(isOpen(QStringLiteral("room.dae")), startTimeout);
    QTRY_VERIFY(Wall(screenshot()).isVisible());
    key(QStringLiteral("b"));
    QTRY_VERIFY(!Viewer::isFullScreen(windowOf(QStringLiteral("room.dae"))));
    key(QStringLiteral("Escape"));
    key(QStringLiteral("g"));
    QTRY_VERIFY_WITH_TIMEOUT(isOpen(QStringLiteral("objects.DAE")), startTimeout);
    // Left on its own it stays where it is.
    key(QStringLiteral("Escape"));
    QTRY_VERIFY(!Viewer::isFullScreen(windowOf(QStringLiteral("objects.DAE"))));
    QTRY_COMPARE(Viewer::size(windowOf(QStringLiteral("objects.DAE"))), QSize(640, 480));
    QCOMPARE(viewer.quit(), 0);
    QVERIFY(!viewer.process().readAllStandardError().contains("GL Error"));
}

void TestUsage::lateSceneReplacesTheStartScreen()
{
    HeldFile held(QStringLiteral("held.dae"));
    Viewer viewer({held.path()});
    QVERIFY(Viewer::waitForWindow(startTitle));
    QTRY_VERIFY(held.isAwaited());
    QTRY_VERIFY(!logoTurns());
    QVERIFY(!Viewer::isFullScreen(Viewer::window(startTitle)));
    held.deliver(room);
    QTRY_VERIFY_WITH_TIMEOUT(isOpen(QStringLiteral("held.dae")), startTimeout);
    QCOMPARE(viewer.quit(), 0);
}

// Dialogs

void TestUsage::openDialogTypedInto()
{
    Viewer viewer({});
    QVERIFY(Viewer::waitForWindow(startTitle));
    QVERIFY(logoTurns());
    key(QStringLiteral("ctrl+o"));
    QTRY_VERIFY(Viewer::isActive(Viewer::window(QStringLiteral("Open"))));
    type(room);
    key(QStringLiteral("Return"));
    QTRY_VERIFY_WITH_TIMEOUT(isOpen(QStringLiteral("room.dae")), startTimeout);

    // Letters in the dialog are no commands, Escape does not reach the window, and keys work right after.
    key(QStringLiteral("ctrl+o"));
    QTRY_VERIFY(Viewer::isActive(Viewer::window(QStringLiteral("Open"))));
    type(QStringLiteral("qbf"));
    key(QStringLiteral("Escape"));
    QTRY_VERIFY(isOpen(QStringLiteral("room.dae")));
    QTest::qWait(200);
    QVERIFY(isOpen(QStringLiteral("room.dae")));
    key(QStringLiteral("f"));
    QTRY_VERIFY(!Viewer::isFullScreen(windowOf(QStringLiteral("room.dae"))));

    // The folder of the file before is where the dialog is.
    key(QStringLiteral("ctrl+o"));
    QTRY_VERIFY(Viewer::isActive(Viewer::window(QStringLiteral("Open"))));
    type(QStringLiteral("hall.dae"));
    key(QStringLiteral("Return"));
    QTRY_VERIFY_WITH_TIMEOUT(isOpen(QStringLiteral("hall.dae")), startTimeout);
    QCOMPARE(viewer.quit(), 0);
}

void TestUsage::aboutDialogAndKeysAfterIt()
{
    Viewer viewer({QStringLiteral("--open"), room});
    QTRY_VERIFY_WITH_TIMEOUT(isOpen(QStringLiteral("room.dae")), startTimeout);
    for (const char *const end : {"Return", "Escape", "alt+c"}) {
        key(QStringLiteral("F1"));
        QTRY_VERIFY(Viewer::isActive(Viewer::window(QStringLiteral("About Quorvel"))));
        key(QString::fromLatin1(end));
        QTRY_VERIFY(isOpen(QStringLiteral("room.dae")));
        QTest::qWait(200);
        QVERIFY(isOpen(QStringLiteral("room.dae")));
    }
    key(QStringLiteral("b"));
    QTRY_VERIFY(!Viewer::isFullScreen(windowOf(QStringLiteral("room.dae"))));
    QCOMPARE(viewer.quit(), 0);
}

void TestUsage::mnemonicTogglesOnce()
{
    Viewer viewer({QStringLiteral("--open"), room});
    QTRY_VERIFY_WITH_TIMEOUT(isOpen(QStringLiteral("room.dae")), startTimeout);
    key(QStringLiteral("alt+f"));
    QTRY_VERIFY(!Viewer::isFullScreen(windowOf(QStringLiteral("room.dae"))));
    QTest::qWait(300);
    QVERIFY(!Viewer::isFullScreen(windowOf(QStringLiteral("room.dae"))));
    key(QStringLiteral("f"));
    QTRY_VERIFY(Viewer::isFullScreen(windowOf(QStringLiteral("room.dae"))));
    QCOMPARE(viewer.quit(), 0);
}

// Camera

void TestUsage::zoomMoveAndRoll()
{
    Viewer viewer({QStringLiteral("--open"), room});
    QTRY_VERIFY_WITH_TIMEOUT(isOpen(QStringLiteral("room.dae")), startTimeout);
    QTRY_COMPARE(Viewer::size(windowOf(QStringLiteral("room.dae"))), QSize(1280, 800));
    QTRY_VERIFY(isNear(screenshot().pixelColor(640 + 90, 400 - 90), green));
    const Wall before(screenshot());
    const int width = before.width();

    // 20 pixels of 0.009 in the right band: from 10 to 11.8 units. Up again with Z held in the middle:
    // 11.8 * (1 - 0.18).
    drag({1260, 300}, {0, 20});
    QTRY_VERIFY(qAbs(Wall(screenshot()).width() - width / 1.18) <= 2);
    point({QStringLiteral("keydown"), QStringLiteral("z")});
    drag({500, 400}, {0, -20});
    point({QStringLiteral("keyup"), QStringLiteral("z")});
    const double distance = 1.18 * 0.82;
    QTRY_VERIFY(qAbs(Wall(screenshot()).width() - width / distance) <= 2);

    // The wall goes where the pointer goes, by 0.0015 of the distance for each pixel: 40 pixels are 0.06 of
    // it, and the wall is 0.4 of the ten units wide.
    const Wall centred(screenshot());
    const double moved = 40 * 0.0015 * 10 * distance / 4 * centred.width();
    point({QStringLiteral("keydown"), QStringLiteral("x")});
    drag({500, 400}, {40, 0});
    point({QStringLiteral("keyup"), QStringLiteral("x")});
    QTRY_VERIFY(qAbs(Wall(screenshot()).left - (centred.left + moved)) <= 2);
    point({"mousemove", "500", "400", "click", "1", "mousedown", "1", "mousemove_relative", "--", "-40", "0",
           "mouseup", "1"});
    QTRY_VERIFY(qAbs(Wall(screenshot()).left - centred.left) <= 3);

    // 225 pixels down in the left band roll the camera by -90 degrees: the scene turns to the left, and what
    // was right is up.
    drag({20, 200}, {0, 225});
    QTRY_VERIFY(isNear(screenshot().pixelColor(640 - 60, 400 - 60), green));
    QVERIFY(isNear(screenshot().pixelColor(640 + 60, 400 - 60), yellow));
    QVERIFY(isNear(screenshot().pixelColor(640 - 60, 400 + 60), red));
    QCOMPARE(viewer.quit(), 0);
}

// Window

void TestUsage::closingStoresTheSize()
{
    Viewer viewer({});
    QVERIFY(Viewer::waitForWindow(startTitle));
    QTRY_COMPARE(Viewer::size(Viewer::window(startTitle)), QSize(640, 480));
    QVERIFY(logoTurns());
    ask(QStringLiteral("wmctrl"),
        {"-i", "-r", QString::fromLatin1(Viewer::window(startTitle)), "-e", "0,-1,-1,800,600"});
    QTRY_COMPARE(Viewer::size(Viewer::window(startTitle)), QSize(800, 600));
    Viewer::close(Viewer::window(startTitle));
    QCOMPARE(viewer.exitCode(), 0);
    const QSettings settings(QStringLiteral("Quorvel Project"), QStringLiteral("Quorvel"));
    QCOMPARE(settings.value(QStringLiteral("MainWindow/size")).toSize(), QSize(800, 600));

    Viewer next({});
    QVERIFY(Viewer::waitForWindow(startTitle));
    QTRY_COMPARE(Viewer::size(Viewer::window(startTitle)), QSize(640, 480));
    QCOMPARE(next.quit(), 0);
}

void TestUsage::missingHomeIsNotMade()
{
    const QTemporaryDir folder;
    const QString home = folder.filePath(QStringLiteral("home"));
    const QByteArray before = qgetenv("HOME");
    const QByteArray settings = qgetenv("XDG_CONFIG_HOME");
    qputenv("HOME", QFile::encodeName(home));
    qunsetenv("XDG_CONFIG_HOME");
    Viewer viewer({QStringLiteral("--open"), room});
    qputenv("HOME", before);
    if (!settings.isNull())
        qputenv("XDG_CONFIG_HOME", settings);
    QTRY_VERIFY_WITH_TIMEOUT(isOpen(QStringLiteral("room.dae")), startTimeout);
    Viewer::close(windowOf(QStringLiteral("room.dae")));
    QCOMPARE(viewer.exitCode(), 0);
    QVERIFY(!QFile::exists(home));
}

int main(int argc, char *argv[])
{
    return runOnVirtualScreenAs<TestUsage, QCoreApplication>(argc, argv);
}

#include "tst_usage.moc"
