#include "CameraMotion.h"
#include "Matrices.h"

#include <QtTest>

using namespace Quorvel;

namespace
{

/// At (10, 0, 0), looking along -x.
const QMatrix4x4 fromTheRight(0, 0, 1, 10, //
                              0, 1, 0, 0,  //
                              -1, 0, 0, 0, //
                              0, 0, 0, 1);

/// At (0, 0, 10), looking along -z, its y axis along -x.
const QMatrix4x4 onItsSide(0, -1, 0, 0, //
                           1, 0, 0, 0,  //
                           0, 0, 1, 10, //
                           0, 0, 0, 1);

} // namespace

class TestCameraMotion : public QObject
{
    Q_OBJECT

private slots:
    void rollTurnsAboutTheViewingAxis();
    void orbitHorizontal_data();
    void orbitHorizontal();
    void orbitVertical_data();
    void orbitVertical();
    void orbitAxisIsTheNormalMatrixes();
    void orbitComesBackAfterFullCircle();
    void zoom_data();
    void zoom();
    void move_data();
    void move();
};

void TestCameraMotion::rollTurnsAboutTheViewingAxis()
{
    QVERIFY(isNear(CameraMotion::roll(translation(1, 2, 3), 90), QMatrix4x4(0, -1, 0, 1, //
                                                                            1, 0, 0, 2,  //
                                                                            0, 0, 1, 3,  //
                                                                            0, 0, 0, 1)));
    QVERIFY(isNear(CameraMotion::roll(fromTheRight, 90), QMatrix4x4(0, 0, 1, 10, //
                                                                    1, 0, 0, 0,  //
                                                                    0, 1, 0, 0,  //
                                                                    0, 0, 0, 1)));
}

void TestCameraMotion::orbitHorizontal_data()
{
    QTest::addColumn<QMatrix4x4>("local");
    QTest::addColumn<QMatrix4x4>("world");
    QTest::addColumn<QVector3D>("centre");
    QTest::addColumn<float>("angle");
    QTest::addColumn<QMatrix4x4>("expected");

    const QMatrix4x4 ahead = translation(0, 0, 10);
    QTest::newRow("quarter") << ahead << ahead << QVector3D() << 90.0f << fromTheRight;
    QTest::newRow("thirty degrees") << ahead << ahead << QVector3D() << 30.0f
                                    << QMatrix4x4(0.8660254f, 0, 0.5f, 5, //
                                                  0, 1, 0, 0,             //
                                                  -0.5f, 0, 0.8660254f, 8.660254f, 0, 0, 0, 1);
    QTest::newRow("centre elsewhere")
        << translation(1, 2, 13) << translation(1, 2, 13) << QVector3D(1, 2, 3) << 90.0f
        << QMatrix4x4(0, 0, 1, 11, //
                      0, 1, 0, 2,  //
                      -1, 0, 0, 3, //
                      0, 0, 0, 1);
    QTest::newRow("rolled camera turns about its own y axis")
        << onItsSide << onItsSide << QVector3D() << 90.0f
        << QMatrix4x4(0, -1, 0, 0, //
                      0, 0, 1, 10, //
                      -1, 0, 0, 0, //
                      0, 0, 0, 1);
    // The axis comes from the world transform, the product is taken with the local one.
    QTest::newRow("below a rolled parent") << ahead << onItsSide << QVector3D() << 90.0f
                                           << QMatrix4x4(1, 0, 0, 0,  //
                                                         0, 0, 1, 10, //
                                                         0, -1, 0, 0, //
                                                         0, 0, 0, 1);
}

void TestCameraMotion::orbitHorizontal()
{
    QFETCH(QMatrix4x4, local);
    QFETCH(QMatrix4x4, world);
    QFETCH(QVector3D, centre);
    QFETCH(float, angle);
    QFETCH(QMatrix4x4, expected);
    QVERIFY(isNear(CameraMotion::orbitHorizontal(local, world, centre, angle), expected));
}

