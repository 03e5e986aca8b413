#include "StandardInput.h"

#include <QFile>
#include <QStringList>

#include <cerrno>
#include <cstring>

#include <sys/mman.h>
#include <unistd.h>

namespace Quorvel
{

namespace
{

bool copyToEnd(int from, int to, QString *error)
{
    QFile source;
    QFile copy;
    bool goesOn = source.open(from, QIODevice::ReadOnly | QIODevice::Unbuffered) &&
                  copy.open(to, QIODevice::WriteOnly | QIODevice::Unbuffered);
    while (goesOn) {
        const QByteArray part = source.read(1 << 16);
        if (part.isEmpty() && source.error() == QFileDevice::NoError)
            return true;
        goesOn = !part.isEmpty() && copy.write(part) == part.size();
    }
    *error = source.error() != QFileDevice::NoError ? source.errorString() : copy.errorString();
    return false;
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
    *error = QString::fromLocal8Bit(std::strerror(errno));
    const bool held =
        memory >= 0 && copyToEnd(STDIN_FILENO, memory, error) && dup2(memory, STDIN_FILENO) == STDIN_FILENO;
    if (memory >= 0)
        close(memory);
    *path = QStringLiteral("/dev/stdin");
    return held;
}

} // namespace Quorvel
