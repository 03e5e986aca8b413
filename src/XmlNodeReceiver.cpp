#include "XmlNodeReceiver.h"

#include "FatalExplanation.h"
#include "Node.h"
#include "NumberReader.h"

#include <QDebug>

namespace Quorvel
{

XmlNodeReceiver::XmlNodeReceiver(QXmlQuery *query, QList<Node *> *nodes,
                                 const QHash<QString, Material *> &materials,
                                 const QHash<QString, Model *> &objects)
    : XmlReceiver(query), m_nodes(nodes), m_materials(materials), m_objects(objects)
{
}

void XmlNodeReceiver::startElement(const QXmlName &name)
{
    pushElement(name);
    if (element() == QLatin1String("node"))
        m_openNodes.append(nullptr);
}

void XmlNodeReceiver::endElement()
{
    if (element() == QLatin1String("node"))
        finishNode();
    popElement();
}

void XmlNodeReceiver::attribute(const QXmlName &name, const QStringRef &value)
{
    const QString attributeName = localName(name);
    const bool isId = attributeName == QLatin1String("id");
    if (element() == QLatin1String("node")) {
        if (isId)
            startNode(value.toString());
    } else if (element() == QLatin1String("material")) {
        if (isId)
            m_currentMaterialId = value.toString();
        else if (attributeName == QLatin1String("symbol"))
            bindMaterial(value.toString());
    } else if (element() == QLatin1String("object")) {
        if (isId)
            bindObject(value.toString());
    }
}

void XmlNodeReceiver::characters(const QStringRef &value)
{
    if (!isBlank(value) && !m_openNodes.isEmpty() && m_openNodes.last())
        transformNode(value);
}

void XmlNodeReceiver::startNode(const QString &id)
{
    const int depth = m_openNodes.size() - 1;
    if (depth > 0 && !m_openNodes.at(depth - 1))
        return;
    qDebug() << "Node" << id << ":"
             << "depth" << depth;
    auto *node = new Node;
    m_nodes->append(node);
    node->setId(id);
    if (depth > 0)
        node->setParent(m_openNodes.at(depth - 1));
    m_openNodes.last() = node;
}

void XmlNodeReceiver::finishNode()
{
    if (!m_openNodes.last())
        qWarning("Warning: node without an id ignored, with everything in it");
    m_openNodes.removeLast();
}

void XmlNodeReceiver::bindMaterial(const QString &symbol)
{
    Node *node = m_openNodes.last();
    if (!node)
        return;
    if (!m_materials.contains(m_currentMaterialId)) {
        explainFatal(QStringLiteral("node \"%1\" uses a material \"%2\" that the file does not define: "
                                    "export the scene again with all of its materials")
                         .arg(node->id(), m_currentMaterialId));
    }
    Q_ASSERT(m_materials.contains(m_currentMaterialId));
    node->bindMaterial(symbol, m_materials.value(m_currentMaterialId));
}

void XmlNodeReceiver::bindObject(const QString &id)
{
    const QStringRef value(&id);
    Node *node = m_openNodes.last();
    if (!node)
        return;
    qDebug() << "bind object" << id;
    if (!m_objects.contains(id)) {
        explainFatal(
            QStringLiteral("node \"%1\" uses a geometry, light or camera \"%2\" that the file does not "
                           "define: export the scene again as one file with everything in it")
                .arg(node->id(), id));
    }
    Q_ASSERT(m_objects.contains(*value.string()));
    // Quirk(last-object): a node that names several objects keeps only the last;
    // kept because a node of the scene graph has one model, and stored scenes hold no more.
    node->setModel(m_objects.value(id));
}

void XmlNodeReceiver::transformNode(const QStringRef &text)
{
    Node *node = m_openNodes.last();
    QMatrix4x4 transform = node->localTransform();
    if (element() == QLatin1String("translate")) {
        transform.translate(NumberReader::readVector3(text));
    } else if (element() == QLatin1String("rotate")) {
        const QVector4D rotation = NumberReader::readVector4(text);
        transform.rotate(rotation.w(), rotation.toVector3D());
    } else if (element() == QLatin1String("scale")) {
        transform.scale(NumberReader::readVector3(text));
    } else if (element() == QLatin1String("matrix")) {
        transform *= NumberReader::readMatrix(text);
    } else {
        return;
    }
    node->setLocalTransform(transform);
}

} // namespace Quorvel
