#include "XmlReceiver.h"

#include <QVariant>
#include <QXmlName>
#include <QXmlQuery>

namespace Quorvel
{

XmlReceiver::XmlReceiver(QXmlQuery *query) : m_query(query) {}

void XmlReceiver::startElement(const QXmlName &) {}

void XmlReceiver::endElement() {}

void XmlReceiver::attribute(const QXmlName &, const QStringRef &) {}

void XmlReceiver::comment(const QString &) {}

void XmlReceiver::characters(const QStringRef &) {}

void XmlReceiver::startDocument() {}

void XmlReceiver::endDocument() {}

void XmlReceiver::processingInstruction(const QXmlName &, const QString &) {}

void XmlReceiver::atomicValue(const QVariant &value)
{
    const QString text = value.toString();
    characters(QStringRef(&text));
}

void XmlReceiver::namespaceBinding(const QXmlName &) {}

void XmlReceiver::startOfSequence() {}

void XmlReceiver::endOfSequence() {}

QString XmlReceiver::localName(const QXmlName &name) const
{
    return name.localName(m_query->namePool());
}

void XmlReceiver::pushElement(const QXmlName &name)
{
    m_elements.append(localName(name));
}

void XmlReceiver::popElement()
{
    m_elements.removeLast();
}

const QString &XmlReceiver::element() const
{
    return m_elements.last();
}

QString XmlReceiver::parentElement() const
{
    return m_elements.value(m_elements.size() - 2);
}

bool XmlReceiver::isBlank(const QStringRef &text)
{
    return text.trimmed().isEmpty();
}

} // namespace Quorvel
