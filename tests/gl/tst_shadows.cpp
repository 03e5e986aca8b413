#include "CubeMap.h"
#include "ForwardPainter.h"
#include "FrameTest.h"
#include "Geometry.h"
#include "GlFatalCase.h"
#include "Light.h"
#include "Material.h"
#include "Node.h"
#include "PainterState.h"
#include "ShadingPrograms.h"
#include "ShadowMatrices.h"

#include <QGLFramebufferObject>
#include <QtTest>

#include <cmath>

using namespace Quorvel;
using namespace Quorvel::Test;

/// Shadows of spot and directional lights: the pictures against rays traced to the lights, the maps against
/// distances worked out by hand.
class TestShadows : public FrameTest
{
    Q_OBJECT

public:
    using FrameTest::FrameTest;

private slots:
    void spotShadowIsWhereRaysAreBlocked_data();
    void spotShadowIsWhereRaysAreBlocked();
    void shadowTakesDiffuseAndSpecularOnly();
    void eachLightHasItsOwnMap();
    void mapHoldsDepthBeforeTheDivision();
    void mapIsAsBigAsStated();
    void invisibleThingsCastShadows();
    void directionalShadowEndsAtTheWindow();
    void biasEndsDirectionalShadows_data();
    void biasEndsDirectionalShadows();
    void biasTakesTheStartOfSpotShadows_data();
    void biasTakesTheStartOfSpotShadows();
    void thingsBehindADirectionalLightCastShadows();
    void secondFrameReusesTheMap();
    void movedLightTakesItsShadowsAlong();
    void turnedDirectionalLightTakesItsShadowsAlong();
    void lightOnTwoNodesCastsShadowsFromTheLast();
    void noMap_data();
    void noMap();
    void pointLightsCastNone();
    void lightMapTakesTheirPlace();
    void lightsThatCannotHaveAMapAreFatal_data();
    void lightsThatCannotHaveAMapAreFatal();
};

namespace
{

void withShadows(PainterState &state)
{
    state.setCastShadows(true);
}

/// Lights the wall from (x, y, z) straight ahead, and casts shadows. They are soft for up to the reach of a
/// tap and half a texel of a map that is 2 * 6.5 units wide at the wall.
Light *addSpot(FrameSketch *sketch, const QVector3D &color, float x, float y, float z)
{
    Light *light = sketch->addLight(Light::SpotLight, color, translation(x, y, z));
    light->setHotspotBeam(80);
    light->setFalloff(90);
    light->setShadow(true);
    Reference::Light &expected = sketch->expected.lights.back();
    expected.hotspot = 80;
    expected.falloff = 90;
    expected.castsShadows = true;
    expected.penumbra = 0.06;
    return light;
}

/// Stands between the light and the wall, in view of the eye.
const Quad blocker = {{-0.4f, -0.3f, -3}, {0.9f, 0, 0}, {0, 0.7f, 0}};

/// The eye looks at a small wall, 12 away; at the eye stands a sheet, too near to be seen, that hides the
/// whole wall from a directional light. Lengths are times `scale`.
struct SheetScene
{
    SheetScene(float scale, float lightHeight)
    {
        sketch.camera();
        sketch.light(Light::DirectionalLight, Qt::white, translation(0, 0, lightHeight * scale))
            ->setShadow(true);
        Material *material = sketch.material("white");
        material->setDiffuse(Qt::white);
        sketch.quadNode({scale * QVector3D(-1, -1, -12), {2 * scale, 0, 0}, {0, 2 * scale, 0}}, material);
        sketch.quadNode({scale * QVector3D(-4, -4, 0), {8 * scale, 0, 0}, {0, 8 * scale, 0}}, material);
    }