void TestCameraMotion::orbitVertical_data()
{
    QTest::addColumn<QMatrix4x4>("local");
    QTest::addColumn<QVector3D>("centre");
    QTest::addColumn<float>("angle");
    QTest::addColumn<QMatrix4x4>("expected");

    QTest::newRow("quarter") << translation(0, 0, 10) << QVector3D() << 90.0f
                             << QMatrix4x4(1, 0, 0, 0,    //
                                           0, 0, -1, -10, //
                                           0, 1, 0, 0,    //
                                           0, 0, 0, 1);
    QTest::newRow("minus thirty degrees") << translation(0, 0, 10) << QVector3D() << -30.0f
                                          << QMatrix4x4(1, 0, 0, 0,                      //
                                                        0, 0.8660254f, 0.5f, 5,          //
                                                        0, -0.5f, 0.8660254f, 8.660254f, //
                                                        0, 0, 0, 1);
    QTest::newRow("centre elsewhere") << translation(1, 2, 13) << QVector3D(1, 2, 3) << 90.0f
                                      << QMatrix4x4(1, 0, 0, 1,   //
                                                    0, 0, -1, -8, //
                                                    0, 1, 0, 3,   //
                                                    0, 0, 0, 1);
    QTest::newRow("from the right") << fromTheRight << QVector3D() << 90.0f
                                    << QMatrix4x4(0, 1, 0, 0,    //
                                                  0, 0, -1, -10, //
                                                  -1, 0, 0, 0,   //
                                                  0, 0, 0, 1);
}

void TestCameraMotion::orbitVertical()
{
    QFETCH(QMatrix4x4, local);
    QFETCH(QVector3D, centre);
    QFETCH(float, angle);
    QFETCH(QMatrix4x4, expected);
    QVERIFY(isNear(CameraMotion::orbitVertical(local, local, centre, angle), expected));
}

void TestCameraMotion::orbitAxisIsTheNormalMatrixes()
{
    // Half as high after a turn by 45 degrees: the image of the y axis is (-1, 2, 0), its normal's is (-2, 1,
    // 0).
    QMatrix4x4 world;
    world.scale(1, 2, 1);
    world.rotate(45, 0, 0, 1);
    const QMatrix4x4 moved = CameraMotion::orbitHorizontal(translation(5, 0, 0), world, QVector3D(), 180);
    // p -> 2 (n.p) n - p with n = (-2, 1, 0) / sqrt(5)
    QVERIFY(isNear(moved, QMatrix4x4(0.6f, -0.8f, 0, 3,   //
                                     -0.8f, -0.6f, 0, -4, //
                                     0, 0, -1, 0,         //
                                     0, 0, 0, 1)));
}

void TestCameraMotion::orbitComesBackAfterFullCircle()
{
    const QVector3D centre(1, 2, 3);
    QMatrix4x4 local = translation(4, 6, 15);
    const QMatrix4x4 start = local;
    for (int degree = 0; degree < 180; ++degree)
        local = CameraMotion::orbitHorizontal(local, local, centre, 1);
    QVERIFY(qAbs((local.map(QVector3D()) - QVector3D(-2, 6, -9)).length()) < 1e-3f);
    for (int degree = 0; degree < 180; ++degree)
        local = CameraMotion::orbitHorizontal(local, local, centre, 1);
    QVERIFY(qAbs((local.map(QVector3D()) - start.map(QVector3D())).length()) < 1e-3f);
}

