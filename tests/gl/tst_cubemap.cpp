#include "CubeMap.h"
#include "ForwardPainter.h"
#include "GlFatalCase.h"
#include "GlTest.h"
#include "Light.h"
#include "MessageCapture.h"
#include "Node.h"
#include "PainterState.h"
#include "SceneSketch.h"

#include <QtTest>

#include <array>
#include <cmath>
#include <vector>

using namespace Quorvel;
using namespace Quorvel::Test;

/// The cube map's own behaviour, and what a point light's holds after it was drawn.
class TestCubeMap : public GlTest
{
    Q_OBJECT

public:
    using GlTest::GlTest;

private slots:
    void facesAreDrawnIntoOneByOne();
    void leavesTheDefaultFramebufferBound();
    void ownsItsObjects();
    void incompleteOneIsWarnedAbout();
    void errorsAreLoggedWithTheirPlace();
    void faceOutOfRangeIsFatal_data();
    void faceOutOfRangeIsFatal();
    void eachFaceShowsWhatLiesInItsDirection_data();
    void eachFaceShowsWhatLiesInItsDirection();
    void wallBehindAnotherIsHidden();
};

namespace
{

constexpr int edge = 512;

/// A room with a wall on each side of the light, in the order of faces, each at another distance. The walls
/// are as large as they are far, so that each fills a quarter of its face; they stand out of its middle, so
/// that a face that is turned or mirrored shows.
const std::array<float, 6> distances = {2, 3, 4, 5, 6, 7};
const QVector3D lightPosition(1, -2, 3);

QVector3D direction(int face)
{
    QVector3D axis;
    axis[face / 2] = face % 2 ? -1.0f : 1.0f;
    return axis;
}

/// Faces the light.
Quad wallOfFace(int face, float distance)
{
    const QVector3D normal = -direction(face);
    const QVector3D u = distance * QVector3D(normal.y(), normal.z(), normal.x());
    const QVector3D v = QVector3D::crossProduct(normal, u);
    return {lightPosition - distance * normal - 0.3f * u - 0.4f * v, u, v};
}

std::vector<unsigned char> readFace(CubeMap &map, int face)
{
    std::vector<unsigned char> rgba(size_t(map.size()) * size_t(map.size()) * 4);
    map.selectFace(face);
    glReadPixels(0, 0, map.size(), map.size(), GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    map.release();
    return rgba;
}

/// The world direction that GL's table of cube-map faces gives the middle of a texel, 1 long along the axis.
QVector3D directionOfTexel(int face, int x, int y)
{
    const float s = 2 * (float(x) + 0.5f) / edge - 1;
    const float t = 2 * (float(y) + 0.5f) / edge - 1;
    switch (face) {
    case 0:
        return {1, -t, -s};
    case 1:
        return {-1, -t, s};
    case 2:
        return {s, 1, t};
    case 3:
        return {s, -1, -t};
    case 4:
        return {s, -t, 1};
    default:
        return {-s, -t, -1};
    }
}

struct Room
{
    Room()
    {
        light = sketch.light(Light::PointLight, Qt::white,
                             translation(lightPosition.x(), lightPosition.y(), lightPosition.z()));
        for (int face = 0; face < 6; ++face)
            sketch.quadNode(wallOfFace(face, distances[size_t(face)]), sketch.material("white"));
    }

    CubeMap &draw(ForwardPainter *painter)
    {
        Scene &scene = sketch.scene();
        PainterState state(&scene);
        state.update();
        painter->prepare(state);
        painter->shadowMaps().makeCubeMap(light);
        painter->renderCubeShadowMap(state, *scene.findNode("light-1"));
        return *painter->shadowMaps().cubeMap(light);
    }

    /// Farthest reach of any wall's bounding sphere: its middle stands off the axis by 0.2 and 0.1.
    double extent() const
    {
        return double(distances[5]) * (std::sqrt(1 + 0.2 * 0.2 + 0.1 * 0.1) + std::sqrt(0.5));
    }

    SceneSketch sketch;
    Light *light = nullptr;
};

} // namespace

void TestCubeMap::facesAreDrawnIntoOneByOne()
{
    CubeMap map(8, GL_RGBA, GL_UNSIGNED_BYTE);
    QCOMPARE(map.size(), 8);
    for (int face = 0; face < 6; ++face) {
        map.selectFace(face);
        QCOMPARE(glCheckFramebufferStatus(GL_FRAMEBUFFER), GLenum(GL_FRAMEBUFFER_COMPLETE));
        glClearColor(float(face) / 5, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    }
    for (int face = 0; face < 6; ++face)
        QCOMPARE(int(readFace(map, face)[0]), face * 51);
}

void TestCubeMap::leavesTheDefaultFramebufferBound()
{
    GLint before = -1;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &before);
    CubeMap map(8, GL_RGBA, GL_UNSIGNED_BYTE);
    GLint bound = -1;
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &bound);
    QCOMPARE(bound, before);
    map.selectFace(3);
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &bound);
    QVERIFY(bound != before);
    map.release();
    glGetIntegerv(GL_FRAMEBUFFER_BINDING, &bound);
    QCOMPARE(bound, before);
    glGetIntegerv(GL_TEXTURE_BINDING_CUBE_MAP, &bound);
    QCOMPARE(bound, 0);
}

