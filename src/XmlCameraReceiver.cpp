#include "XmlCameraReceiver.h"

#include "Camera.h"
#include "NumberReader.h"

#include <QDebug>

namespace Quorvel
{

XmlCameraReceiver::XmlCameraReceiver(QXmlQuery *query, QList<Camera *> *cameras)
    : XmlReceiver(query), m_cameras(cameras)
{
}

XmlCameraReceiver::~XmlCameraReceiver() = default;

void XmlCameraReceiver::startElement(const QXmlName &name)
{
    pushElement(name);
    if (isCamera())
        m_currentCamera.reset();
}

void XmlCameraReceiver::endElement()
{
    if (isCamera())
        finishCamera();
    popElement();
}

void XmlCameraReceiver::attribute(const QXmlName &name, const QStringRef &value)
{
    if (localName(name) != QLatin1String("id"))
        return;
    if (isCamera()) {
        m_currentCamera = std::make_unique<Camera>();
        m_currentCamera->setId(value.toString());
        qDebug() << "Camera" << m_currentCamera->id() << ":";
    } else if (element() == QLatin1String("target") && m_currentCamera) {
        m_currentCamera->setTarget(value.toString());
        qDebug() << "Target" << m_currentCamera->target() << ":";
    }
}

void XmlCameraReceiver::characters(const QStringRef &value)
{
    if (isBlank(value) || !m_currentCamera)
        return;
    if (element() == QLatin1String("xfov")) {
        m_currentCamera->setFieldOfView(NumberReader::readNumber(value));
        qDebug() << "fov" << value;
    } else if (element() == QLatin1String("znear")) {
        m_currentCamera->setNearPlane(NumberReader::readNumber(value));
        qDebug() << "nearz" << value;
    } else if (element() == QLatin1String("zfar")) {
        m_currentCamera->setFarPlane(NumberReader::readNumber(value));
        qDebug() << "farz" << value;
    }
}

bool XmlCameraReceiver::isCamera() const
{
    return element() == QLatin1String("camera") && parentElement() == QLatin1String("cameras");
}

void XmlCameraReceiver::finishCamera()
{
    if (m_currentCamera)
        m_cameras->append(m_currentCamera.release());
    else
        qWarning("Warning: camera without an id ignored");
}

} // namespace Quorvel
