#include "BakeScene.h"
#include "BakeSettings.h"
#include "Light.h"
#include "Material.h"
#include "Node.h"
#include "SceneSketch.h"
#include "Trimesh.h"
#include "VectorMath.h"

#include <QtTest>

using namespace Quorvel;
using namespace Quorvel::Test;

/// A loaded scene as the baker takes it.
class TestBakeScene : public QObject
{
    Q_OBJECT

private slots:
    void colorsBecomeLinear();
    void lightColorTakesTheMultiplier();
    void ambientLightsAddUp();
    void sceneWithoutLightsHasTheViewersGrey();
    void spotHasTheViewersCone();
    void lightAimsAtItsTarget();
    void missingTargetIsExplained();
    void missingMaterialIsTheDefaultOne();
    void brightAmbientColorGlows();
    void transparencyIsTheMaterials();
    void trianglesAreInWorldSpace();
    void facingIsOnTheSideOfTheNormals();
    void sceneWithoutTrianglesIsExplained();
    void boundsAreThoseOfTheTriangles();
};

namespace
{

const Quad square = {{-1, 0, 1}, {2, 0, 0}, {0, 0, -2}};
constexpr float half = 0.2140411f; // 0.5 decoded

BakeScene built(const Scene &scene, const BakeSettings &settings = {})
{
    BakeScene result;
    QString error;
    if (!buildBakeScene(scene, settings, &result, &error))
        qWarning("%s", qPrintable(error));
    return result;
}

bool near(const QVector3D &a, const QVector3D &b)
{
    return (a - b).length() < 1e-4f;
}

} // namespace

void TestBakeScene::colorsBecomeLinear()
{
    SceneSketch sketch;
    Material *material = sketch.material("m");
    material->setDiffuse(QColor::fromRgbF(1.0, 0.5, 0.0));
    sketch.quadNode(square, material);
    const BakeScene scene = built(sketch.scene());
    QCOMPARE(scene.surfaces.size(), size_t(1));
    QVERIFY(near(scene.surfaces[0].albedo, {1.0f, half, 0.0f}));
    QVERIFY(scene.surfaces[0].emission.isNull());
}

void TestBakeScene::lightColorTakesTheMultiplier()
{
    SceneSketch sketch;
    sketch.quadNode(square, sketch.material("m"));
    Light *light = sketch.light(Light::PointLight, QColor::fromRgbF(0.5, 1.0, 0.0), translation(1, 2, 3));
    light->setMultiplier(3.0f);
    const BakeScene scene = built(sketch.scene());
    QCOMPARE(scene.lights.size(), size_t(1));
    QVERIFY(scene.lights[0].kind == BakeLight::Kind::Point);
    QVERIFY(near(scene.lights[0].color, {3.0f * half, 3.0f, 0.0f}));
    QVERIFY(near(scene.lights[0].position, {1, 2, 3}));
    QVERIFY(scene.ambient.isNull());
}

void TestBakeScene::ambientLightsAddUp()
{
    SceneSketch sketch;
    sketch.quadNode(square, sketch.material("m"));
    sketch.light(Light::AmbientLight, QColor::fromRgbF(0.5, 0.0, 0.0));
    sketch.light(Light::AmbientLight, QColor::fromRgbF(0.5, 0.5, 0.0))->setMultiplier(2.0f);
    const BakeScene scene = built(sketch.scene());
    QVERIFY(scene.lights.empty());
    QVERIFY(near(scene.ambient, {3.0f * half, 2.0f * half, 0.0f}));
}

void TestBakeScene::sceneWithoutLightsHasTheViewersGrey()
{
    SceneSketch sketch;
    sketch.quadNode(square, sketch.material("m"));
    // 0.4 decoded.
    QVERIFY(near(built(sketch.scene()).ambient, QVector3D(1, 1, 1) * 0.1328683f));
}

void TestBakeScene::spotHasTheViewersCone()
{
    SceneSketch sketch;
    sketch.quadNode(square, sketch.material("m"));
    Light *given = sketch.light(Light::SpotLight, Qt::white, rotation(90, 0, 1, 0));
    given->setHotspotBeam(60.0f);
    given->setFalloff(120.0f);
    Light *without = sketch.light(Light::SpotLight, Qt::white);
    without->setHotspotBeam(40.0f);
    const BakeScene scene = built(sketch.scene());
    QCOMPARE(scene.lights.size(), size_t(2));
    QVERIFY(scene.lights[0].kind == BakeLight::Kind::Spot);
    QVERIFY(qAbs(scene.lights[0].cosHotspot - std::cos(float(M_PI) / 6)) < 1e-5f);
    QVERIFY(qAbs(scene.lights[0].cosFalloff - 0.5f) < 1e-5f);
    // The node's -z turned by a quarter about y.
    QVERIFY(near(scene.lights[0].direction, {-1, 0, 0}));
    // A tenth of the hotspot wider.
    QVERIFY(qAbs(scene.lights[1].cosFalloff - std::cos(22.0f * float(M_PI) / 180)) < 1e-5f);
    QVERIFY(near(scene.lights[1].direction, {0, 0, -1}));
}

