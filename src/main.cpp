#include "FatalExplanation.h"
#include "GivenScene.h"
#include "MainView.h"
#include "ViewerOptions.h"

#include <QApplication>
#include <QFileInfo>
#include <QIcon>

#include <cstdio>
#include <memory>
#include <optional>

using namespace Quorvel;

namespace
{

enum ExitStatus { UsageError = 2, NoDisplay = 5 };

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

void openGivenScene(MainView *view, const ViewerOptions &options)
{
    const bool waits = options.scene.isEmpty();
    const QString filename = waits ? options.sceneToWaitWith : options.scene;
    // Empty when a launcher has no file to name.
    if (filename.isEmpty())
        return;
    warnIfNoFile(filename);
    // What comes through a pipe cannot be read twice.
    if (waits || !QFileInfo(filename).isFile())
        GivenScene::openOnceUp(view, filename);
    else
        GivenScene::openAtOnce(view, filename);
}

int showWindow(const ViewerOptions &options)
{
    QApplication::setWindowIcon(programIcon());
    QApplication::setDesktopFileName(QStringLiteral("quorvel"));
    MainView view;
    view.setWindowTitle(QStringLiteral("Quorvel"));
    view.resize(640, 480);
    view.show();
    openGivenScene(&view, options);
    return QApplication::exec();
}

void nameApplication()
{
    QCoreApplication::setOrganizationName(QStringLiteral("Quorvel Project"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("quorvel.org"));
    QCoreApplication::setApplicationName(QStringLiteral("Quorvel"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUORVEL_VERSION));
}

/// Answers what needs no display, the same with one and without. Nothing where a window is asked for.
std::optional<int> answer(const ViewerOptions &options, int argc, char *argv[])
{
    switch (options.request) {
    case ViewerOptions::Request::Refuse:
        fprintf(stderr, "quorvel: %s\n", qPrintable(options.error));
        return UsageError;
    case ViewerOptions::Request::Version:
        printf("%s %s\n", qPrintable(QCoreApplication::applicationName()), QUORVEL_VERSION);
        return 0;
    case ViewerOptions::Request::Help: {
        const QCoreApplication application(argc, argv);
        showViewerHelp(options.request);
    }
    case ViewerOptions::Request::FullHelp: {
        // Only an application with windows knows all of the toolkit's options.
        qputenv("QT_QPA_PLATFORM", "minimal");
        int count = 1;
        const QApplication application(count, argv);
        showViewerHelp(options.request);
    }
    case ViewerOptions::Request::ShowWindow:
        break;
    }
    return std::nullopt;
}

QString missingDisplay(const ViewerOptions &options)
{
    const QString display = options.display.isEmpty() ? qEnvironmentVariable("DISPLAY") : options.display;
    const QString platform =
        options.platform.isEmpty() ? qEnvironmentVariable("QT_QPA_PLATFORM") : options.platform;
    if (!platform.isEmpty() && platform != QLatin1String("xcb"))
        return QStringLiteral("there is no display \"%1\"").arg(platform);
    if (!display.isEmpty())
        return QStringLiteral("the display \"%1\" does not answer").arg(display);
    return QStringLiteral("there is no display: DISPLAY is not set");
}

std::unique_ptr<QApplication> makeApplication(const ViewerOptions &options, int &argc, char *argv[])
{
    const FatalExit withoutDisplay(
        QStringLiteral("quorvel: %1. quorvel-render draws scenes without one").arg(missingDisplay(options)),
        NoDisplay);
    return std::make_unique<QApplication>(argc, argv);
}

} // namespace

int main(int argc, char *argv[])
{
    installDiagnostics();
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    MainView::prepareApplication();
    nameApplication();
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    const ViewerOptions options = parseViewerOptions(arguments);
    if (const std::optional<int> status = answer(options, argc, argv))
        return *status;
    const std::unique_ptr<QApplication> application = makeApplication(options, argc, argv);
    return showWindow(options);
}
