#include "Light.h"
#include "LightUniforms.h"
#include "Node.h"
#include "PainterState.h"
#include "SceneSketch.h"
#include "ShadowMatrices.h"

#include <QtTest>

#include <cmath>

using namespace Quorvel;
using namespace Quorvel::Test;

/// Where lights see things: by hand, without GL.
class TestShadowMatrices : public QObject
{
    Q_OBJECT

private slots:
    void spotDepthAtKnownDistances();
    void spotSeesItsOuterCone();
    void spotWithoutFalloff();
    void spotLooksAlongItsNodesAxis();
    void directionalWindowIsFixed();
    void directionalDepthsShrinkWithTheFarDistance();
    void lightAmidstTheScene();
    void depthsOfASmallSceneLeaveTheClipVolume_data();
    void depthsOfASmallSceneLeaveTheClipVolume();
    void movedLightSeesFromItsNewPlace();
    void cubeFacesLookAlongTheAxes_data();
    void cubeFacesLookAlongTheAxes();
    void cubeExtentHoldsAllBounds();
    void cubeOfAnEmptyScene();
};

namespace
{

/// A 6 x 4 wall 5 below the light along -z; centre (0, 0, -5), radius sqrt(13).
struct WallScene
{
    explicit WallScene(int type, const QMatrix4x4 &world = {})
    {
        light = sketch.light(type, Qt::white, world);
        sketch.quadNode({{-3, -2, -5}, {6, 0, 0}, {0, 4, 0}}, sketch.material("white"));
    }

    QMatrix4x4 matrix()
    {
        Scene &scene = sketch.scene();
        return shadowMatrix(scene, *scene.findNode("light-1"));
    }

    SceneSketch sketch;
    Light *light = nullptr;
};

const double radius = std::sqrt(13.0);

bool isNear(double actual, double expected)
{
    if (std::abs(actual - expected) < 1e-4)
        return true;
    qWarning("%.7f, expected %.7f", actual, expected);
    return false;
}

} // namespace

void TestShadowMatrices::spotDepthAtKnownDistances()
{
    WallScene wall(Light::SpotLight);
    wall.light->setFalloff(90);
    const double near = 5 - radius;
    const double far = 5 + radius;
    for (const double distance : {near, 2.0, 5.0, far}) {
        const QVector4D at = wall.matrix() * QVector4D(0.5f, -0.25f, float(-distance), 1);
        const double clipZ = (far + near) / (far - near) * distance - 2 * far * near / (far - near);
        QVERIFY(isNear(double(at.z()), clipZ / far));
        QVERIFY(isNear(double(at.w()), distance));
    }
}

void TestShadowMatrices::spotSeesItsOuterCone()
{
    WallScene wall(Light::SpotLight, translation(1, 0, 0));
    wall.light->setHotspotBeam(20);
    wall.light->setFalloff(60);
    const float edge = 5 * std::tan(qDegreesToRadians(30.0f));
    const QVector4D right = wall.matrix() * QVector4D(1 + edge, 0, -5, 1);
    QVERIFY(isNear(double(right.x() / right.w()), 1));
    const QVector4D top = wall.matrix() * QVector4D(1, edge, -5, 1);
    QVERIFY(isNear(double(top.y() / top.w()), 1));
}

void TestShadowMatrices::spotWithoutFalloff()
{
    WallScene wall(Light::SpotLight);
    wall.light->setHotspotBeam(40);
    const float edge = 5 * std::tan(qDegreesToRadians(spotFalloff(*wall.light) / 2));
    const QVector4D right = wall.matrix() * QVector4D(edge, 0, -5, 1);
    QVERIFY(isNear(double(right.x() / right.w()), 1));
}

void TestShadowMatrices::spotLooksAlongItsNodesAxis()
{
    WallScene wall(Light::SpotLight);
    wall.light->setFalloff(60);
    wall.light->setTarget("aim");
    wall.sketch.node("aim", translation(5, 0, -5));
    Scene &scene = wall.sketch.scene();
    LightTargets targets;
    QVERIFY(lightDirection(scene, *scene.findNode("light-1"), targets).x() > 0.7f);
    const QVector4D ahead = wall.matrix() * QVector4D(0, 0, -5, 1);
    QVERIFY(isNear(double(ahead.x()), 0));
    QVERIFY(isNear(double(ahead.w()), 5));
}

void TestShadowMatrices::directionalWindowIsFixed()
{
    WallScene wall(Light::DirectionalLight, translation(10, 20, 0));
    const QVector4D corner = wall.matrix() * QVector4D(510, -480, -5, 1);
    QVERIFY(isNear(double(corner.x()), 1));
    QVERIFY(isNear(double(corner.y()), -1));
    QVERIFY(isNear(double(corner.w()), 1));
}

void TestShadowMatrices::directionalDepthsShrinkWithTheFarDistance()
{
    for (const float height : {0.0f, 100.0f}) {
        WallScene wall(Light::DirectionalLight, translation(0, 0, height));
        const double distance = 5 + double(height);
        const double far = distance + radius;
        const QVector4D nearest = wall.matrix() * QVector4D(0, 0, float(-5 + radius), 1);
        QVERIFY(isNear(double(nearest.z()), -1 / far));
        const QVector4D farthest = wall.matrix() * QVector4D(0, 0, float(-5 - radius), 1);
        QVERIFY(isNear(double(farthest.z()), 1 / far));
    }
}

