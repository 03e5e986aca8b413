#include "ForwardPainter.h"
#include "GlLane.h"
#include "Material.h"
#include "MessageCapture.h"
#include "PainterState.h"
#include "SceneSketch.h"
#include "ShadingPrograms.h"

#include <QtTest>

#include <set>

using namespace Quorvel;
using namespace Quorvel::Test;

class TestPrograms : public QObject
{
    Q_OBJECT

public:
    explicit TestPrograms(OffscreenContext &context) : m_context(context) {}

private slots:
    void allLink_data() { addPrograms(); }
    void allLink();
    void activeUniformsAreInTheTable_data() { addPrograms(); }
    void activeUniformsAreInTheTable();
    void attributesStandInTheirSlots_data() { addPrograms(); }
    void attributesStandInTheirSlots();
    void laterPaintersShareThem();
    void anotherContextHasItsOwn();
    void cleanup() { QCOMPARE(glErrors(), QStringList()); }

private:
    static void addPrograms();

    OffscreenContext &m_context;
};

namespace
{

GLuint builtProgram(int shading)
{
    ShadingPrograms &programs = ShadingPrograms::ofCurrentContext();
    programs.buildLighting();
    return programs.program(Shading(shading)).id();
}

} // namespace

void TestPrograms::addPrograms()
{
    QTest::addColumn<int>("shading");
    QTest::newRow("single-pass Phong") << int(Shading::SinglePassPhong);
    QTest::newRow("per-vertex Phong") << int(Shading::PerVertexPhong);
    QTest::newRow("light mapping") << int(Shading::LightMapping);
}

void TestPrograms::allLink()
{
    QFETCH(int, shading);
    ShadingPrograms &programs = ShadingPrograms::ofCurrentContext();
    programs.program(Shading::SinglePassPhong) = ShaderProgram();
    QStringList complaints;
    GLuint program = 0;
    {
        const MessageCapture capture;
        program = builtProgram(shading);
        complaints = MessageCapture::lines();
    }
    // Neither a missing uniform nor the compiler has given a warning.
    QCOMPARE(complaints, QStringList());
    QVERIFY(programs.program(Shading(shading)).isLinked());
    GLint linked = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &linked);
    QCOMPARE(linked, GLint(GL_TRUE));
}

void TestPrograms::activeUniformsAreInTheTable()
{
    QFETCH(int, shading);
    std::set<QByteArray> names;
    for (int i = 0; i < int(Uniform::Count); ++i)
        names.insert(uniformName(Uniform(i)));

    const GLuint program = builtProgram(shading);
    GLint count = 0;
    glGetProgramiv(program, GL_ACTIVE_UNIFORMS, &count);
    QVERIFY(count > 0);
    for (GLuint i = 0; i < GLuint(count); ++i) {
        char buffer[256];
        GLint size = 0;
        GLenum type = 0;
        glGetActiveUniform(program, i, sizeof buffer, nullptr, &size, &type, buffer);
        QByteArray name(buffer);
        if (size > 1 && !name.endsWith("[0]"))
            name += "[0]";
        QVERIFY2(names.count(name), name.constData());
        QVERIFY(size == 1 || size == MaxLights);
    }
}

void TestPrograms::attributesStandInTheirSlots()
{
    QFETCH(int, shading);
    const GLuint program = builtProgram(shading);
    QCOMPARE(glGetAttribLocation(program, "vertexPos"), int(Attribute::Position));
    const GLint normal = glGetAttribLocation(program, "vertexNormal");
    QVERIFY(normal == -1 || normal == int(Attribute::Normal));
    const GLint texcoord = glGetAttribLocation(program, "vertexTexcoord");
    QVERIFY(texcoord == -1 || texcoord == int(Attribute::Texcoord));
}

void TestPrograms::laterPaintersShareThem()
{
    const ForwardPainter first;
    const GLuint program = builtProgram(0);
    const ForwardPainter second;
    QCOMPARE(builtProgram(0), program);
}

void TestPrograms::anotherContextHasItsOwn()
{
    const GLuint program = builtProgram(0);
    for (int i = 0; i < 3; ++i) {
        OffscreenContext other(QSize(16, 16), m_context.isEs() ? OffscreenContext::Api::Es2
                                                               : OffscreenContext::Api::Desktop);
        QVERIFY2(other.isValid(), qPrintable(other.errorString()));
        QVERIFY(!ShadingPrograms::ofCurrentContext().program(Shading::SinglePassPhong).isLinked());
        SceneSketch builder;
        Material *material = builder.material("white");
        material->setAmbient(Qt::white);
        builder.quadNode({{-1, -1, -2}, {2, 0, 0}, {0, 2, 0}}, material);
        PainterState state(&builder.scene());
        state.setViewport(QRectF(0, 0, 16, 16));
        state.update();
        ForwardPainter painter;
        painter.paint(state);
        QVERIFY(ShadingPrograms::ofCurrentContext().program(Shading::SinglePassPhong).isLinked());
        QCOMPARE(other.grab().pixelColor(8, 8), QColor(102, 102, 102));
        QCOMPARE(glErrors(), QStringList());
    }
    m_context.makeCurrent();
    QCOMPARE(builtProgram(0), program);
    QVERIFY(glIsProgram(program));
}

int main(int argc, char **argv)
{
    return GlLane::run<TestPrograms>(argc, argv, QSize(16, 16));
}

#include "tst_programs.moc"