    SceneSketch sketch;
};

QString faultOfShadow(const FrameSketch &sketch, const QImage &drawn)
{
    const Reference::Comparison comparison = Reference::compare(sketch.expected, drawn, 2);
    if (comparison.shadowed < 300)
        return QStringLiteral("only %1 pixels in shadow").arg(comparison.shadowed);
    return sketch.fault(drawn);
}

/// One texel of a map, from the lower left, as its byte.
int texel(QGLFramebufferObject *map, int x, int y)
{
    unsigned char rgba[4] = {};
    map->bind();
    glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
    map->release();
    return rgba[0] == rgba[1] && rgba[1] == rgba[2] && rgba[3] == 255 ? rgba[0] : -1;
}

} // namespace

void TestShadows::spotShadowIsWhereRaysAreBlocked_data()
{
    QTest::addColumn<QMatrix4x4>("node");
    QTest::addColumn<bool>("counterClockwise");
    QTest::addColumn<bool>("culling");
    QMatrix4x4 mirror;
    mirror.scale(-1, 1, 1);
    QTest::newRow("plain") << QMatrix4x4() << false << true;
    QTest::newRow("moved node") << translation(0.2f, 0.5f, 0.5f) << false << true;
    QTest::newRow("mirrored node") << mirror << false << true;
    QTest::newRow("counter-clockwise scene") << QMatrix4x4() << true << true;
    QTest::newRow("mirrored in a counter-clockwise scene") << mirror << true << true;
    QTest::newRow("without culling") << QMatrix4x4() << false << false;
}

void TestShadows::spotShadowIsWhereRaysAreBlocked()
{
    QFETCH(QMatrix4x4, node);
    QFETCH(bool, counterClockwise);
    QFETCH(bool, culling);
    const Winding winding = counterClockwise ? Winding::CounterClockwise : Winding::Clockwise;
    FrameSketch sketch;
    addSpot(&sketch, {0.9f, 0.8f, 0.7f}, 1.5f, 1, 0);
    Material *material = sketch.addMaterial({0.8f, 0.9f, 1});
    sketch.scene.quadNode(wall, material, {}, winding);
    sketch.expected.items.push_back(
        {Reference::quad(wall.origin, wall.u, wall.v), surface(*material), false, true});
    sketch.scene.quadNode(blocker, material, node, winding);
    Reference::Item item{
        Reference::quad(node.map(blocker.origin), node.mapVector(blocker.u), node.mapVector(blocker.v)),
        surface(*material), false, true};
    // A mirror turns the quad's corners round, and leaves the normal of a quad that faces it.
    for (Reference::Triangle &triangle : item.triangles) {
        for (Reference::Vector &normal : triangle.normals)
            normal = {0, 0, 1};
    }
    sketch.expected.items.push_back(item);
    const QImage drawn = drawFrame(m_context, sketch.scene.scene(), [&](PainterState &state) {
        state.setCastShadows(true);
        state.setBackfaceCulling(culling);
    });
    QCOMPARE(faultOfShadow(sketch, drawn), QString());
}

void TestShadows::shadowTakesDiffuseAndSpecularOnly()
{
    FrameSketch sketch;
    sketch.scene.light(Light::AmbientLight, QColor::fromRgbF(0.2, 0.4, 0.6));
    addSpot(&sketch, {0.5f, 0.5f, 0.5f}, -1.2f, 0.3f, 0.5f);
    Material *material = sketch.addMaterial({0.6f, 0.5f, 0.4f}, {0.5f, 0.5f, 0.5f});
    material->setSpecular(QColor::fromRgbF(0.4, 0.4, 0.4));
    material->setSpecularLevel(1);
    material->setShininess(6);
    sketch.addQuad(wall, material, {0.2f, 0.4f, 0.6f});
    sketch.addQuad(blocker, material, {0.2f, 0.4f, 0.6f});
    const QImage drawn = drawFrame(m_context, sketch.scene.scene(), withShadows);
    QCOMPARE(faultOfShadow(sketch, drawn), QString());

    // The same frame with the shadows off lights the same places.
    sketch.expected.lights[0].castsShadows = false;
    QCOMPARE(fault(sketch), QString());
}

