#include "OutputFile.h"

#include "EndSignals.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Quorvel
{

namespace
{

/// As many as the system follows itself.
constexpr int MostLinks = 40;

QString systemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

/// The open file that a path names, or -1.
int namedDescriptor(const QString &path)
{
    static const QRegularExpression pattern(QStringLiteral("^/(?:dev|proc/self)/fd/(\\d{1,6})$"));
    if (path == QLatin1String("-") || path == QLatin1String("/dev/stdout"))
        return STDOUT_FILENO;
    if (path == QLatin1String("/dev/stderr"))
        return STDERR_FILENO;
    const QRegularExpressionMatch match = pattern.match(path);
    return match.hasMatch() ? match.captured(1).toInt() : -1;
}

/// Where the symbolic links end that the path may begin with, or the name of an open file on the way; nothing
/// need be there.
QString followed(QString path)
{
    for (int i = 0; i < MostLinks && namedDescriptor(path) < 0 && QFileInfo(path).isSymLink(); ++i)
        path = QFileInfo(path).symLinkTarget();
    return path;
}

/// What exists and is neither a regular file nor a folder.
bool isSpecial(const QString &path)
{
    struct stat status = {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 && !S_ISREG(status.st_mode) &&
           !S_ISDIR(status.st_mode);
}

bool writeAll(int descriptor, const QByteArray &bytes)
{
    for (int done = 0; done < bytes.size();) {
        const ssize_t count = write(descriptor, bytes.constData() + done, size_t(bytes.size() - done));
        if (count >= 0) {
            done += int(count);
        } else if (errno == EAGAIN) {
            pollfd ready = {descriptor, POLLOUT, 0};
            poll(&ready, 1, -1);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool writeThrough(const QString &path, const QByteArray &bytes, QString *error)
{
    const int descriptor = open(QFile::encodeName(path).constData(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    const bool written = descriptor >= 0 && writeAll(descriptor, bytes);
    if (!written)
        *error = systemError();
    if (descriptor >= 0 && close(descriptor) != 0 && written) {
        *error = systemError();
        return false;
    }
    return written;
}

} // namespace

bool writeOutput(const QString &path, const QByteArray &bytes, QString *error)
{
    const int descriptor = namedDescriptor(followed(path));
    if (descriptor >= 0) {
        const bool written = writeAll(descriptor, bytes);
        if (!written)
            *error = systemError();
        return written;
    }
    if (isSpecial(path))
        return writeThrough(path, bytes, error);
    UnfinishedFile file;
    const bool written = file.open(path) && file.write(bytes) && file.commit();
    if (!written)
        *error = file.errorString();
    return written;
}

bool canWriteOutput(const QString &path, QString *error)
{
    const int descriptor = namedDescriptor(followed(path));
    if (descriptor < 0 && !isSpecial(path)) {
        UnfinishedFile probe;
        const bool opened = probe.open(path);
        *error = probe.errorString();
        return opened;
    }
    const bool open = descriptor >= 0 ? fcntl(descriptor, F_GETFD) >= 0
                                      : access(QFile::encodeName(path).constData(), W_OK) == 0;
    if (!open)
        *error = systemError();
    return open;
}

bool flushStandardOutput(QString *error)
{
    if (std::fflush(stdout) == 0 && !std::ferror(stdout))
        return true;
    *error = systemError();
    return false;
}

bool isStandardOutput(const QString &path)
{
    return namedDescriptor(followed(path)) == STDOUT_FILENO;
}

bool isFileOutput(const QString &path)
{
    return namedDescriptor(followed(path)) < 0 && !isSpecial(path) && !QFileInfo(path).isDir();
}

QString fileIdentity(const QString &path)
{
    const QFileInfo file(followed(path));
    if (file.exists())
        return file.canonicalFilePath();
    const QString folder = QFileInfo(file.absolutePath()).canonicalFilePath();
    return (folder.isEmpty() ? QDir::cleanPath(file.absolutePath()) : folder) + QLatin1Char('/') +
           file.fileName();
}

UnfinishedFile::~UnfinishedFile()
{
    close();
    if (m_path.isEmpty())
        return;
    unlink(m_path.constData());
    forgetUnfinishedFile(m_path.constData());
}

QString UnfinishedFile::path() const
{
    return QFile::decodeName(m_path);
}

bool UnfinishedFile::open(const QString &path)
{
    const QString target = followed(path);
    m_target = QFile::encodeName(target);
    struct stat replaced = {};
    if (stat(m_target.constData(), &replaced) == 0) {
        if (S_ISDIR(replaced.st_mode)) {
            errno = EISDIR;
            return fail();
        }
        // One that is protected is not to be replaced either.
        if (access(m_target.constData(), W_OK) != 0)
            return fail();
    }
    do {
        const QByteArray random = QByteArray::number(QRandomGenerator::global()->generate64(), 36);
        const QByteArray name = m_target + '.' + random;
        registerUnfinishedFile(name.constData());
        m_descriptor = ::open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (m_descriptor >= 0)
            m_path = name;
        else
            forgetUnfinishedFile(name.constData());
    } while (m_descriptor < 0 && errno == EEXIST);
    return m_descriptor >= 0 || fail();
}

bool UnfinishedFile::write(const QByteArray &bytes)
{
    return writeAll(m_descriptor, bytes) || fail();
}

bool UnfinishedFile::commit()
{
    struct stat replaced = {};
    if (stat(m_target.constData(), &replaced) == 0)
        chmod(m_path.constData(), replaced.st_mode & 07777);
    // By its name: it may have been written by another's hand.
    const int written = ::open(m_path.constData(), O_RDONLY | O_CLOEXEC);
    const bool stored = written >= 0 && (fsync(written) == 0 || errno == EINVAL || errno == EROFS);
    if (written >= 0)
        ::close(written);
    if (!stored || std::rename(m_path.constData(), m_target.constData()) != 0)
        return fail();
    close();
    forgetUnfinishedFile(m_path.constData());
    m_path.clear();
    return true;
}

bool UnfinishedFile::fail()
{
    m_error = systemError();
    return false;
}

void UnfinishedFile::close()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
}

} // namespace Quorvel
