#pragma once

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <algorithm>
#include <csignal>

namespace Quorvel::Test
{

/// What came of a program that has ended. After a crash the status is the signal's number.
struct ProgramEnd
{
    int status;
    bool crashed;
    QString out;
    QString err;
    /// The standard output as it came.
    QByteArray bytes = {};
};

/// A folder of its own for programs without a display: their home, and where they are started.
class ProgramHome
{
public:
    bool isValid() const { return m_folder.isValid(); }
    QString path(const QString &name) const { return m_folder.filePath(name); }
    QString path() const { return m_folder.path(); }
    /// Not those in folders below.
    QStringList files() const { return QDir(m_folder.path()).entryList(QDir::Files); }

    /// Returns the file's path.
    QString write(const QString &name, const QByteArray &text) const
    {
        QFile file(path(name));
        if (file.open(QIODevice::WriteOnly))
            file.write(text);
        return file.fileName();
    }

    void prepare(QProcess *process, const QMap<QString, QString> &variables = {}) const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("DISPLAY"));
        environment.remove(QStringLiteral("QUORVEL_CACHE"));
        environment.insert(QStringLiteral("HOME"), m_folder.path());
        for (auto it = variables.cbegin(); it != variables.cend(); ++it)
            environment.insert(it.key(), it.value());
        process->setProcessEnvironment(environment);
        process->setWorkingDirectory(m_folder.path());
    }

    /// Waits for at most a minute.
    ProgramEnd run(const QString &program, const QStringList &arguments,
                   const QMap<QString, QString> &variables = {}, const QByteArray &input = {}) const
    {
        QProcess process;
        prepare(&process, variables);
        process.start(program, arguments);
        process.write(input);
        process.closeWriteChannel();
        if (!process.waitForFinished(60000))
            return {-1, true, QString(), process.errorString()};
        const QByteArray bytes = process.readAllStandardOutput();
        return {process.exitCode(), process.exitStatus() == QProcess::CrashExit,
                QString::fromLocal8Bit(bytes), QString::fromLocal8Bit(process.readAllStandardError()), bytes};
    }

    /// Whether any process still works here: one that a program has started and left behind.
    bool isWorkedIn() const
    {
        const QString here = QFileInfo(m_folder.path()).canonicalFilePath();
        const QStringList processes = QDir(QStringLiteral("/proc")).entryList({QStringLiteral("[1-9]*")});
        return std::any_of(processes.cbegin(), processes.cend(), [&here](const QString &process) {
            return QFile::symLinkTarget(QStringLiteral("/proc/%1/cwd").arg(process)) == here;
        });
    }

    /// Starts a program, waits until it says `ready` on stderr, and sends it a signal.
    ProgramEnd signalled(const QString &program, const QStringList &arguments, const QByteArray &ready,
                         int signal) const
    {
        QProcess process;
        prepare(&process);
        process.start(program, arguments);
        QByteArray messages;
        process.setReadChannel(QProcess::StandardError);
        while (!messages.contains(ready) && process.waitForReadyRead(30000))
            messages += process.readAllStandardError();
        if (!messages.contains(ready) || kill(pid_t(process.processId()), signal) != 0 ||
            !process.waitForFinished(30000))
            return {-1, true, QString(), QString::fromLocal8Bit(messages)};
        messages += process.readAllStandardError();
        return {process.exitCode(), process.exitStatus() == QProcess::CrashExit, QString(),
                QString::fromLocal8Bit(messages)};
    }

private:
    QTemporaryDir m_folder;
};

/// What a program's help offers and its man page does not name; a sentence where either is missing.
inline QStringList optionsNotInManPage(const QString &program, const QString &help)
{
    QFile page(QStringLiteral(QUORVEL_SOURCE_DIR "/packaging/man/%1.1").arg(program));
    if (!page.open(QIODevice::ReadOnly))
        return {QStringLiteral("there is no man page")};
    const QString text = QString::fromUtf8(page.readAll()).remove(QLatin1Char('\\'));
    QRegularExpressionMatchIterator options =
        QRegularExpression(QStringLiteral("--[a-z][a-z-]*")).globalMatch(help);
    if (!options.hasNext())
        return {QStringLiteral("the help offers nothing")};
    QStringList missing;
    while (options.hasNext()) {
        const QString name = options.next().captured();
        if (!text.contains(name))
            missing.append(name);
    }
    return missing;
}

} // namespace Quorvel::Test
