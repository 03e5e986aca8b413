#pragma once

#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Quorvel
{

/// A file whose reader waits until the test delivers its contents: a load that lasts exactly as long as
/// wanted.
class HeldFile
{
public:
    explicit HeldFile(const QString &name) : m_path(m_folder.filePath(name))
    {
        if (mkfifo(QFile::encodeName(m_path).constData(), 0600) != 0)
            qFatal("no named pipe %s", qPrintable(m_path));
    }
    ~HeldFile() { closePipe(); }
    HeldFile(const HeldFile &) = delete;
    HeldFile &operator=(const HeldFile &) = delete;

    QString path() const { return m_path; }

    /// Whether somebody is reading, and so waiting for the contents.
    bool isAwaited() { return m_pipe >= 0 || openPipe(O_NONBLOCK); }

    /// Waits for the reader, then gives it the bytes of another file and the end of the file. On the thread
    /// that the reader waits for, the other file must fit into a pipe (64 KiB). Any thread.
    void deliver(const QString &contentsOf)
    {
        QFile source(contentsOf);
        if (!source.open(QIODevice::ReadOnly) || (m_pipe < 0 && !openPipe(0)))
            qFatal("%s cannot be delivered", qPrintable(contentsOf));
        const QByteArray bytes = source.readAll();
        if (write(m_pipe, bytes.constData(), size_t(bytes.size())) != bytes.size())
            qFatal("%s is not read", qPrintable(m_path));
        closePipe();
    }

private:
    bool openPipe(int flags)
    {
        m_pipe = open(QFile::encodeName(m_path).constData(), O_WRONLY | O_CLOEXEC | flags);
        return m_pipe >= 0;
    }
    void closePipe()
    {
        if (m_pipe >= 0)
            close(m_pipe);
        m_pipe = -1;
    }

    QTemporaryDir m_folder;
    QString m_path;
    int m_pipe = -1;
};

} // namespace Quorvel
