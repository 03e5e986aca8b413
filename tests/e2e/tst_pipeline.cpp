#include "Geometry.h"
#include "Gles2.h"
#include "Material.h"
#include "MessageCapture.h"
#include "Node.h"
#include "Pipeline.h"
#include "SceneSketch.h"
#include "ViewerWindow.h"

#include <QSignalSpy>

using namespace Quorvel;
using namespace Quorvel::Test;

namespace
{

/// Tells when it goes.
class WatchedScene : public Scene
{
public:
    explicit WatchedScene(int *deletions) : m_deletions(deletions) {}
    ~WatchedScene() override { ++*m_deletions; }

private:
    int *m_deletions;
};

/// A surface on the screen that paints when the test says so, and only then.
class OpenPipeline : public Pipeline
{
public:
    OpenPipeline()
    {
        setAutoBufferSwap(false);
        setUpdatesEnabled(false);
        resize(64, 48);
        show();
    }

    using Pipeline::resizeGL;

    QColor middleAfterPaint()
    {
        glDraw();
        const QImage picture = grabFrameBuffer();
        return picture.pixelColor(picture.rect().center());
    }
};

/// A wall that fills the view, lit by nothing but the 0.4 grey of a scene without lights.
Scene *wallScene(QMatrix4x4 cameraPlace = translation(0.0f, 0.0f, 3.0f))
{
    // The pipeline owns its scene, so the sketch's contents are moved over through the record.
    SceneSketch sketch;
    sketch.camera(cameraPlace);
    Material *material = sketch.material(QStringLiteral("wall"));
    material->setAmbient(QColor::fromRgbF(1.0, 0.5, 0.0));
    sketch.quadNode({{-5.0f, -5.0f, 0.0f}, {10.0f, 0.0f, 0.0f}, {0.0f, 10.0f, 0.0f}}, material);
    QByteArray record;
    QDataStream out(&record, QIODevice::WriteOnly);
    sketch.scene().save(out);
    auto *scene = new Scene;
    QDataStream in(record);
    scene->load(in);
    return scene;
}

const QColor wallColor(102, 51, 0);
const QColor black(0, 0, 0);

bool isNear(const QColor &actual, const QColor &expected)
{
    return qAbs(actual.red() - expected.red()) <= 1 && qAbs(actual.green() - expected.green()) <= 1 &&
           qAbs(actual.blue() - expected.blue()) <= 1;
}

} // namespace

class TestPipeline : public QObject
{
    Q_OBJECT

private slots:
    void startsWithDefaults();
    void withoutSceneIsBlack();
    void firstPaintWithSceneIsBlackAndAnnouncesItself();
    void withoutPainterIsBlack();
    void sceneWithoutCameraIsBlack();
    void setSceneDeletesTheOneBefore();
    void heightOfZeroCountsAsOne();
    void sameTypeAgainChangesNothing();
    void effectsReachTheWindow_data();
    void effectsReachTheWindow();
    void preparePainterClearsToBlack();
    void frameRateIsLoggedOnlyWhileAnimating();
};

void TestPipeline::startsWithDefaults()
{
    Pipeline pipeline;
    QVERIFY(pipeline.testAttribute(Qt::WA_PaintOnScreen));
    QVERIFY(pipeline.testAttribute(Qt::WA_NoSystemBackground));
    QVERIFY(!pipeline.state().scene());
    QVERIFY(pipeline.state().backfaceCulling());
    QVERIFY(!pipeline.state().castShadows() && !pipeline.state().lowQuality() &&
            !pipeline.state().animating());
}

void TestPipeline::withoutSceneIsBlack()
{
    OpenPipeline pipeline;
    QSignalSpy initialized(&pipeline, &Pipeline::initialized);
    pipeline.setPainterType(Pipeline::ForwardPainterType);
    QVERIFY(isNear(pipeline.middleAfterPaint(), black));
    QCOMPARE(initialized.count(), 0);
}

void TestPipeline::firstPaintWithSceneIsBlackAndAnnouncesItself()
{
    OpenPipeline pipeline;
    QSignalSpy initialized(&pipeline, &Pipeline::initialized);
    pipeline.setPainterType(Pipeline::ForwardPainterType);
    pipeline.setScene(wallScene());
    QVERIFY(isNear(pipeline.middleAfterPaint(), black));
    QCOMPARE(initialized.count(), 1);
    const QColor second = pipeline.middleAfterPaint();
    QVERIFY2(isNear(second, wallColor), qPrintable(second.name()));
    pipeline.setScene(wallScene());
    QVERIFY(isNear(pipeline.middleAfterPaint(), wallColor));
    QCOMPARE(initialized.count(), 1);
}

void TestPipeline::withoutPainterIsBlack()
{
    OpenPipeline pipeline;
    pipeline.setScene(wallScene());
    pipeline.middleAfterPaint();
    QVERIFY(isNear(pipeline.middleAfterPaint(), black));
    pipeline.setPainterType(Pipeline::ForwardPainterType);
    QVERIFY(isNear(pipeline.middleAfterPaint(), wallColor));
    pipeline.setPainterType(7);
    QVERIFY(isNear(pipeline.middleAfterPaint(), black));
}

void TestPipeline::sceneWithoutCameraIsBlack()
{
    OpenPipeline pipeline;
    pipeline.setPainterType(Pipeline::ForwardPainterType);
    pipeline.setScene(new Scene);
    pipeline.middleAfterPaint();
    pipeline.preparePainter();
    QVERIFY(isNear(pipeline.middleAfterPaint(), black));
}

