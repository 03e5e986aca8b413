#pragma once

#include <QAbstractXmlReceiver>
#include <QString>
#include <QStringRef>
#include <QVector>

class QXmlQuery;

namespace Quorvel
{

/// Common base of the receivers that build a scene from the events of an evaluated query.
///
/// Every event does nothing here, but an atomic value, which is passed on as characters. A receiver overrides
/// the start and end of elements, attributes and characters, and keeps the names of the open elements; events
/// arrive on the thread that evaluates the query. Elements are matched by local name only.
class XmlReceiver : public QAbstractXmlReceiver
{
public:
    void startElement(const QXmlName &name) override;
    void endElement() override;
    void attribute(const QXmlName &name, const QStringRef &value) override;
    void comment(const QString &value) override;
    void characters(const QStringRef &value) override;
    void startDocument() override;
    void endDocument() override;
    void processingInstruction(const QXmlName &target, const QString &value) override;
    void atomicValue(const QVariant &value) override;
    void namespaceBinding(const QXmlName &name) override;
    void startOfSequence() override;
    void endOfSequence() override;

protected:
    /// The query lends its name pool; it must outlive the receiver.
    explicit XmlReceiver(QXmlQuery *query);

    QString localName(const QXmlName &name) const;

    void pushElement(const QXmlName &name);
    void popElement();
    /// The innermost open element. There must be one.
    const QString &element() const;
    /// The element around the innermost one, empty where there is none.
    QString parentElement() const;

    static bool isBlank(const QStringRef &text);

private:
    QXmlQuery *m_query;
    QVector<QString> m_elements;
};

} // namespace Quorvel
