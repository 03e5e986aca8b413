#include "VirtualScreen.h"

#include <QDir>
#include <QElapsedTimer>

#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Quorvel
{

namespace
{

constexpr int startTimeout = 20000; // milliseconds

/// Starts a program without output that ends with this process. 0 when that fails.
pid_t start(std::vector<std::string> arguments)
{
    std::vector<char *> argv;
    for (std::string &argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        const int null = open("/dev/null", O_RDWR);
        dup2(null, STDOUT_FILENO);
        dup2(null, STDERR_FILENO);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    return child > 0 ? child : 0;
}

void stop(pid_t child)
{
    if (child == 0)
        return;
    kill(child, SIGTERM);
    waitpid(child, nullptr, 0);
}

bool hasWindowManager()
{
    FILE *const pipe = popen("xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null", "r");
    if (!pipe)
        return false;
    char line[256] = {};
    const bool answered = fgets(line, sizeof line, pipe) != nullptr;
    pclose(pipe);
    return answered && std::string(line).find("window id") != std::string::npos;
}

} // namespace

VirtualScreen::VirtualScreen()
{
    setEnvironment();
    const QByteArray display = startServer();
    if (display.isEmpty()) {
        m_errorString = QStringLiteral("Xvfb does not start");
        return;
    }
    qputenv("DISPLAY", display);
    if (!startWindowManager())
        m_errorString = QStringLiteral("openbox does not start");
}

VirtualScreen::~VirtualScreen()
{
    stop(m_windowManager);
    stop(m_server);
}

void VirtualScreen::setEnvironment()
{
    const QDir home(m_home.path());
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.filePath(QStringLiteral(".config"))));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(home.filePath(QStringLiteral(".cache"))));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.filePath(QStringLiteral(".local/share"))));
    const QByteArray runtime = QFile::encodeName(home.filePath(QStringLiteral(".run")));
    mkdir(runtime.constData(), 0700);
    qputenv("XDG_RUNTIME_DIR", runtime);
    qputenv("LC_ALL", "C.UTF-8");
    qputenv("TZ", "UTC");
    qputenv("LIBGL_ALWAYS_SOFTWARE", "1");
    qputenv("GALLIUM_DRIVER", "llvmpipe");
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("QT_SCALE_FACTOR", "1");
    qputenv("QT_STYLE_OVERRIDE", "Fusion");
    for (const char *const name : {"WAYLAND_DISPLAY", "XAUTHORITY", "SESSION_MANAGER"})
        qunsetenv(name);
}

QByteArray VirtualScreen::startServer()
{
    int ends[2];
    if (pipe(ends) != 0)
        return {};
    m_server = start({"Xvfb", "-displayfd", std::to_string(ends[1]), "-screen", "0", "1280x800x24", "-dpi",
                      "96", "-nolisten", "tcp", "-noreset"});
    close(ends[1]);
    // The server writes the number and a newline; the end of the pipe means that it did not start.
    QByteArray number;
    char c = 0;
    while (read(ends[0], &c, 1) == 1 && c != '\n')
        number += c;
    close(ends[0]);
    return number.isEmpty() ? QByteArray() : ':' + number;
}

bool VirtualScreen::startWindowManager()
{
    m_windowManager = start({"openbox", "--sm-disable"});
    QElapsedTimer timer;
    timer.start();
    while (m_windowManager != 0 && timer.elapsed() < startTimeout) {
        if (hasWindowManager())
            return true;
        usleep(50000);
    }
    return false;
}

} // namespace Quorvel
