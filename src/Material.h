#pragma once

#include <QColor>
#include <QString>

class QDataStream;

namespace Quorvel
{

/// Phong surface parameters. A colour that the file does not give stays invalid.
///
/// Record: name, the five colours in the order of the setters below, shininess, transparency, specular level.
class Material
{
public:
    Material() = default;
    virtual ~Material() = default;
    Material(const Material &) = delete;
    Material &operator=(const Material &) = delete;

    /// The material element's id, under which nodes bind it.
    QString name() const { return m_name; }
    void setName(const QString &name) { m_name = name; }

    QColor ambient() const { return m_ambient; }
    void setAmbient(const QColor &color) { m_ambient = color; }
    QColor diffuse() const { return m_diffuse; }
    void setDiffuse(const QColor &color) { m_diffuse = color; }
    QColor specular() const { return m_specular; }
    void setSpecular(const QColor &color) { m_specular = color; }
    QColor reflective() const { return m_reflective; }
    void setReflective(const QColor &color) { m_reflective = color; }
    QColor transparent() const { return m_transparent; }
    void setTransparent(const QColor &color) { m_transparent = color; }

    /// Phong exponent.
    float shininess() const { return m_shininess; }
    void setShininess(float exponent) { m_shininess = exponent; }

    /// 0 opaque to 1 invisible: one minus the number in the file.
    float transparency() const { return m_transparency; }
    void setTransparency(float transparency) { m_transparency = transparency; }

    /// Factor on the specular colour.
    float specularLevel() const { return m_specularLevel; }
    void setSpecularLevel(float level) { m_specularLevel = level; }

    void write(QDataStream &stream) const;
    void read(QDataStream &stream);

private:
    QString m_name;
    QColor m_ambient;
    QColor m_diffuse;
    QColor m_specular;
    QColor m_reflective;
    QColor m_transparent;
    float m_shininess = 0.0f;
    float m_transparency = 0.0f;
    float m_specularLevel = 1.0f;
};

} // namespace Quorvel
