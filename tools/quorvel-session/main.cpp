#include "ExitStatus.h"
#include "Relay.h"
#include "SessionOptions.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <algorithm>
#include <csignal>
#include <cstdio>

#include <sys/resource.h>
#include <sys/signalfd.h>
#include <unistd.h>

using namespace Quorvel;

namespace
{

constexpr quint16 FirstFreePort = 1024;
/// Open files beside the connections.
constexpr rlim_t OtherFiles = 32;

int fail(ExitStatus status, const QString &message)
{
    fprintf(stderr, "quorvel-session: %s\n", qPrintable(message));
    return int(status);
}

/// A descriptor that becomes readable when the process is asked to end.
int openEndSignals()
{
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t end;
    sigemptyset(&end);
    sigaddset(&end, SIGTERM);
    sigaddset(&end, SIGINT);
    sigprocmask(SIG_BLOCK, &end, nullptr);
    return signalfd(-1, &end, SFD_CLOEXEC | SFD_NONBLOCK);
}

void allowOpenFiles(int clients)
{
    const rlim_t wanted = rlim_t(clients) + OtherFiles;
    rlimit files = {};
    if (getrlimit(RLIMIT_NOFILE, &files) != 0 || files.rlim_cur >= wanted)
        return;
    files.rlim_cur = std::min(wanted, files.rlim_max);
    setrlimit(RLIMIT_NOFILE, &files);
    if (files.rlim_cur < wanted)
        fprintf(stderr,
                "quorvel-session: warning: the system allows %llu open files, too few for %d clients\n",
                static_cast<unsigned long long>(files.rlim_cur), clients);
}

QString endpoint(const QHostAddress &address, quint16 port)
{
    const QString host =
        address == QHostAddress(QHostAddress::Any) ? QStringLiteral("*") : address.toString();
    return (host.contains(QLatin1Char(':')) ? QStringLiteral("[%1]:%2") : QStringLiteral("%1:%2"))
        .arg(host)
        .arg(port);
}

int serve(const SessionOptions &options)
{
    EventLog log(STDOUT_FILENO, options.format);
    allowOpenFiles(options.limits.clients);
    const int endSignals = openEndSignals();

    Relay relay(options.limits, &log);
    if (!relay.listen(options.address, options.port)) {
        QString message =
            QStringLiteral("%1: %2").arg(endpoint(options.address, options.port), relay.errorString());
        if (relay.serverError() == QAbstractSocket::SocketAccessError && options.port < FirstFreePort)
            message += QStringLiteral(" (ports below 1024 need the capability CAP_NET_BIND_SERVICE; --listen "
                                      "takes another port)");
        return fail(ExitStatus::Failed, message);
    }
    log.write(QStringLiteral("listen"),
              {{QStringLiteral("address"), endpoint(relay.serverAddress(), relay.serverPort())}});

    ExitStatus status = ExitStatus::Done;
    QObject::connect(&relay, &Relay::stopped, QCoreApplication::instance(), &QCoreApplication::quit);
    QSocketNotifier asked(endSignals, QSocketNotifier::Read);
    QObject::connect(&asked, &QSocketNotifier::activated, &relay, [&] {
        signalfd_siginfo info = {};
        if (read(endSignals, &info, sizeof info) != ssize_t(sizeof info))
            return;
        if (info.ssi_signo == SIGINT)
            status = ExitStatus::Interrupted;
        log.write(QStringLiteral("stop"), {});
        relay.stop();
    });
    QCoreApplication::exec();
    return int(status);
}

} // namespace

int main(int argc, char **argv)
{
    // The plain event loop costs less per turn than the one that shares its sources with a desktop.
    qputenv("QT_NO_GLIB", "1");
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quorvel-session"));

    SessionOptions options;
    QString error;
    if (!parseSessionOptions(QCoreApplication::arguments().mid(1), &options, &error))
        return fail(ExitStatus::Usage, error + QStringLiteral(" (see quorvel-session --help)"));
    if (options.request == SessionOptions::Request::Text) {
        fputs(qPrintable(options.text), stdout);
        return int(ExitStatus::Done);
    }
    return serve(options);
}