void TestShadows::eachLightHasItsOwnMap()
{
    FrameSketch sketch;
    addSpot(&sketch, {0.6f, 0, 0}, 1.5f, 0, 0);
    addSpot(&sketch, {0, 0.6f, 0}, -1.5f, 0.5f, 0);
    addSpot(&sketch, {0, 0, 0.6f}, 0.3f, -1.2f, 0);
    Material *material = sketch.addMaterial({1, 1, 1});
    sketch.addQuad(wall, material);
    sketch.addQuad(blocker, material);
    const QImage drawn = drawFrame(m_context, sketch.scene.scene(), withShadows);
    QCOMPARE(faultOfShadow(sketch, drawn), QString());
}

void TestShadows::mapHoldsDepthBeforeTheDivision()
{
    FrameSketch sketch;
    Light *light = addSpot(&sketch, {1, 1, 1}, 0, 0, 0);
    sketch.scene.quadNode({{-3, -2, -5}, {6, 0, 0}, {0, 4, 0}}, sketch.addMaterial({1, 1, 1}));
    sketch.scene.quadNode({{0.5f, -1, -3}, {1, 0, 0}, {0, 2, 0}}, sketch.addMaterial({1, 1, 1}));
    Scene &scene = sketch.scene.scene();
    ForwardPainter painter;
    drawFrame(m_context, painter, scene, withShadows);

    // Bounds: around the mean of the eight corners, as far as the farthest of them.
    const double radius = std::sqrt(3.5 * 3.5 + 2 * 2 + 1);
    const double far = 4 + radius;
    const double near = std::max(4 - radius, radius / 30);
    const auto expected = [&](double distance) {
        return ((far + near) / (far - near) * distance - 2 * far * near / (far - near)) / far;
    };
    QGLFramebufferObject *map = painter.shadowMaps().map(light);
    QVERIFY(map);
    // A quarter left of the middle looks at the wall, a quarter right of it at the quad before the wall; the
    // corners look past both.
    const int onWall = texel(map, 200, 256);
    QVERIFY2(std::abs(onWall - expected(5) * 255) < 1, qPrintable(QString::number(onWall)));
    const int onQuad = texel(map, 340, 256);
    QVERIFY2(std::abs(onQuad - expected(3) * 255) < 1, qPrintable(QString::number(onQuad)));
    QCOMPARE(texel(map, 5, 505), 255);
}

void TestShadows::mapIsAsBigAsStated()
{
    FrameSketch sketch;
    Light *light = addSpot(&sketch, {1, 1, 1}, 0, 0, 0);
    sketch.scene.quadNode(wall, sketch.addMaterial({1, 1, 1}));
    ForwardPainter painter;
    drawFrame(m_context, painter, sketch.scene.scene(), withShadows);
    const QGLFramebufferObject *map = painter.shadowMaps().map(light);
    QVERIFY(map && map->isValid());
    QCOMPARE(map->size(), QSize(512, 512));
    QCOMPARE(map->attachment(), QGLFramebufferObject::Depth);
}

void TestShadows::invisibleThingsCastShadows()
{
    FrameSketch sketch;
    addSpot(&sketch, {0.9f, 0.8f, 0.7f}, 1.5f, 1, 0);
    sketch.addQuad(wall, sketch.addMaterial({0.8f, 0.9f, 1}));
    Material *invisible = sketch.addMaterial({1, 1, 1});
    invisible->setTransparency(1);
    sketch.scene.quadNode(blocker, invisible);
    sketch.expected.items.push_back(
        {Reference::quad(blocker.origin, blocker.u, blocker.v), surface(*invisible), true, true});
    const QImage drawn = drawFrame(m_context, sketch.scene.scene(), withShadows);
    // The reference draws it as a pane that lets everything through.
    const Reference::Comparison comparison = Reference::compare(sketch.expected, drawn, 2);
    QVERIFY2(comparison.shadowed > 300, qPrintable(describe(comparison)));
    QVERIFY2(comparison.differing == 0, qPrintable(describe(comparison)));
}

