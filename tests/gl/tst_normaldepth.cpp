#include "GlTest.h"
#include "MessageCapture.h"
#include "Node.h"
#include "PostSketch.h"

#include <QtTest>

using namespace Quorvel;
using namespace Quorvel::Test;

/// The off-screen images, and what the normal-depth pass writes, against values worked out by hand.
class TestNormalDepth : public GlTest
{
    Q_OBJECT

public:
    using GlTest::GlTest;

private slots:
    void targetsAreMadeOnceForASize();
    void programsAreBuiltOnce();
    void facingWall();
    void tiltedWall_data();
    void tiltedWall();
    void depthsAreSharesOfTheFarDistance();
    void nearerSurfaceWins();
    void transparentItemsWriteNormals();
    void invisibleItemsWriteNormals();
    void backFacesLeaveNothing();
    void bothWindingsShowTheirFronts_data();
    void bothWindingsShowTheirFronts();
};

void TestNormalDepth::targetsAreMadeOnceForASize()
{
    RenderTargets targets;
    QVERIFY(!targets.exist());
    targets.resize(QSize(40, 30));
    QVERIFY(targets.exist());
    for (QGLFramebufferObject *target :
         {&targets.normalDepth(), &targets.lighting(), &targets.blur(), &targets.occlusion()}) {
        QVERIFY(target->isValid());
        QCOMPARE(target->size(), QSize(40, 30));
        QCOMPARE(target->format().textureTarget(), GLenum(GL_TEXTURE_2D));
    }
    QCOMPARE(targets.normalDepth().attachment(), QGLFramebufferObject::Depth);
    QCOMPARE(targets.lighting().attachment(), QGLFramebufferObject::Depth);
    QCOMPARE(targets.blur().attachment(), QGLFramebufferObject::NoAttachment);
    QCOMPARE(targets.occlusion().attachment(), QGLFramebufferObject::NoAttachment);

    const QGLFramebufferObject *before = &targets.normalDepth();
    targets.resize(QSize(40, 30));
    QCOMPARE(&targets.normalDepth(), before);
    targets.resize(QSize(41, 30));
    QCOMPARE(targets.size(), QSize(41, 30));
    QCOMPARE(targets.occlusion().size(), QSize(41, 30));
    targets.clear();
    QVERIFY(!targets.exist());
}

void TestNormalDepth::programsAreBuiltOnce()
{
    ShadingPrograms programs;
    QStringList complaints;
    {
        const MessageCapture capture;
        programs.normalDepth();
        programs.outline();
        programs.ambientOcclusion();
        programs.occlusionBlur();
        complaints = MessageCapture::lines();
    }
    QCOMPARE(complaints, QStringList());
    QVERIFY(programs.normalDepth().isLinked());
    QVERIFY(programs.outline().isLinked());
    QVERIFY(programs.ambientOcclusion().isLinked());
    QVERIFY(programs.occlusionBlur().isLinked());
    const unsigned int id = programs.ambientOcclusion().id();
    QCOMPARE(programs.ambientOcclusion().id(), id);
}

void TestNormalDepth::facingWall()
{
    SceneSketch scene;
    scene.camera({}, 50);
    // Bounding sphere: centre 5 away, radius 5; so near is 5 / 30 and far 10.
    addQuad(scene, {{-4, -3, -5}, {8, 0, 0}, {0, 6, 0}});
    // It does not fill the picture.
    scene.incomplete().nodes().first()->setLocalTransform(translation(3, 0, 0));
    PostSketch sketch;
    const Image image = sketch.normalDepth(scene.scene());
    QCOMPARE(sketch.targets.normalDepth().size(), PostSketch::size);

    const double depth = 1 - (5 - 5.0 / 30) / 10;
    const Image::Texel &wall = image.at(width / 4, middleY);
    QVERIFY2(isNear(wall[0], 127.5, 0.6) && isNear(wall[1], 127.5, 0.6) && wall[2] == 255,
             qPrintable(QStringLiteral("%1 %2 %3").arg(wall[0]).arg(wall[1]).arg(wall[2])));
    QVERIFY2(isNear(wall[3], 255 * depth, 0.6), qPrintable(QString::number(wall[3])));
    QCOMPARE(image.at(width - 1, middleY), Image::Texel());
}

