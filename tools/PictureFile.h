#pragma once

#include <QImage>
#include <QString>

namespace Quorvel
{

/// Writes a PNG file as writeOutput() writes anything. False with the reason in `error`.
bool writePicture(const QImage &picture, const QString &path, QString *error);

/// A sentence that refuses a file name whose extension promises something else than PNG; empty for others.
QString refusedExtension(const QString &path);

} // namespace Quorvel
