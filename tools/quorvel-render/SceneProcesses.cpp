#include "SceneProcesses.h"

#include "EndSignals.h"
#include "ExitStatus.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/wait.h>
#include <unistd.h>

namespace Quorvel
{

namespace
{

/// Signals wait until the child is known, so that none misses it.
pid_t forkUnderSignals()
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, &before);
    const pid_t child = fork();
    if (child == 0)
        endOnSignals(nullptr);
    else if (child > 0)
        passEndSignalsTo(child);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return child;
}

/// The exit status that stands for how a process has ended.
int exitStatus(const RenderJob &job, int ended)
{
    if (WIFEXITED(ended))
        return WEXITSTATUS(ended);
    // An assertion has said already what is wrong with the scene.
    if (WTERMSIG(ended) == SIGABRT)
        return int(ExitStatus::InvalidInput);
    fprintf(stderr, "quorvel-render: %s: ended by signal %d (%s)\n", qPrintable(job.scene), WTERMSIG(ended),
            strsignal(WTERMSIG(ended)));
    return int(ExitStatus::Failed);
}

int runInProcess(const RenderJob &job, const std::function<int(const RenderJob &)> &run)
{
    const pid_t child = forkUnderSignals();
    if (child == 0)
        std::exit(run(job));
    if (child < 0) {
        fprintf(stderr, "quorvel-render: no further process can be started: %s\n", std::strerror(errno));
        return int(ExitStatus::Failed);
    }
    int ended = 0;
    while (waitpid(child, &ended, 0) < 0 && errno == EINTR) {
    }
    passEndSignalsTo(0);
    return exitStatus(job, ended);
}

} // namespace

int runEach(const QVector<RenderJob> &jobs, const std::function<int(const RenderJob &)> &run)
{
    int first = int(ExitStatus::Done);
    QStringList missing;
    for (const RenderJob &job : jobs) {
        const int status = runInProcess(job, run);
        if (status == int(ExitStatus::Done))
            continue;
        missing.append(job.scene);
        if (first == int(ExitStatus::Done))
            first = status;
        // The size of the pictures or the machine: the same for all.
        if (status == int(ExitStatus::Usage) || status == int(ExitStatus::NoGl))
            return status;
    }
    if (!missing.isEmpty())
        fprintf(stderr, "quorvel-render: %d of %d scenes could not be drawn: %s\n", missing.size(),
                jobs.size(), qPrintable(missing.join(QStringLiteral(", "))));
    return first;
}

} // namespace Quorvel