void TestPipeline::setSceneDeletesTheOneBefore()
{
    int deletions = 0;
    {
        Pipeline pipeline;
        auto *first = new WatchedScene(&deletions);
        pipeline.setScene(first);
        QCOMPARE(pipeline.state().scene(), first);
        pipeline.setScene(first);
        QCOMPARE(deletions, 0);
        pipeline.setScene(new WatchedScene(&deletions));
        QCOMPARE(deletions, 1);
    }
    QCOMPARE(deletions, 2);
}

void TestPipeline::heightOfZeroCountsAsOne()
{
    OpenPipeline pipeline;
    pipeline.makeCurrent();
    pipeline.resizeGL(640, 0);
    QCOMPARE(pipeline.state().viewport(), QRectF(0, 0, 640, 1));
    QCOMPARE(pipeline.state().aspect(), 640.0f);
    pipeline.resizeGL(640, 480);
    QCOMPARE(pipeline.state().aspect(), 640.0f / 480.0f);
}

void TestPipeline::sameTypeAgainChangesNothing()
{
    OpenPipeline pipeline;
    pipeline.setPainterType(Pipeline::ForwardPainterType);
    pipeline.setScene(wallScene());
    pipeline.middleAfterPaint();
    pipeline.middleAfterPaint();
    // A painter keeps the GPU data that it has: a geometry that changes afterwards shows only after a
    // rebuild.
    pipeline.state().scene()->geometries().first()->setVertices(
        QVector<QVector3D>(pipeline.state().scene()->geometries().first()->vertices().size()));
    pipeline.setPainterType(Pipeline::ForwardPainterType);
    QVERIFY(isNear(pipeline.middleAfterPaint(), wallColor));
    pipeline.deletePainter();
    QVERIFY(isNear(pipeline.middleAfterPaint(), black));
}

void TestPipeline::effectsReachTheWindow_data()
{
    QTest::addColumn<bool>("occlusion");
    QTest::addColumn<bool>("outlines");
    QTest::newRow("shadows only") << false << false;
    QTest::newRow("occlusion") << true << false;
    QTest::newRow("outlines") << false << true;
    QTest::newRow("both") << true << true;
}

void TestPipeline::effectsReachTheWindow()
{
    QFETCH(bool, occlusion);
    QFETCH(bool, outlines);
    OpenPipeline pipeline;
    pipeline.setScene(wallScene());
    pipeline.setPainterType(Pipeline::ForwardPainterType);
    pipeline.middleAfterPaint();
    pipeline.state().setCastShadows(true);
    pipeline.state().setAmbientOcclusion(occlusion);
    pipeline.state().setOutlines(outlines);
    // A plain wall is neither occluded nor outlined; outlines add 0.2 to the ambient light.
    const QColor expected = outlines ? QColor(153, 77, 0) : wallColor;
    for (int frame = 0; frame < 2; ++frame) {
        const QColor drawn = pipeline.middleAfterPaint();
        QVERIFY2(isNear(drawn, expected), qPrintable(drawn.name()));
    }
    pipeline.makeCurrent();
    QCOMPARE(glGetError(), GLenum(GL_NO_ERROR));
}

void TestPipeline::preparePainterClearsToBlack()
{
    OpenPipeline pipeline;
    pipeline.setPainterType(Pipeline::ForwardPainterType);
    pipeline.setScene(wallScene());
    pipeline.middleAfterPaint();
    QVERIFY(isNear(pipeline.middleAfterPaint(), wallColor));
    pipeline.doneCurrent();
    pipeline.preparePainter();
    GLubyte pixel[4] = {1, 2, 3, 4};
    glReadPixels(32, 24, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
    QVERIFY(pixel[0] == 0 && pixel[1] == 0 && pixel[2] == 0);
}

void TestPipeline::frameRateIsLoggedOnlyWhileAnimating()
{
    OpenPipeline pipeline;
    QElapsedTimer timer;
    timer.start();
    const MessageCapture capture;
    // Frames that are not animated do not count, and report nothing.
    pipeline.middleAfterPaint();
    pipeline.state().setAnimating(true);
    for (int i = 0; i < 40; ++i)
        pipeline.middleAfterPaint();
    pipeline.state().setAnimating(false);
    QTest::qWait(5100 - int(timer.elapsed()));
    pipeline.middleAfterPaint();
    QCOMPARE(capture.lines(), QStringList());

    pipeline.state().setAnimating(true);
    pipeline.middleAfterPaint();
    QCOMPARE(capture.lines().size(), 1);
    QVERIFY(QRegularExpression("^\\d+\\.\\d\\d$").match(capture.lines().first()).hasMatch());
    const double expected = 40.0 / (double(timer.elapsed()) / 1000.0);
    QVERIFY2(qAbs(capture.lines().first().toDouble() - expected) < 0.2, qPrintable(capture.lines().first()));

    // Time and count start again.
    timer.restart();
    pipeline.middleAfterPaint();
    QCOMPARE(capture.lines().size(), 1);
    QTest::qWait(5100);
    pipeline.middleAfterPaint();
    QCOMPARE(capture.lines().size(), 2);
    QVERIFY2(qAbs(capture.lines().last().toDouble() - 2.0 / (double(timer.elapsed()) / 1000.0)) < 0.05,
             qPrintable(capture.lines().last()));
}

int main(int argc, char *argv[])
{
    return runOnVirtualScreen<TestPipeline>(argc, argv);
}

#include "tst_pipeline.moc"
