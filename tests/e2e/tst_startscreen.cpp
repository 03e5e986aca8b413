#include "GlObjectCount.h"
#include "HeldFile.h"
#include "ViewerWindow.h"

#include <QGridLayout>
#include <QPointer>
#include <QSignalMapper>

using namespace Quorvel;

namespace
{

const QString room = QStringLiteral(QUORVEL_FIXTURES "/window/room.dae");
const QString logo = QStringLiteral(":/models/logo.DAE");

const QStringList samples = {QStringLiteral("bedroom"), QStringLiteral("spiral"), QStringLiteral("quorvel"),
                             QStringLiteral("microscope"), QStringLiteral("objects")};
const QVector<Qt::Key> keys = {Qt::Key_A, Qt::Key_S, Qt::Key_D, Qt::Key_F, Qt::Key_G};

QString titleOf(const QString &sample)
{
    return QStringLiteral("/%1.DAE - Quorvel").arg(sample);
}

/// Whether the window shows that sample as a completed load leaves it.
bool isShown(const ViewerWindow &window, const QString &sample)
{
    return window.title() == titleOf(sample) && window.view.isFullScreen() &&
           window.view.centralWidget() == window.view.pipeline();
}

} // namespace

/// The start screen, and the ways from it to a sample and back.
class TestStartScreen : public QObject
{
    Q_OBJECT

private slots:
    void isLaidOut();
    void thumbnailsAreNamed();
    void logoSpins();
    void firstFramesAreDrawn();

    void clickOpensSample_data();
    void clickOpensSample();
    void keyOpensSample_data();
    void keyOpensSample();
    void fKeyClicksAndGoesFullScreen();
    void heldKeyClicksOnce();
    void keysWithoutStartScreen();
    void secondClickDuringLoad();

    void backDoesNothingOnTheStartScreen();
    void backBeforeTheEngineIsUp();
    void backLeavesFullScreen();
    void backDuringLoad();
    void fullScreenTakesTheLogoAlong();
    void keysReachTheWindow();
    void swapsLeaveNothingBehind();
};

void TestStartScreen::isLaidOut()
{
    ViewerWindow window;
    QVERIFY(window.start());
    QCOMPARE(window.view.size(), QSize(640, 480));
    auto *const grid = qobject_cast<QGridLayout *>(window.startScreen()->layout());
    QVERIFY(grid);
    QCOMPARE(grid->count(), 6);
    const QList<QToolButton *> thumbnails = window.thumbnails();
    QCOMPARE(thumbnails.size(), 5);
    int row = 0;
    int column = 0;
    int rows = 0;
    int columns = 0;
    for (int i = 0; i < 5; ++i) {
        grid->getItemPosition(grid->indexOf(thumbnails[i]), &row, &column, &rows, &columns);
        QCOMPARE(row, 0);
        QCOMPARE(column, i);
        QCOMPARE(thumbnails[i]->iconSize(), QSize(128, 86));
        QVERIFY(!thumbnails[i]->icon().pixmap(128, 86).isNull());
        // The whole picture is to be seen.
        QTRY_VERIFY(thumbnails[i]->width() >= 128 && thumbnails[i]->height() >= 86);
    }
    grid->getItemPosition(grid->indexOf(window.view.pipeline()), &row, &column, &rows, &columns);
    QVERIFY(row == 1 && column == 0 && rows == 1 && columns == 5);
    QCOMPARE(window.view.pipeline()->width(), window.view.width());
    QVERIFY(window.view.pipeline()->height() > 300);
}

void TestStartScreen::thumbnailsAreNamed()
{
    ViewerWindow window;
    QVERIFY(window.start());
    QSet<QString> names;
    const QList<QToolButton *> thumbnails = window.thumbnails();
    for (int i = 0; i < thumbnails.size(); ++i) {
        names.insert(thumbnails[i]->accessibleName());
        QVERIFY(thumbnails[i]->toolTip().contains(thumbnails[i]->accessibleName()));
        QVERIFY(
            thumbnails[i]->toolTip().endsWith(QStringLiteral("(%1)").arg(QKeySequence(keys[i]).toString())));
    }
    QCOMPARE(names.size(), 5);
    QVERIFY(!names.contains(QString()));
}

