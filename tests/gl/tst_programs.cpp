#include "ForwardPainter.h"
#include "GlTest.h"
#include "Material.h"
#include "MessageCapture.h"
#include "PainterState.h"
#include "SceneSketch.h"
#include "ShadingPrograms.h"

#include <QtTest>

#include <functional>
#include <set>

using namespace Quorvel;
using namespace Quorvel::Test;

class TestPrograms : public GlTest
{
    Q_OBJECT

public:
    using GlTest::GlTest;

private slots:
    void allLink_data() { addPrograms(); }
    void allLink();
    void activeUniformsAreInTheTable_data() { addPrograms(); }
    void activeUniformsAreInTheTable();
    void attributesStandInTheirSlots_data() { addPrograms(); }
    void attributesStandInTheirSlots();
    void eachIsBuiltOnce_data() { addPrograms(); }
    void eachIsBuiltOnce();
    void laterPaintersShareThem();
    void anotherContextHasItsOwn();

private:
    static void addPrograms();
};

namespace
{

/// A program of any family, after it was built.
struct Built
{
    GLuint id = 0;
    bool isLinked = false;
    /// All that its family knows.
    std::set<QByteArray> uniforms;
};

template <typename Uniform>
Built built(const ProgramOf<Uniform> &program)
{
    Built built{program.id(), program.isLinked(), {}};
    for (int i = 0; i < int(Uniform::Count); ++i)
        built.uniforms.insert(uniformName(Uniform(i)));
    return built;
}

Built lighting(Shading shading)
{
    ShadingPrograms &programs = ShadingPrograms::ofCurrentContext();
    programs.buildLighting();
    return built(programs.program(shading));
}

Built builtProgram(const QString &name)
{
    ShadingPrograms &programs = ShadingPrograms::ofCurrentContext();
    programs.buildLighting();
    const QMap<QString, std::function<Built()>> all = {
        {"single-pass Phong", [] { return lighting(Shading::SinglePassPhong); }},
        {"per-vertex Phong", [] { return lighting(Shading::PerVertexPhong); }},
        {"light mapping", [] { return lighting(Shading::LightMapping); }},
        {"shadow map", [&] { return built(programs.shadowMap()); }},
        {"normal-depth", [&] { return built(programs.normalDepth()); }},
        {"outline", [&] { return built(programs.outline()); }},
        {"ambient occlusion", [&] { return built(programs.ambientOcclusion()); }},
        {"occlusion blur", [&] { return built(programs.occlusionBlur()); }},
    };
    return all.value(name)();
}

GLuint singlePass()
{
    return builtProgram("single-pass Phong").id;
}

/// As if no painter had been there yet.
void forgetAll()
{
    ShadingPrograms &programs = ShadingPrograms::ofCurrentContext();
    for (const Shading shading : {Shading::SinglePassPhong, Shading::PerVertexPhong, Shading::LightMapping})
        programs.program(shading) = ShaderProgram();
    programs.shadowMap() = ShadowMapProgram();
    programs.normalDepth() = NormalDepthProgram();
    programs.outline() = OutlineProgram();
    programs.ambientOcclusion() = OcclusionProgram();
    programs.occlusionBlur() = BlurProgram();
}

} // namespace

void TestPrograms::addPrograms()
{
    QTest::addColumn<QString>("name");
    for (const char *name : {"single-pass Phong", "per-vertex Phong", "light mapping", "shadow map",
                             "normal-depth", "outline", "ambient occlusion", "occlusion blur"})
        QTest::newRow(name) << name;
}

void TestPrograms::allLink()
{
    QFETCH(QString, name);
    forgetAll();
    QStringList complaints;
    Built program;
    {
        const MessageCapture capture;
        program = builtProgram(name);
        complaints = MessageCapture::lines();
    }
    // Neither a missing uniform nor the compiler has given a warning.
    QCOMPARE(complaints, QStringList());
    QVERIFY(program.isLinked);
    GLint linked = 0;
    glGetProgramiv(program.id, GL_LINK_STATUS, &linked);
    QCOMPARE(linked, GLint(GL_TRUE));
}

void TestPrograms::activeUniformsAreInTheTable()
{
    QFETCH(QString, name);
    const Built program = builtProgram(name);
    GLint count = 0;
    glGetProgramiv(program.id, GL_ACTIVE_UNIFORMS, &count);
    QVERIFY(count > 0);
    for (GLuint i = 0; i < GLuint(count); ++i) {
        char buffer[256];
        GLint size = 0;
        GLenum type = 0;
        glGetActiveUniform(program.id, i, sizeof buffer, nullptr, &size, &type, buffer);
        QByteArray uniform(buffer);
        if (size > 1 && !uniform.endsWith("[0]"))
            uniform += "[0]";
        QVERIFY2(program.uniforms.count(uniform), uniform.constData());
        QVERIFY(size == 1 || size == MaxLights);
    }
}

void TestPrograms::attributesStandInTheirSlots()
{
    QFETCH(QString, name);
    const GLuint program = builtProgram(name).id;
    QCOMPARE(glGetAttribLocation(program, "vertexPos"), int(Attribute::Position));
    const GLint normal = glGetAttribLocation(program, "vertexNormal");
    QVERIFY(normal == -1 || normal == int(Attribute::Normal));
    const GLint texcoord = glGetAttribLocation(program, "vertexTexcoord");
    QVERIFY(texcoord == -1 || texcoord == int(Attribute::Texcoord));
}

void TestPrograms::eachIsBuiltOnce()
{
    QFETCH(QString, name);
    const GLuint program = builtProgram(name).id;
    QCOMPARE(builtProgram(name).id, program);
    const ForwardPainter painter;
    QCOMPARE(builtProgram(name).id, program);
}

void TestPrograms::laterPaintersShareThem()
{
    const ForwardPainter first;
    const GLuint program = singlePass();
    const ForwardPainter second;
    QCOMPARE(singlePass(), program);
}

void TestPrograms::anotherContextHasItsOwn()
{
    const GLuint program = singlePass();
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
    QCOMPARE(singlePass(), program);
    QVERIFY(glIsProgram(program));
}

int main(int argc, char **argv)
{
    return GlLane::run<TestPrograms>(argc, argv, QSize(16, 16));
}

#include "tst_programs.moc"
