#include "ShaderProgram.h"

#include <QGLShaderProgram>
#include <QtDebug>

#include <algorithm>

namespace Quorvel
{

namespace
{

constexpr std::array<const char *, size_t(Uniform::LightsPos)> singleNames = {
    "modelToScene",      "modelToView",        "modelToViewNormal",
    "modelToClip",       "material_ambient",   "material_diffuse",
    "material_specular", "material_shininess", "material_transparency",
    "lightCount",        "shadowMap0",         "shadowMap1",
    "shadowMap2",        "cubeShadowMap0",     "cubeShadowMap1",
    "cubeShadowMap2",    "occlusionMap",       "pcfRotationMap",
    "occlusion",
};

constexpr std::array<const char *, 10> arrayNames = {
    "lights_pos",    "lights_color",     "lights_direction",     "lights_cosHotspot",   "lights_cosFalloff",
    "lights_isSpot", "lights_shadowMap", "lights_cubeShadowMap", "lights_shadowMatrix", "lights_scenePos",
};

static_assert(singleNames.size() + MaxLights * arrayNames.size() == size_t(Uniform::Count));

} // namespace

QByteArray uniformName(Uniform uniform)
{
    const size_t index = size_t(uniform);
    if (index < singleNames.size())
        return singleNames[index];
    const size_t inArrays = index - singleNames.size();
    return QByteArray(arrayNames[inArrays / MaxLights]) + '[' +
           QByteArray::number(int(inArrays % MaxLights)) + ']';
}

ShaderProgram::ShaderProgram()
{
    m_locations.fill(-1);
}

ShaderProgram::ShaderProgram(ShaderProgram &&other) noexcept = default;
ShaderProgram &ShaderProgram::operator=(ShaderProgram &&other) noexcept = default;
ShaderProgram::~ShaderProgram() = default;

void ShaderProgram::build(const ShaderSource &source)
{
    m_program = std::make_unique<QGLShaderProgram>();
    m_program->addShaderFromSourceFile(QGLShader::Vertex, QLatin1String(source.vertexFile));
    m_program->addShaderFromSourceFile(QGLShader::Fragment, QLatin1String(source.fragmentFile));
    m_program->bindAttributeLocation("vertexPos", int(Attribute::Position));
    m_program->bindAttributeLocation("vertexNormal", int(Attribute::Normal));
    m_program->bindAttributeLocation("vertexTexcoord", int(Attribute::Texcoord));
    m_program->link();
    resolveLocations(source);
}

void ShaderProgram::resolveLocations(const ShaderSource &source)
{
    m_locations.fill(-1);
    if (!isLinked())
        return;
    for (int i = 0; i < int(Uniform::Count); ++i)
        m_locations[size_t(i)] = m_program->uniformLocation(uniformName(Uniform(i)).constData());
    for (const Uniform uniform : source.required) {
        if (location(uniform) < 0)
            qWarning("The %s program has no uniform \"%s\"", source.name, uniformName(uniform).constData());
    }
}

bool ShaderProgram::isLinked() const
{
    return m_program && m_program->isLinked();
}

unsigned int ShaderProgram::id() const
{
    return m_program ? m_program->programId() : 0;
}

void ShaderProgram::bind()
{
    m_program->bind();
}

void ShaderProgram::release()
{
    m_program->release();
}

void ShaderProgram::set(Uniform uniform, bool value)
{
    m_program->setUniformValue(location(uniform), GLint(value));
}

void ShaderProgram::set(Uniform uniform, int value)
{
    m_program->setUniformValue(location(uniform), GLint(value));
}

void ShaderProgram::set(Uniform uniform, float value)
{
    m_program->setUniformValue(location(uniform), GLfloat(value));
}

void ShaderProgram::set(Uniform uniform, const QVector3D &value)
{
    m_program->setUniformValue(location(uniform), value);
}

void ShaderProgram::set(Uniform uniform, const QVector4D &value)
{
    m_program->setUniformValue(location(uniform), value);
}

void ShaderProgram::set(Uniform uniform, const QMatrix3x3 &value)
{
    m_program->setUniformValue(location(uniform), value);
}

void ShaderProgram::set(Uniform uniform, const QMatrix4x4 &value)
{
    m_program->setUniformValue(location(uniform), value);
}

} // namespace Quorvel