void TestShadows::directionalShadowEndsAtTheWindow()
{
    // The node's scale makes the light's 1000 units 5 units of the world, and lets the far distance be.
    QMatrix4x4 lightWorld = translation(-1, 0, 0.7f) * rotation(-15, 0, 1, 0);
    lightWorld.scale(0.005f, 0.005f, 1);
    FrameSketch sketch;
    sketch.addLight(Light::DirectionalLight, {0.9f, 0.8f, 0.7f}, lightWorld)->setShadow(true);
    sketch.expected.lights[0].castsShadows = true;
    sketch.expected.lights[0].penumbra = 0.03;
    Material *material = sketch.addMaterial({0.8f, 0.9f, 1});
    sketch.addQuad(wall, material);
    sketch.addQuad({{-0.9f, -0.6f, -3}, {0.8f, 0, 0}, {0, 1.2f, 0}}, material);
    // Beyond the window, 2.5 to the side of the light's axis.
    sketch.addQuad({{-3.2f, -1, -3}, {0.45f, 0, 0}, {0, 2, 0}}, material);
    const size_t outside = sketch.expected.items.size() - 1;
    sketch.expected.items[outside].castsShadow = false;
    // Behind the eye and the light: moves the bounds' centre to the light, so that the wall is near the far
    // distance.
    for (const float x : {-1.0f, 0.0f, 1.0f, 2.0f, 3.0f})
        sketch.addQuad({{x, 0, 4}, {0.1f, 0, 0}, {0, 0.1f, 0}}, material);

    const QImage drawn = drawFrame(m_context, sketch.scene.scene(), withShadows);
    QCOMPARE(faultOfShadow(sketch, drawn), QString());
    // The reference would see the second shadow.
    sketch.expected.items[outside].castsShadow = true;
    QVERIFY(!sketch.fault(drawn).isEmpty());
}

void TestShadows::biasEndsDirectionalShadows_data()
{
    QTest::addColumn<float>("scale");
    QTest::addColumn<bool>("shadow");
    QTest::newRow("tiny scene, far 14.7") << 1.0f << true;
    QTest::newRow("twice as large, far 29.4") << 2.0f << false;
    QTest::newRow("ten times as large, far 147") << 10.0f << false;
}

void TestShadows::biasEndsDirectionalShadows()
{
    QFETCH(float, scale);
    QFETCH(bool, shadow);
    SheetScene sheet(scale, 0.5f);
    Scene &scene = sheet.sketch.scene();
    const ClipDistances clip = clipDistances(scene, translation(0, 0, -0.5f * scale));
    QVERIFY(std::abs(clip.far - 14.7f * scale) < 0.05f * scale);
    QCOMPARE(drawFrame(m_context, scene).pixelColor(width / 2, height / 2), QColor(255, 255, 255));
    QCOMPARE(drawFrame(m_context, scene, withShadows).pixelColor(width / 2, height / 2),
             shadow ? QColor(0, 0, 0) : QColor(255, 255, 255));
}

void TestShadows::biasTakesTheStartOfSpotShadows_data()
{
    // Depths grow by 0.08 for each unit here.
    QTest::addColumn<float>("gap");
    QTest::addColumn<bool>("shadow");
    QTest::newRow("depths 0.03 apart") << 0.4f << false;
    QTest::newRow("depths 0.05 apart") << 0.6f << true;
}

void TestShadows::biasTakesTheStartOfSpotShadows()
{
    QFETCH(float, gap);
    QFETCH(bool, shadow);
    FrameSketch sketch;
    addSpot(&sketch, {0.9f, 0.8f, 0.7f}, 2, 1, 0);
    Material *material = sketch.addMaterial({0.8f, 0.9f, 1});
    sketch.addQuad(wall, material);
    sketch.addQuad({{-0.5f, -1, -5 + gap}, {1, 0, 0}, {0, 2, 0}}, material);
    sketch.expected.items.back().castsShadow = shadow;
    // Behind the wall: moves the far distance to 15.
    sketch.scene.quadNode({{0, 0, -15}, {0.1f, 0, 0}, {0, 0.1f, 0}}, material);
    const QImage drawn = drawFrame(m_context, sketch.scene.scene(), withShadows);
    QCOMPARE(sketch.fault(drawn), QString());
    // The eye sees beside the quad where its shadow is, or would be.
    sketch.expected.items.back().castsShadow = !shadow;
    QVERIFY(!sketch.fault(drawn).isEmpty());
}

