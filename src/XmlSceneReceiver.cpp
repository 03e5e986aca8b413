#include "XmlSceneReceiver.h"

#include "Camera.h"
#include "Geometry.h"
#include "Light.h"
#include "Scene.h"

#include <QDebug>

namespace Quorvel
{

XmlSceneReceiver::XmlSceneReceiver(QXmlQuery *query, Scene *scene, QList<Geometry *> *geometries,
                                   QList<Light *> *lights, QList<Camera *> *cameras,
                                   QHash<QString, Material *> *materials, QList<Node *> *nodes,
                                   const NumberLists *lists)
    : XmlReceiver(query)
    , m_scene(scene)
    , m_geometries(geometries)
    , m_lights(lights)
    , m_cameras(cameras)
    , m_geometryReceiver(query, geometries, lists)
    , m_cameraReceiver(query, cameras)
    , m_materialReceiver(query, materials)
    , m_lightReceiver(query, lights)
    , m_nodeReceiver(query, nodes, *materials, m_objects)
{
}

void XmlSceneReceiver::startElement(const QXmlName &name)
{
    pushElement(name);
    if (XmlReceiver *receiver = sectionReceiver(element())) {
        if (receiver == &m_nodeReceiver)
            rebuildObjects();
        m_activeReceiver = receiver;
    }
    if (m_activeReceiver)
        m_activeReceiver->startElement(name);
}

void XmlSceneReceiver::endElement()
{
    if (sectionReceiver(element()))
        m_activeReceiver = nullptr;
    else if (m_activeReceiver)
        m_activeReceiver->endElement();
    popElement();
}

void XmlSceneReceiver::attribute(const QXmlName &name, const QStringRef &value)
{
    if (m_activeReceiver)
        m_activeReceiver->attribute(name, value);
}

void XmlSceneReceiver::characters(const QStringRef &value)
{
    if (m_activeReceiver)
        m_activeReceiver->characters(value);
    else if (!isBlank(value) && element() == QLatin1String("up_axis"))
        setUpAxis(value);
}

XmlReceiver *XmlSceneReceiver::sectionReceiver(const QString &section)
{
    if (section == QLatin1String("cameras"))
        return &m_cameraReceiver;
    if (section == QLatin1String("geometries"))
        return &m_geometryReceiver;
    if (section == QLatin1String("lights"))
        return &m_lightReceiver;
    if (section == QLatin1String("materials"))
        return &m_materialReceiver;
    if (section == QLatin1String("nodes"))
        return &m_nodeReceiver;
    return nullptr;
}

void XmlSceneReceiver::rebuildObjects()
{
    // Quirk(camera-wins-id): of objects with one id a camera hides a light, and a light a geometry;
    // kept, ids are meant to be unique, and scenes that break that open the same way every time.
    m_objects.clear();
    m_objects.reserve(m_geometries->size() + m_lights->size() + m_cameras->size());
    for (Geometry *geometry : qAsConst(*m_geometries))
        m_objects.insert(geometry->id(), geometry);
    for (Light *light : qAsConst(*m_lights))
        m_objects.insert(light->id(), light);
    for (Camera *camera : qAsConst(*m_cameras))
        m_objects.insert(camera->id(), camera);
}

void XmlSceneReceiver::setUpAxis(const QStringRef &text)
{
    if (text == QLatin1String("X_UP"))
        m_scene->setUpAxis(QVector3D(1, 0, 0));
    else if (text == QLatin1String("Y_UP"))
        m_scene->setUpAxis(QVector3D(0, 1, 0));
    else if (text == QLatin1String("Z_UP"))
        m_scene->setUpAxis(QVector3D(0, 0, 1));
    qDebug() << "Scene up-axis" << m_scene->upAxis();
}

} // namespace Quorvel