void TestCameraMotion::zoom_data()
{
    QTest::addColumn<QMatrix4x4>("local");
    QTest::addColumn<QMatrix4x4>("world");
    QTest::addColumn<QVector3D>("centre");
    QTest::addColumn<float>("amount");
    QTest::addColumn<QMatrix4x4>("expected");

    const QMatrix4x4 ahead = translation(0, 0, 10);
    QTest::newRow("one notch nearer") << ahead << ahead << QVector3D() << -0.12f << translation(0, 0, 8.8f);
    QTest::newRow("away") << ahead << ahead << QVector3D(0, 0, 6) << 0.5f << translation(0, 0, 12);
    QMatrix4x4 halfWay = fromTheRight;
    halfWay(0, 3) = 5;
    QTest::newRow("along the viewing axis")
        << fromTheRight << fromTheRight << QVector3D() << -0.5f << halfWay;
    QTest::newRow("not towards the centre")
        << translation(3, 4, 0) << translation(3, 4, 0) << QVector3D() << 0.2f << translation(3, 4, 1);
    QTest::newRow("at the centre") << ahead << ahead << QVector3D(0, 0, 10) << -0.5f << ahead;
    QTest::newRow("below a parent") << QMatrix4x4() << ahead << QVector3D() << 0.1f << translation(0, 0, 1);
    const QMatrix4x4 scaled(2, 0, 0, 0,  //
                            0, 2, 0, 0,  //
                            0, 0, 2, 10, //
                            0, 0, 0, 1);
    QMatrix4x4 scaledNearer = scaled;
    scaledNearer(2, 3) = 5;
    QTest::newRow("distance is in camera units") << scaled << scaled << QVector3D() << -0.5f << scaledNearer;
}

void TestCameraMotion::zoom()
{
    QFETCH(QMatrix4x4, local);
    QFETCH(QMatrix4x4, world);
    QFETCH(QVector3D, centre);
    QFETCH(float, amount);
    QFETCH(QMatrix4x4, expected);
    QVERIFY(isNear(CameraMotion::zoom(local, world, centre, amount), expected));
}

void TestCameraMotion::move_data()
{
    QTest::addColumn<QMatrix4x4>("local");
    QTest::addColumn<QMatrix4x4>("world");
    QTest::addColumn<QVector3D>("centre");
    QTest::addColumn<float>("right");
    QTest::addColumn<float>("up");
    QTest::addColumn<QMatrix4x4>("expected");

    const QMatrix4x4 ahead = translation(0, 0, 10);
    QTest::newRow("right and up") << ahead << ahead << QVector3D() << 0.1f << 0.2f << translation(1, 2, 10);
    QTest::newRow("left and down") << ahead << ahead << QVector3D(0, 0, 5) << -0.1f << -0.2f
                                   << translation(-0.5f, -1, 10);
    QMatrix4x4 aside = fromTheRight;
    aside(1, 3) = 2;
    aside(2, 3) = -1;
    QTest::newRow("along the camera's axes")
        << fromTheRight << fromTheRight << QVector3D() << 0.1f << 0.2f << aside;
    QTest::newRow("at the centre") << ahead << ahead << QVector3D(0, 0, 10) << 0.1f << 0.2f << ahead;
    QTest::newRow("below a rolled parent")
        << QMatrix4x4() << onItsSide << QVector3D() << 0.1f << 0.2f << translation(-2, 1, 0);
    const QMatrix4x4 scaled(2, 0, 0, 0,  //
                            0, 2, 0, 0,  //
                            0, 0, 2, 10, //
                            0, 0, 0, 1);
    QMatrix4x4 scaledAside = scaled;
    scaledAside(0, 3) = 0.25f;
    scaledAside(1, 3) = 0.5f;
    QTest::newRow("a scale divides axes and distance")
        << scaled << scaled << QVector3D() << 0.1f << 0.2f << scaledAside;
}

void TestCameraMotion::move()
{
    QFETCH(QMatrix4x4, local);
    QFETCH(QMatrix4x4, world);
    QFETCH(QVector3D, centre);
    QFETCH(float, right);
    QFETCH(float, up);
    QFETCH(QMatrix4x4, expected);
    QVERIFY(isNear(CameraMotion::move(local, world, centre, right, up), expected));
}

QTEST_APPLESS_MAIN(TestCameraMotion)
#include "tst_cameramotion.moc"
