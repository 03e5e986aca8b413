#pragma once

#include <QImage>
#include <QString>

namespace Quorvel
{

/// Writes a PNG file as writeOutput() writes anything. False with the reason in `error`.
bool writePicture(const QImage &picture, const QString &path, QString *error);

} // namespace Quorvel
