#pragma once

#include "Scene.h"
#include "XmlSceneReceiver.h"

#include <QByteArray>
#include <QStringRef>
#include <QVariant>
#include <QXmlName>
#include <QXmlQuery>
#include <QXmlStreamReader>

namespace Quorvel
{

/// A scene and its receiver, fed with the events of an intermediate document that stands in a string.
class ReceiverFeed
{
public:
    /// How texts arrive: a query sends a copied text as characters and a computed one as an atomic value.
    enum class Texts { Characters, AtomicValues };

    ReceiverFeed()
        : m_receiver(&m_query, &m_scene, &m_scene.geometries(), &m_scene.lights(), &m_scene.cameras(),
                     &m_scene.materials(), &m_scene.nodes())
    {
    }

    Scene &scene() { return m_scene; }
    XmlSceneReceiver &receiver() { return m_receiver; }

    /// False when the document is not well-formed. Everything up to the mistake is fed.
    bool feed(const QByteArray &document, Texts texts = Texts::Characters)
    {
        QXmlStreamReader reader(document);
        while (!reader.atEnd())
            feedToken(reader, reader.readNext(), texts);
        return !reader.hasError();
    }

private:
    void feedToken(QXmlStreamReader &reader, QXmlStreamReader::TokenType token, Texts texts)
    {
        if (token == QXmlStreamReader::StartElement) {
            QXmlNamePool pool = m_query.namePool();
            m_receiver.startElement(
                QXmlName(pool, reader.name().toString(), reader.namespaceUri().toString()));
            for (const QXmlStreamAttribute &attribute : reader.attributes()) {
                const QString value = attribute.value().toString();
                m_receiver.attribute(QXmlName(pool, attribute.name().toString()), QStringRef(&value));
            }
        } else if (token == QXmlStreamReader::EndElement) {
            m_receiver.endElement();
        } else if (token == QXmlStreamReader::Comment) {
            m_receiver.comment(reader.text().toString());
        } else if (token == QXmlStreamReader::Characters) {
            if (texts == Texts::Characters)
                m_receiver.characters(reader.text());
            else
                m_receiver.atomicValue(reader.text().toString());
        }
    }

    QXmlQuery m_query;
    Scene m_scene;
    XmlSceneReceiver m_receiver;
};

} // namespace Quorvel
