#pragma once

#include <QByteArray>
#include <QString>

#include <future>

namespace Quorvel
{

/// What a scene file says and which key its converted copy goes by.
struct SourceText
{
    /// The file's bytes up to the first NUL, each taken for a Latin-1 character, as UTF-8. Empty for a file
    /// that cannot be read.
    QByteArray text;
    /// Lower-case hexadecimal MD5 of the text.
    QString key;
    /// Why the file could not be read; empty when it could.
    QString error;
};

/// The checksum is made by another thread, part by part as the bytes come in.
SourceText readSourceText(const QString &path);

/// Reads a file on a thread of its own, which the future waits for at the latest when it goes; a pipe, which
/// might keep it waiting for ever, only when the text is asked for. An application object need not be there,
/// but one must have been made before: the toolkit takes the first thread that it sees for the application's.
std::future<SourceText> startReading(const QString &path);

} // namespace Quorvel
