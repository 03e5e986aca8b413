#include "ForwardPainter.h"
#include "FrameTest.h"
#include "Geometry.h"
#include "Light.h"
#include "Material.h"
#include "Node.h"
#include "PainterState.h"

#include <QTemporaryDir>
#include <QtTest>

#include <cmath>

using namespace Quorvel;
using namespace Quorvel::Test;

namespace
{

/// Two that face the eye beside each other, before the wall.
const Quad leftPane = {{-2, -1, -4}, {1.5f, 0, 0}, {0, 2, 0}};
const Quad rightPane = {{0.5f, -1, -4}, {1.5f, 0, 0}, {0, 2, 0}};
/// Between them and as far away, but facing away from the eye.
const Quad averted = {{1, -1, -4}, {-2, 0, 0}, {0, 2, 0}};

} // namespace

/// What a frame consists of, against an independent computation: view, transforms, order of drawing, faces,
/// light map.
class TestFrame : public FrameTest
{
    Q_OBJECT

public:
    using FrameTest::FrameTest;

private slots:
    void cameraPose();
    void fieldOfViewIsVertical();
    void nestedTransforms();
    void transparencyOrder();
    void transparentWritesNoDepth();
    void fullyTransparentIsNotDrawn();
    void transparencyIsThatOfTheItem();
    void laterGroupDrawsEarlierOnesAgain();
    void laterGroupBlendsEarlierOnesAgain();
    void unboundMaterialIsGrey();
    void backFacesAreCulled();
    void withoutCullingBothSidesShow();
    void oppositeWindingIsRecognised();
    void mirroredNodeKeepsItsFaces();
    void lightMap_data();
    void lightMap();
    void brokenLightMapIsIgnored();
    void outlinesChangePaperAndAmbient();
    void shadowsWithoutCastersDrawTheLitScene();
    void viewportIsUsed();
    void framesRepeat();
    void releasedPainterDrawsAgain();
};

void TestFrame::cameraPose()
{
    FrameSketch sketch;
    // At (5, 1, -5), looking along -x: right is -z.
    sketch.scene.incomplete().nodes().first()->setLocalTransform(translation(5, 1, -5) *
                                                                 rotation(90, 0, 1, 0));
    sketch.expected.eye = Reference::Vector(5, 1, -5);
    sketch.expected.right = Reference::Vector(0, 0, -1);
    sketch.expected.forward = Reference::Vector(-1, 0, 0);
    sketch.addLight(Light::PointLight, {1, 1, 0.5f}, translation(3, 2, -4));
    sketch.addSpot({0, 0.3f, 1}, translation(4, 1, -6) * rotation(80, 0, 1, 0), 30, 60);
    Material *material = sketch.addGlossyMaterial({0.6f, 0.7f, 0.8f}, {0.3f, 0.3f, 0.3f}, 12);
    sketch.addQuad({{0, -1, -3}, {0, 0, -4}, {0, 3, 0}}, material);
    QCOMPARE(fault(sketch), QString());
}

void TestFrame::fieldOfViewIsVertical()
{
    FrameSketch sketch;
    Material *material = sketch.addMaterial({}, {1, 1, 1});
    // At distance 5, 50 degrees see 2.3315 up and down and 4/3 of that to the sides.
    sketch.addQuad({{-2.9f, -2.2f, -5}, {5.8f, 0, 0}, {0, 4.4f, 0}}, material, {0.4f, 0.4f, 0.4f});
    const QImage image = drawFrame(m_context, sketch.scene.scene());
    QCOMPARE(sketch.fault(image), QString());
    int column = 0;
    while (column < height && image.pixelColor(width / 2, column).red() == 0)
        ++column;
    int row = 0;
    while (row < width && image.pixelColor(row, height / 2).red() == 0)
        ++row;
    // 60 * (1 - 2.2 / 2.3315) and 80 * (1 - 2.9 / 3.1087)
    QCOMPARE(column, 3);
    QCOMPARE(row, 5);
}

