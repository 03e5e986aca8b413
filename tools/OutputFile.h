#pragma once

#include <QByteArray>
#include <QString>

namespace Quorvel
{

/// Writes a result to where a person wants it. False with the reason in `error`.
///
/// A regular file appears complete or not at all: the bytes go into a new file beside it, which then takes
/// its name and its rights. A symbolic link stays one, and what it leads to is replaced. What is no regular
/// file, such as a device or a pipe, is written through and stays what it is. "-" and /dev/stdout are the
/// standard output, /dev/fd/N any other open file.
bool writeOutput(const QString &path, const QByteArray &bytes, QString *error);

/// Whether writeOutput() can be expected to succeed, as far as that shows without writing.
bool canWriteOutput(const QString &path, QString *error);

/// Writes what was printed and still waits. False, with the reason in `error`, where any of it was lost.
bool flushStandardOutput(QString *error);

/// Whether the path names the standard output, so that nothing else may be printed there.
bool isStandardOutput(const QString &path);

/// Whether it is a file of its own, or could be: neither a folder nor something that is written through.
bool isFileOutput(const QString &path);

/// The same for two paths exactly when they lead to the same file, whether it exists or not.
QString fileIdentity(const QString &path);

/// A file on its way to its name. Gone with this object, or with a signal that ends the process, unless
/// committed.
class UnfinishedFile
{
public:
    UnfinishedFile() = default;
    ~UnfinishedFile();
    UnfinishedFile(const UnfinishedFile &) = delete;
    UnfinishedFile &operator=(const UnfinishedFile &) = delete;

    /// Makes an empty file beside what `path` leads to, with the rights that a new file has. Once per object.
    bool open(const QString &path);
    /// Where it lies until it is committed.
    QString path() const;
    bool write(const QByteArray &bytes);
    /// Takes the name given to open(), and the rights of what is replaced there.
    bool commit();
    /// Why the last call failed, in the system's words.
    QString errorString() const { return m_error; }

private:
    bool fail();
    void close();

    QByteArray m_target;
    QByteArray m_path;
    QString m_error;
    int m_descriptor = -1;
};

} // namespace Quorvel
