#include "EndSignals.h"

#include <array>
#include <atomic>
#include <climits>
#include <csignal>
#include <cstring>

#include <sys/wait.h>
#include <unistd.h>

namespace Quorvel
{

namespace
{

/// Read by the signal's handler, at any time: a path is valid while `used` is set.
struct UnfinishedPath
{
    std::atomic<bool> used = {false};
    char path[PATH_MAX] = {};
};

/// A program has a picture and a copy of the scene at most, and their writing at the same time.
std::array<UnfinishedPath, 4> unfinishedPaths;
std::atomic<pid_t> childProcess = {0};
std::atomic<const char *> lastWords = {nullptr};

void say(const char *text)
{
    // Nothing can be done where nobody listens.
    const ssize_t written = write(STDERR_FILENO, text, std::strlen(text));
    static_cast<void>(written);
}

/// Calls only what a handler of signals may call.
void end(int signal)
{
    if (const pid_t child = childProcess) {
        kill(child, signal);
        waitpid(child, nullptr, 0);
    }
    for (const UnfinishedPath &file : unfinishedPaths) {
        if (file.used)
            unlink(file.path);
    }
    if (const char *message = lastWords) {
        // Over a line that tells the progress.
        if (isatty(STDERR_FILENO))
            say("\r\033[K");
        say(message);
        say("\n");
    }
    _exit(128 + signal);
}

} // namespace

void endOnSignals(const char *message)
{
    lastWords = message;
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGINT, end);
    std::signal(SIGTERM, end);
    if (std::signal(SIGHUP, end) == SIG_IGN)
        std::signal(SIGHUP, SIG_IGN);
}

void passEndSignalsTo(pid_t child)
{
    childProcess = child;
}

void registerUnfinishedFile(const char *path)
{
    for (UnfinishedPath &file : unfinishedPaths) {
        const size_t size = std::strlen(path) + 1;
        if (file.used || size > sizeof file.path)
            continue;
        std::memcpy(file.path, path, size);
        file.used = true;
        return;
    }
}

void forgetUnfinishedFile(const char *path)
{
    for (UnfinishedPath &file : unfinishedPaths) {
        if (file.used && std::strcmp(file.path, path) == 0)
            file.used = false;
    }
}

} // namespace Quorvel
