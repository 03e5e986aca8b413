#include "ForwardPainter.h"
#include "FrameTest.h"
#include "Gles2.h"
#include "Light.h"
#include "Material.h"
#include "Node.h"
#include "PainterState.h"

#include <QtTest>

#include <cstdlib>
#include <functional>
#include <limits>

using namespace Quorvel;
using namespace Quorvel::Test;

namespace
{

enum Flag { LowQuality = 1, Shadows = 2, Occlusion = 4, Outlines = 8 };

void addFlagRows()
{
    QTest::addColumn<int>("flags");
    QTest::newRow("none") << 0;
    QTest::newRow("shadows") << int(Shadows);
    QTest::newRow("occlusion") << int(Occlusion);
    QTest::newRow("outlines") << int(Outlines);
    QTest::newRow("occlusion and outlines") << int(Occlusion | Outlines);
    QTest::newRow("everything") << int(Shadows | Occlusion | Outlines);
    QTest::newRow("low quality") << int(LowQuality | Shadows | Occlusion | Outlines);
}

std::function<void(PainterState &)> setFlags(int flags)
{
    return [flags](PainterState &state) {
        state.setLowQuality(flags & LowQuality);
        state.setCastShadows(flags & Shadows);
        state.setAmbientOcclusion(flags & Occlusion);
        state.setOutlines(flags & Outlines);
    };
}

/// Something to shade, to throw a shadow and to blend.
struct Room
{
    Room()
    {
        Light *lamp = sketch.scene.light(Light::SpotLight, Qt::white, translation(1, 1, 0));
        lamp->setHotspotBeam(70);
        lamp->setFalloff(80);
        lamp->setShadow(true);
        sketch.scene.light(Light::PointLight, QColor(80, 60, 40), translation(-1, 0, -2))->setShadow(true);
        Material *stone = sketch.addMaterial({0.8f, 0.7f, 0.6f});
        Material *glass = sketch.addMaterial({0.2f, 0.5f, 0.9f});
        glass->setTransparency(0.5f);
        sketch.scene.quadNode(wall, stone);
        sketch.scene.quadNode({{-1, -0.6f, -3}, {0.8f, 0, 0}, {0, 0.8f, 0}}, stone);
        sketch.scene.quadNode({{0.2f, -0.8f, -2.5f}, {0.5f, 0, 0.2f}, {0, 0.7f, 0}}, glass);
    }

    Scene &scene() { return sketch.scene.scene(); }

    FrameSketch sketch;
};

int integer(GLenum name)
{
    GLint value = -1;
    glGetIntegerv(name, &value);
    return value;
}

/// What is not as a frame has to leave it, in words.
QStringList leftovers()
{
    QStringList left;
    const auto check = [&](bool isFine, const QString &what) {
        if (!isFine)
            left.append(what);
    };
    check(!glIsEnabled(GL_DEPTH_TEST), "depth test");
    check(!glIsEnabled(GL_BLEND), "blending");
    check(!glIsEnabled(GL_CULL_FACE), "culling");
    GLboolean writesDepth = GL_FALSE;
    glGetBooleanv(GL_DEPTH_WRITEMASK, &writesDepth);
    check(writesDepth, "no depth writes");
    check(integer(GL_ARRAY_BUFFER_BINDING) == 0, "vertex buffer");
    check(integer(GL_ELEMENT_ARRAY_BUFFER_BINDING) == 0, "index buffer");
    check(integer(GL_CURRENT_PROGRAM) == 0, "program");
    for (GLuint i = 0; i < 3; ++i) {
        GLint enabled = -1;
        glGetVertexAttribiv(i, GL_VERTEX_ATTRIB_ARRAY_ENABLED, &enabled);
        check(enabled == 0, QStringLiteral("attribute array %1").arg(i));
    }
    const int activeTexture = integer(GL_ACTIVE_TEXTURE);
    check(activeTexture == GL_TEXTURE0, QStringLiteral("active unit %1").arg(activeTexture - GL_TEXTURE0));
    for (int unit = 0; unit < 8; ++unit) {
        glActiveTexture(GLenum(GL_TEXTURE0 + unit));
        check(integer(GL_TEXTURE_BINDING_2D) == 0, QStringLiteral("texture on unit %1").arg(unit));
        if (unit >= 3 && unit <= 5)
            check(integer(GL_TEXTURE_BINDING_CUBE_MAP) == 0, QStringLiteral("cube map on unit %1").arg(unit));
    }
    glActiveTexture(GLenum(activeTexture));
    return left;
}

PainterState stateFor(Scene &scene, int flags)
{
    PainterState state(&scene);
    state.setViewport(QRectF(QPointF(), QSizeF(FrameSketch::size)));
    state.setAspect(float(width) / float(height));
    state.setBackgroundColor(QColor(10, 20, 30));
    setFlags(flags)(state);
    state.update();
    return state;
}

/// Everything that a state holds.
QVariantList fieldsOf(const PainterState &state)
{
    QVariantList fields = {QVariant::fromValue(static_cast<void *>(state.scene())),
                           state.viewport(),
                           state.ambient(),
                           state.sceneToView(),
                           state.viewToClip(),
                           state.znear(),
                           state.zfar(),
                           state.aspect(),
                           state.backgroundColor(),
                           state.backfaceCulling(),
                           state.lowQuality(),
                           state.castShadows(),
                           state.ambientOcclusion(),
                           state.outlines(),
                           state.animating()};
    for (const ClipPlane &plane : state.frustum().planes())
        fields << plane.a << plane.b << plane.c << plane.d;
    for (const VisibleItem &item : state.frustum().visibleItems())
        fields << item.node->id() << item.depth << item.transparency;
    return fields;
}

} // namespace

