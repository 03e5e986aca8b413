#include "ForwardPainter.h"
#include "FrameTest.h"
#include "Geometry.h"
#include "Light.h"
#include "Material.h"
#include "Node.h"
#include "PainterState.h"
#include "ShadingPrograms.h"

#include <QtTest>

#include <cmath>

using namespace Quorvel;
using namespace Quorvel::Test;

/// Each kind of light and surface against an independent computation of what it must look like.
class TestLighting : public FrameTest
{
    Q_OBJECT

public:
    using FrameTest::FrameTest;

private slots:
    void ambientOnly();
    void ambientLightsAdd();
    void noLights();
    void directional();
    void directionalWithTarget();
    void point();
    void spotCone();
    void spotWithoutFalloff();
    void spotFadesInwards_data();
    void spotFadesInwards();
    void spotEndsSharply_data();
    void spotEndsSharply();
    void specular();
    void interpolatedNormals();
    void threeLights();
    void moreThanThreeLights();
    void unevenScalesOfLightAndCamera_data();
    void unevenScalesOfLightAndCamera();
    void multiplierIsNotUsed();
    void directionalKeepsTheSlotsSpotFlag();
    void newPainterStartsWithoutSpotFlags_data();
    void newPainterStartsWithoutSpotFlags();
    void farFromTheOrigin();
    void lowQualityLightsPerVertex();
    void withoutAnyProgramOnlyTheBackgroundShows();
    void unlinkedProgramFallsBack();
};

namespace
{

void addQualityRows()
{
    QTest::addColumn<bool>("lowQuality");
    QTest::newRow("per pixel") << false;
    QTest::newRow("per vertex") << true;
}

/// A spot light to the left of the eye, whose cone ends, in full angles, on the wall before it: the wall's
/// left corners lie 24 degrees off its axis, the right ones 47.
struct SideSpot
{
    SideSpot(float hotspot, float falloff, bool lowQuality) : lowQuality(lowQuality)
    {
        sketch.expected.perVertex = lowQuality;
        sketch.addSpot({0.9f, 0.8f, 0.7f}, translation(-2, 0, 0), hotspot, falloff);
        sketch.addQuad(wall, material);
    }

    QImage draw(OffscreenContext &context)
    {
        return drawFrame(context, sketch.scene.scene(),
                         [this](PainterState &state) { state.setLowQuality(lowQuality); });
    }
    static int inside(const QImage &drawn) { return qRed(drawn.pixel(20, height / 2)); }
    static int outside(const QImage &drawn) { return qRed(drawn.pixel(width - 10, height / 2)); }

    FrameSketch sketch;
    Material *material = sketch.addMaterial({0.9f, 0.9f, 0.9f});
    bool lowQuality;
};

} // namespace

void TestLighting::ambientOnly()
{
    FrameSketch sketch;
    sketch.scene.light(Light::AmbientLight, QColor::fromRgbF(0.5, 0.25, 1.0));
    Material *material = sketch.addMaterial({0.9f, 0.9f, 0.9f}, {0.8f, 0.6f, 0.4f});
    sketch.addQuad(wall, material, {0.5f, 0.25f, 1.0f});
    QCOMPARE(fault(sketch), QString());
}

void TestLighting::ambientLightsAdd()
{
    FrameSketch sketch;
    sketch.scene.light(Light::AmbientLight, QColor::fromRgbF(0.5, 0.25, 0));
    sketch.scene.light(Light::AmbientLight, QColor::fromRgbF(0.25, 0.25, 0.25));
    Material *material = sketch.addMaterial({}, {0.8f, 0.6f, 0.4f});
    sketch.addQuad(wall, material, {0.75f, 0.5f, 0.25f});
    QCOMPARE(fault(sketch), QString());
}

void TestLighting::noLights()
{
    FrameSketch sketch;
    Material *material = sketch.addMaterial({1, 1, 1}, {1, 0.5f, 0.25f});
    sketch.addQuad(wall, material, {0.4f, 0.4f, 0.4f});
    const QImage image = drawFrame(m_context, sketch.scene.scene());
    QCOMPARE(image.pixelColor(width / 2, height / 2), QColor(102, 51, 26));
    QCOMPARE(sketch.fault(image), QString());
}

