#include "XmlLightReceiver.h"

#include "Light.h"
#include "NumberReader.h"

#include <QDebug>

namespace Quorvel
{

namespace
{

struct LightKind
{
    QLatin1String element;
    int type;
    const char *title;
};

const LightKind lightKinds[] = {
    {QLatin1String("directional"), Light::DirectionalLight, "Directional light"},
    {QLatin1String("point"), Light::PointLight, "Pointlight"},
    {QLatin1String("spot"), Light::SpotLight, "Spotlight"},
    {QLatin1String("ambient"), Light::AmbientLight, "Ambient light"},
};

const LightKind *lightKind(const QString &element)
{
    for (const LightKind &kind : lightKinds) {
        if (element == kind.element)
            return &kind;
    }
    return nullptr;
}

} // namespace

XmlLightReceiver::XmlLightReceiver(QXmlQuery *query, QList<Light *> *lights)
    : XmlReceiver(query), m_lights(lights)
{
}

XmlLightReceiver::~XmlLightReceiver() = default;

void XmlLightReceiver::startElement(const QXmlName &name)
{
    pushElement(name);
    if (isLight())
        m_currentLight.reset();
}

void XmlLightReceiver::endElement()
{
    if (isLight())
        finishLight();
    popElement();
}

void XmlLightReceiver::attribute(const QXmlName &name, const QStringRef &value)
{
    if (localName(name) != QLatin1String("id"))
        return;
    if (isLight()) {
        const LightKind *kind = lightKind(element());
        startLight(kind->type, kind->title, value.toString());
    } else if (element() == QLatin1String("target") && m_currentLight) {
        m_currentLight->setTarget(value.toString());
        qDebug() << "Target" << m_currentLight->target() << ":";
    }
}

void XmlLightReceiver::characters(const QStringRef &value)
{
    if (isBlank(value) || !m_currentLight)
        return;
    if (element() == QLatin1String("color")) {
        m_currentLight->setColor(NumberReader::readColor(value));
        qDebug() << "color" << m_currentLight->color();
    } else if (element() == QLatin1String("multiplier")) {
        m_currentLight->setMultiplier(NumberReader::readNumber(value));
        qDebug() << "multiplier" << m_currentLight->multiplier();
    } else if (element() == QLatin1String("hotspot_beam")) {
        m_currentLight->setHotspotBeam(NumberReader::readNumber(value));
        qDebug() << "hotspot_beam" << m_currentLight->hotspotBeam();
    } else if (element() == QLatin1String("falloff")) {
        m_currentLight->setFalloff(NumberReader::readNumber(value));
        qDebug() << "falloff" << m_currentLight->falloff();
    } else if (element() == QLatin1String("shadow")) {
        // Quirk(shadow-any-text): whatever stands there switches shadows on, "none" included;
        // kept, exporters leave the element out or empty for a light without shadows.
        m_currentLight->setShadow(true);
        qDebug() << "shadow" << m_currentLight->shadow();
    }
}

bool XmlLightReceiver::isLight() const
{
    return lightKind(element()) && parentElement() == QLatin1String("lights");
}

void XmlLightReceiver::startLight(int type, const char *title, const QString &id)
{
    m_currentLight = std::make_unique<Light>(type);
    m_currentLight->setId(id);
    qDebug() << title << id << ": ";
}

void XmlLightReceiver::finishLight()
{
    if (m_currentLight)
        m_lights->append(m_currentLight.release());
    else
        qWarning("Warning: light without an id ignored");
}

} // namespace Quorvel
