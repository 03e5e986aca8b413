#include "Matrices.h"
#include "MouseMode.h"
#include "Node.h"
#include "SceneCamera.h"
#include "SceneSketch.h"

#include <QPointF>
#include <QtTest>

using namespace Quorvel;
using Mode = MouseMode::Mode;

Q_DECLARE_METATYPE(Quorvel::MouseMode::Mode)

namespace
{

/// A camera at (0, 0, 10) that looks along -z at the scene's centre, the origin.
struct View
{
    View() { sketch.camera(translation(0, 0, 10)); }

    SceneCamera camera() { return SceneCamera(&sketch.scene()); }
    QMatrix4x4 transform() { return sketch.scene().activeCameraNode()->localTransform(); }

    Test::SceneSketch sketch;
};

/// A press in the middle of a view.
Qt::CursorShape pressInTheMiddle(MouseMode *mouseMode)
{
    return mouseMode->press(320, 640);
}

} // namespace

class TestMouseMode : public QObject
{
    Q_OBJECT

private slots:
    void restsAtOrbit();
    void pressChoosesByBand_data();
    void pressChoosesByBand();
    void doubleClickMovesUntilRelease();
    void keys_data();
    void keys();
    void otherKeysAreNotTaken();
    void bandsWinOverKeys();
    void drag_data();
    void drag();
    void wheel_data();
    void wheel();
};

void TestMouseMode::restsAtOrbit()
{
    QCOMPARE(MouseMode().mode(), Mode::Orbit);
}

void TestMouseMode::pressChoosesByBand_data()
{
    QTest::addColumn<int>("x");
    QTest::addColumn<int>("width");
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<int>("cursor");
    const int diagonal = Qt::SizeBDiagCursor;
    const int hand = Qt::PointingHandCursor;
    QTest::newRow("left edge") << 0 << 640 << Mode::Roll << diagonal;
    QTest::newRow("last of the left band") << 63 << 640 << Mode::Roll << diagonal;
    QTest::newRow("first of the middle") << 64 << 640 << Mode::Orbit << hand;
    QTest::newRow("last of the middle") << 576 << 640 << Mode::Orbit << hand;
    QTest::newRow("first of the right band") << 577 << 640 << Mode::Zoom << diagonal;
    QTest::newRow("right edge") << 639 << 640 << Mode::Zoom << diagonal;
    QTest::newRow("wider view") << 639 << 1280 << Mode::Orbit << hand;
    // Where the bands overlap, the right one counts.
    QTest::newRow("both bands") << 50 << 100 << Mode::Zoom << diagonal;
    QTest::newRow("left band alone") << 36 << 100 << Mode::Roll << diagonal;
}

void TestMouseMode::pressChoosesByBand()
{
    QFETCH(int, x);
    QFETCH(int, width);
    QFETCH(Mode, mode);
    QFETCH(int, cursor);
    MouseMode mouseMode;
    QCOMPARE(int(mouseMode.press(x, width)), cursor);
    QCOMPARE(mouseMode.mode(), mode);
    QCOMPARE(mouseMode.release(), Qt::ArrowCursor);
    QCOMPARE(mouseMode.mode(), Mode::Orbit);
}

void TestMouseMode::doubleClickMovesUntilRelease()
{
    MouseMode mouseMode;
    QCOMPARE(mouseMode.doubleClick(), Qt::SizeAllCursor);
    QCOMPARE(mouseMode.mode(), Mode::Move);
    // A second button in the middle keeps the mode.
    QCOMPARE(pressInTheMiddle(&mouseMode), Qt::PointingHandCursor);
    QCOMPARE(mouseMode.mode(), Mode::Move);
    QCOMPARE(mouseMode.release(), Qt::ArrowCursor);
    QCOMPARE(mouseMode.mode(), Mode::Orbit);
}

void TestMouseMode::keys_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<Mode>("mode");
    QTest::newRow("Z") << int(Qt::Key_Z) << Mode::Zoom;
    QTest::newRow("X") << int(Qt::Key_X) << Mode::Move;
}

void TestMouseMode::keys()
{
    QFETCH(int, key);
    QFETCH(Mode, mode);
    MouseMode mouseMode;
    QVERIFY(mouseMode.pressKey(key));
    QCOMPARE(mouseMode.mode(), mode);
    pressInTheMiddle(&mouseMode);
    QCOMPARE(mouseMode.mode(), mode);
    QVERIFY(mouseMode.releaseKey(key));
    QCOMPARE(mouseMode.mode(), Mode::Orbit);
}