void TestCubeMap::ownsItsObjects()
{
    GLuint texture = 0;
    GLint framebuffer = 0;
    GLint depthBuffer = 0;
    {
        CubeMap map(8, GL_RGBA, GL_UNSIGNED_BYTE);
        map.selectFace(0);
        texture = map.texture();
        glGetIntegerv(GL_FRAMEBUFFER_BINDING, &framebuffer);
        glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT,
                                              GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME, &depthBuffer);
        map.release();
        QVERIFY(glIsTexture(texture));
        QVERIFY(glIsFramebuffer(GLuint(framebuffer)));
        QVERIFY(glIsRenderbuffer(GLuint(depthBuffer)));
    }
    QVERIFY(!glIsTexture(texture));
    QVERIFY(!glIsFramebuffer(GLuint(framebuffer)));
    QVERIFY(!glIsRenderbuffer(GLuint(depthBuffer)));
}

void TestCubeMap::incompleteOneIsWarnedAbout()
{
    const MessageCapture capture;
    const CubeMap map(0, GL_RGBA, GL_UNSIGNED_BYTE);
    QCOMPARE(MessageCapture::lines(), QStringList("Warning: cubemap generation failed"));
}

void TestCubeMap::errorsAreLoggedWithTheirPlace()
{
    const MessageCapture capture;
    const CubeMap map(8, GL_RGBA, GL_FLOAT + 1000);
    const QRegularExpression line("^\\[src/CubeMap\\.cpp line \\d+\\] GL Error: 1280$");
    // One for each face, then the framebuffer has nothing to draw into.
    QCOMPARE(MessageCapture::lines().size(), 7);
    for (int i = 0; i < 6; ++i)
        QVERIFY2(line.match(MessageCapture::lines().at(i)).hasMatch(),
                 qPrintable(MessageCapture::lines().at(i)));
    QCOMPARE(MessageCapture::lines().last(), QString("Warning: cubemap generation failed"));
}

void TestCubeMap::faceOutOfRangeIsFatal_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("6") << "face 6";
    QTest::newRow("-1") << "face -1";
}

void TestCubeMap::faceOutOfRangeIsFatal()
{
    QFETCH(QString, name);
    const FatalEnd end = FatalCases::end(name);
    QVERIFY2(end.aborted, qPrintable(end.text));
    QVERIFY2(end.text.contains("\"face >= 0 && face < 6\" in file src/CubeMap"), qPrintable(end.text));
}

void TestCubeMap::eachFaceShowsWhatLiesInItsDirection_data()
{
    QTest::addColumn<int>("face");
    for (int face = 0; face < 6; ++face)
        QTest::newRow(qPrintable(QString::number(face))) << face;
}

void TestCubeMap::eachFaceShowsWhatLiesInItsDirection()
{
    QFETCH(int, face);
    Room room;
    ForwardPainter painter;
    const std::vector<unsigned char> texels = readFace(room.draw(&painter), face);
    const float distance = distances[size_t(face)];
    const double extent = room.extent();
    const Quad wall = wallOfFace(face, distance);
    int covered = 0;
    for (int y = 0; y < edge; ++y) {
        for (int x = 0; x < edge; ++x) {
            const QVector3D towards = directionOfTexel(face, x, y);
            const QVector3D onWall = lightPosition + distance * towards - wall.origin;
            const float u = QVector3D::dotProduct(onWall, wall.u) / wall.u.lengthSquared();
            const float v = QVector3D::dotProduct(onWall, wall.v) / wall.v.lengthSquared();
            // How far inside the wall's edges, in shares of its width.
            const float inside = std::min({u, v, 1 - u, 1 - v});
            if (std::abs(inside) < 4.0f / edge)
                continue;
            const double squared = double((distance * towards).lengthSquared()) / (extent * extent);
            const double expected = inside > 0 ? squared * 255 : 255;
            covered += inside > 0 ? 1 : 0;
            const unsigned char *texel = &texels[size_t(y * edge + x) * 4];
            if (std::abs(texel[0] - expected) > 1 || texel[1] != texel[0] || texel[2] != texel[0] ||
                texel[3] != 255) {
                QFAIL(qPrintable(QStringLiteral("texel %1, %2 is %3, expected %4")
                                     .arg(x)
                                     .arg(y)
                                     .arg(texel[0])
                                     .arg(expected)));
            }
        }
    }
    QVERIFY(covered > edge * edge / 5);
}

void TestCubeMap::wallBehindAnotherIsHidden()
{
    // Off the middle of the -z face, towards -x and +y, nearer than the wall.
    Room room;
    room.sketch.quadNode({lightPosition + QVector3D(-1, 0.5f, -4), {0.5f, 0, 0}, {0, 0.5f, 0}},
                         room.sketch.material("white"));
    ForwardPainter painter;
    const std::vector<unsigned char> texels = readFace(room.draw(&painter), 5);
    const QVector3D centre(-0.75f, 0.75f, -4);
    const int x = int((1 + 0.75f / 4) / 2 * edge);
    const int y = int((1 - 0.75f / 4) / 2 * edge);
    QVERIFY((directionOfTexel(5, x, y) * 4 - centre).length() < 0.05f);
    const int expected = qRound(double(centre.lengthSquared()) / (room.extent() * room.extent()) * 255);
    const int actual = texels[size_t(y * edge + x) * 4];
    QVERIFY2(std::abs(actual - expected) <= 1, qPrintable(QString::number(actual)));
}

int main(int argc, char **argv)
{
    const auto selectFace = [](int face) {
        return [face](OffscreenContext &) { CubeMap(8, GL_RGBA, GL_UNSIGNED_BYTE).selectFace(face); };
    };
    return runWithFatalCases<TestCubeMap>(argc, argv, QSize(16, 16),
                                          {{"face 6", selectFace(6)}, {"face -1", selectFace(-1)}});
}

#include "tst_cubemap.moc"
