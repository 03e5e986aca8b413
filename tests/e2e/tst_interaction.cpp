#include "CameraMotion.h"
#include "Matrices.h"
#include "ViewerWindow.h"

#include <QDialog>

#include <functional>

using namespace Quorvel;

namespace
{

/// Its camera stands at (0, 0, 10) and looks along -z at the scene's centre, the origin.
const QString room = QStringLiteral(QUORVEL_FIXTURES "/window/room.dae");

/// Finds the timer whose time-out makes a condition true.
class TimerFinder : public QObject
{
public:
    explicit TimerFinder(const std::function<bool()> &condition) : m_condition(condition)
    {
        qApp->installEventFilter(this);
    }

    /// Waits for it; null if it does not come.
    QTimer *find()
    {
        return QTest::qWaitFor([this] { return m_found; }, 10000) ? m_found : nullptr;
    }

protected:
    bool eventFilter(QObject *receiver, QEvent *event) override
    {
        auto *const timer = qobject_cast<QTimer *>(receiver);
        if (m_found || !timer || event->type() != QEvent::Timer || m_condition())
            return false;
        receiver->event(event);
        if (m_condition())
            m_found = timer;
        return true;
    }

private:
    std::function<bool()> m_condition;
    QTimer *m_found = nullptr;
};

} // namespace

/// Pointer, wheel and keys to camera, quality and options.
class TestInteraction : public QObject
{
    Q_OBJECT

private slots:
    void drag_data();
    void drag();
    void otherButtonDoesNotMove();
    void dragGoesOnFromTheLastPosition();
    void doubleClickMovesUntilRelease();
    void dialogEndsADrag();
    void swapEndsADrag();
    void wheel_data();
    void wheel();
    void heldKeys_data();
    void heldKeys();
    void cursors();
    void inputWithoutScene();

    void qualityDropsAndComesBack();
    void qualityTimer();
    void qualityStaysWithTheOptionOff();
    void setCameraTransform();
    void animationTurnsTheCamera();
    void animationClearsLowQuality();
    void animationTimer();
    void animationInterval();
    void options();
};

// Pointer, wheel and keys

void TestInteraction::drag_data()
{
    QTest::addColumn<QPoint>("position");
    QTest::addColumn<QPoint>("delta");
    QTest::addColumn<QMatrix4x4>("expected");
    QTest::addColumn<int>("cursor");

    const QMatrix4x4 before = translation(0, 0, 10);
    const auto orbited = [&before](float horizontal, float vertical) {
        const QMatrix4x4 turned = CameraMotion::orbitHorizontal(before, before, QVector3D(), horizontal);
        return CameraMotion::orbitVertical(turned, turned, QVector3D(), vertical);
    };
    const int width = 1280;
    QTest::newRow("right turns left")
        << QPoint(400, 300) << QPoint(10, 0) << orbited(-4, 0) << int(Qt::PointingHandCursor);
    QTest::newRow("down turns up") << QPoint(400, 300) << QPoint(0, 5) << orbited(0, -2)
                                   << int(Qt::PointingHandCursor);
    QTest::newRow("horizontally first")
        << QPoint(400, 300) << QPoint(-50, 100) << orbited(20, -40) << int(Qt::PointingHandCursor);
    QTest::newRow("right of the left band")
        << QPoint(64, 300) << QPoint(10, 20) << orbited(-4, -8) << int(Qt::PointingHandCursor);
    QTest::newRow("left of the right band")
        << QPoint(width - 64, 300) << QPoint(10, 20) << orbited(-4, -8) << int(Qt::PointingHandCursor);
    QTest::newRow("left band, down") << QPoint(63, 300) << QPoint(7, 20) << CameraMotion::roll(before, -8)
                                     << int(Qt::SizeBDiagCursor);
    QTest::newRow("left band, up") << QPoint(0, 300) << QPoint(7, -20) << CameraMotion::roll(before, 8)
                                   << int(Qt::SizeBDiagCursor);
    // 20 pixels of 0.009, times the distance of 10.
    QTest::newRow("right band, down")
        << QPoint(width - 63, 300) << QPoint(-7, 20) << translation(0, 0, 11.8f) << int(Qt::SizeBDiagCursor);
    QTest::newRow("right band, up") << QPoint(width - 1, 300) << QPoint(7, -20) << translation(0, 0, 8.2f)
                                    << int(Qt::SizeBDiagCursor);
}

