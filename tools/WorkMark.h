#pragma once

#include <QImage>
#include <QString>

namespace Quorvel
{

/// Writes into the image which program made it: the text "Software" of a PNG file.
void markLightMap(QImage *image);

/// Whether the file is an image that markLightMap() marked, of any version.
bool isMarkedLightMap(const QString &path);

} // namespace Quorvel
