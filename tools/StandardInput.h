#pragma once

#include <QString>

namespace Quorvel
{

/// Whether a path names the standard input: "-", /dev/stdin and what else leads there by name.
bool isStandardInput(const QString &path);

/// Reads the standard input to its end into memory, and puts that in its place as a file that can be opened,
/// and read again, as `path`. False with the reason in `error`.
bool holdStandardInput(QString *path, QString *error);

} // namespace Quorvel
