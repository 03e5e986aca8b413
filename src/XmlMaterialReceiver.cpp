#include "XmlMaterialReceiver.h"

#include "Material.h"
#include "NumberReader.h"

#include <QDebug>

namespace Quorvel
{

XmlMaterialReceiver::XmlMaterialReceiver(QXmlQuery *query, QHash<QString, Material *> *materials)
    : XmlReceiver(query), m_materials(materials)
{
}

XmlMaterialReceiver::~XmlMaterialReceiver() = default;

void XmlMaterialReceiver::startElement(const QXmlName &name)
{
    pushElement(name);
    if (isMaterial())
        m_currentMaterial.reset();
}

void XmlMaterialReceiver::endElement()
{
    if (isMaterial())
        finishMaterial();
    popElement();
}

void XmlMaterialReceiver::attribute(const QXmlName &name, const QStringRef &value)
{
    if (!isMaterial() || localName(name) != QLatin1String("id"))
        return;
    m_currentMaterial = std::make_unique<Material>();
    m_currentMaterial->setName(value.toString());
    qDebug() << "Material" << m_currentMaterial->name() << ":";
}

void XmlMaterialReceiver::characters(const QStringRef &value)
{
    if (isBlank(value) || !m_currentMaterial)
        return;
    if (element() == QLatin1String("color"))
        setColor(parentElement(), value);
    else
        setNumber(parentElement(), value);
}

bool XmlMaterialReceiver::isMaterial() const
{
    return element() == QLatin1String("material") && parentElement() == QLatin1String("materials");
}

void XmlMaterialReceiver::finishMaterial()
{
    if (!m_currentMaterial) {
        qWarning("Warning: material without an id ignored");
        return;
    }
    Material *&entry = (*m_materials)[m_currentMaterial->name()];
    delete entry;
    entry = m_currentMaterial.release();
}

void XmlMaterialReceiver::setColor(const QString &slot, const QStringRef &text)
{
    const QColor color = NumberReader::readColor(text);
    if (slot == QLatin1String("ambient"))
        m_currentMaterial->setAmbient(color);
    else if (slot == QLatin1String("diffuse"))
        m_currentMaterial->setDiffuse(color);
    else if (slot == QLatin1String("specular"))
        m_currentMaterial->setSpecular(color);
    else if (slot == QLatin1String("reflective"))
        m_currentMaterial->setReflective(color);
    else if (slot == QLatin1String("transparent"))
        m_currentMaterial->setTransparent(color);
    qDebug() << qUtf8Printable(slot) << color;
}

void XmlMaterialReceiver::setNumber(const QString &slot, const QStringRef &text)
{
    if (slot == QLatin1String("transparency")) {
        m_currentMaterial->setTransparency(1.0f - NumberReader::readNumber(text));
        qDebug() << "transparency" << m_currentMaterial->transparency();
    } else if (slot == QLatin1String("shininess")) {
        m_currentMaterial->setShininess(NumberReader::readNumber(text));
        qDebug() << "shininess" << m_currentMaterial->shininess();
    } else if (slot == QLatin1String("spec_level")) {
        m_currentMaterial->setSpecularLevel(NumberReader::readNumber(text));
        qDebug() << "spec_level" << m_currentMaterial->specularLevel();
    }
}

} // namespace Quorvel