void TestShadowMatrices::lightAmidstTheScene()
{
    WallScene wall(Light::SpotLight, translation(0, 0, -4));
    wall.light->setFalloff(90);
    const double near = radius / 30;
    const double far = 1 + radius;
    const QVector4D at = wall.matrix() * QVector4D(0, 0, float(-4 - near), 1);
    QVERIFY(isNear(double(at.z()), -near / far));
}

void TestShadowMatrices::depthsOfASmallSceneLeaveTheClipVolume_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("spot") << int(Light::SpotLight);
    QTest::newRow("directional") << int(Light::DirectionalLight);
}

void TestShadowMatrices::depthsOfASmallSceneLeaveTheClipVolume()
{
    QFETCH(int, type);
    SceneSketch sketch;
    sketch.light(type, Qt::white)->setFalloff(90);
    // The wall of the other tests, a tenth as large: the far distance is 0.86.
    sketch.quadNode({{-0.3f, -0.2f, -0.5f}, {0.6f, 0, 0}, {0, 0.4f, 0}}, sketch.material("white"));
    Scene &scene = sketch.scene();
    const double far = (5 + radius) / 10;
    const QMatrix4x4 matrix = shadowMatrix(scene, *scene.findNode("light-1"));
    const QVector4D farthest = matrix * QVector4D(0, 0, float(-far), 1);
    QVERIFY(isNear(double(farthest.z()), type == Light::SpotLight ? 1 : 1 / far));
    QVERIFY(isNear(double(farthest.w()), type == Light::SpotLight ? far : 1));
    QVERIFY(farthest.z() > farthest.w());
}

void TestShadowMatrices::movedLightSeesFromItsNewPlace()
{
    WallScene wall(Light::SpotLight);
    wall.light->setFalloff(90);
    const QMatrix4x4 before = wall.matrix();
    const QMatrix4x4 world = translation(1, 2, 3) * rotation(20, 1, 0, 0);
    wall.sketch.scene().findNode("light-1")->setLocalTransform(world);
    QVERIFY(wall.matrix() != before);
    WallScene there(Light::SpotLight, world);
    there.light->setFalloff(90);
    QCOMPARE(wall.matrix(), there.matrix());
}

void TestShadowMatrices::cubeFacesLookAlongTheAxes_data()
{
    QTest::addColumn<int>("face");
    QTest::addColumn<QVector3D>("direction");
    QTest::addColumn<QVector3D>("up");
    QTest::newRow("+x") << 0 << QVector3D(1, 0, 0) << QVector3D(0, -1, 0);
    QTest::newRow("-x") << 1 << QVector3D(-1, 0, 0) << QVector3D(0, -1, 0);
    QTest::newRow("+y") << 2 << QVector3D(0, 1, 0) << QVector3D(0, 0, 1);
    QTest::newRow("-y") << 3 << QVector3D(0, -1, 0) << QVector3D(0, 0, -1);
    QTest::newRow("+z") << 4 << QVector3D(0, 0, 1) << QVector3D(0, -1, 0);
    QTest::newRow("-z") << 5 << QVector3D(0, 0, -1) << QVector3D(0, -1, 0);
}

void TestShadowMatrices::cubeFacesLookAlongTheAxes()
{
    QFETCH(int, face);
    QFETCH(QVector3D, direction);
    QFETCH(QVector3D, up);
    WallScene wall(Light::PointLight, translation(1, 2, 3));
    Scene &scene = wall.sketch.scene();
    const CubeShadow shadow = cubeShadow(scene, *scene.findNode("light-1"));
    const QMatrix4x4 &toClip = shadow.toClip[size_t(face)];
    const QVector3D position(1, 2, 3);

    const QVector4D ahead = toClip * QVector4D(position + 2 * direction, 1);
    QVERIFY(isNear(double(ahead.x()), 0) && isNear(double(ahead.y()), 0) && isNear(double(ahead.w()), 2));
    // A right angle: what is as far up as ahead stands at the upper edge, and likewise to the right.
    const QVector4D above = toClip * QVector4D(position + 2 * direction + 2 * up, 1);
    QVERIFY(isNear(double(above.x()), 0) && isNear(double(above.y() / above.w()), 1));
    const QVector3D right = QVector3D::crossProduct(direction, up);
    const QVector4D beside = toClip * QVector4D(position + 2 * direction + 2 * right, 1);
    QVERIFY(isNear(double(beside.x() / beside.w()), 1) && isNear(double(beside.y()), 0));
}

void TestShadowMatrices::cubeExtentHoldsAllBounds()
{
    WallScene wall(Light::PointLight, translation(0, 0, -1));
    wall.sketch.quadNode({{9, -1, -1}, {0, 2, 0}, {0, 0, 0.5f}}, wall.sketch.material("far"));
    Scene &scene = wall.sketch.scene();
    const CubeShadow shadow = cubeShadow(scene, *scene.findNode("light-1"));
    const double expected = std::sqrt(81 + 0.0625) + std::sqrt(1 + 0.0625);
    QVERIFY(isNear(double(shadow.extent), expected));
    const QVector3D scaled = shadow.toLight.map(QVector3D(3, -2, -5));
    QVERIFY(isNear(double(scaled.lengthSquared()), (9 + 4 + 16) / (expected * expected)));
    QVERIFY(isNear(double(scaled.x()), 3 / expected));
}

void TestShadowMatrices::cubeOfAnEmptyScene()
{
    SceneSketch sketch;
    sketch.light(Light::PointLight, Qt::white, translation(4, 0, 0));
    Scene &scene = sketch.scene();
    QCOMPARE(cubeShadow(scene, *scene.findNode("light-1")).extent, 1.0f);
}

QTEST_GUILESS_MAIN(TestShadowMatrices)
#include "tst_shadowmatrices.moc"
