#include "ColladaLoader.h"
#include "GivenScene.h"
#include "HeldFile.h"
#include "MessageCapture.h"
#include "ViewerWindow.h"

#include <QMetaMethod>
#include <QScreen>
#include <QSettings>
#include <QWindow>

#include <thread>

using namespace Quorvel;

namespace
{

const QString room = QStringLiteral(QUORVEL_FIXTURES "/window/room.dae");
const QString hall = QStringLiteral(QUORVEL_FIXTURES "/window/hall.dae");

const QString logo = QStringLiteral(":/models/logo.DAE");

/// Where the room's camera stands.
QMatrix4x4 roomCamera()
{
    QMatrix4x4 transform;
    transform.translate(0, 0, 10);
    return transform;
}

const QColor red(204, 51, 51);
const QColor green(51, 204, 51);
const QColor blue(51, 51, 204);
const QColor yellow(204, 204, 51);
const QColor black(0, 0, 0);

/// What the screen shows at an offset from the middle of the drawing surface.
QColor shown(const MainView &view, int right, int up)
{
    const QPoint middle = view.pipeline()->mapToGlobal(view.pipeline()->rect().center());
    const QImage screen = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
    return screen.pixelColor(middle + QPoint(right, -up));
}

bool isNear(const QColor &actual, const QColor &expected)
{
    const bool near = qAbs(actual.red() - expected.red()) <= 2 &&
                      qAbs(actual.green() - expected.green()) <= 2 &&
                      qAbs(actual.blue() - expected.blue()) <= 2;
    return near;
}

} // namespace

/// The parent that each native window had when it was last made.
class SurfaceWatch : public QObject
{
public:
    SurfaceWatch() { qApp->installEventFilter(this); }
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const auto *const window = qobject_cast<QWindow *>(watched);
        if (window && event->type() == QEvent::PlatformSurface &&
            static_cast<QPlatformSurfaceEvent *>(event)->surfaceEventType() ==
                QPlatformSurfaceEvent::SurfaceCreated)
            lastCreated.insert(window, window->parent());
        return false;
    }

    QHash<const QWindow *, const QWindow *> lastCreated;
};

class TestWindow : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void slotsHaveTheirNamesAndOrder();
    void beforeTheEngineIsUp();
    void engineStarts();
    void onlyTheSurfaceHasANativeWindow();
    void surfacesWindowIsMadeInsideTheMainOne();
    void shadowsAreFlippedOn();

    void displayName_data();
    void displayName();
    void opensScene();
    void replacesScene();
    void missingFileIsIgnored();
    void emptyNameShowsBanner();
    void requestDuringLoadIsIgnored();
    void sceneBeforeTheEngineIsNotShown();
    void loadStartedBeforeTheEngineIsShown();
    void givenSceneBeforeTheEngineIsOpenedAgain();
    void givenSceneAfterTheEngineStandsStill();
    void missingGivenSceneLeavesTheStart();
    void openingStopsTheAnimation();
    void closingDuringLoad();
    void closedWindowStaysClosed();

    void fullscreen();
    void heldFullscreenKeySwitchesOnce();
    void windowSizeIsStored();
};

void TestWindow::init()
{
    QSettings(QCoreApplication::organizationName(), QCoreApplication::applicationName()).clear();
}

void TestWindow::slotsHaveTheirNamesAndOrder()
{
    const QMetaObject &meta = MainView::staticMetaObject;
    QByteArrayList signatures;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        QCOMPARE(meta.method(i).methodType(), QMetaMethod::Slot);
        signatures.append(meta.method(i).methodSignature());
    }
    int previous = -1;
    for (const char *const signature :
         {"openScene(QString)", "testAnimation()", "highQualityPaint()", "openScene()", "selectPipeline()",
          "toggleBackfaceCulling()", "toggleCastShadows()", "toggleAmbientOcclusion()", "toggleLowQuality()",
          "toggleTestAnimation()", "toggleFullscreen()", "toggleOutlines()", "joinSharedSession()",
          "showAbout()", "initPipeline()", "messageReceived(NetworkMessage)", "sceneLoadCompleted(Scene*)",
          "initialized()", "showStartScreen()"}) {
        const int index = signatures.indexOf(signature);
        QVERIFY2(index > previous, signature);
        previous = index;
    }
}