void TestShadows::thingsBehindADirectionalLightCastShadows()
{
    SheetScene sheet(1, -0.5f);
    const QImage drawn = drawFrame(m_context, sheet.sketch.scene(), withShadows);
    QCOMPARE(drawn.pixelColor(width / 2, height / 2), QColor(0, 0, 0));
}

void TestShadows::secondFrameReusesTheMap()
{
    FrameSketch sketch;
    Light *light = addSpot(&sketch, {0.9f, 0.8f, 0.7f}, 1.5f, 1, 0);
    Material *material = sketch.addMaterial({0.8f, 0.9f, 1});
    sketch.addQuad(wall, material);
    Node *moving = sketch.addQuad(blocker, material);
    Scene &scene = sketch.scene.scene();
    ForwardPainter painter;
    const QImage first = drawFrame(m_context, painter, scene, withShadows);
    QGLFramebufferObject *map = painter.shadowMaps().map(light);
    const GLuint texture = map->texture();
    QCOMPARE(drawFrame(m_context, painter, scene, withShadows), first);
    QCOMPARE(painter.shadowMaps().map(light), map);
    QCOMPARE(map->texture(), texture);

    // Reused, but drawn anew.
    const QMatrix4x4 move = translation(-0.6f, 0.2f, 0);
    moving->setLocalTransform(move);
    sketch.expected.items.back().triangles = Reference::quad(move.map(blocker.origin), blocker.u, blocker.v);
    QCOMPARE(faultOfShadow(sketch, drawFrame(m_context, painter, scene, withShadows)), QString());
    QCOMPARE(painter.shadowMaps().map(light), map);

    painter.release();
    QVERIFY(!painter.shadowMaps().map(light));
    QVERIFY(!glIsTexture(texture));
}

void TestShadows::movedLightTakesItsShadowsAlong()
{
    FrameSketch sketch;
    Light *light = addSpot(&sketch, {0.9f, 0.8f, 0.7f}, 1.5f, 1, 0);
    Material *material = sketch.addMaterial({0.8f, 0.9f, 1});
    sketch.addQuad(wall, material);
    sketch.addQuad(blocker, material);
    Scene &scene = sketch.scene.scene();
    ForwardPainter painter;
    QCOMPARE(faultOfShadow(sketch, drawFrame(m_context, painter, scene, withShadows)), QString());
    const QGLFramebufferObject *map = painter.shadowMaps().map(light);

    // Across the view, and nearer to the wall: the far distance changes too.
    const QVector3D position(-1.3f, 0.4f, -0.5f);
    scene.findNode("light-1")->setLocalTransform(translation(position.x(), position.y(), position.z()));
    sketch.expected.lights[0].position = position;
    QCOMPARE(faultOfShadow(sketch, drawFrame(m_context, painter, scene, withShadows)), QString());
    QCOMPARE(painter.shadowMaps().map(light), map);
}