void TestBakeScene::lightAimsAtItsTarget()
{
    SceneSketch sketch;
    sketch.quadNode(square, sketch.material("m"));
    sketch.light(Light::DirectionalLight, Qt::white, translation(0, 3, 0))->setTarget("aim");
    sketch.node("aim", translation(4, 0, 0));
    const BakeScene scene = built(sketch.scene());
    QVERIFY(scene.lights[0].kind == BakeLight::Kind::Directional);
    QVERIFY(near(scene.lights[0].direction, {0.8f, -0.6f, 0.0f}));
}

void TestBakeScene::missingTargetIsExplained()
{
    SceneSketch sketch;
    sketch.quadNode(square, sketch.material("m"));
    Light *light = sketch.light(Light::SpotLight, Qt::white);
    light->setId("lamp");
    light->setTarget("nowhere");
    BakeScene result;
    QString error;
    QVERIFY(!buildBakeScene(sketch.scene(), {}, &result, &error));
    QCOMPARE(error,
             QStringLiteral("the light \"lamp\" aims at \"nowhere\", but the scene has no node of that "
                            "name"));
}

void TestBakeScene::missingMaterialIsTheDefaultOne()
{
    SceneSketch sketch;
    sketch.quadNode(square, nullptr);
    // 0.8 decoded.
    QVERIFY(near(built(sketch.scene()).surfaces[0].albedo, QVector3D(1, 1, 1) * 0.6038273f));
}

void TestBakeScene::brightAmbientColorGlows()
{
    SceneSketch sketch;
    Material *material = sketch.material("m");
    material->setDiffuse(QColor::fromRgbF(0.5, 0.5, 0.5));
    material->setAmbient(QColor::fromRgbF(1.0, 0.5, 0.0));
    sketch.quadNode(square, material);
    sketch.light(Light::AmbientLight, QColor::fromRgbF(0.5, 1.0, 1.0));
    BakeSettings settings;
    QVERIFY(near(built(sketch.scene(), settings).surfaces[0].emission, {(1.0f - half) * half, 0, 0}));
    settings.glow = 4.0f;
    QVERIFY(near(built(sketch.scene(), settings).surfaces[0].emission, {4.0f * (1.0f - half) * half, 0, 0}));
}

void TestBakeScene::transparencyIsTheMaterials()
{
    SceneSketch sketch;
    Material *material = sketch.material("m");
    material->setTransparency(0.25f);
    sketch.quadNode(square, material);
    QCOMPARE(built(sketch.scene()).surfaces[0].transparency, 0.25f);
}

void TestBakeScene::trianglesAreInWorldSpace()
{
    SceneSketch sketch;
    QMatrix4x4 place = translation(10, 0, 0);
    place.scale(2.0f, 1.0f, 1.0f);
    Node *node = sketch.quadNode(square, sketch.material("m"), place);
    const BakeScene scene = built(sketch.scene());
    QCOMPARE(scene.triangles.size(), size_t(2));
    for (const BakeTriangle &triangle : scene.triangles) {
        for (size_t k = 0; k < 3; ++k) {
            // x = 10 + 2 (2 s - 1), z = 1 - 2 t.
            const QVector2D &texcoord = triangle.texcoords[k];
            QVERIFY(
                near(triangle.positions[k], {8.0f + 4.0f * texcoord.x(), 0.0f, 1.0f - 2.0f * texcoord.y()}));
            QVERIFY(near(triangle.normals[k], {0, 1, 0}));
        }
    }
    QVERIFY(node);
}

void TestBakeScene::facingIsOnTheSideOfTheNormals()
{
    for (const Winding winding : {Winding::Clockwise, Winding::CounterClockwise}) {
        SceneSketch sketch;
        QMatrix4x4 mirrored;
        mirrored.scale(1.0f, 1.0f, -1.0f);
        sketch.quadNode(square, sketch.material("m"), {}, winding);
        sketch.quadNode(square, sketch.material("n"), mirrored, winding);
        for (const BakeTriangle &triangle : built(sketch.scene()).triangles)
            QVERIFY(near(triangle.facing, {0, 1, 0}));
    }
}

void TestBakeScene::sceneWithoutTrianglesIsExplained()
{
    SceneSketch sketch;
    BakeScene result;
    QString error;
    QVERIFY(!buildBakeScene(sketch.scene(), {}, &result, &error));
    QCOMPARE(error, QStringLiteral("the scene has no triangles to light"));
}

void TestBakeScene::boundsAreThoseOfTheTriangles()
{
    SceneSketch sketch;
    sketch.quadNode(square, sketch.material("m"), translation(1, 2, 3));
    const BakeScene scene = built(sketch.scene());
    QVERIFY(near(scene.centre, {1, 2, 3}));
    QVERIFY(qAbs(scene.radius - std::sqrt(2.0f)) < 1e-5f);
}

QTEST_GUILESS_MAIN(TestBakeScene)
#include "tst_bakescene.moc"