void TestLighting::directional()
{
    FrameSketch sketch;
    sketch.addLight(Light::DirectionalLight, {0.9f, 0.6f, 0.3f},
                    translation(100, 0, 0) * rotation(-40, 1, 0, 0) * rotation(25, 0, 1, 0));
    sketch.addQuad(wall, sketch.addMaterial({0.8f, 0.9f, 1.0f}));
    QCOMPARE(fault(sketch), QString());
}

void TestLighting::directionalWithTarget()
{
    FrameSketch sketch;
    Light *light = sketch.addLight(Light::DirectionalLight, {0.9f, 0.6f, 0.3f}, translation(3, 0, 0));
    light->setTarget("aim");
    sketch.scene.node("aim", translation(0, 0, -4));
    sketch.expected.lights[0].direction = Reference::Vector(-0.6, 0, -0.8);
    sketch.addQuad(wall, sketch.addMaterial({1, 1, 1}));
    QCOMPARE(fault(sketch), QString());
}

void TestLighting::point()
{
    FrameSketch sketch;
    sketch.addLitWall();
    QCOMPARE(fault(sketch), QString());
}

void TestLighting::spotCone()
{
    FrameSketch sketch;
    sketch.addSpot({1, 1, 1}, translation(0.4f, 0, 0) * rotation(5, 0, 1, 0), 16, 30);
    sketch.addQuad(wall, sketch.addMaterial({1, 1, 1}));
    const QImage image = drawFrame(m_context, sketch.scene.scene());
    QCOMPARE(sketch.fault(image), QString());

    int full = 0;
    int penumbra = 0;
    int dark = 0;
    for (int x = 0; x < width; ++x) {
        const int red = image.pixelColor(x, height / 2).red();
        ++(red > 240 ? full : red > 0 ? penumbra : dark);
    }
    QVERIFY(full > 10 && penumbra > 10 && dark > 10);
}

void TestLighting::spotWithoutFalloff()
{
    FrameSketch sketch;
    Light *light = sketch.addLight(Light::SpotLight, {1, 1, 1});
    light->setHotspotBeam(30);
    // It fades out over a tenth of its angle.
    sketch.expected.lights[0].hotspot = 30;
    sketch.expected.lights[0].falloff = 33;
    sketch.addQuad(wall, sketch.addMaterial({1, 1, 1}));
    const Reference::Comparison comparison =
        Reference::compare(sketch.expected, drawFrame(m_context, sketch.scene.scene()), 3);
    QVERIFY2(comparison.differing == 0, qPrintable(describe(comparison)));
}

void TestLighting::spotFadesInwards_data()
{
    addQualityRows();
}

void TestLighting::spotFadesInwards()
{
    QFETCH(bool, lowQuality);
    SideSpot side(80, 60, lowQuality);
    // Dark around its axis, and full from the hotspot's angle outwards.
    const QImage drawn = side.draw(m_context);
    QCOMPARE(side.sketch.fault(drawn), QString());
    QVERIFY(side.inside(drawn) < side.outside(drawn));
}

void TestLighting::spotEndsSharply_data()
{
    addQualityRows();
}

void TestLighting::spotEndsSharply()
{
    QFETCH(bool, lowQuality);
    SideSpot side(70, 70, lowQuality);
    const QImage drawn = side.draw(m_context);
    QCOMPARE(side.sketch.fault(drawn), QString());
    QVERIFY(side.inside(drawn) > side.outside(drawn));
}

