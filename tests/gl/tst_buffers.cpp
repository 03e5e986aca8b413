#include "Geometry.h"
#include "GlTest.h"
#include "GpuGeometry.h"
#include "IndexBuffer.h"
#include "Node.h"
#include "PainterState.h"
#include "SceneSketch.h"
#include "ShaderPainter.h"
#include "Trimesh.h"
#include "VertexBuffer.h"

#include <QVector2D>
#include <QVector3D>
#include <QVector4D>
#include <QtTest>

#include <optional>

using namespace Quorvel;
using namespace Quorvel::Test;

class TestBuffers : public GlTest
{
    Q_OBJECT

public:
    using GlTest::GlTest;

private slots:
    void vertexUploadSizes();
    void indexUploadSizes();
    void uploadOfNothing();
    void uploadAgainReplaces();
    void bindingAndReleasing();
    void namesAreFreed();
    void movingHandsTheNameOver();
    void geometryIsBuiltOnce();
    void groupBuffersAreCumulative();
    void edgeBuffersNeedNeighbours();
    void releaseFreesAndBuildsAgain();
};

namespace
{

GLint parameter(GLenum target, GLenum name)
{
    GLint value = -1;
    glGetBufferParameteriv(target, name, &value);
    return value;
}

GLuint bound(GLenum binding)
{
    GLint name = -1;
    glGetIntegerv(binding, &name);
    return GLuint(name);
}

GLint size(const VertexBuffer &buffer)
{
    buffer.bind();
    const GLint bytes = parameter(GL_ARRAY_BUFFER, GL_BUFFER_SIZE);
    buffer.release();
    return bytes;
}

GLint size(const IndexBuffer &buffer)
{
    buffer.bind();
    const GLint bytes = parameter(GL_ELEMENT_ARRAY_BUFFER, GL_BUFFER_SIZE);
    buffer.release();
    return bytes;
}

} // namespace

void TestBuffers::vertexUploadSizes()
{
    VertexBuffer buffer;
    buffer.bind();
    buffer.upload(QVector<QVector4D>(5));
    QCOMPARE(parameter(GL_ARRAY_BUFFER, GL_BUFFER_SIZE), 80);
    QCOMPARE(GLenum(parameter(GL_ARRAY_BUFFER, GL_BUFFER_USAGE)), GLenum(GL_STATIC_DRAW));
    buffer.upload(QVector<QVector3D>(5));
    QCOMPARE(parameter(GL_ARRAY_BUFFER, GL_BUFFER_SIZE), 60);
    buffer.upload(QVector<QVector2D>(5));
    QCOMPARE(parameter(GL_ARRAY_BUFFER, GL_BUFFER_SIZE), 40);
    buffer.release();
}

void TestBuffers::indexUploadSizes()
{
    IndexBuffer buffer;
    QCOMPARE(buffer.count(), 0);
    buffer.bind();
    buffer.upload({7, 8, 9});
    QCOMPARE(buffer.count(), 3);
    QCOMPARE(parameter(GL_ELEMENT_ARRAY_BUFFER, GL_BUFFER_SIZE), 12);
    QCOMPARE(GLenum(parameter(GL_ELEMENT_ARRAY_BUFFER, GL_BUFFER_USAGE)), GLenum(GL_STATIC_DRAW));
    buffer.release();
}

void TestBuffers::uploadOfNothing()
{
    IndexBuffer indices;
    indices.bind();
    indices.upload({1, 2, 3});
    indices.upload({});
    QCOMPARE(indices.count(), 0);
    QCOMPARE(parameter(GL_ELEMENT_ARRAY_BUFFER, GL_BUFFER_SIZE), 0);
    indices.release();

    VertexBuffer vertices;
    vertices.bind();
    vertices.upload(QVector<QVector3D>());
    QCOMPARE(parameter(GL_ARRAY_BUFFER, GL_BUFFER_SIZE), 0);
    vertices.release();
}

void TestBuffers::uploadAgainReplaces()
{
    IndexBuffer buffer;
    buffer.bind();
    buffer.upload({1, 2, 3, 4, 5, 6});
    buffer.upload({1, 2});
    buffer.release();
    QCOMPARE(buffer.count(), 2);
    QCOMPARE(size(buffer), 8);
}

void TestBuffers::bindingAndReleasing()
{
    const VertexBuffer vertices;
    const IndexBuffer indices;
    vertices.bind();
    indices.bind();
    QVERIFY(bound(GL_ARRAY_BUFFER_BINDING) != 0);
    QVERIFY(bound(GL_ELEMENT_ARRAY_BUFFER_BINDING) != 0);
    vertices.release();
    indices.release();
    QCOMPARE(bound(GL_ARRAY_BUFFER_BINDING), 0u);
    QCOMPARE(bound(GL_ELEMENT_ARRAY_BUFFER_BINDING), 0u);
}