// Engine start

void TestWindow::beforeTheEngineIsUp()
{
    ViewerWindow window;
    QCOMPARE(window.status(), QStringLiteral("Initializing engine..."));
    QCOMPARE(window.view.centralWidget(), window.view.pipeline());
    QVERIFY(window.view.scene());
    QVERIFY(!window.view.scene()->activeCameraNode());
    QVERIFY(!window.state().scene());
    QVERIFY(!window.state().castShadows());
    QVERIFY(window.view.pipeline()->format().doubleBuffer());
    QVERIFY(window.view.pipeline()->format().depth());
    QVERIFY(window.view.pipeline()->format().alpha());
}

void TestWindow::engineStarts()
{
    ViewerWindow window;
    QElapsedTimer timer;
    timer.start();
    QSignalSpy initialized(window.view.pipeline(), &Pipeline::initialized);
    const Scene *const first = window.view.scene();
    QVERIFY(window.start());
    QVERIFY2(timer.elapsed() >= 450, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(window.view.scene() != first);
    QCOMPARE(window.state().scene(), window.view.scene());
    QVERIFY2(timer.elapsed() <= 3000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(!window.view.isFullScreen());
    QCOMPARE(window.view.size(), QSize(640, 480));

    QVERIFY(window.open(room));
    QCOMPARE(initialized.count(), 1);
}

void TestWindow::onlyTheSurfaceHasANativeWindow()
{
    ViewerWindow window;
    const auto others = [&window] {
        QStringList names;
        for (const QWidget *const widget : window.view.findChildren<QWidget *>()) {
            if (widget != window.view.pipeline() && !widget->isWindow() && widget->internalWinId() != 0)
                names.append(QString::fromLatin1(widget->metaObject()->className()));
        }
        return names;
    };
    QVERIFY(window.start());
    QVERIFY(window.view.pipeline()->internalWinId() != 0);
    QCOMPARE(others(), QStringList());
    window.view.openScene(room);
    QTRY_VERIFY(!window.startScreen());
    QCOMPARE(others(), QStringList());
    window.view.showStartScreen();
    QCOMPARE(others(), QStringList());
}

void TestWindow::surfacesWindowIsMadeInsideTheMainOne()
{
    SurfaceWatch watch;
    const MainView view;
    const QWindow *const surface = view.pipeline()->windowHandle();
    QVERIFY(surface);
    QVERIFY(watch.lastCreated.contains(surface));
    QCOMPARE(watch.lastCreated.value(surface), view.windowHandle());
}

void TestWindow::shadowsAreFlippedOn()
{
    ViewerWindow window;
    QVERIFY(window.start());
    QVERIFY(window.state().castShadows());
    window.view.initPipeline();
    QVERIFY(!window.state().castShadows());
}

// Scenes

void TestWindow::displayName_data()
{
    QTest::addColumn<QString>("filename");
    QTest::addColumn<QString>("expected");

    QTest::newRow("keeps the slash") << "/scenes/house/room.dae"
                                     << "/room.dae";
    QTest::newRow("relative") << "room.dae"
                              << "/room.dae";
    QTest::newRow("relative folder") << "house/../room.dae"
                                     << "/room.dae";
    QTest::newRow("resource") << ":/models/bedroom.DAE"
                              << "/bedroom.DAE";
    QTest::newRow("blanks and other letters") << QStringLiteral("/scenes/gr\u00fcne st\u00fchle.dae")
                                              << QStringLiteral("/gr\u00fcne st\u00fchle.dae");
    QTest::newRow("case matters") << "/D/d.dae"
                                  << "/d.dae";
    QTest::newRow("in the root folder") << "/room.dae"
                                        << "room.dae";
    QTest::newRow("every mention of the folder goes") << "/d/d.dae"
                                                      << ".dae";
}

void TestWindow::displayName()
{
    QFETCH(QString, filename);
    QFETCH(QString, expected);
    QCOMPARE(MainView::displayName(filename), expected);
}

void TestWindow::opensScene()
{
    ViewerWindow window;
    QVERIFY(window.start());
    window.view.openScene(room);
    QCOMPARE(window.status(), QStringLiteral("Loading /room.dae ..."));
    QCOMPARE(window.title(), QStringLiteral("Quorvel"));
    QVERIFY(!window.view.isFullScreen());

    QTRY_COMPARE(window.title(), QStringLiteral("/room.dae - Quorvel"));
    QVERIFY(window.view.isFullScreen());
    QVERIFY(window.isIdle());
    QCOMPARE(window.view.centralWidget(), window.view.pipeline());
    QCOMPARE(window.view.scene()->name(), room);
    QCOMPARE(window.state().scene(), window.view.scene());

    QTRY_COMPARE(window.view.frameGeometry(), QRect(0, 0, 1280, 800));
    QTRY_VERIFY(isNear(shown(window.view, -90, 90), red));
    QVERIFY(isNear(shown(window.view, 90, 90), green));
    QVERIFY(isNear(shown(window.view, -90, -90), blue));
    QVERIFY(isNear(shown(window.view, 90, -90), yellow));
    QVERIFY(isNear(shown(window.view, 0, 300), black));
    QVERIFY(isNear(shown(window.view, -500, 0), black));
}

void TestWindow::replacesScene()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    QTRY_VERIFY(isNear(shown(window.view, 150, 150), green));
    window.view.openScene(hall);
    QTRY_COMPARE(window.title(), QStringLiteral("/hall.dae - Quorvel"));
    QVERIFY(window.view.isFullScreen());
    QTRY_VERIFY(isNear(shown(window.view, 150, 150), black));
    QVERIFY(isNear(shown(window.view, 60, 60), green));
}

void TestWindow::missingFileIsIgnored()
{
    ViewerWindow window;
    QVERIFY(window.start());
    window.view.setWindowTitle(QStringLiteral("as before"));
    window.view.statusBar()->showMessage(QStringLiteral("as before"));
    // A folder is no file, and reading it would be fatal.
    for (const QString &name : {room + QStringLiteral(".not"), QStringLiteral(QUORVEL_FIXTURES)}) {
        window.view.openScene(name);
        QCOMPARE(window.status(), QStringLiteral("as before"));
        QCOMPARE(window.title(), QStringLiteral("as before"));
    }
}

void TestWindow::emptyNameShowsBanner()
{
    ViewerWindow window;
    QVERIFY(window.start());
    window.view.statusBar()->showMessage(QStringLiteral("as before"));
    window.view.openScene(QString());
    QVERIFY(window.isIdle());
}

void TestWindow::requestDuringLoadIsIgnored()
{
    ViewerWindow window;
    QVERIFY(window.start());
    HeldFile held(QStringLiteral("held.dae"));
    window.view.openScene(held.path());
    QCOMPARE(window.status(), QStringLiteral("Loading /held.dae ..."));
    window.view.openScene(hall);
    window.view.openScene(QString());
    QCOMPARE(window.status(), QStringLiteral("Loading /held.dae ..."));
    held.deliver(room);
    QTRY_COMPARE(window.title(), QStringLiteral("/held.dae - Quorvel"));
    QCOMPARE(window.view.scene()->name(), held.path());
}

void TestWindow::sceneBeforeTheEngineIsNotShown()
{
    ViewerWindow window;
    auto *const scene = new Scene;
    const ColladaLoader loader(scene, room);
    window.view.sceneLoadCompleted(scene);
    QCOMPARE(window.view.scene(), scene);
    QVERIFY(!window.state().castShadows());

    QVERIFY(window.start());
    QVERIFY(window.view.scene() != scene);
    QCOMPARE(window.view.scene()->name(), logo);
    QCOMPARE(window.state().scene(), window.view.scene());
    QVERIFY(window.state().castShadows());
    QVERIFY(window.state().animating());
    QVERIFY(!window.view.isFullScreen());
    QTRY_COMPARE(window.view.size(), QSize(640, 480));
}

void TestWindow::loadStartedBeforeTheEngineIsShown()
{
    ViewerWindow window;
    HeldFile held(QStringLiteral("held.dae"));
    window.view.openScene(held.path());
    QVERIFY(window.start());
    held.deliver(room);
    QTRY_COMPARE(window.title(), QStringLiteral("/held.dae - Quorvel"));
    QVERIFY(window.view.isFullScreen());
    QVERIFY(!window.startScreen());
    QCOMPARE(window.view.scene()->name(), held.path());

    // The logo was turning, and so does the scene.
    QVERIFY(window.state().animating());
    const QMatrix4x4 before = window.camera();
    QTRY_VERIFY(window.camera() != before);
    window.view.toggleTestAnimation();
    window.view.setCameraTransform(roomCamera());
    QTRY_VERIFY(isNear(shown(window.view, 90, 90), green));
}

void TestWindow::givenSceneBeforeTheEngineIsOpenedAgain()
{
    ViewerWindow window;
    QTemporaryDir folder;
    const QString copy = folder.filePath(QStringLiteral("copy.dae"));
    QVERIFY(QFile::copy(room, copy));
    const MessageCapture capture;
    GivenScene::openAtOnce(&window.view, copy);
    // Its first coming is over, and the logo is there.
    QTRY_VERIFY(window.startScreen());
    QTRY_COMPARE(window.title(), QStringLiteral("/copy.dae - Quorvel"));
    QTRY_VERIFY(window.view.isFullScreen() && !window.startScreen());
    QVERIFY(!window.state().animating());
    QCOMPARE(window.view.scene()->name(), copy);
    QTRY_VERIFY(isNear(shown(window.view, 90, 90), green));
    QCOMPARE(MessageCapture::lines().filter(QStringLiteral("Load time: ")).size(), 3);
}

void TestWindow::givenSceneAfterTheEngineStandsStill()
{
    ViewerWindow window;
    HeldFile held(QStringLiteral("held.dae"));
    GivenScene::openAtOnce(&window.view, held.path());
    QVERIFY(window.view.isLoading());
    QVERIFY(window.start());
    QVERIFY(!window.state().animating());
    held.deliver(room);
    QTRY_COMPARE(window.title(), QStringLiteral("/held.dae - Quorvel"));
    QVERIFY(!window.view.isLoading());
    QVERIFY(!window.state().animating());
    QCOMPARE(window.camera(), roomCamera());
    QTRY_VERIFY(isNear(shown(window.view, 90, 90), green));
}

void TestWindow::missingGivenSceneLeavesTheStart()
{
    ViewerWindow window;
    GivenScene::openAtOnce(&window.view, room + QStringLiteral(".not"));
    QVERIFY(window.start());
    QVERIFY(window.state().animating());
}

void TestWindow::openingStopsTheAnimation()
{
    ViewerWindow window;
    QVERIFY(window.start());
    QVERIFY(window.state().animating());
    window.view.openScene(QString());
    QVERIFY(!window.state().animating());
}

void TestWindow::closingDuringLoad()
{
    HeldFile held(QStringLiteral("held.dae"));
    std::thread disk;
    QElapsedTimer timer;
    {
        ViewerWindow window;
        QVERIFY(window.start());
        window.view.openScene(held.path());
        QVERIFY(window.view.close());
        timer.start();
        disk = std::thread([&held] {
            QThread::msleep(300);
            held.deliver(room);
        });
    }
    QVERIFY(timer.elapsed() >= 250);
    disk.join();
}

void TestWindow::closedWindowStaysClosed()
{
    ViewerWindow window;
    QVERIFY(window.start());
    HeldFile held(QStringLiteral("held.dae"));
    const Scene *const scene = window.view.scene();
    window.view.openScene(held.path());
    QVERIFY(window.view.close());
    held.deliver(room);
    // Loading again is refused until the first load has come in.
    window.view.statusBar()->clearMessage();
    QTRY_VERIFY((window.view.openScene(hall), !window.status().isEmpty()));
    QCoreApplication::processEvents();
    QVERIFY(!window.view.isVisible());
    QCOMPARE(window.view.scene(), scene);
}

// Window

void TestWindow::fullscreen()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    window.view.statusBar()->showMessage(QStringLiteral("as before"));
    window.view.toggleFullscreen();
    QVERIFY(!window.view.isFullScreen());
    QVERIFY(window.isIdle());
    QTRY_COMPARE(window.view.size(), QSize(640, 480));

    window.view.statusBar()->showMessage(QStringLiteral("as before"));
    window.view.toggleFullscreen();
    QVERIFY(window.view.isFullScreen());
    QVERIFY(window.isIdle());
    QTRY_COMPARE(window.view.size(), QSize(1280, 800));
    window.view.toggleFullscreen();
    QTRY_COMPARE(window.view.size(), QSize(640, 480));

    QTest::keyClick(&window.view, Qt::Key_Escape);
    QVERIFY(!window.view.isFullScreen());
    QTest::keyPress(&window.view, Qt::Key_F);
    QVERIFY(!window.view.isFullScreen());
    QTest::keyRelease(&window.view, Qt::Key_F);
    QVERIFY(window.view.isFullScreen());
    QTest::keyPress(&window.view, Qt::Key_Escape);
    QVERIFY(window.view.isFullScreen());
    QTest::keyRelease(&window.view, Qt::Key_Escape);
    QVERIFY(!window.view.isFullScreen());

    QKeyEvent repeated(QEvent::KeyRelease, Qt::Key_F, Qt::NoModifier, QStringLiteral("f"), true);
    QCoreApplication::sendEvent(&window.view, &repeated);
    QVERIFY(!window.view.isFullScreen());
}

