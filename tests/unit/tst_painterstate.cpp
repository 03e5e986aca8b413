#include "FatalCase.h"
#include "Light.h"
#include "Material.h"
#include "Node.h"
#include "PainterState.h"
#include "SceneSketch.h"

#include <QtMath>
#include <QtTest>

using namespace Quorvel;
using namespace Quorvel::Test;

class TestPainterState : public QObject
{
    Q_OBJECT

private slots:
    void startsWithDefaults();
    void copyKeepsEverything();
    void clipPlanesHoldTheScene();
    void eyeInsideTheSceneKeepsItsDistance();
    void cameraMatrixIsInverseOfItsNode();
    void fieldOfViewIsVertical();
    void ambientLightsAdd();
    void otherLightsTurnOffTheGrey();
    void sceneWithoutLightsIsGrey();
    void frustumHoldsWhatIsSeen();
    void updateWithoutSceneIsFatal();
};

namespace
{

const Quad unitQuad = {{-1, -1, 0}, {2, 0, 0}, {0, 2, 0}};

} // namespace

void TestPainterState::startsWithDefaults()
{
    const PainterState state(nullptr);
    QCOMPARE(state.scene(), nullptr);
    QCOMPARE(state.viewport(), QRectF(0, 0, 0, 0));
    QCOMPARE(state.ambient(), QVector4D());
    QVERIFY(state.sceneToView().isIdentity());
    QVERIFY(state.viewToClip().isIdentity());
    QCOMPARE(state.znear(), 0.0f);
    QCOMPARE(state.zfar(), 1.0f);
    QCOMPARE(state.aspect(), 1.0f);
    QVERIFY(!state.backgroundColor().isValid());
    QVERIFY(state.backfaceCulling());
    QVERIFY(!state.lowQuality() && !state.castShadows() && !state.ambientOcclusion());
    QVERIFY(!state.outlines() && !state.animating());
    QVERIFY(state.frustum().visibleItems().isEmpty());
}

void TestPainterState::copyKeepsEverything()
{
    SceneSketch builder;
    builder.quadNode(unitQuad, builder.material("m"), translation(0, 0, -5));
    PainterState state(&builder.scene());
    state.setViewport({1, 2, 3, 4});
    state.setAspect(1.5f);
    state.setBackgroundColor(Qt::red);
    state.setBackfaceCulling(false);
    state.setLowQuality(true);
    state.setCastShadows(true);
    state.setAmbientOcclusion(true);
    state.setOutlines(true);
    state.setAnimating(true);
    state.update();

    const PainterState copy(state);
    QCOMPARE(copy.scene(), state.scene());
    QCOMPARE(copy.viewport(), QRectF(1, 2, 3, 4));
    QCOMPARE(copy.ambient(), state.ambient());
    QCOMPARE(copy.sceneToView(), state.sceneToView());
    QCOMPARE(copy.viewToClip(), state.viewToClip());
    QCOMPARE(copy.znear(), state.znear());
    QCOMPARE(copy.zfar(), state.zfar());
    QCOMPARE(copy.aspect(), 1.5f);
    QCOMPARE(copy.backgroundColor(), QColor(Qt::red));
    QVERIFY(!copy.backfaceCulling());
    QVERIFY(copy.lowQuality() && copy.castShadows() && copy.ambientOcclusion());
    QVERIFY(copy.outlines() && copy.animating());
    QCOMPARE(copy.frustum().visibleItems().size(), 1);
}

void TestPainterState::clipPlanesHoldTheScene()
{
    // Corners of a square of side 2 lie sqrt(2) from its centre, which is 10 in front of the eye.
    SceneSketch builder;
    builder.quadNode(unitQuad, builder.material("m"));
    builder.camera(translation(0, 0, 10));
    PainterState state(&builder.scene());
    state.update();
    QCOMPARE(state.znear(), 10.0f - float(M_SQRT2));
    QCOMPARE(state.zfar(), 10.0f + float(M_SQRT2));
}