void TestStartScreen::logoSpins()
{
    ViewerWindow window;
    QVERIFY(window.start());
    QCOMPARE(window.view.scene()->name(), logo);
    QCOMPARE(window.state().scene(), window.view.scene());
    QVERIFY(window.state().animating());
    const QMatrix4x4 before = window.camera();
    QTRY_VERIFY(window.camera() != before);
}

void TestStartScreen::firstFramesAreDrawn()
{
    // The engine comes up in the middle of a frame, lets go of its context and takes it back.
    ViewerWindow window;
    QVERIFY(window.start());
    Pipeline *const pipeline = window.view.pipeline();
    pipeline->makeCurrent();
    QCOMPARE(glGetError(), GLenum(GL_NO_ERROR));
    const auto hasPicture = [pipeline] {
        const QImage picture = pipeline->grabFrameBuffer();
        QSet<QRgb> colors;
        for (int x = 0; x < picture.width(); x += 5) {
            for (int y = 0; y < picture.height(); y += 5)
                colors.insert(picture.pixel(x, y));
        }
        return picture.size() == pipeline->size() && colors.size() > 1;
    };
    QTRY_VERIFY(hasPicture());
    pipeline->makeCurrent();
    QCOMPARE(glGetError(), GLenum(GL_NO_ERROR));
}

// To a sample

void TestStartScreen::clickOpensSample_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < samples.size(); ++i)
        QTest::newRow(qPrintable(samples[i])) << i;
}

void TestStartScreen::clickOpensSample()
{
    QFETCH(int, index);
    ViewerWindow window;
    QVERIFY(window.start());
    const QPointer<StartScreen> startScreen = window.startScreen();
    QTest::mouseClick(window.thumbnails().at(index), Qt::LeftButton);
    QCOMPARE(window.status(), QStringLiteral("Loading /%1.DAE ...").arg(samples[index]));
    QVERIFY(!window.state().animating());
    QTRY_VERIFY(isShown(window, samples[index]));
    QCOMPARE(window.view.scene()->name(), QStringLiteral(":/models/%1.DAE").arg(samples[index]));
    QVERIFY(window.isIdle());
    QTRY_VERIFY(!startScreen);
}

void TestStartScreen::keyOpensSample_data()
{
    clickOpensSample_data();
}

void TestStartScreen::keyOpensSample()
{
    QFETCH(int, index);
    ViewerWindow window;
    QVERIFY(window.start());
    QTest::keyClick(&window.view, keys[index]);
    QTRY_VERIFY(isShown(window, samples[index]));
}

void TestStartScreen::fKeyClicksAndGoesFullScreen()
{
    ViewerWindow window;
    QVERIFY(window.start());
    QTest::keyPress(&window.view, Qt::Key_F);
    QVERIFY(window.thumbnails().at(3)->isDown());
    QVERIFY(!window.view.isFullScreen());
    QCOMPARE(window.view.scene()->name(), logo);
    QTest::keyRelease(&window.view, Qt::Key_F);
    QVERIFY(window.view.isFullScreen());
    QVERIFY(!window.startScreen());
    QTRY_VERIFY(isShown(window, QStringLiteral("microscope")));
    // That was the only load.
    QTest::qWait(300);
    QVERIFY(window.isIdle());
    QVERIFY(isShown(window, QStringLiteral("microscope")));
}

void TestStartScreen::heldKeyClicksOnce()
{
    ViewerWindow window;
    QVERIFY(window.start());
    QTest::keyPress(&window.view, Qt::Key_S);
    QTRY_VERIFY(!window.thumbnails().value(1) || !window.thumbnails().at(1)->isDown());
    for (int i = 0; i < 5; ++i) {
        QKeyEvent repeated(QEvent::KeyPress, Qt::Key_S, Qt::NoModifier, QStringLiteral("s"), true);
        QCoreApplication::sendEvent(&window.view, &repeated);
        QVERIFY(!window.thumbnails().value(1) || !window.thumbnails().at(1)->isDown());
    }
    QTRY_VERIFY(isShown(window, QStringLiteral("spiral")));
}

