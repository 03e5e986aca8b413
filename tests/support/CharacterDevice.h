#pragma once

#include <QDir>
#include <QFile>

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace Quorvel::Test
{

/// The path of /dev/null (minor 3) or /dev/full (minor 7) for a test to write to: in that folder one of the
/// test's own where only root can make it, since root may destroy it, else the system's, which is safe from
/// everybody else. Empty for a root who may not make devices.
inline QString characterDevice(const QString &name, unsigned minor, const QString &folder)
{
    const QString own = QDir(folder).filePath(name);
    if (mknod(QFile::encodeName(own).constData(), S_IFCHR | 0666, makedev(1, minor)) == 0)
        return own;
    return geteuid() == 0 ? QString() : QStringLiteral("/dev/") + name;
}

/// Whether it still is one, itself and not by a link.
inline bool isCharacterDevice(const QString &path)
{
    struct stat status = {};
    return lstat(QFile::encodeName(path).constData(), &status) == 0 && S_ISCHR(status.st_mode);
}

} // namespace Quorvel::Test
