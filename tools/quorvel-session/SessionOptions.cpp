#include "SessionOptions.h"

#include "OptionReader.h"

#include <QRegularExpression>

namespace Quorvel
{

namespace
{

constexpr qint64 LeastFrameBytes = 1 << 16;
/// What a byte array of the toolkit can hold twice over.
constexpr qint64 MostFrameBytes = 1 << 30;
constexpr int DefaultOutputFrames = 4;
constexpr WholeNumber Clients = {1, 60000};
constexpr WholeNumber TimeoutSeconds = {1, 24 * 60 * 60};

struct Endpoint
{
    QHostAddress address;
    quint16 port = 0;
};

/// ADDR:PORT; an IPv6 address stands in brackets, and * is every address of both kinds.
bool parseEndpoint(const QString &text, Endpoint *endpoint)
{
    static const QRegularExpression pattern(
        QStringLiteral("^(?:\\[([0-9A-Fa-f:.]+(?:%[^\\]]+)?)\\]|([0-9.]+)|(\\*)):(\\d{1,5})$"));
    const QRegularExpressionMatch match = pattern.match(text);
    if (!match.hasMatch() || match.captured(4).toInt() > 0xffff)
        return false;
    endpoint->port = quint16(match.captured(4).toInt());
    if (!match.captured(3).isEmpty())
        endpoint->address = QHostAddress(QHostAddress::Any);
    else
        endpoint->address = QHostAddress(match.captured(1) + match.captured(2));
    return !endpoint->address.isNull() &&
           (match.captured(2).isEmpty() || match.captured(2).count(QLatin1Char('.')) == 3);
}

/// A number of bytes, or of KiB, MiB or GiB with K, M or G behind it.
bool parseBytes(const QString &text, qint64 *bytes)
{
    static const QRegularExpression pattern(QStringLiteral("^(\\d{1,12})([KMG]?)$"));
    const QRegularExpressionMatch match = pattern.match(text);
    const int power = QStringLiteral("KMG").indexOf(match.captured(2)) + 1;
    *bytes = match.captured(1).toLongLong() << (match.captured(2).isEmpty() ? 0 : 10 * power);
    return match.hasMatch();
}

bool parseFrameBytes(const QString &text, qint64 *bytes)
{
    return parseBytes(text, bytes) && *bytes >= LeastFrameBytes && *bytes <= MostFrameBytes;
}

/// The options of the command line, by meaning.
struct CommandLine
{
    CommandLine();

    const QCommandLineOption help = {{"h", "help"}, "Print this text."};
    const QCommandLineOption version = {"version", "Print the version."};
    const QCommandLineOption listen = {
        "listen",
        "Address and port to listen on (default 127.0.0.1:80, the port that viewers use); [::1]:80 for "
        "IPv6, *:80 for every address.",
        "ADDR:PORT"};
    const QCommandLineOption maxClients = {"max-clients", "Most connections at a time (default 256).", "N"};
    const QCommandLineOption maxFrame = {
        "max-frame", "Longest scene frame, in bytes or with K, M or G (64K to 1G, default 64M).", "BYTES"};
    const QCommandLineOption maxOutput = {
        "max-output",
        "What may wait to be sent to one client before it is disconnected; at least one longest frame "
        "(default four).",
        "BYTES"};
    const QCommandLineOption idleTimeout = {
        "idle-timeout",
        "Disconnect who leaves a join request or a frame unfinished, or takes no output, for this long "
        "(default 60).",
        "SECONDS"};
    const QCommandLineOption quiet = {{"q", "quiet"}, "Print no events."};
    const QCommandLineOption json = {"json", "Print each event as one JSON object."};

    QCommandLineParser parser;
};

CommandLine::CommandLine()
{
    parser.setApplicationDescription(QStringLiteral(
        "Relays shared sessions: viewers that join the same session number show the same scene from the "
        "same camera. Prints one line per event."));
    for (const QCommandLineOption *option :
         {&help, &version, &listen, &maxClients, &maxFrame, &maxOutput, &idleTimeout, &quiet, &json})
        parser.addOption(*option);
}

bool readValues(const CommandLine &line, SessionOptions *options, QString *error)
{
    const OptionReader reader(line.parser, error);
    Endpoint endpoint = {options->address, options->port};
    RelayLimits &limits = options->limits;
    if (!reader.read(line.listen, parseEndpoint,
                     QStringLiteral("an address and a port, such as 127.0.0.1:80, [::1]:80 or *:80"),
                     &endpoint) ||
        !reader.read(line.maxClients, Clients, &limits.clients) ||
        !reader.read(line.maxFrame, parseFrameBytes,
                     QStringLiteral("a number of bytes from 64K to 1G, with or without K, M or G behind it"),
                     &limits.frameBytes) ||
        !reader.read(line.idleTimeout, TimeoutSeconds, &limits.idleTimeout))
        return false;
    limits.outputBytes = DefaultOutputFrames * limits.frameBytes;
    if (!reader.read(line.maxOutput, parseBytes,
                     QStringLiteral("a number of bytes, with or without K, M or G behind it"),
                     &limits.outputBytes))
        return false;
    if (limits.outputBytes < limits.frameBytes) {
        *error = QStringLiteral("--max-output %1: less than one longest frame (%2)")
                     .arg(limits.outputBytes)
                     .arg(limits.frameBytes);
        return false;
    }
    options->address = endpoint.address;
    options->port = endpoint.port;
    return true;
}

} // namespace

bool parseSessionOptions(const QStringList &arguments, SessionOptions *options, QString *error)
{
    CommandLine line;
    if (!line.parser.parse(QStringList(QStringLiteral("quorvel-session")) + arguments)) {
        *error = line.parser.errorText();
        return false;
    }
    if (line.parser.isSet(line.help) || line.parser.isSet(line.version)) {
        options->request = SessionOptions::Request::Text;
        options->text = line.parser.isSet(line.help)
                            ? line.parser.helpText()
                            : QStringLiteral("quorvel-session " QUORVEL_VERSION "\n");
        return true;
    }
    if (!line.parser.positionalArguments().isEmpty()) {
        *error = QStringLiteral("unexpected word \"%1\"").arg(line.parser.positionalArguments().constFirst());
        return false;
    }
    if (line.parser.isSet(line.json))
        options->format = EventLog::Format::Json;
    if (line.parser.isSet(line.quiet))
        options->format = EventLog::Format::Silent;
    return readValues(line, options, error);
}

} // namespace Quorvel