void TestShadows::turnedDirectionalLightTakesItsShadowsAlong()
{
    // The node's scale makes the light's 1000 units 10 units of the world. It stands in the middle of the
    // bounds, as in directionalShadowEndsAtTheWindow().
    const auto turned = [](float degrees) {
        QMatrix4x4 world = translation(0, 0, 0.7f) * rotation(degrees, 0, 1, 0);
        world.scale(0.01f, 0.01f, 1);
        return world;
    };
    FrameSketch sketch;
    sketch.addLight(Light::DirectionalLight, {0.9f, 0.8f, 0.7f}, turned(-25))->setShadow(true);
    Reference::Light &expected = sketch.expected.lights[0];
    expected.castsShadows = true;
    expected.penumbra = 0.06;
    Material *material = sketch.addMaterial({0.8f, 0.9f, 1});
    sketch.addQuad(wall, material);
    sketch.addQuad({{-0.4f, -0.8f, -2}, {0.8f, 0, 0}, {0, 1.6f, 0}}, material);
    for (const float x : {-2.0f, -1.0f, 0.0f, 1.0f, 2.0f})
        sketch.addQuad({{x, 0, 4}, {0.1f, 0, 0}, {0, 0.1f, 0}}, material);
    Scene &scene = sketch.scene.scene();
    ForwardPainter painter;
    for (const float degrees : {-25.0f, 25.0f}) {
        scene.findNode("light-1")->setLocalTransform(turned(degrees));
        expected.direction = rotation(degrees, 0, 1, 0).mapVector({0, 0, -1});
        QCOMPARE(faultOfShadow(sketch, drawFrame(m_context, painter, scene, withShadows)), QString());
    }
}

void TestShadows::lightOnTwoNodesCastsShadowsFromTheLast()
{
    FrameSketch sketch;
    Light *light = addSpot(&sketch, {0.4f, 0.5f, 0.3f}, 1.5f, 1, 0);
    const QVector3D last(-1.4f, -0.4f, 0.3f);
    sketch.scene.node("light-again", translation(last.x(), last.y(), last.z()))->setModel(light);
    sketch.expected.lights.push_back(sketch.expected.lights[0]);
    sketch.expected.lights[1].position = last;
    Material *material = sketch.addMaterial({0.8f, 0.9f, 1});
    sketch.addQuad(wall, material);
    sketch.addQuad(blocker, material);
    Scene &scene = sketch.scene.scene();
    ForwardPainter painter;
    const QImage drawn = drawFrame(m_context, painter, scene, withShadows);

    // Each node shines from its own place, and what the last one does not see lies in the shadow of both.
    sketch.expected.lights[0].shadowOrigin = last;
    QCOMPARE(faultOfShadow(sketch, drawn), QString());
    QCOMPARE(painter.shadowMaps().matrix(light), shadowMatrix(scene, *scene.findNode("light-again")));
    // Shadows from each node's own place would show.
    sketch.expected.lights[0].shadowOrigin.reset();
    QVERIFY(!sketch.fault(drawn).isEmpty());
}

void TestShadows::noMap_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("flag");
    QTest::addColumn<bool>("castShadows");
    QTest::addColumn<bool>("lowQuality");
    QTest::addColumn<bool>("map");
    QTest::newRow("spot light") << int(Light::SpotLight) << true << true << false << true;
    QTest::newRow("directional light") << int(Light::DirectionalLight) << true << true << false << true;
    QTest::newRow("point light") << int(Light::PointLight) << true << true << false << false;
    QTest::newRow("ambient light") << int(Light::AmbientLight) << true << true << false << false;
    QTest::newRow("light without the flag") << int(Light::SpotLight) << false << true << false << false;
    QTest::newRow("shadows off") << int(Light::SpotLight) << true << false << false << false;
    QTest::newRow("low quality") << int(Light::SpotLight) << true << true << true << false;
}

void TestShadows::noMap()
{
    QFETCH(int, type);
    QFETCH(bool, flag);
    QFETCH(bool, castShadows);
    QFETCH(bool, lowQuality);
    QFETCH(bool, map);
    FrameSketch sketch;
    Light *light = sketch.addLight(type, {1, 1, 1});
    light->setHotspotBeam(40);
    light->setFalloff(60);
    light->setShadow(flag);
    sketch.addQuad(wall, sketch.addMaterial({1, 1, 1}));
    ForwardPainter painter;
    drawFrame(m_context, painter, sketch.scene.scene(), [&](PainterState &state) {
        state.setCastShadows(castShadows);
        state.setLowQuality(lowQuality);
    });
    QCOMPARE(painter.shadowMaps().map(light) != nullptr, map);
    QCOMPARE(painter.shadowMaps().cubeMap(light) != nullptr, false);
    if (lowQuality)
        return;
    const GLuint program = ShadingPrograms::ofCurrentContext().program(Shading::SinglePassPhong).id();
    GLint isSet = -1;
    glGetUniformiv(program, glGetUniformLocation(program, "lights_shadowMap[0]"), &isSet);
    QCOMPARE(isSet != 0, map);
}