void TestPainterState::eyeInsideTheSceneKeepsItsDistance()
{
    SceneSketch builder;
    builder.quadNode(unitQuad, builder.material("m"));
    builder.camera(translation(0, 0, 0.5f));
    PainterState state(&builder.scene());
    state.update();
    QCOMPARE(state.znear(), float(M_SQRT2) / 30.0f);
    QCOMPARE(state.zfar(), 0.5f + float(M_SQRT2));
}

void TestPainterState::cameraMatrixIsInverseOfItsNode()
{
    SceneSketch builder;
    builder.quadNode(unitQuad, builder.material("m"));
    Node *parent = builder.node("boom", translation(5, 0, 0));
    builder.camera(rotation(90, 0, 1, 0), 45, parent);
    PainterState state(&builder.scene());
    state.update();
    // The camera stands at (5, 0, 0) and looks along -x.
    const QVector3D ahead = state.sceneToView().map(QVector3D(2, 0, 0));
    QVERIFY2((ahead - QVector3D(0, 0, -3)).length() < 1e-5f, qPrintable(QString::number(ahead.z())));
}

void TestPainterState::fieldOfViewIsVertical()
{
    SceneSketch builder;
    builder.quadNode(unitQuad, builder.material("m"), translation(0, 0, -10));
    builder.camera({}, 60);
    PainterState state(&builder.scene());
    state.setAspect(2.0f);
    state.update();
    const float cotangent = float(1.0 / qTan(qDegreesToRadians(30.0)));
    QVERIFY(qAbs(state.viewToClip()(1, 1) - cotangent) < 1e-5f);
    QVERIFY(qAbs(state.viewToClip()(0, 0) - cotangent / 2.0f) < 1e-5f);
}

void TestPainterState::ambientLightsAdd()
{
    SceneSketch builder;
    builder.light(Light::AmbientLight, QColor::fromRgbF(0.2, 0.4, 0.6));
    builder.light(Light::AmbientLight, QColor::fromRgbF(0.2, 0.2, 0.2));
    PainterState state(&builder.scene());
    state.update();
    QVERIFY((state.ambient() - QVector4D(0.4f, 0.6f, 0.8f, 2.0f)).length() < 1e-4f);
    // A second update starts over.
    state.update();
    QVERIFY((state.ambient() - QVector4D(0.4f, 0.6f, 0.8f, 2.0f)).length() < 1e-4f);
}

void TestPainterState::otherLightsTurnOffTheGrey()
{
    SceneSketch builder;
    builder.light(Light::PointLight, Qt::white);
    PainterState state(&builder.scene());
    state.update();
    QCOMPARE(state.ambient(), QVector4D());
}

void TestPainterState::sceneWithoutLightsIsGrey()
{
    SceneSketch builder;
    PainterState state(&builder.scene());
    state.update();
    QCOMPARE(state.ambient(), QVector4D(0.4f, 0.4f, 0.4f, 1.0f));
}

void TestPainterState::frustumHoldsWhatIsSeen()
{
    SceneSketch builder;
    Material *material = builder.material("m");
    Node *seen = builder.quadNode(unitQuad, material, translation(0, 0, -10));
    builder.quadNode(unitQuad, material, translation(0, 0, 10));
    PainterState state(&builder.scene());
    state.update();
    QCOMPARE(state.frustum().visibleItems().size(), 1);
    QCOMPARE(state.frustum().visibleItems().first().node, seen);
    QCOMPARE(state.frustum().visibleItems().first().depth, -10.0f);
}

void TestPainterState::updateWithoutSceneIsFatal()
{
    const FatalEnd end = FatalCases::end(QStringLiteral("no scene"));
    QVERIFY2(end.aborted, qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1String("\"m_scene\"")), qPrintable(end.text));
    QVERIFY2(end.text.contains(QLatin1String("src/PainterState.cpp")), qPrintable(end.text));
}

int main(int argc, char **argv)
{
    const FatalCases cases{{QStringLiteral("no scene"), [] { PainterState(nullptr).update(); }}};
    if (cases.runRequested(argc, argv))
        return 0;
    QCoreApplication application(argc, argv);
    TestPainterState test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_painterstate.moc"