void TestFrame::nestedTransforms()
{
    FrameSketch sketch;
    sketch.addLight(Light::PointLight, {1, 0.9f, 0.8f}, translation(0, 1, -2));
    Material *material = sketch.addMaterial({0.9f, 0.9f, 0.9f});
    // Turned by 30 degrees about y, then moved; below it, stretched to twice its width.
    Node *parent = sketch.scene.node("parent", translation(0.5f, 0, -5) * rotation(30, 0, 1, 0));
    QMatrix4x4 stretch;
    stretch.scale(2, 1, 3);
    Node *child = sketch.scene.node("child", stretch, parent);
    Geometry *geometry = sketch.scene.geometry();
    sketch.scene.addQuad(geometry, "s", {{-1, -1, 0.5f}, {2, 0, -0.5f}, {0, 2, 0}});
    child->setModel(geometry);
    child->bindMaterial("s", material);

    // Corners by hand: (x, y, z) becomes (2x, y, 3z), then (cx + sz + 0.5, y, cz - sx - 5).
    const float c = std::sqrt(0.75f);
    const float s = 0.5f;
    const QVector3D origin(c * -2 + s * 1.5f + 0.5f, -1, c * 1.5f - s * -2 - 5);
    const QVector3D u(c * 4 + s * -1.5f, 0, c * -1.5f - s * 4);
    sketch.expected.items.push_back({Reference::quad(origin, u, {0, 2, 0}), surface(*material), false});
    QCOMPARE(fault(sketch), QString());
}

void TestFrame::transparencyOrder()
{
    FrameSketch sketch;
    Material *red = sketch.addMaterial({}, {1, 0, 0});
    red->setTransparency(0.5f);
    Material *green = sketch.addMaterial({}, {0, 1, 0});
    green->setTransparency(0.25f);
    Material *white = sketch.addMaterial({}, {1, 1, 1});
    const Quad left = {{-2, -1, -4}, {3, 0, 0}, {0, 2, 0}};
    const Quad right = {{-1, -1.5f, -4.5f}, {3, 0, 0}, {0, 2, 0}};
    // Listed first, so drawn last: transparent items go in reverse order, whatever their depth.
    sketch.scene.quadNode(right, red);
    sketch.scene.quadNode(left, green);
    sketch.scene.quadNode(wall, white);
    sketch.expect(wall, white, unlit);
    sketch.expect(left, green, unlit, true);
    sketch.expect(right, red, unlit, true);
    QCOMPARE(fault(sketch), QString());
}

void TestFrame::transparentWritesNoDepth()
{
    FrameSketch sketch;
    Material *glass = sketch.addMaterial({}, {0.5f, 0.5f, 1});
    glass->setTransparency(0.5f);
    // The nearer pane is drawn first; the farther one must still show through.
    const Quad farPane = {{-2, -1, -4.5f}, {4, 0, 0}, {0, 2, 0}};
    const Quad nearPane = {{-1, -0.5f, -3}, {2, 0, 0}, {0, 1, 0}};
    sketch.scene.quadNode(farPane, glass);
    sketch.scene.quadNode(nearPane, glass);
    for (const Quad &pane : {nearPane, farPane})
        sketch.expect(pane, glass, unlit, true);
    QCOMPARE(fault(sketch), QString());
}

void TestFrame::fullyTransparentIsNotDrawn()
{
    FrameSketch sketch;
    Material *nothing = sketch.addMaterial({}, {1, 1, 1});
    nothing->setTransparency(1.0f);
    Material *white = sketch.addMaterial({}, {1, 1, 1});
    sketch.scene.quadNode({{-1, -1, -4}, {2, 0, 0}, {0, 2, 0}}, nothing);
    sketch.addQuad(wall, white, unlit);
    nothing->setAmbient(Qt::red);
    QCOMPARE(fault(sketch), QString());
}

void TestFrame::transparencyIsThatOfTheItem()
{
    FrameSketch sketch;
    Material *solid = sketch.addMaterial({}, {1, 0, 0});
    Material *nothing = sketch.addMaterial({}, {0, 1, 0});
    nothing->setTransparency(1.0f);
    Material *white = sketch.addMaterial({}, {1, 1, 1});
    // One group of transparency 1 takes the solid one with it.
    sketch.scene.groupsNode(
        {{{{-2, -1, -4}, {1, 0, 0}, {0, 2, 0}}, solid}, {{{1, -1, -4}, {1, 0, 0}, {0, 2, 0}}, nothing}});
    sketch.addQuad(wall, white, unlit);
    QCOMPARE(fault(sketch), QString());
}

void TestFrame::laterGroupDrawsEarlierOnesAgain()
{
    FrameSketch sketch;
    Material *red = sketch.addMaterial({}, {1, 0, 0});
    Material *green = sketch.addMaterial({}, {0, 1, 0});
    sketch.scene.groupsNode({{leftPane, red}, {rightPane, green}});
    // The second group's buffer holds the first group's triangles too, but equal depths do not pass.
    sketch.expect(leftPane, red, unlit);
    sketch.expect(rightPane, green, unlit);
    QCOMPARE(fault(sketch), QString());
}

