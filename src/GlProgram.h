#pragma once

#include <QByteArray>
#include <QGenericMatrix>

#include <memory>
#include <vector>

class QGLShaderProgram;
class QMatrix4x4;
class QVector3D;
class QVector4D;

namespace Quorvel
{

/// Slots of the vertex attributes, the same in every program.
enum class Attribute { Position, Normal, Texcoord };

/// What a program is made of. `name` is for messages.
struct ShaderFiles
{
    const char *name;
    const char *vertexFile;
    const char *fragmentFile;
};

/// A program with its uniforms' locations, each looked up once after linking. Uniforms go by number here and
/// by name in ProgramOf, which is what to use.
///
/// Every member, the destructor included, needs the owning GL context (or one that shares with it) current;
/// the destructor may also run after that context is gone.
class GlProgram
{
public:
    bool isLinked() const;
    /// The GL name, 0 before it is built.
    unsigned int id() const;

    void bind();
    void release();

protected:
    GlProgram();
    GlProgram(GlProgram &&other) noexcept;
    GlProgram &operator=(GlProgram &&other) noexcept;
    GlProgram(const GlProgram &) = delete;
    GlProgram &operator=(const GlProgram &) = delete;
    ~GlProgram();

    void build(const ShaderFiles &files);
    /// Looks up all names, in one go; -1 for those that the program lacks.
    void resolveLocations(const std::vector<QByteArray> &names);
    bool has(int uniform) const { return location(uniform) >= 0; }

    void setValue(int uniform, bool value);
    void setValue(int uniform, int value);
    void setValue(int uniform, float value);
    void setValue(int uniform, const QVector3D &value);
    void setValue(int uniform, const QVector4D &value);
    void setValue(int uniform, const QMatrix3x3 &value);
    void setValue(int uniform, const QMatrix4x4 &value);

private:
    /// -1 for all uniforms of a program that did not link.
    int location(int uniform) const { return m_locations.empty() ? -1 : m_locations[size_t(uniform)]; }

    std::unique_ptr<QGLShaderProgram> m_program;
    std::vector<int> m_locations;
};

void warnOfMissingUniform(const char *program, const QByteArray &uniform);

/// A program's files with the uniforms that its code cannot do without; others are declared by contract and
/// may be optimised away.
template <typename Uniform>
struct ProgramSource
{
    ShaderFiles files;
    std::vector<Uniform> required;
};

/// A program of one family. The family is an enum of uniforms that ends with `Count`, and an overload of
/// `QByteArray uniformName(Uniform)` that spells them as the shaders do.
///
/// Values are set on the program that is bound; a uniform that the program lacks is ignored.
template <typename Uniform>
class ProgramOf : public GlProgram
{
public:
    /// Compiles and links. A failure leaves the program unlinked, with the toolkit's warnings; a linked
    /// program that lacks a required uniform is warned about.
    void build(const ProgramSource<Uniform> &source)
    {
        GlProgram::build(source.files);
        if (!isLinked())
            return;
        std::vector<QByteArray> names;
        names.reserve(size_t(Uniform::Count));
        for (int i = 0; i < int(Uniform::Count); ++i)
            names.push_back(uniformName(Uniform(i)));
        resolveLocations(names);
        for (const Uniform uniform : source.required) {
            if (!has(int(uniform)))
                warnOfMissingUniform(source.files.name, uniformName(uniform));
        }
    }

    template <typename Value>
    void set(Uniform uniform, const Value &value)
    {
        setValue(int(uniform), value);
    }
};

} // namespace Quorvel
