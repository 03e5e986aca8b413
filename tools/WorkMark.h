#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

namespace Quorvel
{

/// By these quorvel-bake knows its own work, which it may replace, from a person's. Any version's mark
/// counts.

/// Writes into the image which program made it: the text "Software" of a PNG file.
void markLightMap(QImage *image);
bool isMarkedLightMap(const QString &path);

/// Ends the text of a scene's copy: a comment behind the document.
QByteArray sceneMark();
bool isMarkedScene(const QString &path);

} // namespace Quorvel
