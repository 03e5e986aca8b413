#pragma once

#include <QAbstractMessageHandler>
#include <QString>

namespace Quorvel
{

/// Takes a query's messages, prints each as one plain line "file:line:column: message", and keeps the first
/// error.
///
/// Installed on a query before anything else is set on it, so that nothing is printed in the engine's own
/// coloured markup. Messages arrive on the thread that evaluates the query.
class QueryMessages : public QAbstractMessageHandler
{
public:
    /// `fileName` stands in the lines for the document that is read.
    explicit QueryMessages(const QString &fileName);

    bool hasError() const { return !m_error.isEmpty(); }
    /// The first error, "line 3, column 7: what is wrong" where the place is known.
    QString error() const { return m_error; }

protected:
    void handleMessage(QtMsgType type, const QString &description, const QUrl &identifier,
                       const QSourceLocation &sourceLocation) override;

private:
    QString m_fileName;
    QString m_error;
};

} // namespace Quorvel
