#include "FatalCase.h"
#include "Light.h"
#include "LightUniforms.h"
#include "Material.h"
#include "MaterialUniforms.h"
#include "Node.h"
#include "PainterState.h"
#include "SceneSketch.h"
#include "ShadingPrograms.h"

#include <QtMath>
#include <QtTest>

#include <cmath>

using namespace Quorvel;
using namespace Quorvel::Test;

namespace
{

FrameLights lightsOf(SceneSketch &builder)
{
    PainterState state(&builder.scene());
    state.update();
    LightTargets targets;
    return frameLights(state, targets);
}

bool near(const QVector4D &a, const QVector4D &b)
{
    return (a - b).length() < 1e-4f;
}

bool near(const QVector3D &a, const QVector3D &b)
{
    return (a - b).length() < 1e-4f;
}

} // namespace

class TestLightUniforms : public QObject
{
    Q_OBJECT

private slots:
    void firstThreeThatAreNotAmbient();
    void onlyAmbientLightsGiveNone();
    void pointLightInViewSpace();
    void directionalLightPointsTowardsItself();
    void spotLightHasHalfAngles();
    void unevenScaleOfTheLight();
    void unevenScaleOfTheCamera();
    void targetGoesBeforeTheAxis();
    void targetIsFollowedWhenItMoves();
    void missingTargetIsFatal();
    void multiplierIsNotUsed();
    void lightWithoutColourIsBlack();
    void spotWithoutFalloffFadesOutsideItsHotspot();
    void materialValues();
    void unboundMaterial();
    void shadingIsChosen_data();
    void shadingIsChosen();
    void uniformNames();
};

void TestLightUniforms::firstThreeThatAreNotAmbient()
{
    SceneSketch builder;
    builder.light(Light::PointLight, Qt::red);
    builder.light(Light::AmbientLight, Qt::white);
    builder.light(Light::SpotLight, Qt::green);
    builder.light(Light::DirectionalLight, Qt::blue);
    builder.light(Light::PointLight, Qt::yellow);
    builder.light(Light::PointLight, Qt::cyan);
    const FrameLights frame = lightsOf(builder);
    QCOMPARE(frame.count, 3);
    QVERIFY(frame.lights[0].kind == LightUniforms::Kind::Point);
    QVERIFY(near(frame.lights[0].color, {1, 0, 0, 1}));
    QVERIFY(frame.lights[1].kind == LightUniforms::Kind::Spot);
    QVERIFY(near(frame.lights[1].color, {0, 1, 0, 1}));
    QVERIFY(frame.lights[2].kind == LightUniforms::Kind::Directional);
    QVERIFY(near(frame.lights[2].color, {0, 0, 1, 1}));
}

void TestLightUniforms::onlyAmbientLightsGiveNone()
{
    SceneSketch builder;
    builder.light(Light::AmbientLight, Qt::white);
    QCOMPARE(lightsOf(builder).count, 0);
}

void TestLightUniforms::pointLightInViewSpace()
{
    SceneSketch builder;
    builder.camera(translation(1, 2, 3));
    builder.light(Light::PointLight, Qt::white, translation(4, 4, 4));
    QVERIFY(near(lightsOf(builder).lights[0].position, {3, 2, 1, 1}));
}

void TestLightUniforms::directionalLightPointsTowardsItself()
{
    SceneSketch builder;
    builder.camera(translation(7, 7, 7));
    // Turned to shine straight down.
    builder.light(Light::DirectionalLight, Qt::white, translation(5, 5, 5) * rotation(-90, 1, 0, 0));
    QVERIFY(near(lightsOf(builder).lights[0].position, {0, 1, 0, 0}));
}

void TestLightUniforms::spotLightHasHalfAngles()
{
    SceneSketch builder;
    builder.camera(rotation(90, 0, 1, 0));
    Light *light = builder.light(Light::SpotLight, Qt::white, translation(-2, 0, 0));
    light->setHotspotBeam(40);
    light->setFalloff(60);
    const LightUniforms uniforms = lightsOf(builder).lights[0];
    // The camera looks along -x, so the world's -z is to its right.
    QVERIFY(near(uniforms.position, {0, 0, -2, 1}));
    QVERIFY(near(uniforms.direction, {1, 0, 0}));
    QCOMPARE(uniforms.cosHotspot, float(qCos(qDegreesToRadians(20.0))));
    QCOMPARE(uniforms.cosFalloff, float(qCos(qDegreesToRadians(30.0))));
}

