#include "ForwardPainter.h"
#include "FrameSketch.h"
#include "GlDebugLog.h"
#include "GlObjectCount.h"
#include "GlTest.h"
#include "Light.h"
#include "Material.h"
#include "Node.h"
#include "PainterState.h"
#include "RandomTextures.h"

#include <QGLFramebufferObject>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <unistd.h>

using namespace Quorvel;
using namespace Quorvel::Test;

/// Which passes a frame is made of, and that frames leave nothing behind.
class TestFramePasses : public GlTest
{
    Q_OBJECT

public:
    using GlTest::GlTest;

private slots:
    void initTestCase();
    void faultsAreSeen();
    void everyCombination_data();
    void everyCombination();
    void lowQualityDropsEffects();
    void outlinesSetPaperAndAmbient_data();
    void outlinesSetPaperAndAmbient();
    void targetsFollowTheViewport_data();
    void targetsFollowTheViewport();
    void effectsKeepToTheViewport_data();
    void effectsKeepToTheViewport();
    void windowWithoutAreaIsDrawn();
    void preparedPainterDrawsTheSame();
    void randomTexturesHoldWhatTheySay();
    void releasedPainterLeavesNothing();
    void manyFramesDoNotGrow();
};

namespace
{

enum Flag { Culling = 1, LowQuality = 2, Shadows = 4, Occlusion = 8, Outlines = 16, Animating = 32 };

void setFlags(PainterState &state, int flags)
{
    state.setBackfaceCulling(flags & Culling);
    state.setLowQuality(flags & LowQuality);
    state.setCastShadows(flags & Shadows);
    state.setAmbientOcclusion(flags & Occlusion);
    state.setOutlines(flags & Outlines);
    state.setAnimating(flags & Animating);
}

/// A corner of two walls, a thing before them and glass, with every kind of light; background at the right.
struct RoomSketch
{
    RoomSketch()
    {
        sketch.scene.light(Light::AmbientLight, QColor(60, 60, 70));
        Light *spot = sketch.scene.light(Light::SpotLight, QColor(200, 190, 180), translation(1, 1, 0));
        spot->setHotspotBeam(70);
        spot->setFalloff(80);
        spot->setShadow(true);
        Light *sun = sketch.scene.light(Light::DirectionalLight, QColor(60, 70, 80), rotation(-30, 1, 0, 0));
        sun->setShadow(true);
        sketch.scene.light(Light::PointLight, QColor(40, 30, 20), translation(-1, 0, -2))->setShadow(true);
        Material *stone = sketch.addMaterial({0.8f, 0.7f, 0.6f}, {0.8f, 0.7f, 0.6f});
        stone->setSpecular(QColor(80, 80, 80));
        stone->setSpecularLevel(1);
        stone->setShininess(20);
        Material *glass = sketch.addMaterial({0.2f, 0.5f, 0.9f}, {0.2f, 0.5f, 0.9f});
        glass->setTransparency(0.5f);
        sketch.scene.quadNode({{-3, -1.5f, -5}, {4, 0, 0}, {0, 4, 0}}, stone);
        sketch.scene.quadNode({{-3, -1.5f, -2}, {4, 0, 0}, {0, 0, -3}}, stone);
        sketch.scene.quadNode({{-1, -0.6f, -3}, {0.8f, 0, 0}, {0, 0.8f, 0}}, stone);
        sketch.scene.quadNode({{0.2f, -0.8f, -2.5f}, {0.5f, 0, 0.2f}, {0, 0.7f, 0}}, glass);
    }

    Scene &scene() { return sketch.scene.scene(); }