void TestBuffers::namesAreFreed()
{
    std::optional<VertexBuffer> vertices(std::in_place);
    std::optional<IndexBuffer> indices(std::in_place);
    vertices->bind();
    indices->bind();
    const GLuint vertexName = bound(GL_ARRAY_BUFFER_BINDING);
    const GLuint indexName = bound(GL_ELEMENT_ARRAY_BUFFER_BINDING);
    QVERIFY(glIsBuffer(vertexName) && glIsBuffer(indexName));
    vertices.reset();
    indices.reset();
    QVERIFY(!glIsBuffer(vertexName));
    QVERIFY(!glIsBuffer(indexName));
}

void TestBuffers::movingHandsTheNameOver()
{
    IndexBuffer first;
    first.bind();
    first.upload({1, 2, 3});
    const GLuint name = bound(GL_ELEMENT_ARRAY_BUFFER_BINDING);
    {
        const IndexBuffer second(std::move(first));
        QCOMPARE(second.count(), 3);
        QVERIFY(glIsBuffer(name));
    }
    QVERIFY(!glIsBuffer(name));

    VertexBuffer target;
    {
        VertexBuffer source;
        source.bind();
        source.upload(QVector<QVector2D>(3));
        target = std::move(source);
    }
    QCOMPARE(size(target), 24);
}

void TestBuffers::geometryIsBuiltOnce()
{
    SceneSketch builder;
    Node *node = builder.quadNode({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, nullptr);
    PainterState state(&builder.scene());
    ShaderPainter painter;
    painter.prepare(state);
    const GpuGeometry *data = &painter.geometryData(node->geometryModel(), 0.0f);
    data->positions.bind();
    const GLuint name = bound(GL_ARRAY_BUFFER_BINDING);
    painter.paint(state);
    painter.paint(state);
    QCOMPARE(&painter.geometryData(node->geometryModel(), 1.0f), data);
    data->positions.bind();
    QCOMPARE(bound(GL_ARRAY_BUFFER_BINDING), name);
    data->positions.release();
    QCOMPARE(size(data->positions), 4 * 12);
    QCOMPARE(size(data->normals), 4 * 12);
    QCOMPARE(size(data->texcoords), 4 * 8);

    // What is added later is picked up by the next frame.
    Node *later = builder.quadNode({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, nullptr);
    painter.paint(state);
    QCOMPARE(painter.geometryData(later->geometryModel(), 0.0f).groups.size(), size_t(1));
}

void TestBuffers::groupBuffersAreCumulative()
{
    SceneSketch builder;
    Geometry *geometry = builder.geometry();
    builder.addQuad(geometry, "a", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    builder.addQuad(geometry, "b", {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}});
    builder.addQuad(geometry, "c", {{0, 0, 2}, {1, 0, 0}, {0, 1, 0}});
    ShaderPainter painter;
    const GpuGeometry &data = painter.geometryData(geometry, 0.0f);
    QCOMPARE(data.groups.size(), size_t(3));
    QCOMPARE(data.groups[0].count(), 6);
    QCOMPARE(data.groups[1].count(), 12);
    QCOMPARE(data.groups[2].count(), 18);
    QCOMPARE(size(data.groups[2]), 72);

    const GpuGeometry &empty = painter.geometryData(builder.geometry(), 0.0f);
    QVERIFY(empty.groups.empty());
    QCOMPARE(size(empty.positions), 0);
}

void TestBuffers::edgeBuffersNeedNeighbours()
{
    SceneSketch builder;
    Geometry *geometry = builder.geometry();
    Trimesh *group = builder.addQuad(geometry, "a", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    ShaderPainter painter;
    QVERIFY(!painter.geometryData(geometry, 0.0f).edgeIndices);

    Geometry *analysed = builder.geometry();
    group = builder.addQuad(analysed, "a", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
    group->setAdjacency({-1, -1, 3, 1, -1, -1});
    const GpuGeometry &data = painter.geometryData(analysed, 0.0f);
    QVERIFY(data.edgeIndices && data.edgePositions);
    QCOMPARE(data.edgeIndices->count(), 12);
    QCOMPARE(size(*data.edgePositions), 5 * 16);
}

void TestBuffers::releaseFreesAndBuildsAgain()
{
    SceneSketch builder;
    Node *node = builder.quadNode({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, nullptr);
    PainterState state(&builder.scene());
    ShaderPainter painter;
    painter.paint(state);
    painter.geometryData(node->geometryModel(), 0.0f).positions.bind();
    const GLuint name = bound(GL_ARRAY_BUFFER_BINDING);
    painter.release();
    QVERIFY(!glIsBuffer(name));
    painter.paint(state);
    QCOMPARE(size(painter.geometryData(node->geometryModel(), 0.0f).positions), 4 * 12);
}

int main(int argc, char **argv)
{
    return GlLane::run<TestBuffers>(argc, argv);
}

#include "tst_buffers.moc"
