#pragma once

#include "FatalExplanation.h"

#include <QCoreApplication>
#include <QMap>
#include <QProcess>
#include <QString>

#include <csignal>
#include <functional>
#include <sys/resource.h>

namespace Quorvel
{

/// How a child process that ran a fatal case ended.
struct FatalEnd
{
    /// Ended by SIGABRT, as a failed assertion ends a program.
    bool aborted = false;
    /// Everything it wrote on stderr.
    QString text;
};

/// Code that must end the process, by name. A test program runs itself again to see it happen:
///
///     int main(int argc, char **argv)
///     {
///         const FatalCases cases{{"name", [] { code(); }}};
///         if (cases.runRequested(argc, argv))
///             return 0;
///         ...
///     }
///
/// and in a test function: `const FatalEnd end = FatalCases::end("name");`.
class FatalCases
{
public:
    FatalCases(std::initializer_list<std::pair<QString, std::function<void()>>> cases) : m_cases(cases) {}

    /// Runs the case that the command line names, with the diagnostics of a real program. False when it names
    /// none.
    bool runRequested(int argc, char **argv) const
    {
        if (argc != 3 || qstrcmp(argv[1], "--fatal-case") != 0)
            return false;
        const rlimit noCoreFile{0, 0};
        setrlimit(RLIMIT_CORE, &noCoreFile);
        QCoreApplication application(argc, argv);
        installDiagnostics();
        const auto body = m_cases.value(QString::fromLocal8Bit(argv[2]));
        if (!body)
            qWarning("no such fatal case: %s", argv[2]);
        else
            body();
        return true;
    }

    /// Runs a case in a child process and waits for its end.
    static FatalEnd end(const QString &name)
    {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--fatal-case"), name});
        const bool finished = child.waitForFinished(60000);
        FatalEnd end;
        end.aborted = finished && child.exitStatus() == QProcess::CrashExit && child.exitCode() == SIGABRT;
        end.text = QString::fromLocal8Bit(child.readAllStandardError());
        return end;
    }

private:
    QMap<QString, std::function<void()>> m_cases;
};

} // namespace Quorvel