    FrameSketch sketch;
};

/// What the flags ask for, as the passes' debug groups.
QStringList passes(int flags)
{
    QStringList passes;
    const bool low = flags & LowQuality;
    if (flags & Shadows && !low)
        passes << "shadow map"
               << "shadow map";
    passes << "lighting";
    if (!low && flags & (Occlusion | Outlines))
        passes << "normals and depth";
    if (!low && flags & Occlusion)
        passes << "ambient occlusion";
    if (!low && flags & Outlines)
        passes << "outlines";
    return passes;
}

QString flagNames(int flags)
{
    QStringList names;
    const char *const all[] = {"culling", "low quality", "shadows", "occlusion", "outlines", "animating"};
    for (int i = 0; i < 6; ++i) {
        if (flags & 1 << i)
            names << all[i];
    }
    return names.isEmpty() ? QStringLiteral("none") : names.join(QLatin1String(", "));
}

QImage drawWith(OffscreenContext &context, ForwardPainter &painter, Scene &scene, int flags,
                const QRect &viewport = QRect(QPoint(), FrameSketch::size))
{
    return drawFrame(context, painter, scene, [&](PainterState &state) {
        setFlags(state, flags);
        state.setViewport(viewport);
        state.setAspect(float(viewport.width()) / float(qMax(1, viewport.height())));
    });
}

/// The part of a picture that a viewport covers.
QImage part(const QImage &picture, const QRect &viewport)
{
    return picture.copy(viewport.x(), picture.height() - viewport.y() - viewport.height(), viewport.width(),
                        viewport.height());
}

int largestDifference(const QImage &a, const QImage &b)
{
    int largest = a.size() == b.size() ? 0 : 255;
    for (int y = 0; y < a.height() && largest < 255; ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QColor p = a.pixelColor(x, y);
            const QColor q = b.pixelColor(x, y);
            largest = std::max({largest, std::abs(p.red() - q.red()), std::abs(p.green() - q.green()),
                                std::abs(p.blue() - q.blue())});
        }
    }
    return largest;
}

/// Resident memory in KiB.
long residentMemory()
{
    std::ifstream statm("/proc/self/statm");
    long total = 0;
    long resident = 0;
    statm >> total >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

} // namespace

void TestFramePasses::initTestCase()
{
    const GlDebugLog log;
    QVERIFY2(log.isListening(), "the context has no KHR_debug");
}

void TestFramePasses::faultsAreSeen()
{
    const GlDebugLog log;
    const DebugGroup::EntryPoints entryPoints;
    {
        const DebugGroup group(entryPoints, "wrong on purpose");
        glEnable(0xFFFF);
    }
    QCOMPARE(glErrors(), QStringList("GL_INVALID_ENUM"));
    QCOMPARE(log.groups(), QStringList("wrong on purpose"));
    QCOMPARE(log.depth(), 0);
    QCOMPARE(log.faults().size(), 1);
    QVERIFY2(log.faults().first().startsWith("wrong on purpose: "), qPrintable(log.faults().first()));
}

void TestFramePasses::everyCombination_data()
{
    QTest::addColumn<int>("flags");
    for (int flags = 0; flags < 64; ++flags)
        QTest::newRow(qPrintable(flagNames(flags))) << flags;
}

void TestFramePasses::everyCombination()
{
    QFETCH(int, flags);
    RoomSketch room;
    ForwardPainter painter;
    QImage first;
    {
        const GlDebugLog log;
        first = drawWith(m_context, painter, room.scene(), flags);
        QCOMPARE(log.faults(), QStringList());
        QCOMPARE(log.groups(), passes(flags));
        QCOMPARE(log.depth(), 0);
    }
    QVERIFY(!first.isNull());
    const GlDebugLog log;
    QCOMPARE(drawWith(m_context, painter, room.scene(), flags), first);
    QCOMPARE(log.faults(), QStringList());

    // State that later frames rely on is as it was.
    QVERIFY(!glIsEnabled(GL_DEPTH_TEST) && !glIsEnabled(GL_CULL_FACE) && !glIsEnabled(GL_BLEND));
    GLint bound = -1;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &bound);
    QCOMPARE(bound, 0);
    glGetIntegerv(GL_ACTIVE_TEXTURE, &bound);
    QCOMPARE(bound, GL_TEXTURE0);
    for (int unit = 7; unit >= 0; --unit) {
        glActiveTexture(GLenum(GL_TEXTURE0 + unit));
        glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
        QCOMPARE(bound, 0);
        glGetIntegerv(GL_TEXTURE_BINDING_CUBE_MAP, &bound);
        QCOMPARE(bound, 0);
    }
}

void TestFramePasses::lowQualityDropsEffects()
{
    RoomSketch room;
    ForwardPainter painter;
    const QImage plain = drawWith(m_context, painter, room.scene(), Culling | LowQuality);
    QCOMPARE(drawWith(m_context, painter, room.scene(), Culling | LowQuality | Shadows | Occlusion), plain);
    QVERIFY(drawWith(m_context, painter, room.scene(), Culling | Shadows | Occlusion) != plain);
    // The effects stay away while the view moves, and are back afterwards.
    QCOMPARE(drawWith(m_context, painter, room.scene(), Culling | LowQuality | Shadows | Occlusion), plain);
}