void TestFrame::laterGroupBlendsEarlierOnesAgain()
{
    FrameSketch sketch;
    Material *red = sketch.addMaterial({}, {1, 0, 0});
    red->setTransparency(0.5f);
    Material *green = sketch.addMaterial({}, {0, 1, 0});
    green->setTransparency(0.25f);
    sketch.scene.groupsNode({{leftPane, red}, {rightPane, green}});
    sketch.expect(leftPane, red, unlit, true);
    sketch.expect(leftPane, green, unlit, true);
    sketch.expect(rightPane, green, unlit, true);
    QCOMPARE(fault(sketch), QString());
}

void TestFrame::unboundMaterialIsGrey()
{
    FrameSketch sketch;
    sketch.addLight(Light::DirectionalLight, {1, 1, 1});
    Geometry *geometry = sketch.scene.geometry();
    sketch.scene.addQuad(geometry, "nowhere", wall);
    sketch.scene.node("wall", {})->setModel(geometry);
    const QImage image = drawFrame(m_context, sketch.scene.scene());
    QCOMPARE(image.pixelColor(width / 2, height / 2), QColor(204, 204, 204));
}

void TestFrame::backFacesAreCulled()
{
    FrameSketch sketch;
    Material *white = sketch.addMaterial({}, {1, 1, 1});
    Material *red = sketch.addMaterial({}, {1, 0, 0});
    sketch.addQuad(wall, white, unlit);
    sketch.scene.quadNode(averted, red);
    QCOMPARE(fault(sketch), QString());
}

void TestFrame::withoutCullingBothSidesShow()
{
    FrameSketch sketch;
    Material *white = sketch.addMaterial({}, {1, 1, 1});
    Material *red = sketch.addMaterial({}, {1, 0, 0});
    sketch.addQuad(wall, white, unlit);
    sketch.addQuad(averted, red, unlit);
    QCOMPARE(fault(sketch, [](PainterState &state) { state.setBackfaceCulling(false); }), QString());
}

void TestFrame::oppositeWindingIsRecognised()
{
    FrameSketch sketch;
    Material *white = sketch.addMaterial({}, {1, 1, 1});
    Material *red = sketch.addMaterial({}, {1, 0, 0});
    sketch.scene.quadNode(wall, white, {}, Winding::CounterClockwise);
    sketch.scene.quadNode(averted, red, {}, Winding::CounterClockwise);
    sketch.expect(wall, white, unlit);
    QCOMPARE(fault(sketch), QString());
}

void TestFrame::mirroredNodeKeepsItsFaces()
{
    FrameSketch sketch;
    Material *white = sketch.addMaterial({}, {1, 1, 1});
    Material *red = sketch.addMaterial({}, {1, 0, 0});
    QMatrix4x4 mirror;
    mirror.scale(-1, 1, 1);
    // Two that face the eye, one of them mirrored, and a mirrored one that faces away.
    sketch.addQuad(leftPane, white, unlit);
    sketch.scene.quadNode(leftPane, red, mirror);
    sketch.scene.quadNode({{1, -0.5f, -3}, {-2, 0, 0}, {0, 1, 0}}, red, mirror);
    sketch.expect(rightPane, red, unlit);
    QCOMPARE(fault(sketch), QString());
}

void TestFrame::lightMap_data()
{
    QTest::addColumn<bool>("lowQuality");
    QTest::newRow("full quality") << false;
    QTest::newRow("low quality") << true;
}

void TestFrame::lightMap()
{
    QFETCH(bool, lowQuality);
    const QTemporaryDir folder;
    const QString scenePath = folder.filePath(QStringLiteral("room.dae"));
    // Upper left red, upper right green, lower left blue, lower right white.
    QImage map(8, 8, QImage::Format_RGB32);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x)
            map.setPixelColor(x, y, y < 4 ? (x < 4 ? Qt::red : Qt::green) : (x < 4 ? Qt::blue : Qt::white));
    }
    QVERIFY(map.save(scenePath + QStringLiteral(".png")));

    FrameSketch sketch;
    sketch.scene.incomplete().setName(scenePath);
    // Lights and materials do not count any more.
    sketch.scene.light(Light::DirectionalLight, Qt::yellow);
    Material *black = sketch.addMaterial({});
    const auto colorAt = [&](const QImage &image, float u, float v) {
        const float scale =
            float(height) / 2.0f / std::tan(FrameSketch::fieldOfView / 2 * 3.14159265f / 180) / 5.0f;
        const QVector3D point = wall.origin + u * wall.u + v * wall.v;
        return image.pixelColor(int(float(width) / 2.0f + scale * point.x()),
                                int(float(height) / 2.0f - scale * point.y()));
    };
    sketch.scene.quadNode(wall, black);
    const QImage image = drawFrame(m_context, sketch.scene.scene(),
                                   [&](PainterState &state) { state.setLowQuality(lowQuality); });
    QCOMPARE(colorAt(image, 0.1f, 0.9f), QColor(Qt::red));
    QCOMPARE(colorAt(image, 0.9f, 0.9f), QColor(Qt::green));
    QCOMPARE(colorAt(image, 0.1f, 0.1f), QColor(Qt::blue));
    QCOMPARE(colorAt(image, 0.9f, 0.1f), QColor(Qt::white));
    // Between two texels it is filtered: in the middle of the left half's border it is half red, half blue.
    const QColor between = colorAt(image, 0.2f, 0.5f);
    QVERIFY2(between.red() > 60 && between.blue() > 60, qPrintable(between.name()));
}

