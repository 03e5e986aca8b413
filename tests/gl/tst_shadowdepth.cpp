#include "ForwardPainter.h"
#include "FrameTest.h"
#include "Geometry.h"
#include "Light.h"
#include "Material.h"
#include "Node.h"
#include "PainterState.h"

#include <QtTest>

#include <cmath>

using namespace Quorvel;
using namespace Quorvel::Test;

/// How far apart in depth a caster and a receiver must be: the bias at grazing light, and scenes so small
/// that scaling depths by 1/far widens them.
class TestShadowDepth : public FrameTest
{
    Q_OBJECT

public:
    using FrameTest::FrameTest;

private slots:
    void biasGrowsWithGrazingLight_data();
    void biasGrowsWithGrazingLight();
    void smallSceneIsLitWhereNothingStands_data();
    void smallSceneIsLitWhereNothingStands();
    void smallScenesLoseCasters_data();
    void smallScenesLoseCasters();
};

namespace
{

/// Eye and light look from the origin at a small wall, 2 away, that is white where the light reaches it.
/// Things beside the eye move the middle of the bounds to halfway between the two, so that the wall is near
/// the light's far distance. Lengths are times `scale`.
class WallSketch
{
public:
    explicit WallSketch(int type, float scale, const QVector3D &normal = {0, 0, 1}) : m_scale(scale)
    {
        m_sketch.camera();
        QMatrix4x4 lightWorld;
        // A directional light's 1000 units become 20 times the scale.
        if (type == Light::DirectionalLight)
            lightWorld.scale(0.02f * scale, 0.02f * scale, 1);
        Light *light = m_sketch.light(type, Qt::white, lightWorld);
        light->setShadow(true);
        light->setHotspotBeam(60);
        light->setFalloff(70);
        // Of shininess 0 a highlight is white from wherever the light comes.
        Material *white = m_sketch.material(QStringLiteral("white"));
        white->setSpecular(Qt::white);
        Geometry *wall = m_sketch.geometry();
        m_sketch.addQuad(wall, QStringLiteral("surface"), square(1, wallDistance), Winding::Clockwise,
                         QVector<QVector3D>(4, normal));
        Node *node = m_sketch.node(QStringLiteral("wall"), {});
        node->setModel(wall);
        node->bindMaterial(QStringLiteral("surface"), white);
        for (const float x : {-0.6f, 0.6f})
            m_sketch.quadNode(square(0.05f, 0), white, translation(scale * x, 0, 0));
    }

    /// Hides the wall from the light, and nothing from the eye.
    void addSheet(float distance)
    {
        Material *invisible = m_sketch.material(QStringLiteral("invisible"));
        invisible->setTransparency(1);
        m_sketch.quadNode(square(1.2f, distance), invisible);
    }

    /// The light's; times the scale.
    ClipDistances clip() { return clipDistances(m_sketch.scene(), {}); }
    /// What a directional light's map holds at a distance, if it could hold any number.
    double directionalDepth(float distance)
    {
        const double near = double(clip().near);
        const double far = double(clip().far);
        return (2.0 * double(distance) * double(m_scale) - (far + near)) / (far - near) / far;
    }

    /// 255 where the light reaches the middle of the wall, 0 where it does not.
    int brightness(OffscreenContext &context, bool castShadows)
    {
        const QImage drawn = drawFrame(context, m_sketch.scene(),
                                       [=](PainterState &state) { state.setCastShadows(castShadows); });
        return qRed(drawn.pixel(width / 2, height / 2));
    }

    static constexpr float wallDistance = 2;

private:
    Quad square(float edge, float distance) const
    {
        const float half = edge / 2;
        return {m_scale * QVector3D(-half, -half, -distance), m_scale * QVector3D(edge, 0, 0),
                m_scale * QVector3D(0, edge, 0)};
    }

    SceneSketch m_sketch;
    float m_scale;
};

} // namespace

