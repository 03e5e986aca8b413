#include "FatalExplanation.h"
#include "MainView.h"
#include "Pipeline.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QIcon>

#include <cstdio>
#include <memory>

using namespace Quorvel;

namespace
{

enum ExitStatus { UsageError = 2 };

struct CommandLine
{
    CommandLine()
    {
        parser.setApplicationDescription(QStringLiteral("Interactive 3D scene viewer for COLLADA files."));
        // The toolkit's own options have one dash; as letters, "-reverse" would ask for the version.
        parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
        parser.addOption(open);
        parser.addPositionalArgument(
            QStringLiteral("scene"),
            QStringLiteral("Open this file at once, while the engine is coming up. A small "
                           "file that is read before the engine is up is not shown."),
            QStringLiteral("[scene]"));
    }

    bool asksForText() const { return parser.isSet(help) || parser.isSet(version); }

    QCommandLineParser parser;
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption open{QStringLiteral("open"),
                                  QStringLiteral("Open FILE as soon as the engine is up."),
                                  QStringLiteral("FILE")};
};

/// Help and version are answered without a display too, so they are looked for before there is an
/// application.
bool asksForText(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    CommandLine commandLine;
    commandLine.parser.parse(arguments);
    return commandLine.asksForText();
}

void warnIfNoFile(const QString &filename)
{
    const QFileInfo file(filename);
    if (!file.exists())
        fprintf(stderr, "quorvel: %s: no such file\n", qPrintable(filename));
    else if (file.isDir())
        fprintf(stderr, "quorvel: %s: is a folder\n", qPrintable(filename));
}

QIcon programIcon()
{
    QIcon icon;
    for (const int size : {16, 32, 48, 128})
        icon.addFile(QStringLiteral(":/icons/quorvel-%1.png").arg(size), QSize(size, size));
    return icon;
}

int showWindow(const CommandLine &commandLine)
{
    QApplication::setWindowIcon(programIcon());
    QApplication::setDesktopFileName(QStringLiteral("quorvel"));
    MainView view;
    view.setWindowTitle(QStringLiteral("Quorvel"));
    view.resize(640, 480);
    view.show();

    const QStringList scenes = commandLine.parser.positionalArguments();
    if (!scenes.isEmpty()) {
        warnIfNoFile(scenes.first());
        view.openScene(scenes.first());
    }
    // Empty when a launcher has no file to name.
    const QString filename = commandLine.parser.value(commandLine.open);
    if (!filename.isEmpty()) {
        warnIfNoFile(filename);
        QObject::connect(
            view.pipeline(), &Pipeline::initialized, &view, [&view, filename] { view.openScene(filename); },
            Qt::QueuedConnection);
    }
    return QApplication::exec();
}

} // namespace

int main(int argc, char *argv[])
{
    installDiagnostics();
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    const std::unique_ptr<QCoreApplication> application(
        asksForText(argc, argv) ? new QCoreApplication(argc, argv) : new QApplication(argc, argv));
    QCoreApplication::setOrganizationName(QStringLiteral("Quorvel Project"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("quorvel.org"));
    QCoreApplication::setApplicationName(QStringLiteral("Quorvel"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUORVEL_VERSION));

    CommandLine commandLine;
    const bool understood = commandLine.parser.parse(QCoreApplication::arguments());
    if (commandLine.parser.isSet(commandLine.help))
        commandLine.parser.showHelp();
    if (commandLine.parser.isSet(commandLine.version))
        commandLine.parser.showVersion();
    if (!understood) {
        fprintf(stderr, "quorvel: %s\n", qPrintable(commandLine.parser.errorText()));
        return UsageError;
    }
    if (commandLine.parser.isSet(commandLine.open) && !commandLine.parser.positionalArguments().isEmpty()) {
        fprintf(stderr, "quorvel: give a scene or --open FILE, not both\n");
        return UsageError;
    }
    return showWindow(commandLine);
}