void TestInteraction::drag()
{
    QFETCH(QPoint, position);
    QFETCH(QPoint, delta);
    QFETCH(QMatrix4x4, expected);
    QFETCH(int, cursor);

    ViewerWindow window;
    QVERIFY(window.open(room));
    window.press(position);
    QCOMPARE(int(window.cursor()), cursor);
    QVERIFY(window.state().lowQuality());
    window.moveTo(position + delta);
    QVERIFY(isNear(window.camera(), expected));
    window.release(position + delta);
    QVERIFY(isNear(window.camera(), expected));
    QCOMPARE(window.cursor(), Qt::ArrowCursor);
}

void TestInteraction::otherButtonDoesNotMove()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    window.mouse(QEvent::MouseButtonPress, {20, 300}, Qt::RightButton, Qt::RightButton);
    QCOMPARE(window.cursor(), Qt::ArrowCursor);
    QVERIFY(window.state().lowQuality());
    window.moveTo({120, 350}, Qt::RightButton);
    window.moveTo({140, 350}, Qt::NoButton);
    QCOMPARE(window.camera(), translation(0, 0, 10));
}

void TestInteraction::dragGoesOnFromTheLastPosition()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    window.press({600, 300});
    window.moveTo({610, 300});
    // Without the left button a move is remembered and turns nothing.
    window.moveTo({800, 300}, Qt::RightButton);
    window.moveTo({790, 300});
    QVERIFY(isNear(window.camera(), translation(0, 0, 10)));
}

void TestInteraction::doubleClickMovesUntilRelease()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    const QPoint position(600, 300);
    window.press(position);
    window.release(position);
    window.doubleClick(position);
    QCOMPARE(window.cursor(), Qt::SizeAllCursor);
    window.moveTo(position + QPoint(20, 40));
    // 20 and 40 pixels of 0.0015, times the distance of 10: the scene follows the pointer.
    const QMatrix4x4 moved = translation(-0.3f, 0.6f, 10);
    QVERIFY(isNear(window.camera(), moved));
    window.release(position + QPoint(20, 40));
    QCOMPARE(window.cursor(), Qt::ArrowCursor);

    window.press(position);
    window.moveTo(position + QPoint(10, 0));
    QVERIFY(isNear(window.camera(), CameraMotion::orbitHorizontal(moved, moved, QVector3D(), -4)));
}

/// The button that is let go of over a dialog is never heard of.
void TestInteraction::dialogEndsADrag()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    window.press(QPoint(window.view.width() - 10, 300));
    QCOMPARE(window.cursor(), Qt::SizeBDiagCursor);
    QVERIFY(window.state().lowQuality());
    QTimer::singleShot(0, [] { qobject_cast<QDialog *>(QApplication::activeModalWidget())->reject(); });
    window.view.showAbout();
    QCOMPARE(window.cursor(), Qt::ArrowCursor);
    QTRY_VERIFY(!window.state().lowQuality());
}

void TestInteraction::swapEndsADrag()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    window.press(QPoint(10, 300));
    QCOMPARE(window.cursor(), Qt::SizeBDiagCursor);
    window.view.showStartScreen();
    QCOMPARE(window.cursor(), Qt::ArrowCursor);
}

void TestInteraction::wheel_data()
{
    QTest::addColumn<int>("delta");
    QTest::addColumn<float>("distance");
    QTest::newRow("forward") << 120 << 8.8f;
    QTest::newRow("two notches back") << -240 << 12.4f;
    QTest::newRow("part of a notch") << 15 << 9.85f;
}

void TestInteraction::wheel()
{
    QFETCH(int, delta);
    QFETCH(float, distance);
    ViewerWindow window;
    QVERIFY(window.open(room));
    window.wheel(delta);
    QVERIFY(isNear(window.camera(), translation(0, 0, distance)));
    QVERIFY(window.state().lowQuality());
    QTRY_VERIFY(!window.state().lowQuality());
}