void TestFrame::brokenLightMapIsIgnored()
{
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("room.dae.png")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("not an image");
    file.close();
    FrameSketch sketch;
    sketch.scene.incomplete().setName(folder.filePath(QStringLiteral("room.dae")));
    sketch.addLight(Light::DirectionalLight, {0.5f, 0.5f, 0.5f});
    sketch.addQuad(wall, sketch.addMaterial({1, 1, 1}));
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(QStringLiteral("^The light map \".*\" is not an image")));
    QCOMPARE(fault(sketch), QString());
}

void TestFrame::outlinesChangePaperAndAmbient()
{
    FrameSketch sketch;
    sketch.scene.light(Light::AmbientLight, QColor::fromRgbF(0.1, 0.2, 0.3));
    sketch.expected.background = Reference::Vector(200 / 255.0, 208 / 255.0, 220 / 255.0);
    Material *material = sketch.addMaterial({}, {1, 1, 0.5f});
    sketch.addQuad({{-1, -1, -5}, {2, 0, 0}, {0, 2, 0}}, material, {0.3f, 0.4f, 0.5f});
    // In low quality nothing is drawn over the lit scene.
    QCOMPARE(fault(sketch,
                   [](PainterState &state) {
                       state.setOutlines(true);
                       state.setLowQuality(true);
                   }),
             QString());
}

void TestFrame::shadowsWithoutCastersDrawTheLitScene()
{
    FrameSketch sketch;
    sketch.addLitWall();
    QCOMPARE(fault(sketch, [](PainterState &state) { state.setCastShadows(true); }), QString());
}

void TestFrame::viewportIsUsed()
{
    FrameSketch sketch;
    sketch.addLitWall();
    ForwardPainter painter;
    const QImage full = drawFrame(m_context, painter, sketch.scene.scene());
    const QImage part = drawFrame(m_context, painter, sketch.scene.scene(),
                                  [](PainterState &state) { state.setViewport(QRectF(40, 0, 80.5, 60.5)); });
    // The lower middle of the buffer holds a picture of half the size; the rest is background.
    sketch.expected.size = QSize(80, 60);
    const Reference::Comparison comparison =
        Reference::compare(sketch.expected, part.copy(40, 60, 80, 60), 2);
    QVERIFY2(comparison.differing == 0 && comparison.onSurfaces > 1000, qPrintable(describe(comparison)));
    QCOMPARE(part.pixelColor(20, 90), QColor(Qt::black));
    QCOMPARE(drawFrame(m_context, painter, sketch.scene.scene()), full);
}

void TestFrame::framesRepeat()
{
    FrameSketch sketch;
    sketch.addLight(Light::PointLight, {1, 0.8f, 0.5f}, translation(1.5f, 0.5f, -3.5f));
    Material *glass = sketch.addMaterial({0.9f, 0.9f, 0.9f});
    glass->setTransparency(0.5f);
    sketch.addQuad(wall, sketch.addMaterial({0.9f, 0.9f, 0.9f}));
    sketch.addQuad({{-1, -1, -4}, {2, 0, 0}, {0, 2, 0}}, glass);
    ForwardPainter painter;
    const QImage first = drawFrame(m_context, painter, sketch.scene.scene());
    for (int i = 0; i < 3; ++i)
        QCOMPARE(drawFrame(m_context, painter, sketch.scene.scene()), first);
}

void TestFrame::releasedPainterDrawsAgain()
{
    FrameSketch sketch;
    sketch.addLitWall();
    ForwardPainter painter;
    const QImage first = drawFrame(m_context, painter, sketch.scene.scene());
    painter.release();
    QCOMPARE(drawFrame(m_context, painter, sketch.scene.scene()), first);
}

int main(int argc, char **argv)
{
    return GlLane::run<TestFrame>(argc, argv, FrameSketch::size);
}

#include "tst_frame.moc"