void TestShadows::pointLightsCastNone()
{
    FrameSketch sketch;
    sketch.addLight(Light::PointLight, {0.9f, 0.8f, 0.7f}, translation(1.5f, 1, 0))->setShadow(true);
    Material *material = sketch.addMaterial({0.8f, 0.9f, 1});
    sketch.addQuad(wall, material);
    sketch.addQuad(blocker, material);
    QCOMPARE(sketch.fault(drawFrame(m_context, sketch.scene.scene(), withShadows)), QString());

    // Nor does one whose cube map is there: it is bound, and not looked at.
    Scene &scene = sketch.scene.scene();
    ForwardPainter painter;
    drawFrame(m_context, painter, scene);
    painter.shadowMaps().makeCubeMap(scene.findNode("light-1")->lightModel());
    PainterState state(&scene);
    state.update();
    painter.renderCubeShadowMap(state, *scene.findNode("light-1"));
    QCOMPARE(sketch.fault(drawFrame(m_context, painter, scene, withShadows)), QString());
}

void TestShadows::lightMapTakesTheirPlace()
{
    QTemporaryDir folder;
    QImage white(4, 4, QImage::Format_RGB32);
    white.fill(Qt::white);
    QVERIFY(white.save(folder.filePath("scene.dae.png")));
    FrameSketch sketch;
    Light *light = addSpot(&sketch, {1, 1, 1}, 1.5f, 1, 0);
    sketch.addQuad(wall, sketch.addMaterial({1, 1, 1}));
    Scene &scene = sketch.scene.scene();
    scene.setName(folder.filePath("scene.dae"));
    ForwardPainter painter;
    const QImage drawn = drawFrame(m_context, painter, scene, withShadows);
    QVERIFY(!painter.shadowMaps().map(light));
    QCOMPARE(drawn.pixelColor(width / 2, height / 2), QColor(Qt::white));
}

void TestShadows::lightsThatCannotHaveAMapAreFatal_data()
{
    QTest::addColumn<QString>("expression");
    QTest::newRow("map of a point light") << "light && light->type() != Light::PointLight";
    QTest::newRow("map never made") << "shadowMap";
    QTest::newRow("cube map of a spot light") << "light && light->type() == Light::PointLight";
    QTest::newRow("cube map never made") << "cubemap";
}

void TestShadows::lightsThatCannotHaveAMapAreFatal()
{
    QFETCH(QString, expression);
    const FatalEnd end = FatalCases::end(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY2(end.aborted, qPrintable(end.text));
    QVERIFY2(
        end.text.contains(QLatin1Char('"') + expression + QLatin1String("\" in file src/ForwardPainter")),
        qPrintable(end.text));
}

namespace
{

std::function<void(OffscreenContext &)> drawingOf(int type, bool cube)
{
    return [type, cube](OffscreenContext &) {
        SceneSketch sketch;
        sketch.light(type, Qt::white);
        Scene &scene = sketch.scene();
        PainterState state(&scene);
        ForwardPainter painter;
        const Node &node = *scene.findNode("light-1");
        if (cube)
            painter.renderCubeShadowMap(state, node);
        else
            painter.renderShadowMap(state, node);
    };
}

} // namespace

int main(int argc, char **argv)
{
    return runWithFatalCases<TestShadows>(argc, argv, FrameSketch::size,
                                          {
                                              {"map of a point light", drawingOf(Light::PointLight, false)},
                                              {"map never made", drawingOf(Light::SpotLight, false)},
                                              {"cube map of a spot light", drawingOf(Light::SpotLight, true)},
                                              {"cube map never made", drawingOf(Light::PointLight, true)},
                                          });
}

#include "tst_shadows.moc"