void TestWindow::heldFullscreenKeySwitchesOnce()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    const auto send = [&window](QEvent::Type type, unsigned long time) {
        QKeyEvent event(type, Qt::Key_F, Qt::NoModifier, QStringLiteral("f"));
        event.setTimestamp(time);
        QCoreApplication::sendEvent(&window.view, &event);
    };
    // As from a system that does not say which events it repeats.
    send(QEvent::KeyPress, 1000);
    for (unsigned long time = 1500; time < 1800; time += 30) {
        send(QEvent::KeyRelease, time);
        QVERIFY(!window.view.isFullScreen());
        send(QEvent::KeyPress, time);
    }
    send(QEvent::KeyRelease, 1810);
    QVERIFY(!window.view.isFullScreen());
}

void TestWindow::windowSizeIsStored()
{
    {
        const MainView view;
        QCOMPARE(view.size(), QSize(640, 480));
    }
    {
        MainView view;
        view.show();
        view.resize(700, 500);
        view.close();
    }
    QSettings settings(QCoreApplication::organizationName(), QCoreApplication::applicationName());
    QCOMPARE(settings.value(QStringLiteral("MainWindow/size")).toSize(), QSize(700, 500));
    const MainView view;
    QCOMPARE(view.size(), QSize(700, 500));
}

int main(int argc, char *argv[])
{
    return runOnVirtualScreen<TestWindow>(argc, argv);
}

#include "tst_window.moc"