void TestFramePasses::outlinesSetPaperAndAmbient_data()
{
    QTest::addColumn<int>("flags");
    QTest::newRow("outlines") << int(Outlines);
    QTest::newRow("outlines in low quality") << int(Outlines | LowQuality);
}

void TestFramePasses::outlinesSetPaperAndAmbient()
{
    QFETCH(int, flags);
    FrameSketch sketch;
    sketch.scene.light(Light::AmbientLight, QColor::fromRgbF(0.2, 0.4, 0.6));
    sketch.addQuad({{-1, -2, -5}, {2, 0, 0}, {0, 4, 0}}, sketch.addMaterial({}, {1, 0.5f, 0.5f}));
    ForwardPainter painter;
    const QImage drawn = drawWith(m_context, painter, sketch.scene.scene(), flags);
    QCOMPARE(drawn.pixelColor(2, 2), QColor(200, 208, 220));
    QCOMPARE(drawn.pixelColor(80, 60), QColor(102, 77, 102));
}

void TestFramePasses::targetsFollowTheViewport_data()
{
    QTest::addColumn<int>("flagsBefore");
    QTest::addColumn<int>("flagsMeanwhile");
    QTest::addColumn<int>("flags");
    QTest::newRow("outlines") << int(Outlines) << int(Outlines) << int(Outlines);
    QTest::newRow("occlusion") << int(Occlusion) << int(Occlusion) << int(Occlusion);
    QTest::newRow("both") << int(Occlusion | Outlines) << int(Occlusion | Outlines)
                          << int(Occlusion | Outlines);
    QTest::newRow("off while the window changes") << int(Outlines) << 0 << int(Outlines);
    QTest::newRow("on after the first frame") << 0 << 0 << int(Outlines);
    QTest::newRow("low quality while the window changes")
        << int(Occlusion) << int(Occlusion | LowQuality) << int(Occlusion);
}

void TestFramePasses::targetsFollowTheViewport()
{
    QFETCH(int, flagsBefore);
    QFETCH(int, flagsMeanwhile);
    QFETCH(int, flags);
    const QRect large(0, 0, 160, 120);
    const QRect small(0, 0, 97, 71);
    RoomSketch room;
    std::srand(1);
    ForwardPainter resized;
    drawWith(m_context, resized, room.scene(), flagsBefore, large);
    drawWith(m_context, resized, room.scene(), flagsMeanwhile, small);
    const QImage drawn = part(drawWith(m_context, resized, room.scene(), flags, small), small);

    std::srand(1);
    ForwardPainter fresh;
    QCOMPARE(drawn, part(drawWith(m_context, fresh, room.scene(), flags, small), small));
}

void TestFramePasses::effectsKeepToTheViewport_data()
{
    QTest::addColumn<int>("flags");
    QTest::newRow("plain") << 0;
    QTest::newRow("outlines") << int(Outlines);
    QTest::newRow("occlusion") << int(Occlusion);
    QTest::newRow("both") << int(Occlusion | Outlines);
}

void TestFramePasses::effectsKeepToTheViewport()
{
    QFETCH(int, flags);
    const QRect atOrigin(0, 0, 90, 70);
    const QRect moved(30, 40, 90, 70);
    RoomSketch room;
    ForwardPainter painter;
    const QImage drawn = part(drawWith(m_context, painter, room.scene(), flags, atOrigin), atOrigin);
    const QImage elsewhere = part(drawWith(m_context, painter, room.scene(), flags, moved), moved);
    // Rounding of positions within the window may move a colour by one step.
    QVERIFY2(largestDifference(elsewhere, drawn) <= 1,
             qPrintable(QString::number(largestDifference(elsewhere, drawn))));
}

void TestFramePasses::windowWithoutAreaIsDrawn()
{
    RoomSketch room;
    ForwardPainter painter;
    const GlDebugLog log;
    for (const QRect &viewport : {QRect(0, 0, 0, 1), QRect(0, 0, 0, 0), QRect(0, 0, 1, 1)})
        QVERIFY(
            !drawWith(m_context, painter, room.scene(), Shadows | Occlusion | Outlines, viewport).isNull());
    QCOMPARE(log.faults(), QStringList());
}

