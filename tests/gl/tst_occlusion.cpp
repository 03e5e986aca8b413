#include "GlTest.h"
#include "Node.h"
#include "PostSketch.h"

#include <QtTest>

using namespace Quorvel;
using namespace Quorvel::Test;
using PostReference::Axis;

namespace
{

/// Of a column's middle half, so that the picture's borders have no part in it.
double columnMean(const Image &image, int x)
{
    double sum = 0;
    int count = 0;
    for (int y = height / 4; y < height * 3 / 4; ++y, ++count)
        sum += image.value(x, y, 0);
    return sum / count;
}

} // namespace

/// Ambient occlusion and its blur, against what they are meant to show and an independent computation.
class TestOcclusion : public GlTest
{
    Q_OBJECT

public:
    using GlTest::GlTest;

private slots:
    void occlusionAgrees_data();
    void occlusionAgrees();
    void planeIsUnoccluded_data();
    void planeIsUnoccluded();
    void cornerIsDarkAndFallsOff();
    void nearOriginWidensTheSamples();
    void backgroundOccludesNothing();
    void blurAgrees();
    void blurKeepsAConstant();
    void blurStaysOnItsSurface_data();
    void blurStaysOnItsSurface();
    void centreCountsTwice();
    void occlusionTimesLighting();
    void occlusionIntoTexture();

private:
    void compareOcclusion(PostSketch &sketch, const PainterState &state, int leastOccluded);
};

void TestOcclusion::compareOcclusion(PostSketch &sketch, const PainterState &state, int leastOccluded)
{
    fill(sketch.targets.lighting(), Image(PostSketch::size, white));
    sketch.drawOcclusion(state);
    const Image normalDepth = read(sketch.targets.normalDepth());
    const Image occlusion = read(sketch.targets.occlusion());
    const QMatrix4x4 viewToClip = state.viewToClip();
    const double origin = double(state.sceneToView()(2, 3));
    const double viewZ = -origin / (double(state.zfar()) - double(state.znear()));

    int compared = 0;
    int occluded = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const std::optional<double> expected =
                PostReference::occlusion(normalDepth, sketch.randomBytes, {viewToClip, viewZ}, x, y);
            if (!expected)
                continue;
            const double value = occlusion.value(x, y, 0);
            QVERIFY2(isNear(value, *expected, 1.5 / 255), place(x, y, value, *expected));
            ++compared;
            occluded += *expected < 0.98;
        }
    }
    QVERIFY2(compared > width * height / 4, qPrintable(QString::number(compared)));
    QVERIFY2(occluded >= leastOccluded, qPrintable(QString::number(occluded)));
}

void TestOcclusion::occlusionAgrees_data()
{
    QTest::addColumn<float>("eyeDistance");
    QTest::newRow("wide samples") << 1.0f;
    QTest::newRow("narrow samples") << 3.0f;
    QTest::newRow("origin behind the eye") << -1.0f;
}

void TestOcclusion::occlusionAgrees()
{
    QFETCH(float, eyeDistance);
    SceneSketch scene;
    addCorner(scene);
    addQuad(scene, {{-2, -1, -5}, {3, 0, -1}, {0, 1, -2}});
    scene.incomplete().nodes().first()->setLocalTransform(translation(0, 0, eyeDistance));
    PostSketch sketch;
    const PainterState state = PostSketch::state(scene.scene());
    sketch.drawNormalDepth(state);
    compareOcclusion(sketch, state, 100);
    // And in a picture with a jump or a bend at every pixel.
    fill(sketch.targets.normalDepth(), randomSurfaces());
    compareOcclusion(sketch, state, 1000);
}

void TestOcclusion::planeIsUnoccluded_data()
{
    QTest::addColumn<float>("eyeDistance");
    QTest::addColumn<float>("angle");
    QTest::addColumn<double>("least");
    QTest::newRow("facing") << 1.0f << 0.0f << 1.0;
    QTest::newRow("origin beside the eye") << 0.0f << 0.0f << 1.0;
    // Eight bits make its normals a little shorter or longer than 1.
    QTest::newRow("tilted") << 1.0f << 50.0f << 0.98;
}

void TestOcclusion::planeIsUnoccluded()
{
    QFETCH(float, eyeDistance);
    QFETCH(float, angle);
    QFETCH(double, least);
    SceneSketch scene;
    scene.camera(translation(0, 0, eyeDistance), 50);
    addQuad(scene, {{-3, -2, 0}, {6, 0, 0}, {0, 4, 0}})
        ->setLocalTransform(translation(0, 0, -6) * rotation(angle, 0, 1, 0));
    PostSketch sketch;
    const PainterState state = PostSketch::state(scene.scene());
    sketch.drawNormalDepth(state);
    sketch.drawOcclusion(state);
    const Image occlusion = read(sketch.targets.occlusion());
    QVERIFY2(smallest(occlusion) >= least, qPrintable(QString::number(smallest(occlusion))));
}

