#pragma once

#include "XmlCameraReceiver.h"
#include "XmlGeometryReceiver.h"
#include "XmlLightReceiver.h"
#include "XmlMaterialReceiver.h"
#include "XmlNodeReceiver.h"
#include "XmlReceiver.h"

#include <QHash>
#include <QList>

namespace Quorvel
{

class NumberLists;
class Scene;

/// Receives a whole intermediate document: hands each section to its own receiver, records the up axis, and
/// collects what nodes can be bound to when the node section starts. Lives for one evaluation.
class XmlSceneReceiver : public XmlReceiver
{
public:
    /// The tables are the scene's own; objects join them at the end of their element, nodes with their id.
    /// `lists` holds what the marks in a shortened document stand for; null when it is whole.
    XmlSceneReceiver(QXmlQuery *query, Scene *scene, QList<Geometry *> *geometries, QList<Light *> *lights,
                     QList<Camera *> *cameras, QHash<QString, Material *> *materials, QList<Node *> *nodes,
                     const NumberLists *lists = nullptr);

    void startElement(const QXmlName &name) override;
    void endElement() override;
    void attribute(const QXmlName &name, const QStringRef &value) override;
    void characters(const QStringRef &value) override;

private:
    XmlReceiver *sectionReceiver(const QString &section);
    void rebuildObjects();
    void setUpAxis(const QStringRef &text);

    Scene *m_scene;
    QList<Geometry *> *m_geometries;
    QList<Light *> *m_lights;
    QList<Camera *> *m_cameras;
    /// By id: a camera before a light before a geometry of the same id, and the last of each kind.
    QHash<QString, Model *> m_objects;
    XmlGeometryReceiver m_geometryReceiver;
    XmlCameraReceiver m_cameraReceiver;
    XmlMaterialReceiver m_materialReceiver;
    XmlLightReceiver m_lightReceiver;
    XmlNodeReceiver m_nodeReceiver;
    XmlReceiver *m_activeReceiver = nullptr;
};

} // namespace Quorvel
