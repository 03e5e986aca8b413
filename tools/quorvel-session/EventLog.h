#pragma once

#include <QJsonValue>
#include <QPair>
#include <QString>
#include <QVector>

namespace Quorvel
{

/// One line per event: `event key=value key="a text"`, or a JSON object with "schema", "time" (UTC), "event"
/// and the keys. A line never holds control characters, whatever a peer calls itself.
///
/// Never waits: while nobody reads what is written, events are left out, and the next line that finds room is
/// preceded by an event "events-lost" with their number.
class EventLog
{
public:
    enum class Format { Text, Json, Silent };
    using Details = QVector<QPair<QString, QJsonValue>>;

    /// The descriptor stays the caller's.
    EventLog(int descriptor, Format format) : m_descriptor(descriptor), m_format(format) {}

    void write(const QString &event, const Details &details);

    static QString textLine(const QString &event, const Details &details);

private:
    bool hasRoom() const;
    void writeLine(const QString &event, const Details &details) const;

    int m_descriptor;
    Format m_format;
    int m_lost = 0;
};

} // namespace Quorvel