void TestLighting::specular()
{
    FrameSketch sketch;
    sketch.addLight(Light::PointLight, {0.9f, 0.9f, 0.9f}, translation(1.5f, 1, -2));
    Material *material = sketch.addGlossyMaterial({0.2f, 0.1f, 0.3f}, {0.8f, 0.6f, 0.2f}, 25);
    material->setSpecularLevel(0.75f);
    sketch.addQuad(wall, material);
    const QImage image = drawFrame(m_context, sketch.scene.scene());
    QCOMPARE(sketch.fault(image), QString());
    // The mirror point of light and eye lies at 3/8 of the way from above the eye to above the light.
    int brightest = 0;
    for (int x = 0; x < width; ++x) {
        if (image.pixelColor(x, 35).red() > image.pixelColor(brightest, 35).red())
            brightest = x;
    }
    QVERIFY2(brightest > width / 2, qPrintable(QString::number(brightest)));
}

void TestLighting::interpolatedNormals()
{
    FrameSketch sketch;
    sketch.addLight(Light::PointLight, {0.9f, 0.9f, 0.9f}, translation(0, 0, -2));
    Material *material = sketch.addGlossyMaterial({0.7f, 0.7f, 0.7f}, {0.3f, 0.3f, 0.3f}, 8);
    const QVector<QVector3D> normals = {
        {-0.6f, -0.4f, 1}, {0.6f, -0.4f, 1}, {0.6f, 0.4f, 1}, {-0.6f, 0.4f, 1}};
    Geometry *geometry = sketch.scene.geometry();
    sketch.scene.addQuad(geometry, "s", wall, Winding::Clockwise, normals);
    Node *node = sketch.scene.node("wall", {});
    node->setModel(geometry);
    node->bindMaterial("s", material);
    std::vector<Reference::Triangle> triangles = Reference::quad(wall.origin, wall.u, wall.v);
    const int corners[2][3] = {{0, 1, 2}, {0, 2, 3}};
    for (size_t t = 0; t < 2; ++t) {
        for (size_t c = 0; c < 3; ++c)
            triangles[t].normals[c] = normals[corners[t][c]];
    }
    sketch.expected.items.push_back({triangles, surface(*material), false});
    QCOMPARE(fault(sketch), QString());
}

void TestLighting::threeLights()
{
    FrameSketch sketch;
    sketch.addLight(Light::PointLight, {0.9f, 0.1f, 0.1f}, translation(-2, 0, -4));
    sketch.addLight(Light::DirectionalLight, {0, 0.5f, 0}, rotation(-30, 0, 1, 0));
    sketch.addSpot({0, 0.1f, 0.8f}, translation(1.5f, 0, 0), 10, 40);
    Material *material = sketch.addGlossyMaterial({0.8f, 0.8f, 0.8f}, {0.2f, 0.2f, 0.2f}, 10);
    sketch.addQuad(wall, material);
    QCOMPARE(fault(sketch), QString());
}

void TestLighting::moreThanThreeLights()
{
    FrameSketch sketch;
    sketch.scene.light(Light::AmbientLight, Qt::black);
    sketch.addLight(Light::PointLight, {0.6f, 0, 0}, translation(-2, 0, -4));
    sketch.addLight(Light::PointLight, {0, 0.6f, 0}, translation(0, 0, -4));
    sketch.addLight(Light::PointLight, {0, 0, 0.6f}, translation(2, 0, -4));
    sketch.scene.light(Light::PointLight, Qt::white, translation(0, 1, -3));
    sketch.scene.light(Light::DirectionalLight, Qt::white);
    sketch.addQuad(wall, sketch.addMaterial({1, 1, 1}));
    QCOMPARE(fault(sketch), QString());
}

void TestLighting::unevenScalesOfLightAndCamera_data()
{
    addQualityRows();
}

