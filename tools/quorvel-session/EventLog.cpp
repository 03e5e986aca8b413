#include "EventLog.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <poll.h>
#include <unistd.h>

namespace Quorvel
{

namespace
{

QString shown(const QJsonValue &value)
{
    if (value.isDouble())
        return QString::number(qint64(value.toDouble()));
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9.:_\\[\\]%-]+$"));
    QString text = value.toString();
    if (plain.match(text).hasMatch())
        return text;
    const QByteArray quoted = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(quoted.mid(1, quoted.size() - 2));
}

QByteArray jsonLine(const QString &event, const EventLog::Details &details)
{
    QJsonObject line = {{QStringLiteral("schema"), 1},
                        {QStringLiteral("time"), QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)},
                        {QStringLiteral("event"), event}};
    for (const auto &[key, value] : details)
        line.insert(key, value);
    return QJsonDocument(line).toJson(QJsonDocument::Compact);
}

} // namespace

void EventLog::write(const QString &event, const Details &details)
{
    if (m_format == Format::Silent)
        return;
    if (m_lost > 0 && hasRoom()) {
        writeLine(QStringLiteral("events-lost"), {{QStringLiteral("count"), m_lost}});
        m_lost = 0;
    }
    if (hasRoom())
        writeLine(event, details);
    else
        ++m_lost;
}

bool EventLog::hasRoom() const
{
    // A pipe that is ready takes PIPE_BUF bytes at once, which is more than any line.
    pollfd poll = {m_descriptor, POLLOUT, 0};
    return ::poll(&poll, 1, 0) > 0;
}

void EventLog::writeLine(const QString &event, const Details &details) const
{
    QByteArray line = m_format == Format::Json ? jsonLine(event, details) : textLine(event, details).toUtf8();
    line.append('\n');
    // Nothing can be said about a log that is gone, and the work goes on without it.
    if (::write(m_descriptor, line.constData(), size_t(line.size())) < 0)
        return;
}

QString EventLog::textLine(const QString &event, const Details &details)
{
    QString line = event;
    for (const auto &[key, value] : details)
        line += QLatin1Char(' ') + key + QLatin1Char('=') + shown(value);
    return line;
}

} // namespace Quorvel
