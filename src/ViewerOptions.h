#pragma once

#include <QString>
#include <QStringList>

namespace Quorvel
{

/// What the viewer's command line asks for.
struct ViewerOptions
{
    enum class Request {
        ShowWindow,
        Help,
        /// With the toolkit's options.
        FullHelp,
        Version,
        /// `error` says what is wrong.
        Refuse
    };

    Request request = Request::ShowWindow;
    QString error;
    /// To open at once; empty for none.
    QString scene;
    /// To open once the engine is up; empty for none.
    QString sceneToWaitWith;
    /// As given by options of the toolkit; empty where the environment decides.
    QString display;
    QString platform;
};

/// Reads a command line, the program's name first, before an application object has taken out the toolkit's
/// own options: these are passed over.
ViewerOptions parseViewerOptions(const QStringList &arguments);

/// Prints the help text and ends the program. Needs an application object; with all options, a QApplication.
[[noreturn]] void showViewerHelp(ViewerOptions::Request request);

} // namespace Quorvel
