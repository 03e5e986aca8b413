#include "LightMapMark.h"

#include <QImageReader>

namespace Quorvel
{

namespace
{

const QString markKey = QStringLiteral("Software");
const QString programName = QStringLiteral("quorvel-bake ");

} // namespace

void markLightMap(QImage *image)
{
    image->setText(markKey, programName + QStringLiteral(QUORVEL_VERSION));
}

bool isMarkedLightMap(const QString &path)
{
    return QImageReader(path, "png").text(markKey).startsWith(programName);
}

} // namespace Quorvel
