#pragma once

#include "XmlReceiver.h"

#include <QHash>
#include <QList>
#include <QVector>

namespace Quorvel
{

class Material;
class Model;
class Node;

/// Builds the node tree: composes each node's local transform, binds its object and its materials.
///
/// Nodes enter the table in document order, parents before children; those at the top stay without a parent.
/// Naming an object or a material that the file does not define is fatal.
class XmlNodeReceiver : public XmlReceiver
{
public:
    /// The tables must outlive the receiver; `objects` is filled by the time the first node arrives.
    XmlNodeReceiver(QXmlQuery *query, QList<Node *> *nodes, const QHash<QString, Material *> &materials,
                    const QHash<QString, Model *> &objects);

    void startElement(const QXmlName &name) override;
    void endElement() override;
    void attribute(const QXmlName &name, const QStringRef &value) override;
    void characters(const QStringRef &value) override;

private:
    void startNode(const QString &id);
    void finishNode();
    void bindMaterial(const QString &symbol);
    void bindObject(const QString &id);
    void transformNode(const QStringRef &text);

    QList<Node *> *m_nodes;
    /// Innermost last. Null for a node that has no id: everything in it is ignored.
    QVector<Node *> m_openNodes;
    QString m_currentMaterialId;
    const QHash<QString, Material *> &m_materials;
    const QHash<QString, Model *> &m_objects;
};

} // namespace Quorvel
