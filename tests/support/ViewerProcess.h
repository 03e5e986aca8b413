#pragma once

#include "Desktop.h"

#include <QProcess>
#include <QRect>
#include <QRegularExpression>
#include <QTest>

namespace Quorvel
{

/// The viewer, started with arguments and closed with the test.
class Viewer
{
public:
    explicit Viewer(const QStringList &arguments)
    {
        m_process.start(QStringLiteral(QUORVEL_PROGRAM), arguments);
        m_process.waitForStarted();
    }
    ~Viewer()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished();
        }
    }

    /// The managed window of that title, of that process or of any; empty while there is none.
    static QByteArray window(const QString &title, qint64 process = 0)
    {
        const QList<QByteArray> lines =
            Desktop::ask(QStringLiteral("wmctrl"), {QStringLiteral("-l"), QStringLiteral("-p")}).split('\n');
        for (const QByteArray &line : lines) {
            const QRegularExpressionMatch match =
                QRegularExpression(QStringLiteral("^(0x\\S+)\\s+\\S+\\s+(\\d+)\\s+\\S+ (.*)$"))
                    .match(QString::fromUtf8(line));
            if (match.captured(3) == title && (process == 0 || match.captured(2).toLongLong() == process))
                return match.captured(1).toLatin1();
        }
        return {};
    }
    static bool isFullScreen(const QByteArray &window)
    {
        return Desktop::ask(QStringLiteral("xprop"), {QStringLiteral("-id"), QString::fromLatin1(window),
                                                      QStringLiteral("_NET_WM_STATE")})
            .contains("_NET_WM_STATE_FULLSCREEN");
    }
    /// Whether keys go to that window.
    static bool isActive(const QByteArray &window)
    {
        const QByteArray answer = Desktop::ask(
            QStringLiteral("xprop"), {QStringLiteral("-root"), QStringLiteral("_NET_ACTIVE_WINDOW")});
        return !window.isEmpty() &&
               answer.trimmed().split(' ').last().toUInt(nullptr, 16) == window.toUInt(nullptr, 16);
    }
    /// Waits until a window of that title is there and has the keys; a program may have to start for it.
    static bool waitForWindow(const QString &title)
    {
        return QTest::qWaitFor([&title] { return isActive(window(title)); }, 30000);
    }
    static QSize size(const QByteArray &window)
    {
        const QString facts = QString::fromUtf8(
            Desktop::ask(QStringLiteral("xwininfo"), {QStringLiteral("-id"), QString::fromLatin1(window)}));
        const QRegularExpression wanted(QStringLiteral("Width: (\\d+)\\s+Height: (\\d+)"));
        const QRegularExpressionMatch match = wanted.match(facts);
        return QSize(match.captured(1).toInt(), match.captured(2).toInt());
    }

    /// Without the frame.
    static QRect geometry(const QByteArray &window)
    {
        const QString facts = QString::fromUtf8(
            Desktop::ask(QStringLiteral("xwininfo"), {QStringLiteral("-id"), QString::fromLatin1(window)}));
        const QRegularExpression wanted(
            QStringLiteral("Absolute upper-left X:\\s+(-?\\d+)\\s+Absolute upper-left Y:\\s+(-?\\d+)"));
        const QRegularExpressionMatch match = wanted.match(facts);
        return QRect(QPoint(match.captured(1).toInt(), match.captured(2).toInt()), size(window));
    }
    /// Closes a window as its title bar does.
    static void close(const QByteArray &window)
    {
        Desktop::ask(QStringLiteral("wmctrl"),
                     {QStringLiteral("-i"), QStringLiteral("-c"), QString::fromLatin1(window)});
    }

    QProcess &process() { return m_process; }

    /// -1 when the program goes on running, or was ended by a signal.
    int exitCode()
    {
        if (!m_process.waitForFinished(10000) || m_process.exitStatus() != QProcess::NormalExit)
            return -1;
        return m_process.exitCode();
    }
    /// Presses the key that ends the program whose window has the keys.
    int quit()
    {
        Desktop::key(QStringLiteral("q"));
        return exitCode();
    }

private:
    QProcess m_process;
};

} // namespace Quorvel
