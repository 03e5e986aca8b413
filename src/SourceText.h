#pragma once

#include <QByteArray>
#include <QString>

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

} // namespace Quorvel
