#include "FrontFace.h"
#include "Geometry.h"
#include "Material.h"
#include "Node.h"
#include "SceneSketch.h"

#include <QtTest>

using namespace Quorvel;
using namespace Quorvel::Test;

class TestFrontFace : public QObject
{
    Q_OBJECT

private slots:
    void conventionalSceneIsClockwise();
    void oppositeSceneIsCounterClockwise();
    void largerAreaDecides();
    void areaIsThatOfTheWorld();
    void dividedSceneIsClockwise();
    void nothingToDecideByIsClockwise();
    void mirrorsDoNotCountAsOpposite();
    void mirroredNodeIsTurnedRound();
};

namespace
{

const Quad unitQuad = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};

QMatrix4x4 scale(float x, float y, float z)
{
    QMatrix4x4 matrix;
    matrix.scale(x, y, z);
    return matrix;
}

FrontFace decide(const QMatrix4x4 &clockwise, const QMatrix4x4 &counterClockwise)
{
    SceneSketch builder;
    Material *material = builder.material("m");
    builder.quadNode(unitQuad, material, clockwise, Winding::Clockwise);
    builder.quadNode(unitQuad, material, counterClockwise, Winding::CounterClockwise);
    return sceneFrontFace(builder.scene());
}

} // namespace

void TestFrontFace::conventionalSceneIsClockwise()
{
    SceneSketch builder;
    builder.quadNode(unitQuad, builder.material("m"));
    QVERIFY(sceneFrontFace(builder.scene()) == FrontFace::Clockwise);
}

void TestFrontFace::oppositeSceneIsCounterClockwise()
{
    SceneSketch builder;
    builder.quadNode(unitQuad, builder.material("m"), {}, Winding::CounterClockwise);
    QVERIFY(sceneFrontFace(builder.scene()) == FrontFace::CounterClockwise);
}

void TestFrontFace::largerAreaDecides()
{
    SceneSketch builder;
    Material *material = builder.material("m");
    for (int i = 0; i < 5; ++i)
        builder.quadNode(unitQuad, material, {}, Winding::Clockwise);
    builder.quadNode({{0, 0, 0}, {10, 0, 0}, {0, 10, 0}}, material, {}, Winding::CounterClockwise);
    QVERIFY(sceneFrontFace(builder.scene()) == FrontFace::CounterClockwise);
}

void TestFrontFace::areaIsThatOfTheWorld()
{
    QVERIFY(decide({}, scale(3, 3, 3)) == FrontFace::CounterClockwise);
    QVERIFY(decide(scale(3, 3, 3), {}) == FrontFace::Clockwise);
    // A stretch along the quad's normal leaves its area as it is.
    QVERIFY(decide({}, scale(1, 1, 100)) == FrontFace::Clockwise);
}

void TestFrontFace::dividedSceneIsClockwise()
{
    QVERIFY(decide({}, {}) == FrontFace::Clockwise);
    QVERIFY(decide({}, scale(1.3f, 1.3f, 1)) == FrontFace::Clockwise);
}

void TestFrontFace::nothingToDecideByIsClockwise()
{
    SceneSketch empty;
    QVERIFY(sceneFrontFace(empty.scene()) == FrontFace::Clockwise);

    SceneSketch withoutNormals;
    Geometry *geometry = withoutNormals.geometry();
    withoutNormals.addQuad(geometry, "surface", unitQuad, Winding::CounterClockwise,
                           QVector<QVector3D>(4, QVector3D()));
    withoutNormals.node("n", {})->setModel(geometry);
    QVERIFY(sceneFrontFace(withoutNormals.scene()) == FrontFace::Clockwise);

    SceneSketch across;
    geometry = across.geometry();
    across.addQuad(geometry, "surface", unitQuad, Winding::CounterClockwise,
                   QVector<QVector3D>(4, QVector3D(1, 0, 0)));
    across.node("n", {})->setModel(geometry);
    QVERIFY(sceneFrontFace(across.scene()) == FrontFace::Clockwise);
}

void TestFrontFace::mirrorsDoNotCountAsOpposite()
{
    SceneSketch builder;
    builder.quadNode(unitQuad, builder.material("m"), scale(-2, 2, 2));
    QVERIFY(sceneFrontFace(builder.scene()) == FrontFace::Clockwise);
}

void TestFrontFace::mirroredNodeIsTurnedRound()
{
    QVERIFY(nodeFrontFace(FrontFace::Clockwise, {}) == FrontFace::Clockwise);
    QVERIFY(nodeFrontFace(FrontFace::CounterClockwise, {}) == FrontFace::CounterClockwise);
    QVERIFY(nodeFrontFace(FrontFace::Clockwise, scale(-1, 1, 1)) == FrontFace::CounterClockwise);
    QVERIFY(nodeFrontFace(FrontFace::CounterClockwise, scale(1, 1, -3)) == FrontFace::Clockwise);
    QVERIFY(!isMirrored(scale(-1, -1, 1)));
    QVERIFY(!isMirrored(scale(1, 0, 1)));
    QVERIFY(isMirrored(translation(5, 6, 7) * rotation(40, 1, 2, 3) * scale(-1, -1, -1)));
}

QTEST_APPLESS_MAIN(TestFrontFace)

#include "tst_frontface.moc"