/// The GL state that a frame leaves, whether preparation changes it, what becomes of the state that it is
/// drawn with, and where transparency begins and ends.
class TestState : public FrameTest
{
    Q_OBJECT

public:
    using FrameTest::FrameTest;

private slots:
    void leftoversAreSeen();
    void frameLeavesNoState_data() { addFlagRows(); }
    void frameLeavesNoState();
    void preparationChangesNoPixel_data() { addFlagRows(); }
    void preparationChangesNoPixel();
    void givenStateStaysAsItIs_data() { addFlagRows(); }
    void givenStateStaysAsItIs();
    void outlinesLeaveNothingInTheState();
    void beyondFullyTransparentIsNotDrawn();
    void hardlyTransparentWritesNoDepth_data();
    void hardlyTransparentWritesNoDepth();
};

void TestState::leftoversAreSeen()
{
    QCOMPARE(leftovers(), QStringList());
    GLuint texture = 0;
    glGenTextures(1, &texture);
    GLuint buffer = 0;
    glGenBuffers(1, &buffer);
    glEnable(GL_BLEND);
    glDepthMask(GL_FALSE);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glEnableVertexAttribArray(2);
    glActiveTexture(GL_TEXTURE0 + 4);
    glBindTexture(GL_TEXTURE_CUBE_MAP, texture);
    const QStringList left = leftovers();
    glDeleteTextures(1, &texture);
    glDeleteBuffers(1, &buffer);
    glDisable(GL_BLEND);
    glDepthMask(GL_TRUE);
    glDisableVertexAttribArray(2);
    glActiveTexture(GL_TEXTURE0);
    const QStringList expected = {"blending",          "no depth writes", "vertex buffer",
                                  "attribute array 2", "active unit 4",   "cube map on unit 4"};
    QCOMPARE(left, expected);
    QCOMPARE(leftovers(), QStringList());
}

void TestState::frameLeavesNoState()
{
    QFETCH(int, flags);
    Room room;
    ForwardPainter painter;
    const int framebuffer = integer(GL_FRAMEBUFFER_BINDING);
    // The second frame finds what the first has made.
    for (int i = 0; i < 2; ++i) {
        const QImage drawn = drawFrame(m_context, painter, room.scene(), setFlags(flags));
        QVERIFY(!drawn.isNull());
        QCOMPARE(leftovers(), QStringList());
        QCOMPARE(integer(GL_FRAMEBUFFER_BINDING), framebuffer);
    }
}

