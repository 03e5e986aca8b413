#include "ForwardPainter.h"
#include "FrameTest.h"
#include "Gles2.h"
#include "Light.h"
#include "Material.h"
#include "MessageCapture.h"
#include "PainterState.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace Quorvel;
using namespace Quorvel::Test;

namespace
{

/// A scene file's place in a folder of its own, with room for a light map beside it.
struct ScenePlace
{
    QString scenePath() const { return folder.filePath(QStringLiteral("room.dae")); }
    QString mapPath() const { return scenePath() + QStringLiteral(".png"); }

    bool save(const QImage &map) const { return map.save(mapPath()); }
    bool saveText() const
    {
        QFile file(mapPath());
        return file.open(QIODevice::WriteOnly) && file.write("not an image") > 0;
    }

    QTemporaryDir folder;
};

/// A wall that a light meets at a right angle, in half of its colour.
struct LitWall
{
    explicit LitWall(const ScenePlace &place)
    {
        sketch.scene.incomplete().setName(place.scenePath());
        light = sketch.addLight(Light::DirectionalLight, {0.5f, 0.5f, 0.5f});
        sketch.addQuad(wall, sketch.addMaterial({1, 1, 0.4f}));
    }

    FrameSketch sketch;
    Light *light;
};

QImage plainMap(const QColor &color)
{
    QImage map(8, 8, QImage::Format_ARGB32);
    map.fill(color);
    return map;
}

/// Left half blue and opaque, right half red with alpha 102 of 255.
QImage twoColorMap()
{
    QImage map = plainMap(Qt::blue);
    for (int y = 0; y < map.height(); ++y) {
        for (int x = map.width() / 2; x < map.width(); ++x)
            map.setPixelColor(x, y, QColor(255, 0, 0, 102));
    }
    return map;
}

/// Leaves GL_INVALID_ENUM pending.
void leaveErrorPending()
{
    glEnable(0xFFFF);
}

PainterState frameState(Scene &scene)
{
    PainterState state(&scene);
    state.setViewport(QRectF(QPointF(), QSizeF(FrameSketch::size)));
    state.setAspect(float(width) / float(height));
    state.update();
    return state;
}

QStringList matching(const QStringList &lines, const char *pattern)
{
    return lines.filter(QRegularExpression(QLatin1String(pattern)));
}

const char *const anyGlError = "GL Error: ";

/// Names beyond 1024 are not looked at; drivers give the lowest free ones.
int framebufferCount()
{
    int count = 0;
    for (GLuint name = 1; name <= 1024; ++name)
        count += glIsFramebuffer(name);
    return count;
}

} // namespace

/// A light map that cannot be used, what is logged about it, and what a usable one goes together with.
class TestLightMap : public FrameTest
{
    Q_OBJECT

public:
    using FrameTest::FrameTest;

private slots:
    void oversizedMapIsReported();
    void unreadableMapWarnsOnce();
    void unreadableMapReportsNoForeignError();
    void pendingErrorIsNotTheMaps();
    void shadowsAreLeftOut_data();
    void shadowsAreLeftOut();
    void transparentItemsBlendByTheMap_data();
    void transparentItemsBlendByTheMap();
    void hiddenItemsAreNotDrawn_data();
    void hiddenItemsAreNotDrawn();

private:
    /// Prepares, paints, and paints twice more with another viewport between.
    QStringList linesOfFrames(ForwardPainter &painter, Scene &scene);
    /// The wall in the map of two colours, with a pane in front of it that is turned by 180 degrees: its
    /// right half on the screen holds the map's left one. Null if the map cannot be saved.
    QImage drawnWithPane(float transparency);
};

QStringList TestLightMap::linesOfFrames(ForwardPainter &painter, Scene &scene)
{
    PainterState state = frameState(scene);
    const MessageCapture capture;
    painter.prepare(state);
    painter.paint(state);
    state.setViewport(QRectF(0, 0, 80, 60));
    painter.paint(state);
    state.setViewport(QRectF(QPointF(), QSizeF(FrameSketch::size)));
    painter.paint(state);
    return MessageCapture::lines();
}

QImage TestLightMap::drawnWithPane(float transparency)
{
    const ScenePlace place;
    if (!place.save(twoColorMap()))
        return {};
    LitWall room(place);
    Material *glass = room.sketch.addMaterial({0, 1, 0});
    glass->setTransparency(transparency);
    room.sketch.scene.quadNode({{1.5f, 0.6f, -4}, {-3, 0, 0}, {0, -1.2f, 0}}, glass);
    return drawFrame(m_context, room.sketch.scene.scene());
}

void TestLightMap::oversizedMapIsReported()
{
    constexpr int tooWide = 20000;
    GLint widest = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &widest);
    QVERIFY2(widest < tooWide, qPrintable(QString::number(widest)));
    const ScenePlace place;
    QImage map(tooWide, 4, QImage::Format_RGB32);
    map.fill(Qt::red);
    QVERIFY(place.save(map));

    LitWall room(place);
    ForwardPainter painter;
    const QStringList lines = linesOfFrames(painter, room.sketch.scene.scene());
    const QStringList warnings = matching(
        lines, "^The light map \".*room\\.dae\\.png\" of 20000x4 pixels is more than this GL can hold; ");
    QVERIFY2(warnings.size() == 1, qPrintable(lines.join(QLatin1Char('\n'))));
    // 1281 is GL_INVALID_VALUE.
    QVERIFY2(matching(lines, "^\\[src/ForwardPainter\\.cpp line [0-9]+\\] GL Error: 1281$").size() == 1,
             qPrintable(lines.join(QLatin1Char('\n'))));
    QCOMPARE(matching(lines, anyGlError).size(), 1);
    QCOMPARE(room.sketch.fault(drawFrame(m_context, painter, room.sketch.scene.scene())), QString());
}