void TestFramePasses::preparedPainterDrawsTheSame()
{
    RoomSketch room;
    const int flags = Culling | Shadows | Occlusion | Outlines;
    std::srand(1);
    ForwardPainter prepared;
    PainterState state(&room.scene());
    state.setViewport(QRectF(QPointF(), QSizeF(FrameSketch::size)));
    setFlags(state, flags);
    state.update();
    prepared.prepare(state);
    const QImage drawn = drawWith(m_context, prepared, room.scene(), flags);
    std::srand(1);
    ForwardPainter unprepared;
    QCOMPARE(drawWith(m_context, unprepared, room.scene(), flags), drawn);
}

void TestFramePasses::randomTexturesHoldWhatTheySay()
{
    std::srand(7);
    const RandomTextures textures;
    const auto read = [](const QGLFramebufferObject &texture) {
        std::vector<unsigned char> rgba(256 * 256 * 4);
        glBindFramebuffer(GL_FRAMEBUFFER, texture.handle());
        glReadPixels(0, 0, 256, 256, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
        QGLFramebufferObject::bindDefault();
        return rgba;
    };
    QCOMPARE(textures.normals().size(), QSize(256, 256));
    QCOMPARE(textures.rotations().size(), QSize(256, 256));
    const std::vector<unsigned char> normals = read(textures.normals());
    const std::vector<unsigned char> rotations = read(textures.rotations());

    std::srand(7);
    for (const unsigned char byte : normals)
        QCOMPARE(int(byte), std::rand() % 256);
    for (size_t i = 0; i < rotations.size(); i += 4) {
        const double angle = (std::rand() % 100) / 10.0;
        QCOMPARE(int(rotations[i]), int((std::cos(angle) + 1) / 2 * 255));
        QCOMPARE(int(rotations[i + 1]), int((std::sin(angle) + 1) / 2 * 255));
        QCOMPARE(int(rotations[i + 2]), 0);
        QCOMPARE(int(rotations[i + 3]), 0);
    }
}

void TestFramePasses::releasedPainterLeavesNothing()
{
    const int flags = Culling | Shadows | Occlusion | Outlines;
    RoomSketch room;
    {
        // Programs stay for later painters; they are there from now on.
        ForwardPainter painter;
        drawWith(m_context, painter, room.scene(), flags);
    }
    const QString before = GlObjectCount().text();
    {
        ForwardPainter painter;
        const QString fresh = GlObjectCount().text();
        const QImage drawn = drawWith(m_context, painter, room.scene(), flags & ~Occlusion);
        QVERIFY(GlObjectCount().text() != fresh);
        painter.release();
        QCOMPARE(GlObjectCount().text(), fresh);
        std::srand(1);
        QVERIFY(!drawWith(m_context, painter, room.scene(), flags).isNull());
    }
    QCOMPARE(GlObjectCount().text(), before);
}

void TestFramePasses::manyFramesDoNotGrow()
{
    constexpr int frames = 200;
    constexpr int warmUp = 40;
    RoomSketch room;
    ForwardPainter painter;
    QString objects;
    long memory = 0;
    for (int i = 0; i < frames; ++i) {
        // Every flag in turn, and a new size every third frame.
        const QRect viewport(0, 0, 160 - i / 3 % 20, 120 - i / 3 % 15);
        drawWith(m_context, painter, room.scene(), i * 5 % 64, viewport);
        const bool settled = i == warmUp || i == frames - 1;
        if (!settled)
            continue;
        drawWith(m_context, painter, room.scene(), Culling | Shadows | Occlusion | Outlines);
        if (i == warmUp) {
            objects = GlObjectCount().text();
            memory = residentMemory();
        }
    }
    QCOMPARE(GlObjectCount().text(), objects);
    const long growth = residentMemory() - memory;
    qInfo("%d frames: %s; memory grew by %ld KiB", frames - warmUp, qPrintable(objects), growth);
    QVERIFY2(growth < 4096, qPrintable(QString::number(growth)));
}

int main(int argc, char **argv)
{
    return GlLane::run<TestFramePasses>(argc, argv, FrameSketch::size);
}

#include "tst_framepasses.moc"