void TestLightUniforms::unevenScaleOfTheLight()
{
    SceneSketch builder;
    QMatrix4x4 tall;
    tall.scale(1, 2, 1);
    // Turned, it shines along (0, 1, -1); as a normal, that leans away from the axis that is stretched.
    builder.light(Light::SpotLight, Qt::white, rotation(45, 1, 0, 0), builder.node("parent", tall))
        ->setHotspotBeam(20);
    const float length = std::sqrt(5.0f);
    QVERIFY(near(lightsOf(builder).lights[0].direction, {0, 1 / length, -2 / length}));
}

void TestLightUniforms::unevenScaleOfTheCamera()
{
    SceneSketch builder;
    QMatrix4x4 deep;
    deep.scale(1, 1, 3);
    builder.camera(rotation(90, 0, 1, 0), 45, builder.node("parent", deep));
    builder.light(Light::SpotLight, Qt::white, translation(-2, 5, 6))->setHotspotBeam(20);
    const LightUniforms uniforms = lightsOf(builder).lights[0];
    // A position shrinks where a normal grows. The camera looks along -x, so the world's -z is to its right.
    QVERIFY(near(uniforms.position, {-2, 5, -2, 1}));
    QVERIFY(near(uniforms.direction, {3, 0, 0}));
}

void TestLightUniforms::targetGoesBeforeTheAxis()
{
    SceneSketch builder;
    builder.node("aim", translation(3, 4, 0));
    Light *light = builder.light(Light::SpotLight, Qt::white);
    light->setTarget("aim");
    QVERIFY(near(lightsOf(builder).lights[0].direction, {0.6f, 0.8f, 0}));
}

void TestLightUniforms::targetIsFollowedWhenItMoves()
{
    SceneSketch builder;
    Node *first = builder.node("first", translation(1, 0, 0));
    builder.node("second", translation(0, 1, 0));
    Light *light = builder.light(Light::SpotLight, Qt::white);
    light->setTarget("first");
    const Scene &scene = builder.scene();
    const Node &lightNode = *scene.nodes()[2];
    LightTargets targets;
    QVERIFY(near(lightDirection(scene, lightNode, targets), {1, 0, 0}));
    first->setLocalTransform(translation(0, 0, 9));
    QVERIFY(near(lightDirection(scene, lightNode, targets), {0, 0, 1}));
    light->setTarget("second");
    QVERIFY(near(lightDirection(scene, lightNode, targets), {0, 1, 0}));
}

void TestLightUniforms::missingTargetIsFatal()
{
    const FatalEnd end = FatalCases::end(QStringLiteral("missing target"));
    QVERIFY2(end.aborted, qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1String("\"lightTarget != 0\"")), qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1String("the light \"lamp\" aims at \"nowhere\"")),
             qPrintable(end.text));
}

void TestLightUniforms::multiplierIsNotUsed()
{
    SceneSketch builder;
    builder.light(Light::PointLight, QColor::fromRgbF(0.5, 0.25, 1.0))->setMultiplier(3);
    QVERIFY(near(lightsOf(builder).lights[0].color, {0.5f, 0.25f, 1, 1}));
}

void TestLightUniforms::lightWithoutColourIsBlack()
{
    SceneSketch builder;
    builder.light(Light::PointLight, QColor());
    QVERIFY(near(lightsOf(builder).lights[0].color, {0, 0, 0, 1}));
}

void TestLightUniforms::spotWithoutFalloffFadesOutsideItsHotspot()
{
    Light light(Light::SpotLight);
    light.setHotspotBeam(40);
    QVERIFY(spotFalloff(light) > 40.0f && spotFalloff(light) < 50.0f);
    light.setHotspotBeam(0);
    QVERIFY(spotFalloff(light) > 0.0f);
    light.setHotspotBeam(40);
    light.setFalloff(30);
    QCOMPARE(spotFalloff(light), 30.0f);
}

