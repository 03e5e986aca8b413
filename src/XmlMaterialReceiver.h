#pragma once

#include "XmlReceiver.h"

#include <QHash>

#include <memory>

namespace Quorvel
{

class Material;

/// Builds a Material from each `material` element. A later one of the same id replaces the earlier.
class XmlMaterialReceiver : public XmlReceiver
{
public:
    XmlMaterialReceiver(QXmlQuery *query, QHash<QString, Material *> *materials);
    ~XmlMaterialReceiver() override;

    void startElement(const QXmlName &name) override;
    void endElement() override;
    void attribute(const QXmlName &name, const QStringRef &value) override;
    void characters(const QStringRef &value) override;

private:
    /// The innermost element is one of the section, not one of that name inside a copied block.
    bool isMaterial() const;
    void finishMaterial();
    void setColor(const QString &slot, const QStringRef &text);
    void setNumber(const QString &slot, const QStringRef &text);

    QHash<QString, Material *> *m_materials;
    /// Null outside materials, and inside one that has no id: everything in it is ignored.
    std::unique_ptr<Material> m_currentMaterial;
};

} // namespace Quorvel