void TestNormalDepth::tiltedWall_data()
{
    QMatrix4x4 stretched = rotation(10, 0, 0, 1);
    stretched.scale(1, 1.5f, 3);
    QTest::addColumn<QMatrix4x4>("camera");
    QTest::addColumn<QMatrix4x4>("node");
    QTest::newRow("as it is") << QMatrix4x4() << QMatrix4x4();
    QTest::newRow("turned eye") << translation(2, 1, 3) * rotation(-12, 1, 1, 0) << QMatrix4x4();
    QTest::newRow("stretched node") << QMatrix4x4() << stretched;
    QTest::newRow("both") << translation(2, 1, 3) * rotation(-12, 1, 1, 0) << stretched;
}

void TestNormalDepth::tiltedWall()
{
    QFETCH(QMatrix4x4, camera);
    QFETCH(QMatrix4x4, node);
    SceneSketch scene;
    scene.camera(camera, 50);
    const Quad quad = {{-9, -6, -4}, {18, 0, -6}, {0, 12, 0}};
    addQuad(scene, quad)->setLocalTransform(node);
    PostSketch sketch;
    const PainterState state = PostSketch::state(scene.scene());
    const Image image = sketch.normalDepth(scene.scene());

    const QMatrix4x4 toView = camera.inverted() * node;
    const QVector3D origin = toView.map(quad.origin);
    const QVector3D normal =
        QVector3D::crossProduct(toView.mapVector(quad.u), toView.mapVector(quad.v)).normalized();
    int compared = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            if (image.depth(x, y) <= 0)
                continue;
            const double rayX = ((x + 0.5) / width * 2 - 1) / double(state.viewToClip()(0, 0));
            const double rayY = ((y + 0.5) / height * 2 - 1) / double(state.viewToClip()(1, 1));
            const double along = rayX * double(normal.x()) + rayY * double(normal.y()) - double(normal.z());
            const double distance = double(QVector3D::dotProduct(origin, normal)) / along;
            const double depth = 1 - (distance - double(state.znear())) / double(state.zfar());
            QVERIFY2(isNear(image.depth(x, y) * 255, depth * 255, 0.6),
                     place(x, y, image.depth(x, y), depth));
            for (int i = 0; i < 3; ++i) {
                const double encoded = (double(normal[i]) + 1) / 2;
                QVERIFY2(isNear(image.value(x, y, i) * 255, encoded * 255, 0.6),
                         place(x, y, image.value(x, y, i), encoded));
            }
            ++compared;
        }
    }
    QVERIFY2(compared > width * height / 3, qPrintable(QString::number(compared)));
}

void TestNormalDepth::depthsAreSharesOfTheFarDistance()
{
    SceneSketch scene;
    scene.camera(translation(0, 0, 5), 50);
    // Bounding sphere: centre 15 away, radius 5; so near is 10 and far 20, and the wall is in the middle.
    addQuad(scene, {{-4, -3, -10}, {8, 0, 0}, {0, 6, 0}});
    PostSketch sketch;
    const Image image = sketch.normalDepth(scene.scene());
    QVERIFY2(isNear(image.depth(middleX, middleY), 0.75, 0.003),
             qPrintable(QString::number(image.depth(middleX, middleY))));
}

void TestNormalDepth::nearerSurfaceWins()
{
    SceneSketch scene;
    scene.camera({}, 50);
    addQuad(scene, {{-1, -1, -4}, {2, 0, 1}, {0, 2, 0}});
    addQuad(scene, {{-8, -3, -6}, {16, 0, 0}, {0, 6, 0}});
    PostSketch sketch;
    const Image image = sketch.normalDepth(scene.scene());
    QVERIFY(image.value(middleX, middleY, 0) < 0.4);
    QVERIFY(isNear(image.value(width / 8, middleY, 0), 0.5, 0.01));
    QVERIFY(image.depth(middleX, middleY) > image.depth(width / 8, middleY) + 0.1);
}

