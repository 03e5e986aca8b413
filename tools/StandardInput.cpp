#include "StandardInput.h"

#include <QStringList>

#include <cerrno>
#include <cstring>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace Quorvel
{

namespace
{

bool copyToEnd(int from, int to)
{
    std::vector<char> buffer(1 << 16);
    for (;;) {
        const ssize_t count = read(from, buffer.data(), buffer.size());
        if (count == 0)
            return true;
        if (count < 0 && errno != EINTR)
            return false;
        for (ssize_t done = 0; done < count;) {
            const ssize_t written = write(to, buffer.data() + done, size_t(count - done));
            if (written < 0 && errno != EINTR)
                return false;
            done += qMax<ssize_t>(written, 0);
        }
    }
}

} // namespace

bool isStandardInput(const QString &path)
{
    static const QStringList names = {QStringLiteral("-"), QStringLiteral("/dev/stdin"),
                                      QStringLiteral("/dev/fd/0"), QStringLiteral("/proc/self/fd/0")};
    return names.contains(path);
}

bool holdStandardInput(QString *path, QString *error)
{
    // A pipe can be read once only, and one of another user's cannot be opened by its name at all.
    const int memory = memfd_create("scene", MFD_CLOEXEC);
    const bool held =
        memory >= 0 && copyToEnd(STDIN_FILENO, memory) && dup2(memory, STDIN_FILENO) == STDIN_FILENO;
    if (!held)
        *error = QString::fromLocal8Bit(std::strerror(errno));
    if (memory >= 0)
        close(memory);
    *path = QStringLiteral("/dev/stdin");
    return held;
}

} // namespace Quorvel