void TestLightMap::unreadableMapWarnsOnce()
{
    const ScenePlace place;
    QVERIFY(place.saveText());
    LitWall room(place);
    ForwardPainter painter;
    const QStringList lines = linesOfFrames(painter, room.sketch.scene.scene());
    QCOMPARE(lines.size(), 1);
    QCOMPARE(
        matching(lines, "^The light map \".*room\\.dae\\.png\" is not an image that can be read; ").size(),
        1);
    QCOMPARE(room.sketch.fault(drawFrame(m_context, painter, room.sketch.scene.scene())), QString());
}

void TestLightMap::unreadableMapReportsNoForeignError()
{
    const ScenePlace place;
    QVERIFY(place.saveText());
    LitWall room(place);
    ForwardPainter painter;
    leaveErrorPending();
    const QStringList lines = linesOfFrames(painter, room.sketch.scene.scene());
    QCOMPARE(matching(lines, anyGlError), QStringList());
    QCOMPARE(matching(lines, "^The light map ").size(), 1);
    // The one made here may still be pending, and no other.
    const QStringList pending = glErrors();
    QVERIFY2(pending.isEmpty() || pending == QStringList("GL_INVALID_ENUM"),
             qPrintable(pending.join(QLatin1Char(' '))));
    QCOMPARE(room.sketch.fault(drawFrame(m_context, painter, room.sketch.scene.scene())), QString());
}

void TestLightMap::pendingErrorIsNotTheMaps()
{
    const ScenePlace place;
    QVERIFY(place.save(plainMap(QColor(10, 200, 90))));
    LitWall room(place);
    ForwardPainter painter;
    leaveErrorPending();
    const QStringList lines = linesOfFrames(painter, room.sketch.scene.scene());
    QCOMPARE(lines, QStringList());
    QCOMPARE(glErrors(), QStringList());
    const QImage drawn = drawFrame(m_context, painter, room.sketch.scene.scene());
    QCOMPARE(drawn.pixelColor(width / 2, height / 2), QColor(10, 200, 90));
}

void TestLightMap::shadowsAreLeftOut_data()
{
    QTest::addColumn<bool>("lowQuality");
    QTest::newRow("full quality") << false;
    QTest::newRow("low quality") << true;
}

void TestLightMap::shadowsAreLeftOut()
{
    QFETCH(bool, lowQuality);
    const ScenePlace place;
    LitWall room(place);
    room.light->setShadow(true);
    room.sketch.addQuad({{-0.5f, -0.5f, -4}, {1, 0, 0}, {0, 1, 0}}, room.sketch.addMaterial({1, 1, 1}));
    Scene &scene = room.sketch.scene.scene();
    const auto draw = [&](ForwardPainter &painter, bool castShadows) {
        return drawFrame(m_context, painter, scene, [=](PainterState &state) {
            state.setCastShadows(castShadows);
            state.setLowQuality(lowQuality);
        });
    };
    {
        // Without a light map the same scene has a shadow map, in full quality.
        ForwardPainter painter;
        draw(painter, false);
        const int before = framebufferCount();
        draw(painter, true);
        QCOMPARE(framebufferCount(), before + (lowQuality ? 0 : 1));
    }
    QVERIFY(place.save(plainMap(QColor(10, 200, 90))));
    ForwardPainter painter;
    const QImage without = draw(painter, false);
    const int before = framebufferCount();
    QCOMPARE(draw(painter, true), without);
    QCOMPARE(framebufferCount(), before);
    QCOMPARE(without.pixelColor(width / 2, height / 2), QColor(10, 200, 90));
}

void TestLightMap::transparentItemsBlendByTheMap_data()
{
    QTest::addColumn<float>("transparency");
    // The map's own alpha is the weight, whatever the material's transparency between 0 and 1.
    QTest::newRow("half transparent") << 0.5f;
    QTest::newRow("hardly transparent") << 0.1f;
}

void TestLightMap::transparentItemsBlendByTheMap()
{
    QFETCH(float, transparency);
    const QImage drawn = drawnWithPane(transparency);
    // The wall is not blended: red as it stands, though its alpha is 102.
    QCOMPARE(drawn.pixelColor(width / 2 - 30, 20), QColor(0, 0, 255));
    QCOMPARE(drawn.pixelColor(width / 2 + 30, 20), QColor(255, 0, 0));
    // The pane: 0.4 of red over blue at the left, opaque blue over red at the right.
    QCOMPARE(drawn.pixelColor(width / 2 - 25, height / 2), QColor(102, 0, 153));
    QCOMPARE(drawn.pixelColor(width / 2 + 25, height / 2), QColor(0, 0, 255));
}

void TestLightMap::hiddenItemsAreNotDrawn_data()
{
    QTest::addColumn<float>("transparency");
    QTest::newRow("fully transparent") << 1.0f;
    QTest::newRow("beyond") << 1.5f;
}

void TestLightMap::hiddenItemsAreNotDrawn()
{
    QFETCH(float, transparency);
    // Lit by lights, such an item would have no opacity anyway; in the map's colours it would show.
    const QImage drawn = drawnWithPane(transparency);
    QCOMPARE(drawn.pixelColor(width / 2 - 25, height / 2), QColor(0, 0, 255));
    QCOMPARE(drawn.pixelColor(width / 2 + 25, height / 2), QColor(255, 0, 0));
}

int main(int argc, char **argv)
{
    return GlLane::run<TestLightMap>(argc, argv, FrameSketch::size);
}

#include "tst_lightmap.moc"