void TestInteraction::heldKeys_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<QMatrix4x4>("expected");
    QTest::newRow("Z zooms") << int(Qt::Key_Z) << translation(0, 0, 11.8f);
    QTest::newRow("X moves") << int(Qt::Key_X) << translation(-0.15f, 0.3f, 10);
}

void TestInteraction::heldKeys()
{
    QFETCH(int, key);
    QFETCH(QMatrix4x4, expected);
    ViewerWindow window;
    QVERIFY(window.open(room));
    QTest::keyPress(&window.view, Qt::Key(key));
    window.press({600, 300});
    QCOMPARE(window.cursor(), Qt::PointingHandCursor);
    window.moveTo({610, 320});
    QVERIFY(isNear(window.camera(), expected));

    QKeyEvent repeated(QEvent::KeyRelease, key, Qt::NoModifier, QString(), true);
    QCoreApplication::sendEvent(&window.view, &repeated);
    window.moveTo({600, 300});
    QCOMPARE(window.camera().mapVector(QVector3D(1, 1, 1)), QVector3D(1, 1, 1));
    QTest::keyRelease(&window.view, Qt::Key(key));
    const QMatrix4x4 before = window.camera();
    window.moveTo({610, 300});
    QVERIFY(isNear(window.camera(), CameraMotion::orbitHorizontal(before, before, QVector3D(), -4)));
}

void TestInteraction::cursors()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    QCOMPARE(window.cursor(), Qt::ArrowCursor);
    // The mode that a key has set stands in the middle, and gives way in the bands.
    QTest::keyPress(&window.view, Qt::Key_X);
    window.press({1260, 300});
    QCOMPARE(window.cursor(), Qt::SizeBDiagCursor);
    window.moveTo({1260, 310});
    QVERIFY(isNear(window.camera(), translation(0, 0, 10.9f)));
    window.release({1260, 310});
    QCOMPARE(window.cursor(), Qt::ArrowCursor);
}

void TestInteraction::inputWithoutScene()
{
    ViewerWindow window;
    for (const bool started : {false, true}) {
        if (started) {
            QVERIFY(window.start());
            window.view.initPipeline();
        }
        window.press({300, 200});
        window.moveTo({310, 220});
        window.release({310, 220});
        window.doubleClick({300, 200});
        window.moveTo({310, 220});
        window.release({310, 220});
        window.press({10, 200});
        window.moveTo({10, 220});
        window.release({10, 220});
        window.wheel(120);
        window.view.testAnimation();
        window.view.setCameraTransform(translation(1, 2, 3));
        QVERIFY(!window.view.scene()->activeCameraNode());
    }
}

// Quality

void TestInteraction::qualityDropsAndComesBack()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    window.press({600, 300});
    window.release({600, 300});
    QVERIFY(window.state().lowQuality());
    // A press before the 500 ms are over takes them back.
    window.press({600, 300});
    QTest::qWait(700);
    QVERIFY(window.state().lowQuality());
    QElapsedTimer timer;
    timer.start();
    window.release({600, 300});
    QTRY_VERIFY(!window.state().lowQuality());
    QVERIFY2(timer.elapsed() >= 450, qPrintable(QString::number(timer.elapsed())));
}

void TestInteraction::qualityTimer()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    TimerFinder finder([&window] { return !window.state().lowQuality(); });
    window.wheel(120);
    const QTimer *const timer = finder.find();
    QVERIFY(timer);
    QVERIFY(timer->isSingleShot());
    const auto isStarted = [timer] { return timer->isActive() && timer->interval() == 500; };

    const QPoint position(600, 300);
    window.press(position);
    QVERIFY(!timer->isActive());
    window.moveTo(position + QPoint(10, 0));
    QVERIFY(!timer->isActive());
    window.release(position);
    QVERIFY(isStarted());
    window.doubleClick(position);
    QVERIFY(!timer->isActive());
    window.release(position);
    QVERIFY(isStarted());
    window.view.testAnimation();
    QVERIFY(!timer->isActive());
    window.view.setCameraTransform(translation(0, 0, 5));
    QVERIFY(isStarted());
    window.view.toggleTestAnimation();
    window.view.testAnimation();
    window.view.toggleTestAnimation();
    QVERIFY(isStarted());
    // Another turn of the wheel takes the time from the start.
    QVERIFY(QTest::qWaitFor([timer] { return timer->remainingTime() < 250; }));
    window.wheel(120);
    QVERIFY(isStarted());
    QVERIFY(timer->remainingTime() > 250);
}