void TestMouseMode::otherKeysAreNotTaken()
{
    MouseMode mouseMode;
    mouseMode.pressKey(Qt::Key_Z);
    for (const int key : {Qt::Key_B, Qt::Key_F, Qt::Key_Q, Qt::Key_Y, Qt::Key_Shift}) {
        QVERIFY(!mouseMode.pressKey(key));
        QVERIFY(!mouseMode.releaseKey(key));
    }
    QCOMPARE(mouseMode.mode(), Mode::Zoom);
}

void TestMouseMode::bandsWinOverKeys()
{
    MouseMode mouseMode;
    mouseMode.pressKey(Qt::Key_X);
    mouseMode.press(0, 640);
    QCOMPARE(mouseMode.mode(), Mode::Roll);
    mouseMode.pressKey(Qt::Key_X);
    mouseMode.press(639, 640);
    QCOMPARE(mouseMode.mode(), Mode::Zoom);
}

void TestMouseMode::drag_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<QPointF>("delta");
    QTest::addColumn<QMatrix4x4>("expected");
    // 225 pixels of 0.4 degrees are a quarter of a circle.
    QTest::newRow("orbit to the left") << Mode::Orbit << QPointF(-225, 0)
                                       << QMatrix4x4(0, 0, 1, 10, //
                                                     0, 1, 0, 0,  //
                                                     -1, 0, 0, 0, //
                                                     0, 0, 0, 1);
    QTest::newRow("orbit down") << Mode::Orbit << QPointF(0, 225)
                                << QMatrix4x4(1, 0, 0, 0,  //
                                              0, 0, 1, 10, //
                                              0, -1, 0, 0, //
                                              0, 0, 0, 1);
    // To (10, 0, 0) first, then up about what is the camera's x axis there, -z. The other way round it would
    // end at (10, 0, 0).
    QTest::newRow("orbit to the left and down") << Mode::Orbit << QPointF(-225, 225)
                                                << QMatrix4x4(0, -1, 0, 0, //
                                                              0, 0, 1, 10, //
                                                              -1, 0, 0, 0, //
                                                              0, 0, 0, 1);
    QTest::newRow("roll up") << Mode::Roll << QPointF(30, -225)
                             << QMatrix4x4(0, -1, 0, 0, //
                                           1, 0, 0, 0,  //
                                           0, 0, 1, 10, //
                                           0, 0, 0, 1);
    // 100 pixels of 0.009, and 200 and 100 of 0.0015, times the distance of 10.
    QTest::newRow("zoom down") << Mode::Zoom << QPointF(30, 100) << translation(0, 0, 19);
    QTest::newRow("move") << Mode::Move << QPointF(200, 100) << translation(-3, 1.5f, 10);
}

void TestMouseMode::drag()
{
    QFETCH(Mode, mode);
    QFETCH(QPointF, delta);
    QFETCH(QMatrix4x4, expected);
    MouseMode mouseMode;
    if (mode == Mode::Zoom)
        mouseMode.press(639, 640);
    else if (mode == Mode::Roll)
        mouseMode.press(0, 640);
    else if (mode == Mode::Move)
        mouseMode.doubleClick();
    QCOMPARE(mouseMode.mode(), mode);
    View view;
    mouseMode.drag(delta, view.camera());
    QVERIFY(isNear(view.transform(), expected));
    QCOMPARE(mouseMode.mode(), mode);
}

void TestMouseMode::wheel_data()
{
    QTest::addColumn<int>("angle");
    QTest::addColumn<float>("distance");
    QTest::newRow("a notch forward") << 120 << 8.8f;
    QTest::newRow("two notches back") << -240 << 12.4f;
    QTest::newRow("part of a notch") << 15 << 9.85f;
    QTest::newRow("sideways") << 0 << 10.0f;
}

void TestMouseMode::wheel()
{
    QFETCH(int, angle);
    QFETCH(float, distance);
    View view;
    MouseMode::turnWheel(angle, view.camera());
    QVERIFY(isNear(view.transform(), translation(0, 0, distance)));
}

QTEST_APPLESS_MAIN(TestMouseMode)
#include "tst_mousemode.moc"
