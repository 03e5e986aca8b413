#pragma once

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>
#include <QTest>

#include <cstdio>

#include <sys/types.h>

namespace Quorvel
{

/// A private X display of 1280x800 pixels with a window manager and a private home folder, for tests with
/// windows.
///
/// Make one in main(), before the application object: the constructor starts both servers, waits until
/// windows are managed, and points the environment of this process, and so of its children, at the display,
/// the home and software rendering. Both servers end with this object, or with the process however it ends.
class VirtualScreen
{
public:
    VirtualScreen();
    ~VirtualScreen();
    VirtualScreen(const VirtualScreen &) = delete;
    VirtualScreen &operator=(const VirtualScreen &) = delete;

    bool isValid() const { return m_errorString.isEmpty(); }
    QString errorString() const { return m_errorString; }

    /// The value of HOME, empty at first.
    QString home() const { return m_home.path(); }

private:
    void setEnvironment();
    /// The display's name, such as ":3"; empty when no display came up.
    QByteArray startServer();
    bool startWindowManager();

    QTemporaryDir m_home;
    pid_t m_server = 0;
    pid_t m_windowManager = 0;
    QString m_errorString;
};

/// The main function of a test with windows: a virtual screen, an application object, and the test object.
template <typename Test, typename Application>
int runOnVirtualScreenAs(int argc, char *argv[])
{
    const VirtualScreen screen;
    if (!screen.isValid()) {
        fprintf(stderr, "no virtual screen: %s\n", qPrintable(screen.errorString()));
        return 1;
    }
    const Application application(argc, argv);
    Test test;
    return QTest::qExec(&test, argc, argv);
}

} // namespace Quorvel
