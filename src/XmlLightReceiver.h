#pragma once

#include "XmlReceiver.h"

#include <QList>

#include <memory>

namespace Quorvel
{

class Light;

/// Builds a Light from each `ambient`, `point`, `spot` and `directional` element.
class XmlLightReceiver : public XmlReceiver
{
public:
    XmlLightReceiver(QXmlQuery *query, QList<Light *> *lights);
    ~XmlLightReceiver() override;

    void startElement(const QXmlName &name) override;
    void endElement() override;
    void attribute(const QXmlName &name, const QStringRef &value) override;
    void characters(const QStringRef &value) override;

private:
    /// The innermost element is one of the section, not one of that name inside a copied one.
    bool isLight() const;
    void startLight(int type, const char *title, const QString &id);
    void finishLight();

    QList<Light *> *m_lights;
    /// Null outside lights, and inside one that has no id: everything in it is ignored.
    std::unique_ptr<Light> m_currentLight;
};

} // namespace Quorvel