void TestStartScreen::keysWithoutStartScreen()
{
    for (const bool engineIsUp : {false, true}) {
        ViewerWindow window;
        if (engineIsUp)
            QVERIFY(window.open(room));
        const QString title = window.title();
        const QString status = window.status();
        for (const Qt::Key key : {Qt::Key_A, Qt::Key_S, Qt::Key_D, Qt::Key_G})
            QTest::keyClick(&window.view, key);
        QTest::keyPress(&window.view, Qt::Key_F);
        QTest::qWait(150);
        QCOMPARE(window.title(), title);
        QCOMPARE(window.status(), status);
    }
}

void TestStartScreen::secondClickDuringLoad()
{
    ViewerWindow window;
    QVERIFY(window.start());
    HeldFile held(QStringLiteral("held.dae"));
    window.view.openScene(held.path());
    for (const int thumbnail : {2, 2, 4}) {
        QTest::mouseClick(window.thumbnails().at(thumbnail), Qt::LeftButton);
        QTest::keyClick(&window.view, Qt::Key_S);
        QTest::qWait(150);
        QCOMPARE(window.status(), QStringLiteral("Loading /held.dae ..."));
    }
    held.deliver(room);
    QTRY_COMPARE(window.title(), QStringLiteral("/held.dae - Quorvel"));
    QTest::qWait(300);
    QCOMPARE(window.title(), QStringLiteral("/held.dae - Quorvel"));
}

// And back

void TestStartScreen::backDoesNothingOnTheStartScreen()
{
    ViewerWindow window;
    QVERIFY(window.start());
    StartScreen *const startScreen = window.startScreen();
    const Scene *const scene = window.view.scene();
    window.view.toggleTestAnimation();
    window.view.statusBar()->showMessage(QStringLiteral("as before"));
    window.view.showStartScreen();
    QTest::keyClick(&window.view, Qt::Key_B);
    QCOMPARE(window.startScreen(), startScreen);
    QCOMPARE(window.view.scene(), scene);
    QVERIFY(!window.state().animating());
    QCOMPARE(window.status(), QStringLiteral("as before"));
}

void TestStartScreen::backBeforeTheEngineIsUp()
{
    ViewerWindow window;
    QTest::keyClick(&window.view, Qt::Key_B);
    QVERIFY(!window.startScreen());
    QVERIFY(window.start());
    QCOMPARE(window.view.scene()->name(), logo);
    QVERIFY(window.state().animating());
}

void TestStartScreen::backLeavesFullScreen()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    const Pipeline *const pipeline = window.view.pipeline();
    QTest::keyClick(&window.view, Qt::Key_B);
    QVERIFY(!window.view.isFullScreen());
    QVERIFY(window.startScreen());
    QCOMPARE(window.view.pipeline(), pipeline);
    QVERIFY(window.startScreen()->isAncestorOf(pipeline));
    QCOMPARE(window.view.scene()->name(), logo);
    QVERIFY(window.state().animating());
    QVERIFY(window.isIdle());
    // The scene that was left goes on giving the title, until the next is opened.
    QCOMPARE(window.title(), QStringLiteral("/room.dae - Quorvel"));
    QTRY_COMPARE(window.view.size(), QSize(640, 480));
    QTRY_VERIFY(pipeline->isVisible());
}

void TestStartScreen::backDuringLoad()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    HeldFile held(QStringLiteral("held.dae"));
    window.view.openScene(held.path());
    window.view.showStartScreen();
    QVERIFY(window.startScreen());
    held.deliver(room);
    QTRY_COMPARE(window.title(), QStringLiteral("/held.dae - Quorvel"));
    QVERIFY(window.view.isFullScreen());
    QCOMPARE(window.view.centralWidget(), window.view.pipeline());
}

