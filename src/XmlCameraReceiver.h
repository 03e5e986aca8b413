#pragma once

#include "XmlReceiver.h"

#include <QList>

#include <memory>

namespace Quorvel
{

class Camera;

/// Builds a Camera from each `camera` element.
class XmlCameraReceiver : public XmlReceiver
{
public:
    XmlCameraReceiver(QXmlQuery *query, QList<Camera *> *cameras);
    ~XmlCameraReceiver() override;

    void startElement(const QXmlName &name) override;
    void endElement() override;
    void attribute(const QXmlName &name, const QStringRef &value) override;
    void characters(const QStringRef &value) override;

private:
    /// The innermost element is one of the section, not one of that name inside a copied one.
    bool isCamera() const;
    void finishCamera();

    QList<Camera *> *m_cameras;
    /// Null outside cameras, and inside one that has no id: everything in it is ignored.
    std::unique_ptr<Camera> m_currentCamera;
};

} // namespace Quorvel
