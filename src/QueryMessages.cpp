#include "QueryMessages.h"

#include <QSourceLocation>
#include <QUrl>
#include <QXmlStreamReader>

namespace Quorvel
{

namespace
{

QString plainText(const QString &markup)
{
    QXmlStreamReader reader(markup);
    QString text;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isCharacters())
            text += reader.text();
    }
    return (reader.hasError() ? markup : text).simplified();
}

/// Documents read from a device have an address of the engine's own making.
bool isDevice(const QUrl &url)
{
    return url.scheme() == QLatin1String("tag") || url.isEmpty();
}

} // namespace

QueryMessages::QueryMessages(const QString &fileName) : m_fileName(fileName) {}

void QueryMessages::handleMessage(QtMsgType type, const QString &description, const QUrl &identifier,
                                  const QSourceLocation &sourceLocation)
{
    QString text = plainText(description);
    if (text.endsWith(QLatin1Char('.')))
        text.chop(1);
    const QUrl source = sourceLocation.isNull() ? identifier : sourceLocation.uri();
    const QString file = isDevice(source) ? m_fileName : source.fileName();
    QString place = file;
    QString error = text;
    if (sourceLocation.line() > 0) {
        const QString line = QString::number(sourceLocation.line());
        const QString column = QString::number(sourceLocation.column());
        place = QStringLiteral("%1:%2:%3").arg(file, line, column);
        error = QStringLiteral("line %1, column %2: %3").arg(line, column, text);
    }
    qWarning("%s: %s", qUtf8Printable(place), qUtf8Printable(text));
    if (type == QtFatalMsg && m_error.isEmpty())
        m_error = error;
}

} // namespace Quorvel