void TestInteraction::qualityStaysWithTheOptionOff()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    window.view.toggleLowQuality();
    window.press({600, 300});
    window.moveTo({610, 300});
    window.release({610, 300});
    window.wheel(120);
    window.view.setCameraTransform(translation(0, 0, 5));
    QVERIFY(!window.state().lowQuality());

    window.state().setLowQuality(true);
    window.view.highQualityPaint();
    QVERIFY(window.state().lowQuality());
    window.view.toggleLowQuality();
    window.view.highQualityPaint();
    QVERIFY(!window.state().lowQuality());
}

void TestInteraction::setCameraTransform()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    window.view.setCameraTransform(translation(1, 2, 3));
    QCOMPARE(window.camera(), translation(1, 2, 3));
    QVERIFY(window.state().lowQuality());
    QTRY_VERIFY(!window.state().lowQuality());
}

// Test animation

void TestInteraction::animationTurnsTheCamera()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    const QMatrix4x4 before = window.camera();
    window.view.testAnimation();
    QVERIFY(isNear(window.camera(), CameraMotion::orbitHorizontal(before, before, QVector3D(), 1)));
    QVERIFY(window.state().lowQuality());
}

void TestInteraction::animationClearsLowQuality()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    window.view.toggleLowQuality();
    window.state().setLowQuality(true);
    window.view.testAnimation();
    QVERIFY(!window.state().lowQuality());
}

void TestInteraction::animationTimer()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    const QMatrix4x4 before = window.camera();
    window.view.toggleTestAnimation();
    QVERIFY(window.state().animating());
    QTRY_VERIFY(window.state().lowQuality());
    QTRY_VERIFY(window.camera() != before);
    window.view.toggleTestAnimation();
    QVERIFY(!window.state().animating());
    const QMatrix4x4 after = window.camera();
    QTRY_VERIFY(!window.state().lowQuality());
    QCOMPARE(window.camera(), after);
}

void TestInteraction::animationInterval()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    const QMatrix4x4 before = window.camera();
    TimerFinder finder([&] { return window.camera() != before; });
    window.view.toggleTestAnimation();
    const QTimer *const timer = finder.find();
    QVERIFY(timer);
    QCOMPARE(timer->interval(), 16);
    QVERIFY(!timer->isSingleShot());
    QVERIFY(timer->isActive());
    window.view.toggleTestAnimation();
    QVERIFY(!timer->isActive());
}

void TestInteraction::options()
{
    ViewerWindow window;
    QVERIFY(window.open(room));
    const PainterState &state = window.state();
    const auto flags = [&state] {
        return QVector<bool>{state.backfaceCulling(), state.castShadows(), state.ambientOcclusion(),
                             state.outlines(),        state.lowQuality(),  state.animating()};
    };
    QCOMPARE(flags(), QVector<bool>({true, true, false, false, false, false}));
    window.view.toggleBackfaceCulling();
    QCOMPARE(flags(), QVector<bool>({false, true, false, false, false, false}));
    window.view.toggleCastShadows();
    QCOMPARE(flags(), QVector<bool>({false, false, false, false, false, false}));
    window.view.toggleAmbientOcclusion();
    QCOMPARE(flags(), QVector<bool>({false, false, true, false, false, false}));
    window.view.toggleOutlines();
    QCOMPARE(flags(), QVector<bool>({false, false, true, true, false, false}));
    window.view.toggleLowQuality();
    QCOMPARE(flags(), QVector<bool>({false, false, true, true, false, false}));
    window.view.toggleOutlines();
    QCOMPARE(flags(), QVector<bool>({false, false, true, false, false, false}));
}

int main(int argc, char *argv[])
{
    return runOnVirtualScreen<TestInteraction>(argc, argv);
}

#include "tst_interaction.moc"
