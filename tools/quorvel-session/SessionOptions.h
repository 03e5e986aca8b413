#pragma once

#include "Relay.h"

#include <QHostAddress>
#include <QString>
#include <QStringList>

namespace Quorvel
{

/// What one call of quorvel-session asks for.
struct SessionOptions
{
    /// Answers that start no server; the text is for stdout.
    enum class Request { Serve, Text };

    Request request = Request::Serve;
    QString text;

    QHostAddress address = QHostAddress(QHostAddress::LocalHost);
    quint16 port = 80;
    RelayLimits limits;
    EventLog::Format format = EventLog::Format::Text;
};

/// Reads a command line, without the program's name. False with one sentence in `error` when it makes no
/// sense.
bool parseSessionOptions(const QStringList &arguments, SessionOptions *options, QString *error);

} // namespace Quorvel