void TestStartScreen::fullScreenTakesTheLogoAlong()
{
    ViewerWindow window;
    QVERIFY(window.start());
    const QPointer<StartScreen> startScreen = window.startScreen();
    window.view.toggleFullscreen();
    QCOMPARE(window.view.centralWidget(), window.view.pipeline());
    QVERIFY(window.view.isFullScreen());
    QCOMPARE(window.view.scene()->name(), logo);
    QVERIFY(window.state().animating());
    QTRY_VERIFY(!startScreen);
    window.view.toggleFullscreen();
    QVERIFY(!window.view.isFullScreen());
    QVERIFY(!window.startScreen());
}

void TestStartScreen::keysReachTheWindow()
{
    ViewerWindow window;
    QVERIFY(window.start());
    for (int swap = 0; swap < 3; ++swap) {
        QTRY_VERIFY(window.view.isActiveWindow());
        QVERIFY(window.view.hasFocus());
        window.view.openScene(room);
        QTRY_VERIFY(window.view.isFullScreen());
        QTRY_VERIFY(window.view.isActiveWindow());
        QVERIFY(window.view.hasFocus());
        window.view.showStartScreen();
    }
    // Focus on a thumbnail takes the space bar, and leaves the other keys to the window.
    window.thumbnails().at(1)->setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_D);
    QTRY_VERIFY(isShown(window, QStringLiteral("quorvel")));
}

void TestStartScreen::swapsLeaveNothingBehind()
{
    ViewerWindow window;
    QVERIFY(window.start());
    const Pipeline *const pipeline = window.view.pipeline();
    const auto there = [&window] {
        window.view.openScene(QStringLiteral(":/models/quorvel.DAE"));
        return QTest::qWaitFor([&window] { return isShown(window, QStringLiteral("quorvel")); });
    };
    // A surface that is on its way between two places does not draw, and what the spinning logo has drawn is
    // of low quality, without shadow maps.
    const auto draw = [&window] {
        Pipeline *const pipeline = window.view.pipeline();
        return QTest::qWaitFor([&window, pipeline] {
            if (!pipeline->testAttribute(Qt::WA_Mapped) || !pipeline->windowHandle()->isExposed())
                return false;
            window.state().setLowQuality(false);
            pipeline->updateGL();
            pipeline->makeCurrent();
            return GlObjectCount().buffers > 0;
        });
    };
    const auto counted = [&window] {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        window.view.pipeline()->makeCurrent();
        return QStringLiteral("%1; %2 children, %3 windows")
            .arg(GlObjectCount().text())
            .arg(window.view.findChildren<QWidget *>().size() +
                 window.view.findChildren<QSignalMapper *>().size())
            .arg(QApplication::topLevelWidgets().size());
    };
    // The first rounds make what is kept from then on: programs.
    QString atStart;
    QString atSample;
    for (int round = 0; round < 50; ++round) {
        QVERIFY(there());
        QVERIFY(draw());
        const QString sample = counted();
        window.view.setWindowTitle(QString());
        window.view.showStartScreen();
        QVERIFY(draw());
        const QString start = counted();
        QVERIFY(start != sample);
        if (round == 2) {
            atStart = start;
            atSample = sample;
        }
        if (round > 2) {
            QCOMPARE(sample, atSample);
            QCOMPARE(start, atStart);
        }
        QCOMPARE(window.view.pipeline(), pipeline);
    }
    window.view.pipeline()->deletePainter();
    const QString withoutPainter = counted();
    QVERIFY2(
        withoutPainter.startsWith(QLatin1String("0 textures, 0 buffers, 0 framebuffers, 0 renderbuffers")),
        qPrintable(withoutPainter));
    window.view.pipeline()->makeCurrent();
    QCOMPARE(glGetError(), GLenum(GL_NO_ERROR));
}

int main(int argc, char *argv[])
{
    return runOnVirtualScreen<TestStartScreen>(argc, argv);
}

#include "tst_startscreen.moc"
