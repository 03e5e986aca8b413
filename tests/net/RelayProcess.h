#pragma once

#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QVector>

#include <csignal>

/// quorvel-session on a free port of loopback, its events as JSON objects.
class RelayProcess
{
public:
    explicit RelayProcess(const QStringList &arguments = {},
                          const QString &endpoint = QStringLiteral("127.0.0.1:0"))
    {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QStringLiteral(QUORVEL_SESSION),
                        QStringList{QStringLiteral("--listen"), endpoint, QStringLiteral("--json")} +
                            arguments);
        const QString address = event(QStringLiteral("listen")).value(QStringLiteral("address")).toString();
        m_port = quint16(address.section(QLatin1Char(':'), -1).toUInt());
    }
    ~RelayProcess()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

    quint16 port() const { return m_port; }
    bool isRunning() const { return m_process.state() == QProcess::Running; }

    /// The next event of that name; what comes before it is skipped. Empty when none comes.
    QJsonObject event(const QString &name)
    {
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < Patience) {
            while (m_process.canReadLine()) {
                QJsonObject event = QJsonDocument::fromJson(m_process.readLine()).object();
                if (event.value(QStringLiteral("event")).toString() == name)
                    return event;
            }
            m_process.waitForReadyRead(100);
        }
        return QJsonObject();
    }

    void signal(int number) { ::kill(pid_t(m_process.processId()), number); }

    /// The exit status, or -1 when the program does not end or is killed.
    int end()
    {
        if (!m_process.waitForFinished(Patience) || m_process.exitStatus() != QProcess::NormalExit)
            return -1;
        return m_process.exitCode();
    }

    /// Highest memory use so far, in KiB.
    int peakMemory() const
    {
        QFile status(QStringLiteral("/proc/%1/status").arg(m_process.processId()));
        if (!status.open(QIODevice::ReadOnly))
            return -1;
        for (const QByteArray &line : status.readAll().split('\n')) {
            if (line.startsWith("VmHWM:"))
                return line.mid(6).replace("kB", "").trimmed().toInt();
        }
        return -1;
    }

private:
    static constexpr int Patience = 10000;

    QProcess m_process;
    quint16 m_port = 0;
};