void TestLighting::unevenScalesOfLightAndCamera()
{
    QFETCH(bool, lowQuality);
    const auto scaling = [](float x, float y, float z) {
        QMatrix4x4 matrix;
        matrix.scale(x, y, z);
        return matrix;
    };
    FrameSketch sketch;
    sketch.expected.perVertex = lowQuality;
    QList<Node *> &nodes = sketch.scene.incomplete().nodes();
    nodes.first()->setLocalTransform(scaling(1.25f, 0.8f, 0.9f) * rotation(20, 0, 1, 0));
    // Light is worked out in view space, and so is the reference: what it knows goes through these, as points
    // and as normals, which keep the length that they get.
    const QMatrix4x4 points = rotation(-20, 0, 1, 0) * scaling(1 / 1.25f, 1 / 0.8f, 1 / 0.9f);
    const QMatrix4x4 normals = rotation(-20, 0, 1, 0) * scaling(1.25f, 0.8f, 0.9f);

    std::vector<Reference::Light> &expected = sketch.expected.lights;
    sketch.addLight(Light::PointLight, {0.2f, 0.3f, 0.5f}, translation(-1, 1, -2));
    expected[0].position = points.map(QVector3D(-1, 1, -2));
    sketch.addSpot({0.2f, 0.9f, 0.3f}, translation(-1.5f, 0, 0), 40, 60);
    expected[1].position = points.map(QVector3D(-1.5f, 0, 0));
    expected[1].direction = normals.mapVector({0, 0, -1});
    // Turned, this one shines along (0, -sqrt(3), -1), before its parent stretches it.
    sketch.addLight(Light::DirectionalLight, {0.6f, 0.4f, 0.2f}, rotation(-60, 1, 0, 0));
    Node *turned = nodes.last();
    turned->setParent(sketch.scene.node("parent", scaling(1, 3, 1)));
    expected[2].direction = normals.mapVector(QVector3D(0, -std::sqrt(3.0f) / 3, -1).normalized());

    Material *material = sketch.addMaterial({0.8f, 0.9f, 0.7f});
    const Quad leaning = {{-3, -2, -4}, {6, 0, -2}, {0, 4, -1}};
    sketch.scene.quadNode(leaning, material);
    std::vector<Reference::Triangle> seen =
        Reference::quad(points.map(leaning.origin), points.mapVector(leaning.u), points.mapVector(leaning.v));
    for (Reference::Triangle &triangle : seen) {
        for (Reference::Vector &normal : triangle.normals)
            normal = normals.mapVector(leaning.normal());
    }
    sketch.expected.items.push_back({seen, surface(*material), false});
    QCOMPARE(fault(sketch, [=](PainterState &state) { state.setLowQuality(lowQuality); }), QString());
}

void TestLighting::multiplierIsNotUsed()
{
    FrameSketch sketch;
    sketch.addLight(Light::DirectionalLight, {0.3f, 0.3f, 0.3f})->setMultiplier(3);
    sketch.addQuad(wall, sketch.addMaterial({1, 1, 1}));
    QCOMPARE(fault(sketch), QString());
}

void TestLighting::directionalKeepsTheSlotsSpotFlag()
{
    FrameSketch spotScene;
    Light *spot = spotScene.addLight(Light::SpotLight, {1, 1, 1});
    spot->setHotspotBeam(20);
    spot->setFalloff(60);
    spotScene.addQuad(wall, spotScene.addMaterial({1, 1, 1}));

    FrameSketch sketch;
    sketch.addLight(Light::DirectionalLight, {1, 1, 1}, rotation(20, 1, 0, 0));
    sketch.addQuad(wall, sketch.addMaterial({1, 1, 1}));

    // In a painter that has seen no spot light, a directional light is what it is.
    ForwardPainter painter;
    QCOMPARE(sketch.fault(drawFrame(m_context, painter, sketch.scene.scene())), QString());
    drawFrame(m_context, painter, spotScene.scene.scene());
    // From then on its cone is the other light's, which shines along -z: 20 degrees off lies between 10
    // and 30.
    const double pi = std::acos(-1.0);
    const double factor = (std::cos(pi / 9) - std::cos(pi / 6)) / (std::cos(pi / 18) - std::cos(pi / 6));
    sketch.expected.lights[0].color = Reference::Vector(factor, factor, factor);
    QCOMPARE(sketch.fault(drawFrame(m_context, painter, sketch.scene.scene())), QString());
}

