#pragma once

#include <QByteArray>
#include <QString>

#include <future>
#include <limits>

namespace Quorvel
{

/// What a scene file says and which key its converted copy goes by.
struct SourceText
{
    /// Files are read in parts of so many bytes.
    static constexpr int PartSize = 1 << 22;
    /// The most bytes of a file, and of its text: a byte array of the toolkit holds them, with room for a
    /// part.
    static constexpr qint64 Limit = std::numeric_limits<int>::max() - 2 * PartSize;

    /// The file's bytes up to the first NUL, each taken for a Latin-1 character, as UTF-8. Empty for a file
    /// that cannot be read or is too large.
    QByteArray text;
    /// Lower-case hexadecimal MD5 of the text.
    QString key;
    /// Why the file could not be read, and what to do about it; empty when it could.
    QString error;
    QString advice;
};

/// The checksum is made by another thread, part by part as the bytes come in.
SourceText readSourceText(const QString &path, qint64 limit = SourceText::Limit);

/// Reads a file on a thread of its own, which the future waits for at the latest when it goes; a pipe, which
/// might keep it waiting for ever, only when the text is asked for. An application object need not be there,
/// but one must have been made before: the toolkit takes the first thread that it sees for the application's.
std::future<SourceText> startReading(const QString &path);

} // namespace Quorvel