void TestOcclusion::cornerIsDarkAndFallsOff()
{
    CornerSketch sketch;
    sketch.drawOcclusion(sketch.state);
    const Image occlusion = read(sketch.targets.occlusion());
    const Image vertical = read(sketch.targets.blur());
    for (const int side : {-1, 1}) {
        const double inCorner = columnMean(occlusion, middleX + side);
        const double close = columnMean(occlusion, middleX + 4 * side);
        const double further = columnMean(occlusion, middleX + 7 * side);
        const double away = columnMean(occlusion, middleX + 30 * side);
        const QString means = QStringLiteral("%1 %2 %3 %4").arg(inCorner).arg(close).arg(further).arg(away);
        QVERIFY2(inCorner < 0.9, qPrintable(means));
        QVERIFY2(inCorner < close && close < further && further < away, qPrintable(means));
        QVERIFY2(away > 0.98, qPrintable(means));
        QVERIFY(isNear(columnMean(vertical, middleX + side), inCorner, 0.03));
    }
}

void TestOcclusion::nearOriginWidensTheSamples()
{
    PostSketch sketch;
    const auto darkColumns = [&sketch](const QVector3D &edge) {
        SceneSketch scene;
        addCorner(scene, edge);
        const PainterState state = PostSketch::state(scene.scene());
        sketch.drawNormalDepth(state);
        sketch.drawOcclusion(state);
        const Image occlusion = read(sketch.targets.occlusion());
        int count = 0;
        for (int x = 0; x < width; ++x)
            count += columnMean(occlusion, x) < 0.98;
        return count;
    };
    // The origin is 1, 3 and 9 away from the eye, in the same view.
    const int nearCount = darkColumns({0, 0, -8});
    const int middleCount = darkColumns({0, 0, -6});
    const int farCount = darkColumns({0, 0, 0});
    const QString counts = QStringLiteral("%1 %2 %3").arg(nearCount).arg(middleCount).arg(farCount);
    QVERIFY2(nearCount > 2 * middleCount && middleCount > farCount, qPrintable(counts));
}

void TestOcclusion::backgroundOccludesNothing()
{
    CornerSketch sketch;
    // A farthest surface with background all around it and in between: depths differ by less than the
    // fall-off.
    Image image(PostSketch::size);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; x += 2)
            image.texel(x, y) = surfaceTexel({0.3f, 0, 1}, 0.016);
    }
    fill(sketch.targets.normalDepth(), image);
    sketch.drawOcclusion(sketch.state);
    const Image occlusion = read(sketch.targets.occlusion());
    QCOMPARE(smallest(occlusion), 1.0);
}

void TestOcclusion::blurAgrees()
{
    PostSketch sketch;
    const Image surfaces = randomSurfaces();
    const Image image = randomImage(23);
    for (const Axis axis : {Axis::Vertical, Axis::Horizontal}) {
        const Image result = sketch.blur(surfaces, image, axis);
        int changed = 0;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const double expected = PostReference::blurred(surfaces, image, axis, x, y);
                for (int channel = 0; channel < 4; ++channel) {
                    const double value = result.value(x, y, channel);
                    QVERIFY2(isNear(value, expected, 1.5 / 255), place(x, y, value, expected));
                }
                changed += !isNear(expected, image.value(x, y, 0), 0.05);
            }
        }
        QVERIFY2(changed > width * height / 2, qPrintable(QString::number(changed)));
    }
}

void TestOcclusion::blurKeepsAConstant()
{
    PostSketch sketch;
    for (const Axis axis : {Axis::Vertical, Axis::Horizontal}) {
        for (const Image &surfaces : {randomSurfaces(), Image(PostSketch::size)}) {
            const Image result = sketch.blur(surfaces, Image(PostSketch::size, {153, 0, 0, 0}), axis);
            for (const Image::Texel &texel : result.texels)
                QVERIFY2(isNear(texel[0], 153, 1), qPrintable(QString::number(texel[0])));
        }
    }
}