void TestLighting::newPainterStartsWithoutSpotFlags_data()
{
    QTest::addColumn<bool>("lowQuality");
    QTest::newRow("per pixel") << false;
    QTest::newRow("per vertex") << true;
}

void TestLighting::newPainterStartsWithoutSpotFlags()
{
    QFETCH(bool, lowQuality);
    const auto setQuality = [lowQuality](PainterState &state) { state.setLowQuality(lowQuality); };
    FrameSketch spotScene;
    for (int i = 0; i < MaxLights; ++i)
        spotScene.addSpot({1, 1, 1}, {}, 5, 10);
    spotScene.addQuad(wall, spotScene.addMaterial({1, 1, 1}));
    drawFrame(m_context, spotScene.scene.scene(), setQuality);

    FrameSketch sketch;
    sketch.expected.perVertex = lowQuality;
    for (int i = 0; i < MaxLights; ++i)
        sketch.addLight(Light::DirectionalLight, {0.3f, 0.3f, 0.3f}, rotation(60, 1, 0, 0));
    sketch.addQuad(wall, sketch.addMaterial({1, 1, 1}));
    QCOMPARE(fault(sketch, setQuality), QString());
}

void TestLighting::farFromTheOrigin()
{
    // View positions of 1,500 units: half-precision floats would overflow when they are squared.
    FrameSketch sketch;
    const Quad farWall = {wall.origin * 300, wall.u * 300, wall.v * 300};
    sketch.addSpot({1, 1, 1}, translation(100, 0, 0), 16, 30);
    Material *material = sketch.addGlossyMaterial({0.8f, 0.8f, 0.8f}, {0.2f, 0.2f, 0.2f}, 30);
    sketch.addQuad(farWall, material);
    QCOMPARE(fault(sketch), QString());
}

void TestLighting::lowQualityLightsPerVertex()
{
    FrameSketch sketch;
    sketch.expected.perVertex = true;
    sketch.addLight(Light::PointLight, {1, 0.8f, 0.5f}, translation(1.5f, 0.5f, -3.5f));
    sketch.addSpot({0, 0.5f, 1}, translation(-2, 0, 0), 20, 120);
    sketch.addLight(Light::DirectionalLight, {0.2f, 0.2f, 0.2f}, rotation(30, 1, 0, 0));
    Material *material = sketch.addGlossyMaterial({0.9f, 0.9f, 0.9f}, {0.3f, 0.3f, 0.3f}, 3);
    // The reference splits a quad along the same diagonal as the scene does.
    sketch.addQuad(wall, material);
    const QImage low =
        drawFrame(m_context, sketch.scene.scene(), [](PainterState &state) { state.setLowQuality(true); });
    QCOMPARE(sketch.fault(low), QString());
    QVERIFY(low != drawFrame(m_context, sketch.scene.scene()));
}

void TestLighting::withoutAnyProgramOnlyTheBackgroundShows()
{
    FrameSketch sketch;
    sketch.addLitWall();
    ForwardPainter painter;
    ShadingPrograms::ofCurrentContext().program(Shading::SinglePassPhong) = ShaderProgram();
    ShadingPrograms::ofCurrentContext().program(Shading::PerVertexPhong) = ShaderProgram();
    const QImage picture = drawFrame(m_context, painter, sketch.scene.scene(), [](PainterState &state) {
        state.setBackgroundColor(QColor(10, 20, 30));
    });
    QVERIFY(!picture.isNull());
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            QCOMPARE(picture.pixelColor(x, y), QColor(10, 20, 30));
    }
}

void TestLighting::unlinkedProgramFallsBack()
{
    FrameSketch sketch;
    sketch.expected.perVertex = true;
    sketch.addLitWall();
    ForwardPainter painter;
    ShadingPrograms::ofCurrentContext().program(Shading::SinglePassPhong) = ShaderProgram();
    QCOMPARE(sketch.fault(drawFrame(m_context, painter, sketch.scene.scene())), QString());
}

int main(int argc, char **argv)
{
    return GlLane::run<TestLighting>(argc, argv, FrameSketch::size);
}

#include "tst_lighting.moc"
