#include "ViewerOptions.h"

#include <QCommandLineParser>

#include <cstdlib>

namespace Quorvel
{

namespace
{

QCommandLineOption hidden(const QString &name, const QString &value = QString())
{
    QCommandLineOption option(name, QString(), value);
    option.setFlags(QCommandLineOption::HiddenFromHelp);
    return option;
}

struct CommandLine
{
    CommandLine();

    ViewerOptions::Request request() const;

    QCommandLineParser parser;
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption open{QStringLiteral("open"),
                                  QStringLiteral("Open FILE as soon as the engine is up."),
                                  QStringLiteral("FILE")};
};

CommandLine::CommandLine()
{
    parser.setApplicationDescription(QStringLiteral("Interactive 3D scene viewer for COLLADA files."));
    // The toolkit's own options have one dash; as letters, "-reverse" would ask for the version.
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addOption(open);
    parser.addPositionalArgument(QStringLiteral("scene"),
                                 QStringLiteral("Load this file at once, while the engine is coming up."),
                                 QStringLiteral("[scene]"));
    // The toolkit's, which it does not tell before it is connected to a display.
    for (const char *const name :
         {"platform", "platformpluginpath", "platformtheme", "plugin", "qwindowgeometry", "geometry",
          "qwindowicon", "icon", "qwindowtitle", "title", "session", "display", "name", "style", "stylesheet",
          "qmljsdebugger"})
        parser.addOption(hidden(QString::fromLatin1(name), QStringLiteral("value")));
    for (const char *const name : {"reverse", "nograb", "dograb", "widgetcount"})
        parser.addOption(hidden(QString::fromLatin1(name)));
}

ViewerOptions::Request CommandLine::request() const
{
    if (parser.isSet(QStringLiteral("help-all")))
        return ViewerOptions::Request::FullHelp;
    if (parser.isSet(help))
        return ViewerOptions::Request::Help;
    if (parser.isSet(version))
        return ViewerOptions::Request::Version;
    return ViewerOptions::Request::ShowWindow;
}

/// What is wrong with an understood command line; empty if nothing is.
QString contradiction(const CommandLine &line)
{
    const QStringList scenes = line.parser.positionalArguments();
    if (line.parser.isSet(line.open) && !scenes.isEmpty())
        return QStringLiteral("give a scene or --open FILE, not both");
    if (scenes.size() > 1 || line.parser.values(line.open).size() > 1)
        return QStringLiteral("one scene at a time");
    return QString();
}

} // namespace

ViewerOptions parseViewerOptions(const QStringList &arguments)
{
    CommandLine line;
    const bool isUnderstood = line.parser.parse(arguments);
    ViewerOptions options;
    options.request = line.request();
    if (options.request != ViewerOptions::Request::ShowWindow)
        return options;
    options.error = isUnderstood ? contradiction(line) : line.parser.errorText();
    if (!options.error.isEmpty())
        options.request = ViewerOptions::Request::Refuse;
    options.scene = line.parser.positionalArguments().value(0);
    options.sceneToWaitWith = line.parser.value(line.open);
    options.display = line.parser.value(QStringLiteral("display"));
    options.platform = line.parser.value(QStringLiteral("platform"));
    return options;
}

void showViewerHelp(ViewerOptions::Request request)
{
    CommandLine line;
    const bool isFull = request == ViewerOptions::Request::FullHelp;
    line.parser.process(
        {QStringLiteral("quorvel"), isFull ? QStringLiteral("--help-all") : QStringLiteral("--help")});
    std::abort();
}

} // namespace Quorvel