void TestNormalDepth::transparentItemsWriteNormals()
{
    SceneSketch scene;
    scene.camera({}, 50);
    addQuad(scene, {{-4, -3, -5}, {8, 0, 0}, {0, 6, 0}}, 0.5f);
    PostSketch sketch;
    QVERIFY(sketch.normalDepth(scene.scene()).depth(middleX, middleY) > 0);
}

void TestNormalDepth::invisibleItemsWriteNormals()
{
    SceneSketch scene;
    scene.camera({}, 50);
    addQuad(scene, {{-4, -3, -5}, {4, 0, 0}, {0, 6, 0}}, 1.0f);
    addQuad(scene, {{0, -3, -5}, {4, 0, 0}, {0, 6, 0}}, 1.01f);
    PostSketch sketch;
    const Image image = sketch.normalDepth(scene.scene());
    QVERIFY(image.depth(width / 4, middleY) > 0);
    QCOMPARE(image.at(width * 3 / 4, middleY), Image::Texel());
}

void TestNormalDepth::backFacesLeaveNothing()
{
    SceneSketch scene;
    scene.camera({}, 50);
    // The front one of these makes the scene clockwise; the other shows its back.
    addQuad(scene, {{-4, -3, -5}, {4, 0, 0}, {0, 6, 0}});
    addQuad(scene, {{4, -3, -5}, {-4, 0, 0}, {0, 6, 0}});
    PostSketch sketch;
    const Image culled = sketch.normalDepth(scene.scene());
    QVERIFY(culled.depth(width / 4, middleY) > 0);
    QCOMPARE(culled.at(width * 3 / 4, middleY), Image::Texel());

    PainterState state = PostSketch::state(scene.scene());
    state.setBackfaceCulling(false);
    sketch.drawNormalDepth(state);
    const Image both = read(sketch.targets.normalDepth());
    QVERIFY(both.depth(width * 3 / 4, middleY) > 0);
    QCOMPARE(int(both.at(width * 3 / 4, middleY)[2]), 0);
}

void TestNormalDepth::bothWindingsShowTheirFronts_data()
{
    QTest::addColumn<bool>("clockwise");
    QTest::addColumn<bool>("mirrored");
    QTest::newRow("clockwise") << true << false;
    QTest::newRow("counter-clockwise") << false << false;
    QTest::newRow("clockwise, mirrored node") << true << true;
    QTest::newRow("counter-clockwise, mirrored node") << false << true;
}

void TestNormalDepth::bothWindingsShowTheirFronts()
{
    QFETCH(bool, clockwise);
    QFETCH(bool, mirrored);
    const Winding winding = clockwise ? Winding::Clockwise : Winding::CounterClockwise;
    SceneSketch scene;
    scene.camera({}, 50);
    // A large wall decides for the scene.
    addQuad(scene, {{-40, -30, -50}, {80, 0, 0}, {0, 60, 0}}, 0, winding);
    Node *small = addQuad(scene, {{-1, -1, -5}, {2, 0, 0}, {0, 2, 0}}, 0, winding);
    QMatrix4x4 transform;
    transform.scale(mirrored ? -1 : 1, 1, 1);
    small->setLocalTransform(transform);
    PostSketch sketch;
    const Image image = sketch.normalDepth(scene.scene());
    const double wall = image.depth(width / 8, middleY);
    QVERIFY(wall > 0);
    QVERIFY(image.depth(middleX, middleY) > wall + 0.2);
    QCOMPARE(int(image.at(middleX, middleY)[2]), 255);
}

int main(int argc, char **argv)
{
    return GlLane::run<TestNormalDepth>(argc, argv, PostSketch::screenSize);
}

#include "tst_normaldepth.moc"