void TestShadowDepth::biasGrowsWithGrazingLight_data()
{
    QTest::addColumn<double>("cosine");
    QTest::addColumn<bool>("shadow");
    QTest::newRow("straight on, bias 0.040") << 1.0 << true;
    QTest::newRow("cosine 0.1, bias 0.042") << 0.1 << true;
    QTest::newRow("cosine 0.035, bias 0.052") << 0.035 << true;
    QTest::newRow("cosine 0.022, bias 0.071") << 0.022 << false;
    QTest::newRow("cosine 0.01, bias 0.19") << 0.01 << false;
}

void TestShadowDepth::biasGrowsWithGrazingLight()
{
    QFETCH(double, cosine);
    QFETCH(bool, shadow);
    // Only the normal leans: the depths stay as they are.
    WallSketch sketch(Light::DirectionalLight, 1,
                      QVector3D(float(std::sqrt(1 - cosine * cosine)), 0, float(cosine)));
    const float sheet = WallSketch::wallDistance - 0.1447f;
    sketch.addSheet(sheet);
    const double apart = sketch.directionalDepth(WallSketch::wallDistance) - sketch.directionalDepth(sheet);
    QVERIFY2(std::abs(apart - 0.06) < 0.001, qPrintable(QString::number(apart)));
    QCOMPARE(sketch.brightness(m_context, false), 255);
    QCOMPARE(sketch.brightness(m_context, true), shadow ? 0 : 255);
}

void TestShadowDepth::smallSceneIsLitWhereNothingStands_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<float>("scale");
    for (const float scale : {1.0f, 0.4f, 0.1f, 0.01f}) {
        QTest::addRow("directional light, scale %g", double(scale)) << int(Light::DirectionalLight) << scale;
        QTest::addRow("spot light, scale %g", double(scale)) << int(Light::SpotLight) << scale;
    }
}

void TestShadowDepth::smallSceneIsLitWhereNothingStands()
{
    QFETCH(int, type);
    QFETCH(float, scale);
    WallSketch sketch(type, scale);
    QCOMPARE(sketch.clip().far < 1, scale < 1);
    QCOMPARE(sketch.brightness(m_context, false), 255);
    QCOMPARE(sketch.brightness(m_context, true), 255);
}

void TestShadowDepth::smallScenesLoseCasters_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<float>("scale");
    QTest::addColumn<float>("distance");
    QTest::addColumn<bool>("shadow");
    // The far distances are about 2.3 times the scale, the near ones a 54th of that.
    QTest::newRow("directional light") << int(Light::DirectionalLight) << 1.0f << 1.25f << true;
    QTest::newRow("directional light, nearer") << int(Light::DirectionalLight) << 1.0f << 0.2f << true;
    QTest::newRow("directional light, small scene") << int(Light::DirectionalLight) << 0.2f << 1.25f << true;
    QTest::newRow("directional light, small scene, nearer")
        << int(Light::DirectionalLight) << 0.2f << 0.2f << false;
    QTest::newRow("directional light, small scene, farther")
        << int(Light::DirectionalLight) << 0.2f << 1.85f << false;
    QTest::newRow("spot light") << int(Light::SpotLight) << 1.0f << 1.25f << true;
    QTest::newRow("spot light, far 0.92") << int(Light::SpotLight) << 0.4f << 0.4f << true;
    QTest::newRow("spot light, far 0.92, farther") << int(Light::SpotLight) << 0.4f << 1.25f << false;
    QTest::newRow("spot light, small scene") << int(Light::SpotLight) << 0.2f << 0.4f << false;
}

void TestShadowDepth::smallScenesLoseCasters()
{
    QFETCH(int, type);
    QFETCH(float, scale);
    QFETCH(float, distance);
    QFETCH(bool, shadow);
    WallSketch sketch(type, scale);
    sketch.addSheet(distance);
    QCOMPARE(sketch.clip().far < 1, scale < 1);
    QCOMPARE(sketch.brightness(m_context, false), 255);
    QCOMPARE(sketch.brightness(m_context, true), shadow ? 0 : 255);
}

int main(int argc, char **argv)
{
    return GlLane::run<TestShadowDepth>(argc, argv, FrameSketch::size);
}

#include "tst_shadowdepth.moc"