void TestOcclusion::blurStaysOnItsSurface_data()
{
    QTest::addColumn<QVector3D>("normal");
    QTest::addColumn<double>("depth");
    QTest::addColumn<bool>("stays");
    QTest::newRow("the same surface") << QVector3D(0, 0, 1) << 0.5 << false;
    QTest::newRow("a slight bend") << QVector3D(0.8f, 0, 0.6f) << 0.5 << false;
    QTest::newRow("a sharp bend") << QVector3D(0.97f, 0, 0.24f) << 0.5 << true;
    QTest::newRow("a small step") << QVector3D(0, 0, 1) << 0.5 + 5.0 / 255 << false;
    QTest::newRow("a large step nearer") << QVector3D(0, 0, 1) << 0.5 + 6.0 / 255 << true;
    QTest::newRow("a large step away") << QVector3D(0, 0, 1) << 0.5 - 6.0 / 255 << true;
}

void TestOcclusion::blurStaysOnItsSurface()
{
    QFETCH(QVector3D, normal);
    QFETCH(double, depth);
    QFETCH(bool, stays);
    PostSketch sketch;
    const Image surfaces = halves(surfaceTexel({0, 0, 1}, 0.5), surfaceTexel(normal, depth));
    const Image image = halves({0, 0, 0, 0}, {255, 0, 0, 0});
    const Image result = sketch.blur(surfaces, image, Axis::Horizontal);
    const double left = result.value(middleX - 1, middleY, 0);
    const double right = result.value(middleX, middleY, 0);
    if (stays) {
        QCOMPARE(left, 0.0);
        QCOMPARE(right, 1.0);
    } else {
        QVERIFY(left > 0.3 && left < 0.5);
        QVERIFY(right > 0.5 && right < 0.7);
    }
}

void TestOcclusion::centreCountsTwice()
{
    PostSketch sketch;
    const Image flat(PostSketch::size, surfaceTexel({0, 0, 1}, 0.5));
    Image point(PostSketch::size);
    point.texel(middleX, middleY) = {255, 0, 0, 0};
    const double middle = 254.128189;
    const double all = 2725.208984;
    for (const Axis axis : {Axis::Vertical, Axis::Horizontal}) {
        const Image result = sketch.blur(flat, point, axis);
        QVERIFY(isNear(result.value(middleX, middleY, 0), 2 * middle / (all + middle), 0.75 / 255));
        const int x = axis == Axis::Horizontal ? middleX + 6 : middleX;
        const int y = axis == Axis::Vertical ? middleY + 6 : middleY;
        QVERIFY(isNear(result.value(x, y, 0), 123.748909 / (all + middle), 0.75 / 255));
    }
}

void TestOcclusion::occlusionTimesLighting()
{
    CornerSketch sketch;
    const Image lighting = randomImage(5);
    fill(sketch.targets.lighting(), lighting);
    sketch.drawOcclusion(sketch.state);
    QVERIFY(PostSketch::isScreenUntouchedOutside());

    const Image normalDepth = read(sketch.targets.normalDepth());
    const Image occlusion = read(sketch.targets.occlusion());
    const Image vertical = read(sketch.targets.blur());
    const Image picture = sketch.picture();
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const double once = PostReference::blurred(normalDepth, occlusion, Axis::Vertical, x, y);
            QVERIFY2(isNear(vertical.value(x, y, 0), once, 1.5 / 255),
                     place(x, y, vertical.value(x, y, 0), once));
            const double twice = PostReference::blurred(normalDepth, vertical, Axis::Horizontal, x, y);
            for (int channel = 0; channel < 3; ++channel) {
                const double expected = lighting.value(x, y, channel) * twice;
                const double value = picture.value(x, y, channel);
                QVERIFY2(isNear(value, expected, 1.5 / 255), place(x, y, value, expected));
            }
        }
    }
    QVERIFY(smallest(vertical) < 0.8);
}

void TestOcclusion::occlusionIntoTexture()
{
    CornerSketch sketch;
    fill(sketch.targets.lighting(), randomImage(5));
    sketch.drawOcclusion(sketch.state);
    const Image onScreen = sketch.picture();

    PostSketch::clearScreen();
    const Image untouched = sketch.picture();
    sketch.drawOcclusion(sketch.state, true);
    QCOMPARE(sketch.picture().texels, untouched.texels);
    const Image inTexture = read(sketch.targets.occlusion());
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int channel = 0; channel < 3; ++channel)
                QVERIFY(isNear(inTexture.at(x, y)[size_t(channel)], onScreen.at(x, y)[size_t(channel)], 1));
        }
    }
}

int main(int argc, char **argv)
{
    return GlLane::run<TestOcclusion>(argc, argv, PostSketch::screenSize);
}

#include "tst_occlusion.moc"