void TestState::preparationChangesNoPixel()
{
    QFETCH(int, flags);
    Room room;
    const auto draw = [&](bool prepared) {
        // The random textures are to be the same.
        std::srand(1);
        ForwardPainter painter;
        PainterState state(&room.scene());
        state.setViewport(QRectF(QPointF(), QSizeF(FrameSketch::size)));
        setFlags(flags)(state);
        state.update();
        if (prepared)
            painter.prepare(state);
        return drawFrame(m_context, painter, room.scene(), setFlags(flags));
    };
    const QImage unprepared = draw(false);
    QVERIFY(!unprepared.isNull());
    QVERIFY(unprepared.pixelColor(80, 60) != unprepared.pixelColor(0, 0));
    QCOMPARE(draw(true), unprepared);
    QCOMPARE(leftovers(), QStringList());
}

void TestState::givenStateStaysAsItIs()
{
    QFETCH(int, flags);
    Room room;
    ForwardPainter painter;
    PainterState state = stateFor(room.scene(), flags);
    const QVariantList given = fieldsOf(state);
    painter.prepare(state);
    QCOMPARE(fieldsOf(state), given);
    QImage first;
    for (int i = 0; i < 3; ++i) {
        painter.paint(state);
        QCOMPARE(fieldsOf(state), given);
        const QImage drawn = m_context.grab();
        if (i == 0)
            first = drawn;
        QCOMPARE(drawn, first);
    }
}

/// Without update() in between, which would put some of it right again.
void TestState::outlinesLeaveNothingInTheState()
{
    Room room;
    ForwardPainter painter;
    PainterState state = stateFor(room.scene(), 0);
    painter.paint(state);
    const QImage plain = m_context.grab();
    QCOMPARE(plain.pixelColor(0, 0), QColor(10, 20, 30));
    state.setOutlines(true);
    painter.paint(state);
    QCOMPARE(m_context.grab().pixelColor(0, 0), QColor(200, 208, 220));
    state.setOutlines(false);
    painter.paint(state);
    QCOMPARE(m_context.grab(), plain);
}

void TestState::beyondFullyTransparentIsNotDrawn()
{
    FrameSketch sketch;
    Material *nothing = sketch.addMaterial({}, {1, 0, 0});
    nothing->setTransparency(1.5f);
    sketch.scene.quadNode({{-1, -1, -4}, {2, 0, 0}, {0, 2, 0}}, nothing);
    sketch.addQuad(wall, sketch.addMaterial({}, {1, 1, 1}), unlit);
    QCOMPARE(fault(sketch), QString());
}

void TestState::hardlyTransparentWritesNoDepth_data()
{
    QTest::addColumn<float>("transparency");
    QTest::addColumn<bool>("isTransparent");
    QTest::newRow("opaque") << 0.0f << false;
    QTest::newRow("a millionth") << 1e-6f << true;
    QTest::newRow("least normal number") << std::numeric_limits<float>::min() << true;
}

void TestState::hardlyTransparentWritesNoDepth()
{
    QFETCH(float, transparency);
    QFETCH(bool, isTransparent);
    FrameSketch sketch;
    Material *green = sketch.addMaterial({}, {0, 1, 0});
    Material *red = sketch.addMaterial({}, {1, 0, 0});
    for (Material *material : {green, red})
        material->setTransparency(transparency);
    const Quad farPane = {{-3, -1, -5}, {6, 0, 0}, {0, 2, 0}};
    const Quad nearPane = {{-1, -1, -3}, {2, 0, 0}, {0, 2, 0}};
    sketch.scene.quadNode(farPane, green);
    sketch.scene.quadNode(nearPane, red);
    // Transparent items go from the last to the first and write no depth: the far pane hides the near one.
    sketch.expect(nearPane, red, unlit, isTransparent);
    sketch.expect(farPane, green, unlit, isTransparent);
    const QImage drawn = drawFrame(m_context, sketch.scene.scene());
    QCOMPARE(sketch.fault(drawn), QString());
    QCOMPARE(drawn.pixelColor(80, 60).green() > drawn.pixelColor(80, 60).red(), isTransparent);
}

int main(int argc, char **argv)
{
    return GlLane::run<TestState>(argc, argv, FrameSketch::size);
}

#include "tst_state.moc"