void TestLightUniforms::materialValues()
{
    Material material;
    material.setAmbient(QColor::fromRgbF(0.5, 0.5, 1.0));
    material.setDiffuse(QColor::fromRgbF(0.25, 0.5, 0.75, 0.5));
    material.setSpecular(QColor::fromRgbF(0.2, 0.4, 0.6));
    material.setSpecularLevel(2);
    material.setShininess(17);
    material.setTransparency(0.25f);
    const MaterialUniforms uniforms = materialUniforms(&material, {0.4f, 0.8f, 0.5f, 0.5f});
    QVERIFY(near(uniforms.ambient, {0.2f, 0.4f, 0.5f, 0.5f}));
    QVERIFY(near(uniforms.diffuse, {0.25f, 0.5f, 0.75f, 0.5f}));
    QVERIFY(near(uniforms.specular, {0.4f, 0.8f, 1.2f, 2.0f}));
    QCOMPARE(uniforms.shininess, 17.0f);
    QCOMPARE(uniforms.transparency, 0.25f);
}

void TestLightUniforms::unboundMaterial()
{
    const Material colourless;
    for (const Material *material : {static_cast<const Material *>(nullptr), &colourless}) {
        const MaterialUniforms uniforms = materialUniforms(material, {1, 1, 1, 1});
        QVERIFY(near(uniforms.ambient, {0, 0, 0, 1}));
        QVERIFY(near(uniforms.diffuse, {0.8f, 0.8f, 0.8f, 1}));
        QVERIFY(near(uniforms.specular, {0, 0, 0, 1}));
        QCOMPARE(uniforms.transparency, 0.0f);
    }
}

void TestLightUniforms::shadingIsChosen_data()
{
    QTest::addColumn<bool>("lowQuality");
    QTest::addColumn<bool>("lightMap");
    QTest::addColumn<bool>("linked");
    QTest::addColumn<int>("expected");
    QTest::newRow("plain") << false << false << true << int(Shading::SinglePassPhong);
    QTest::newRow("low quality") << true << false << true << int(Shading::PerVertexPhong);
    QTest::newRow("not linked") << false << false << false << int(Shading::PerVertexPhong);
    QTest::newRow("light map") << false << true << true << int(Shading::LightMapping);
    QTest::newRow("light map, low quality") << true << true << true << int(Shading::LightMapping);
    QTest::newRow("light map, not linked") << false << true << false << int(Shading::LightMapping);
}

void TestLightUniforms::shadingIsChosen()
{
    QFETCH(bool, lowQuality);
    QFETCH(bool, lightMap);
    QFETCH(bool, linked);
    QTEST(int(chooseShading(lowQuality, lightMap, linked)), "expected");
}

void TestLightUniforms::uniformNames()
{
    QCOMPARE(uniformName(Uniform::ModelToScene), QByteArray("modelToScene"));
    QCOMPARE(uniformName(Uniform::Occlusion), QByteArray("occlusion"));
    QCOMPARE(uniformName(element(Uniform::LightsPos, 0)), QByteArray("lights_pos[0]"));
    QCOMPARE(uniformName(element(Uniform::LightsIsSpot, 1)), QByteArray("lights_isSpot[1]"));
    QCOMPARE(uniformName(element(Uniform::LightsScenePos, 2)), QByteArray("lights_scenePos[2]"));
    QCOMPARE(uniformName(element(Uniform::CubeShadowMap0, 2)), QByteArray("cubeShadowMap2"));
}

static void aimAtNothing()
{
    SceneSketch builder;
    Light *light = builder.light(Light::SpotLight, Qt::white);
    light->setId("lamp");
    light->setTarget("nowhere");
    lightsOf(builder);
}

int main(int argc, char **argv)
{
    const FatalCases cases{{QStringLiteral("missing target"), aimAtNothing}};
    if (cases.runRequested(argc, argv))
        return 0;
    QCoreApplication application(argc, argv);
    TestLightUniforms test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_lightuniforms.moc"
